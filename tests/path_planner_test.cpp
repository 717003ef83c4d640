// The planner's rules, one by one.
#include "korrin/path_planner.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/plans.hpp"
#include "support/quiet.hpp"

namespace {

using Brin::BlockedReason;
using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::Quiet;
using korrin_test::sameBits;
using korrin_test::sameMap;
using korrin_test::samePlan;

constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

PlannerSettings withRadius(float radius, float fade = 0.0f) {
  PlannerSettings settings;
  settings.robotRadius = radius;
  settings.fadeDistance = fade;
  return settings;
}

// What the prepared map makes of the cells of one row.
std::vector<float> grownRow(const std::string& row, const PlannerSettings& settings) {
  const OccupancyMap map = drawMap({row});
  const PathPlanner planner(map, settings);
  std::vector<float> values;
  for (int x = 0; x < map.params.width; ++x) values.push_back(planner.fineMap().getCell(x, 0));
  return values;
}

TEST(PathPlanner, plansAroundAWallFromPoseToPose) {
  const OccupancyMap map = drawMap({"......", ".####.", "......"}, 0.5f);
  const PathPlanner planner(map);
  const Plan plan = planner.plan(Pose2D(0.5f, 0.0f, 0.0f), Pose2D(0.5f, 1.0f, 0.0f));
  EXPECT_EQ(plan.outcome, PlanOutcome::Found);
  ASSERT_EQ(plan.path.size(), 3u);
  EXPECT_EQ(plan.path[1].x, 0.0f);
  EXPECT_EQ(plan.path[1].y, 0.5f);
  EXPECT_FLOAT_EQ(plan.length, 2.0f * std::sqrt(0.5f));
  EXPECT_FLOAT_EQ(plan.cost, plan.length);
  EXPECT_EQ(plan.goal, 0);
  EXPECT_EQ(plan.blocked.reason, BlockedReason::None);
}

TEST(PathPlanner, aCellNearerThanTheRadiusIsTooNearAndOneAtItIsNot) {
  const std::vector<float> cells = grownRow("#.....", withRadius(3.0f));
  EXPECT_EQ(cells, (std::vector<float>{0.0f, -1.0f, -1.0f, 1.0f, 1.0f, 1.0f}));
}

TEST(PathPlanner, fadingMakesCellsDearerAndBlocksNone) {
  const std::vector<float> cells = grownRow("#......", withRadius(1.0f, 4.0f));
  EXPECT_EQ(cells[1], 0.2f);
  EXPECT_FLOAT_EQ(cells[2], 0.4f);
  EXPECT_FLOAT_EQ(cells[3], 0.6f);
  EXPECT_FLOAT_EQ(cells[4], 0.8f);
  EXPECT_EQ(cells[5], 1.0f);
}

TEST(PathPlanner, aFadingOfNothingBelowZeroIsNone) {
  EXPECT_EQ(grownRow("#....", withRadius(1.5f, -0.0f)), grownRow("#....", withRadius(1.5f)));
}

TEST(PathPlanner, distancesAreEuclideanBetweenCellCentres) {
  const OccupancyMap map = drawMap({"#.....", "......", "......", "......", "......", "......"});
  const PathPlanner five(map, withRadius(5.0f));
  EXPECT_EQ(five.fineMap().getCell(3, 4), 1.0f);
  EXPECT_EQ(five.fineMap().getCell(3, 3), -1.0f);
  EXPECT_EQ(five.fineMap().getCell(0, 4), -1.0f);
}

TEST(PathPlanner, aCellBelowTheThresholdIsAnObstacleAndOneAtItIsNot) {
  const float below = std::nextafter(0.2f, 0.0f);
  OccupancyMap map = drawMap({".....", "....."});
  map.setCell(1, 0, 0.2f);
  map.setCell(4, 0, below);
  const PathPlanner planner(map, withRadius(1.5f));
  EXPECT_EQ(planner.fineMap().getCell(0, 0), 1.0f);
  EXPECT_EQ(planner.fineMap().getCell(1, 0), 0.2f);
  EXPECT_EQ(planner.fineMap().getCell(3, 0), -1.0f);
  EXPECT_EQ(planner.fineMap().getCell(4, 0), below);
}

TEST(PathPlanner, unknownIsFromFourToSixTenthsBothIncluded) {
  OccupancyMap map = drawMap({"....."});
  const float values[] = {std::nextafter(0.4f, 0.0f), 0.4f, 0.5f, 0.6f, std::nextafter(0.6f, 1.0f)};
  for (int x = 0; x < 5; ++x) map.setCell(x, 0, values[x]);
  const PathPlanner planner(map);
  const float expected[] = {values[0], -2.0f, -2.0f, -2.0f, values[4]};
  for (int x = 0; x < 5; ++x) EXPECT_EQ(planner.fineMap().getCell(x, 0), expected[x]);
  PlannerSettings free;
  free.unknownIsFree = true;
  EXPECT_TRUE(sameMap(PathPlanner(map, free).fineMap(), map));
}

TEST(PathPlanner, growingLeavesUnknownCellsBlockedAndKeepsNoDistanceToThem) {
  const std::vector<float> cells = grownRow("#..??..?", withRadius(1.5f, 3.0f));
  EXPECT_EQ(cells[1], -1.0f);
  EXPECT_EQ(cells[3], -2.0f);
  EXPECT_EQ(cells[4], -2.0f);
  EXPECT_EQ(cells[6], 1.0f);
}

TEST(PathPlanner, aCellIsTooNearBeforeItIsUnknown) {
  EXPECT_EQ(grownRow("#??", withRadius(1.5f)), (std::vector<float>{0.0f, -1.0f, -2.0f}));
}

TEST(PathPlanner, belowTheThresholdEvenUnknownCellsAreObstacles) {
  PlannerSettings settings = withRadius(1.5f);
  settings.obstacleThreshold = 0.55f;
  EXPECT_EQ(grownRow("..?", settings), (std::vector<float>{1.0f, -1.0f, 0.5f}));
  settings.unknownIsFree = true;
  EXPECT_EQ(grownRow("..?", settings), (std::vector<float>{1.0f, -1.0f, 0.5f}));
}

TEST(PathPlanner, aCellThatIsNotANumberIsAnObstacle) {
  OccupancyMap map = drawMap({"...."});
  map.setCell(0, 0, kNan);
  const PathPlanner planner(map, withRadius(1.5f));
  EXPECT_EQ(planner.fineMap().getCell(0, 0), -3.0f);
  EXPECT_EQ(planner.fineMap().getCell(1, 0), -1.0f);
  EXPECT_EQ(planner.fineMap().getCell(2, 0), 1.0f);
}

TEST(PathPlanner, valuesBeyondProbabilitiesAreLimited) {
  OccupancyMap map = drawMap({"...."});
  const float values[] = {-0.5f, 2.0f, kInfinity, -kInfinity};
  for (int x = 0; x < 4; ++x) map.setCell(x, 0, values[x]);
  const PathPlanner planner(map);
  const float expected[] = {0.0f, 1.0f, 1.0f, 0.0f};
  for (int x = 0; x < 4; ++x) EXPECT_EQ(planner.fineMap().getCell(x, 0), expected[x]);
}

TEST(PathPlanner, aReducedCellTakesTheLowestValueOnItsHalfOfTheWay) {
  OccupancyMap map = drawMap({"........."});
  map.setCell(3, 0, 0.9f);
  map.setCell(5, 0, 0.7f);
  PlannerSettings settings;
  settings.coarseFactor = 2;
  const PathPlanner planner(map, settings);
  ASSERT_EQ(planner.grownMap().params.width, 4);
  EXPECT_EQ(planner.grownMap().params.resolution, 2.0f);
  ASSERT_EQ(planner.grownMap().params.height, 0);  // as computeCoarserMap
  const OccupancyMap square = drawMap({".........", ".........", "........."});
  OccupancyMap tall = square;
  tall.setCell(3, 0, 0.9f);
  tall.setCell(5, 1, 0.7f);
  const PathPlanner reduced(tall, settings);
  EXPECT_EQ(reduced.grownMap().getCell(0, 0), 1.0f);
  EXPECT_EQ(reduced.grownMap().getCell(1, 0), 0.9f);
  EXPECT_EQ(reduced.grownMap().getCell(2, 0), 0.7f);
  EXPECT_EQ(reduced.grownMap().getCell(3, 0), 0.7f);
  EXPECT_EQ(reduced.fineMap().params.width, 9);
}

TEST(PathPlanner, noStepJumpsAThinWall) {
  const std::vector<std::string> rows(9, "....#....");
  const OccupancyMap map = drawMap(rows);
  for (const auto type :
       {OccMapPathFinder::Simple, OccMapPathFinder::Double, OccMapPathFinder::Triple}) {
    for (const int factor : {1, 2, 3}) {
      PlannerSettings settings;
      settings.neighborhood = type;
      settings.coarseFactor = factor;
      const PathPlanner planner(map, settings);
      const Plan plan = planner.plan(Pose2D(0.0f, 3.0f, 0.0f), Pose2D(8.0f, 3.0f, 0.0f));
      EXPECT_NE(plan.outcome, PlanOutcome::Found) << type << ' ' << factor;
    }
  }
}

TEST(PathPlanner, isTheFinderOnItsGrownMapAndTheSimplifierOnItsFineMap) {
  const OccupancyMap map = drawMap({"............", ".####.......", "....#..9....", "....#.......",
                                    ".......#....", "............"},
                                   0.1f);
  PlannerSettings settings = withRadius(0.1f, 0.2f);
  settings.accuracy = 0.05f;
  settings.angleCostFactor = 0.3f;
  settings.weight = 0.4f;
  const PathPlanner planner(map, settings);
  OccMapPathFinder finder(&planner.grownMap(), 0.0f);
  finder.setHWeight(settings.weight);
  finder.setAngleCostFactor(settings.angleCostFactor);
  std::vector<Pose2D> path;
  finder.computePath(Pose2D(0.0f, 0.2f, 0.0f), Pose2D(1.1f, 0.3f, 0.0f), path);
  Brin::SafePathSimplifier simplifier;
  simplifier.setObstacleThreshold(settings.obstacleThreshold);
  simplifier.setInitialSamplingAccuracy(50.0f);
  OccMapPathFinder::setHWeight(0.9f);  // which is not the planner's
  const LogCapture log;
  const Plan plan = planner.plan(Pose2D(0.0f, 0.2f, 0.0f), Pose2D(1.1f, 0.3f, 0.0f));
  EXPECT_TRUE(log.records().empty());
  OccMapPathFinder::setHWeight(0.5f);
  ASSERT_FALSE(path.empty());
  EXPECT_TRUE(sameBits(plan.path, path));
  EXPECT_EQ(plan.iterations, finder.getNumIterations());
  EXPECT_EQ(plan.cost, finder.closedNodes.back().g);
  EXPECT_TRUE(sameBits(plan.waypoints, simplifier.sample(path, planner.fineMap())));
}

TEST(PathPlanner, readsAndWritesNothingOfTheProcess) {
  const OccupancyMap map = drawMap({"....", ".##.", "...."});
  const PathPlanner before(map);
  const Plan expected = before.plan(Pose2Di(0, 0, 0.0f), Pose2Di(3, 2, 0.0f));
  OccMapPathFinder::setHWeight(1.0f);
  Brin::kSimpleNeighborDeltas.clear();
  const PathPlanner planner(map);
  EXPECT_TRUE(samePlan(planner.plan(Pose2Di(0, 0, 0.0f), Pose2Di(3, 2, 0.0f)), expected));
  EXPECT_TRUE(Brin::kSimpleNeighborDeltas.empty());
  EXPECT_EQ(OccMapPathFinder::Node::hWeight, 1.0f);
  const OccMapPathFinder finder(nullptr, 0.0f);  // as it was
}

TEST(PathPlanner, theHeadingOfAStartCellIsTurnedFromAndThatOfAPoseIsNot) {
  const OccupancyMap map = drawMap({".....", ".....", "....."});
  PlannerSettings settings;
  settings.angleCostFactor = 2.0f;
  const PathPlanner planner(map, settings);
  const Plan along = planner.plan(Pose2Di(0, 1, 0.0f), Pose2Di(4, 1, 0.0f));
  const Plan turned = planner.plan(Pose2Di(0, 1, 1.0f), Pose2Di(4, 1, 0.0f));
  EXPECT_EQ(along.cost, 4.0f);
  EXPECT_GT(turned.cost, 4.0f);
  EXPECT_EQ(turned.path[0].theta, 1.0f);
  EXPECT_EQ(turned.path[1].theta, 0.0f);
  EXPECT_EQ(planner.plan(Pose2D(0.0f, 1.0f, 1.0f), Pose2D(4.0f, 1.0f, 0.0f)).cost, 4.0f);
}

TEST(PathPlanner, aStartThatIsTheGoalIsAPathOfOnePose) {
  const OccupancyMap map = drawMap({"..", ".."});
  const Plan plan = PathPlanner(map).plan(Pose2D(1.0f, 0.0f, 0.0f), Pose2D(1.0f, 0.0f, 0.0f));
  EXPECT_EQ(plan.outcome, PlanOutcome::Found);
  EXPECT_EQ(plan.path.size(), 1u);
  EXPECT_EQ(plan.waypoints.size(), 1u);
  EXPECT_EQ(plan.cost, 0.0f);
  EXPECT_EQ(plan.iterations, 1);
}

TEST(PathPlanner, withoutAWayNothingIsBlockedAndTheSearchIsCounted) {
  const OccupancyMap map = drawMap({"..#..", "..#..", "..#.."});
  const Plan plan = PathPlanner(map).plan(Pose2Di(0, 0, 0.0f), Pose2Di(4, 0, 0.0f));
  EXPECT_EQ(plan.outcome, PlanOutcome::NoPath);
  EXPECT_EQ(plan.iterations, 6);
  EXPECT_EQ(plan.goal, -1);
  EXPECT_TRUE(plan.path.empty());
  EXPECT_EQ(plan.blocked.reason, BlockedReason::None);
}

struct Blocked {
  Pose2D pose;
  BlockedReason reason;
  float value;
};

TEST(PathPlanner, tellsWhyAnEndIsBlocked) {
  OccupancyMap map = drawMap({"1..?..", "......"});
  map.setCell(5, 1, kNan);
  const PathPlanner planner(map, withRadius(1.1f));
  const Pose2D free(2.0f, 1.0f, 0.0f);
  for (const Blocked& end : {Blocked{{0, 0, 0}, BlockedReason::Obstacle, 0.1f},
                             Blocked{{1, 0, 0}, BlockedReason::TooNear, -1.0f},
                             Blocked{{3, 0, 0}, BlockedReason::Unknown, -2.0f},
                             Blocked{{5, 1, 0}, BlockedReason::NotANumber, -3.0f},
                             Blocked{{-1, 0, 0}, BlockedReason::OffTheMap, -1.0f},
                             Blocked{{0, 2, 0}, BlockedReason::OffTheMap, -1.0f},
                             Blocked{{kInfinity, 0, 0}, BlockedReason::NotANumber, -1.0f},
                             Blocked{{kNan, 0, 0}, BlockedReason::NotANumber, -1.0f}}) {
    const LogCapture log;
    const Plan from = planner.plan(end.pose, free);
    const Plan to = planner.plan(free, end.pose);
    EXPECT_EQ(from.outcome, PlanOutcome::StartBlocked);
    EXPECT_EQ(to.outcome, PlanOutcome::GoalBlocked);
    EXPECT_EQ(from.blocked.reason, end.reason);
    EXPECT_EQ(from.blocked.value, end.value);
    EXPECT_EQ(from.blocked.threshold, 0.2f);
    EXPECT_TRUE(sameBits(from.blocked.cell, [&] {
      Pose2Di cell = map.getPixelFromPose(end.pose);
      cell.theta = 0.0f;
      return cell;
    }()));
    EXPECT_TRUE(korrin_test::sameBits(from.blocked, to.blocked));
    EXPECT_EQ(from.iterations, 0);
    EXPECT_TRUE(log.records().empty());
  }
}

TEST(PathPlanner, aHeadingThatIsNoNumberBlocksACell) {
  const OccupancyMap map = drawMap({"...."});
  const PathPlanner planner(map);
  for (const float heading : {kNan, kInfinity, -kInfinity}) {
    const Plan plan = planner.plan(Pose2Di(1, 0, heading), Pose2Di(3, 0, 0.0f));
    EXPECT_EQ(plan.outcome, PlanOutcome::StartBlocked);
    EXPECT_EQ(plan.blocked.reason, BlockedReason::NotANumber);
    EXPECT_EQ(plan.blocked.nearestFree.x, 1.0f);
  }
}

TEST(PathPlanner, theStartIsToldBeforeTheGoal) {
  const OccupancyMap map = drawMap({"#.?"});
  const Plan plan = PathPlanner(map).plan(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f));
  EXPECT_EQ(plan.outcome, PlanOutcome::StartBlocked);
  EXPECT_EQ(plan.blocked.reason, BlockedReason::Obstacle);
}

