// What a step costs into each cell of a searched map, for a step of one metre: infinity where it is
// blocked, and in a border around the map that is as wide as the longest step. Whoever steps need
// neither look whether a cell lies on the map nor whether it is free.
//
//   CostGrid grid(width, height, reach);
//   grid.fill(*image, threshold, area);
//   float cost = grid.costs()[grid.cellAt(x, y) + grid.offsetOf(dx, dy)];
//
// A row's end is the next one's beginning: their borders are the same cells.
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"
#include "src/cell_area.hpp"
#include "src/zeroed_array.hpp"

namespace Brin {

class CostGrid {
 public:
  static constexpr float kBlocked = std::numeric_limits<float>::infinity();

  // A grid whose cells are still to be filled. More cells than an int counts are too many:
  // std::bad_alloc.
  CostGrid(std::int32_t width, std::int32_t height, std::int32_t reach)
      : width_(width),
        height_(height),
        reach_(reach),
        stride_(std::int64_t{width} + reach),
        size_(sizeOf(stride_, height, reach)),
        costs_(makeZeroedArray<float>(size_)) {
    // The border; the rest is to be filled.
    std::fill_n(costs_.get(), cellAt(0, 0), kBlocked);
    for (std::int32_t y = 0; y < height; ++y) {
      std::fill_n(costs_.get() + cellAt(width, y), reach, kBlocked);
    }
    std::fill(costs_.get() + cellAt(0, height) - reach, costs_.get() + size_, kBlocked);
  }

  std::int32_t width() const { return width_; }
  std::int32_t height() const { return height_; }
  // Cells with the border, and a few more, so that four can be looked at from any step on.
  std::int64_t size() const { return size_; }

  bool fits(const IplImage& image) const {
    return image.width == width_ && image.height == height_;
  }
  bool contains(std::int32_t x, std::int32_t y) const {
    return x >= 0 && y >= 0 && x < width_ && y < height_;
  }

  std::int32_t cellAt(std::int32_t x, std::int32_t y) const {
    return static_cast<std::int32_t>((std::int64_t{y} + reach_) * stride_ + x + reach_);
  }
  // The column of a cell in row `y`.
  std::int32_t columnOf(std::int32_t cell, std::int32_t y) const { return cell - cellAt(0, y); }
  std::int32_t offsetOf(std::int32_t dx, std::int32_t dy) const {
    return static_cast<std::int32_t>(dy * stride_ + dx);
  }
  const float* costs() const { return costs_.get(); }

  // Takes over the cells of `area` from an image of the grid's size.
  void fill(const IplImage& image, float threshold, CellArea area) {
    for (std::int32_t y = area.top; y < area.bottom; ++y) {
      const float* const row = imageRow<float>(image, y) + area.left;
      float* const costs = costs_.get() + cellAt(area.left, y);
      std::int32_t x = 0;
      for (; x + kLanes <= area.width(); x += kLanes) {
        store(costs + x, costOf(load<Floats>(row + x), threshold));
      }
      for (; x < area.width(); ++x) costs[x] = costOf(row[x], threshold);
    }
  }

 private:
  template <typename T>
  static T costOf(T p, float threshold) {
    return choose(threshold > p, T{} + kBlocked, 1.0f + 2.0f * (1.0f - p));
  }

  static std::int64_t sizeOf(std::int64_t stride, std::int64_t height, std::int64_t reach) {
    return stride * (height + 2 * reach) + 2 * reach + 4;
  }

  std::int32_t width_;
  std::int32_t height_;
  std::int32_t reach_;
  std::int64_t stride_;
  std::int64_t size_;
  ZeroedArray<float> costs_;
};

}  // namespace Brin
