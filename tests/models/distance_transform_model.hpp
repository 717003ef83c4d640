// Distances to the nearest zero pixel, literally: the chamfer distance of the 3 x 3 mask in two
// ways through the image, in whole units of 2^-16 pixels, pixel by pixel.
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace korrin_model {

constexpr std::int32_t kChamferStraight = 62587;
constexpr std::int32_t kChamferDiagonal = 89738;
// Nothing is farther, also where there is no zero: 8192 pixels.
constexpr std::int32_t kChamferFarthest = 536870912;

struct ChamferStep {
  int dx;
  int dy;
  std::int32_t length;
};

// A table of distances with a border, one wide, of pixels that are too far away.
class ChamferTable {
 public:
  ChamferTable(int width, int height)
      : stride_(static_cast<std::size_t>(width) + 2),
        cells_(stride_ * (static_cast<std::size_t>(height) + 2), kChamferFarthest) {}

  std::int32_t& at(int x, int y) {
    return cells_[static_cast<std::size_t>(y + 1) * stride_ + static_cast<std::size_t>(x + 1)];
  }

  // Lowers the distance of a pixel to what its neighbours lead to.
  void lower(int x, int y, std::initializer_list<ChamferStep> steps) {
    for (const ChamferStep& step : steps) {
      at(x, y) = std::min(at(x, y), at(x + step.dx, y + step.dy) + step.length);
    }
  }

 private:
  std::size_t stride_;
  std::vector<std::int32_t> cells_;
};

// Both images whole, of one size: 8 bits, and 32-bit floats.
inline void chamferDistances(const IplImage* bytes, IplImage* distances) {
  ChamferTable table(bytes->width, bytes->height);
  for (int y = 0; y < bytes->height; ++y) {
    const char* row = bytes->imageData + std::ptrdiff_t{y} * bytes->widthStep;
    for (int x = 0; x < bytes->width; ++x) {
      if (row[x] == 0) table.at(x, y) = 0;
      table.lower(x, y,
                  {{-1, -1, kChamferDiagonal},
                   {0, -1, kChamferStraight},
                   {1, -1, kChamferDiagonal},
                   {-1, 0, kChamferStraight}});
    }
  }
  for (int y = bytes->height - 1; y >= 0; --y) {
    char* row = distances->imageData + std::ptrdiff_t{y} * distances->widthStep;
    for (int x = bytes->width - 1; x >= 0; --x) {
      table.lower(x, y,
                  {{1, 1, kChamferDiagonal},
                   {0, 1, kChamferStraight},
                   {-1, 1, kChamferDiagonal},
                   {1, 0, kChamferStraight}});
      reinterpret_cast<float*>(row)[x] = static_cast<float>(table.at(x, y)) / 65536.0f;
    }
  }
}

}  // namespace korrin_model
