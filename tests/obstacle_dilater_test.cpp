#include "korrin/obstacle_dilater.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;
using korrin_test::drawMap;
using korrin_test::sameBits;
using korrin_test::sameImage;
using korrin_test::sameMap;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// One step along a row of the 3 x 3 mask, in cells: 0.955 in units of 2^-16.
constexpr float kStep = 62587.0f / 65536.0f;
constexpr float kDiagonalStep = 89738.0f / 65536.0f;

std::vector<float> cellsOf(const OccupancyMap& map) {
  std::vector<float> cells;
  for (int y = 0; y < map.image->height; ++y) {
    for (int x = 0; x < map.image->width; ++x) cells.push_back(map.getCell(x, y));
  }
  return cells;
}

// The map after the distance methods with the distances in cells.
std::vector<float> dilated(OccupancyMap map, float radius, float fade,
                           ObstacleDilater::DilateType type) {
  ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.xDoDilateWithFunctTransform(map, radius, fade, type);
  return cellsOf(map);
}

TEST(ObstacleDilater, startsWithItsDefaultsAndTwoWorkImages) {
  const ObstacleDilater dilater(5, 3);
  EXPECT_EQ(dilater.obstProbThreshold, 0.1f);
  EXPECT_EQ(dilater.dilationRadius, 0.2f);
  EXPECT_EQ(dilater.fadeDistance, 0.4f);
  for (const IplImage* image : {dilater.distImage, dilater.charImage}) {
    EXPECT_EQ(image->width, 5);
    EXPECT_EQ(image->height, 3);
    EXPECT_EQ(image->nChannels, 1);
  }
  EXPECT_EQ(dilater.distImage->depth, static_cast<int>(IPL_DEPTH_32F));
  EXPECT_EQ(dilater.charImage->depth, IPL_DEPTH_8U);
}

TEST(ObstacleDilater, typesHaveTheirNumbers) {
  EXPECT_EQ(ObstacleDilater::DILATE_LINEAR, 0);
  EXPECT_EQ(ObstacleDilater::DILATE_INVERSE, 1);
  EXPECT_EQ(ObstacleDilater::DILATE_ERODE_SMOOTH, 2);
}

TEST(ObstacleDilater, settersSetWhatTheyName) {
  ObstacleDilater dilater(1, 1);
  dilater.setObstProbThreshold(0.7f);
  dilater.setParams(1.5f, 2.5f);
  EXPECT_EQ(dilater.obstProbThreshold, 0.7f);
  EXPECT_EQ(dilater.dilationRadius, 1.5f);
  EXPECT_EQ(dilater.fadeDistance, 2.5f);
}

TEST(ObstacleDilater, cannotBeCopied) {
  EXPECT_FALSE(std::is_copy_constructible<ObstacleDilater>::value);
  EXPECT_FALSE(std::is_copy_assignable<ObstacleDilater>::value);
}

TEST(ObstacleDilater, refusesANegativeSize) {
  EXPECT_THROW(ObstacleDilater(-1, 4), cv::Exception);
  EXPECT_THROW(ObstacleDilater(4, -1), cv::Exception);
  EXPECT_THROW(ObstacleDilater(1 << 20, 1 << 20), cv::Exception);
}

TEST(ObstacleDilater, keepsItsWorkImagesFromCallToCall) {
  OccupancyMap map = drawMap({"#..", "..."});
  ObstacleDilater dilater(3, 2);
  const IplImage* distImage = dilater.distImage;
  const IplImage* charImage = dilater.charImage;
  for (int type = 0; type < 4; ++type) {
    dilater.dilate(map, static_cast<ObstacleDilater::DilateType>(type));
  }
  EXPECT_EQ(dilater.distImage, distImage);
  EXPECT_EQ(dilater.charImage, charImage);
}

TEST(ObstacleDilater, linearRisesFromTheRadiusToTheFade) {
  // Distances: 0, 1, 2, 3, 4 steps; r is one step and f three.
  const auto cells = dilated(drawMap({"#...."}), kStep, 3.0f * kStep, {});
  EXPECT_EQ(cells, (std::vector<float>{0.0f, 0.0f, 0.5f, 1.0f, 1.0f}));
}

