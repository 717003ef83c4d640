// What single beams and simulated scans see, in pictures. Maps are drawn row 0 first: columns grow
// to the right, rows downwards, and a beam of angle 0 runs to the right.
#include "korrin/range_simulation.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "support/allocation_limit.hpp"
#include "support/beam_maps.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::occMapGetRange;
using Brin::OccupancyMap;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_test::drawMap;
using korrin_test::setSecond;
using Limits = std::numeric_limits<float>;

constexpr float kNan = Limits::quiet_NaN();
constexpr float kInf = Limits::infinity();
constexpr float kHalfPi = 1.57079637f;
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

const ScanModel kScanner(3, 10.0f, 3.14159274f);

RangeReading beam(const OccupancyMap& map, Point2Di from, Point2Di to, float threshold = 0.5f) {
  return occMapGetRange(map, kScanner, from, to, threshold);
}

void expectBeam(const RangeReading& actual, float range, int status) {
  EXPECT_EQ(actual.range, range);
  EXPECT_EQ(actual.angle, 0.0f);
  EXPECT_EQ(actual.weight, 1.0f);
  EXPECT_EQ(actual.mark, 1);
  EXPECT_EQ(actual.status, status);
}

TEST(ScanModel, startsWithItsArgumentsAndTheseDefaults) {
  const ScanModel model(181, 12.5f, 3.0f);
  EXPECT_EQ(model.count, 181);
  EXPECT_EQ(model.maxRange, 12.5f);
  EXPECT_EQ(model.minRange, 0.1f);
  EXPECT_EQ(model.fieldOfView, 3.0f);
  EXPECT_EQ(model.startAngle, -1.5f);
  EXPECT_EQ(model.lowThreshold, 0.45f);
  EXPECT_EQ(model.highThreshold, 0.55f);
  EXPECT_EQ(model.rangeSigma, 0.3f);
  EXPECT_EQ(model.unitFactor, 1.0f);
  EXPECT_EQ(model.reserved, 0u);
}

TEST(GetRange, stopsAtTheFirstCellBelowTheThreshold) {
  const OccupancyMap map = drawMap({"...#.#."}, 0.5f);
  expectBeam(beam(map, {0, 0}, {6, 0}), 1.5f, 0);
  expectBeam(beam(map, {6, 0}, {0, 0}), 0.5f, 0);
}

// Here the end cell is tested, by intention; a ray of OccupancyMapper never tests it.
TEST(GetRange, anObstacleInTheEndCellIsAHitAtTheFullDistance) {
  const OccupancyMap map = drawMap({"......",  //
                                    "......",  //
                                    "......",  //
                                    "......",  //
                                    "...#.."},
                                   2.0f);
  expectBeam(beam(map, {0, 0}, {3, 4}), 10.0f, 0);
  expectBeam(beam(map, {0, 0}, {4, 3}), 10.0f, 1);
}

TEST(GetRange, aCellAtTheThresholdDoesNotStopIt) {
  const OccupancyMap map = drawMap({".?.."});
  expectBeam(beam(map, {0, 0}, {3, 0}, 0.5f), 3.0f, 1);
  expectBeam(beam(map, {0, 0}, {3, 0}, std::nextafter(0.5f, 1.0f)), 1.0f, 0);
  expectBeam(beam(map, {3, 0}, {1, 0}, 0.5f), 2.0f, 1);
}

TEST(GetRange, theStartCellIsTested) {
  const OccupancyMap map = drawMap({"#..."});
  expectBeam(beam(map, {0, 0}, {3, 0}), 0.0f, 0);
}

TEST(GetRange, aBeamOfNoLengthHasTheStatusOfItsOnlyCell) {
  const OccupancyMap map = drawMap({"#."});
  expectBeam(beam(map, {0, 0}, {0, 0}), 0.0f, 0);
  expectBeam(beam(map, {1, 0}, {1, 0}), 0.0f, 1);
  expectBeam(beam(map, {2, 0}, {2, 0}), 0.0f, 1);
}

