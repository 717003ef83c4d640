// A picture of a pose graph over the map that came of it.
#pragma once

#include "korrin/mapping/log_alignment.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_tool {

// Key scans, the way between them, and the loops: from light to hot by how far the poses leave
// them off, dropped ones dashed and above all else. Walls are pale.
Canvas drawGraph(const Brin::OccupancyMap& map, const Brin::mapping::Alignment& alignment);

}  // namespace korrin_tool
