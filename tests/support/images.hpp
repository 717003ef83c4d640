// Small images for tests, written out or random.
//
//   ImagePtr bytes = byteImage({{0, 127, 255}});
//   EXPECT_EQ(rowsOf<std::uint8_t>(*bytes), (Rows<std::uint8_t>{{0, 127, 255}}));
#pragma once

#include <cstdint>
#include <vector>

#include "core/image_ptr.hpp"
#include "support/random_inputs.hpp"

namespace korrin_test {

template <typename T>
using Rows = std::vector<std::vector<T>>;

template <typename T>
Brin::ImagePtr imageOf(const Rows<T>& rows, int depth) {
  const int width = rows.empty() ? 0 : static_cast<int>(rows.front().size());
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, static_cast<int>(rows.size())), depth, 1);
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < width; ++x) {
      Brin::imageRow<T>(*image, y)[x] =
          rows[static_cast<std::size_t>(y)].at(static_cast<std::size_t>(x));
    }
  }
  return image;
}

inline Brin::ImagePtr byteImage(const Rows<std::uint8_t>& rows) {
  return imageOf(rows, IPL_DEPTH_8U);
}

inline Brin::ImagePtr floatImage(const Rows<float>& rows) { return imageOf(rows, IPL_DEPTH_32F); }

template <typename T>
Rows<T> rowsOf(const IplImage& image) {
  Rows<T> rows;
  for (int y = 0; y < image.height; ++y) {
    const T* row = Brin::imageRow<T>(image, y);
    rows.emplace_back(row, row + image.width);
  }
  return rows;
}

// Probabilities in [0, 1], many of them 0, 0.5 and 1; with `wildShare` any float at all.
inline Brin::ImagePtr randomFloatImage(RandomInputs& random, int width, int height,
                                       double wildShare = 0.0) {
  Brin::ImagePtr image = Brin::makeImage(cvSize(width, height), IPL_DEPTH_32F, 1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      Brin::imageRow<float>(*image, y)[x] = random.chance(wildShare) ? random.wildFloat()
                                            : random.chance(0.3)
                                                ? random.pick<float>({0.0f, 0.5f, 1.0f})
                                                : random.between(0.0f, 1.0f);
    }
  }
  return image;
}

inline Brin::ImagePtr copyOf(const IplImage& image) { return Brin::ImagePtr(cvCloneImage(&image)); }

}  // namespace korrin_test
