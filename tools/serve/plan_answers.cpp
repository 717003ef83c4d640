#include "korrin/pathcoststats.hpp"
#include "tools/json_numbers.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/plan_json.hpp"
#include "tools/serve/searched_layer.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

// What the robot meets along the path, by the values that were searched.
Json statsJson(const Brin::OccupancyMap& map, const std::vector<Brin::Pose2D>& path) {
  if (path.empty()) return nullptr;
  const Brin::PathCostStats stats = Brin::computePathCostStat(map, path);
  return {{"min", numberJson(stats.minCost)},
          {"max", numberJson(stats.maxCost)},
          {"mean", numberJson(stats.avgCost)},
          {"length", numberJson(stats.length)}};
}

}  // namespace

Json planAnswer(const PlanRequest& request, World& world) {
  const auto state = world.maps.current();
  const Planners::Result planner = world.plannerOn(*state, request.settings);
  const Brin::OccupancyMap& searched = planner.value->grownMap();
  // Between cells, so that the heading of the start counts.
  const Brin::Pose2Di start = searched.getPixelFromPose(request.start);
  const Brin::Pose2Di goal = searched.getPixelFromPose(request.goal);
  const Timer stopwatch;
  const Brin::Plan plan = planner.value->plan(start, goal);
  const double milliseconds = stopwatch.milliseconds();

  Json json = {{"outcome", nameOf(plan.outcome)},
               {"path", pointsJson(plan.path)},
               {"waypoints", pointsJson(plan.waypoints)},
               {"length", numberJson(plan.length)},
               {"cost", numberJson(plan.cost)},
               {"iterations", plan.iterations},
               {"stats", statsJson(searched, plan.path)},
               {"milliseconds", {{"prepare", planner.milliseconds}, {"plan", milliseconds}}},
               {"blocked", blockedJson(plan)}};
  const bool wasSearched =
      plan.outcome == Brin::PlanOutcome::Found || plan.outcome == Brin::PlanOutcome::NoPath;
  if (request.searched && wasSearched) {
    json["layer"] = layerJson(*searchedLayer(*planner.value, start, goal, state->revision, world));
  }
  json["revision"] = state->revision;
  return json;
}

}  // namespace korrin_tool::serve
