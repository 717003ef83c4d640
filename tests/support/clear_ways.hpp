// Whether straight lines are clear of obstacles, judged without any code of the library: by the
// distance from points along a line to the squares of obstacles.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_test {

// The obstacles of a map whose origin is (0, 0, 0): cells below a threshold, or not a number.
class ClearWays {
 public:
  ClearWays(const Brin::OccupancyMap& map, float threshold) : map_(map), threshold_(threshold) {}

  // The least distance, in cells, from the line between two poses to the square of an obstacle; or
  // `most` when that is farther away. By points a tenth of a cell apart.
  double distanceTo(const Brin::Pose2D& from, const Brin::Pose2D& to, double most) const {
    const double perMetre = 1.0 / static_cast<double>(map_.params.resolution);
    const double length = std::hypot(double{to.x} - from.x, double{to.y} - from.y) * perMetre;
    const int steps = static_cast<int>(length * 10.0) + 1;
    double least = most;
    for (int i = 0; i <= steps; ++i) {
      const double share = static_cast<double>(i) / steps;
      least =
          std::min(least, distanceTo((from.x + share * (double{to.x} - from.x)) * perMetre,
                                     (from.y + share * (double{to.y} - from.y)) * perMetre, least));
    }
    return least;
  }

 private:
  // In cells.
  double distanceTo(double x, double y, double most) const {
    const int reach = static_cast<int>(most) + 2;
    const int column = static_cast<int>(std::floor(x + 0.5));
    const int row = static_cast<int>(std::floor(y + 0.5));
    double least = most;
    for (int v = row - reach; v <= row + reach; ++v) {
      for (int u = column - reach; u <= column + reach; ++u) {
        if (!map_.isInside(u, v) || map_.getCell(u, v) >= threshold_) continue;
        const double dx = std::max(0.0, std::fabs(x - u) - 0.5);
        const double dy = std::max(0.0, std::fabs(y - v) - 0.5);
        least = std::min(least, std::hypot(dx, dy));
      }
    }
    return least;
  }

  const Brin::OccupancyMap& map_;
  float threshold_;
};

}  // namespace korrin_test
