// Rules of the search for poses, one by one: what the grid is, whose frame it is in, which of equal
// poses comes back, what runners-up are, and what makes no sense.
#include "korrin/pose_search.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/range_simulation.hpp"
#include "models/pose_search_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/office_map.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::PoseGrid;
using Brin::PoseSearch;
using Brin::ScanDistMap;
using Brin::ScoredPose;
using korrin_test::LogCapture;
using korrin_test::sameBits;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

OccupancyMap freeMap(int width, int height, float resolution) {
  OccupancyMap map(width, height, resolution, false);
  map.reset(1.0f);
  return map;
}

PoseGrid gridOf(const Pose2D& centre, float reach, float step) {
  PoseGrid grid;
  grid.centre = centre;
  grid.reachX = grid.reachY = reach;
  grid.turn = 0.0f;
  grid.step = step;
  return grid;
}

// Three hits that fit together at one pose only.
//
//   y = 4  . . . . . . . .
//   y = 3  . . . # . . . .
//   y = 2  . . . . . # . .
//   y = 1  . # . . . . . .
//   y = 0  . . . . . . . .
struct ThreeHits {
  OccupancyMap map = freeMap(8, 5, 1.0f);
  std::vector<Point2D> points = {{0.0f, 0.0f}, {2.0f, 2.0f}, {4.0f, 1.0f}};

  ThreeHits() {
    map.setCell(1, 1, 0.0f);
    map.setCell(3, 3, 0.0f);
    map.setCell(5, 2, 0.0f);
  }
};

TEST(PoseGrid, hasWholeStepsToEitherSide) {
  PoseGrid grid;
  grid.step = 0.1f;
  grid.reachX = 0.35f;
  grid.reachY = 0.3f;  // a rounding error below three steps
  grid.turnStep = 0.5f;
  grid.turn = 0.4f;
  EXPECT_EQ(grid.shiftsX(), 3);
  EXPECT_EQ(grid.shiftsY(), 3);
  EXPECT_EQ(grid.turns(), 0);
  EXPECT_EQ(grid.poses(), 49);
  for (const float none : {0.0f, -1.0f, -kInfinity, kNan, 0.0998f}) {
    grid.reachX = none;
    EXPECT_EQ(grid.shiftsX(), 0) << none;
  }
}

TEST(PoseGrid, hasPosesByOneFormula) {
  PoseGrid grid;
  grid.centre = {0.1f, -0.7f, 3.0f};
  grid.step = 0.1f;
  grid.turnStep = 0.3f;
  EXPECT_TRUE(sameBits(grid.pose(3, -7, 2),
                       {0.1f + 3.0f * 0.1f, -0.7f + -7.0f * 0.1f, 3.0f + 2.0f * 0.3f}));
}

TEST(PoseGrid, isNoneWhereItCannotBeCounted) {
  PoseGrid grid;
  EXPECT_GT(grid.poses(), 0);
  for (const float odd : {0.0f, -0.1f, kNan, kInfinity}) {
    PoseGrid other = grid;
    other.step = odd;
    EXPECT_EQ(other.poses(), 0) << odd;
    other = grid;
    other.turnStep = odd;
    EXPECT_EQ(other.poses(), 0) << odd;
  }
  grid.step = 1.0f;
  grid.turn = 0.0f;
  grid.reachX = 1073741760.0f;  // the last float below 2^30
  grid.reachY = 0.0f;
  EXPECT_EQ(grid.poses(), 2LL * 1073741760 + 1);
  grid.reachY = 1073741760.0f;
  EXPECT_GT(grid.poses(), 1LL << 61);
  grid.turn = grid.turnStep;
  EXPECT_EQ(grid.poses(), 0);  // three times as many are above 2^63
  grid.turn = 0.0f;
  for (const float far : {1073741824.0f, 1e30f, kInfinity}) {
    grid.reachX = far;
    EXPECT_EQ(grid.poses(), 0) << far;
    EXPECT_EQ(grid.shiftsX(), 1 << 30);
  }
}

