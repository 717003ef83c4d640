// What callers must not pass: maps of other sizes, missing images, absurd distances.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <limits>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/obstacle_dilater.hpp"
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

constexpr ObstacleDilater::DilateType kAllTypes[] = {
    ObstacleDilater::DILATE_LINEAR, ObstacleDilater::DILATE_INVERSE,
    ObstacleDilater::DILATE_ERODE_SMOOTH, static_cast<ObstacleDilater::DilateType>(3)};

TEST(ObstacleDilaterBadInput, mapOfAnotherSizeIsRefusedUntouched) {
  const std::pair<int, int> sizes[] = {{3, 3},  {5, 3},  {4, 2}, {4, 4}, {3, 4},
                                       {1, 12}, {12, 1}, {4, 0}, {0, 0}, {40, 30}};
  for (const auto& [width, height] : sizes) {
    for (const auto type : kAllTypes) {
      OccupancyMap map(width, height, 0.1f, true);
      const OccupancyMap before = map;
      ObstacleDilater dilater(4, 3);
      cvSet(dilater.distImage, cvScalar(3.0));
      cvSet(dilater.charImage, cvScalar(5.0));
      const Brin::ImagePtr distances(cvCloneImage(dilater.distImage));
      const Brin::ImagePtr bytes(cvCloneImage(dilater.charImage));
      EXPECT_THROW(dilater.dilate(map, type), cv::Exception);
      if (type != ObstacleDilater::DILATE_ERODE_SMOOTH) {
        EXPECT_THROW(dilater.xDoDilateWithFunctTransform(map, 1.0f, 2.0f, type), cv::Exception);
      }
      EXPECT_TRUE(sameMap(map, before));
      EXPECT_TRUE(sameImage(dilater.distImage, distances.get()));
      EXPECT_TRUE(sameImage(dilater.charImage, bytes.get()));
    }
  }
}

TEST(ObstacleDilaterBadInput, theImageCountsNotTheSizeInTheParams) {
  OccupancyMap map(4, 3, 0.1f, false);
  map.params.width = 3;
  EXPECT_THROW(ObstacleDilater(3, 3).dilate(map, {}), cv::Exception);
  EXPECT_NO_THROW(ObstacleDilater(4, 3).dilate(map, {}));
}

TEST(ObstacleDilaterBadInput, workImageReplacedByOneThatDoesNotFitIsRefused) {
  OccupancyMap map(4, 3, 0.1f, false);
  ObstacleDilater smallDistances(4, 3);
  cvReleaseImage(&smallDistances.distImage);
  smallDistances.distImage = cvCreateImage(cvSize(3, 3), IPL_DEPTH_32F, 1);
  EXPECT_THROW(smallDistances.dilate(map, {}), cv::Exception);
  ObstacleDilater floatBytes(4, 3);
  cvReleaseImage(&floatBytes.charImage);
  floatBytes.charImage = cvCreateImage(cvSize(4, 3), IPL_DEPTH_32F, 1);
  EXPECT_THROW(floatBytes.dilate(map, {}), cv::Exception);
  ObstacleDilater noBytes(4, 3);
  cvReleaseImage(&noBytes.charImage);
  EXPECT_THROW(noBytes.dilate(map, {}), cv::Exception);
}

TEST(ObstacleDilaterBadInput, mapWithoutImageIsRefused) {
  OccupancyMap map(4, 3, 0.1f, false);
  const OccupancyMap taken = std::move(map);
  ObstacleDilater dilater(4, 3);
  ObstacleDilater none(0, 0);
  for (const auto type : kAllTypes) {
    EXPECT_THROW(dilater.dilate(map, type), cv::Exception);
    EXPECT_THROW(none.dilate(map, type), cv::Exception);
  }
  EXPECT_THROW(dilater.xDoDilateWithFunctTransform(map, 1.0f, 2.0f, {}), cv::Exception);
  EXPECT_THROW(dilater.xDoCvDilateSmooth(map, 1.0f, 2.0f), cv::Exception);
}

TEST(ObstacleDilaterBadInput, mapOfNoCellsNeedsNothing) {
  for (const auto& [width, height] : {std::pair{0, 0}, std::pair{5, 0}, std::pair{0, 5}}) {
    OccupancyMap map(width, height, 0.1f, true);
    const OccupancyMap before = map;
    ObstacleDilater dilater(width, height);
    for (const auto type : kAllTypes) EXPECT_NO_THROW(dilater.dilate(map, type));
    EXPECT_TRUE(sameMap(map, before));
  }
}

TEST(ObstacleDilaterBadInput, allDistancesAndResolutionsAreSafe) {
  const std::vector<float> numbers = {0.0f, -0.0f, -1.0f, 1e-42f, 1e30f, -1e30f, kInf, -kInf, kNaN};
  int dilations = 0;
  for (const float resolution : numbers) {
    for (const float radius : numbers) {
      for (const float fade : numbers) {
        OccupancyMap map = drawMap({"#..", ".5."});
        map.params.resolution = resolution;
        ObstacleDilater dilater(3, 2);
        dilater.setParams(radius, fade);
        for (const auto type : kAllTypes) {
          dilater.dilate(map, type);
          ++dilations;
        }
      }
    }
  }
  EXPECT_EQ(dilations, 9 * 9 * 9 * 4);
}

std::vector<float> linear(float radius, float fade) {
  OccupancyMap map = drawMap({"#."});
  ObstacleDilater(2, 1).xDoDilateWithFunctTransform(map, radius, fade, {});
  return {map.getCell(0, 0), map.getCell(1, 0)};
}

TEST(ObstacleDilaterBadInput, infiniteRadiusBlocksEverything) {
  EXPECT_EQ(linear(kInf, 1.0f), (std::vector<float>{0.0f, 0.0f}));
}

TEST(ObstacleDilaterBadInput, radiusThatIsNotANumberFreesEverything) {
  EXPECT_EQ(linear(kNaN, 1.0f), (std::vector<float>{1.0f, 1.0f}));
}

TEST(ObstacleDilaterBadInput, infiniteFadeNeverRises) {
  EXPECT_EQ(linear(0.0f, kInf), (std::vector<float>{0.0f, 0.0f}));
}

}  // namespace
