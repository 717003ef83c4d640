// That a plan is safe, whatever the settings: judged on the caller's own map by means that share
// nothing with the planner.
#include <gtest/gtest.h>

#include <cmath>

#include "korrin/path_planner.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "support/clear_ways.hpp"
#include "support/office_map.hpp"
#include "support/plans.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;
using Brin::Pose2D;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;

struct Counts {
  int segments = 0;
  int longSegments = 0;
  int reduced = 0;
  int nearMisses = 0;  // nearer to a cell's side than its centre may be
};

// No cell on the literal walk is blocked, and no obstacle is too near, on all segments.
void expectClear(const PathPlanner& planner, const OccupancyMap& map, const Plan& plan,
                 Counts& counts) {
  const PlannerSettings& settings = planner.settings();
  const korrin_test::ClearWays ways(map, settings.obstacleThreshold);
  const double radius = static_cast<double>(settings.robotRadius) / map.params.resolution;
  const double allowed = radius - std::sqrt(2.0);
  for (std::size_t i = 0; i + 1 < plan.waypoints.size(); ++i) {
    const Pose2D& from = plan.waypoints[i];
    const Pose2D& to = plan.waypoints[i + 1];
    const auto ray =
        korrin_model::throwRay(planner.fineMap(), from, to, settings.obstacleThreshold);
    ASSERT_EQ(ray.status, 1) << "segment " << i << " is blocked";
    const double distance = ways.distanceTo(from, to, radius + 1.0);
    ASSERT_GE(distance, allowed - 1e-3) << "segment " << i;
    ++counts.segments;
    counts.longSegments += std::hypot(to.x - from.x, to.y - from.y) > 3.0f * map.params.resolution;
    counts.reduced += settings.coarseFactor > 1 || settings.neighborhood > 0 ? 1 : 0;
    counts.nearMisses += radius > 1.0 && distance < radius - 0.3 ? 1 : 0;
  }
}

// Neither the walk nor the path comes to a cell that nobody has seen.
void expectKnown(const PathPlanner& planner, const OccupancyMap& map, const Plan& plan) {
  if (planner.settings().unknownIsFree) return;
  for (const Pose2D& pose : plan.path) {
    const Brin::Pose2Di cell = map.getPixelFromPose(pose);
    const float value = map.getCell(cell.x, cell.y);
    ASSERT_FALSE(value >= 0.4f && value <= 0.6f);
  }
}

TEST(PathPlannerSafety, waypointsAreClearOnRandomMapsWithAllSettings) {
  RandomInputs random(77);
  Counts counts;
  for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
    MapBounds bounds;
    bounds.minSide = 8;
    bounds.maxSide = random.chance(0.2) ? 60 : 25;
    bounds.levels = std::vector<float>(static_cast<std::size_t>(random.between(15, 90)), 1.0f);
    bounds.levels[0] = 0.0f;
    bounds.levels[1] = 0.5f;
    bounds.anyValueShare = 0.0;
    bounds.placedAnywhere = false;
    const OccupancyMap map = random.map(bounds);
    const PathPlanner planner(map, korrin_test::anySettings(random, map.params.resolution));
    for (int k = 0; k < 4; ++k) {
      const Plan plan = planner.plan(random.poseNear(map), random.poseNear(map));
      if (plan.outcome != PlanOutcome::Found) continue;
      expectClear(planner, map, plan, counts);
      expectKnown(planner, map, plan);
    }
  }
  EXPECT_GT(counts.segments, 10000);
  EXPECT_GT(counts.longSegments, 3000);
  EXPECT_GT(counts.reduced, 2000);
  EXPECT_GT(counts.nearMisses, 100);
}

TEST(PathPlannerSafety, waypointsAreClearOnAnOfficeFloor) {
  const OccupancyMap map = korrin_test::officeMap(400, 3);
  RandomInputs random(78);
  Counts counts;
  for (const int type : {0, 1, 2}) {
    for (const int factor : {1, 2, 4}) {
      PlannerSettings settings;
      settings.robotRadius = 0.2f;
      settings.fadeDistance = 0.4f;
      settings.neighborhood = static_cast<Brin::OccMapPathFinder::NeighborhoodType>(type);
      settings.coarseFactor = factor;
      const PathPlanner planner(map, settings);
      for (int k = 0; k < 25; ++k) {
        const Plan plan = planner.plan(random.poseNear(map), random.poseNear(map));
        if (plan.outcome != PlanOutcome::Found) continue;
        expectClear(planner, map, plan, counts);
        expectKnown(planner, map, plan);
      }
    }
  }
  EXPECT_GT(counts.segments, 200);
  EXPECT_GT(counts.reduced, 100);
}

}  // namespace
