// Single ownership of an OpenCV image, and its creation with the size checks that OpenCV lacks.
#pragma once

#include <opencv2/core/core_c.h>

#include <cstdint>
#include <limits>
#include <memory>

namespace Brin {

struct ImageRelease {
  void operator()(IplImage* image) const { cvReleaseImage(&image); }
};

using ImagePtr = std::unique_ptr<IplImage, ImageRelease>;

// A new image with undefined pixels. A negative size, or one whose bytes an int cannot count
// (OpenCV's own check overflows on wide images), raises OpenCV's error before any allocation.
inline ImagePtr makeImage(CvSize size, int depth, int channels) {
  const std::int64_t rowBits = std::int64_t{size.width} * (depth & 255) * channels;
  const std::int64_t rowBytes = (rowBits + 31) / 32 * 4;
  if (rowBytes > std::numeric_limits<int>::max() ||
      rowBytes * size.height > std::numeric_limits<int>::max()) {
    cvError(CV_StsNoMem, "makeImage", "the image's bytes exceed what OpenCV can count", __FILE__,
            __LINE__);
  }
  return ImagePtr(cvCreateImage(size, depth, channels));
}

inline bool hasKind(const IplImage& image, int depth, int channels) {
  return image.depth == depth && image.nChannels == channels;
}

// Raises OpenCV's error unless `image` is there and of that kind.
inline void requireKind(const IplImage* image, int depth, int channels, const char* function) {
  if (image == nullptr || image->imageData == nullptr) {
    cvError(CV_StsNullPtr, function, "null image", __FILE__, __LINE__);
  }
  if (!hasKind(*image, depth, channels)) {
    cvError(CV_StsUnmatchedFormats, function, "image of another depth or channel count", __FILE__,
            __LINE__);
  }
}

// Row y of an image whose pixels are of type T.
template <typename T>
T* imageRow(IplImage& image, int y) {
  return reinterpret_cast<T*>(image.imageData + std::ptrdiff_t{y} * image.widthStep);
}

template <typename T>
const T* imageRow(const IplImage& image, int y) {
  return reinterpret_cast<const T*>(image.imageData + std::ptrdiff_t{y} * image.widthStep);
}

}  // namespace Brin
