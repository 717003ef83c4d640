// Strokes of a round brush on a map.
#pragma once

#include "korrin/core/occupancy_map.hpp"
#include "tools/serve/map_store.hpp"
#include "tools/serve/requests.hpp"

namespace korrin_tool::serve {

// The cells that a stroke may change, cut to the map.
CellRectangle reachOf(const Brin::OccupancyMap& map, const Stroke& stroke);

// A Refusal of status 400 when painting these would take long.
void checkWork(const Brin::OccupancyMap& map, const std::vector<Stroke>& strokes);

// Gives the stroke's value to each cell whose centre is at most half the width away from the line
// through its points, and to all that the line itself goes through.
void paint(Brin::OccupancyMap& map, const Stroke& stroke);

}  // namespace korrin_tool::serve
