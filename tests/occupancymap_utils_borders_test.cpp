// Candidates that are equally near, found in different rounds of the search; values exactly at a
// threshold or a tolerance; obstacles exactly at the range.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

#include "korrin/occupancymap_utils.hpp"
#include "korrin/range_simulation.hpp"
#include "models/occupancymap_utils_direction_model.hpp"
#include "models/occupancymap_utils_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::besideBorder;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

constexpr Pose2Di kUntouched = {-77, -78, 7.5f};
// Up to these many steps the library goes along a ray before it goes on along the others.
const std::vector<int> kReaches = {16, 128};

// A cell where a ray from the start comes by.
struct Stop {
  int ray;
  int steps;
  Pose2Di cell;
};

// The cells inside the map that rays come by, by their distance from the start.
using StopsByDistance = std::map<float, std::vector<Stop>>;

StopsByDistance stopsOf(const OccupancyMap& map, const Pose2Di& start) {
  StopsByDistance stops;
  for (int ray = 0; ray < 50; ++ray) {
    int steps = 0;
    for (const Pose2Di& cell :
         korrin_model::lineCells(start, korrin_model::rayEnd(map, start, ray))) {
      if (!map.isInside(cell.x, cell.y)) break;
      const float distance = Brin::computeNorm(cell.x - start.x, cell.y - start.y);
      if (steps > 0) stops[distance].push_back({ray, steps, cell});
      ++steps;
    }
  }
  return stops;
}

// Two stops, equally far, on different rays and found in different rounds.
struct Tie {
  Stop sooner;  // fewer steps away
  Stop later;
};

std::vector<Tie> tiesOf(const StopsByDistance& stops, int reach) {
  std::vector<Tie> ties;
  for (const auto& [distance, equallyFar] : stops) {
    for (const Stop& a : equallyFar) {
      for (const Stop& b : equallyFar) {
        if (a.steps <= reach && b.steps > reach && a.ray != b.ray) ties.push_back({a, b});
      }
    }
  }
  return ties;
}

struct Found {
  bool isFound = false;
  Pose2Di cell = kUntouched;
};

