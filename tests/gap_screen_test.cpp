// Where the screen says that two readings are close, the distance that is computed says so too.
#include "src/gap_screen.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "models/scan_holes_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::GapScreen;
using Brin::RangeReading;
using korrin_test::RandomInputs;

float computedDistance(const RangeReading& p, const RangeReading& q) {
  return korrin_model::distanceBetween(p.toPoint2D(), q.toPoint2D());
}

RangeReading someReading(RandomInputs& random) {
  const float range = random.chance(0.1) ? random.wildFloat() : random.between(-1.0f, 30.0f);
  const float angle = random.chance(0.1) ? random.wildFloat() : random.between(-4.0f, 4.0f);
  return {std::ldexp(range, random.chance(0.2) ? random.between(-80, 80) : 0), angle};
}

// A neighbour at about the same range and bearing, or another reading altogether.
RangeReading neighbourOf(const RangeReading& p, RandomInputs& random) {
  if (random.chance(0.1)) return someReading(random);
  RangeReading q = p;
  if (random.chance(0.8)) q.angle += random.between(-0.1f, 0.1f) * random.between(0.0f, 1.0f);
  if (random.chance(0.8))
    q.range *= 1.0f + random.between(-0.1f, 0.1f) * random.between(0.0f, 1.0f);
  return q;
}

TEST(GapScreen, whatItCallsCloseIsComputedToBeCloserThanTheWidth) {
  RandomInputs random(91);
  int close = 0;
  int nearly = 0;
  for (int i = 0; i < 2000000; ++i) {
    const RangeReading p = someReading(random);
    const RangeReading q = neighbourOf(p, random);
    const float distance = computedDistance(p, q);
    // Around the distance itself, where a wrong answer would be; now and then any width at all.
    const float width =
        random.chance(0.1) ? random.wildFloat() : distance * (1.0f + random.between(-1e-6f, 3e-4f));
    if (!GapScreen(width).areClose(p, q)) continue;
    ++close;
    nearly += width < distance * 1.01f ? 1 : 0;
    ASSERT_LT(distance, width) << p.range << " at " << p.angle << ", " << q.range << " at "
                               << q.angle;
  }
  EXPECT_GT(close, 50000);
  EXPECT_GT(nearly, 10000);
}

TEST(GapScreen, findsTheFirstReadingApartAsOneByOne) {
  RandomInputs random(92);
  int found = 0;
  for (int i = 0; i < 20000; ++i) {
    std::vector<RangeReading> readings(1, RangeReading(5.0f, 0.0f));
    const int count = random.between(1, 25);
    while (static_cast<int>(readings.size()) < count) {
      readings.push_back(random.chance(0.06) ? someReading(random)
                                             : RangeReading(readings.back().range + 0.1f, 0.0f));
    }
    const GapScreen screen(random.pick<float>({0.5f, 0.5f, 3.0f, -1.0f}));
    const int from = random.between(1, count);
    int expected = from;
    while (expected < count && screen.areClose(readings[static_cast<std::size_t>(expected - 1)],
                                               readings[static_cast<std::size_t>(expected)])) {
      ++expected;
    }
    ASSERT_EQ(screen.firstApart(readings, from, count), expected);
    found += expected < count ? 1 : 0;
  }
  EXPECT_GT(found, 4000);
  EXPECT_LT(found, 16000);
}

TEST(GapScreen, settlesOrdinaryNeighbours) {
  EXPECT_TRUE(GapScreen(0.5f).areClose({5.0f, 0.30f}, {5.1f, 0.31f}));
  EXPECT_TRUE(GapScreen(0.5f).areClose({5.0f, 0.30f}, {5.0f, 0.30f}));
  EXPECT_FALSE(GapScreen(0.5f).areClose({5.0f, 0.30f}, {5.6f, 0.31f}));
  EXPECT_FALSE(GapScreen(0.5f).areClose({5.0f, 0.30f}, {5.0f, 0.41f}));
}

TEST(GapScreen, leavesWidthsThatItCannotJudgeToTheCaller) {
  const RangeReading p(1e-25f, 0.0f);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float width :
       {0.0f, -1.0f, 1e-16f, 1e16f, 3e38f, nan, std::numeric_limits<float>::infinity()}) {
    EXPECT_FALSE(GapScreen(width).areClose(p, p)) << width;
  }
  EXPECT_FALSE(GapScreen(1.0f).areClose({nan, 0.0f}, {nan, 0.0f}));
  EXPECT_FALSE(GapScreen(1.0f).areClose({1.0f, nan}, {1.0f, 0.0f}));
}

}  // namespace
