// How readings change a map, in pictures. Maps are drawn row 0 first: columns grow to the right,
// rows downwards, and a beam of angle 0 runs to the right.
#include "korrin/occupancy_mapper.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapper;
using Brin::Pose2D;
using Brin::RangeReading;
using korrin_test::drawingOf;
using korrin_test::drawMap;
using Picture = std::vector<std::string>;
using Limits = std::numeric_limits<float>;

constexpr float kNan = Limits::quiet_NaN();
constexpr float kInf = Limits::infinity();
constexpr float kHalfPi = 1.57079637f;
constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

RangeReading reading(float range, float angle, int status, float weight = 1.0f) {
  RangeReading result(range, angle);
  result.status = status;
  result.weight = weight;
  return result;
}

RangeReading hit(float range, float angle) { return reading(range, angle, 0); }
RangeReading miss(float range, float angle) { return reading(range, angle, 1); }

TEST(OccupancyMapper, copiesShareTheMap) {
  OccupancyMap map(2, 1, 1.0f, false);
  OccupancyMapper mapper(&map);
  OccupancyMapper copy(mapper);
  EXPECT_EQ(copy.map, &map);
  copy.xLineBres(0, 0, 1, 0, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(*mapper.map), Picture{".."});
}

TEST(OccupancyMapper, isMadeOfAMapOnRequestOnly) {
  static_assert(std::is_constructible_v<OccupancyMapper, OccupancyMap*>);
  static_assert(!std::is_convertible_v<OccupancyMap*, OccupancyMapper>);
  static_assert(!std::is_convertible_v<std::nullptr_t, OccupancyMapper>);
  static_assert(!std::is_constructible_v<OccupancyMapper, const OccupancyMap*>);
  static_assert(std::is_copy_constructible_v<OccupancyMapper>);
  EXPECT_EQ(OccupancyMapper(nullptr).map, nullptr);
}

TEST(OccupancyMapper, isPolymorphicByItsDestructorAndHoldsOnlyTheMap) {
  EXPECT_TRUE(std::has_virtual_destructor_v<OccupancyMapper>);
  EXPECT_EQ(sizeof(OccupancyMapper), 2 * sizeof(void*));
}

TEST(OccupancyMapperLine, everyCellGetsTheFreeIncrementAndTheEndBoth) {
  OccupancyMap map = drawMap({"22222"});
  OccupancyMapper(&map).xLineBres(0, 0, 3, 0, 0.5f, -0.25f);
  EXPECT_FLOAT_EQ(map.getCell(0, 0), 0.7f);
  EXPECT_FLOAT_EQ(map.getCell(2, 0), 0.7f);
  EXPECT_FLOAT_EQ(map.getCell(3, 0), 0.45f);
  EXPECT_FLOAT_EQ(map.getCell(4, 0), 0.2f);
}

// The end cell is freed like the cells before it, and only then lowered, by intention.
TEST(OccupancyMapperLine, aHitCellEndsAtNineTenthsWhateverItHeld) {
  for (float before : {0.0f, 0.3f, 0.5f, 1.0f}) {
    OccupancyMap map(3, 1, 1.0f, false);
    map.reset(before);
    OccupancyMapper(&map).xLineBres(0, 0, 2, 0, 1.0f, -0.1f);
    EXPECT_EQ(map.getCell(2, 0), 0.9f) << "before: " << before;
  }
}

TEST(OccupancyMapperLine, theTwoIncrementsOfTheEndAreClampedOneAfterTheOther) {
  OccupancyMap map(1, 1, 1.0f, false);
  OccupancyMapper(&map).xLineBres(0, 0, 0, 0, -3.0f, 0.25f);
  EXPECT_EQ(map.getCell(0, 0), 0.25f);
}

