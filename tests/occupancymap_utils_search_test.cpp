// The nearest free or unknown cell on 50 rays around a cell.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <utility>

#include "korrin/occupancymap_utils.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::sameBits;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr Pose2Di kUntouched = {-77, -78, 7.5f};

// What a search found, as "x,y,theta", or "nothing" when it left its output alone.
std::string answer(bool found, const Pose2Di& out) {
  if (!found) return sameBits(out, kUntouched) ? "nothing" : "nothing, but the output was written";
  std::ostringstream text;
  text << out.x << "," << out.y << "," << out.theta;
  return text.str();
}

std::string freeCell(const OccupancyMap& map, const Pose2Di& start, float threshold) {
  Pose2Di out = kUntouched;
  const bool found = Brin::findFirstFreeCell(map, start, out, threshold);
  return answer(found, out);
}

std::string grayCell(const OccupancyMap& map, const Pose2Di& start, float threshold,
                     float tolerance) {
  Pose2Di out = kUntouched;
  const bool found = Brin::findFirstGrayCell(map, start, out, threshold, tolerance);
  return answer(found, out);
}

TEST(FindFirstFreeCell, aFreeStartIsGivenBackAsItIsWithItsHeading) {
  EXPECT_EQ(freeCell(drawMap({"..", ".."}), {1, 0, 2.5f}, 0.7f), "1,0,2.5");
}

TEST(FindFirstFreeCell, theNearestOfTheFreeCellsIsTakenWithHeadingZero) {
  const OccupancyMap map = drawMap({
      "#######",
      ".#####.",
      "#######",  // the start is in the middle of this row
      "#######",
      "###.###",
  });
  EXPECT_EQ(freeCell(map, {3, 2, 1.0f}, 0.7f), "3,4,0");
}

TEST(FindFirstFreeCell, aValueEqualToTheThresholdIsNotFree) {
  const OccupancyMap map = drawMap({"55555.5"});
  EXPECT_EQ(freeCell(map, {1, 0, 0.0f}, 0.5f), "5,0,0");
  EXPECT_EQ(freeCell(drawMap({"555"}), {1, 0, 0.0f}, 0.5f), "nothing");
}

TEST(FindFirstFreeCell, aFreeCellBehindAnObstacleCounts) {
  EXPECT_EQ(freeCell(drawMap({"5##."}), {0, 0, 0.0f}, 0.7f), "3,0,0");
}

TEST(FindFirstFreeCell, aMapWithoutFreeCellsHasNone) {
  EXPECT_EQ(freeCell(drawMap({"###", "#?#", "###"}), {1, 1, 0.0f}, 0.5f), "nothing");
}

TEST(FindFirstFreeCell, aStartOutsideIsNotFreeButItsRaysEnterTheMap) {
  const OccupancyMap map = drawMap({"#..", "#..", "#.."});
  EXPECT_EQ(freeCell(map, {-3, 1, 2.0f}, 0.7f), "1,1,0");
  EXPECT_EQ(freeCell(map, {1, 5, 2.0f}, 0.7f), "1,2,0");
}

TEST(FindFirstFreeCell, aCellOutsideIsFreeForAThresholdBelowMinusOne) {
  OccupancyMap low(5, 3, 1.0f, false);
  low.reset(-3.0f);
  EXPECT_EQ(freeCell(low, {2, 1, 1.0f}, -2.0f), "2,3,0");
  EXPECT_EQ(freeCell(low, {9, 9, 1.5f}, -2.0f), "9,9,1.5");
  EXPECT_EQ(freeCell(low, {9, 9, 1.5f}, -1.0f), "nothing");
}

TEST(FindFirstFreeCell, ofEquallyNearCellsTheOneOfTheSmallerAngleIsTaken) {
  EXPECT_EQ(freeCell(drawMap({"#.#", ".#.", "#.#"}), {1, 1, 0.0f}, 0.7f), "2,1,0");
  EXPECT_EQ(freeCell(drawMap({"#.#", ".##", "#.#"}), {1, 1, 0.0f}, 0.7f), "1,2,0");
  EXPECT_EQ(freeCell(drawMap({"#.#", ".##", "###"}), {1, 1, 0.0f}, 0.7f), "0,1,0");
  EXPECT_EQ(freeCell(drawMap({"#.#", "###", "###"}), {1, 1, 0.0f}, 0.7f), "1,0,0");
}

TEST(FindFirstFreeCell, theSmallerAngleAlsoWinsWithMoreSteps) {
  // 20 * 20 + 5 * 5 = 13 * 13 + 16 * 16; the first is on ray 2, the second on ray 7.
  OccupancyMap map(60, 60, 1.0f, false);
  map.reset(0.0f);
  map.setCell(13, 16, 1.0f);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "13,16,0");
  map.setCell(20, 5, 1.0f);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "20,5,0");
  map.setCell(20, 5, 0.0f);
  map.setCell(5, 20, 1.0f);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "13,16,0");
}

