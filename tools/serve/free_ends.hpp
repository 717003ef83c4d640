// Two places on a map to begin with.
#pragma once

#include <utility>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_tool::serve {

// Two places in the largest part of the map that hangs together, far from each other and, where
// there is such a place, 0.3 m from all that is not free. Where nothing is free both are the map's
// middle. Linear in the cells.
std::pair<Brin::Pose2D, Brin::Pose2D> freeEnds(const Brin::OccupancyMap& map);

}  // namespace korrin_tool::serve
