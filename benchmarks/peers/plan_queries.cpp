// plan: a way from one end of the floor to the other. plan_short: its first 20 steps.
#include <mrpt/nav/planners/PlannerSimple2D.h>

#include <cstddef>
#include <deque>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "peers/agreement.hpp"
#include "peers/mrpt_inputs.hpp"
#include "peers/queries.hpp"

namespace korrin_peers {
namespace {

using Brin::Pose2D;

// The pose that the way across the floor reaches after 20 steps.
Pose2D twentyStepsOn(const Floor& floor) {
  Brin::OccMapPathFinder finder(&floor.map, 0.0f);
  finder.setObstacleThreshold(kObstacleThreshold);
  std::vector<Pose2D> path;
  finder.computePath(floor.from, floor.to, path);
  return path.at(20);
}

void planWithKorrin(benchmark::State& state, const Floor& floor, const Pose2D& goal) {
  Brin::OccMapPathFinder finder(&floor.map, 0.0f);
  finder.setObstacleThreshold(kObstacleThreshold);
  std::vector<Pose2D> path;
  for (auto _ : state) finder.computePath(floor.from, goal, path);
  if (path.empty()) state.SkipWithError("no path");
  state.counters["length_m"] = pathLength(path);
  state.counters["path_poses"] = static_cast<double>(path.size());
  state.counters["expanded"] = finder.getNumIterations();
}

void planWithMrpt(benchmark::State& state, const Floor& floor, const Pose2D& goal) {
  const mrpt::maps::COccupancyGridMap2D grid = mrptGrid(floor.map);
  mrpt::nav::PlannerSimple2D planner;
  planner.occupancyThreshold = kObstacleThreshold;
  planner.robotRadius = 0.0f;
  planner.minStepInReturnedPath = 0.0f;  // every cell, as ours
  const mrpt::poses::CPose2D from = mrptPose(floor.from);
  const mrpt::poses::CPose2D to = mrptPose(goal);
  std::deque<mrpt::math::TPoint2D> points;
  bool isMissing = false;
  for (auto _ : state) planner.computePath(grid, from, to, points, isMissing);
  if (isMissing || points.empty()) state.SkipWithError("no path");
  std::vector<Pose2D> path;
  for (const mrpt::math::TPoint2D& p : points) {
    path.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y), 0.0f);
  }
  state.counters["length_m"] = pathLength(path);
  state.counters["path_poses"] = static_cast<double>(path.size());
}

}  // namespace

void registerPlanQueries() {
  onEveryFloor("plan", "korrin", [](benchmark::State& state, const Floor& floor) {
    planWithKorrin(state, floor, floor.to);
  });
  onEveryFloor("plan", "mrpt", [](benchmark::State& state, const Floor& floor) {
    planWithMrpt(state, floor, floor.to);
  });
  onEveryFloor("plan_short", "korrin", [](benchmark::State& state, const Floor& floor) {
    planWithKorrin(state, floor, twentyStepsOn(floor));
  });
  onEveryFloor("plan_short", "mrpt", [](benchmark::State& state, const Floor& floor) {
    planWithMrpt(state, floor, twentyStepsOn(floor));
  });
}

}  // namespace korrin_peers
