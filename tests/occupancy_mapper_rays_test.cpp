// What rays and simulated scans see, in pictures. Maps are drawn row 0 first: columns grow to the
// right, rows downwards, and a ray of angle 0 runs to the right.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "korrin/occupancy_mapper.hpp"
#include "support/allocation_limit.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapper;
using Brin::Pose2D;
using Brin::RangeReading;
using korrin_test::drawMap;
using Limits = std::numeric_limits<float>;

constexpr float kNan = Limits::quiet_NaN();
constexpr float kInf = Limits::infinity();
constexpr float kHalfPi = 1.57079637f;
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

RangeReading ray(OccupancyMap& map, int x0, int y0, int x1, int y1, float threshold = 0.5f) {
  return OccupancyMapper(&map).xThrowRay(x0, y0, x1, y1, threshold);
}

void expectRay(const RangeReading& actual, float range, int status) {
  EXPECT_EQ(actual.range, range);
  EXPECT_EQ(actual.angle, 0.0f);
  EXPECT_EQ(actual.weight, 1.0f);
  EXPECT_EQ(actual.mark, 1);
  EXPECT_EQ(actual.status, status);
}

TEST(OccupancyMapperRay, stopsAtTheFirstCellBelowTheThreshold) {
  OccupancyMap map = drawMap({"...#.#."}, 0.5f);
  expectRay(ray(map, 0, 0, 6, 0), 1.5f, 0);
}

TEST(OccupancyMapperRay, measuresBetweenCellCentres) {
  OccupancyMap map = drawMap({"......",  //
                              "......",  //
                              "......",  //
                              "......",  //
                              "...#.."},
                             2.0f);
  expectRay(ray(map, 0, 0, 3, 4), 10.0f, 1);
  map.setCell(2, 3, 0.0f);
  expectRay(ray(map, 0, 0, 3, 4), std::sqrt(13.0f) * 2.0f, 0);
}

TEST(OccupancyMapperRay, aCellAtTheThresholdDoesNotStopIt) {
  OccupancyMap map = drawMap({".?.."});
  expectRay(ray(map, 0, 0, 3, 0, 0.5f), 3.0f, 1);
  expectRay(ray(map, 0, 0, 3, 0, std::nextafter(0.5f, 1.0f)), 1.0f, 0);
}

TEST(OccupancyMapperRay, aStartBelowTheThresholdIsAHitAtRangeZero) {
  OccupancyMap map = drawMap({"#..."});
  expectRay(ray(map, 0, 0, 3, 0), 0.0f, 0);
}

// The end cell is never tested, by intention: a ray to an obstacle's own cell is clear.
TEST(OccupancyMapperRay, reachingTheEndIsNoHitWhateverItHolds) {
  OccupancyMap map = drawMap({"...#"});
  expectRay(ray(map, 0, 0, 3, 0), 3.0f, 1);
}

TEST(OccupancyMapperRay, leavingTheMapStopsItAtTheFirstOutsideCell) {
  OccupancyMap map = drawMap({"...", "..."});
  expectRay(ray(map, 1, 0, 9, 0), 2.0f, 1);
  expectRay(ray(map, 1, 1, 1, -8), 2.0f, 1);
  expectRay(ray(map, 1, 1, -7, 1), 2.0f, 1);
  expectRay(ray(map, 0, 0, 0, 2), 2.0f, 1);
  // (0,0) (1,0) (2,1) and then (3,1), or (1,0) (2,1) (3,2) on the way down: both are outside.
  expectRay(ray(map, 0, 0, 6, 3), std::sqrt(13.0f), 1);
}

TEST(OccupancyMapperRay, aStartOutsideTheMapHasRangeZeroAndNoHit) {
  OccupancyMap map = drawMap({"###"});
  for (auto [x, y] : {std::pair{-1, 0}, std::pair{3, 0}, std::pair{0, -1}, std::pair{0, 1},
                      std::pair{kIntMin, kIntMax}}) {
    expectRay(ray(map, x, y, 1, 0), 0.0f, 1);
  }
}

TEST(OccupancyMapperRay, noLengthHasRangeZeroAndNoHit) {
  OccupancyMap map = drawMap({"#"});
  expectRay(ray(map, 0, 0, 0, 0), 0.0f, 1);
}

TEST(OccupancyMapperRay, anyEndIsFineAndCheap) {
  OccupancyMap map = drawMap({"...", "...", "..."});
  for (int i = 0; i < 1000; ++i) {
    expectRay(ray(map, 1, 1, kIntMax, 1), 2.0f, 1);
    expectRay(ray(map, 1, 1, kIntMin, 1), 2.0f, 1);
    expectRay(ray(map, 1, 1, 1, kIntMax), 2.0f, 1);
    expectRay(ray(map, 1, 1, kIntMin + 2, kIntMin + 2), std::sqrt(8.0f), 1);
  }
}

