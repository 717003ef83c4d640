// An image that is a window at the lower right corner of a larger one, and the memory ends with it:
// who reads or writes a byte behind its last pixel ends the program.
//
//   CornerWindow window(3, 3, IPL_DEPTH_32F, 1, 5, 2);   // of an image of 8 x 5
//   rotateIplImage90_2(window.image(), window.image());
//
// As everywhere in OpenCV, `imageSize` counts whole rows of the larger image. The last row has not
// that much left: from the window's first pixel on, imageSize bytes end behind the memory.
#pragma once

#include <opencv2/core/core_c.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <new>
#include <vector>

namespace korrin_test {

class CornerWindow {
 public:
  // `left` columns and `top` rows of the larger image are not the window's. All bytes are 0.
  CornerWindow(int width, int height, int depth, int channels, int left, int top) {
    const int pixelBytes = (depth & 255) / 8 * channels;
    const int rowBytes = (left + width) * pixelBytes;
    bytes_ = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(top + height);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t pages = (bytes_ + page - 1) / page * page;
    mappedBytes_ = pages + page;
    void* memory =
        mmap(nullptr, mappedBytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    memory_ = static_cast<char*>(memory);
    mprotect(memory_ + pages, page, PROT_NONE);
    pixels_ = memory_ + pages - bytes_;
    cvInitImageHeader(&image_, cvSize(width, height), depth, channels);
    cvSetData(&image_, pixels_ + std::ptrdiff_t{top} * rowBytes + std::ptrdiff_t{left} * pixelBytes,
              rowBytes);
  }
  ~CornerWindow() { munmap(memory_, mappedBytes_); }
  CornerWindow(const CornerWindow&) = delete;
  CornerWindow& operator=(const CornerWindow&) = delete;

  IplImage* image() { return &image_; }

  // Every byte of the larger image.
  std::vector<char> bytes() const { return {pixels_, pixels_ + bytes_}; }

 private:
  std::size_t bytes_;
  std::size_t mappedBytes_;
  char* memory_;
  char* pixels_;
  IplImage image_;
};

}  // namespace korrin_test