TEST(GetRange, leavingTheMapStopsItAtTheFirstOutsideCell) {
  const OccupancyMap map = drawMap({"...", "..."});
  expectBeam(beam(map, {1, 0}, {9, 0}), 2.0f, 1);
  expectBeam(beam(map, {1, 1}, {1, -8}), 2.0f, 1);
  expectBeam(beam(map, {2, 0}, {3, 0}), 1.0f, 1);
}

TEST(GetRange, aStartOutsideTheMapHasRangeZeroAndNoHit) {
  const OccupancyMap map = drawMap({"###"});
  for (auto [x, y] : {std::pair{-1, 0}, std::pair{3, 0}, std::pair{0, 1}, std::pair{0, -1}}) {
    expectBeam(beam(map, {x, y}, {1, 0}), 0.0f, 1);
  }
}

TEST(GetRange, anyCellsAreFineAndCheap) {
  const OccupancyMap map = drawMap({"...", "...", "..."});
  for (int i = 0; i < 1000; ++i) {
    expectBeam(beam(map, {1, 1}, {kIntMax, 1}), 2.0f, 1);
    expectBeam(beam(map, {1, 1}, {1, kIntMin}), 2.0f, 1);
    expectBeam(beam(map, {kIntMin, kIntMin}, {kIntMax, kIntMax}), 0.0f, 1);
  }
}

TEST(GetRange, aSecondImageBelowTheLowThresholdLetsTheBeamPass) {
  OccupancyMap map = drawMap({"..#.#"}, 1.0f, true);
  setSecond(map, 2, 0, 0.44f);
  setSecond(map, 4, 0, 0.44f);
  expectBeam(beam(map, {0, 0}, {4, 0}), 4.0f, 1);
  setSecond(map, 4, 0, 0.45f);
  expectBeam(beam(map, {0, 0}, {4, 0}), 4.0f, 0);
  setSecond(map, 2, 0, 0.45f);
  expectBeam(beam(map, {0, 0}, {4, 0}), 2.0f, 0);
}

TEST(GetRange, aSecondImageValueThatIsNotANumberStopsTheBeam) {
  OccupancyMap map = drawMap({"..#."}, 1.0f, true);
  setSecond(map, 2, 0, kNan);
  expectBeam(beam(map, {0, 0}, {3, 0}), 2.0f, 0);
}

TEST(GetRange, theSecondImageStopsNoBeamByItself) {
  OccupancyMap map = drawMap({"...."}, 1.0f, true);
  for (int x = 0; x < 4; ++x) setSecond(map, x, 0, 0.9f);
  expectBeam(beam(map, {0, 0}, {3, 0}), 3.0f, 1);
}

TEST(GetRange, theModelsLowThresholdIsTheOneThatCounts) {
  OccupancyMap map = drawMap({"..#."}, 1.0f, true);
  ScanModel model(1, 1.0f, 1.0f);
  setSecond(map, 2, 0, 0.6f);
  model.lowThreshold = 0.7f;
  model.highThreshold = 0.0f;
  EXPECT_EQ(occMapGetRange(map, model, {0, 0}, {3, 0}, 0.5f).status, 1);
  model.lowThreshold = 0.6f;
  EXPECT_EQ(occMapGetRange(map, model, {0, 0}, {3, 0}, 0.5f).status, 0);
}

TEST(GetRange, nothingIsBelowWhatIsNotANumber) {
  OccupancyMap map = drawMap({"###"});
  expectBeam(beam(map, {0, 0}, {2, 0}, kNan), 2.0f, 1);
}

TEST(GetRange, aMapWithoutCellsHasNoneToStartIn) {
  const OccupancyMap map(0, 0, 1.0f, true);
  expectBeam(beam(map, {0, 0}, {5, 5}), 0.0f, 1);
  expectBeam(beam(map, {0, 0}, {0, 0}), 0.0f, 1);
}

