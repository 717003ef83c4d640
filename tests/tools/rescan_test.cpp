// Simulated scans against distances that the eye can read off the map.
#include "tools/rescan.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace korrin_test {
namespace {

// Free but for one wall, x from 3.0 m to 3.1 m.
Brin::OccupancyMap wallAtThreeMetres() {
  Brin::OccupancyMap map(100, 40, 0.1f, false);
  map.reset(1.0f);
  map.params.origin = {0.05f, 0.05f, 0.0f};
  for (int y = 0; y < 40; ++y) map.setCell(30, y, 0.0f);
  return map;
}

Brin::io::LoggedScan scannerAt(const Brin::Pose2D& pose, std::size_t line) {
  Brin::io::LoggedScan logged;
  logged.pose = pose;
  logged.line = line;
  for (const float angle : {-1.5707963f, 0.0f, 1.0471976f}) {
    logged.scan.readings.emplace_back(1.0f, angle);
  }
  return logged;
}

TEST(Rescanned, MeasuresFromThePoseItselfToTheWall) {
  const auto result =
      korrin_tool::rescanned(scannerAt({1.03f, 2.0f, 0.0f}, 1), wallAtThreeMetres(), 0.0f);
  const auto& readings = result.scan.readings;
  ASSERT_EQ(readings.size(), 3u);
  EXPECT_NEAR(readings[0].range, 2.0f, 0.02f);
  EXPECT_EQ(readings[0].status, 1);
  EXPECT_EQ(readings[0].weight, 0.0f);
  EXPECT_NEAR(readings[1].range, 1.97f, 0.0101f);
  EXPECT_EQ(readings[1].status, 0);
  EXPECT_EQ(readings[1].weight, 1.0f);
  EXPECT_NEAR(readings[2].range, 2.31f, 0.02f);  // out by the map's upper border
  EXPECT_EQ(readings[2].status, 1);
  EXPECT_EQ(result.pose.x, 1.03f);
  EXPECT_EQ(readings[2].angle, 1.0471976f);
}

TEST(Rescanned, FollowsTheHeading) {
  const auto turned = scannerAt({1.0f, 2.0f, 1.5707963f}, 1);
  EXPECT_NEAR(korrin_tool::rescanned(turned, wallAtThreeMetres(), 0.0f).scan.readings[0].range,
              2.0f, 0.0101f);
}

TEST(Rescanned, AddsNoiseOfTheDeviationRoundedToACentimetre) {
  const Brin::OccupancyMap map = wallAtThreeMetres();
  double squares = 0.0;
  constexpr int kLines = 2000;
  for (int line = 1; line <= kLines; ++line) {
    const auto logged = scannerAt({1.0f, 2.0f, 0.0f}, static_cast<std::size_t>(line));
    const float range = korrin_tool::rescanned(logged, map, 0.05f).scan.readings[1].range;
    EXPECT_EQ(range, korrin_tool::rescanned(logged, map, 0.05f).scan.readings[1].range);
    EXPECT_NEAR(range * 100.0f, std::round(range * 100.0f), 1e-3f);
    squares += (double{range} - 2.0) * (double{range} - 2.0);
  }
  EXPECT_NEAR(std::sqrt(squares / kLines), 0.05, 0.005);
}

TEST(Rescanned, OutsideTheMapMeasuresNothing) {
  const auto result =
      korrin_tool::rescanned(scannerAt({-9.0f, 2.0f, 0.0f}, 1), wallAtThreeMetres(), 0.0f);
  for (const auto& reading : result.scan.readings) {
    EXPECT_EQ(reading.range, 0.0f);
    EXPECT_EQ(reading.status, 1);
  }
}

}  // namespace
}  // namespace korrin_test