TEST(ObstacleDilater, linearMeasuresDiagonalsWithTheirOwnStep) {
  OccupancyMap map = drawMap({"#..", "...", "..."});
  const auto cells = dilated(map, 0.0f, 4.0f, ObstacleDilater::DILATE_LINEAR);
  const float straight = kStep / 4.0f;
  const float diagonal = kDiagonalStep / 4.0f;
  const float knight = (kStep + kDiagonalStep) / 4.0f;
  EXPECT_EQ(cells, (std::vector<float>{0.0f, straight, 2.0f * straight,  //
                                       straight, diagonal, knight,       //
                                       2.0f * straight, knight, 2.0f * diagonal}));
}

TEST(ObstacleDilater, linearIsZeroStrictlyInsideTheRadiusAndZeroAtIt) {
  const float above = std::nextafter(kStep, 2.0f);
  EXPECT_EQ(dilated(drawMap({"#."}), above, 9.0f, {})[1], 0.0f);
  EXPECT_EQ(dilated(drawMap({"#."}), kStep, 9.0f, {})[1], 0.0f);
  EXPECT_GT(dilated(drawMap({"#."}), std::nextafter(kStep, 0.0f), 9.0f, {})[1], 0.0f);
}

TEST(ObstacleDilater, linearWithFadeAtTheRadiusJumpsToOneThere) {
  const auto cells = dilated(drawMap({"#.."}), kStep, kStep, ObstacleDilater::DILATE_LINEAR);
  EXPECT_EQ(cells, (std::vector<float>{0.0f, 1.0f, 1.0f}));
}

TEST(ObstacleDilater, linearWithFadeBelowTheRadiusFallsWithTheDistance) {
  // Not clamped: (d - r) / (f - r) is negative beyond the radius.
  const auto cells = dilated(drawMap({"#.."}), kStep, 0.0f, ObstacleDilater::DILATE_LINEAR);
  EXPECT_TRUE(sameBits(cells, {0.0f, -0.0f, -1.0f}));
}

TEST(ObstacleDilater, inverseIsHalfAfterATenthOfTheFade) {
  const float fade = 10.0f * kStep;  // exact, and so is its tenth
  const auto cells = dilated(drawMap({"#..."}), kStep, fade, ObstacleDilater::DILATE_INVERSE);
  EXPECT_EQ(cells, (std::vector<float>{0.0f, 0.0f, 0.5f, 1.0f - kStep / (3.0f * kStep)}));
}

TEST(ObstacleDilater, inverseNeverReachesOneNearTheObstacle) {
  const auto cells =
      dilated(drawMap({"#................"}), 0.0f, 1.0f, ObstacleDilater::DILATE_INVERSE);
  for (std::size_t i = 1; i < cells.size(); ++i) {
    EXPECT_GT(cells[i], cells[i - 1]);
    EXPECT_LT(cells[i], 1.0f);
  }
}

TEST(ObstacleDilater, inverseWithoutFadeIsOneBeyondTheRadiusAndNotANumberAtIt) {
  const auto cells = dilated(drawMap({"#.."}), kStep, 0.0f, ObstacleDilater::DILATE_INVERSE);
  EXPECT_TRUE(sameBits(cells, {0.0f, kNaN, 1.0f}));
}

TEST(ObstacleDilater, otherTypesLeaveTheCellsButFillTheWorkImages) {
  for (const int type : {3, -1, 7, std::numeric_limits<int>::max()}) {
    OccupancyMap map = drawMap({"#.5"});
    const OccupancyMap before = map;
    ObstacleDilater dilater(3, 1);
    dilater.dilate(map, static_cast<ObstacleDilater::DilateType>(type));
    EXPECT_TRUE(sameMap(map, before));
    EXPECT_EQ(Brin::imageRow<float>(*dilater.distImage, 0)[2], 2.0f * kStep);
    EXPECT_EQ(Brin::imageRow<std::uint8_t>(*dilater.charImage, 0)[2], 128);
  }
}

