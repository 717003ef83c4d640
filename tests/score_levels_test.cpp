// Bounds of float sums by levels hold for sums that rounding makes as large as it can.
#include "src/score_levels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "support/border_inputs.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ScoreLevels;
using korrin_test::RandomInputs;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

float sumOf(const std::vector<float>& addends) {
  float sum = 0.0f;
  for (const float addend : addends) sum += addend;
  return sum;
}

std::int64_t levelsOf(const ScoreLevels& levels, const std::vector<float>& addends) {
  std::int64_t sum = 0;
  for (const float addend : addends) sum += levels.of(addend);
  return sum;
}

TEST(ScoreLevels, areRoundedUpAndZeroForNothingAlone) {
  const ScoreLevels levels(10.0f);
  EXPECT_EQ(levels.of(0.0f), 0);
  EXPECT_EQ(levels.of(-0.0f), 0);
  EXPECT_EQ(levels.of(1e-30f), 1);
  EXPECT_EQ(levels.of(5.0f), 128);
  EXPECT_EQ(levels.of(10.0f), 255);
  EXPECT_EQ(levels.of(korrin_test::floatBelow(10.0f)), 255);
  EXPECT_EQ(ScoreLevels(kInfinity).of(1e-30f), 255);
  EXPECT_EQ(ScoreLevels(kInfinity).of(kInfinity), 255);
  EXPECT_EQ(ScoreLevels(kInfinity).of(0.0f), 0);
  EXPECT_EQ(ScoreLevels(1e-45f).of(1e-45f), 255);
}

TEST(ScoreLevels, ofNothingAddUpToNothing) {
  EXPECT_EQ(ScoreLevels(10.0f).sumUpTo(0, 1000), 0.0f);
  EXPECT_EQ(ScoreLevels(kInfinity).sumUpTo(0, 1000), 0.0f);
  EXPECT_EQ(ScoreLevels(kInfinity).sumUpTo(1, 1), kInfinity);
  EXPECT_EQ(ScoreLevels(3e38f).sumUpTo(255 * 4, 4), kInfinity);
}

TEST(ScoreLevels, boundSumsClosely) {
  const ScoreLevels levels(10.0f);
  EXPECT_GE(levels.sumUpTo(255 * 100, 100), 1000.0f);
  EXPECT_LE(levels.sumUpTo(255 * 100, 100), 1000.02f);
}

// Each addend ends a hair above the middle between two floats of the sum, so that every addition
// rounds up, and lies exactly on a level, so that nothing else makes up for it.
TEST(ScoreLevels, boundSumsThatAlwaysRoundUp) {
  int aboveTrueSum = 0;
  for (const int shift : {6, 9, 12, 15}) {
    std::vector<float> addends{std::ldexp(1.0f, shift)};
    const float half = std::ldexp(1.0f, shift - 24);
    addends.insert(addends.end(), 3000, korrin_test::floatAbove(half));
    double trueSum = 0.0;
    for (const float addend : addends) trueSum += static_cast<double>(addend);
    const ScoreLevels levels(addends[0]);
    const float sum = sumOf(addends);
    EXPECT_LE(sum, levels.sumUpTo(levelsOf(levels, addends), addends.size()));
    // The same if the levels were as small as can be.
    const auto fewest = static_cast<std::int64_t>(std::ceil(trueSum / addends[0] * 255.0));
    EXPECT_LE(sum, levels.sumUpTo(fewest, addends.size()));
    aboveTrueSum += static_cast<double>(sum) > trueSum * (1.0 + 1e-4) ? 1 : 0;
  }
  EXPECT_EQ(aboveTrueSum, 4);
}

// Of one level each: the true sum is the number of levels, to the last bit.
TEST(ScoreLevels, boundSumsOfWholeLevels) {
  RandomInputs random(3);
  int roundedUp = 0;
  for (int n = 0; n < 3000; ++n) {
    const float unit = std::ldexp(random.between(0.5f, 1.0f), random.between(-140, 110));
    const float most = 255.0f * unit;
    const ScoreLevels levels(most);
    std::vector<float> addends(static_cast<std::size_t>(random.between(1, 400)));
    for (float& addend : addends) {
      addend = std::min(most, unit * static_cast<float>(random.between(0, 255)));
    }
    double trueSum = 0.0;
    for (const float addend : addends) trueSum += static_cast<double>(addend);
    const float sum = sumOf(addends);
    roundedUp += static_cast<double>(sum) > trueSum ? 1 : 0;
    ASSERT_LE(sum, levels.sumUpTo(levelsOf(levels, addends), addends.size())) << n;
    ASSERT_GE(static_cast<double>(levelsOf(levels, addends)) * static_cast<double>(most) / 255.0,
              trueSum * (1.0 - 1e-12));
  }
  EXPECT_GT(roundedUp, 800);
}

TEST(ScoreLevels, boundAnySums) {
  RandomInputs random(4);
  int nearby = 0;
  for (int n = 0; n < 3000; ++n) {
    const float most = std::fabs(random.wildFloat());
    if (!(most > 0.0f)) continue;
    const ScoreLevels levels(most);
    std::vector<float> addends(static_cast<std::size_t>(random.between(1, 300)));
    for (float& addend : addends)
      addend = random.chance(0.3) ? most : random.between(0.0f, 1.0f) * most;
    for (float& addend : addends) addend = std::isnan(addend) ? most : addend;
    const float sum = sumOf(addends);
    const float bound = levels.sumUpTo(levelsOf(levels, addends), addends.size());
    ASSERT_LE(sum, bound) << n;
    nearby += bound <= sum * 1.02f ? 1 : 0;
  }
  EXPECT_GT(nearby, 1500);
}

}  // namespace
