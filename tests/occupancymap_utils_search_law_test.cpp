// The searches agree with the literal model on random maps, starts and thresholds, and with
// themselves wherever the model would take too long.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "korrin/occupancymap_utils.hpp"
#include "models/occupancymap_utils_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

constexpr Pose2Di kUntouched = {-77, -78, 7.5f};

struct Answer {
  bool found = false;
  Pose2Di out = kUntouched;
};

bool same(const Answer& a, const Answer& b) { return a.found == b.found && sameBits(a.out, b.out); }

// A condition of the tests' own, with state: accepts from the (skip + 1)th value below `limit` on.
struct BelowAfter {
  float limit;
  int skip;
  bool operator()(float value) { return value < limit && skip-- <= 0; }
};

// One random question and how often its kinds came up.
struct Tally {
  int found = 0;
  int nothing = 0;
  int start = 0;
  int outside = 0;

  void count(const Answer& answer, const OccupancyMap& map, const Pose2Di& from) {
    found += answer.found ? 1 : 0;
    nothing += answer.found ? 0 : 1;
    start += answer.found && answer.out.x == from.x && answer.out.y == from.y ? 1 : 0;
    outside += answer.found && !map.isInside(answer.out.x, answer.out.y) ? 1 : 0;
  }
};

float thresholdFor(RandomInputs& random) {
  if (random.chance(0.1)) return random.wildFloat();
  return random.pick<float>({0.0f, 0.2f, 0.4f, 0.5f, 0.7f, 1.0f, -1.0f, -1.5f});
}

OccupancyMap searchMap(RandomInputs& random, int maxSide) {
  MapBounds bounds;
  bounds.maxSide = maxSide;
  bounds.levels = random.pick<std::vector<float>>(
      {{0.0f, 0.2f, 0.5f, 1.0f}, {0.0f}, {0.0f, 0.0f, 0.0f, 0.0f, 1.0f}, {0.5f, 1.0f, 1.0f}});
  bounds.anyValueShare = random.pick<double>({0.0, 0.0, 0.2});
  bounds.wildShare = random.pick<double>({0.0, 0.0, 0.05});
  OccupancyMap map = random.map(bounds);
  if (random.chance(0.05)) map.params.origin.x = random.between(-1e5f, 1e5f);
  return map;
}

// On the map, or a few cells around it.
Pose2Di startFor(RandomInputs& random, const OccupancyMap& map) {
  const bool hasCells = map.params.width > 0 && map.params.height > 0;
  return random.cellNear(map, hasCells && random.chance(0.7) ? 0 : 3);
}

// Asks both and counts what came out.
template <typename Library, typename Model>
bool bothAgree(const OccupancyMap& map, const Pose2Di& start, Tally& tally, Library library,
               Model model) {
  Answer given;
  given.found = library(given.out);
  Answer expected;
  expected.found = model(expected.out);
  tally.count(expected, map, start);
  return same(given, expected);
}

TEST(CellSearchLaw, theSearchesAgreeWithTheModel) {
  RandomInputs random(61);
  Tally freeTally;
  Tally grayTally;
  Tally ownTally;
  for (int i = 0; i < 6000; ++i) {
    const OccupancyMap map = searchMap(random, i % 20 == 0 ? 70 : 12);
    const Pose2Di start = startFor(random, map);
    const float threshold = thresholdFor(random);
    const float tolerance =
        random.chance(0.1) ? random.wildFloat() : random.pick<float>({0.1f, 0.3f, 0.5f, 2.0f});
    ASSERT_TRUE(bothAgree(
        map, start, freeTally,
        [&](Pose2Di& out) { return Brin::findFirstFreeCell(map, start, out, threshold); },
        [&](Pose2Di& out) { return korrin_model::findFirstFreeCell(map, start, out, threshold); }))
        << "free, case " << i;
    ASSERT_TRUE(bothAgree(
        map, start, grayTally,
        [&](Pose2Di& out) {
          return Brin::findFirstGrayCell(map, start, out, threshold, tolerance);
        },
        [&](Pose2Di& out) {
          return korrin_model::findFirstGrayCell(map, start, out, threshold, tolerance);
        }))
        << "gray, case " << i;
    const BelowAfter own = {threshold, random.between(0, 6)};
    ASSERT_TRUE(bothAgree(
        map, start, ownTally,
        [&](Pose2Di& out) { return Brin::findFirstCellWithCond(map, start, out, own); },
        [&](Pose2Di& out) { return korrin_model::findFirstCellWithCond(map, start, out, own); }))
        << "own, case " << i;
  }
  for (const Tally& tally : {freeTally, grayTally, ownTally}) {
    EXPECT_GT(tally.found - tally.start, 500);
    EXPECT_GT(tally.nothing, 1000);
    EXPECT_GT(tally.outside, 50);
  }
}

