// Images whose rows carry more bytes than their pixels take.
//
//   padRows(map.image, 12);                        // the same cells, 12 bytes after each row
//   EXPECT_TRUE(isPaddingUntouched(*map.image));
#pragma once

#include <opencv2/core/core_c.h>

#include <cstddef>
#include <cstring>
#include <vector>

#include "core/image_ptr.hpp"

namespace korrin_test {

constexpr char kPadding = '\x5a';

inline std::size_t pixelBytesOfRow(const IplImage& image) {
  return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.nChannels) *
         static_cast<std::size_t>((image.depth & 255) / 8);
}

// The same pixels, `bytes` (a multiple of 4) of padding after each row.
inline Brin::ImagePtr paddedCopyOf(const IplImage& image, int bytes) {
  Brin::ImagePtr copy(
      cvCreateImageHeader(cvSize(image.width, image.height), image.depth, image.nChannels));
  copy->widthStep += bytes;
  copy->imageSize = copy->widthStep * copy->height;
  cvCreateData(copy.get());
  std::memset(copy->imageData, kPadding, static_cast<std::size_t>(copy->imageSize));
  for (int y = 0; y < image.height; ++y) {
    std::memcpy(Brin::imageRow<char>(*copy, y), Brin::imageRow<char>(image, y),
                pixelBytesOfRow(image));
  }
  return copy;
}

// Replaces what `slot` holds.
inline void padRows(IplImage*& slot, int bytes) {
  Brin::ImagePtr padded = paddedCopyOf(*slot, bytes);
  cvReleaseImage(&slot);
  slot = padded.release();
}

// All bytes that belong to no pixel.
inline std::vector<char> paddingOf(const IplImage& image) {
  std::vector<char> padding;
  for (int y = 0; y < image.height; ++y) {
    const char* row = Brin::imageRow<char>(image, y);
    padding.insert(padding.end(), row + pixelBytesOfRow(image), row + image.widthStep);
  }
  return padding;
}

inline bool isPaddingUntouched(const IplImage& image) {
  const std::vector<char> padding = paddingOf(image);
  return padding == std::vector<char>(padding.size(), kPadding);
}

}  // namespace korrin_test