TEST(OccupancyMapperRay, nothingIsBelowWhatIsNotANumberAndItIsBelowNothing) {
  OccupancyMap map = drawMap({"####"});
  expectRay(ray(map, 0, 0, 3, 0, kNan), 3.0f, 1);
  for (float sign : {1.0f, -1.0f}) {
    map.reset(std::copysign(kNan, sign));
    expectRay(ray(map, 0, 0, 3, 0, kInf), 3.0f, 1);
    map.setCell(2, 0, 0.0f);
    expectRay(ray(map, 0, 0, 3, 0, kInf), 2.0f, 0);
  }
}

TEST(OccupancyMapperRay, worldPointsAreTakenToTheirCells) {
  OccupancyMap map = drawMap({"....", "..#.", "...."}, 0.5f);
  map.params.origin = {10.0f, 20.0f, kHalfPi};
  // Columns grow along the world's y, rows against its x.
  const OccupancyMapper mapper(&map);
  expectRay(mapper.throwRay({9.6f, 19.9f}, {9.4f, 21.6f}, 0.5f), 1.0f, 0);
  expectRay(mapper.throwRay({9.6f, 20.4f}, {9.4f, 19.6f}, 0.5f), 1.0f, 1);
}

TEST(OccupancyMapperRay, wildPointsAreOutsideTheMap) {
  OccupancyMap map = drawMap({"....", "....", "...."});
  const OccupancyMapper mapper(&map);
  // Infinity turned with the map's origin is not a number along the other axis: its cell is far
  // to the right and far above.
  expectRay(mapper.throwRay({1.0f, 1.0f}, {kInf, 1.0f}, 0.5f), std::sqrt(8.0f), 1);
  expectRay(mapper.throwRay({1.0f, 1.0f}, {1e30f, 1.0f}, 0.5f), 3.0f, 1);
  expectRay(mapper.throwRay({kNan, 1.0f}, {1.0f, 1.0f}, 0.5f), 0.0f, 1);
  expectRay(mapper.throwRay({-1e30f, 1.0f}, {1.0f, 1.0f}, 0.5f), 0.0f, 1);
}

TEST(OccupancyMapperRay, aResolutionOfZeroLeavesNoCellInside) {
  OccupancyMap map(3, 3, 0.0f, false);
  expectRay(OccupancyMapper(&map).throwRay({1.0f, 1.0f}, {2.0f, 1.0f}, 0.9f), 0.0f, 1);
}

TEST(OccupancyMapperRay, aMapWithoutCellsHasNoneToStartIn) {
  OccupancyMap map(0, 0, 1.0f, false);
  expectRay(ray(map, 0, 0, 5, 5), 0.0f, 1);
}

std::vector<RangeReading> scanOf(OccupancyMap& map, const Pose2D& pose, float startAngle,
                                 float endAngle, float minRange, float maxRange, int count) {
  std::vector<RangeReading> out(2);
  OccupancyMapper(&map).simulateScan(pose, startAngle, endAngle, minRange, maxRange, count, out,
                                     0.5f);
  return out;
}

// The robot stands in the middle and looks to the right; angles grow downwards in the drawing.
TEST(OccupancyMapperScan, seesTheWallsFromFirstToLastAngle) {
  OccupancyMap map = drawMap({"..#..",  //
                              ".....",  //
                              "....#",  //
                              ".....",  //
                              "....."});
  const auto scan = scanOf(map, {2.0f, 2.0f, 0.0f}, -kHalfPi, kHalfPi, 0.0f, 10.0f, 3);
  ASSERT_EQ(scan.size(), 3u);
  const float ranges[] = {2.0f, 2.0f, 3.0f};
  const float angles[] = {-kHalfPi, 0.0f, kHalfPi};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(scan[i].range, ranges[i]);
    EXPECT_EQ(scan[i].angle, angles[i]);
    EXPECT_EQ(scan[i].weight, 1.0f);
    EXPECT_EQ(scan[i].mark, 1);
    EXPECT_EQ(scan[i].status, i < 2 ? 0 : 1);
  }
}

TEST(OccupancyMapperScan, anglesAreReportedRelativeToTheHeading) {
  OccupancyMap map = drawMap({"...#"});
  const auto scan = scanOf(map, {0.0f, 0.0f, 1.0f}, -1.0f, 0.0f, 0.0f, 10.0f, 2);
  EXPECT_EQ(scan.at(0).range, 3.0f);
  EXPECT_EQ(scan.at(0).angle, -1.0f);
  EXPECT_EQ(scan.at(1).angle, 0.0f);
}

TEST(OccupancyMapperScan, raysStartAtTheMinimumRangeAndAreReportedFromTheRobot) {
  OccupancyMap map = drawMap({"#.#.#"});
  const auto scan = scanOf(map, {0.0f, 0.0f, 0.0f}, 0.0f, 0.0f, 3.0f, 10.0f, 2);
  EXPECT_EQ(scan.at(0).range, 4.0f);
  EXPECT_EQ(scan.at(0).status, 0);
}

TEST(OccupancyMapperScan, aMaxRangeEndIsNoHit) {
  OccupancyMap map = drawMap({"....#"});
  const auto scan = scanOf(map, {0.0f, 0.0f, 0.0f}, 0.0f, 0.0f, 0.0f, 4.0f, 2);
  EXPECT_EQ(scan.at(0).range, 4.0f);
  EXPECT_EQ(scan.at(0).status, 1);
}

