// Values of blocks of cells, and colours that are found again.
#include "tools/pictures/cell_values.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "tests/support/map_drawing.hpp"

namespace korrin_test {
namespace {

using korrin_tool::blockValues;
using korrin_tool::Colour;
using korrin_tool::ColourCache;

TEST(BlockValues, OfOneCellAreTheCells) {
  const Brin::OccupancyMap map = drawMap({"#?.",  //
                                          "137"});
  const cv::Mat_<float> values = blockValues(map, 1);
  ASSERT_EQ(values.size(), cv::Size(3, 2));
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(values(y, x), map.getCell(x, y));
  }
  EXPECT_EQ(values.data, reinterpret_cast<unsigned char*>(map.image->imageData)) << "no copy";
}

TEST(BlockValues, ShowTheLowestWhereThereIsAnObstacle) {
  const cv::Mat_<float> values = blockValues(drawMap({".#..",  //
                                                      "..?4"}),
                                             2);
  ASSERT_EQ(values.size(), cv::Size(2, 1));
  EXPECT_EQ(values(0, 0), 0.0f);
  EXPECT_EQ(values(0, 1), 0.4f);
}

TEST(BlockValues, AreTheMeanWhereThereIsNoObstacle) {
  const cv::Mat_<float> values = blockValues(drawMap({"..??.?",  //
                                                      "..????"}),
                                             2);
  EXPECT_EQ(values(0, 0), 1.0f);
  EXPECT_EQ(values(0, 1), 0.5f);
  EXPECT_EQ(values(0, 2), 0.625f);
}

TEST(BlockValues, OfMapsThatNoBlockFitsHaveSmallerOnesAtTheFarEnds) {
  const cv::Mat_<float> values = blockValues(drawMap({"....",  //
                                                      "...?",  //
                                                      "....",  //
                                                      "???#"}),
                                             3);
  ASSERT_EQ(values.size(), cv::Size(2, 2));
  EXPECT_EQ(values(0, 0), 1.0f);
  EXPECT_EQ(values(0, 1), 2.5f / 3.0f);
  EXPECT_EQ(values(1, 0), 0.5f);
  EXPECT_EQ(values(1, 1), 0.0f);
}

TEST(BlockValues, OfAMapWithoutCellsAreNone) {
  EXPECT_TRUE(blockValues(Brin::OccupancyMap(0, 0, 1.0f, false), 1).empty());
  EXPECT_TRUE(blockValues(Brin::OccupancyMap(0, 0, 1.0f, false), 2).empty());
}

TEST(ColourCacheTest, GivesWhatIsMixedAndMixesOnce) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::mt19937 random(7);
  std::vector<float> numbers = {0.0f, -0.0f, 0.5f, 1.0f, -1.0f, 1e30f, nan};
  for (int i = 0; i < 300; ++i) {
    numbers.push_back(std::uniform_real_distribution<float>(0.0f, 1.0f)(random));
  }
  const auto mixed = [](float a, float b) {
    const auto part = [](float value) { return value >= 0.0f ? int(value * 250.0f) % 251 : 255; };
    return Colour{static_cast<std::uint8_t>(part(std::min(a, 9.0f))),
                  static_cast<std::uint8_t>(part(std::min(b, 9.0f))), 3};
  };
  ColourCache cache;
  for (const float a : numbers) {
    for (const float b : numbers) {
      for (int times = 0; times < 2; ++times) {
        int mixes = 0;
        const Colour found = cache.find(a, b, [&] { return ++mixes, mixed(a, b); });
        EXPECT_EQ(found.red, mixed(a, b).red) << a << ", " << b;
        EXPECT_EQ(found.green, mixed(a, b).green) << a << ", " << b;
        EXPECT_TRUE(times == 0 || mixes == 0 || a != a || b != b) << a << ", " << b;
      }
    }
  }
}

}  // namespace
}  // namespace korrin_test