Pose2D nearestFree(const std::vector<std::string>& rows, int x, int y) {
  const OccupancyMap map = drawMap(rows);
  const Plan plan = PathPlanner(map).plan(Pose2Di(x, y, 0.0f), Pose2Di(x, y, 0.0f));
  EXPECT_TRUE(plan.blocked.hasNearestFree);
  return plan.blocked.nearestFree;
}

TEST(PathPlanner, theNearestFreeCellIsThatOfTheLeastEuclideanDistance) {
  // Two columns and two rows away are farther than three columns.
  EXPECT_TRUE(sameBits(nearestFree({".##", "###", "###", "##."}, 2, 1), Pose2D(2, 3, 0)));
  EXPECT_TRUE(sameBits(nearestFree({"####.", "#####", "####.", ".####"}, 1, 2), Pose2D(0, 3, 0)));
}

TEST(PathPlanner, amongEquallyNearFreeCellsTheLowestRowIsToldAndThenTheLowestColumn) {
  EXPECT_TRUE(sameBits(nearestFree({"###", "#.#", "#.#"}, 0, 1), Pose2D(1, 1, 0)));
  EXPECT_TRUE(sameBits(nearestFree({"...", ".#.", "..."}, 1, 1), Pose2D(1, 0, 0)));
  EXPECT_TRUE(sameBits(nearestFree({"###", ".#.", "#.#"}, 1, 1), Pose2D(0, 1, 0)));
  // 3, 4 and 4, 3 and 5, 0 are all five cells away; the row four below is found last.
  std::vector<std::string> rows(11, "###########");
  rows[5][10] = rows[8][9] = rows[2][1] = rows[1][8] = '.';
  EXPECT_TRUE(sameBits(nearestFree(rows, 5, 5), Pose2D(8, 1, 0)));
}

