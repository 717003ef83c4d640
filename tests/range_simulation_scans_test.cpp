// How well two scans agree, and the map that a single scan makes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanModel;
using korrin_test::drawingOf;
using korrin_test::LogCapture;
using Picture = std::vector<std::string>;

const ScanModel kScanner(10, 10.0f, 3.0f);

std::vector<RangeReading> rangesOf(const std::vector<float>& ranges) {
  std::vector<RangeReading> readings;
  for (float range : ranges) readings.emplace_back(range, 0.0f);
  return readings;
}

float cubeRoot(float x) { return static_cast<float>(std::pow(double{x}, double{1.0f / 3.0f})); }

TEST(ScanLikelihood, isOneForEqualScans) {
  const auto scan = rangesOf({1.0f, 2.0f, 3.0f, 4.0f});
  EXPECT_EQ(kScanner.scanLikelihood(scan, scan, 1), 1.0f);
}

TEST(ScanLikelihood, isTheCubeRootOfTheMeanRelativeDensity) {
  const float peak = Brin::gaussianValueAt(0.3f, 0.0f);
  const float side = Brin::gaussianValueAt(0.3f, 0.5f);
  const float score = kScanner.scanLikelihood(rangesOf({1.0f, 2.0f}), rangesOf({1.0f, 1.5f}), 1);
  EXPECT_FLOAT_EQ(score, cubeRoot((1.0f + (side + 0.01f) / (peak + 0.01f)) / 2.0f));
}

TEST(ScanLikelihood, theFloorKeepsAWildBeamFromZeroingTheScore) {
  const float peak = Brin::gaussianValueAt(0.3f, 0.0f);
  const float score = kScanner.scanLikelihood(rangesOf({1.0f}), rangesOf({1000.0f}), 1);
  EXPECT_FLOAT_EQ(score, cubeRoot(0.01f / (peak + 0.01f)));
}

// Four terms are summed (readings 0, 3, 6 and 9) and divided by 10 / 3 = 3, by intention.
TEST(ScanLikelihood, dividesByTheWholeNumberOfStepsNotByTheNumberOfTerms) {
  const auto scan = rangesOf(std::vector<float>(10, 2.0f));
  EXPECT_FLOAT_EQ(kScanner.scanLikelihood(scan, scan, 3), cubeRoot(4.0f / 3.0f));
  EXPECT_GT(kScanner.scanLikelihood(scan, scan, 3), 1.0f);
  EXPECT_EQ(kScanner.scanLikelihood(scan, scan, 5), 1.0f);
}

TEST(ScanLikelihood, comparesEveryStepthRangeFromTheFirstAndNoAngles) {
  auto a = rangesOf({1.0f, 9.0f, 3.0f, 9.0f});
  auto b = rangesOf({1.0f, 2.0f, 3.0f, 4.0f});
  for (RangeReading& reading : b) reading.angle = 1.5f;
  EXPECT_EQ(kScanner.scanLikelihood(a, b, 2), 1.0f);
  EXPECT_LT(kScanner.scanLikelihood(a, b, 1), 1.0f);
}

TEST(ScanLikelihood, readsTheModelsDeviation) {
  ScanModel wide(10, 10.0f, 3.0f);
  wide.rangeSigma = 3.0f;
  const auto a = rangesOf({1.0f});
  const auto b = rangesOf({2.0f});
  EXPECT_GT(wide.scanLikelihood(a, b, 1), kScanner.scanLikelihood(a, b, 1));
}

TEST(ScanLikelihood, aStepLongerThanTheScanDividesByZero) {
  const auto scan = rangesOf({1.0f, 2.0f});
  EXPECT_EQ(kScanner.scanLikelihood(scan, scan, 3), std::numeric_limits<float>::infinity());
  EXPECT_EQ(kScanner.scanLikelihood(scan, scan, std::numeric_limits<int>::max()),
            std::numeric_limits<float>::infinity());
}

TEST(ScanLikelihood, emptyScansScoreNotANumber) {
  EXPECT_TRUE(std::isnan(kScanner.scanLikelihood({}, {}, 1)));
  EXPECT_TRUE(std::isnan(kScanner.scanLikelihood({}, rangesOf({1.0f}), 2)));
}

TEST(ScanLikelihood, aLongerSecondScanIsFine) {
  LogCapture log;
  EXPECT_EQ(kScanner.scanLikelihood(rangesOf({1.0f}), rangesOf({1.0f, 7.0f}), 1), 1.0f);
  EXPECT_TRUE(log.records().empty());
}

void expectRefused(const std::vector<RangeReading>& a, const std::vector<RangeReading>& b, int step,
                   const std::string& argument) {
  LogCapture log;
  EXPECT_EQ(kScanner.scanLikelihood(a, b, step), 0.0f);
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
  EXPECT_EQ(log.records()[0].file, "src/range_simulation");
  EXPECT_EQ(log.records()[0].function, "scanLikelihood");
  EXPECT_NE(log.records()[0].message.find(argument), std::string::npos);
}

