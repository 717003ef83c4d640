// Tiles: bytes of cells, and what many cells in one pixel show.
#include "tools/serve/tile.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/map_drawing.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;

int byteAt(const std::string& tile, int column, int row) {
  return static_cast<std::uint8_t>(tile.at(static_cast<std::size_t>(row * kTileSide + column)));
}

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(TileBytes, OfProbabilitiesGoFromZeroTo250) {
  const TileStyle style;
  EXPECT_EQ(tileByte(0.0f, style), 0);
  EXPECT_EQ(tileByte(0.5f, style), 125);
  EXPECT_EQ(tileByte(1.0f, style), 250);
  EXPECT_EQ(tileByte(0.001f, style), 0);
  EXPECT_EQ(tileByte(0.0021f, style), 1);
  EXPECT_EQ(tileByte(2.0f, style), 250);
  EXPECT_EQ(tileByte(-2.0f, style), 0);
  EXPECT_EQ(tileByte(kNan, style), kNotANumber);
}

TEST(TileBytes, OfAPreparedMapTellItsCodes) {
  const TileStyle style{TileRule::Grown, 1.0f, 0.2f};
  EXPECT_EQ(tileByte(-1.0f, style), kTooNear);
  EXPECT_EQ(tileByte(-2.0f, style), kUnknownByte);
  EXPECT_EQ(tileByte(-3.0f, style), kNotANumber);
  EXPECT_EQ(tileByte(0.6f, style), 150);
}

TEST(TileBytes, OfOtherValuesAreSharesOfTheScale) {
  const TileStyle style{TileRule::Lowest, 50.0f, 0.0f};
  EXPECT_EQ(tileByte(0.0f, style), 0);
  EXPECT_EQ(tileByte(25.0f, style), 125);
  EXPECT_EQ(tileByte(50.0f, style), 250);
  EXPECT_EQ(tileByte(-1.0f, style), kNoValue);
  EXPECT_EQ(tileByte(kInfinity, style), kNoValue);
  EXPECT_EQ(tileByte(kNan, style), kNotANumber);
}

TEST(Tiles, BeginWithTheLowestRowAndShowWhatIsOffTheMap) {
  const std::string tile = tileOf(drawMap({"#.?", "..."}), {}, 0, 0, 0);
  ASSERT_EQ(tile.size(), 65536u);
  EXPECT_EQ(byteAt(tile, 0, 0), 0);
  EXPECT_EQ(byteAt(tile, 1, 0), 250);
  EXPECT_EQ(byteAt(tile, 2, 0), 125);
  EXPECT_EQ(byteAt(tile, 0, 1), 250);
  EXPECT_EQ(byteAt(tile, 3, 0), kOffTheMap);
  EXPECT_EQ(byteAt(tile, 0, 2), kOffTheMap);
}

TEST(Tiles, AreThoseOfTheMapAndNoOthers) {
  const Brin::OccupancyMap map(600, 257, 0.05f, false);
  EXPECT_EQ(tileLevels(map.params), 3);
  EXPECT_EQ(tileLevels(Brin::OccupancyMapParams(256, 256, 1.0f)), 1);
  EXPECT_EQ(tileLevels(Brin::OccupancyMapParams(257, 1, 1.0f)), 2);
  for (const auto& [level, columns, rows] : {std::tuple(0, 3, 2), {1, 2, 1}, {2, 1, 1}}) {
    for (int y = -1; y <= rows; ++y) {
      for (int x = -1; x <= columns; ++x) {
        const bool isThere = x >= 0 && y >= 0 && x < columns && y < rows;
        EXPECT_EQ(tileOf(map, {}, level, x, y).empty(), !isThere) << level << ' ' << x << ' ' << y;
      }
    }
  }
  EXPECT_TRUE(tileOf(map, {}, 3, 0, 0).empty());
  EXPECT_TRUE(tileOf(map, {}, -1, 0, 0).empty());
}

// A wall of one cell is seen on every level; elsewhere a pixel is the mean of its cells.
TEST(Tiles, LoseNoObstacleOnCoarseLevels) {
  Brin::OccupancyMap map(1024, 1024, 0.05f, false);
  map.reset(1.0f);
  map.setCell(777, 333, 0.1f);
  map.setCell(0, 0, 0.5f);
  ASSERT_EQ(tileLevels(map.params), 3);
  const std::string half = tileOf(map, {}, 1, 777 / 512, 333 / 512);
  EXPECT_EQ(byteAt(half, 777 / 2 % 256, 333 / 2 % 256), 25);
  const std::string quarter = tileOf(map, {}, 2, 0, 0);
  EXPECT_EQ(byteAt(quarter, 777 / 4, 333 / 4), 25);
  EXPECT_EQ(byteAt(quarter, 0, 0), std::lround((15.0 + 0.5) / 16.0 * 250.0));
  EXPECT_EQ(byteAt(quarter, 1, 0), 250);
}

TEST(Tiles, OfAPreparedMapShowWhatBlocksBeforeWhatIsFree) {
  Brin::OccupancyMap map(512, 2, 1.0f, false);
  map.reset(1.0f);
  map.setCell(0, 0, -2.0f);
  map.setCell(1, 1, -1.0f);
  map.setCell(2, 0, -2.0f);
  map.setCell(4, 0, -1.0f);
  map.setCell(5, 0, 0.1f);
  const std::string tile = tileOf(map, {TileRule::Grown, 1.0f, 0.2f}, 1, 0, 0);
  EXPECT_EQ(byteAt(tile, 0, 0), kTooNear);
  EXPECT_EQ(byteAt(tile, 1, 0), kUnknownByte);
  EXPECT_EQ(byteAt(tile, 2, 0), 25);
  EXPECT_EQ(byteAt(tile, 3, 0), 250);
}

TEST(Tiles, OfOtherValuesShowTheLowest) {
  Brin::OccupancyMap map(512, 2, 1.0f, false);
  map.reset(-1.0f);
  map.setCell(0, 0, 8.0f);
  map.setCell(1, 1, 4.0f);
  const std::string tile = tileOf(map, {TileRule::Lowest, 10.0f, 0.0f}, 1, 0, 0);
  EXPECT_EQ(byteAt(tile, 0, 0), 100);
  EXPECT_EQ(byteAt(tile, 1, 0), kNoValue);
}

}  // namespace
}  // namespace korrin_test