TEST(PathPlanner, noFreeCellIsToldBeyond256Cells) {
  std::string row(600, '#');
  row[300] = '.';
  const OccupancyMap map = drawMap({row});
  const PathPlanner planner(map);
  const auto told = [&](int x, int y) {
    return planner.plan(Pose2Di(x, y, 0.0f), Pose2Di(x, y, 0.0f)).blocked.hasNearestFree;
  };
  EXPECT_TRUE(told(300 - 256, 0));
  EXPECT_FALSE(told(300 - 257, 0));
  EXPECT_TRUE(told(300 + 256, 0));
  EXPECT_TRUE(told(300, -256));
  EXPECT_FALSE(told(300, 257));
  EXPECT_FALSE(told(301, 256));
  EXPECT_FALSE(told(kIntMin, kIntMax));
}

TEST(PathPlanner, theCheapestOfSeveralGoalsIsPlannedTo) {
  const OccupancyMap map = drawMap({"..#......", "..#......", "........."});
  const PathPlanner planner(map);
  const Pose2Di start(1, 0, 0.0f);
  // Behind the wall, near; in the open, farther; blocked; out of reach.
  const std::vector<Pose2Di> goals = {
      {3, 0, 0.0f}, {1, 2, 0.0f}, {2, 0, 0.0f}, {99, 0, 0.0f}, {1, 2, 0.0f}};
  Plan expected = planner.plan(start, goals[1]);
  expected.goal = 1;
  EXPECT_TRUE(samePlan(planner.planToNearest(start, goals), expected));
}