TEST(OccupancyMapperLine, aLineOfNoLengthIsItsEndCellAlone) {
  OccupancyMap map(3, 3, 1.0f, false);
  OccupancyMapper(&map).xLineBres(1, 1, 1, 1, 0.25f, 0.125f);
  EXPECT_EQ(map.getCell(1, 1), 0.875f);
  map.setCell(1, 1, 0.5f);
  EXPECT_EQ(drawingOf(map), (Picture{"???", "???", "???"}));
}

TEST(OccupancyMapperLine, anExactDiagonalStepsBothWaysAtOnce) {
  OccupancyMap map(4, 4, 1.0f, false);
  OccupancyMapper(&map).xLineBres(3, 0, 0, 3, 1.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"???.",  //
                                     "??.?",  //
                                     "?.??",  //
                                     "#???"}));
}

// Along x when it is longer, along y otherwise; a step that falls halfway goes over at once.
TEST(OccupancyMapperLine, runsAlongItsLongerAxis) {
  OccupancyMap map(5, 3, 1.0f, false);
  OccupancyMapper(&map).xLineBres(0, 0, 4, 2, 1.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{".????",  //
                                     "?..??",  //
                                     "???.#"}));
  map.reset(0.5f);
  OccupancyMapper(&map).xLineBres(2, 2, 1, 0, 1.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"?#???",  //
                                     "?.???",  //
                                     "??.??"}));
}

TEST(OccupancyMapperLine, cellsOutsideTheMapAreSkipped) {
  OccupancyMap map(3, 2, 1.0f, false);
  OccupancyMapper(&map).xLineBres(-4, 1, 7, 1, 1.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"???", "..."}));
}

TEST(OccupancyMapperLine, anyCoordinatesAreFineAndCheap) {
  OccupancyMap map(3, 3, 1.0f, false);
  OccupancyMapper mapper(&map);
  for (int i = 0; i < 1000; ++i) mapper.xLineBres(kIntMin, kIntMin, kIntMax, kIntMax, 0.25f, 0.25f);
  mapper.xLineBres(kIntMax, 0, kIntMin, 0, -1.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"###", "?.?", "??."}));
  mapper.xLineBres2(kIntMin, kIntMax, kIntMax, kIntMin, 1.0f, 1.0f);
  mapper.xLineBres2(0, 0, 3, 0, 1.0f, 1.0f);
  mapper.xLineBres2(0, 0, 0, 3, 1.0f, 1.0f);
  mapper.xLineBres2(0, 0, -1, 0, 1.0f, 1.0f);
  mapper.xLineBres2(0, 0, 0, -1, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"###", "?.?", "??."}));
}

TEST(OccupancyMapperLine, aSumThatIsNotANumberBecomesZero) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).xLineBres(0, 0, 2, 0, kNan, 0.25f);
  EXPECT_EQ(map.getCell(0, 0), 0.0f);
  EXPECT_EQ(map.getCell(2, 0), 0.25f);
}

TEST(OccupancyMapperLine, theSecondVariantTouchesTheEndCellOnly) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).xLineBres2(0, 0, 2, 0, 1.0f, -0.25f);
  EXPECT_EQ(map.getCell(2, 0), 0.25f);
  EXPECT_EQ(map.getCell(0, 0), 0.5f);
  EXPECT_EQ(map.getCell(1, 0), 0.5f);
}

TEST(OccupancyMapperUpdate, carvesBeamsAndLowersHits) {
  OccupancyMap map(5, 5, 0.5f, false);
  OccupancyMapper(&map).updateMap({hit(1.0f, 0.0f), miss(1.0f, kHalfPi)}, {0.0f, 0.0f, 0.0f}, 0.5f,
                                  0.75f);
  EXPECT_EQ(drawingOf(map), (Picture{"..2??",  //
                                     ".????",  //
                                     ".????",  //
                                     "?????",  //
                                     "?????"}));
}

TEST(OccupancyMapperUpdate, anglesAreRelativeToTheHeading) {
  OccupancyMap map(3, 3, 1.0f, false);
  OccupancyMapper(&map).updateMap({hit(2.0f, -0.5f)}, {0.0f, 0.0f, kHalfPi + 0.5f}, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{".??", ".??", "#??"}));
}