// Every place on the map within half a step of the grid, along each of its axes.
TEST(PoseGrid, aroundAMapReachesEveryPlaceAndHeading) {
  for (const float theta : {0.0f, 0.4f, -2.0f}) {
    for (const float step : {0.05f, 0.3f, 7.0f}) {
      OccupancyMap map = freeMap(41, 20, 0.05f);
      map.params.origin = {3.0f, -8.0f, theta};
      const PoseGrid grid = PoseGrid::around(map, step, 0.1f);
      const Pose2D centre = map.getPoseFromPixel({20, 10, 0.0f});
      EXPECT_TRUE(sameBits(grid.centre, {centre.x, centre.y, 0.0f}));
      const float halfX = (static_cast<float>(grid.shiftsX()) + 0.5f) * step;
      const float halfY = (static_cast<float>(grid.shiftsY()) + 0.5f) * step;
      float farX = 0.0f;
      float farY = 0.0f;
      for (const float x : {-0.5f, 40.5f}) {
        for (const float y : {-0.5f, 19.5f}) {
          const Pose2D corner = map.params.origin.absProject({0.05f * x, 0.05f * y, 0.0f});
          farX = std::max(farX, std::fabs(corner.x - grid.centre.x));
          farY = std::max(farY, std::fabs(corner.y - grid.centre.y));
        }
      }
      EXPECT_LE(farX, halfX + 1e-5f);
      EXPECT_LE(farY, halfY + 1e-5f);
      EXPECT_GT(farX, halfX - step - 0.06f);  // the farther half of an even map is a cell less
      EXPECT_GT(farY, halfY - step - 0.06f);
      EXPECT_GE((static_cast<float>(grid.turns()) + 0.5f) * 0.1f, Brin::kPi - 1e-5f);
      EXPECT_LT((static_cast<float>(grid.turns()) - 0.5f) * 0.1f, Brin::kPi);
    }
  }
}

TEST(PoseSearch, findsThePoseWhereAllPointsHit) {
  const ThreeHits three;
  const PoseSearch search(three.map, 0.5f, 2.0f);
  const auto found = search.best(three.points, PoseGrid::around(three.map, 1.0f, 0.5f));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(sameBits(found[0].pose, {1.0f, 1.0f, 0.0f}));
  EXPECT_EQ(found[0].score, 1.0f);
  EXPECT_EQ(search.score(three.points, found[0].pose), 1.0f);
}

TEST(PoseSearch, takesPosesInTheWorldWhereverTheMapLies) {
  ThreeHits three;
  three.map.params.origin = {10.0f, 20.0f, 1.57079637f};
  const PoseSearch search(three.map, 0.5f, 2.0f);
  const Pose2D expected = three.map.params.origin.absProject({1.0f, 1.0f, 0.0f});
  const auto found = search.best(three.points, gridOf({9.0f, 21.0f, 1.57079637f}, 3.0f, 1.0f));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_NEAR(found[0].pose.x, expected.x, 1e-4f);
  EXPECT_NEAR(found[0].pose.y, expected.y, 1e-4f);
  EXPECT_EQ(found[0].score, 1.0f);
}

TEST(PoseSearch, takesCellsBelowTheThresholdForHits) {
  OccupancyMap map = freeMap(5, 5, 1.0f);
  map.setCell(2, 3, 0.4f);
  map.setCell(4, 1, 0.5f);
  const std::vector<Point2D> one = {{0.0f, 0.0f}};
  EXPECT_EQ(PoseSearch(map, 0.5f, 0.5f).score(one, {2.0f, 3.0f, 0.0f}), 1.0f);
  EXPECT_EQ(PoseSearch(map, 0.5f, 0.5f).score(one, {4.0f, 1.0f, 0.0f}), 0.0f);
  EXPECT_EQ(PoseSearch(map, 0.4f, 0.5f).score(one, {2.0f, 3.0f, 0.0f}), 0.0f);
  EXPECT_EQ(PoseSearch(map, kNan, 0.5f).score(one, {2.0f, 3.0f, 0.0f}), 0.0f);
}