TEST(FindFirstFreeCell, anglesAreCountedInTheWorld) {
  OccupancyMap map = drawMap({"#.#", ".#.", "#.#"});
  EXPECT_EQ(freeCell(map, {1, 1, 0.0f}, 0.7f), "2,1,0");
  // Ray 0 runs along the world's x axis, which is against the columns now.
  map.params.origin = {3.0f, -2.0f, 1.5707964f};
  EXPECT_EQ(freeCell(map, {1, 1, 0.0f}, 0.7f), "1,0,0");
}

TEST(FindFirstFreeCell, aCellBetweenTheRaysIsNotSeen) {
  // From (0, 0) the rays 1 and 2 meet column 39 in the rows 5 and 10.
  OccupancyMap map(40, 40, 1.0f, false);
  map.reset(0.0f);
  map.setCell(39, 7, 1.0f);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "nothing");
}

TEST(FindFirstFreeCell, aMillionCellsAwayIsTooFar) {
  OccupancyMap map(1000002, 1, 0.05f, false);
  map.reset(0.0f);
  map.setCell(1000000, 0, 1.0f);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "nothing");
  EXPECT_EQ(freeCell(map, {1, 0, 0.0f}, 0.7f), "1000000,0,0");
}

TEST(FindFirstFreeCell, aStartBeyondTheReachOfDifferencesIsTooFar) {
  // So far out the world's positions cannot tell cells apart, and every ray ends in cell (0, 0).
  OccupancyMap map = drawMap({"..", ".."});
  map.params.origin = {1e30f, 1e30f, 0.0f};
  constexpr int kMin = std::numeric_limits<int>::min();
  EXPECT_EQ(freeCell(map, {kMin, kMin, 0.0f}, 0.7f), "nothing");
  EXPECT_EQ(freeCell(map, {-999999, 0, 0.0f}, 0.7f), "0,0,0");
}

TEST(FindFirstFreeCell, notANumberIsNeverFree) {
  OccupancyMap map = drawMap({"###."});
  map.setCell(1, 0, kNaN);
  EXPECT_EQ(freeCell(map, {0, 0, 0.0f}, 0.7f), "3,0,0");
  EXPECT_EQ(freeCell(map, {1, 0, 0.0f}, 0.7f), "3,0,0");
  EXPECT_EQ(freeCell(map, {3, 0, 0.0f}, kNaN), "nothing");
  EXPECT_EQ(freeCell(map, {3, 0, 0.0f}, kInf), "nothing");
}

TEST(FindFirstFreeCell, aMapOfNoCellsHasNoFreeCell) {
  EXPECT_EQ(freeCell(OccupancyMap(0, 0, 1.0f, false), {0, 0, 0.0f}, 0.7f), "nothing");
  EXPECT_EQ(freeCell(OccupancyMap(0, 5, 1.0f, false), {0, 2, 0.0f}, 0.7f), "nothing");
}

TEST(CellSearch, aMapWithoutAUsableImageIsRefused) {
  OccupancyMap map = drawMap({"...", "..."});
  const OccupancyMap taken = std::move(map);
  OccupancyMap bytes = taken;
  cvReleaseImage(&bytes.image);
  bytes.image = cvCreateImage(cvSize(3, 2), IPL_DEPTH_8U, 1);
  const auto any = [](float) { return true; };
  for (const OccupancyMap* unusable : {&map, &bytes}) {
    Pose2Di out = kUntouched;
    const Pose2Di cell = {1, 1, 0.0f};
    EXPECT_THROW(Brin::findFirstFreeCell(*unusable, cell, out, 0.2f), cv::Exception);
    EXPECT_THROW(Brin::findFirstGrayCell(*unusable, cell, out, 0.2f, 0.1f), cv::Exception);
    EXPECT_THROW(Brin::findFirstCellWithCond(*unusable, cell, out, any), cv::Exception);
    EXPECT_THROW(Brin::findFirstFreeCellInLine(*unusable, cell, cell, out, 0.2f), cv::Exception);
    EXPECT_TRUE(sameBits(out, kUntouched));
  }
}

TEST(FindFirstFreeCell, aMapOfOneCell) {
  EXPECT_EQ(freeCell(drawMap({"."}), {0, 0, 1.0f}, 0.7f), "0,0,1");
  EXPECT_EQ(freeCell(drawMap({"#"}), {0, 0, 1.0f}, 0.7f), "nothing");
  EXPECT_EQ(freeCell(drawMap({"."}), {1, 0, 1.0f}, 0.7f), "0,0,0");
}

TEST(FindFirstFreeCell, theOutputMayBeTheStart) {
  Pose2Di cell = {0, 0, 1.0f};
  ASSERT_TRUE(Brin::findFirstFreeCell(drawMap({"##.#.#", "#.####"}), cell, cell, 0.7f));
  EXPECT_TRUE(sameBits(cell, {1, 1, 0.0f}));
}