// The far end of a beam that met nothing is freed like a crossed cell and once more, by intention.
TEST(OccupancyMapperUpdate, theEndOfAMissIsFreedTwice) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({miss(2.0f, 0.0f)}, {0.0f, 0.0f, 0.0f}, 0.125f, 0.5f);
  EXPECT_EQ(map.getCell(1, 0), 0.625f);
  EXPECT_EQ(map.getCell(2, 0), 0.75f);
}

TEST(OccupancyMapperUpdate, anyStatusButZeroIsAMiss) {
  for (int status : {1, 2, -1, kIntMin}) {
    OccupancyMap map(2, 1, 1.0f, false);
    OccupancyMapper(&map).updateMap({reading(1.0f, 0.0f, status)}, {0.0f, 0.0f, 0.0f}, 0.125f,
                                    0.5f);
    EXPECT_EQ(map.getCell(1, 0), 0.75f);
  }
}

TEST(OccupancyMapperUpdate, weightScalesBothIncrements) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({reading(2.0f, 0.0f, 0, 0.5f)}, {0.0f, 0.0f, 0.0f}, 0.25f, 0.5f);
  EXPECT_EQ(map.getCell(1, 0), 0.625f);
  EXPECT_EQ(map.getCell(2, 0), 0.375f);
}

TEST(OccupancyMapperUpdate, aWeightThatIsNotANumberZeroesTheBeam) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({reading(2.0f, 0.0f, 0, kNan)}, {0.0f, 0.0f, 0.0f}, 0.25f, 0.5f);
  EXPECT_EQ(drawingOf(map), Picture{"###"});
}

TEST(OccupancyMapperUpdate, aReadingOfRangeZeroIsTheRobotsCellInTwoSteps) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({hit(0.0f, 0.0f)}, {1.0f, 0.0f, 0.0f}, 1.0f, 0.1f);
  EXPECT_EQ(map.getCell(1, 0), 0.9f);
  map.setCell(1, 0, 0.5f);
  EXPECT_EQ(drawingOf(map), Picture{"???"});
}

TEST(OccupancyMapperUpdate, offsetsDropTheirFractionTowardsZero) {
  OccupancyMap map(5, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({hit(1.9f, 0.0f), hit(-1.9f, 0.0f)}, {2.0f, 0.0f, 0.0f}, 0.0f,
                                  1.0f);
  EXPECT_EQ(drawingOf(map), Picture{"?#?#?"});
}

TEST(OccupancyMapperUpdate, rowsAndColumnsRunAlongTheWorldsAxesOnATurnedMapToo) {
  OccupancyMap map(3, 3, 1.0f, false);
  map.params.origin = {7.0f, 3.0f, kHalfPi};
  OccupancyMapper(&map).updateMap({hit(2.0f, 0.0f)}, {7.0f, 3.0f, 0.0f}, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"..#", "???", "???"}));
}

TEST(OccupancyMapperUpdate, aHitOutsideStillRaisesTheCellsInside) {
  OccupancyMap map(3, 2, 1.0f, false);
  OccupancyMapper(&map).updateMap({hit(5.0f, 0.0f)}, {1.0f, 1.0f, 0.0f}, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"???", "?.."}));
}

TEST(OccupancyMapperUpdate, aBeamFromOutsideRaisesTheCellsInside) {
  OccupancyMap map(3, 2, 1.0f, false);
  OccupancyMapper(&map).updateMap({hit(6.0f, 0.0f)}, {-4.0f, 1.0f, 0.0f}, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), (Picture{"???", "..#"}));
}

TEST(OccupancyMapperUpdate, wildRangesKeepTheirDirection) {
  for (float range : {kInf, 1e30f, Limits::max(), 1e9f}) {
    OccupancyMap map(5, 3, 0.05f, false);
    const Pose2D robot(0.1f, 0.05f, 0.0f);
    OccupancyMapper(&map).updateMap({hit(range, 0.0f)}, robot, 1.0f, 1.0f);
    EXPECT_EQ(drawingOf(map), (Picture{"?????", "??...", "?????"})) << range;
    OccupancyMapper(&map).updateMap({hit(-range, 0.0f)}, robot, -1.0f, 1.0f);
    EXPECT_EQ(drawingOf(map), (Picture{"?????", "###..", "?????"})) << range;
  }
}

