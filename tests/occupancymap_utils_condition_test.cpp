// The search with a caller's own condition, and the first free cell on a line.
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "korrin/occupancymap_utils.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::sameBits;

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr Pose2Di kUntouched = {-77, -78, 7.5f};

// Accepts the value that comes after `left` others, whatever they are.
struct Countdown {
  int left;
  bool operator()(float) { return left-- == 0; }
};

// Accepts nothing and writes down what it is asked about, ray by ray. A copy that has seen only the
// start cell is a new ray's.
struct Recorder {
  std::shared_ptr<std::vector<std::vector<float>>> rays;
  int seen = 0;

  bool operator()(float value) {
    if (seen++ <= 1) rays->emplace_back();
    rays->back().push_back(value);
    return false;
  }
};

TEST(FindFirstCellWithCond, theConditionSeesTheStartFirstAndAcceptsItAsItIs) {
  Pose2Di out = kUntouched;
  EXPECT_TRUE(
      Brin::findFirstCellWithCond(drawMap({"###"}), Pose2Di{1, 0, 2.0f}, out, Countdown{0}));
  EXPECT_TRUE(sameBits(out, {1, 0, 2.0f}));
}

TEST(FindFirstCellWithCond, everyRayAsksAboutTheStartOnceMore) {
  Pose2Di out = kUntouched;
  EXPECT_TRUE(
      Brin::findFirstCellWithCond(drawMap({"###"}), Pose2Di{1, 0, 2.0f}, out, Countdown{1}));
  EXPECT_TRUE(sameBits(out, {1, 0, 0.0f}));
}

TEST(FindFirstCellWithCond, everyRayGoesOnFromWhatTheStartLeft) {
  // Were the copies shared, the second ray would be asked about 1 value only.
  Pose2Di out = kUntouched;
  OccupancyMap map(9, 9, 1.0f, false);
  EXPECT_TRUE(Brin::findFirstCellWithCond(map, Pose2Di{4, 4, 2.0f}, out, Countdown{4}));
  EXPECT_TRUE(sameBits(out, {7, 4, 0.0f}));
}

TEST(FindFirstCellWithCond, aRaySeesItsCellsInOrderThoseOutsideIncluded) {
  const auto rays = std::make_shared<std::vector<std::vector<float>>>();
  Pose2Di out = kUntouched;
  EXPECT_FALSE(
      Brin::findFirstCellWithCond(drawMap({"246"}), Pose2Di{1, 0, 0.0f}, out, Recorder{rays}));
  EXPECT_TRUE(sameBits(out, kUntouched));
  ASSERT_EQ(rays->size(), 51u);
  // The map is 3 wide and 1 high, so a ray along the row ends 4 cells away.
  EXPECT_EQ(rays->at(0), (std::vector<float>{0.4f}));
  EXPECT_EQ(rays->at(1), (std::vector<float>{0.4f, 0.6f, -1.0f, -1.0f, -1.0f}));
  EXPECT_EQ(rays->at(26), (std::vector<float>{0.4f, 0.2f, -1.0f, -1.0f, -1.0f}));
}

TEST(FindFirstCellWithCond, oneRayIsWalkedAfterTheOtherHoweverLong) {
  const auto rays = std::make_shared<std::vector<std::vector<float>>>();
  Pose2Di out = kUntouched;
  const OccupancyMap map(40, 1, 1.0f, false);
  Brin::findFirstCellWithCond(map, Pose2Di{0, 0, 0.0f}, out, Recorder{rays});
  ASSERT_EQ(rays->size(), 51u);
  EXPECT_EQ(rays->at(1).size(), 42u);
  EXPECT_EQ(rays->at(26).size(), 42u);
}

TEST(FindFirstCellWithCond, aRayFromOutsideSeesTheCellsOutsideInTurn) {
  const auto rays = std::make_shared<std::vector<std::vector<float>>>();
  Pose2Di out = kUntouched;
  Brin::findFirstCellWithCond(drawMap({"246"}), Pose2Di{-2, 0, 0.0f}, out, Recorder{rays});
  EXPECT_EQ(rays->at(1), (std::vector<float>{-1.0f, -1.0f, 0.2f, 0.4f, 0.6f}));
}

TEST(FindFirstCellWithCond, aCellOutsideTheMapCanBeTheAnswer) {
  Pose2Di out = kUntouched;
  EXPECT_TRUE(Brin::findFirstCellWithCond(drawMap({"22"}), Pose2Di{0, 0, 0.0f}, out,
                                          [](float value) { return value < 0.0f; }));
  EXPECT_TRUE(sameBits(out, {0, 1, 0.0f}));
}

TEST(FindFirstCellWithCond, whatAConditionThrowsReachesTheCaller) {
  Pose2Di out = kUntouched;
  const auto failing = [](float value) -> bool {
    if (value < 0.0f) throw std::runtime_error("outside");
    return false;
  };
  EXPECT_THROW(Brin::findFirstCellWithCond(drawMap({"22"}), Pose2Di{0, 0, 0.0f}, out, failing),
               std::runtime_error);
  EXPECT_TRUE(sameBits(out, kUntouched));
}

