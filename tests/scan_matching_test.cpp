// What a score is, on maps small enough to read. Resolution 1 throughout unless said: a metre is a
// pixel. The frame's origin is the pixel (S / 2, S / 2).
#include "korrin/scan_matching.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <type_traits>
#include <vector>

#include "support/images.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanDistMap;
using Brin::scanScore;
using korrin_test::floatImage;
using korrin_test::uniformFloatImage;
using Points = std::vector<Point2D>;

constexpr Pose2D kHere(0.0f, 0.0f, 0.0f);
constexpr float kQuarterTurn = 1.57079633f;

// One pixel of distance 0 in a 5 x 5 map of distance 9, at `row` and `col`.
ImagePtr oneHitAt(int row, int col) {
  ImagePtr map = uniformFloatImage(5, 5, 9.0f);
  Brin::imageRow<float>(*map, row)[col] = 0.0f;
  return map;
}

float scoreOf(const ImagePtr& map, const Points& points, const Pose2D& pose = kHere,
              float maxDist = 2.0f) {
  return scanScore(map.get(), points, pose, 1.0f, maxDist, nullptr, nullptr, 1);
}

float scoreOf(const ImagePtr& map, const Scan& scan, const Pose2D& pose = kHere,
              float maxDist = 2.0f) {
  return scanScore(map.get(), scan, pose, 1.0f, maxDist, nullptr, nullptr, 1);
}

ScanDistMap matcherOn(const ImagePtr& map) {
  ScanDistMap matcher;
  matcher.resolution = 1.0f;
  matcher.distanceMap = map.get();
  return matcher;
}

Scan scanOf(const std::vector<RangeReading>& readings) {
  Scan scan;
  scan.readings = readings;
  return scan;
}

RangeReading withStatus(RangeReading reading, int status) {
  reading.status = status;
  return reading;
}

TEST(ScanScore, pointsThatAllLieOnHitsScoreOne) {
  const ImagePtr map = oneHitAt(2, 2);
  EXPECT_EQ(scoreOf(map, Points{{0, 0}}), 1.0f);
  EXPECT_EQ(scoreOf(map, Points{{0, 0}, {0.25f, -0.25f}, {0.4f, 0.4f}}), 1.0f);
}

TEST(ScanScore, aPointAddsLessTheFartherItsPixelIsFromAHit) {
  const ImagePtr map = floatImage({{9, 9, 9, 9}, {9, 9, 9, 9}, {9, 9, 0.5f, 1.5f}, {9, 9, 9, 9}});
  EXPECT_EQ(scoreOf(map, Points{{0, 0}}), 0.75f);
  EXPECT_EQ(scoreOf(map, Points{{1, 0}}), 0.25f);
  EXPECT_EQ(scoreOf(map, Points{{0, 0}, {1, 0}}), 0.5f);
}

TEST(ScanScore, columnsGrowAlongXAndRowsAlongYFromTheCentrePixel) {
  EXPECT_EQ(scoreOf(oneHitAt(2, 4), Points{{2, 0}}), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(4, 2), Points{{0, 2}}), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(0, 1), Points{{-1.5f, -2.5f}}), 1.0f);
  // An even side has its centre right of the middle.
  EXPECT_EQ(scoreOf(floatImage({{9, 9}, {9, 0}}), Points{{0, 0}}), 1.0f);
}

TEST(ScanScore, thePoseTurnsThePointsFirstAndMovesThemThen) {
  EXPECT_EQ(scoreOf(oneHitAt(4, 2), Points{{2, 0}}, {0, 0, kQuarterTurn}), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(4, 3), Points{{2, 0}}, {1, 0, kQuarterTurn}), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(1, 2), Points{{1, 0}}, {-1, -2, 0}), 1.0f);
}

TEST(ScanScore, metresBecomePixelsThroughTheResolution) {
  const ImagePtr map = oneHitAt(2, 4);
  const Points points{{0.25f, 0}};
  EXPECT_EQ(scanScore(map.get(), points, kHere, 0.125f, 0.5f, nullptr, nullptr, 1), 1.0f);
  EXPECT_EQ(scanScore(map.get(), points, kHere, 0.25f, 0.5f, nullptr, nullptr, 1), 0.0f);
}