// The whole map lies where scanScore takes a point to the nearest pixel.
TEST(PoseSearch, takesPointsToTheNearestCellOfTheMap) {
  OccupancyMap map = freeMap(9, 4, 1.0f);
  map.setCell(1, 1, 0.0f);
  map.setCell(7, 2, 0.0f);
  const PoseSearch search(map, 0.5f, 0.5f);
  const std::vector<Point2D> one = {{0.0f, 0.0f}};
  for (const Point2D hit : {Point2D(1.0f, 1.0f), Point2D(7.0f, 2.0f)}) {
    EXPECT_EQ(search.score(one, {hit.x - 0.49f, hit.y + 0.49f, 0.0f}), 1.0f);
    EXPECT_EQ(search.score(one, {hit.x + 0.49f, hit.y - 0.49f, 0.0f}), 1.0f);
    EXPECT_EQ(search.score(one, {hit.x + 0.51f, hit.y, 0.0f}), 0.0f);
    EXPECT_EQ(search.score(one, {hit.x - 0.51f, hit.y, 0.0f}), 0.0f);
  }
}

TEST(PoseSearch, keepsWhatItNeedsOfTheMap) {
  ThreeHits three;
  const PoseSearch search(three.map, 0.5f, 2.0f);
  const PoseSearch copy(search);
  three.map.reset(1.0f);
  EXPECT_EQ(search.score(three.points, {1.0f, 1.0f, 0.0f}), 1.0f);
  PoseSearch other(three.map, 0.5f, 2.0f);
  EXPECT_EQ(other.score(three.points, {1.0f, 1.0f, 0.0f}), 0.0f);
  other = copy;
  EXPECT_EQ(other.score(three.points, {1.0f, 1.0f, 0.0f}), 1.0f);
}

TEST(PoseSearch, givesTheEarliestOfEqualPoses) {
  OccupancyMap map = freeMap(6, 6, 1.0f);
  for (const int x : {2, 4}) {
    for (const int y : {1, 4}) map.setCell(x, y, 0.0f);
  }
  const PoseSearch search(map, 0.5f, 0.5f);
  PoseGrid grid = gridOf({3.0f, 3.0f, 0.0f}, 3.0f, 1.0f);
  grid.turnStep = 0.25f;
  grid.turn = 0.5f;
  // One point turned by any heading stays where it is: the lowest heading is first, then y, then x.
  const auto found = search.best({{0.0f, 0.0f}}, grid, 6, 0.0f, 0.0f);
  ASSERT_EQ(found.size(), 6u);
  EXPECT_TRUE(sameBits(found[0].pose, {2.0f, 1.0f, -0.5f}));
  EXPECT_TRUE(sameBits(found[1].pose, {4.0f, 1.0f, -0.5f}));
  EXPECT_TRUE(sameBits(found[2].pose, {2.0f, 4.0f, -0.5f}));
  EXPECT_TRUE(sameBits(found[3].pose, {4.0f, 4.0f, -0.5f}));
  EXPECT_TRUE(sameBits(found[4].pose, {2.0f, 1.0f, -0.25f}));
}

TEST(PoseSearch, givesTheFirstPoseWhereAllAreEqual) {
  const ThreeHits three;
  const PoseGrid grid = PoseGrid::around(three.map, 1.0f, 0.5f);
  const Pose2D first = grid.pose(-grid.shiftsX(), -grid.shiftsY(), -grid.turns());
  const auto expectFirst = [&](const PoseSearch& search, const std::vector<Point2D>& points) {
    const auto found = search.best(points, grid);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(sameBits(found[0].pose, first));
    EXPECT_EQ(found[0].score, 0.0f);
  };
  expectFirst(PoseSearch(three.map, 0.5f, 2.0f), {});
  expectFirst(PoseSearch(three.map, 0.5f, 2.0f), {{kNan, 0.0f}, {kInfinity, 1.0f}});
  expectFirst(PoseSearch(three.map, -1.0f, 2.0f), three.points);
  for (const float odd : {0.0f, -2.0f, kNan, kInfinity, -kInfinity}) {
    expectFirst(PoseSearch(three.map, 0.5f, odd), three.points);
  }
  expectFirst(PoseSearch(freeMap(0, 0, 1.0f), 0.5f, 2.0f), three.points);
}