TEST(ObstacleDilater, distancesAreMetresAndTheResolutionMakesThemCells) {
  OccupancyMap map = drawMap({"#....."}, 0.25f);
  ObstacleDilater dilater(6, 1);
  dilater.setParams(0.25f * 2.0f * kStep, 0.25f * 4.0f * kStep);
  dilater.dilate(map, ObstacleDilater::DILATE_LINEAR);
  EXPECT_EQ(cellsOf(map), (std::vector<float>{0.0f, 0.0f, 0.0f, 0.5f, 1.0f, 1.0f}));
}

TEST(ObstacleDilater, oldValuesCountOnlyAsObstaclesOrNot) {
  const auto a = dilated(drawMap({"#.5?", "9.3."}), 1.0f, 3.0f, ObstacleDilater::DILATE_LINEAR);
  const auto b = dilated(drawMap({"0222", "...5"}), 1.0f, 3.0f, ObstacleDilater::DILATE_LINEAR);
  EXPECT_EQ(a, b);
}

TEST(ObstacleDilater, cellThatIsNotANumberIsAnObstacle) {
  OccupancyMap map = drawMap({"..."});
  map.setCell(0, 0, kNaN);
  EXPECT_EQ(dilated(map, 0.0f, 4.0f, {})[2], 2.0f * kStep / 4.0f);
}

// Whether a cell of `probability` is an obstacle at `threshold`.
bool isObstacle(float probability, float threshold) {
  OccupancyMap map(1, 1, 1.0f, false);
  map.setCell(0, 0, probability);
  ObstacleDilater dilater(1, 1);
  dilater.setObstProbThreshold(threshold);
  dilater.xDoDilateWithFunctTransform(map, 1.0f, 2.0f, ObstacleDilater::DILATE_LINEAR);
  return map.getCell(0, 0) == 0.0f;
}

TEST(ObstacleDilater, obstaclesAreBytesNotAboveTheThreshold) {
  EXPECT_TRUE(isObstacle(std::nextafter(26.0f / 256.0f, 0.0f), 0.1f));  // byte 25, cut 25.6
  EXPECT_FALSE(isObstacle(26.0f / 256.0f, 0.1f));
  EXPECT_TRUE(isObstacle(0.5f, 0.5f));
  EXPECT_FALSE(isObstacle(129.0f / 256.0f, 0.5f));
  EXPECT_TRUE(isObstacle(0.0f, -3.0f));
  EXPECT_FALSE(isObstacle(1.0f / 256.0f, -3.0f));
}

TEST(ObstacleDilater, thresholdsBeyondAllBytesTakeAllCellsOrNone) {
  for (const float threshold : {1.0f, 2.0f, 1e7f, 1e10f, 1e38f, kInf}) {
    EXPECT_TRUE(isObstacle(1.0f, threshold)) << threshold;
  }
  for (const float threshold : {-1e10f, -1e38f, -kInf, kNaN}) {
    EXPECT_FALSE(isObstacle(1.0f / 256.0f, threshold)) << threshold;
    EXPECT_TRUE(isObstacle(0.0f, threshold)) << threshold;
  }
}

TEST(ObstacleDilater, mapWithoutObstaclesIsFarFromThemEverywhere) {
  EXPECT_EQ(dilated(drawMap({"..", ".."}), 1.0f, 100.0f, {}), std::vector<float>(4, 1.0f));
  EXPECT_EQ(dilated(drawMap({".."}), 8193.0f, 9000.0f, {}), std::vector<float>(2, 0.0f));
}

TEST(ObstacleDilater, mapOfOnlyObstaclesIsBlocked) {
  EXPECT_EQ(dilated(drawMap({"##", "##"}), 1.0f, 100.0f, {}), std::vector<float>(4, 0.0f));
}

TEST(ObstacleDilater, onlyTheProbabilitiesAreRewritten) {
  for (int type = 0; type < 3; ++type) {
    OccupancyMap map = drawMap({"#..", "..."}, 0.1f, true);
    map.params.origin = {1.0f, 2.0f, 0.5f};
    const OccupancyMap before = map;
    ObstacleDilater dilater(3, 2);
    dilater.dilate(map, static_cast<ObstacleDilater::DilateType>(type));
    EXPECT_FALSE(sameImage(map.image, before.image));
    EXPECT_TRUE(sameImage(map.secondImage, before.secondImage));
    EXPECT_TRUE(korrin_test::sameParams(map, before));
  }
}

}  // namespace
