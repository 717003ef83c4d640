#include "tools/pictures/scan_picture.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace korrin_test {
namespace {

using korrin_tool::Canvas;
using korrin_tool::Colour;

// A long, low frame of cells of 1 m, of which a pixel shows a block.
Brin::OccupancyMapParams corridor(int length) { return {length, 40, 1.0f}; }

std::vector<Brin::RangeReading> fanOf(float range) {
  std::vector<Brin::RangeReading> readings;
  for (const float angle : {-0.001f, 0.0f, 0.001f}) readings.emplace_back(range, angle);
  return readings;
}

// Whether the picture, whose first row shows the last cells, shows the tint in the block of a cell.
bool isTinted(const Canvas& canvas, int x, int y) {
  const int cells = canvas.cellsPerPixel();
  const auto zoom = static_cast<int>(canvas.pixelsPerCell() * cells);
  const int row = canvas.picture().rows - 1 - (y / cells) * zoom;
  const auto& pixel = canvas.picture().at<cv::Vec3b>(row, (x / cells) * zoom);
  return pixel != cv::Vec3b(255, 255, 255);
}

Canvas tinted(int length, const std::vector<Brin::RangeReading>& readings,
              const Brin::Pose2D& sensor) {
  Canvas canvas(corridor(length));
  tintSeen(canvas, corridor(length), readings, sensor, korrin_tool::palette::kPath, 1.0);
  return canvas;
}

TEST(TintSeen, whatABeamCrossesIsTintedAndNothingElse) {
  const Canvas canvas = tinted(400, fanOf(100.0f), {50.0f, 20.0f, 0.0f});
  for (const int x : {52, 100, 149}) EXPECT_TRUE(isTinted(canvas, x, 20)) << x;
  for (const int x : {10, 48, 153, 390}) EXPECT_FALSE(isTinted(canvas, x, 20)) << x;
  EXPECT_FALSE(isTinted(canvas, 100, 10));
}

TEST(TintSeen, farAlongAWideMapToo) {
  const Canvas canvas = tinted(40000, fanOf(5000.0f), {30000.0f, 20.0f, 0.0f});
  for (const int x : {30100, 32000, 34900}) EXPECT_TRUE(isTinted(canvas, x, 20)) << x;
  for (const int x : {100, 16384, 29000, 36000}) EXPECT_FALSE(isTinted(canvas, x, 20)) << x;
}

TEST(TintSeen, anEndlessBeamKeepsItsDirection) {
  const float inf = std::numeric_limits<float>::infinity();
  const Canvas canvas = tinted(400, fanOf(inf), {50.0f, 20.0f, 0.0f});
  for (const int x : {52, 200, 399}) EXPECT_TRUE(isTinted(canvas, x, 20)) << x;
  EXPECT_FALSE(isTinted(canvas, 10, 20));
}

TEST(TintSeen, whatIsNoNumberTintsNothing) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  auto readings = fanOf(100.0f);
  readings.emplace_back(nan, 2.0f);
  readings.emplace_back(30.0f, nan);
  const Canvas canvas = tinted(400, readings, {50.0f, 20.0f, 0.0f});
  EXPECT_TRUE(isTinted(canvas, 100, 20));
  for (const int x : {10, 390}) EXPECT_FALSE(isTinted(canvas, x, 20)) << x;
  const Canvas nowhere = tinted(400, fanOf(100.0f), {nan, 20.0f, 0.0f});
  for (const int x : {10, 100, 390}) EXPECT_FALSE(isTinted(nowhere, x, 20)) << x;
}

}  // namespace
}  // namespace korrin_test
