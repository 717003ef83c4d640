// What people are told of a blocked end, reason by reason.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "korrin/path_planner.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::BlockedEnd;
using Brin::BlockedReason;
using Brin::describe;
using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::Pose2D;
using korrin_test::drawMap;

// What is told of a start there.
std::string toldAt(const PathPlanner& planner, const Pose2D& start) {
  const Plan plan = planner.plan(start, start);
  EXPECT_EQ(plan.outcome, Brin::PlanOutcome::StartBlocked);
  return describe(plan.blocked);
}

TEST(DescribeBlockedEnd, tellsTheReasonAndWhereIsFree) {
  OccupancyMap map = drawMap({"1..?..", "......"});
  map.setCell(5, 1, std::numeric_limits<float>::quiet_NaN());
  Brin::PlannerSettings settings;
  settings.robotRadius = 1.1f;
  const PathPlanner planner(map, settings);
  EXPECT_EQ(toldAt(planner, {0, 0, 0}),
            "an obstacle is there: cell (0, 0) holds 0.1, and free is from 0.2; the nearest free "
            "pose is (1, 1, 0)");
  EXPECT_EQ(toldAt(planner, {1, 0, 0}),
            "an obstacle is nearer to cell (1, 0) than the robot's radius; the nearest free pose "
            "is (2, 0, 0)");
  EXPECT_EQ(toldAt(planner, {3, 0, 0}),
            "nobody has seen cell (3, 0), and unknown cells block; the nearest free pose is (2, 0, "
            "0)");
  EXPECT_EQ(toldAt(planner, {5, 1, 0}),
            "the pose, or the value of its cell, is not a number; the nearest free pose is (4, 0, "
            "0)");
  EXPECT_EQ(toldAt(planner, {-7, 0, 0}),
            "cell (-7, 0) lies outside the map; the nearest free pose is (1, 1, 0)");
}

TEST(DescribeBlockedEnd, tellsWhereNoFreeCellIsNear) {
  const OccupancyMap map = drawMap({"?"});
  EXPECT_EQ(toldAt(PathPlanner(map), {}),
            "nobody has seen cell (0, 0), and unknown cells block; no free cell is near");
}

TEST(DescribeBlockedEnd, tellsThatNothingBlocksIt) {
  EXPECT_EQ(describe(BlockedEnd()), "nothing blocks it");
}

TEST(DescribeBlockedEnd, losesNoBitOfANumber) {
  BlockedEnd end;
  end.reason = BlockedReason::Obstacle;
  end.cell = {-3, 2147483647, 0.0f};
  end.value = 0.100000009f;
  end.threshold = 1e-30f;
  end.hasNearestFree = true;
  end.nearestFree = {0.1f, -2.5f, 3.14159274f};
  EXPECT_EQ(describe(end),
            "an obstacle is there: cell (-3, 2147483647) holds 0.10000001, and free is from 1e-30; "
            "the nearest free pose is (0.1, -2.5, 3.1415927)");
}

}  // namespace