TEST(CellSearchLaw, theFirstFreeCellOnALineAgreesWithTheModel) {
  RandomInputs random(62);
  Tally tally;
  for (int i = 0; i < 30000; ++i) {
    const OccupancyMap map = searchMap(random, 9);
    const int margin = random.pick<int>({1, 3, 100});
    const Pose2Di from = random.cellNear(map, margin);
    const Pose2Di to = random.chance(0.1) ? from : random.cellNear(map, margin);
    const float threshold = thresholdFor(random);
    ASSERT_TRUE(bothAgree(
        map, from, tally,
        [&](Pose2Di& out) { return Brin::findFirstFreeCellInLine(map, from, to, out, threshold); },
        [&](Pose2Di& out) {
          return korrin_model::findFirstFreeCellInLine(map, from, to, out, threshold);
        }))
        << "case " << i;
  }
  EXPECT_GT(tally.found - tally.start, 3000);
  EXPECT_GT(tally.nothing, 5000);
  EXPECT_GT(tally.outside, 500);
}

// Strangers' copies of the library's conditions: the search asks them about every single cell.
struct OtherFree {
  float threshold;
  bool operator()(float value) { return value > threshold; }
};
struct OtherGray {
  Brin::GrayCellCondition gray;
  bool operator()(float value) { return gray(value); }
};

OccupancyMap wildMap(RandomInputs& random) {
  OccupancyMap map = searchMap(random, 8);
  if (random.chance(0.5)) map.params.resolution = random.wildFloat();
  if (random.chance(0.5)) map.params.origin = random.wildPose();
  return map;
}

int wildCoordinate(RandomInputs& random) {
  return random.pick<int>({std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                           -(1 << 28), 1 << 28, 1000000, -1000000, 5, 0, 2});
}

TEST(CellSearchLaw, runsOutsideTheMapCountOnceWithTheSameAnswerHoweverWildThePlace) {
  RandomInputs random(63);
  int found = 0;
  for (int i = 0; i < 24; ++i) {
    const OccupancyMap map = wildMap(random);
    const Pose2Di start = {wildCoordinate(random), wildCoordinate(random), 1.0f};
    const float threshold = thresholdFor(random);
    Answer fast;
    Answer slow;
    fast.found = Brin::findFirstFreeCell(map, start, fast.out, threshold);
    slow.found = Brin::findFirstCellWithCond(map, start, slow.out, OtherFree{threshold});
    ASSERT_TRUE(same(fast, slow)) << "free, case " << i;
    found += fast.found ? 1 : 0;
    fast = slow = Answer{};
    fast.found = Brin::findFirstGrayCell(map, start, fast.out, threshold, 2.0f);
    slow.found =
        Brin::findFirstCellWithCond(map, start, slow.out, OtherGray{{threshold, 2.0f, false}});
    ASSERT_TRUE(same(fast, slow)) << "gray, case " << i;
    found += fast.found ? 1 : 0;
  }
  EXPECT_GT(found, 5);
}

TEST(CellSearchLaw, theWildestPlacesCostNoMoreThanTheMap) {
  RandomInputs random(64);
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 20000; ++i) {
    const OccupancyMap map = wildMap(random);
    const Pose2Di start = {wildCoordinate(random), wildCoordinate(random), 1.0f};
    Pose2Di out;
    Brin::findFirstFreeCell(map, start, out, thresholdFor(random));
    Brin::findFirstGrayCell(map, start, out, thresholdFor(random), random.wildFloat());
  }
  // One walk to the far end of the plane alone would take longer.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
}

RC_GTEST_PROP(CellSearchLaw, theFreeSearchAgreesWithTheModelOnSmallMaps, ()) {
  const int width = *rc::gen::inRange(0, 6);
  const int height = *rc::gen::inRange(0, 6);
  OccupancyMap map(width, height, 1.0f, false);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) map.setCell(x, y, *rc::gen::element(0.0f, 0.5f, 1.0f));
  }
  const Pose2Di start = {*rc::gen::inRange(-2, 8), *rc::gen::inRange(-2, 8), 1.0f};
  const float threshold = *rc::gen::element(0.0f, 0.4f, 0.5f, 0.7f, -1.5f);
  Answer given;
  given.found = Brin::findFirstFreeCell(map, start, given.out, threshold);
  Answer expected;
  expected.found = korrin_model::findFirstFreeCell(map, start, expected.out, threshold);
  RC_ASSERT(same(given, expected));
}

}  // namespace
