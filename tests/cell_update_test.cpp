// The clamped sum in plain float is, bit for bit, the one in long double.
#include "src/cell_update.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "models/occupancy_mapper_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::clampedSum;
using Limits = std::numeric_limits<float>;

constexpr float kNan = Limits::quiet_NaN();
constexpr float kInf = Limits::infinity();

void expectSameAsWide(float value, float increment) {
  ASSERT_TRUE(korrin_test::sameBits(clampedSum(value, increment),
                                    korrin_model::clampedSum<long double>(value, increment)))
      << value << " + " << increment;
}

TEST(ClampedSum, addsBetweenTheClamps) { EXPECT_EQ(clampedSum(0.5f, 0.25f), 0.75f); }

TEST(ClampedSum, stopsAtOneAndAtZero) {
  EXPECT_EQ(clampedSum(0.75f, 0.5f), 1.0f);
  EXPECT_EQ(clampedSum(0.25f, -0.5f), 0.0f);
}

TEST(ClampedSum, aSumThatIsNotANumberBecomesZero) {
  EXPECT_EQ(clampedSum(kNan, 0.5f), 0.0f);
  EXPECT_EQ(clampedSum(0.5f, kNan), 0.0f);
  EXPECT_EQ(clampedSum(kInf, -kInf), 0.0f);
}

TEST(ClampedSum, zeroIsNeverNegative) {
  EXPECT_FALSE(std::signbit(clampedSum(-0.0f, -0.0f)));
  EXPECT_FALSE(std::signbit(clampedSum(-1.0f, 0.5f)));
  EXPECT_FALSE(std::signbit(clampedSum(0.0f, kNan)));
}

TEST(ClampedSum, agreesWithLongDoubleOnNastyPairs) {
  const float eps = Limits::epsilon();
  std::vector<float> values = {0.0f,
                               1.0f,
                               0.5f,
                               0.1f,
                               1.0f / 3.0f,
                               std::nextafter(1.0f, 0.0f),
                               std::nextafter(1.0f, 2.0f),
                               eps,
                               eps / 2,
                               eps / 4,
                               std::nextafter(eps / 4, 1.0f),
                               std::nextafter(eps / 4, 0.0f),
                               eps / 8,
                               std::ldexp(1.0f, -30),
                               std::ldexp(1.0f, -64),
                               std::ldexp(1.0f, -65),
                               Limits::denorm_min(),
                               3 * Limits::denorm_min(),
                               Limits::min(),
                               std::nextafter(Limits::min(), 0.0f),
                               1e30f,
                               Limits::max(),
                               kInf,
                               kNan};
  const std::size_t positives = values.size();
  for (std::size_t i = 0; i < positives; ++i) values.push_back(-values[i]);
  for (float value : values) {
    for (float increment : values) expectSameAsWide(value, increment);
  }
}

TEST(ClampedSum, agreesWithLongDoubleOnRandomPairs) {
  korrin_test::RandomInputs random(3);
  int inside = 0;
  for (int i = 0; i < 300000; ++i) {
    const float value = random.chance(0.5) ? random.between(0.0f, 1.0f) : random.wildFloat();
    const float increment = random.chance(0.5) ? random.between(-1.0f, 1.0f) : random.wildFloat();
    expectSameAsWide(value, increment);
    const float sum = clampedSum(value, increment);
    inside += sum > 0.0f && sum < 1.0f ? 1 : 0;
  }
  EXPECT_GT(inside, 50000);
}

// Any two bit patterns: all magnitudes, subnormal ones included, equally often.
TEST(ClampedSum, agreesWithLongDoubleOnRandomBits) {
  korrin_test::RandomInputs random(4);
  const auto anyFloat = [&] {
    const std::uint32_t bits = random.bits();
    float value = 0.0f;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  };
  for (int i = 0; i < 300000; ++i) expectSameAsWide(anyFloat(), anyFloat());
}

// Sums near 1 and near halfway between two floats, where rounding twice could differ from once.
TEST(ClampedSum, agreesWithLongDoubleWhereRoundingIsClose) {
  korrin_test::RandomInputs random(5);
  for (int i = 0; i < 300000; ++i) {
    const float value = std::ldexp(1.0f + random.between(0.0f, 1.0f), random.between(-4, -1));
    const float halfStep = std::ldexp(value, -24);
    float increment = static_cast<float>(random.between(-3, 3)) * halfStep;
    if (random.chance(0.5)) increment += 1.0f - value;
    for (int steps = random.between(-2, 2); steps != 0; steps += steps < 0 ? 1 : -1) {
      increment = std::nextafter(increment, steps < 0 ? -kInf : kInf);
    }
    expectSameAsWide(value, increment);
  }
}

}  // namespace
