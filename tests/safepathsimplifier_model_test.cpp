// The simplifier agrees with the plain recursion: the same poses to the last bit, and the same
// records in the same order.
#include "models/safepathsimplifier_model.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "korrin/safepathsimplifier.hpp"
#include "support/allocation_limit.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::SafePathSimplifier;
using korrin_model::SafeSampleState;
using korrin_test::LogCapture;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

using Path = std::vector<Pose2D>;

using Records = std::vector<Brin::LogRecord>;

// Warnings stand on lines of their own.
::testing::AssertionResult sameRecords(const Records& actual, const Records& expected) {
  if (actual.size() != expected.size()) {
    return ::testing::AssertionFailure()
           << actual.size() << " records, expected " << expected.size();
  }
  for (std::size_t i = 0; i < actual.size(); ++i) {
    const bool sameLine =
        actual[i].line == expected[i].line || expected[i].level == Brin::NavLogLevel::Warning;
    if (actual[i].message != expected[i].message || actual[i].level != expected[i].level ||
        actual[i].file != expected[i].file || actual[i].function != expected[i].function ||
        !sameLine) {
      return ::testing::AssertionFailure()
             << "record " << i << ": " << actual[i].message << ", expected " << expected[i].message;
    }
  }
  return ::testing::AssertionSuccess();
}

// What happened in one comparison.
struct Comparison {
  SafeSampleState state;
  Records records;

  int countOfLine(int line) const {
    return static_cast<int>(
        std::count_if(records.begin(), records.end(),
                      [=](const Brin::LogRecord& record) { return record.line == line; }));
  }
};

::testing::AssertionResult agrees(SafePathSimplifier& simplifier, const Path& path,
                                  const OccupancyMap& map, Comparison& comparison) {
  LogCapture log;
  const Path actual = simplifier.sample(path, map);
  const Records actualRecords = log.records();
  log.clear();
  const Path expected = korrin_model::safeSample(
      path, map,
      {simplifier.minSamplingAccuracy, simplifier.accuracyDivisor, simplifier.obstacleThreshold},
      simplifier.initialSamplingAccuracy, 1, comparison.state);
  comparison.records = log.records();
  if (!sameBits(actual, expected)) {
    return ::testing::AssertionFailure()
           << actual.size() << " poses, expected " << expected.size() << " (or others)";
  }
  return sameRecords(actualRecords, comparison.records);
}

// From waypoint to waypoint in steps of half a cell, sideways off by up to `jitter` metres.
Path wanderingPath(RandomInputs& random, const OccupancyMap& map, int waypoints, float jitter) {
  Path path;
  Pose2D from = random.poseNear(map);
  for (int i = 0; i < waypoints; ++i) {
    const Pose2D to = random.poseNear(map);
    const float step = 0.5f * map.params.resolution;
    const int count =
        1 + static_cast<int>(Brin::computeNorm(Brin::Point2D(to.x - from.x, to.y - from.y)) / step);
    for (int k = 0; k < count; ++k) {
      const float t = static_cast<float>(k) / static_cast<float>(count);
      path.emplace_back(from.x + t * (to.x - from.x) + random.between(-jitter, jitter),
                        from.y + t * (to.y - from.y) + random.between(-jitter, jitter), to.theta);
    }
    from = to;
  }
  return path;
}

// Repeats a stretch of the path, so that places are visited twice, and spoils some poses.
void disturb(RandomInputs& random, Path& path) {
  if (path.size() > 4 && random.chance(0.3)) {
    const auto middle = static_cast<std::ptrdiff_t>(path.size() / 2);
    const Path half(path.begin(), path.begin() + middle);
    path.insert(path.end(), half.begin(), half.end());
    if (random.chance(0.5)) path.insert(path.end(), half.rbegin(), half.rend());
  }
  if (!path.empty() && random.chance(0.2)) {
    for (int k = 0; k < 3; ++k) {
      path[random.bits() % path.size()] = random.chance(0.5) ? random.wildPose() : path.front();
    }
  }
}