TEST(PathPlanner, ofEquallyCheapGoalsTheFirstIsPlannedTo) {
  const OccupancyMap map = drawMap({".....", ".....", "....."});
  const PathPlanner planner(map);
  const Pose2Di left(0, 1, 0.0f), right(4, 1, 0.0f);
  EXPECT_EQ(planner.planToNearest(Pose2Di(2, 1, 0.0f), {right, left}).path.back().x, 4.0f);
  EXPECT_EQ(planner.planToNearest(Pose2Di(2, 1, 0.0f), {left, right}).path.back().x, 0.0f);
  EXPECT_EQ(planner.planToNearest(Pose2Di(2, 1, 0.0f), {left, right, left}).goal, 0);
}

// Seven cells through doubt cost as much as fourteen: a farther goal is cheaper.
TEST(PathPlanner, theCheapestGoalNeedNotBeTheNearest) {
  const OccupancyMap map = drawMap({"7777777............"});
  const PathPlanner planner(map);
  const Plan plan = planner.planToNearest(Pose2Di(7, 0, 0.0f), {{0, 0, 0.0f}, {16, 0, 0.0f}});
  EXPECT_EQ(plan.goal, 1);
  EXPECT_EQ(plan.cost, 9.0f);
}

TEST(PathPlanner, withoutAWayToAnyGoalTheOutcomeTellsWhatIsWrongWithAll) {
  const OccupancyMap map = drawMap({".#.", ".#.", ".#?"});
  const PathPlanner planner(map);
  const Pose2Di start(0, 0, 0.0f);
  const Pose2Di beyond(2, 0, 0.0f), unknown(2, 2, 0.0f), wall(1, 1, 0.0f);
  EXPECT_EQ(planner.planToNearest(start, {}).outcome, PlanOutcome::NoPath);
  EXPECT_EQ(planner.planToNearest(start, {beyond, wall}).outcome, PlanOutcome::NoPath);
  const Plan blocked = planner.planToNearest(start, {unknown, wall});
  EXPECT_EQ(blocked.outcome, PlanOutcome::GoalBlocked);
  EXPECT_EQ(blocked.blocked.reason, BlockedReason::Unknown);
  EXPECT_EQ(blocked.goal, -1);
  EXPECT_EQ(planner.planToNearest(wall, {}).outcome, PlanOutcome::StartBlocked);
  EXPECT_EQ(planner.planToNearest(wall, {unknown}).blocked.reason, BlockedReason::Obstacle);
}

