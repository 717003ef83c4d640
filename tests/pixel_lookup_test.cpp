// Four points at a time give what one after the other gives, to the last bit.
#include "src/pixel_lookup.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::DistanceSquare;
using Brin::lookUp;
using Brin::lookUpPlain;
using Brin::PixelBlock;
using Brin::PixelRange;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

constexpr float kInf = std::numeric_limits<float>::infinity();

struct Square {
  std::vector<float> distances;
  int side = 0;

  Square(RandomInputs& random, int side_)
      : distances(static_cast<std::size_t>(side_ * side_)), side(side_) {
    for (float& distance : distances) {
      distance = random.chance(0.05) ? random.wildFloat()
                                     : random.pick<float>({0.0f, 0.5f, 1.0f, 2.0f, 3.0f});
    }
  }
  DistanceSquare square() const { return {distances.data(), side, side / 2}; }
};

float someOffset(RandomInputs& random, int side) {
  if (random.chance(0.03)) return random.wildFloat();
  if (random.chance(0.02)) return random.between(-70000.0f, 70000.0f);
  const auto reach = static_cast<float>(side / 2 + 1);
  const float offset = random.between(-reach, reach);
  return random.chance(0.2) ? std::round(offset) : offset;
}

void fill(RandomInputs& random, PixelBlock& block, int side) {
  for (int i = 0; i < PixelBlock::kSize; ++i) {
    block.x[i] = someOffset(random, side);
    block.y[i] = someOffset(random, side);
  }
}

TEST(PixelLookup, isThePlainOne) {
  RandomInputs random(61);
  int matches = 0;
  int partly = 0;
  for (int i = 0; i < 60000; ++i) {
    const Square map(random, random.between(1, 20));
    const float cutOff =
        random.chance(0.1) ? random.wildFloat() : random.pick<float>({0.5f, 1.0f, 2.5f});
    const PixelRange range = random.chance(0.5) ? PixelRange::upToCutOff(map.square(), cutOff)
                                                : PixelRange::belowCutOff(map.square(), cutOff);
    PixelBlock fast;
    fill(random, fast, map.side);
    PixelBlock plain = fast;
    const int count = random.between(1, PixelBlock::kSize);
    const int found = lookUp(range, fast, count);
    ASSERT_EQ(found, lookUpPlain(range, plain, count));
    for (int k = 0; k < count; ++k) ASSERT_TRUE(sameBits(fast.addend[k], plain.addend[k])) << k;
    matches += found;
    partly += found > 0 && found < count ? 1 : 0;
  }
  EXPECT_GT(matches, 200000);
  EXPECT_GT(partly, 30000);
}

int matchesAt(const PixelRange& range, float x, float y) {
  PixelBlock plain;
  plain.x[0] = x;
  plain.y[0] = y;
  PixelBlock fast = plain;
  const int found = lookUpPlain(range, plain, 1);
  EXPECT_EQ(lookUp(range, fast, 1), found);
  return found;
}

TEST(PixelLookup, aMapWithoutPixelsHasNoMatches) {
  const PixelRange range = PixelRange::upToCutOff({nullptr, 0, 0}, 1.0f);
  EXPECT_EQ(matchesAt(range, 0.0f, 0.0f), 0);
  EXPECT_EQ(matchesAt(range, -0.5f, -0.5f), 0);
}

TEST(PixelLookup, onePixelIsItsOwnCentreButHasNothingAfterIt) {
  const float zero = 0.0f;
  const DistanceSquare square{&zero, 1, 0};
  for (const float x : {-0.9f, 0.0f, 0.9f}) {
    EXPECT_EQ(matchesAt(PixelRange::upToCutOff(square, 1.0f), x, x), 1);
    EXPECT_EQ(matchesAt(PixelRange::belowCutOff(square, 1.0f), x, x), 0);
  }
  EXPECT_EQ(matchesAt(PixelRange::upToCutOff(square, 1.0f), -1.0f, 0.0f), 0);
  EXPECT_EQ(matchesAt(PixelRange::upToCutOff(square, 1.0f), 0.0f, 1.0f), 0);
}

TEST(PixelLookup, belowTheCutOffIsStrictForEveryCutOff) {
  const auto matches = [](float distance, float cutOff) {
    const std::vector<float> distances(4, distance);
    return matchesAt(PixelRange::belowCutOff({distances.data(), 2, 1}, cutOff), 0.0f, 0.0f);
  };
  RandomInputs random(62);
  int below = 0;
  for (int i = 0; i < 20000; ++i) {
    const float distance = random.wildFloat();
    const float cutOff = random.chance(0.3)   ? distance
                         : random.chance(0.3) ? std::nextafter(distance, kInf)
                                              : random.wildFloat();
    ASSERT_EQ(matches(distance, cutOff), distance < cutOff ? 1 : 0) << distance << " " << cutOff;
    below += distance < cutOff ? 1 : 0;
  }
  EXPECT_GT(below, 5000);
  EXPECT_EQ(matches(-kInf, -kInf), 0);
  EXPECT_EQ(matches(-kInf, kInf), 1);
}

TEST(PixelLookup, largeMapsAreReadInAllTheirCorners) {
  const int side = 5001;
  const auto pixels = std::size_t{5001} * 5001;
  const std::unique_ptr<float, decltype(&std::free)> memory(
      static_cast<float*>(std::calloc(pixels, sizeof(float))), std::free);
  ASSERT_NE(memory, nullptr);
  // Each corner another distance, 0 everywhere else.
  float* corners[] = {memory.get(), memory.get() + side - 1, memory.get() + pixels - side,
                      memory.get() + pixels - 1};
  for (int i = 0; i < 4; ++i) *corners[i] = 1.0f + static_cast<float>(i);
  const PixelRange range = PixelRange::upToCutOff({memory.get(), side, side / 2}, 9.0f);
  PixelBlock block;
  const float reach = 2500.0f;
  for (int i = 0; i < 4; ++i) {
    block.x[i] = i % 2 == 0 ? -reach : reach;
    block.y[i] = i / 2 == 0 ? -reach : reach;
  }
  EXPECT_EQ(lookUp(range, block, 4), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(block.addend[i], 8.0f - static_cast<float>(i));
  EXPECT_EQ(matchesAt(range, reach + 1.0f, reach), 0);
  EXPECT_EQ(matchesAt(range, reach, -reach - 1.0f), 0);
}

}  // namespace
