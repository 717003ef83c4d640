#include "tools/pose_search.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/laser_world.hpp"
#include "tests/support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::Point2D;
using Brin::Pose2D;
using korrin_tool::hitPoints;
using korrin_tool::ReferenceScan;
using korrin_tool::refinePose;
using korrin_tool::ScoredPose;
using korrin_tool::searchAllPoses;
using korrin_tool::SearchResult;
using korrin_tool::SearchWindow;

constexpr float kDegree = 0.0174532925f;

Brin::Scan scanOfPoints(const std::vector<Point2D>& points) {
  Brin::Scan scan;
  for (const Point2D& point : points) {
    scan.readings.emplace_back(std::hypot(point.x, point.y), std::atan2(point.y, point.x));
  }
  return scan;
}

SearchWindow windowOf(float reach, float step, float turn, float turnStep) {
  SearchWindow window;
  window.reach = reach;
  window.step = step;
  window.turn = turn;
  window.turnStep = turnStep;
  return window;
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

TEST(SearchWindow, ReachesWholeStepsBothWays) {
  const SearchWindow window = windowOf(0.5f, 0.05f, 3.0f * kDegree, kDegree);
  EXPECT_EQ(window.shifts(), 10);
  EXPECT_EQ(window.turns(), 3);
  EXPECT_EQ(window.poses(), 21 * 21 * 7);
  EXPECT_EQ(windowOf(0.09f, 0.05f, 0.0f, kDegree).poses(), 9);
}

TEST(SearchWindow, WithoutSensibleStepsHasOnlyItsCentre) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(windowOf(1.0f, 0.0f, 1.0f, 0.0f).poses(), 1);
  EXPECT_EQ(windowOf(kNan, 0.1f, 1.0f, kNan).poses(), 1);
  EXPECT_EQ(windowOf(1e30f, 1e-30f, -1.0f, 0.1f).poses(), 1);
}

TEST(SearchAllPoses, GivesTheBestScoreOfAnyHeadingAtEachShift) {
  const Brin::Scan reference = LaserWorld::twoRooms().scan({2.0f, 2.5f, 0.0f}, 90, 30.0f);
  const ReferenceScan distances(reference, 0.05f, 0.3f);
  const std::vector<Point2D> points =
      hitPoints(LaserWorld::twoRooms().scan({2.1f, 2.4f, 0.05f}, 90, 30.0f));
  const Pose2D centre(0.05f, 0.0f, 0.02f);
  const SearchWindow window = windowOf(0.15f, 0.05f, 0.04f, 0.02f);
  const SearchResult result = searchAllPoses(distances, points, centre, window);

  ASSERT_EQ(result.scores.size(), 49u);
  ScoredPose best;
  std::size_t index = 0;
  for (int j = -3; j <= 3; ++j) {
    for (int i = -3; i <= 3; ++i, ++index) {
      float bestHere = 0.0f;
      for (int k = -2; k <= 2; ++k) {
        const Pose2D pose(centre.x + static_cast<float>(i) * 0.05f,
                          centre.y + static_cast<float>(j) * 0.05f,
                          centre.theta + static_cast<float>(k) * 0.02f);
        const float score = distances.score(points, pose);
        bestHere = std::max(bestHere, score);
        if (score > best.score) best = {pose, score};
      }
      EXPECT_EQ(result.scores[index], bestHere) << i << ' ' << j;
    }
  }
  EXPECT_EQ(result.best.score, best.score);
  EXPECT_EQ(distances.score(points, result.best.pose), best.score);
}

TEST(SearchAllPoses, OfEquallyGoodPosesTakesTheOneNearestToTheCentre) {
  // One point within the cut-off of nothing: every pose scores 0.
  const ReferenceScan distances(scanOfPoints({{1.0f, 0.0f}}), 0.1f, 0.2f);
  const Pose2D centre(5.0f, 5.0f, 0.5f);
  const SearchResult result =
      searchAllPoses(distances, {{0.0f, 0.0f}}, centre, windowOf(0.3f, 0.1f, 0.2f, 0.1f));
  EXPECT_EQ(result.best.score, 0.0f);
  EXPECT_EQ(result.best.pose.x, centre.x);
  EXPECT_EQ(result.best.pose.y, centre.y);
  EXPECT_EQ(result.best.pose.theta, centre.theta);
}