TEST(PathPlanner, aCostFieldHoldsWhatTheWayToTheGoalCosts) {
  OccupancyMap map = drawMap({"...#.", ".....", "...#."}, 0.5f);
  map.setCell(2, 1, 0.75f);
  map.params.origin = {4.0f, 3.0f, 0.0f};
  const PathPlanner planner(map);
  const OccupancyMap field = planner.costField(Pose2Di(2, 1, 0.0f));
  EXPECT_EQ(field.getCell(2, 1), 0.0f);
  EXPECT_EQ(field.getCell(1, 1), 0.75f);         // into a cell of 0.75
  EXPECT_EQ(field.getCell(0, 1), 0.75f + 0.5f);  // and before that into a free one
  EXPECT_EQ(field.getCell(3, 0), kInfinity);     // an obstacle
  EXPECT_EQ(field.params.origin.x, 4.0f);
  EXPECT_EQ(field.params.resolution, 0.5f);
  EXPECT_EQ(field.secondImage, nullptr);
  const OccupancyMap sameField = planner.costField(Pose2D(5.0f, 3.5f, 2.0f));
  EXPECT_TRUE(sameMap(field, sameField));
}

TEST(PathPlanner, withoutAGoalNothingLeadsToIt) {
  const OccupancyMap map = drawMap({".#.", ".#."});
  const PathPlanner planner(map);
  for (const Pose2D& goal : {Pose2D(1, 0, 0), Pose2D(9, 0, 0), Pose2D(kNan, 0, 0)}) {
    const OccupancyMap field = planner.costField(goal);
    for (int x = 0; x < 3; ++x) EXPECT_EQ(field.getCell(x, 1), kInfinity);
  }
  const OccupancyMap field = planner.costField(Pose2Di(0, 0, 0.0f));
  EXPECT_EQ(field.getCell(0, 1), 1.0f);
  EXPECT_EQ(field.getCell(2, 0), kInfinity);
}

