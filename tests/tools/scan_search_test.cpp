#include "tools/scan_search.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/support/laser_world.hpp"
#include "tests/support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::Point2D;
using Brin::Pose2D;
using Brin::PoseGrid;
using Brin::PoseSearch;
using Brin::ScoredPose;
using korrin_tool::bestPose;
using korrin_tool::hitPoints;
using korrin_tool::scoresByPlace;
using korrin_tool::searchOn;

constexpr float kDegree = 0.0174532925f;

Brin::Scan scanOfPoints(const std::vector<Point2D>& points) {
  Brin::Scan scan;
  for (const Point2D& point : points) {
    scan.readings.emplace_back(std::hypot(point.x, point.y), std::atan2(point.y, point.x));
  }
  return scan;
}

PoseGrid gridOf(float reach, float step, float turn, float turnStep) {
  PoseGrid grid;
  grid.reachX = grid.reachY = reach;
  grid.turn = turn;
  grid.step = step;
  grid.turnStep = turnStep;
  return grid;
}

TEST(HitPoints, LeaveOutWhatMetNothingAndWhatIsTooFar) {
  Brin::Scan scan;
  scan.readings = {{1.0f, 0.0f}, {2.0f, 0.0f}, {5.0f, 0.0f}, {1.0f, 1.5f}};
  scan.readings[1].status = 1;
  EXPECT_EQ(hitPoints(scan).size(), 3u);
  const std::vector<Point2D> near = hitPoints(scan, 5.0f);  // the end of the range excluded
  ASSERT_EQ(near.size(), 2u);
  EXPECT_EQ(near[0].x, 1.0f);
}

// Of all poses of the grid the best, and of equals the one the fewest steps from its centre.
ScoredPose tryAll(const PoseSearch& search, const std::vector<Point2D>& points,
                  const PoseGrid& grid) {
  ScoredPose best{{}, -1.0f};
  int fewest = 0;
  for (int j = -grid.shiftsY(); j <= grid.shiftsY(); ++j) {
    for (int i = -grid.shiftsX(); i <= grid.shiftsX(); ++i) {
      for (int k = -grid.turns(); k <= grid.turns(); ++k) {
        const float score = search.score(points, grid.pose(i, j, k));
        const int steps = i * i + j * j + k * k;
        if (score < best.score || (score == best.score && steps >= fewest)) continue;
        best = {grid.pose(i, j, k), score};
        fewest = steps;
      }
    }
  }
  return best;
}

bool isSame(const ScoredPose& a, const ScoredPose& b) {
  return a.score == b.score && a.pose.x == b.pose.x && a.pose.y == b.pose.y &&
         a.pose.theta == b.pose.theta;
}

TEST(SearchOn, ScoresAsTheDistanceMapOfTheReferenceDoes) {
  const Brin::Scan reference = scanOfPoints({{1.0f, 0.0f}, {0.0f, 2.0f}});
  const PoseSearch search = searchOn(reference, 0.1f, 0.2f);
  EXPECT_EQ(search.score({{1.0f, 0.0f}, {0.0f, 2.0f}}, {}), 1.0f);
  const float oneOfTwo = search.score({{1.0f, 0.0f}, {0.0f, 1.0f}}, {});
  EXPECT_EQ(oneOfTwo, 0.5f);  // a metre off is beyond the cut-off
}

TEST(ScoresByPlace, AreTheBestOfAnyHeadingRowByRow) {
  const PoseSearch search =
      searchOn(LaserWorld::twoRooms().scan({2.0f, 2.5f, 0.0f}, 90, 30.0f), 0.05f, 0.3f);
  const std::vector<Point2D> points =
      hitPoints(LaserWorld::twoRooms().scan({2.1f, 2.4f, 0.05f}, 90, 30.0f));
  PoseGrid grid = gridOf(0.15f, 0.05f, 0.04f, 0.02f);
  grid.reachX = 0.1f;
  grid.centre = {0.05f, 0.0f, 0.02f};
  const std::vector<float> scores = scoresByPlace(search, points, grid);
  ASSERT_EQ(scores.size(), 35u);
  std::size_t index = 0;
  for (int j = -3; j <= 3; ++j) {
    for (int i = -2; i <= 2; ++i, ++index) {
      float best = 0.0f;
      for (int k = -2; k <= 2; ++k) best = std::max(best, search.score(points, grid.pose(i, j, k)));
      EXPECT_EQ(scores[index], best) << i << ' ' << j;
    }
  }
}

