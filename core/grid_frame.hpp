// World points taken to cells of one map: the one formula behind getPixelFromPose, with what only
// depends on the map worked out once. Whoever converts many points uses it directly.
#pragma once

#include <cmath>
#include <cstdint>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

class GridFrame {
 public:
  explicit GridFrame(const OccupancyMapParams& params)
      : origin_(params.origin),
        cosine_(std::cos(params.origin.theta)),
        sine_(std::sin(params.origin.theta)),
        resolution_(params.resolution) {}

  // The cell that holds the world point (x, y), as getPixelFromPose gives it.
  Point2Di cellOf(const Point2D& point) const {
    const float dx = point.x - origin_.x;
    const float dy = point.y - origin_.y;
    return {toIndex(cosine_ * dx + sine_ * dy), toIndex(cosine_ * dy - sine_ * dx)};
  }

 private:
  // The nearest column or row, limited to +-2^28; not-a-number goes to -2^28.
  std::int32_t toIndex(float offset) const {
    constexpr float kLimit = 268435456.0f;
    float index = offset / resolution_ + 0.5f;
    index = index > -kLimit ? index : -kLimit;  // not-a-number as well
    index = index < kLimit ? index : kLimit;
    const auto truncated = static_cast<std::int32_t>(index);
    return truncated - (index < static_cast<float>(truncated) ? 1 : 0);
  }

  Pose2D origin_;
  float cosine_;
  float sine_;
  float resolution_;
};

}  // namespace Brin
