// Float images written in the test row by row, for distance maps.
//
//   const Brin::ImagePtr map = floatImage({{1, 0, 1},
//                                          {2, 1, 2}});
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "core/image_ptr.hpp"

namespace korrin_test {

using FloatRows = std::vector<std::vector<float>>;

inline Brin::ImagePtr floatImage(const FloatRows& rows) {
  const int height = static_cast<int>(rows.size());
  const int width = rows.empty() ? 0 : static_cast<int>(rows.front().size());
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_32F, 1);
  for (int y = 0; y < height; ++y) {
    const std::vector<float>& row = rows[static_cast<std::size_t>(y)];
    std::copy(row.begin(), row.end(), Brin::imageRow<float>(*image, y));
  }
  return image;
}

inline Brin::ImagePtr uniformFloatImage(int width, int height, float value) {
  return floatImage(FloatRows(static_cast<std::size_t>(height),
                              std::vector<float>(static_cast<std::size_t>(width), value)));
}

inline Brin::ImagePtr byteImage(int width, int height, int value) {
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_8U, 1);
  std::fill_n(image->imageData, image->imageSize, static_cast<char>(value));
  return image;
}

}  // namespace korrin_test
