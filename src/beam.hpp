// Where a beam of given angle and range ends, in the world. Updating a map and simulating a scan
// share it.
#pragma once

#include <cmath>

#include "korrin/core/geometry.hpp"

namespace Brin {

struct Direction {
  float cosine;
  float sine;
};

inline Direction directionOf(float angle) {
  Direction direction{};
  ::sincosf(angle, &direction.sine, &direction.cosine);
  return direction;
}

// `range` cut to 2^27 cells either way: an infinite one keeps its direction.
inline float limitedRange(float range, float resolution) {
  const float limit = 134217728.0f * std::fabs(resolution);
  if (range > limit) return limit;
  if (range < -limit) return -limit;
  return range;
}

// The point `range` metres from `pose` in `direction` (world frame).
inline Pose2D beamPoint(const Pose2D& pose, Direction direction, float range) {
  return {pose.x + range * direction.cosine, pose.y + range * direction.sine, 0.0f};
}

}  // namespace Brin