TEST(GetRange, missingOrMismatchedImagesAreOpenCvsError) {
  OccupancyMap map(3, 3, 1.0f, true);
  IplImage* second = std::exchange(map.secondImage, cvCreateImage(cvSize(3, 2), IPL_DEPTH_32F, 1));
  EXPECT_THROW(beam(map, {0, 0}, {2, 2}), cv::Exception);
  cvReleaseImage(&map.secondImage);
  map.secondImage = cvCreateImage(cvSize(2, 3), IPL_DEPTH_32F, 1);
  EXPECT_THROW(beam(map, {0, 0}, {2, 2}), cv::Exception);
  cvReleaseImage(&map.secondImage);
  map.secondImage = cvCreateImage(cvSize(3, 3), IPL_DEPTH_8U, 1);
  EXPECT_THROW(beam(map, {0, 0}, {2, 2}), cv::Exception);
  cvReleaseImage(&map.secondImage);
  map.secondImage = second;
  const OccupancyMap taken(std::move(map));
  EXPECT_THROW(beam(map, {0, 0}, {2, 2}), cv::Exception);
  std::vector<RangeReading> out;
  EXPECT_THROW(Brin::occMapSimulateScan(map, kScanner, {}, out, 0.5f), cv::Exception);
}

std::vector<RangeReading> scanOf(const OccupancyMap& map, const ScanModel& model,
                                 const Pose2D& pose) {
  std::vector<RangeReading> out(2);
  Brin::occMapSimulateScan(map, model, pose, out, 0.5f);
  return out;
}