TEST(BestPose, OfEquallyGoodPosesTakesTheOneNearestToTheCentre) {
  // One point within the cut-off of nothing: every pose scores 0.
  const PoseSearch search = searchOn(scanOfPoints({{1.0f, 0.0f}}), 0.1f, 0.2f);
  PoseGrid grid = gridOf(0.3f, 0.1f, 0.2f, 0.1f);
  grid.centre = {5.0f, 5.0f, 0.5f};
  const ScoredPose best = bestPose(search, {{0.0f, 0.0f}}, grid);
  EXPECT_EQ(best.score, 0.0f);
  EXPECT_EQ(best.pose.x, grid.centre.x);
  EXPECT_EQ(best.pose.y, grid.centre.y);
  EXPECT_EQ(best.pose.theta, grid.centre.theta);
}

TEST(BestPose, WithoutPointsIsTheCentreWithScoreZero) {
  const PoseSearch search = searchOn(scanOfPoints({{1.0f, 0.0f}}), 0.1f, 0.2f);
  const ScoredPose best = bestPose(search, {}, gridOf(0.1f, 0.1f, 0.0f, 0.1f));
  EXPECT_EQ(best.score, 0.0f);
  EXPECT_EQ(best.pose.x, 0.0f);
}

// Few points make ties common, and a point that slides along a wall leaves many poses equal.
TEST(BestPose, EqualsTryingAllPosesTiesIncluded) {
  RandomInputs random(20261122);
  int ties = 0;
  for (int round = 0; round < 300; ++round) {
    std::vector<Point2D> wall;
    for (int i = 0; i < 8; ++i) wall.emplace_back(1.0f, 0.1f * static_cast<float>(i - 4));
    const PoseSearch search = searchOn(scanOfPoints(wall), 0.1f, 0.25f);
    std::vector<Point2D> points;
    const int count = random.between(1, 3);
    for (int i = 0; i < count; ++i) {
      points.emplace_back(random.between(0.7f, 1.3f), random.between(-0.5f, 0.5f));
    }
    const PoseGrid grid = gridOf(0.3f, 0.1f, 0.1f, 0.05f);
    const ScoredPose best = bestPose(search, points, grid);
    EXPECT_TRUE(isSame(best, tryAll(search, points, grid))) << round;
    ties += isSame(best, search.best(points, grid)[0]) ? 0 : 1;
  }
  EXPECT_GT(ties, 50);  // the grid's first of equals is another pose
}

// The poses are known exactly here, so the bound is the one that real logs are held to: one cell
// of 0.05 m and one degree.
TEST(BestPose, FindsEveryKnownDisplacementInTheTwoRooms) {
  RandomInputs random(20261121);
  const LaserWorld world = LaserWorld::twoRooms();
  int found = 0;
  for (int i = 0; i < 100; ++i) {
    const Pose2D first(random.between(0.7f, 7.3f), random.between(2.0f, 3.0f),
                       random.between(-3.0f, 3.0f));
    const Pose2D moved(random.between(-0.25f, 0.25f), random.between(-0.25f, 0.25f),
                       random.between(-0.15f, 0.15f));
    const PoseSearch search = searchOn(world.scan(first, 180, 30.0f), 0.025f, 0.2f);
    const std::vector<Point2D> points = hitPoints(world.scan(first.absProject(moved), 180, 30.0f));
    const Pose2D pose =
        bestPose(search, points, gridOf(0.3f, 0.05f, 10.0f * kDegree, kDegree / 2)).pose;
    const bool isRight = std::abs(pose.x - moved.x) <= 0.05f &&
                         std::abs(pose.y - moved.y) <= 0.05f &&
                         std::abs(pose.theta - moved.theta) <= kDegree;
    found += isRight ? 1 : 0;
  }
  EXPECT_GE(found, 98);
}

}  // namespace
}  // namespace korrin_test