TEST(FindFirstCellWithCond, wildRaysEndAMillionCellsAway) {
  // A resolution that is no length sends every ray to the far corner of the plane.
  OccupancyMap map(3, 3, std::numeric_limits<float>::quiet_NaN(), false);
  Pose2Di out = kUntouched;
  EXPECT_TRUE(Brin::findFirstCellWithCond(map, Pose2Di{1, 1, 0.0f}, out, Countdown{700000}));
  EXPECT_TRUE(sameBits(out, {-699998, -699998, 0.0f}));
  EXPECT_FALSE(Brin::findFirstCellWithCond(map, Pose2Di{1, 1, 0.0f}, out, Countdown{1100000}));
  EXPECT_FALSE(Brin::findFirstCellWithCond(map, Pose2Di{kMin, kMax, 0.0f}, out, Countdown{kMax}));
}

// The first free cell on a line, as the cell it found or nothing.
std::vector<Pose2Di> freeInLine(const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to,
                                float threshold = 0.7f) {
  Pose2Di out = kUntouched;
  if (Brin::findFirstFreeCellInLine(map, from, to, out, threshold)) return {out};
  EXPECT_TRUE(sameBits(out, kUntouched));
  return {};
}

std::vector<Pose2Di> nothing() { return {}; }
std::vector<Pose2Di> cell(int x, int y) { return {{x, y, 0.0f}}; }

TEST(FindFirstFreeCellInLine, theFirstOnTheLineIsTaken) {
  const OccupancyMap map = drawMap({
      "##..",
      "####",
  });
  EXPECT_TRUE(sameBits(freeInLine(map, {0, 0, 1.0f}, {3, 0, 1.0f}), cell(2, 0)));
  EXPECT_TRUE(sameBits(freeInLine(map, {3, 1, 1.0f}, {0, 0, 1.0f}), nothing()));
  EXPECT_TRUE(sameBits(freeInLine(map, {0, 1, 1.0f}, {3, 0, 1.0f}), cell(2, 0)));
}

TEST(FindFirstFreeCellInLine, bothEndsAreLookedAt) {
  EXPECT_TRUE(sameBits(freeInLine(drawMap({".##"}), {0, 0, 1.0f}, {2, 0, 1.0f}), cell(0, 0)));
  EXPECT_TRUE(sameBits(freeInLine(drawMap({"##."}), {0, 0, 1.0f}, {2, 0, 1.0f}), cell(2, 0)));
  EXPECT_TRUE(sameBits(freeInLine(drawMap({"#.", "#."}), {0, 0, 1.0f}, {1, 1, 1.0f}), cell(1, 1)));
}

TEST(FindFirstFreeCellInLine, aLineOfOneCellLooksAtThatCellOnly) {
  EXPECT_TRUE(sameBits(freeInLine(drawMap({".#."}), {1, 0, 1.0f}, {1, 0, 1.0f}), nothing()));
  EXPECT_TRUE(sameBits(freeInLine(drawMap({"#.#"}), {1, 0, 1.0f}, {1, 0, 1.0f}), cell(1, 0)));
}

TEST(FindFirstFreeCellInLine, aValueEqualToTheThresholdIsNotFree) {
  EXPECT_TRUE(sameBits(freeInLine(drawMap({"556"}), {0, 0, 0.0f}, {2, 0, 0.0f}, 0.5f), cell(2, 0)));
}

TEST(FindFirstFreeCellInLine, cellsOutsideReadMinusOne) {
  const OccupancyMap map = drawMap({"#.#"});
  EXPECT_TRUE(sameBits(freeInLine(map, {-4, 0, 0.0f}, {7, 0, 0.0f}), cell(1, 0)));
  EXPECT_TRUE(sameBits(freeInLine(map, {-4, 0, 0.0f}, {1, 0, 0.0f}), cell(1, 0)));
  EXPECT_TRUE(sameBits(freeInLine(map, {-4, 0, 0.0f}, {7, 0, 0.0f}, -2.0f), cell(-4, 0)));
  OccupancyMap low = map;
  low.reset(-3.0f);
  EXPECT_TRUE(sameBits(freeInLine(low, {0, 0, 0.0f}, {7, 0, 0.0f}, -2.0f), cell(3, 0)));
  EXPECT_TRUE(sameBits(freeInLine(low, {0, 0, 0.0f}, {2, 0, 0.0f}, -2.0f), nothing()));
}

TEST(FindFirstFreeCellInLine, theLongestLinesCostNoMoreThanTheMap) {
  const OccupancyMap map = drawMap({"###", "#.#", "###"});
  EXPECT_TRUE(sameBits(freeInLine(map, {kMin, kMin, 0.0f}, {kMax, kMax, 0.0f}), cell(1, 1)));
  EXPECT_TRUE(sameBits(freeInLine(map, {kMin, 1, 0.0f}, {1, 1, 0.0f}), cell(1, 1)));
  EXPECT_TRUE(sameBits(freeInLine(map, {kMin, 2, 0.0f}, {kMax, 2, 0.0f}), nothing()));
}

TEST(FindFirstFreeCellInLine, theOutputMayBeAnEnd) {
  const OccupancyMap map = drawMap({"##.#"});
  Pose2Di from = {0, 0, 1.0f};
  ASSERT_TRUE(Brin::findFirstFreeCellInLine(map, from, {3, 0, 1.0f}, from, 0.7f));
  EXPECT_TRUE(sameBits(from, {2, 0, 0.0f}));
  Pose2Di to = {3, 0, 1.0f};
  ASSERT_TRUE(Brin::findFirstFreeCellInLine(map, {0, 0, 1.0f}, to, to, 0.7f));
  EXPECT_TRUE(sameBits(to, {2, 0, 0.0f}));
}

}  // namespace