TEST(PathPlanner, inDoubleTheCellsBesideTheGoalCostNothing) {
  const OccupancyMap map = drawMap(std::vector<std::string>(9, "........."));
  PlannerSettings settings;
  settings.neighborhood = OccMapPathFinder::Double;
  const OccupancyMap field = PathPlanner(map, settings).costField(Pose2Di(4, 4, 0.0f));
  EXPECT_EQ(field.getCell(4, 4), 0.0f);
  EXPECT_EQ(field.getCell(3, 4), 0.0f);
  EXPECT_EQ(field.getCell(4, 5), 0.0f);
  EXPECT_GT(field.getCell(3, 3), 0.0f);
}

TEST(PathPlanner, aChangeCountsAfterARefreshAndUntilThenNotAtAll) {
  OccupancyMap map = drawMap({"....", "....", "...."});
  PathPlanner planner(map, withRadius(0.9f));
  const auto plan = [&] { return planner.plan(Pose2Di(0, 1, 0.0f), Pose2Di(3, 1, 0.0f)); };
  const Plan before = plan();
  for (int y = 0; y < 3; ++y) map.setCell(2, y, 0.0f);
  EXPECT_TRUE(samePlan(plan(), before));
  planner.refresh(2, 0, 1, 3);
  EXPECT_EQ(plan().outcome, PlanOutcome::NoPath);
  map.reset(1.0f);
  map.params.origin.x = 7.0f;
  planner.refresh();
  EXPECT_EQ(plan().path.front().x, 7.0f);
}

