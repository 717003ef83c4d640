// The test by bits misses no cell, and together with the exact one says what the comparison says.
#include "src/below_threshold.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/random_inputs.hpp"

namespace {

using Brin::BelowThreshold;
using Limits = std::numeric_limits<float>;

bool isBelow(float threshold, float cell) {
  const BelowThreshold below(threshold);
  return below.mayBe(cell) && below.is(cell);
}

TEST(BelowThreshold, comparesProbabilities) {
  EXPECT_TRUE(isBelow(0.45f, 0.0f));
  EXPECT_TRUE(isBelow(0.45f, -0.0f));
  EXPECT_TRUE(isBelow(0.45f, std::nextafter(0.45f, 0.0f)));
  EXPECT_FALSE(isBelow(0.45f, 0.45f));
  EXPECT_FALSE(isBelow(0.45f, 1.0f));
}

TEST(BelowThreshold, agreesWithTheComparisonOnNastyPairs) {
  std::vector<float> values = {0.0f,
                               Limits::denorm_min(),
                               Limits::min(),
                               0.45f,
                               std::nextafter(0.45f, 0.0f),
                               std::nextafter(0.45f, 1.0f),
                               1.0f,
                               1e30f,
                               Limits::max(),
                               Limits::infinity(),
                               Limits::quiet_NaN()};
  const std::size_t positives = values.size();
  for (std::size_t i = 0; i < positives; ++i) values.push_back(std::copysign(values[i], -1.0f));
  for (float threshold : values) {
    for (float cell : values) {
      EXPECT_EQ(isBelow(threshold, cell), threshold > cell) << threshold << " > " << cell;
    }
  }
}

TEST(BelowThreshold, agreesWithTheComparisonOnRandomBits) {
  korrin_test::RandomInputs random(41);
  const auto anyFloat = [&] {
    const std::uint32_t bits = random.bits();
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  };
  int below = 0;
  for (int i = 0; i < 500000; ++i) {
    const float threshold = anyFloat();
    const float cell = anyFloat();
    ASSERT_EQ(isBelow(threshold, cell), threshold > cell) << threshold << " > " << cell;
    below += threshold > cell ? 1 : 0;
  }
  EXPECT_GT(below, 200000);
}

}  // namespace
