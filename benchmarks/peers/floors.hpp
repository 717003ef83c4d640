// The floors and places that every query of the comparison is put on.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_peers {

// Cells below it block sight and way. On these floors such cells are certainly occupied (0),
// unknown ones included: what to make of unknown cells is where libraries differ.
constexpr float kObstacleThreshold = 0.55f;

struct Floor {
  std::string name;
  Brin::OccupancyMap map;            // its lower-left corner is the world's origin; not turned
  Brin::Pose2D from, to;             // centres of free cells at far ends of the floor
  std::vector<Brin::Pose2D> places;  // centres of free cells all over it, with headings
};

// The two office floors, and the real one when its file is there.
const std::vector<Floor>& floors();

}  // namespace korrin_peers
