// Poses exactly at the tolerance, or one float beside it, at every accuracy and at every place of a
// path: a pose at the tolerance goes, one beyond stays.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "korrin/core/path_simplifier.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "models/core/path_simplifier_model.hpp"
#include "models/safepathsimplifier_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::PathSimplifier;
using Brin::Pose2D;
using korrin_test::besideBorder;
using korrin_test::floatAbove;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using Path = std::vector<Pose2D>;

Path simplified(const Path& path, float accuracyInMillimetres) {
  PathSimplifier simplifier;
  simplifier.samplingAccuracy = accuracyInMillimetres;
  return simplifier.sample(path);
}

// Any accuracy whose tolerance has a square that is a float of full precision: from 10^-12 to 10^15
// millimetres.
float someAccuracy(RandomInputs& random) {
  if (random.chance(0.2)) return random.pick<float>({50.0f, 5.0f, 2.5f, 1.0f, 100.0f, 1000.0f});
  return std::ldexp(random.between(1.0f, 2.0f), random.between(-40, 50));
}

// A straight path along x of `size` poses, with one of them `aside` metres off. Its distance is
// that exactly, since with a length of 2^7 all else is computed without rounding.
Path bumpedPath(std::size_t size, std::size_t bump, float aside, RandomInputs& random) {
  Path path;
  for (std::size_t i = 0; i < size; ++i) path.emplace_back(static_cast<float>(i), 0.0f, 0.0f);
  path.back().x = 128.0f;
  path[bump].y = random.chance(0.5) ? aside : -aside;
  if (random.chance(0.3)) {
    for (Pose2D& pose : path) pose = Pose2D(pose.y, pose.x, 0.0f);
  }
  return path;
}

TEST(PathSimplifierBorders, aPoseAtTheToleranceGoesAndTheNextFloatStaysAtEveryAccuracy) {
  RandomInputs random(101);
  for (int i = 0; i < 40000; ++i) {
    const float accuracy = someAccuracy(random);
    const float tolerance = accuracy / 1000.0f;
    const auto size = static_cast<std::size_t>(random.between(3, 90));
    const auto bump = static_cast<std::size_t>(random.between(1, static_cast<int>(size) - 2));
    const Path at = bumpedPath(size, bump, tolerance, random);
    ASSERT_EQ(simplified(at, accuracy).size(), 2u) << accuracy << " mm, pose " << bump;
    const Path beyond = bumpedPath(size, bump, floatAbove(tolerance), random);
    ASSERT_GT(simplified(beyond, accuracy).size(), 2u) << accuracy << " mm, pose " << bump;
  }
}

// Several poses around the tolerance, equally far ones among them: which of them stay, in blocks of
// any length.
TEST(PathSimplifierBorders, theEarliestOfEquallyFarPosesSplitsAPathOfAnyLength) {
  RandomInputs random(102);
  int split = 0;
  for (int i = 0; i < 20000; ++i) {
    const float accuracy = someAccuracy(random);
    const float tolerance = accuracy / 1000.0f;
    Path path;
    for (int k = random.between(3, 80); k > 0; --k) {
      const float aside = random.chance(0.3) ? besideBorder(random, tolerance) : 0.0f;
      path.emplace_back(tolerance * static_cast<float>(path.size()),
                        random.chance(0.5) ? aside : -aside, static_cast<float>(k));
    }
    const Path expected = korrin_model::simplify(path, accuracy);
    ASSERT_TRUE(sameBits(simplified(path, accuracy), expected)) << "case " << i;
    split += expected.size() > 2 && expected.size() < path.size() ? 1 : 0;
  }
  EXPECT_GT(split, 10000);
}

// An end of the segment is the nearest place for some poses, exactly at the tolerance from it.
TEST(PathSimplifierBorders, posesAtTheToleranceFromAnEnd) {
  RandomInputs random(103);
  for (int i = 0; i < 20000; ++i) {
    const float accuracy = someAccuracy(random);
    const float tolerance = accuracy / 1000.0f;
    const bool isBeforeTheStart = random.chance(0.5);
    const float along = isBeforeTheStart ? -tolerance : tolerance;
    const Pose2D start(0.0f, 0.0f, 0.0f);
    // Ends where it starts, or there is nothing after the end's own place.
    const Pose2D end(isBeforeTheStart ? 4.0f * tolerance : 0.0f, 0.0f, 0.0f);
    ASSERT_EQ(simplified({start, {along, 0.0f, 0.0f}, end}, accuracy).size(), 2u) << accuracy;
    const float beyond = isBeforeTheStart ? -floatAbove(tolerance) : floatAbove(tolerance);
    ASSERT_EQ(simplified({start, {beyond, 0.0f, 0.0f}, end}, accuracy).size(), 3u) << accuracy;
  }
}

TEST(PathSimplifierBorders, theSmallestAccuracies) {
  const float least = std::numeric_limits<float>::denorm_min();
  const Path bump{{0, 0, 0}, {1, 1e-20f, 0}, {2, 0, 0}};
  EXPECT_EQ(simplified(bump, 0.0f).size(), 3u);
  EXPECT_EQ(simplified(bump, -0.0f).size(), 3u);
  EXPECT_EQ(simplified(bump, least).size(), 3u) << "a thousandth of it is 0";
  EXPECT_EQ(simplified({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, least).size(), 2u);
  EXPECT_EQ(simplified({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, -least).size(), 3u);
}

// The safe simplifier refines until an accuracy is below the least one: at the least one itself it
// still does, at any accuracy and divisor.
TEST(SafePathSimplifierBorders, refinesDownToTheLeastAccuracyItself) {
  RandomInputs random(104);
  korrin_test::LogCapture log;
  int atTheLimit = 0;
  for (int i = 0; i < 4000; ++i) {
    Brin::OccupancyMap map(9, 7, 1.0f, false);
    map.reset(0.9f);
    for (int k = random.between(1, 12); k > 0; --k) {
      map.setCell(random.between(0, 8), random.between(0, 6), besideBorder(random, 0.1f));
    }
    Path path;
    for (int k = random.between(3, 14); k > 0; --k) {
      path.emplace_back(random.between(0.0f, 8.0f), random.between(0.0f, 6.0f), 0.0f);
    }
    Brin::SafePathSimplifier simplifier;
    simplifier.initialSamplingAccuracy = random.between(500.0f, 9000.0f);
    simplifier.accuracyDivisor = random.pick<float>({2.0f, 3.0f, 1.5f});
    float least = simplifier.initialSamplingAccuracy;
    for (int k = random.between(0, 4); k > 0; --k) least = least / simplifier.accuracyDivisor;
    simplifier.minSamplingAccuracy = besideBorder(random, least);
    log.clear();
    const Path few = simplifier.sample(path, map);
    const std::size_t records = log.records().size();
    log.clear();
    korrin_model::SafeSampleState state;
    const Path expected = korrin_model::safeSample(
        path, map,
        {simplifier.minSamplingAccuracy, simplifier.accuracyDivisor, simplifier.obstacleThreshold},
        simplifier.initialSamplingAccuracy, 1, state);
    ASSERT_TRUE(sameBits(few, expected)) << "case " << i;
    ASSERT_EQ(records, log.records().size()) << "case " << i;
    for (const Brin::LogRecord& record : log.records()) atTheLimit += record.line == 76 ? 1 : 0;
  }
  EXPECT_GT(atTheLimit, 1000);
}

}  // namespace