TEST(OccupancyMapperUpdate, wildRangesEndAfterTwoToThe27Cells) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccupancyMapper mapper(&map);
  mapper.updateMap({hit(kInf, 0.0f)}, {-134217744.0f, 0.0f, 0.0f}, 1.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), Picture{"???"});
  mapper.updateMap({hit(kInf, 0.0f)}, {-134217728.0f, 0.0f, 0.0f}, 0.0f, 1.0f);
  EXPECT_EQ(drawingOf(map), Picture{"#??"});
  mapper.updateMap2({hit(-kInf, 0.0f)}, {134217728.0f, 0.0f, 0.0f}, 0.0f, -1.0f);
  EXPECT_EQ(drawingOf(map), Picture{".??"});
}

TEST(OccupancyMapperUpdate, whatIsNotANumberChangesNothing) {
  OccupancyMap map(3, 3, 1.0f, false);
  const OccupancyMap before(map);
  OccupancyMapper mapper(&map);
  const std::vector<RangeReading> bad = {hit(kNan, 0.0f), hit(1.0f, kNan), hit(1.0f, kInf),
                                         miss(kNan, 0.0f), miss(1.0f, -kInf)};
  mapper.updateMap(bad, {1.0f, 1.0f, 0.0f}, 0.5f, 0.5f);
  mapper.updateMap2(bad, {1.0f, 1.0f, 0.0f}, 0.5f, 0.5f);
  mapper.updateMap({hit(1.0f, 0.0f)}, {1.0f, 1.0f, kNan}, 0.5f, 0.5f);
  mapper.updateMap({hit(1.0f, 0.0f)}, {kNan, 1.0f, 0.0f}, 0.5f, 0.5f);
  EXPECT_TRUE(korrin_test::sameMap(map, before));
}

TEST(OccupancyMapperUpdate, aResolutionThatIsNoLengthChangesNothing) {
  for (float resolution : {0.0f, kNan}) {
    OccupancyMap map(3, 3, resolution, false);
    const OccupancyMap before(map);
    OccupancyMapper(&map).updateMap({hit(1.0f, 0.0f), miss(kInf, 1.0f)}, {1.0f, 1.0f, 0.0f}, 0.5f,
                                    0.5f);
    EXPECT_TRUE(korrin_test::sameMap(map, before));
  }
}

