// Paths as a planner gives them, one cell after the other, for the benchmarks of what follows.
#pragma once

#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "support/office_map.hpp"

namespace korrin_bench {

// From one corner of an office floor to the opposite one.
inline std::vector<Brin::Pose2D> plannedPath(const Brin::OccupancyMap& map) {
  const int width = map.params.width;
  const int height = map.params.height;
  const Brin::Pose2Di start = korrin_test::nearestFreeCell(map, width / 8, height / 8);
  const Brin::Pose2Di goal = korrin_test::nearestFreeCell(map, width * 7 / 8, height * 7 / 8);
  Brin::OccMapPathFinder finder(&map, 0.0f);
  finder.setObstacleThreshold(0.45f);
  finder.setCoarseFactor(1);
  std::vector<Brin::Pose2D> path;
  finder.computePath(map.getPoseFromPixel(start), map.getPoseFromPixel(goal), path);
  return path;
}

}  // namespace korrin_bench