TEST(ScanScore, offsetsAreCutTowardsZeroAfterAHalfIsAddedSoNegativeOnesAreNotRounded) {
  // Everything above -1.5 and below 0.5 falls into the centre pixel.
  const ImagePtr map = oneHitAt(2, 2);
  EXPECT_EQ(scoreOf(map, Points{{-0.6f, 0}}), 1.0f);
  EXPECT_EQ(scoreOf(map, Points{{-1.4f, -1.4f}}), 1.0f);
  EXPECT_EQ(scoreOf(map, Points{{-1.5f, 0}}), 0.0f);
  EXPECT_EQ(scoreOf(map, Points{{0.49f, 0}}), 1.0f);
  EXPECT_EQ(scoreOf(map, Points{{0.5f, 0}}), 0.0f);
  const Scan west = scanOf({{1.4f, 3.14159274f}});
  EXPECT_EQ(scoreOf(map, west), 1.0f);
}

TEST(ScanScore, aDistanceEqualToTheCutOffCountsAsAMatchThatAddsNothing) {
  const ImagePtr map = uniformFloatImage(5, 5, 2.0f);
  int count = -1;
  EXPECT_EQ(scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 1);
  const Scan scan = scanOf({{1, 0}});
  EXPECT_EQ(scanScore(map.get(), scan, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(scanScore(map.get(), scan, kHere, 1.0f, 1.75f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 0);
}

TEST(ScanScore, pointsOffTheMapLowerTheScoreButAreNoMatches) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  const Points onTheEdge{{-2.5f, -2.5f}, {1, 1}};
  int count = -1;
  EXPECT_EQ(scanScore(map.get(), onTheEdge, kHere, 1.0f, 2.0f, &count, nullptr, 1), 1.0f);
  EXPECT_EQ(count, 2);
  const Points points{{0, 0}, {2, 0}, {0, 2}, {-3.5f, 0}, {0, -3.5f}};
  EXPECT_EQ(scanScore(map.get(), points, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.2f);
  EXPECT_EQ(count, 1);
}

TEST(ScanScore, everyStepthPointIsVisitedAndTheCountScaledBack) {
  // Ten points; 0, 3, 6 and 9 are visited, and of those 0, 3 and 9 lie on the map.
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  Points points(10, Point2D(50, 50));
  points[0] = points[3] = points[9] = {0, 0};
  int count = -1;
  EXPECT_EQ(scanScore(map.get(), points, kHere, 1.0f, 1.0f, &count, nullptr, 3), 0.75f);
  EXPECT_EQ(count, 9);
  points[1] = points[2] = {0, 0};
  EXPECT_EQ(scanScore(map.get(), points, kHere, 1.0f, 1.0f, &count, nullptr, 3), 0.75f);
  EXPECT_EQ(scanScore(map.get(), points, kHere, 1.0f, 1.0f, &count, nullptr, 1000), 1.0f);
  EXPECT_EQ(count, 1000);
}

TEST(ScanScore, noPointsScoreZeroAndLeaveTheCountAlone) {
  const ImagePtr map = oneHitAt(2, 2);
  int count = 77;
  EXPECT_EQ(scanScore(map.get(), Points{}, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(scanScore(map.get(), Scan{}, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 77);
}

TEST(ScanScore, aCutOffOfZeroScoresZeroButCountsThePointsOnHits) {
  const ImagePtr map = oneHitAt(2, 2);
  int count = -1;
  const Points points{{0, 0}, {1, 0}};
  EXPECT_EQ(scanScore(map.get(), points, kHere, 1.0f, 0.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 1);
}

TEST(ScanScoreOfAScan, readingsWithoutAHitAreNotVisited) {
  const ImagePtr map = oneHitAt(2, 3);
  int count = -1;
  const Scan scan = scanOf({{1, 0}, withStatus({2, 0}, 1), withStatus({2, 1}, 1)});
  EXPECT_EQ(scanScore(map.get(), scan, kHere, 1.0f, 2.0f, &count, nullptr, 1), 1.0f);
  EXPECT_EQ(count, 1);
}

TEST(ScanScoreOfAScan, readingsOfAnyOtherStatusAreVisited) {
  const ImagePtr map = oneHitAt(2, 3);
  EXPECT_EQ(scoreOf(map, scanOf({withStatus({1, 0}, 2), withStatus({1, 0}, -1)})), 1.0f);
  EXPECT_EQ(scoreOf(map, scanOf({{1, 0}, withStatus({2, 0}, 2)})), 0.5f);
}

TEST(ScanScoreOfAScan, nothingButReadingsWithoutAHitScoresZeroAndLeavesTheCountAlone) {
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  int count = 77;
  const Scan scan = scanOf({withStatus({1, 0}, 1), withStatus({1, 1}, 1)});
  EXPECT_EQ(scanScore(map.get(), scan, kHere, 1.0f, 2.0f, &count, nullptr, 1), 0.0f);
  EXPECT_EQ(count, 77);
  // Those visited alone matter: with step 2 the only hit is stepped over.
  const Scan second = scanOf({withStatus({1, 0}, 1), {1, 0}, withStatus({1, 0}, 1)});
  EXPECT_EQ(scanScore(map.get(), second, kHere, 1.0f, 2.0f, &count, nullptr, 2), 0.0f);
  EXPECT_EQ(count, 77);
}

TEST(ScanScoreOfAScan, aStrideThatWouldPassTheEndStopsThere) {
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  const Scan scan = scanOf({{1, 0}, {9, 0}, {9, 0}, {1, 1}, {9, 0}});
  int count = -1;
  EXPECT_EQ(scanScore(map.get(), scan, kHere, 1.0f, 1.0f, &count, nullptr, 3), 1.0f);
  EXPECT_EQ(count, 6);
}

TEST(ScanScoreOfAScan, bearingsAreRelativeToThePosesHeading) {
  EXPECT_EQ(scoreOf(oneHitAt(4, 2), scanOf({{2, kQuarterTurn}})), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(4, 2), scanOf({{2, 0}}), {0, 0, kQuarterTurn}), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(3, 4), scanOf({{1, 0}}), {1, 1, 0}), 1.0f);
}

TEST(ScanScoreOfAScan, positionsAreInDoublePrecisionAndThePointsInSingle) {
  // In float this range plus the pose rounds up to 1.5 and so into pixel 2; in double it does not.
  const float range = std::nextafter(1.0f, 0.0f);
  const Pose2D pose(0.5f, 0.0f, 0.0f);
  EXPECT_EQ(range + pose.x + 0.5f, 2.0f);
  EXPECT_EQ(scoreOf(oneHitAt(2, 3), scanOf({{range, 0}}), pose), 1.0f);
  EXPECT_EQ(scoreOf(oneHitAt(2, 4), Points{{range, 0}}, pose), 1.0f);
}

TEST(ScanScoreOfAScan, theBearingItselfIsASumOfFloats) {
  // 1 + 2^-25 is 1 in float. Pixels are small enough to show what double would have kept.
  const float tiny = 2.98023224e-8f;
  const float resolution = 1e-9f;
  const Pose2D pose(-0.5403023f, -0.84147098f, tiny);
  const auto rowAt = [&](double a) {
    const double y = static_cast<double>(pose.y) + std::sin(a);
    return static_cast<int>(y * static_cast<double>(1.0f / resolution) + 0.5) + 64;
  };
  const int row = rowAt(1.0);
  ASSERT_GT(rowAt(1.0 + static_cast<double>(tiny)), row + 10);
  ImagePtr map = uniformFloatImage(128, 128, 9.0f);
  std::fill_n(Brin::imageRow<float>(*map, row), 128, 0.0f);
  int matches = -1;
  scanScore(map.get(), scanOf({{1.0f, 1.0f}}), pose, resolution, 1e-9f, &matches, nullptr, 1);
  EXPECT_EQ(matches, 1);
}

TEST(ScorePxlScan, aDistanceEqualToTheCutOffDoesNotCount) {
  const ImagePtr map = uniformFloatImage(5, 5, 2.0f);
  int count = -1;
  EXPECT_EQ(matcherOn(map).scorePxlScan(Points{{0, 0}}, kHere, 2.0f, &count), 0.0f);
  EXPECT_EQ(count, 0);
  const float above = std::nextafter(2.0f, 3.0f);
  EXPECT_GT(matcherOn(map).scorePxlScan(Points{{0, 0}}, kHere, above, &count), 0.0f);
  EXPECT_EQ(count, 1);
}

TEST(ScorePxlScan, pointsAreInPixelsWhilePoseAndCutOffAreInMetres) {
  const ImagePtr map = oneHitAt(3, 3);
  ScanDistMap matcher = matcherOn(map);
  matcher.resolution = 0.25f;
  EXPECT_EQ(matcher.scorePxlScan(Points{{1, 1}}, kHere, 0.5f, nullptr), 1.0f);
  EXPECT_EQ(matcher.scorePxlScan(Points{{0, 1}}, {0.25f, 0, 0}, 0.5f, nullptr), 1.0f);
  EXPECT_EQ(matcher.scorePxlScan(Points{{1, 0}}, {0.25f, 0, kQuarterTurn}, 0.5f, nullptr), 1.0f);
  const ImagePtr near = uniformFloatImage(5, 5, 1.0f);
  matcher.distanceMap = near.get();
  EXPECT_EQ(matcher.scorePxlScan(Points{{0, 0}}, kHere, 0.5f, nullptr), 0.5f);
}

TEST(ScorePxlScan, theLastColumnAndRowOfAnOddSideAreNeverReached) {
  const ImagePtr odd = uniformFloatImage(5, 5, 0.0f);
  const auto matches = [](const ImagePtr& map, Point2D point) {
    int count = -1;
    matcherOn(map).scorePxlScan(Points{point}, kHere, 1.0f, &count);
    return count;
  };
  EXPECT_EQ(matches(odd, {1, 1}), 1);
  EXPECT_EQ(matches(odd, {2, 0}), 0);
  EXPECT_EQ(matches(odd, {0, 2}), 0);
  EXPECT_EQ(matches(odd, {-3.4f, -3.4f}), 1);
  EXPECT_EQ(matches(odd, {-3.5f, 0}), 0);
  EXPECT_EQ(matches(odd, {0, -3.5f}), 0);
  int count = -1;
  scanScore(odd.get(), Points{{2, 2}}, kHere, 1.0f, 1.0f, &count, nullptr, 1);
  EXPECT_EQ(count, 1);
  const ImagePtr even = uniformFloatImage(4, 4, 0.0f);
  EXPECT_EQ(matches(even, {1, 1}), 1);
  EXPECT_EQ(matches(even, {2, 0}), 0);
  EXPECT_EQ(matches(uniformFloatImage(1, 1, 0.0f), {0, 0}), 0);
}

TEST(ScorePxlScan, theStrideIsTheMembersAndEveryVisitedPointCounts) {
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  ScanDistMap matcher = matcherOn(map);
  matcher.step = 2;
  int count = -1;
  const Points points{{0, 0}, {0, 0}, {70, 0}, {0, 0}, {1, 1}};
  EXPECT_EQ(matcher.scorePxlScan(points, kHere, 4.0f, &count), 2.0f / 3.0f);
  EXPECT_EQ(count, 4);
}

TEST(ScorePxlScan, noPointsScoreZeroAndLeaveTheCountAlone) {
  const ImagePtr map = uniformFloatImage(5, 5, 0.0f);
  int count = 77;
  EXPECT_EQ(matcherOn(map).scorePxlScan(Points{}, kHere, 4.0f, &count), 0.0f);
  EXPECT_EQ(count, 77);
}

TEST(DistanceMaps, areReadAsSquaresOfTheirHeightWithoutGapsBetweenRows) {
  // Wider than high: its first nine floats are the 3 x 3 map.   0 1 2 | 3
  //                                                             4 5 6 | 7
  //                                                             8 ...
  const ImagePtr wide = floatImage({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 9, 9}});
  const auto matches = [&](Point2D point, float maxDist) {
    int count = -1;
    scanScore(wide.get(), Points{point}, kHere, 1.0f, maxDist, &count, nullptr, 1);
    return count;
  };
  EXPECT_EQ(matches({0, 0}, 4.0f), 1);
  EXPECT_EQ(matches({0, 0}, 3.5f), 0);
  EXPECT_EQ(matches({1, 1}, 8.0f), 1);
  EXPECT_EQ(matches({1, 1}, 7.5f), 0);
  EXPECT_EQ(matches({2, 0}, 99.0f), 0);
}

TEST(DistanceMaps, rowsThatCarryExtraBytesAreReadAsIfTheyDidNot) {
  std::vector<float> floats{0, 1, -7, 2, 3, -7};
  IplImage header;
  cvInitImageHeader(&header, cvSize(2, 2), IPL_DEPTH_32F, 1, IPL_ORIGIN_TL, 4);
  cvSetData(&header, floats.data(), 3 * static_cast<int>(sizeof(float)));
  int count = -1;
  const Points lastPixel{{0, 0}};
  scanScore(&header, lastPixel, kHere, 1.0f, 2.0f, &count, nullptr, 1);
  EXPECT_EQ(count, 1);
  scanScore(&header, lastPixel, kHere, 1.0f, 1.5f, &count, nullptr, 1);
  EXPECT_EQ(count, 0);
}

TEST(ScanDistMapClass, startsEmptyWithStepOneAndItsMembersInOrder) {
  const ScanDistMap matcher;
  EXPECT_EQ(matcher.resolution, 0.0f);
  EXPECT_EQ(matcher.step, 1);
  EXPECT_EQ(matcher.distanceMap, nullptr);
  EXPECT_EQ(matcher.laserImage, nullptr);
  EXPECT_LT(offsetof(ScanDistMap, resolution), offsetof(ScanDistMap, step));
  EXPECT_LT(offsetof(ScanDistMap, step), offsetof(ScanDistMap, distanceMap));
  EXPECT_LT(offsetof(ScanDistMap, distanceMap), offsetof(ScanDistMap, laserImage));
}

TEST(ScanDistMapClass, hasNoDestructorAndNoVirtualOperations) {
  EXPECT_TRUE(std::is_trivially_destructible_v<ScanDistMap>);
  EXPECT_FALSE(std::is_polymorphic_v<ScanDistMap>);
}

TEST(ScanDistMapClass, scoresForwardItsMapResolutionAndStep) {
  const ImagePtr map = floatImage({{0.5f, 1, 2}, {1, 0, 3}, {0.25f, 1, 0}});
  ScanDistMap matcher = matcherOn(map);
  matcher.resolution = 0.5f;
  matcher.step = 2;
  const Points points{{0, 0}, {0.5f, 0}, {0.5f, 0.5f}, {-1, 0}, {0.5f, 0}};
  const Scan scan = scanOf({{0.5f, 0}, {0.5f, 1}, {0.1f, 2}, {0.5f, 3}, {9, 0}});
  const Pose2D pose(0.1f, -0.2f, 0.3f);
  int counts[4] = {-1, -1, -1, -1};
  EXPECT_EQ(matcher.score(points, pose, 1.0f, &counts[0]),
            scanScore(map.get(), points, pose, 0.5f, 1.0f, &counts[1], nullptr, 2));
  EXPECT_EQ(matcher.score(scan, pose, 1.0f, &counts[2]),
            scanScore(map.get(), scan, pose, 0.5f, 1.0f, &counts[3], nullptr, 2));
  EXPECT_GT(counts[0], 0);
  EXPECT_EQ(counts[0], counts[1]);
  EXPECT_GT(counts[2], 0);
  EXPECT_EQ(counts[2], counts[3]);
}

}  // namespace
