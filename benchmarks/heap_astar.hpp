// A textbook A* on the path finder's graph and costs, as a yardstick for its speed: a binary heap
// from the standard library, a cell filed again when its cost falls, stale entries skipped. Same
// steps, costs and weight; but no promised order among ties, no lists to show afterwards. Its paths
// can differ.
#pragma once

#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <queue>
#include <utility>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_bench {

class HeapAStar {
 public:
  explicit HeapAStar(const Brin::OccupancyMap& map) : map_(map) {}

  float threshold = 0.2f;
  float weight = 0.5f;
  std::int64_t iterations = 0;

  std::vector<Brin::Pose2Di> plan(const Brin::Pose2Di& from, const Brin::Pose2Di& to) {
    iterations = 0;
    const auto cells = static_cast<std::size_t>(width()) * static_cast<std::size_t>(height());
    costs_.assign(cells, std::numeric_limits<float>::infinity());
    parents_.assign(cells, -1);
    closed_.assign(cells, 0);
    open_ = {};
    goal_ = to;
    const std::int32_t start = from.y * width() + from.x;
    costs_[static_cast<std::size_t>(start)] = 0.0f;
    open_.emplace(0.0f, start);
    while (!open_.empty()) {
      const std::int32_t cell = open_.top().second;
      open_.pop();
      if (closed_[static_cast<std::size_t>(cell)] != 0) continue;
      closed_[static_cast<std::size_t>(cell)] = 1;
      ++iterations;
      if (cell == to.y * width() + to.x) return pathTo(cell);
      expand(cell);
    }
    return {};
  }

 private:
  using Entry = std::pair<float, std::int32_t>;

  int width() const { return map_.image->width; }
  int height() const { return map_.image->height; }

  void expand(std::int32_t cell) {
    static constexpr int kSteps[8][2] = {{-1, -1}, {0, -1}, {1, -1}, {-1, 0},
                                         {1, 0},   {-1, 1}, {0, 1},  {1, 1}};
    const int x = cell % width();
    const int y = cell / width();
    const float g = costs_[static_cast<std::size_t>(cell)];
    for (const auto& step : kSteps) {
      const float length = (step[0] != 0 && step[1] != 0 ? kDiagonal : 1.0f) * resolution();
      offer(cell, g, x + step[0], y + step[1], length);
    }
  }

  void offer(std::int32_t parent, float parentCost, int x, int y, float length) {
    if (x < 0 || y < 0 || x >= width() || y >= height()) return;
    const float p = map_.getCell(x, y);
    if (threshold > p) return;
    const std::int32_t cell = y * width() + x;
    const auto i = static_cast<std::size_t>(cell);
    if (closed_[i] != 0) return;
    const float g = parentCost + length * (1.0f + 2.0f * (1.0f - p));
    if (!(g < costs_[i])) return;
    costs_[i] = g;
    parents_[i] = parent;
    const auto dx = static_cast<float>(goal_.x - x);
    const auto dy = static_cast<float>(goal_.y - y);
    const float h = std::sqrt(dx * dx + dy * dy) * resolution();
    open_.emplace((1.0f - weight) * g + weight * h, cell);
  }

  std::vector<Brin::Pose2Di> pathTo(std::int32_t cell) const {
    std::vector<Brin::Pose2Di> path;
    for (; cell >= 0; cell = parents_[static_cast<std::size_t>(cell)]) {
      path.emplace_back(cell % width(), cell / width(), 0.0f);
    }
    std::reverse(path.begin(), path.end());
    return path;
  }

  float resolution() const { return map_.params.resolution; }

  static constexpr float kDiagonal = 1.41421356f;

  const Brin::OccupancyMap& map_;
  Brin::Pose2Di goal_;
  std::vector<float> costs_;
  std::vector<std::int32_t> parents_;
  std::vector<std::uint8_t> closed_;
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> open_;
};

}  // namespace korrin_bench