TEST(OccupancyMapperUpdate, noReadingsOrNoCellsDoNothing) {
  OccupancyMap map(2, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap({}, {0.0f, 0.0f, 0.0f}, 0.5f, 0.5f);
  EXPECT_EQ(drawingOf(map), Picture{"??"});
  for (auto [width, height] : {std::pair{0, 0}, std::pair{3, 0}, std::pair{0, 3}}) {
    OccupancyMap none(width, height, 1.0f, false);
    OccupancyMapper(&none).updateMap({hit(1.0f, 0.0f)}, {0.0f, 0.0f, 0.0f}, 0.5f, 0.5f);
    OccupancyMapper(&none).updateMap2({hit(0.0f, 0.0f)}, {0.0f, 0.0f, 0.0f}, 0.5f, 0.5f);
  }
}

TEST(OccupancyMapperUpdate, theSecondVariantLowersHitsOnly) {
  OccupancyMap map(4, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap2({hit(2.0f, 0.0f), miss(3.0f, 0.0f), reading(1.0f, 0.0f, -1)},
                                   {0.0f, 0.0f, 0.0f}, 1.0f, 0.25f);
  EXPECT_EQ(drawingOf(map), Picture{"??2?"});
}

TEST(OccupancyMapperUpdate, theSecondVariantLeavesTheMapToMaxRangeReadingsAlone) {
  OccupancyMap map(4, 1, 1.0f, false);
  OccupancyMapper(&map).updateMap2({miss(2.0f, 0.0f), miss(3.0f, 0.0f)}, {0.0f, 0.0f, 0.0f}, 1.0f,
                                   0.25f);
  EXPECT_EQ(drawingOf(map), Picture{"????"});
}

TEST(OccupancyMapperFailure, aNullMapGivesOneWarningThatNamesIt) {
  OccupancyMapper mapper(nullptr);
  const auto expectOneRecord = [](const char* function, const auto& act) {
    korrin_test::LogCapture log;
    act();
    ASSERT_EQ(log.records().size(), 1u) << function;
    EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
    EXPECT_NE(log.records()[0].message.find("map"), std::string::npos);
    EXPECT_EQ(log.records()[0].file, "src/occupancy_mapper");
    EXPECT_EQ(log.records()[0].function, function);
  };
  const auto expectNoRay = [](const RangeReading& ray) {
    EXPECT_EQ(ray.range, 0.0f);
    EXPECT_EQ(ray.status, 1);
  };
  const std::vector<RangeReading> readings = {hit(1.0f, 0.0f), hit(2.0f, 0.0f)};
  std::vector<RangeReading> out(3);
  expectOneRecord("updateMap", [&] { mapper.updateMap(readings, {}, 1.0f, 1.0f); });
  expectOneRecord("updateMap2", [&] { mapper.updateMap2(readings, {}, 1.0f, 1.0f); });
  expectOneRecord("xLineBres", [&] { mapper.xLineBres(0, 0, 1, 1, 1.0f, 1.0f); });
  expectOneRecord("xLineBres2", [&] { mapper.xLineBres2(0, 0, 1, 1, 1.0f, 1.0f); });
  expectOneRecord("xThrowRay", [&] { expectNoRay(mapper.xThrowRay(0, 0, 1, 1, 0.5f)); });
  expectOneRecord("throwRay", [&] { expectNoRay(mapper.throwRay({}, {}, 0.5f)); });
  expectOneRecord("simulateScan", [&] {
    mapper.simulateScan({}, 0.0f, 1.0f, 0.0f, 1.0f, 5, out, 0.5f);
    EXPECT_TRUE(out.empty());
  });
  out.resize(2);
  expectOneRecord("simulateScan", [&] {
    mapper.simulateScan({}, 1.0f, 0.0f, 1.0f, 5, out, 0.5f);
    EXPECT_TRUE(out.empty());
  });
}

TEST(OccupancyMapperFailure, aMissingOrForeignImageIsOpenCvsError) {
  OccupancyMap map(2, 2, 1.0f, false);
  OccupancyMap taken(std::move(map));
  OccupancyMapper mapper(&map);
  EXPECT_THROW(mapper.updateMap({hit(1.0f, 0.0f)}, {}, 1.0f, 1.0f), cv::Exception);
  EXPECT_THROW(mapper.updateMap2({hit(1.0f, 0.0f)}, {}, 1.0f, 1.0f), cv::Exception);
  EXPECT_THROW(mapper.xLineBres(0, 0, 1, 1, 1.0f, 1.0f), cv::Exception);
  EXPECT_THROW(mapper.xLineBres2(0, 0, 1, 1, 1.0f, 1.0f), cv::Exception);
  EXPECT_THROW(mapper.xThrowRay(0, 0, 1, 1, 0.5f), cv::Exception);
  EXPECT_THROW(mapper.throwRay({}, {}, 0.5f), cv::Exception);

  IplImage* floats = std::exchange(taken.image, cvCreateImage(cvSize(2, 2), IPL_DEPTH_8U, 1));
  EXPECT_THROW(OccupancyMapper(&taken).xLineBres(0, 0, 1, 1, 1.0f, 1.0f), cv::Exception);
  cvReleaseImage(&floats);
}

}  // namespace
