// Images of one value, to start from.
//
//   const Brin::ImagePtr map = uniformFloatImage(5, 5, 9.0f);   // width, height, value
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>

#include "core/image_ptr.hpp"

namespace korrin_test {

inline Brin::ImagePtr uniformFloatImage(int width, int height, float value) {
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_32F, 1);
  for (int y = 0; y < height; ++y) {
    std::fill_n(Brin::imageRow<float>(*image, y), width, value);
  }
  return image;
}

inline Brin::ImagePtr uniformByteImage(int width, int height, int value) {
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_8U, 1);
  std::fill_n(image->imageData, image->imageSize, static_cast<char>(value));
  return image;
}

}  // namespace korrin_test
