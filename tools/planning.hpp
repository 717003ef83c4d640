// Planning as the commands do it: grow the obstacles, settle start and goal, search, simplify.
//
//   PlanSettings settings;
//   settings.radius = 0.3f;
//   OccupancyMap grown = growObstacles(map, settings);
//   Plan plan = planPath(grown, start, goal, settings);  // NegativeAnswer when there is none
#pragma once

#include <optional>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "korrin/occmap_path_finder.hpp"

namespace korrin_tool {

struct PlanSettings {
  Brin::OccMapPathFinder::NeighborhoodType neighborhood = Brin::OccMapPathFinder::Simple;
  float weight = 0.5f;        // of the distance to the goal, 0 to 1
  float threshold = 0.2f;     // cells of a lower value are obstacles
  int coarseFactor = 1;       // cells of the map along one side of a searched cell
  bool exploredOnly = false;  // unknown cells are obstacles too
  std::optional<Brin::ObstacleDilater::DilateType> dilation;
  float radius = 0.2f;                // of the growth, metres
  float fade = 0.4f;                  // where the growth ends, metres
  float samplingAccuracy = 300.0f;    // of the simplified path, millimetres
  std::optional<float> snapDistance;  // how far start and goal may be moved, metres
};

struct Timings {
  double plan = 0.0;  // seconds
  double simplify = 0.0;
};

struct Plan {
  Brin::Pose2D start;  // as asked for, or as moved
  Brin::Pose2D goal;
  float startMoved = 0.0f;  // metres; 0 when it was free where it was
  float goalMoved = 0.0f;
  std::vector<Brin::Pose2D> path;       // the centres of the cells, each next to the one before
  std::vector<Brin::Pose2D> waypoints;  // the simplified path
  std::vector<Brin::Pose2Di> explored;  // cells of `searched` in the order of expansion
  Brin::OccupancyMapParams searched;    // the grid that was searched
  int iterations = 0;
  int blockedCells = 0;  // cells of the path that a stride jumped although blocked
  Timings timings;
};

// The map as it is planned on: unknown cells made obstacles and obstacles grown, as the settings
// say. No cell becomes freer than it was.
Brin::OccupancyMap growObstacles(const Brin::OccupancyMap& map, const PlanSettings& settings);

// A path from `start` to `goal` on `map`. Throws NegativeAnswer, naming start or goal where one is
// at fault, when there is none.
Plan planPath(const Brin::OccupancyMap& map, const Brin::Pose2D& start, const Brin::Pose2D& goal,
              const PlanSettings& settings);

// Metres along a path.
double lengthOf(const std::vector<Brin::Pose2D>& path);

}  // namespace korrin_tool