TEST(SafePathSimplifierModel, agreesOnWanderingPaths) {
  RandomInputs random(71);
  int shortened = 0;
  int refined = 0;
  int limits = 0;
  int repeats = 0;
  for (int i = 0; i < 3000; ++i) {
    MapBounds bounds;
    bounds.maxSide = 30;
    bounds.levels = {0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
    bounds.anyValueShare = 0.02;
    const OccupancyMap map = random.map(bounds);
    Path path = wanderingPath(random, map, random.between(0, 4), 0.3f * map.params.resolution);
    disturb(random, path);
    SafePathSimplifier simplifier;
    simplifier.initialSamplingAccuracy =
        random.pick<float>({300.0f, 300.0f, 5.0f, 4.9f, 40.0f, 2000.0f});
    simplifier.accuracyDivisor = random.pick<float>({2.0f, 2.0f, 2.0f, 3.0f, 20.0f, 1.0f, -1.0f});
    Comparison comparison;
    ASSERT_TRUE(agrees(simplifier, path, map, comparison)) << "case " << i;
    refined += comparison.countOfLine(129);
    limits += comparison.countOfLine(76);
    repeats += comparison.state.surplus > 0 ? 1 : 0;
    shortened += path.size() > 10 ? 1 : 0;
  }
  EXPECT_GT(shortened, 2000);
  EXPECT_GT(refined, 10000);
  EXPECT_GT(limits, 2000);
  EXPECT_GT(repeats, 50);
}

TEST(SafePathSimplifierModel, agreesOnWildSettings) {
  RandomInputs random(72);
  int warnings = 0;
  for (int i = 0; i < 2000; ++i) {
    MapBounds bounds;
    bounds.wildShare = 0.05;
    const OccupancyMap map = random.map(bounds);
    Path path = wanderingPath(random, map, random.between(0, 2), 0.0f);
    disturb(random, path);
    SafePathSimplifier simplifier;
    simplifier.initialSamplingAccuracy = random.wildFloat();
    simplifier.minSamplingAccuracy = random.wildFloat();
    simplifier.accuracyDivisor = random.wildFloat();
    simplifier.obstacleThreshold = random.chance(0.5) ? random.wildFloat() : 0.3f;
    Comparison comparison;
    ASSERT_TRUE(agrees(simplifier, path, map, comparison)) << "case " << i;
    warnings += comparison.countOfLine(0);
  }
  EXPECT_GT(warnings, 30);
}

// Around 1e-23 metres the squares of differences begin to vanish, and poses with them.
TEST(SafePathSimplifierModel, agreesOnPathsTooFineForDistances) {
  RandomInputs random(74);
  int refined = 0;
  int shifted = 0;
  for (int i = 0; i < 1000; ++i) {
    OccupancyMap map(random.between(1, 12), random.between(1, 12), 1.0f, false);
    for (int k = 0; k < 144; ++k) map.setCell(k / 12, k % 12, random.chance(0.8) ? 1.0f : 0.0f);
    map.params.resolution = random.pick<float>({1e-22f, 1e-23f, 1e-25f, 1e-38f, 1e-44f});
    Path path;
    for (int k = random.between(2, 20); k > 0; --k) {
      path.emplace_back(static_cast<float>(random.between(0, 11)) * map.params.resolution,
                        static_cast<float>(random.between(0, 11)) * map.params.resolution, 0.0f);
    }
    if (random.chance(0.3)) path[path.size() / 2].x = 1.0f;
    SafePathSimplifier simplifier;
    simplifier.minSamplingAccuracy = -20.0f;
    simplifier.initialSamplingAccuracy = -10.0f;  // every pose is kept
    Comparison comparison;
    ASSERT_TRUE(agrees(simplifier, path, map, comparison)) << "case " << i;
    refined += comparison.countOfLine(129);
    for (const auto& record : comparison.records) {
      shifted += record.message == "subPath size 1" ? 1 : 0;
    }
  }
  EXPECT_GT(refined, 1000);
  EXPECT_GT(shifted, 500);
}

// A home behind a wall, and new places beyond it. At the one level that there is, each way out is
// blocked and, by nearness, stands for all of the path up to there: as many surplus poses as come
// before it.
constexpr Pose2D kHome(0.0f, 0.0f, 0.0f);

Pose2D placeBeyond(std::size_t i) { return {3.0f + 0.01f * static_cast<float>(i), 1.0f, 0.0f}; }

// Out 1023 times, then on through `more` places and home, and out once more.
Path pathWithManyReturns(std::size_t more) {
  Path path;
  for (int i = 0; i < 1023; ++i) {
    path.push_back(kHome);
    path.push_back(placeBeyond(path.size()));
  }
  for (std::size_t i = 0; i < more; ++i) path.push_back(placeBeyond(path.size()));
  path.push_back(kHome);
  path.push_back(placeBeyond(path.size()));
  return path;
}

constexpr std::int64_t kMostSurplus = 1 << 20;

struct ManyReturns {
  explicit ManyReturns(std::size_t more) : path(pathWithManyReturns(more)) {
    const OccupancyMap map = korrin_test::drawMap({".#......", ".#......"});
    const LogCapture log;
    // Should either copy without end, it shall end soon.
    const korrin_test::AllocationLimit memory(std::size_t{64} << 20);
    SafePathSimplifier simplifier;
    simplifier.setInitialSamplingAccuracy(5.0f);
    actual = simplifier.sample(path, map);
    SafeSampleState state;
    expected = korrin_model::safeSample(path, map, {}, 5.0f, 1, state);
    surplus = state.surplus;
  }

  Path path;
  Path actual;
  Path expected;
  std::int64_t surplus;
};

TEST(SafePathSimplifierModel, agreesUntilAMillionSurplusPosesAreCopied) {
  const ManyReturns run(1024);
  EXPECT_EQ(run.surplus, kMostSurplus);
  EXPECT_TRUE(sameBits(run.actual, run.expected));
}

TEST(SafePathSimplifierModel, copiesOnWhereTheSimplifierTakesTheStretchAsItIs) {
  const ManyReturns run(1025);
  EXPECT_EQ(run.surplus, kMostSurplus + 1);
  // The last way out is itself, instead of all the path.
  ASSERT_GT(run.expected.size(), run.path.size());
  Path asItIs(run.expected.begin(), run.expected.end() - static_cast<int>(run.path.size()));
  asItIs.push_back(kHome);
  asItIs.push_back(run.path.back());
  EXPECT_TRUE(sameBits(run.actual, asItIs));
}

TEST(SafePathSimplifierModel, closestPoseAgrees) {
  RandomInputs random(73);
  int found = 0;
  for (int i = 0; i < 20000; ++i) {
    Path path(static_cast<std::size_t>(random.between(0, 9)));
    // Whole numbers, so that many distances are equal.
    const auto pose = [&] {
      if (random.chance(0.1)) return random.wildPose();
      return Pose2D(static_cast<float>(random.between(-3, 3)),
                    static_cast<float>(random.between(-3, 3)), random.wildFloat());
    };
    for (Pose2D& p : path) p = pose();
    const Pose2D p = pose();
    const float maxDist = random.pick<float>({100.0f, 2.0f, 1.0f, random.wildFloat()});
    const int expected = korrin_model::findClosest(path, p, maxDist);
    const auto actual = Brin::findClosestInVect(path, p, maxDist);
    ASSERT_EQ(actual == path.end() ? -1 : static_cast<int>(actual - path.begin()), expected);
    found += expected >= 0 ? 1 : 0;
  }
  EXPECT_GT(found, 7000);
  EXPECT_LT(found, 13000);
}

RC_GTEST_PROP(SafePathSimplifierModel, shortPathsOnCellCentresAgree, ()) {
  OccupancyMap map(5, 4, 0.1f, false);
  const auto obstacles = *rc::gen::container<std::vector<bool>>(20, rc::gen::arbitrary<bool>());
  for (int i = 0; i < 20; ++i) {
    map.setCell(i % 5, i / 5, obstacles[static_cast<std::size_t>(i)] ? 0.0f : 1.0f);
  }
  Path path;
  const auto cells = *rc::gen::container<std::vector<std::pair<int, int>>>(
      rc::gen::pair(rc::gen::inRange(-1, 6), rc::gen::inRange(-1, 5)));
  for (const auto& [x, y] : cells) {
    path.emplace_back(0.1f * static_cast<float>(x), 0.1f * static_cast<float>(y), 0.0f);
  }
  SafePathSimplifier simplifier;
  Comparison comparison;
  RC_ASSERT(static_cast<bool>(agrees(simplifier, path, map, comparison)));
}

}  // namespace
