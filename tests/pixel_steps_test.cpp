// Where a point falls from the first pose of a grid tells its pixel from every other pose: the
// index that scanScore's own operations give there.
#include "src/pixel_steps.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "support/border_inputs.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::IndexArea;
using Brin::PictureFrame;
using Brin::PixelPoint;
using Brin::PixelSteps;
using Brin::PoseGrid;
using korrin_test::RandomInputs;

constexpr IndexArea kLarge = {-100000, -100000, 200000, 200000};

// The index of what scanScore cuts towards zero: pixel 0 has two, -1 and 0.
std::int32_t indexOf(float offset) {
  return static_cast<std::int32_t>(offset) - (offset < 0.0f ? 1 : 0);
}

struct Setting {
  PoseGrid grid;
  PictureFrame frame;
  float inv = 1.0f;

  Brin::Point2D placeOf(std::int32_t i, std::int32_t j) const {
    const Brin::Pose2D pose = grid.pose(i - grid.shiftsX(), j - grid.shiftsY(), 0);
    return frame.placeOf(pose.x, pose.y);
  }
  std::int32_t columnOf(float x, std::int32_t i) const {
    return indexOf((x + placeOf(i, 0).x) * inv + 0.5f);
  }
  std::int32_t rowOf(float y, std::int32_t j) const {
    return indexOf((y + placeOf(0, j).y) * inv + 0.5f);
  }
};

Setting someSetting(RandomInputs& random) {
  Setting s;
  const float resolution = random.pick<float>({0.05f, 0.05f, 0.1f, 0.03f, 1.0f});
  s.inv = 1.0f / resolution;
  s.grid.step = resolution * random.pick<float>({1.0f, 1.0f, 2.0f, 4.0f});
  s.grid.step *= random.pick<float>({1.0f, 1.0f, 1.0003f, 0.9997f});  // they drift apart
  s.grid.reachX = s.grid.step * static_cast<float>(random.between(0, 300));
  s.grid.reachY = s.grid.step * static_cast<float>(random.between(0, 30));
  const float far = random.pick<float>({0.0f, 5.0f, 300.0f});
  s.grid.centre = {random.between(-far, far), random.between(-far, far), 0.0f};
  if (random.chance(0.5)) {
    s.frame = PictureFrame({s.grid.centre.x + random.between(-9.0f, 9.0f),
                            s.grid.centre.y + random.between(-9.0f, 9.0f), 0.0f});
  }
  return s;
}

// A coordinate that some pose sees at the border of a pixel, or one of its neighbours.
float coordinateAtBorder(RandomInputs& random, const Setting& s) {
  const auto i = random.between(0, 2 * s.grid.shiftsX());
  const float border = static_cast<float>(random.between(-200, 200));
  const float near = (border - 0.5f) / s.inv - s.placeOf(i, 0).x;
  const auto isPast = [&](float x) { return (x + s.placeOf(i, 0).x) * s.inv + 0.5f >= border; };
  const float low = near - 1.0f;
  const float high = near + 1.0f;
  const float x =
      korrin_test::hasBorder(low, high, isPast) ? korrin_test::firstPast(low, high, isPast) : near;
  return korrin_test::besideBorder(random, x);
}

TEST(PixelSteps, tellThePixelFromEveryPose) {
  RandomInputs random(21);
  int whole = 0;
  int open = 0;
  int rounded = 0;  // pixels that are not where exact steps would have them
  for (int n = 0; n < 4000; ++n) {
    const Setting s = someSetting(random);
    const PixelSteps steps(s.grid, s.frame, s.inv, kLarge);
    if (!steps.areWhole()) continue;
    ++whole;
    const float x =
        random.chance(0.8) ? coordinateAtBorder(random, s) : random.between(-9.0f, 9.0f);
    const float y = random.between(-9.0f, 9.0f);
    std::vector<PixelPoint> points;
    ASSERT_TRUE(steps.add(x, y, points)) << n;
    ASSERT_EQ(points.size(), 1u);
    open += points[0].moreCols;
    for (std::int32_t i = 0; i <= 2 * s.grid.shiftsX(); ++i) {
      const std::int32_t from = s.columnOf(x, i) - i * (1 << steps.shift());
      ASSERT_GE(from, points[0].col) << n;
      ASSERT_LE(from, points[0].col + points[0].moreCols) << n;
      rounded += from != s.columnOf(x, 0) ? 1 : 0;
    }
    for (std::int32_t j = 0; j <= 2 * s.grid.shiftsY(); ++j) {
      const std::int32_t from = s.rowOf(y, j) - j * (1 << steps.shift());
      ASSERT_GE(from, points[0].row) << n;
      ASSERT_LE(from, points[0].row + points[0].moreRows) << n;
    }
  }
  EXPECT_GT(whole, 2500);
  EXPECT_GT(open, 1000);
  EXPECT_GT(rounded, 10000);
}