// The robot stands in the middle and looks to the right; angles grow downwards in the drawing.
TEST(SimulateScan, seesTheWallsFromFirstToLastAngle) {
  const OccupancyMap map = drawMap({"..#..",  //
                                    ".....",  //
                                    "....#",  //
                                    ".....",  //
                                    "....."});
  ScanModel model(3, 10.0f, 2 * kHalfPi);
  model.minRange = 0.0f;
  const auto scan = scanOf(map, model, {2.0f, 2.0f, 0.0f});
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

TEST(SimulateScan, anglesAreReportedRelativeToTheHeading) {
  const OccupancyMap map = drawMap({"...#"});
  ScanModel model(2, 10.0f, 1.0f);
  model.startAngle = -1.0f;
  const auto scan = scanOf(map, model, {0.0f, 0.0f, 1.0f});
  EXPECT_EQ(scan.at(0).range, 3.0f + 0.1f);
  EXPECT_EQ(scan.at(0).angle, -1.0f);
  EXPECT_EQ(scan.at(1).angle, 0.0f);
}

TEST(SimulateScan, aStartBelowTheThresholdIsAHitAtTheMinimumRange) {
  const OccupancyMap map = drawMap({"###", "###"});
  for (const RangeReading& reading : scanOf(map, kScanner, {1.0f, 0.0f, 0.0f})) {
    EXPECT_EQ(reading.range, 0.1f);
    EXPECT_EQ(reading.status, 0);
  }
}

TEST(SimulateScan, beamsStartAtTheMinimumRangeAndAreReportedFromTheRobot) {
  const OccupancyMap map = drawMap({"#.#.#"});
  ScanModel model(2, 10.0f, 0.0f);
  model.minRange = 3.0f;
  EXPECT_EQ(scanOf(map, model, {}).at(0).range, 4.0f);
}

TEST(SimulateScan, aBeamThatLeavesTheMapReportsTheFirstOutsideCellPlusTheMinimumRange) {
  const OccupancyMap map = drawMap({"...."});
  ScanModel model(2, 10.0f, 0.0f);
  model.minRange = 1.0f;
  const auto scan = scanOf(map, model, {1.0f, 0.0f, 0.0f});
  EXPECT_EQ(scan.at(0).range, 3.0f);
  EXPECT_EQ(scan.at(0).status, 1);
}

TEST(SimulateScan, aWallAtTheMaximumRangeIsAHit) {
  const OccupancyMap map = drawMap({"....#"});
  ScanModel model(2, 4.0f, 0.0f);
  model.minRange = 0.0f;
  EXPECT_EQ(scanOf(map, model, {}).at(0).range, 4.0f);
  EXPECT_EQ(scanOf(map, model, {}).at(0).status, 0);
}

TEST(SimulateScan, theSecondImageLetsBeamsPass) {
  OccupancyMap map = drawMap({".#.#."}, 1.0f, true);
  setSecond(map, 1, 0, 0.44f);
  ScanModel model(2, 10.0f, 0.0f);
  model.minRange = 0.0f;
  EXPECT_EQ(scanOf(map, model, {}).at(0).range, 3.0f);
}

// A single beam would lie at 0 times infinity, by intention.
TEST(SimulateScan, aSingleBeamHasNoAngle) {
  const OccupancyMap map = drawMap({"...", "..."});
  const auto scan = scanOf(map, ScanModel(1, 5.0f, 2.0f), {1.0f, 1.0f, 0.0f});
  ASSERT_EQ(scan.size(), 1u);
  EXPECT_TRUE(std::isnan(scan[0].angle));
  EXPECT_EQ(scan[0].range, 0.1f);
  EXPECT_EQ(scan[0].status, 1);
  for (const float fieldOfView : {0.0f, -2.0f, kInf}) {
    EXPECT_TRUE(std::isnan(scanOf(map, ScanModel(1, 5.0f, fieldOfView), {}).at(0).angle));
  }
}

TEST(SimulateScan, noBeamsLeaveTheOutputEmpty) {
  const OccupancyMap map = drawMap({"..."});
  EXPECT_TRUE(scanOf(map, ScanModel(0, 5.0f, 2.0f), {}).empty());
}

TEST(SimulateScan, aNegativeCountIsAVectorsLengthErrorOnceTheOutputIsEmpty) {
  const OccupancyMap map = drawMap({"..."});
  for (int count : {-1, -2, kIntMin}) {
    std::vector<RangeReading> out(4);
    const korrin_test::AllocationLimit memory(1 << 20);  // whatever else the count may be taken for
    try {
      Brin::occMapSimulateScan(map, ScanModel(count, 5.0f, 2.0f), {}, out, 0.5f);
      ADD_FAILURE() << "no error for " << count;
    } catch (const std::length_error& error) {
      EXPECT_STREQ(error.what(), "vector::reserve");
    }
    EXPECT_TRUE(out.empty());
  }
}

TEST(SimulateScan, anInfiniteRangeKeepsItsDirection) {
  const OccupancyMap map = drawMap({".....", "....."}, 0.5f);
  for (float range : {kInf, 1e30f}) {
    ScanModel model(2, range, 3.14159274f);
    model.minRange = 0.0f;
    model.startAngle = 0.0f;
    const auto scan = scanOf(map, model, {0.5f, 0.0f, 0.0f});
    EXPECT_EQ(scan.at(0).range, 2.0f);
    EXPECT_EQ(scan.at(1).range, 1.0f);
  }
}

TEST(SimulateScan, wildRangesEndAfterTwoToThe27Cells) {
  const OccupancyMap map = drawMap({"#.."});
  ScanModel model(2, kInf, 0.0f);
  model.minRange = kInf;
  EXPECT_EQ(scanOf(map, model, {-134217728.0f, 0.0f, 0.0f}).at(0).status, 0);
  EXPECT_EQ(scanOf(map, model, {-134217744.0f, 0.0f, 0.0f}).at(0).status, 1);
}

TEST(SimulateScan, aWildPoseSeesNothing) {
  const OccupancyMap map = drawMap({"###", "###"});
  for (const Pose2D& pose : {Pose2D{kNan, 0.0f, 0.0f}, Pose2D{1e30f, 0.0f, 0.0f},
                             Pose2D{0.0f, -kInf, 0.0f}, Pose2D{0.0f, 0.0f, kNan}}) {
    const auto scan = scanOf(map, kScanner, pose);
    ASSERT_EQ(scan.size(), 3u);
    for (const RangeReading& reading : scan) {
      EXPECT_EQ(reading.range, 0.1f);
      EXPECT_EQ(reading.status, 1);
    }
  }
}

TEST(SimulateScan, aResolutionOfZeroLeavesNoCellInside) {
  const OccupancyMap map(3, 3, 0.0f, false);
  for (const RangeReading& reading : scanOf(map, kScanner, {1.0f, 1.0f, 0.0f})) {
    EXPECT_EQ(reading.range, 0.1f);
    EXPECT_EQ(reading.status, 1);
  }
}

}  // namespace
