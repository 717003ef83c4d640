// The laser of the demonstration's robot: three quarters of a turn, half a degree from beam to
// beam, 12 m far.
#pragma once

#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_tool {

constexpr int kScannerBeams = 541;

// What it reads at `pose` in `building`.
std::vector<Brin::RangeReading> readScanner(const Brin::OccupancyMap& building,
                                            const Brin::Pose2D& pose);

// The points that it hit, in its own frame (metres).
std::vector<Brin::Point2D> hitPoints(const std::vector<Brin::RangeReading>& readings);

}  // namespace korrin_tool