TEST(PixelSteps, areWholeWhereTheyArePowersOfTwo) {
  Setting s;
  s.inv = 1.0f / 0.05f;
  const auto areWhole = [&](float step) {
    s.grid.step = step;
    s.grid.reachX = s.grid.reachY = 100.0f * step;
    return PixelSteps(s.grid, s.frame, s.inv, kLarge).areWhole();
  };
  for (const float step : {0.05f, 0.1f, 0.2f, 0.4f}) EXPECT_TRUE(areWhole(step)) << step;
  for (const float step : {0.025f, 0.15f, 0.0504f, 0.035f}) EXPECT_FALSE(areWhole(step)) << step;
  s.frame = PictureFrame({1.0f, 2.0f, 1e-6f});
  EXPECT_FALSE(areWhole(0.05f));
  s.frame = PictureFrame();
  s.grid.centre.x = 1e6f;  // a float is a sixteenth of a metre there
  EXPECT_FALSE(areWhole(0.05f));
}

// Their places in pixels would not fit where they are kept.
TEST(PixelSteps, areNotWholeOnGridsThatReachTooFar) {
  Setting s;
  s.grid.step = 1.0f;
  const auto areWhole = [&](float reachX, float reachY, float inv) {
    s.grid.reachX = reachX;
    s.grid.reachY = reachY;
    return PixelSteps(s.grid, s.frame, inv, kLarge).areWhole();
  };
  EXPECT_TRUE(areWhole(500000.0f, 500000.0f, 1.0f));
  EXPECT_FALSE(areWhole(530000.0f, 0.0f, 1.0f));
  EXPECT_FALSE(areWhole(0.0f, 530000.0f, 1.0f));
  EXPECT_FALSE(areWhole(1e9f, 0.0f, 1.0f));
  EXPECT_TRUE(areWhole(8000.0f, 0.0f, 64.0f));
  EXPECT_FALSE(areWhole(8400.0f, 0.0f, 64.0f));
}

// Pictures are that wide only where maps are.
TEST(PixelSteps, tellWhichPointsAreOpenByMoreThanAPixel) {
  Setting s;
  s.grid.step = 1.0f;
  const PixelSteps steps(s.grid, s.frame, 1.0f, {-16777216, -16777216, 33554432, 33554432});
  ASSERT_TRUE(steps.areWhole());
  std::vector<PixelPoint> points;
  EXPECT_FALSE(steps.add(2097152.0f, 0.0f, points));
  EXPECT_FALSE(steps.add(0.0f, -2097152.0f, points));
  EXPECT_TRUE(points.empty());
  EXPECT_TRUE(steps.add(500000.0f, -500000.0f, points));
  EXPECT_EQ(points.size(), 1u);
}

// Points that no pose of the grid sees on the picture are left out, wild ones first of all.
TEST(PixelSteps, leaveOutWhatIsOffThePicture) {
  Setting s;
  s.grid.step = 1.0f;
  s.grid.reachX = s.grid.reachY = 3.0f;
  const PixelSteps steps(s.grid, s.frame, 1.0f, {-2, -2, 5, 5});
  ASSERT_TRUE(steps.areWhole());
  std::vector<PixelPoint> points;
  for (const float far : {7.0f, -8.0f, 1e5f, -1e6f, 3e38f, -3e38f}) {
    EXPECT_TRUE(steps.add(far, 0.0f, points));
    EXPECT_TRUE(steps.add(0.0f, far, points));
  }
  EXPECT_TRUE(points.empty());
  EXPECT_TRUE(steps.add(5.0f, -5.0f, points));
  EXPECT_EQ(points.size(), 1u);
}

}  // namespace