TEST(PoseSearch, findsRunnersUpElsewhere) {
  OccupancyMap map = freeMap(12, 3, 1.0f);
  map.setCell(2, 1, 0.0f);
  map.setCell(9, 1, 0.0f);
  const PoseSearch search(map, 0.5f, 3.0f);
  const PoseGrid grid = gridOf({6.0f, 1.0f, 0.0f}, 6.0f, 1.0f);
  const std::vector<Point2D> one = {{0.0f, 0.0f}};
  const auto near = search.best(one, grid, 2, 1.0f);
  ASSERT_EQ(near.size(), 2u);
  EXPECT_EQ(near[1].pose.x, 9.0f);
  const auto far = search.best(one, grid, 2, 8.0f);  // too far apart for both hits
  ASSERT_EQ(far.size(), 2u);
  EXPECT_EQ(far[0].pose.x, 2.0f);
  EXPECT_EQ(far[1].pose.x, 10.0f);
  EXPECT_LT(far[1].score, 1.0f);
  EXPECT_EQ(search.best(one, grid, 5, kInfinity).size(), 1u);  // nowhere else
}

TEST(PoseSearch, takesAnotherHeadingForElsewhere) {
  OccupancyMap map = freeMap(5, 5, 1.0f);
  map.setCell(1, 2, 0.0f);
  map.setCell(3, 2, 0.0f);
  const PoseSearch search(map, 0.5f, 0.5f);
  PoseGrid grid = gridOf({2.0f, 2.0f, 0.0f}, 1.0f, 1.0f);
  grid.turnStep = Brin::kPi / 2.0f;
  grid.turn = Brin::kPi;
  const std::vector<Point2D> twins = {{1.0f, 0.0f}, {-1.0f, 0.0f}};
  // Half a turn is the same heading the other way round, so three headings are left at most.
  const auto turned = search.best(twins, grid, 9, 10.0f, 1.0f);
  ASSERT_EQ(turned.size(), 4u);
  EXPECT_TRUE(sameBits(turned[0].pose, {2.0f, 2.0f, -Brin::kPi}));
  EXPECT_EQ(turned[1].score, 1.0f);
  EXPECT_TRUE(sameBits(turned[1].pose, {2.0f, 2.0f, 0.0f}));
  EXPECT_LT(turned[2].score, 1.0f);
  EXPECT_EQ(search.best(twins, grid, 9, 10.0f, kInfinity).size(), 1u);
}

TEST(PoseSearch, givesEveryPoseOnceWhenNothingKeepsThemApart) {
  const ThreeHits three;
  const PoseSearch search(three.map, 0.5f, 2.0f);
  const PoseGrid grid = gridOf({3.0f, 2.0f, 0.0f}, 2.0f, 1.0f);
  const auto found = search.best(three.points, grid, 1000, 0.0f, 0.0f);
  ASSERT_EQ(found.size(), 25u);
  for (std::size_t i = 1; i < found.size(); ++i) {
    EXPECT_LE(found[i].score, found[i - 1].score);
    EXPECT_FALSE(sameBits(found[i].pose, found[i - 1].pose));
  }
}

TEST(PoseSearch, onAReferenceScoresAsTheReferenceDoes) {
  Brin::Scan scan;
  for (int i = 0; i < 60; ++i) {
    const float angle = 0.1f * static_cast<float>(i);
    scan.readings.emplace_back(1.0f + 0.3f * std::sin(2.0f * angle + 1.0f), angle);
  }
  ScanDistMap reference;
  reference.build(scan, {}, 0.05f);
  const ImagePtr distances(reference.distanceMap);
  const ImagePtr picture(reference.laserImage);
  std::vector<Point2D> points;
  for (const Brin::RangeReading& reading : scan.readings) points.push_back(reading.toPoint2D());
  PoseGrid grid = gridOf({0.3f, -0.2f, 0.1f}, 0.6f, 0.05f);
  grid.turnStep = 0.05f;
  grid.turn = 0.3f;
  for (const int step : {1, 3}) {
    reference.step = step;
    const PoseSearch search(reference, 0.2f);
    const auto found = search.best(points, grid);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NEAR(found[0].pose.x, 0.0f, 1e-5f);
    EXPECT_NEAR(found[0].pose.y, 0.0f, 1e-5f);
    EXPECT_NEAR(found[0].pose.theta, 0.0f, 1e-5f);
    EXPECT_TRUE(sameBits(found[0].score, reference.score(points, found[0].pose, 0.2f, nullptr)));
  }
}

