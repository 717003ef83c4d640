// The fast way to a reading's pixel leads to the pixel that scanPixel gives, for every reading.
#include "src/beam_pixels.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "support/random_inputs.hpp"

namespace {

using Brin::BeamSource;
using Brin::Floats;
using Brin::PixelBlock;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::TurnedScan;
using korrin_test::RandomInputs;

TEST(SineCosine, isOffByLessThanTheBoundAllowsForUpToTheLargestAngle) {
  RandomInputs random(51);
  double worst = 0.0;
  for (int i = 0; i < 2000000; ++i) {
    const float reach = random.pick<float>({Brin::kLargestAngle, 7.0f, 0.01f});
    // Also close to whole quarters of a turn and the borders between them.
    const float angle = random.chance(0.2)
                            ? 0.785398163f * static_cast<float>(random.between(-20, 20)) +
                                  random.between(-1e-4f, 1e-4f)
                            : random.between(-reach, reach);
    const Brin::SineCosine found = Brin::sineCosine(Brin::allFloats(angle));
    const auto exact = static_cast<double>(angle);
    worst = std::max(worst, std::fabs(static_cast<double>(found.sine[i % 4]) - std::sin(exact)));
    worst = std::max(worst, std::fabs(static_cast<double>(found.cosine[i % 4]) - std::cos(exact)));
  }
  EXPECT_LT(worst, 0x1p-20);
  EXPECT_GT(worst, 0x1p-26) << "float arithmetic cannot be that good: the check is broken";
}

TEST(BorderDistance, isMeasuredFromWholeNumbers) {
  const Floats offsets{2.25f, -2.25f, 2.0f, 7.9f};
  const auto clear = [&](float bound) {
    const Brin::Ints lanes = Brin::isClearOfBorders(offsets, Brin::allFloats(bound));
    return std::vector<bool>{lanes[0] != 0, lanes[1] != 0, lanes[2] != 0, lanes[3] != 0};
  };
  EXPECT_EQ(clear(0.0f), (std::vector<bool>{true, true, false, true}));
  EXPECT_EQ(clear(0.125f), (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(clear(0.25f), (std::vector<bool>{false, false, false, false}));
}

TEST(BorderDistance, whatIsNoNumberOrVeryFarIsNeverClearOfThem) {
  const float inf = std::numeric_limits<float>::infinity();
  const Floats offsets{std::nanf(""), inf, -inf, 1e30f};
  const Brin::Ints clear = Brin::isClearOfBorders(offsets, Brin::allFloats(1e30f * 0x1p-19f));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(clear[i], 0) << i;
}

struct Placed {
  std::vector<RangeReading> readings;
  Pose2D pose;
  float inv = 1.0f;
  int step = 1;
};

// A scan at a pose; with `wild`, of any floats at all. A share of the readings is moved to end just
// at a border between pixels.
Placed somePlaced(RandomInputs& random, bool wild) {
  Placed placed;
  placed.inv = random.pick<float>({1.0f, 10.0f, 20.0f, 33.3333f, -4.0f});
  placed.pose = {random.between(-20.0f, 20.0f), random.between(-20.0f, 20.0f),
                 random.between(-7.0f, 7.0f)};
  placed.readings = random.readings(70, 40.0f, wild ? 0.1 : 0.0);
  placed.step = random.pick<int>({1, 1, 2, 5});
  for (RangeReading& reading : placed.readings) {
    if (!random.chance(0.3)) continue;
    const double a = reading.angle + placed.pose.theta;
    const double border = std::round(static_cast<double>(reading.range)) - 0.5;
    const double range = (border / static_cast<double>(placed.inv) - placed.pose.x) / std::cos(a);
    if (std::fabs(range) < 1e6) reading.range = static_cast<float>(range);
  }
  if (wild && random.chance(0.3)) placed.inv = random.wildFloat();
  if (wild && random.chance(0.3)) placed.pose = random.wildPose();
  return placed;
}

// What no picture can hold is all the same place.
std::int32_t limited(std::int32_t pixel) { return std::abs(pixel) < 1 << 22 ? pixel : 1 << 22; }

// Whether all that a source places are the pixels of the visited readings, in their order.
template <typename Source>
::testing::AssertionResult placesAll(const Placed& placed, Source source) {
  PixelBlock block;
  int count = source.fill(block);
  int next = 0;
  for (std::size_t i = 0; i < placed.readings.size(); i += static_cast<std::size_t>(placed.step)) {
    const RangeReading& reading = placed.readings[i];
    if (reading.status == 1) continue;
    if (next == count) count = source.fill(block), next = 0;
    if (count == 0) return ::testing::AssertionFailure() << "ends before reading " << i;
    const Brin::PixelOffset expected = Brin::scanPixel(reading, placed.pose, placed.inv);
    const std::int32_t col = Brin::truncToPixel(block.x[next]);
    const std::int32_t row = Brin::truncToPixel(block.y[next]);
    if (limited(col) != limited(expected.col) || limited(row) != limited(expected.row)) {
      return ::testing::AssertionFailure() << "reading " << i << " is at " << col << ", " << row
                                           << " and not " << expected.col << ", " << expected.row;
    }
    ++next;
  }
  if (next != count || source.fill(block) != 0) return ::testing::AssertionFailure() << "goes on";
  return ::testing::AssertionSuccess();
}

TEST(BeamSource, placesEveryVisitedReadingInItsPixel) {
  RandomInputs random(52);
  std::size_t readings = 0;
  for (int i = 0; i < 30000; ++i) {
    const Placed placed = somePlaced(random, i % 4 == 0);
    ASSERT_TRUE(
        placesAll(placed, BeamSource(placed.readings, placed.pose, placed.inv, placed.step)));
    readings += placed.readings.size();
  }
  EXPECT_GT(readings, 900000U);
}

TEST(TurnedScan, placesEveryVisitedReadingInItsPixel) {
  RandomInputs random(53);
  int scans = 0;
  for (int i = 0; i < 30000; ++i) {
    Placed placed = somePlaced(random, i % 4 == 0);
    if (!(std::fabs(placed.pose.theta) <= TurnedScan::kLargestTurn)) continue;
    const TurnedScan turned(placed.readings, placed.step);
    for (int k = 0; k < 3; ++k, ++scans) {
      ASSERT_TRUE(placesAll(placed, TurnedScan::Source(turned, placed.pose, placed.inv)));
      placed.pose.theta = random.between(-TurnedScan::kLargestTurn, TurnedScan::kLargestTurn);
    }
  }
  EXPECT_GT(scans, 80000);
}

// How many of a scan's offsets come from scanPixel: those that are whole numbers, as good as none
// of the others are.
template <typename Source>
int settledByPixel(Source source) {
  PixelBlock block;
  int whole = 0;
  for (int count = source.fill(block); count > 0; count = source.fill(block)) {
    for (int i = 0; i < count; ++i) {
      whole += block.x[i] == std::trunc(block.x[i]) && block.y[i] == std::trunc(block.y[i]) ? 1 : 0;
    }
  }
  return whole;
}

TEST(BeamSource, asksForFewReadingsOnly) {
  RandomInputs random(54);
  std::vector<RangeReading> readings(20000);
  for (RangeReading& r : readings) r = {random.between(0.5f, 20.0f), random.between(-3.1f, 3.1f)};
  const Pose2D pose(1.0f, -2.0f, 0.3f);
  const int single = settledByPixel(BeamSource(readings, pose, 20.0f, 1));
  const TurnedScan turned(readings, 1);
  const int batch = settledByPixel(TurnedScan::Source(turned, pose, 20.0f));
  EXPECT_GT(single, 5);
  EXPECT_LT(single, 100);
  EXPECT_GT(batch, 5);
  EXPECT_LT(batch, 100);
}

}  // namespace
