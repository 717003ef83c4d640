// Plans on prepared maps, which change and are refreshed now and then; to one goal, to several, and
// whole fields of costs.
#include <cmath>
#include <vector>

#include "fuzz/fuzz_target.hpp"
#include "korrin/path_planner.hpp"
#include "models/path_planner_model.hpp"
#include "support/log_capture.hpp"
#include "support/plans.hpp"

namespace {

using Brin::BlockedReason;
using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_model::PathPlannerModel;
using korrin_test::samePlan;

const Mark kFound("a plan of several cells");
const Mark kReducedPlan("a plan on a reduced map, or by long steps");
const Mark kSimplified("waypoints fewer than cells");
const Mark kNoPath("no path");
const Mark kTooNear("an end too near an obstacle");
const Mark kUnknown("an unknown end");
const Mark kObstacle("an end in an obstacle");
const Mark kOffTheMap("an end off the map, with a free cell near it");
const Mark kNotANumber("an end that is not a number");
const Mark kNearest("the cheapest of several goals, not the first");
const Mark kField("a cost field with ways");
const Mark kChanged("a changed part refreshed");
const Mark kRefused("settings or a map refused");
const Mark kWideGrowth("growth of more than 126 cells");

PlannerSettings anySettings(FuzzInput& in, float resolution) {
  PlannerSettings settings;
  settings.robotRadius = in.pickOrAny({0.0f, resolution, 1.5f * resolution, 3.0f * resolution});
  settings.fadeDistance = in.pickOrAny({0.0f, 2.5f * resolution, 6.0f * resolution});
  if (in.rarely(8)) settings.fadeDistance = 200.0f * resolution;
  settings.unknownIsFree = in.rarely(64);
  settings.obstacleThreshold = in.pickOrAny({0.2f, 0.45f, 0.5f, 0.65f, 1.0f});
  settings.weight = in.pickOrAny({0.5f, 0.0f, 1.0f, 0.3f});
  settings.neighborhood =
      static_cast<Brin::OccMapPathFinder::NeighborhoodType>(in.pick({0, 0, 1, 2, 0, 7}));
  settings.coarseFactor = in.pick({1, 1, 1, 2, 3, 30, 0, 1});
  settings.angleCostFactor = in.pickOrAny({0.0f, 0.7f, 3.0f});
  settings.accuracy = in.pickOrAny({0.3f, 0.0f, 0.05f, 2.0f});
  return settings;
}

void countPlan(const Plan& plan, const PlannerSettings& settings) {
  const bool isLong = plan.path.size() > 2;
  const BlockedReason reason = plan.blocked.reason;
  kFound.count(isLong);
  kReducedPlan.count(isLong && (settings.coarseFactor > 1 || settings.neighborhood > 0));
  kSimplified.count(plan.waypoints.size() < plan.path.size());
  kNoPath.count(plan.outcome == PlanOutcome::NoPath);
  kTooNear.count(reason == BlockedReason::TooNear);
  kUnknown.count(reason == BlockedReason::Unknown);
  kObstacle.count(reason == BlockedReason::Obstacle);
  kOffTheMap.count(reason == BlockedReason::OffTheMap && plan.blocked.hasNearestFree);
  kNotANumber.count(reason == BlockedReason::NotANumber);
}

void compare(FuzzInput& in, const OccupancyMap& map, const PathPlanner& planner) {
  PathPlannerModel model(map, planner.settings());
  require(korrin_test::sameMap(planner.fineMap(), model.fineMap()), "fine map");
  require(korrin_test::sameMap(planner.grownMap(), model.grownMap()), "grown map");
  const Brin::Pose2D from = in.pose(map), to = in.pose(map);
  const Plan plan = planner.plan(from, to);
  require(samePlan(plan, model.plan(from, to)), "plan of poses");
  countPlan(plan, planner.settings());
  const Brin::Pose2Di a = in.cell(model.grownMap()), b = in.cell(model.grownMap());
  const Plan cells = planner.plan(a, b);
  require(samePlan(cells, model.plan(a, b)), "plan of cells");
  countPlan(cells, planner.settings());
  const std::vector<Brin::Pose2D> goals = in.path(map, 5);
  const Plan nearest = planner.planToNearest(from, goals);
  require(samePlan(nearest, model.planToNearest(from, goals)), "plan to the nearest");
  kNearest.count(nearest.goal > 0);
  const OccupancyMap field = planner.costField(b);
  require(korrin_test::holds(*field.image, model.costField(b)), "cost field");
  kField.count(field.getCell(a.x, a.y) > 0.0f && std::isfinite(field.getCell(a.x, a.y)));
}

void change(FuzzInput& in, OccupancyMap& map, PathPlanner& planner) {
  const Brin::Pose2Di corner = in.cell(map);
  const int width = in.between(0, 4), height = in.between(0, 4);
  const float value = in.pickOrAny({0.0f, 1.0f, 0.5f});
  for (int k = 0; k < width * height; ++k) {
    if (!map.isInside(corner.x, corner.y)) continue;
    map.setCell(corner.x + k % width, corner.y + k / width, value);
    kChanged.count(true);
  }
  planner.refresh(corner.x, corner.y, width, height);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const korrin_test::LogCapture log;
  FuzzInput in(data, size);
  OccupancyMap map = in.map(in.rarely(8) ? 90 : 20);
  const PlannerSettings settings = anySettings(in, map.params.resolution);
  try {
    PathPlanner planner(map, settings);
    kWideGrowth.count(settings.fadeDistance > 126.0f * map.params.resolution);
    compare(in, map, planner);
    for (int i = in.between(0, 2); i > 0; --i) {
      change(in, map, planner);
      compare(in, map, planner);
    }
  } catch (const std::invalid_argument&) {
    kRefused.count(true);
  }
  return 0;
}
