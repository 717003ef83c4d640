// The erosion-and-blur method.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <limits>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;
using korrin_test::drawMap;
using korrin_test::sameMap;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

OccupancyMap erodedAndBlurred(OccupancyMap map, float erodeCells, float sigmaCells) {
  ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.xDoCvDilateSmooth(map, erodeCells, sigmaCells);
  return map;
}

OccupancyMap blurred(const OccupancyMap& map, float sigma) {
  OccupancyMap result(map);
  cvSmooth(map.image, result.image, CV_GAUSSIAN, 11, 11, sigma, sigma);
  return result;
}

TEST(ObstacleDilaterErosion, lowValuesSpreadByOneCellEachTimeAndAreBlurred) {
  const OccupancyMap map = drawMap({".......", "...#...", ".......", "......."});
  const OccupancyMap once = drawMap({"..###..", "..###..", "..###..", "......."});
  const OccupancyMap twice = drawMap({".#####.", ".#####.", ".#####.", ".#####."});
  EXPECT_TRUE(sameMap(erodedAndBlurred(map, 1.0f, 0.8f), blurred(once, 0.8f)));
  EXPECT_TRUE(sameMap(erodedAndBlurred(map, 2.0f, 0.8f), blurred(twice, 0.8f)));
}

TEST(ObstacleDilaterErosion, theCountIsTheRadiusWithoutItsFraction) {
  const OccupancyMap map = drawMap({".......", "...#..."});
  const OccupancyMap once = drawMap({"..###..", "..###.."});
  EXPECT_TRUE(sameMap(erodedAndBlurred(map, 1.99f, 0.8f), blurred(once, 0.8f)));
}

TEST(ObstacleDilaterErosion, radiusBelowOneCellOnlyBlurs) {
  const OccupancyMap map = drawMap({"...#...", "..5..2."});
  for (const float radius : {0.99f, 0.0f, -0.5f, -7.0f, -1e30f, -kInf, kNaN}) {
    EXPECT_TRUE(sameMap(erodedAndBlurred(map, radius, 1.5f), blurred(map, 1.5f))) << radius;
  }
}

TEST(ObstacleDilaterErosion, fadeOfZeroLeavesTheMapAsItWas) {
  OccupancyMap map = drawMap({"#..", "..5"});
  const OccupancyMap before = map;
  ObstacleDilater dilater(3, 2);
  dilater.setParams(2.0f, 0.0f);
  dilater.dilate(map, ObstacleDilater::DILATE_ERODE_SMOOTH);
  EXPECT_TRUE(sameMap(map, before));
}

TEST(ObstacleDilaterErosion, onlySigmasAboveAThousandthBlur) {
  const OccupancyMap map = drawMap({"#..", "..5"});
  for (const float sigma : {0.001f, 0.0005f, -1.0f, -kInf, kNaN}) {
    EXPECT_TRUE(sameMap(erodedAndBlurred(map, 1.0f, sigma), map)) << sigma;
  }
  const float above = std::nextafter(0.001f, 1.0f);
  EXPECT_FALSE(sameMap(erodedAndBlurred(map, 1.0f, above), map));
}

TEST(ObstacleDilaterErosion, distancesAreMetresAndTheResolutionMakesThemCells) {
  OccupancyMap map = drawMap({".......", "...#..."}, 0.5f);
  const OccupancyMap once = drawMap({"..###..", "..###.."}, 0.5f);
  ObstacleDilater dilater(7, 2);
  dilater.setParams(0.5f, 0.75f);
  dilater.dilate(map, ObstacleDilater::DILATE_ERODE_SMOOTH);
  EXPECT_TRUE(sameMap(map, blurred(once, 1.5f)));
}

TEST(ObstacleDilaterErosion, moreThanTheMapsSizeErodesItToItsLowestValue) {
  const OccupancyMap map = drawMap({".....7", "......"});
  for (const float radius : {6.0f, 100.0f, 3e9f, 1e30f, kInf}) {
    const OccupancyMap result = erodedAndBlurred(map, radius, 1.0f);
    for (int x = 0; x < 6; ++x) EXPECT_NEAR(result.getCell(x, 0), 0.7f, 1e-6f) << radius;
  }
}

TEST(ObstacleDilaterErosion, infiniteSigmaAveragesTheElevenCellsAround) {
  const OccupancyMap result = erodedAndBlurred(drawMap({"#......"}), 0.0f, kInf);
  EXPECT_TRUE(sameMap(result, blurred(drawMap({"#......"}), kInf)));
  EXPECT_NEAR(result.getCell(6, 0), 1.0f, 1e-6f);
}

TEST(ObstacleDilaterErosion, usesNoWorkImageAndTakesAnySize) {
  OccupancyMap map = drawMap({"#..", "..."});
  ObstacleDilater dilater(9, 9);
  cvSet(dilater.distImage, cvScalar(3.0));
  cvSet(dilater.charImage, cvScalar(5.0));
  dilater.xDoCvDilateSmooth(map, 1.0f, 1.0f);
  EXPECT_EQ(reinterpret_cast<const float*>(dilater.distImage->imageData)[0], 3.0f);
  EXPECT_EQ(dilater.charImage->imageData[0], 5);
  EXPECT_LT(map.getCell(2, 1), 1.0f);
}

TEST(ObstacleDilaterErosion, mapOfOneCellKeepsItsValue) {
  EXPECT_EQ(erodedAndBlurred(drawMap({"5"}), 3.0f, 1.0f).getCell(0, 0), 0.5f);
}

}  // namespace
