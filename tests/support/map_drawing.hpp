// Maps written in the test as a drawing: one string a row, row 0 first, column 0 leftmost.
//
//   '.' free (1)    '?' unknown (0.5)    '#' occupied (0)    '0'..'9' tenths (0 to 0.9)
#pragma once

#include <string>
#include <vector>

#include "korrin/core/occupancy_map.hpp"

namespace korrin_test {

Brin::OccupancyMap drawMap(const std::vector<std::string>& rows, float resolution = 1.0f,
                           bool withSecondImage = false);

// The map as such a drawing, for messages and for comparing whole maps at a glance; values between
// the ten levels show as the level below.
std::vector<std::string> drawingOf(const Brin::OccupancyMap& map);

}  // namespace korrin_test