TEST(ScanLikelihood, aStepBelowOneGivesZeroAndAWarning) {
  const auto scan = rangesOf({1.0f, 2.0f});
  for (int step : {0, -1, std::numeric_limits<int>::min()}) {
    expectRefused(scan, scan, step, "step");
    expectRefused({}, {}, step, "step");
  }
}

TEST(ScanLikelihood, aSecondScanThatIsTooShortGivesZeroAndAWarning) {
  expectRefused(rangesOf({1.0f, 2.0f}), rangesOf({1.0f}), 1, "scanB");
  expectRefused(rangesOf({1.0f, 2.0f}), rangesOf({1.0f}), 2, "scanB");
  expectRefused(rangesOf({1.0f}), {}, 1, "scanB");
}

// A scanner at the left edge that looks to the right (or down, in the drawing, at a right angle).
Scan twoBeams(float range, float spacing) {
  Scan scan;
  scan.readings.emplace_back(range, 0.0f);
  scan.readings.emplace_back(range, spacing);
  return scan;
}

TEST(FillOccMapFromScan, tracesTheScanOnceAtTheGivenHeading) {
  OccupancyMap map = korrin_test::drawMap({"#1.#.",  //
                                           ".....",  //
                                           "#####",  //
                                           "01234"});
  Brin::fillOccMapFromScan(twoBeams(3.0f, 1.57079637f), {0.0f, 0.0f, 0.0f}, map, 1);
  EXPECT_EQ(drawingOf(map), (Picture{"...9?",  //
                                     ".????",  //
                                     ".????",  //
                                     "9????"}));
}

// The end of a beam is freed to 1 before it is lowered by 0.1, by intention.
TEST(FillOccMapFromScan, aHitCellOfASinglePassIsNineTenths) {
  OccupancyMap map(5, 1, 1.0f, false);
  Scan scan;
  scan.readings.emplace_back(3.0f, 0.0f);
  Brin::fillOccMapFromScan(scan, {0.0f, 0.0f, 0.0f}, map, 1);
  EXPECT_EQ(map.getCell(3, 0), 0.9f);
}

TEST(FillOccMapFromScan, subdivisionsTurnTheScanByPartsOfTheBeamSpacing) {
  const Scan scan = twoBeams(7.0f, 0.8f);
  const Brin::Pose2D pose(0.0f, 0.0f, 0.1f);
  OccupancyMap map(8, 8, 1.0f, false);
  Brin::fillOccMapFromScan(scan, pose, map, 4);
  OccupancyMap expected(8, 8, 1.0f, false);
  for (float part : {0.0f, 0.25f, 0.5f, 0.75f}) {
    korrin_model::updateMap(expected, scan.readings, {0.0f, 0.0f, 0.1f + part * 0.8f}, 1.0f, 0.1f);
  }
  EXPECT_EQ(drawingOf(map), drawingOf(expected));
}

TEST(FillOccMapFromScan, withoutSubdivisionsEveryCellIsUnknown) {
  for (int subdivisions : {0, -1, std::numeric_limits<int>::min()}) {
    OccupancyMap map = korrin_test::drawMap({"#.5", "123"});
    Brin::fillOccMapFromScan(twoBeams(1.0f, 0.5f), {0.0f, 0.0f, 0.0f}, map, subdivisions);
    EXPECT_EQ(drawingOf(map), (Picture{"???", "???"}));
  }
}

TEST(FillOccMapFromScan, anEmptyScanLeavesEveryCellUnknown) {
  OccupancyMap map = korrin_test::drawMap({"#.5", "123"});
  Brin::fillOccMapFromScan({}, {0.0f, 0.0f, 0.0f}, map, 4);
  EXPECT_EQ(drawingOf(map), (Picture{"???", "???"}));
}

TEST(FillOccMapFromScan, keepsTheMapsGeometryAndSecondImage) {
  OccupancyMap map(4, 4, 0.5f, true);
  map.params.origin = {3.0f, 2.0f, 1.0f};
  const OccupancyMap before(map);
  Brin::fillOccMapFromScan(twoBeams(1.0f, 0.5f), {3.0f, 2.0f, 0.0f}, map, 2);
  EXPECT_TRUE(korrin_test::sameParams(map, before));
  EXPECT_TRUE(korrin_test::sameImage(map.secondImage, before.secondImage));
  EXPECT_FALSE(korrin_test::sameImage(map.image, before.image));
}

TEST(FillOccMapFromScan, weightsScaleBothIncrements) {
  OccupancyMap map(3, 1, 1.0f, false);
  Scan scan;
  scan.readings.emplace_back(2.0f, 0.0f);
  scan.readings.back().weight = 0.25f;
  Brin::fillOccMapFromScan(scan, {0.0f, 0.0f, 0.0f}, map, 1);
  EXPECT_EQ(map.getCell(1, 0), 0.75f);
  EXPECT_FLOAT_EQ(map.getCell(2, 0), 0.725f);
}

TEST(FillOccMapFromScan, aMapWithoutCellsStaysWithout) {
  OccupancyMap map(0, 0, 1.0f, false);
  Brin::fillOccMapFromScan(twoBeams(1.0f, 0.5f), {0.0f, 0.0f, 0.0f}, map, 2);
  EXPECT_EQ(map.image->width, 0);
}

}  // namespace