// In an office, a robot anywhere: far more poses than can be tried, and one is where it stands.
TEST(PoseSearch, findsARobotOnAWholeMap) {
  const OccupancyMap map = korrin_test::officeMap(400, 7);
  const PoseSearch search(map, 0.45f, 0.3f);
  const PoseGrid everywhere = PoseGrid::around(map, map.params.resolution, 0.0349066f);
  EXPECT_GT(everywhere.poses(), 1000000);
  const Brin::ScanModel scanner(181, 12.0f, 3.14159f);
  const Brin::Pose2Di cell = korrin_test::nearestFreeCell(map, 130, 210);
  const Pose2D spot = map.getPoseFromPixel(cell);
  const Pose2D there(spot.x, spot.y, 0.6981317f);
  std::vector<Brin::RangeReading> readings;
  Brin::occMapSimulateScan(map, scanner, there, readings, 0.45f);
  std::vector<Point2D> points;
  for (const Brin::RangeReading& reading : readings) {
    if (reading.status == 0) points.push_back(reading.toPoint2D());
  }
  ASSERT_GT(points.size(), 100u);
  const auto found = search.best(points, everywhere);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_GE(found[0].score, search.score(points, there));
  EXPECT_NEAR(found[0].pose.x, there.x, 0.11f);
  EXPECT_NEAR(found[0].pose.y, there.y, 0.11f);
}

// Far more poses than anybody could count: those off the map cost next to nothing.
// So far away rounding leaves a point's pixels open: it may be anywhere.
TEST(PoseSearch, findsThePoseByPointsTwoMillionCellsAway) {
  constexpr int kHit = 2097147;
  OccupancyMap map = freeMap(kHit + 5, 2, 1.0f);
  map.setCell(kHit, 1, 0.0f);
  const PoseSearch search(map, 0.5f, 1.0f);
  const PoseGrid grid = gridOf({}, 20.0f, 1.0f);
  const auto column = static_cast<float>(kHit);
  const auto found = search.best({{column - 3.0f, -1.0f}, {column - 3.0f, 60.0f}}, grid);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(sameBits(found[0].pose, {3.0f, 2.0f, 0.0f}));
  EXPECT_EQ(found[0].score, 0.5f);
}

TEST(PoseSearch, endsSoonOnAHugeGrid) {
  const ThreeHits three;
  const PoseSearch search(three.map, 0.5f, 2.0f);
  PoseGrid grid = gridOf({1.0f, 1.0f, 0.0f}, 1e9f, 1.0f);
  EXPECT_GT(grid.poses(), 1LL << 61);
  const auto found = search.best(three.points, grid, 2, 1.0f);
  ASSERT_EQ(found.size(), 2u);
  EXPECT_TRUE(sameBits(found[0].pose, {1.0f, 1.0f, 0.0f}));
  const auto nothing = search.best({}, grid, 2, 1e8f);
  ASSERT_EQ(nothing.size(), 2u);
  EXPECT_TRUE(sameBits(nothing[0].pose, grid.pose(-grid.shiftsX(), -grid.shiftsY(), 0)));
}

struct Refusal {
  const char* message;
  PoseGrid grid;
  int count;
  float apart;
  float turned;
};

