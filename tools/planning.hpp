// Planning as the commands do it: by a PathPlanner, with ends that may be moved to where it is
// free, each cell of the path told, and a request that fails told in one line.
//
//   Brin::PathPlanner planner(map, settings);
//   Plan plan = planPath(planner, start, goal);  // NegativeAnswer when there is none
//   Search search = searchBehind(planner, plan);  // for a picture
#pragma once

#include <optional>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/path_planner.hpp"

namespace korrin_tool {

struct Plan {
  Brin::Pose2D start;  // as asked for, or as moved
  Brin::Pose2D goal;
  float startMoved = 0.0f;  // metres; 0 when it was free where it was
  float goalMoved = 0.0f;
  std::vector<Brin::Pose2D> path;       // the centres of the cells, each next to the one before
  std::vector<Brin::Pose2D> waypoints;  // the simplified path
  float length = 0.0f;                  // of the planner's path, metres
  float cost = 0.0f;
  int iterations = 0;
  int blockedCells = 0;  // cells of the path that the planner holds blocked
  double seconds = 0.0;
};

// What an OccMapPathFinder shows of a search.
struct Search {
  Brin::OccupancyMapParams grid;
  std::vector<Brin::Pose2Di> explored;  // cells in the order of expansion
};

// A path from `start` to `goal`; the first turn, where it costs, is from the heading of `start`. An
// end that is not free is moved to the nearest free cell, if that is at most `snapDistance` metres
// away. Throws NegativeAnswer, naming start or goal where one is at fault, when there is no path.
Plan planPath(const Brin::PathPlanner& planner, const Brin::Pose2D& start, const Brin::Pose2D& goal,
              std::optional<float> snapDistance = {});

// The search that a plan came of, done once more by a path finder: it is the same in every step.
Search searchBehind(const Brin::PathPlanner& planner, const Plan& plan);

// The same between two cells of planner.grownMap(); it reports to the library's log as the finder
// does. It sets the weight of all path finders: one thread at a time.
Search searchBetween(const Brin::PathPlanner& planner, const Brin::Pose2Di& start,
                     const Brin::Pose2Di& goal);

// Metres along a path.
double lengthOf(const std::vector<Brin::Pose2D>& path);

}  // namespace korrin_tool