TEST(PathPlanner, plansWithoutItsMap) {
  auto map = std::make_unique<OccupancyMap>(drawMap({"....", ".#.."}));
  const PathPlanner planner(*map);
  map.reset();
  EXPECT_EQ(planner.plan(Pose2Di(0, 0, 0.0f), Pose2Di(3, 1, 0.0f)).outcome, PlanOutcome::Found);
  EXPECT_EQ(planner.plan(Pose2Di(1, 1, 0.0f), Pose2Di(3, 1, 0.0f)).blocked.reason,
            BlockedReason::Obstacle);
}

TEST(PathPlanner, anyRectangleIsFineToRefresh) {
  OccupancyMap map = drawMap({".....", "....."});
  PathPlanner planner(map, withRadius(1.5f));
  map.setCell(2, 0, 0.0f);
  for (auto [x, y, width, height] :
       {std::tuple{0, 0, 0, 0}, std::tuple{2, 0, -1, 1}, std::tuple{2, 0, 1, kIntMin},
        std::tuple{5, 0, kIntMax, 1}, std::tuple{0, 2, 5, kIntMax}, std::tuple{-9, -9, 9, 9},
        std::tuple{kIntMin, kIntMin, kIntMax, kIntMax}}) {
    planner.refresh(x, y, width, height);
  }
  EXPECT_EQ(planner.grownMap().getCell(2, 0), 1.0f);
  planner.refresh(1, -5, kIntMax, kIntMax);
  EXPECT_EQ(planner.grownMap().getCell(2, 0), 0.0f);
  EXPECT_EQ(planner.grownMap().getCell(1, 0), -1.0f);
}

TEST(PathPlanner, aMapOfAnotherSizeOrResolutionIsPreparedWhole) {
  OccupancyMap map = drawMap({"....", "...."});
  PathPlanner planner(map, withRadius(1.5f));
  map = drawMap({"...", "#..", "...", "..."});
  planner.refresh(0, 0, 1, 1);
  EXPECT_TRUE(sameMap(planner.grownMap(), PathPlanner(map, withRadius(1.5f)).grownMap()));
  map.params.resolution = 0.5f;
  planner.refresh(0, 0, 0, 0);
  EXPECT_TRUE(sameMap(planner.grownMap(), PathPlanner(map, withRadius(1.5f)).grownMap()));
  EXPECT_EQ(planner.grownMap().getCell(2, 1), -1.0f);
}

TEST(PathPlanner, aMapThatCannotBePreparedLeavesThePlannerAsItWas) {
  const Quiet quiet;
  OccupancyMap map = drawMap({"....", ".#.."});
  PathPlanner planner(map);
  const Plan before = planner.plan(Pose2Di(0, 1, 0.0f), Pose2Di(3, 1, 0.0f));
  const auto isAsBefore = [&] {
    return samePlan(planner.plan(Pose2Di(0, 1, 0.0f), Pose2Di(3, 1, 0.0f)), before);
  };
  IplImage* const taken = std::exchange(map.image, nullptr);
  EXPECT_THROW(planner.refresh(), cv::Exception);
  EXPECT_THROW(planner.refresh(0, 0, 1, 1), cv::Exception);
  EXPECT_THROW(PathPlanner{map}, cv::Exception);
  EXPECT_TRUE(isAsBefore());
  map.image = taken;
  for (const float resolution : {0.0f, -1.0f, kNan, kInfinity, 1e-7f, 2e6f}) {
    map.params.resolution = resolution;
    EXPECT_THROW(planner.refresh(), std::invalid_argument) << resolution;
    EXPECT_THROW(PathPlanner{map}, std::invalid_argument) << resolution;
    EXPECT_TRUE(isAsBefore());
  }
}

TEST(PathPlanner, aMapWithoutCellsHasNoneToStartIn) {
  const OccupancyMap map(0, 0, 1.0f, false);
  for (const int factor : {1, 2}) {
    PlannerSettings settings = withRadius(2.0f);
    settings.coarseFactor = factor;
    PathPlanner planner(map, settings);
    planner.refresh(0, 0, 3, 3);
    const Plan plan = planner.plan(Pose2D(), Pose2D());
    EXPECT_EQ(plan.outcome, PlanOutcome::StartBlocked);
    EXPECT_EQ(plan.blocked.reason, BlockedReason::OffTheMap);
    EXPECT_FALSE(plan.blocked.hasNearestFree);
    EXPECT_EQ(planner.costField(Pose2D()).params.width, 0);
  }
}

