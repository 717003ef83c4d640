// The poses that PathSimplifier keeps, by their places in the path.
#pragma once

#include <cstddef>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace Brin {

// Poses that lie one after the other; borrowed.
struct PoseRange {
  const Pose2D* poses;
  std::size_t size;

  const Pose2D& operator[](std::size_t place) const { return poses[place]; }
};

// The places in `path` of what PathSimplifier::sample keeps of it at `accuracy`, a finite number of
// millimetres. In rising order.
std::vector<std::size_t> simplifyToPlaces(PoseRange path, float accuracy);

}  // namespace Brin