TEST(OccupancyMapperScan, aFieldOfViewIsCentredOnTheHeading) {
  OccupancyMap map = drawMap({".....", ".#.#.", "....."});
  const Pose2D pose(2.0f, 1.0f, 0.3f);
  std::vector<RangeReading> centred;
  OccupancyMapper(&map).simulateScan(pose, 2.5f, 0.1f, 9.0f, 17, centred, 0.5f);
  const auto expected = scanOf(map, pose, -0.5f * 2.5f, 0.5f * 2.5f, 0.1f, 9.0f, 17);
  EXPECT_TRUE(korrin_test::sameBits(centred, expected));
  EXPECT_EQ(centred.size(), 17u);
}

// A single reading would lie at 0 times infinity, by intention.
TEST(OccupancyMapperScan, aSingleReadingHasNoAngle) {
  OccupancyMap map = drawMap({"...", "..."});
  const auto scan = scanOf(map, {1.0f, 1.0f, 0.0f}, -1.0f, 1.0f, 0.25f, 5.0f, 1);
  ASSERT_EQ(scan.size(), 1u);
  EXPECT_TRUE(std::isnan(scan[0].angle));
  EXPECT_EQ(scan[0].range, 0.25f);
  EXPECT_EQ(scan[0].status, 1);
  for (const float last : {-1.0f, -2.0f, kInf}) {
    EXPECT_TRUE(std::isnan(scanOf(map, {}, -1.0f, last, 0.0f, 5.0f, 1).at(0).angle)) << last;
  }
}

TEST(OccupancyMapperScan, noReadingsLeaveTheOutputEmpty) {
  OccupancyMap map = drawMap({"..."});
  EXPECT_TRUE(scanOf(map, {}, 0.0f, 1.0f, 0.0f, 5.0f, 0).empty());
}

TEST(OccupancyMapperScan, aNegativeCountIsAVectorsLengthErrorOnceTheOutputIsEmpty) {
  OccupancyMap map = drawMap({"..."});
  for (int count : {-1, -2, kIntMin}) {
    std::vector<RangeReading> out(4);
    const korrin_test::AllocationLimit memory(1 << 20);  // whatever else the count may be taken for
    try {
      OccupancyMapper(&map).simulateScan({}, 0.0f, 1.0f, 0.0f, 5.0f, count, out, 0.5f);
      ADD_FAILURE() << "no error for " << count;
    } catch (const std::length_error& error) {
      EXPECT_STREQ(error.what(), "vector::reserve");
    }
    EXPECT_TRUE(out.empty());
  }
}

TEST(OccupancyMapperScan, keepsTheOutputsCapacity) {
  OccupancyMap map = drawMap({"..."});
  std::vector<RangeReading> out(100);
  const RangeReading* memory = out.data();
  OccupancyMapper(&map).simulateScan({}, 0.0f, 1.0f, 0.0f, 5.0f, 7, out, 0.5f);
  EXPECT_EQ(out.size(), 7u);
  EXPECT_EQ(out.data(), memory);
  EXPECT_GE(out.capacity(), 100u);
}

TEST(OccupancyMapperScan, anInfiniteRangeKeepsItsDirection) {
  OccupancyMap map = drawMap({".....", "....."}, 0.5f);
  for (float range : {kInf, 1e30f}) {
    const auto scan = scanOf(map, {0.5f, 0.0f, 0.0f}, 0.0f, 3.14159274f, 0.0f, range, 2);
    EXPECT_EQ(scan.at(0).range, 2.0f);
    EXPECT_EQ(scan.at(1).range, 1.0f);
    EXPECT_EQ(scan.at(0).status, 1);
  }
}

TEST(OccupancyMapperScan, wildRangesEndAfterTwoToThe27Cells) {
  OccupancyMap map = drawMap({"#.."});
  const auto scan = scanOf(map, {-134217728.0f, 0.0f, 0.0f}, 0.0f, 0.0f, kInf, 0.0f, 2);
  EXPECT_EQ(scan.at(0).status, 0);
  const auto shifted = scanOf(map, {-134217744.0f, 0.0f, 0.0f}, 0.0f, 0.0f, kInf, 0.0f, 2);
  EXPECT_EQ(shifted.at(0).status, 1);
}

TEST(OccupancyMapperScan, aWildPoseSeesNothing) {
  OccupancyMap map = drawMap({"###", "###"});
  for (const Pose2D& pose : {Pose2D{kNan, 0.0f, 0.0f}, Pose2D{1e30f, 0.0f, 0.0f},
                             Pose2D{0.0f, -kInf, 0.0f}, Pose2D{0.0f, 0.0f, kNan}}) {
    const auto scan = scanOf(map, pose, -1.0f, 1.0f, 0.5f, 5.0f, 3);
    ASSERT_EQ(scan.size(), 3u);
    for (const RangeReading& reading : scan) {
      EXPECT_EQ(reading.range, 0.5f);
      EXPECT_EQ(reading.status, 1);
    }
  }
}

}  // namespace
