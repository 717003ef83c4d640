// Whether the literal cell search can walk its rays in time.
#pragma once

#include "fuzz/fuzz_target.hpp"
#include "models/occupancymap_utils_model.hpp"

namespace korrin_fuzz {

inline bool raysAreInReach(const Brin::OccupancyMap& map, const Brin::Pose2Di& start) {
  bool all = isInReach(start);
  for (int k = 0; k < 50; ++k) all = all && isInReach(korrin_model::rayEnd(map, start, k));
  return all;
}

}  // namespace korrin_fuzz
