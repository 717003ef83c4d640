// A plan as a picture: the map, the cells that were looked at, the path and its waypoints.
#pragma once

#include "korrin/core/occupancy_map.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/planning.hpp"

namespace korrin_tool {

// The part of the map that is known, in the frame of the map's grid.
Canvas drawPlan(const Brin::OccupancyMap& map, const Plan& plan, const Search& search);

}  // namespace korrin_tool