TEST(PoseSearch, refusesWhatMakesNoSenseWithOneRecord) {
  const ThreeHits three;
  const PoseSearch search(three.map, 0.5f, 2.0f);
  const PoseGrid fine = gridOf({3.0f, 2.0f, 0.0f}, 2.0f, 1.0f);
  PoseGrid noStep = fine;
  noStep.step = 0.0f;
  PoseGrid noTurnStep = fine;
  noTurnStep.turnStep = kNan;
  PoseGrid endless = fine;
  endless.reachY = kInfinity;
  const Refusal refusals[] = {
      {"the grid's step must be a positive number.", noStep, 1, 0.0f, 0.0f},
      {"the grid's turnStep must be a positive number.", noTurnStep, 1, 0.0f, 0.0f},
      {"the grid has too many poses to be counted.", endless, 1, 0.0f, 0.0f},
      {"count must be at least 1.", fine, 0, 0.0f, 0.0f},
      {"count must be at least 1.", fine, std::numeric_limits<int>::min(), 0.0f, 0.0f},
      {"apart must not be negative.", fine, 1, -0.1f, 0.0f},
      {"apart must not be negative.", fine, 1, kNan, 0.0f},
      {"turned must not be negative.", fine, 1, 0.0f, -0.1f},
      {"turned must not be negative.", fine, 1, 0.0f, kNan},
  };
  for (const Refusal& r : refusals) {
    LogCapture log;
    EXPECT_TRUE(search.best(three.points, r.grid, r.count, r.apart, r.turned).empty());
    ASSERT_EQ(log.records().size(), 1u) << r.message;
    EXPECT_EQ(log.records()[0].message, r.message);
    EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
    EXPECT_EQ(log.records()[0].function, "PoseSearch::best");
  }
}

TEST(PoseSearch, refusesAStrideBelowOne) {
  const ImagePtr distances = korrin_test::uniformFloatImage(4, 4, 1.0f);
  ScanDistMap reference;
  reference.distanceMap = distances.get();
  reference.resolution = 1.0f;
  reference.step = 0;
  const PoseSearch search(reference, 2.0f);
  LogCapture log;
  EXPECT_TRUE(search.best({{0.0f, 0.0f}}, PoseGrid()).empty());
  EXPECT_EQ(search.score({{0.0f, 0.0f}}, {}), 0.0f);
  ASSERT_EQ(log.records().size(), 2u);
  EXPECT_EQ(log.records()[0].message, "step must be at least 1.");
  EXPECT_EQ(log.records()[1].function, "PoseSearch::score");
}

TEST(PoseSearch, ofNoPictureIsOpenCVsError) {
  EXPECT_THROW(PoseSearch(ScanDistMap(), 1.0f), cv::Exception);
  const ImagePtr narrow = korrin_test::uniformFloatImage(3, 4, 1.0f);
  ScanDistMap reference;
  reference.distanceMap = narrow.get();
  EXPECT_THROW(PoseSearch(reference, 1.0f), cv::Exception);
  OccupancyMap map = freeMap(3, 3, 1.0f);
  IplImage* image = map.image;
  map.image = nullptr;
  EXPECT_THROW(PoseSearch(map, 0.5f, 1.0f), cv::Exception);
  map.image = image;
}

// Turned points of 700,000 have room for two headings at once; the best is among the last of seven.
TEST(PoseSearch, goesThroughHeadingsInTurnsWherePointsAreMany) {
  const ThreeHits place;
  PoseGrid grid = gridOf({1.0f, 1.0f, 0.0f}, 1.0f, 1.0f);
  grid.turnStep = 0.2f;
  grid.turn = 0.6f;
  const Pose2D turnedBack(0.0f, 0.0f, -grid.pose(0, 0, 3).theta);
  std::vector<Point2D> points;
  for (std::size_t i = 0; i < 700000; ++i) {
    const Point2D& hit = place.points[i % 3];
    points.push_back(turnedBack.absProject({hit.x, hit.y, 0.0f}));
  }
  const PoseSearch search(place.map, 0.5f, 1.5f);
  const std::vector<ScoredPose> found = search.best(points, grid);
  const korrin_model::PoseSearch model(place.map, 0.5f, 1.5f);
  const ScoredPose expected = model.best(points, grid, 1, 0.5f, 0.5f)[0];
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(sameBits(found[0].pose, expected.pose));
  EXPECT_TRUE(sameBits(found[0].score, expected.score));
  EXPECT_EQ(expected.pose.theta, grid.pose(0, 0, 3).theta);
}

}  // namespace
