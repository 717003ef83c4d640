// Single ownership of an OpenCV image, and its creation with the size checks that OpenCV lacks.
#pragma once

#include <opencv2/core/core_c.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

namespace Brin {

struct ImageRelease {
  void operator()(IplImage* image) const { cvReleaseImage(&image); }
};

using ImagePtr = std::unique_ptr<IplImage, ImageRelease>;

// Raises OpenCV's error for an image that OpenCV cannot address. Its own check comes after a row's
// bits have wrapped at 32, so a row of 2^27 floats would pass as one of no bytes.
inline void requireCountable(CvSize size, int depth, int channels) {
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  if (size.width < 0 || size.height < 0) {
    cvError(CV_BadROISize, "makeImage", "negative image size", __FILE__, __LINE__);
  }
  if (channels < 1 || channels > CV_CN_MAX) {
    cvError(CV_BadNumChannels, "makeImage", "channel count out of range", __FILE__, __LINE__);
  }
  const std::int64_t rowBits = std::int64_t{size.width} * (depth & 255) * channels;
  const std::int64_t rowBytes = (rowBits + 31) / 32 * 4;
  if (rowBits > kMost || rowBytes * size.height > kMost) {
    cvError(CV_StsNoMem, "makeImage", "the image is larger than OpenCV can address", __FILE__,
            __LINE__);
  }
}

// A new image with undefined pixels. A negative or too large size, or a depth or channel count that
// OpenCV does not know, raises OpenCV's error before anything is allocated.
inline ImagePtr makeImage(CvSize size, int depth, int channels) {
  requireCountable(size, depth, channels);
  IplImage trial;
  cvInitImageHeader(&trial, size, depth, channels);
  // What cvCreateImage does, in two steps: it loses the header when the pixels find no memory.
  ImagePtr image(cvCreateImageHeader(size, depth, channels));
  cvCreateData(image.get());
  return image;
}

inline bool hasKind(const IplImage& image, int depth, int channels) {
  return image.depth == depth && image.nChannels == channels;
}

// Raises OpenCV's error unless `image` is there and of that kind.
inline void requireKind(const IplImage* image, int depth, int channels, const char* function) {
  if (image == nullptr || image->imageData == nullptr) {
    cvError(CV_StsNullPtr, function, "null image", __FILE__, __LINE__);
  } else if (!hasKind(*image, depth, channels)) {
    cvError(CV_StsUnmatchedFormats, function, "image of another depth or channel count", __FILE__,
            __LINE__);
  }
}

// Gives `*slot` an image of that size and kind. What it holds is kept when it fits; otherwise, or
// when it has no pixels, it is replaced. The pixels of a new image are undefined.
inline void fitImage(IplImage** slot, CvSize size, int depth, int channels, const char* function) {
  if (slot == nullptr) cvError(CV_StsNullPtr, function, "null image slot", __FILE__, __LINE__);
  const IplImage* held = *slot;
  if (held != nullptr && held->imageData != nullptr && hasKind(*held, depth, channels) &&
      held->width == size.width && held->height == size.height) {
    return;
  }
  ImagePtr fresh = makeImage(size, depth, channels);
  cvReleaseImage(slot);
  *slot = fresh.release();
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
