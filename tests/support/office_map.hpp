// Office floors of any size, for tests and benchmarks: corridors, rooms along them, doors,
// furniture, a few rooms that nobody has looked into. 0.05 m a cell.
//
//   Brin::OccupancyMap map = officeMap(1000, 7);
//
// The cells depend on side and seed alone. The outermost cells are wall; every room has a door to
// a corridor, and all corridors meet, so that most free cells can be reached from each other.
#pragma once

#include <cstdint>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_test {

// side x side cells; no second image.
Brin::OccupancyMap officeMap(int side, std::uint64_t seed);

// The middle row of a corridor of such a map, `share` of the way from the first corridor (0) to
// the last whole one (1).
int officeCorridorRow(int side, double share);

// The cell of value 0.9 or more nearest to (x, y), by rings around it; (x, y) itself where there
// is none.
Brin::Pose2Di nearestFreeCell(const Brin::OccupancyMap& map, int x, int y);

}  // namespace korrin_test