::testing::AssertionResult same(const Found& a, const Found& b) {
  if (a.isFound == b.isFound && sameBits(a.cell, b.cell)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.cell.x << ", " << a.cell.y << ") and not ("
                                       << b.cell.x << ", " << b.cell.y << ")";
}

struct Tally {
  int lowerRayLater = 0;   // the ray that wins is the one that gets there later
  int lowerRaySooner = 0;  // the other way round

  void count(const Tie& tie) {
    ++(tie.later.ray < tie.sooner.ray ? lowerRayLater : lowerRaySooner);
  }
};

// Compares the three searches for the only cells of value 0.5 among others of `rest`.
void expectModelsAnswers(const OccupancyMap& map, const Pose2Di& start) {
  Found found;
  Found expected;
  found.isFound = Brin::findFirstFreeCell(map, start, found.cell, 0.4f);
  expected.isFound = korrin_model::findFirstFreeCell(map, start, expected.cell, 0.4f);
  EXPECT_TRUE(same(found, expected)) << "free";
  found = expected = {};
  found.isFound = Brin::findFirstGrayCell(map, start, found.cell, -1.0f, 0.1f);
  expected.isFound = korrin_model::findFirstGrayCell(map, start, expected.cell, -1.0f, 0.1f);
  EXPECT_TRUE(same(found, expected)) << "gray";
  found = expected = {};
  const auto own = [](float value) { return value == 0.5f; };
  found.isFound = Brin::findFirstCellWithCond(map, start, found.cell, own);
  expected.isFound = korrin_model::findFirstCellWithCond(map, start, expected.cell, own);
  EXPECT_TRUE(same(found, expected)) << "own";
}

TEST(CellSearchBorders, tiesBetweenCandidatesOfDifferentRounds) {
  RandomInputs random(81);
  Tally tally;
  for (int i = 0; i < 40; ++i) {
    const int reach = kReaches[static_cast<std::size_t>(i) % kReaches.size()];
    OccupancyMap map(random.between(reach, 3 * reach), random.between(reach, 3 * reach), 1.0f,
                     false);
    map.reset(0.0f);
    const Pose2Di start = random.cellNear(map, 0);
    const std::vector<Tie> ties = tiesOf(stopsOf(map, start), reach);
    for (int k = 0; k < 20 && !ties.empty() && !HasFailure(); ++k) {
      const Tie& tie = random.pick(ties);
      for (const Stop* stop : {&tie.sooner, &tie.later})
        map.setCell(stop->cell.x, stop->cell.y, 0.5f);
      expectModelsAnswers(map, start);
      tally.count(tie);
      for (const Stop* stop : {&tie.sooner, &tie.later})
        map.setCell(stop->cell.x, stop->cell.y, 0.0f);
    }
  }
  EXPECT_GT(tally.lowerRayLater, 100);
  EXPECT_GT(tally.lowerRaySooner, 100);
}

// The last step of a round, the first one after it, and a nearer candidate just beyond.
TEST(CellSearchBorders, candidatesAroundTheEndOfARound) {
  RandomInputs random(82);
  int nearerButLater = 0;
  for (int i = 0; i < 1500; ++i) {
    OccupancyMap map(60, 50, 1.0f, false);
    map.reset(0.0f);
    const Pose2Di start(random.between(20, 39), random.between(20, 29), 0.0f);
    std::vector<Stop> chosen;
    for (const auto& [distance, stops] : stopsOf(map, start)) {
      for (const Stop& stop : stops) {
        if (stop.steps >= 15 && stop.steps <= 18 && random.chance(0.02)) chosen.push_back(stop);
      }
    }
    for (const Stop& stop : chosen) map.setCell(stop.cell.x, stop.cell.y, 0.5f);
    expectModelsAnswers(map, start);
    ASSERT_FALSE(HasFailure()) << "case " << i;
    // In rising distance: is the nearest one beyond the round in which another was found?
    const bool anySooner = std::any_of(chosen.begin(), chosen.end(),
                                       [](const Stop& stop) { return stop.steps <= 16; });
    nearerButLater += anySooner && chosen.front().steps > 16 ? 1 : 0;
  }
  EXPECT_GT(nearerButLater, 100);
}

// A threshold, or the unknown's distance, that is a cell's own value or the next float.
TEST(CellSearchBorders, valuesAtThresholdsAndTolerances) {
  RandomInputs random(83);
  int atThreshold = 0;
  int found = 0;
  for (int i = 0; i < 6000; ++i) {
    const float value = random.between(0.0f, 1.0f);
    const float threshold = besideBorder(random, value);
    const float tolerance = besideBorder(random, std::abs(value - 0.5f));
    OccupancyMap map(random.between(1, 6), random.between(1, 6), 1.0f, false);
    for (int y = 0; y < map.params.height; ++y) {
      for (int x = 0; x < map.params.width; ++x) map.setCell(x, y, besideBorder(random, value));
    }
    const Pose2Di start = random.cellNear(map, 1);
    Found free;
    Found expected;
    free.isFound = Brin::findFirstFreeCell(map, start, free.cell, threshold);
    expected.isFound = korrin_model::findFirstFreeCell(map, start, expected.cell, threshold);
    ASSERT_TRUE(same(free, expected)) << "free, case " << i;
    found += free.isFound ? 1 : 0;
    Found gray;
    expected = {};
    gray.isFound = Brin::findFirstGrayCell(map, start, gray.cell, threshold, tolerance);
    expected.isFound =
        korrin_model::findFirstGrayCell(map, start, expected.cell, threshold, tolerance);
    ASSERT_TRUE(same(gray, expected)) << "gray, case " << i;
    found += gray.isFound ? 1 : 0;
    const Pose2Di to = random.cellNear(map, 1);
    Found inLine;
    expected = {};
    inLine.isFound = Brin::findFirstFreeCellInLine(map, start, to, inLine.cell, threshold);
    expected.isFound =
        korrin_model::findFirstFreeCellInLine(map, start, to, expected.cell, threshold);
    ASSERT_TRUE(same(inLine, expected)) << "in line, case " << i;
    atThreshold += map.getCell(start.x, start.y) == threshold ? 1 : 0;
  }
  EXPECT_GT(atThreshold, 500);
  EXPECT_GT(found, 2000);
}

// The range is an obstacle's own distance, or the next float; the threshold the start's own value.
TEST(CellSearchBorders, obstaclesExactlyAtTheRange) {
  RandomInputs random(84);
  const korrin_test::LogCapture log;
  int atRange = 0;
  int known = 0;
  for (int i = 0; i < 1500; ++i) {
    OccupancyMap map(random.between(6, 16), random.between(6, 16), 0.25f, false);
    for (int y = 0; y < map.params.height; ++y) {
      for (int x = 0; x < map.params.width; ++x) {
        map.setCell(x, y, random.chance(0.15) ? 0.0f : 0.5f);
      }
    }
    const Pose2Di start = random.cellNear(map, 0);
    const float threshold = besideBorder(random, 0.5f);
    Brin::ScanModel scanner(100, 10.0f, 2.0f * Brin::kPi);
    scanner.minRange = 0.001f;
    std::vector<Brin::RangeReading> readings;
    const auto castAll = [&] {
      Brin::occMapSimulateScan(map, scanner, map.getPoseFromPixel({start.x, start.y, 0.0f}),
                               readings, threshold);
    };
    castAll();
    const float nearest = random.pick(readings).range;
    const float range = besideBorder(random, nearest);
    scanner.maxRange = 5.0f * range;
    castAll();
    atRange += std::any_of(readings.begin(), readings.end(), [&](const auto& reading) {
      return reading.status == 0 && reading.range == range;
    });
    float direction = -9.0f;
    float expected = -9.0f;
    std::vector<korrin_model::DirectionRecord> records;
    const bool isFound = Brin::findObstaclesMainDirection(map, start, range, direction, threshold);
    ASSERT_EQ(isFound, korrin_model::findObstaclesMainDirection(map, start, range, expected,
                                                                threshold, records));
    ASSERT_TRUE(sameBits(direction, expected)) << "case " << i;
    known += isFound ? 1 : 0;
  }
  EXPECT_GT(atRange, 200);
  EXPECT_GT(known, 500);
}

}  // namespace