TEST(FindFirstGrayCell, theNearestUnknownCellInSightIsTaken) {
  const OccupancyMap map = drawMap({
      "....?",
      ".....",
      "?....",
  });
  EXPECT_EQ(grayCell(map, {2, 1, 1.0f}, 0.4f, 0.1f), "0,2,0");
}

TEST(FindFirstGrayCell, anUnknownStartIsGivenBackAsItIsWithItsHeading) {
  EXPECT_EQ(grayCell(drawMap({"?."}), {0, 0, -1.5f}, 0.4f, 0.1f), "0,0,-1.5");
}

TEST(FindFirstGrayCell, aStartBelowTheThresholdBlocksEveryRay) {
  EXPECT_EQ(grayCell(drawMap({"???", "?3?", "???"}), {1, 1, 0.0f}, 0.4f, 0.1f), "nothing");
  EXPECT_EQ(grayCell(drawMap({"???", "?8?", "???"}), {1, 1, 0.0f}, 0.4f, 0.1f), "2,1,0");
}

TEST(FindFirstGrayCell, anUnknownCellBehindABlockingOneIsNotSeen) {
  EXPECT_EQ(grayCell(drawMap({"..#?"}), {0, 0, 0.0f}, 0.4f, 0.1f), "nothing");
  EXPECT_EQ(grayCell(drawMap({"...?"}), {0, 0, 0.0f}, 0.4f, 0.1f), "3,0,0");
}

TEST(FindFirstGrayCell, aBlockedRayDoesNotBlockTheNext) {
  EXPECT_EQ(grayCell(drawMap({"?...#?"}), {3, 0, 0.0f}, 0.4f, 0.1f), "0,0,0");
}

TEST(FindFirstGrayCell, aValueEqualToTheThresholdDoesNotBlock) {
  OccupancyMap map = drawMap({"...?"});
  map.setCell(2, 0, 0.25f);
  EXPECT_EQ(grayCell(map, {0, 0, 0.0f}, 0.25f, 0.1f), "3,0,0");
  EXPECT_EQ(grayCell(map, {0, 0, 0.0f}, std::nextafter(0.25f, 1.0f), 0.1f), "nothing");
}

TEST(FindFirstGrayCell, aValueExactlyTheToleranceAwayIsNotUnknown) {
  OccupancyMap map = drawMap({"..?"});
  map.setCell(1, 0, 0.75f);
  EXPECT_EQ(grayCell(map, {0, 0, 0.0f}, 0.1f, 0.25f), "2,0,0");
  EXPECT_EQ(grayCell(map, {0, 0, 0.0f}, 0.1f, 0.250001f), "1,0,0");
}

TEST(FindFirstGrayCell, anUnknownCellBelowTheThresholdBlocksInsteadOfCounting) {
  EXPECT_EQ(grayCell(drawMap({"..?.?"}), {0, 0, 0.0f}, 0.6f, 0.2f), "nothing");
}

TEST(FindFirstGrayCell, aStartOutsideBlocksEveryRay) {
  const OccupancyMap map = drawMap({"???", "???"});
  EXPECT_EQ(grayCell(map, {-1, 0, 0.0f}, 0.1f, 0.2f), "nothing");
  // Unless nothing blocks: then the rays come in.
  EXPECT_EQ(grayCell(map, {-2, 1, 0.0f}, -1.0f, 0.2f), "0,1,0");
}

TEST(FindFirstGrayCell, aCellOutsideIsUnknownForTolerancesThatReachThere) {
  EXPECT_EQ(grayCell(drawMap({"5"}), {4, 4, 2.0f}, -1.0f, 1.6f), "4,4,2");
  OccupancyMap map(3, 3, 1.0f, false);
  map.reset(9.0f);
  EXPECT_EQ(grayCell(map, {1, 1, 2.0f}, -1.0f, 1.6f), "3,1,0");
  EXPECT_EQ(grayCell(map, {1, 1, 2.0f}, -1.0f, 1.5f), "nothing");
}

TEST(FindFirstGrayCell, notANumberNeitherBlocksNorCounts) {
  OccupancyMap map = drawMap({"...?"});
  map.setCell(1, 0, kNaN);
  EXPECT_EQ(grayCell(map, {0, 0, 0.0f}, 0.4f, 0.1f), "3,0,0");
  EXPECT_EQ(grayCell(map, {3, 0, 0.0f}, kNaN, 0.1f), "nothing");
  EXPECT_EQ(grayCell(map, {3, 0, 0.0f}, 0.4f, kNaN), "nothing");
}

TEST(FindFirstGrayCell, theOutputMayBeTheStart) {
  Pose2Di cell = {0, 0, 1.0f};
  ASSERT_TRUE(Brin::findFirstGrayCell(drawMap({"..?.?.", ".?...."}), cell, cell, 0.4f, 0.1f));
  EXPECT_TRUE(sameBits(cell, {1, 1, 0.0f}));
}

}  // namespace
