// The nearest free cell of a grid.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <optional>

#include "korrin/core/geometry.hpp"
#include "src/cost_grid.hpp"

namespace Brin {

// The free cell nearest to `cell`, which may lie anywhere, at most `reach` cells away; of equally
// near ones that of the lowest row, and in that row the lowest column. Looks at rows ever farther
// away, and in each no farther than the nearest cell so far: linear in the cells that are nearer.
class NearestFree {
 public:
  NearestFree(const CostGrid& grid, Point2Di cell, std::int32_t reach)
      : grid_(grid), x_(cell.x), y_(cell.y), most_(std::int64_t{reach} * reach) {}

  std::optional<Point2Di> find() {
    for (std::int64_t dy = 0; dy * dy <= most_; ++dy) {
      lookInRow(-dy);
      if (dy > 0) lookInRow(dy);
    }
    return nearest_;
  }

 private:
  void lookInRow(std::int64_t dy) {
    const std::int64_t y = y_ + dy;
    if (y < 0 || y >= grid_.height()) return;
    for (std::int64_t dx = 0; dx * dx + dy * dy <= most_; ++dx) {
      // The lower column first, and nothing farther once there is one.
      if (take(x_ - dx, y, dx * dx + dy * dy) || take(x_ + dx, y, dx * dx + dy * dy)) return;
    }
  }

  bool take(std::int64_t x, std::int64_t y, std::int64_t square) {
    if (x < 0 || x >= grid_.width()) return false;
    if (nearest_ && square == most_ && y > nearest_->y) return false;
    const auto column = static_cast<std::int32_t>(x);
    const auto row = static_cast<std::int32_t>(y);
    if (!(grid_.costs()[grid_.cellAt(column, row)] < CostGrid::kBlocked)) return false;
    nearest_ = Point2Di(column, row);
    most_ = square;
    return true;
  }

  const CostGrid& grid_;
  std::int64_t x_;
  std::int64_t y_;
  std::int64_t most_;  // squared; nothing farther away counts
  std::optional<Point2Di> nearest_;
};

}  // namespace Brin