TEST(SearchAllPoses, WithoutPointsScoresNothing) {
  const ReferenceScan distances(scanOfPoints({{1.0f, 0.0f}}), 0.1f, 0.2f);
  const SearchResult result = searchAllPoses(distances, {}, {}, windowOf(0.1f, 0.1f, 0.0f, 0.1f));
  EXPECT_EQ(result.best.score, 0.0f);
  EXPECT_EQ(result.scores.size(), 9u);
}

// The poses are known exactly here, so the bound is the one that real logs are held to: one cell
// of 0.05 m and one degree.
TEST(SearchAllPoses, FindsEveryKnownDisplacementInTheTwoRooms) {
  RandomInputs random(20261121);
  const LaserWorld world = LaserWorld::twoRooms();
  int found = 0;
  for (int i = 0; i < 100; ++i) {
    const Pose2D first(random.between(0.7f, 7.3f), random.between(2.0f, 3.0f),
                       random.between(-3.0f, 3.0f));
    const Pose2D moved(random.between(-0.25f, 0.25f), random.between(-0.25f, 0.25f),
                       random.between(-0.15f, 0.15f));
    const ReferenceScan distances(world.scan(first, 180, 30.0f), 0.025f, 0.2f);
    const std::vector<Point2D> points = hitPoints(world.scan(first.absProject(moved), 180, 30.0f));
    const Pose2D pose =
        searchAllPoses(distances, points, {}, windowOf(0.3f, 0.05f, 10.0f * kDegree, kDegree / 2))
            .best.pose;
    const bool isRight = std::abs(pose.x - moved.x) <= 0.05f &&
                         std::abs(pose.y - moved.y) <= 0.05f &&
                         std::abs(pose.theta - moved.theta) <= kDegree;
    found += isRight ? 1 : 0;
  }
  EXPECT_GE(found, 98);
}

TEST(RefinePose, FindsTheWayBackFromASlip) {
  const LaserWorld world = LaserWorld::twoRooms();
  const Pose2D first(2.0f, 2.5f, 0.3f);
  const Pose2D moved(0.2f, 0.1f, 0.05f);
  const ReferenceScan distances(world.scan(first, 360, 30.0f), 0.05f, 0.3f);
  const std::vector<Point2D> points = hitPoints(world.scan(first.absProject(moved), 360, 30.0f));
  const Pose2D slipped(moved.x - 0.12f, moved.y + 0.1f, moved.theta + 2.5f * kDegree);
  const ScoredPose refined = refinePose(distances, points, slipped, {1.0f, 20.0f}, 3, 6);
  EXPECT_NEAR(refined.pose.x, moved.x, 0.03f);
  EXPECT_NEAR(refined.pose.y, moved.y, 0.03f);
  EXPECT_NEAR(refined.pose.theta, moved.theta, 0.6f * kDegree);
  EXPECT_GT(refined.score, distances.score(points, slipped));
  EXPECT_EQ(refined.score, distances.score(points, refined.pose));
}

TEST(RefinePose, KeepsTheGuessWhereTheScanLeavesADirectionOpen) {
  std::vector<Point2D> wall;  // two long walls: any shift along them fits as well
  for (int i = -200; i <= 200; ++i) {
    wall.emplace_back(0.05f * static_cast<float>(i), 1.0f);
    wall.emplace_back(0.05f * static_cast<float>(i), -1.0f);
  }
  std::vector<Point2D> points;
  for (int i = -40; i <= 40; ++i) {
    points.emplace_back(0.05f * static_cast<float>(i), 1.0f);
    points.emplace_back(0.05f * static_cast<float>(i), -1.0f);
  }
  const ReferenceScan distances(scanOfPoints(wall), 0.05f, 0.3f);
  const ScoredPose refined = refinePose(distances, points, {0.4f, 0.1f, 0.0f}, {1.0f, 20.0f}, 3, 6);
  EXPECT_NEAR(refined.pose.x, 0.4f, 0.026f);
  EXPECT_NEAR(refined.pose.y, 0.0f, 0.03f);
}

TEST(RefinePose, StaysAtTheGuessWhenNothingIsBetter) {
  const ReferenceScan distances(scanOfPoints({{1.0f, 0.0f}}), 0.05f, 0.2f);
  const ScoredPose refined =
      refinePose(distances, {{50.0f, 50.0f}}, {0.1f, 0.2f, 0.3f}, {1.0f, 20.0f}, 3, 6);
  EXPECT_EQ(refined.score, 0.0f);
  EXPECT_EQ(refined.pose.x, 0.1f);
  EXPECT_EQ(refined.pose.theta, 0.3f);
}

}  // namespace
}  // namespace korrin_test