TEST(PathPlanner, aFactorLargerThanTheMapLeavesNoCell) {
  const OccupancyMap map = drawMap({"....", "...."});
  for (const int factor : {5, 1 << 30, kIntMax}) {
    PlannerSettings settings;
    settings.coarseFactor = factor;
    settings.neighborhood = OccMapPathFinder::Triple;
    PathPlanner planner(map, settings);
    planner.refresh(1, 1, 1, 1);
    EXPECT_EQ(planner.grownMap().params.width, 0);
    EXPECT_EQ(planner.plan(Pose2D(), Pose2D()).blocked.reason, BlockedReason::OffTheMap);
  }
}

// What the message of a refused setting says.
std::string refusal(const std::function<void(PlannerSettings&)>& change) {
  const OccupancyMap map = drawMap({".."});
  PlannerSettings settings;
  change(settings);
  try {
    const PathPlanner planner(map, settings);
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
  return "accepted";
}

TEST(PathPlanner, aRefusalGivesNumbersAsShortAsTheyAre) {
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.robotRadius = -0.1f; }),
            "PlannerSettings: robotRadius is -0.1, which is not from 0 to 1e+06");
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.weight = 1.00000012f; }),
            "PlannerSettings: weight is 1.0000001, which is not from 0 to 1");
}

TEST(PathPlanner, aRefusalGivesTheResolutionThatIsRefused) {
  OccupancyMap map = drawMap({"."});
  map.params.resolution = 1e-7f;
  try {
    const PathPlanner planner(map);
    ADD_FAILURE() << "accepted";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "PathPlanner: the map's resolution is 1e-07 metres");
  }
}

TEST(PathPlanner, aSettingThatMakesNoSenseIsRefusedByName) {
  const std::pair<const char*, float PlannerSettings::*> lengths[] = {
      {"robotRadius", &PlannerSettings::robotRadius},
      {"fadeDistance", &PlannerSettings::fadeDistance},
      {"angleCostFactor", &PlannerSettings::angleCostFactor},
      {"accuracy", &PlannerSettings::accuracy},
      {"weight", &PlannerSettings::weight},
      {"obstacleThreshold", &PlannerSettings::obstacleThreshold}};
  for (const auto& [name, field] : lengths) {
    for (const float value : {kNan, kInfinity, -kInfinity, -0.01f, 1.1e6f}) {
      const auto change = [&, field = field](PlannerSettings& s) { s.*field = value; };
      EXPECT_NE(refusal(change).find(name), std::string::npos) << name << " of " << value;
    }
  }
  EXPECT_NE(refusal([](PlannerSettings& s) { s.weight = 1.01f; }).find("weight"),
            std::string::npos);
  for (const float threshold : {0.0f, -0.0f, 1.01f}) {
    EXPECT_NE(refusal([&](PlannerSettings& s) {
                s.obstacleThreshold = threshold;
              }).find("obstacleThreshold"),
              std::string::npos);
  }
  for (const int factor : {0, -1, kIntMin}) {
    EXPECT_NE(refusal([&](PlannerSettings& s) { s.coarseFactor = factor; }).find("coarseFactor"),
              std::string::npos);
  }
  for (const int type : {-1, 3, 7}) {
    EXPECT_NE(refusal([&](PlannerSettings& s) {
                s.neighborhood = static_cast<OccMapPathFinder::NeighborhoodType>(type);
              }).find("neighborhood"),
              std::string::npos);
  }
  EXPECT_NE(refusal([](PlannerSettings& s) {
              s.robotRadius = 600.0f;
              s.fadeDistance = 401.0f;
            }).find("robotRadius"),
            std::string::npos);
}

TEST(PathPlanner, settingsAtTheEndsOfTheirRangesAreFine) {
  for (const float weight : {0.0f, 1.0f}) {
    EXPECT_EQ(refusal([&](PlannerSettings& s) { s.weight = weight; }), "accepted");
  }
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.obstacleThreshold = 1.0f; }), "accepted");
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.obstacleThreshold = 1e-30f; }), "accepted");
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.robotRadius = 1000.0f; }), "accepted");
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.angleCostFactor = s.accuracy = 1e6f; }), "accepted");
  EXPECT_EQ(refusal([](PlannerSettings& s) { s.accuracy = 0.0f; }), "accepted");
}

TEST(PathPlanner, borrowsNoMapThatGoesAwayAtOnce) {
  EXPECT_FALSE((std::is_constructible_v<PathPlanner, OccupancyMap&&>));
  EXPECT_FALSE((std::is_constructible_v<PathPlanner, OccupancyMap&&, PlannerSettings>));
  EXPECT_FALSE(std::is_copy_constructible_v<PathPlanner>);
}

}  // namespace
