// The dilater agrees with the plain chain of OpenCV calls, bit for bit.
#include "models/obstacle_dilater_model.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>

#include "korrin/obstacle_dilater.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameImage;
using korrin_test::sameMap;

::testing::AssertionResult agrees(const OccupancyMap& map, ObstacleDilater& dilater, int type) {
  OccupancyMap expected(map);
  korrin_model::DilateImages images(cvGetSize(map.image));
  korrin_model::dilate(expected, images,
                       {dilater.obstProbThreshold, dilater.dilationRadius, dilater.fadeDistance},
                       type);
  OccupancyMap actual(map);
  dilater.dilate(actual, static_cast<ObstacleDilater::DilateType>(type));
  if (type != 2) {
    auto same = sameImage(dilater.distImage, images.distImage);
    if (!same) return same << " (distances)";
    same = sameImage(dilater.charImage, images.charImage);
    if (!same) return same << " (bytes)";
  }
  return sameMap(actual, expected);
}

TEST(ObstacleDilaterModel, distanceMethodsAgreeOnAnyMapAndAnyDistances) {
  RandomInputs random(41);
  int wildDistances = 0;
  int withObstacle = 0;
  for (int i = 0; i < 4000; ++i) {
    MapBounds bounds;
    bounds.minSide = 1;
    bounds.maxSide = random.chance(0.1) ? 90 : 12;
    bounds.wildShare = random.chance(0.3) ? 0.1 : 0.0;
    bounds.levels = random.chance(0.3) ? std::vector<float>{1.0f} : bounds.levels;
    OccupancyMap map = random.map(bounds);
    if (random.chance(0.1)) map.params.resolution = random.wildFloat();
    ObstacleDilater dilater(map.params.width, map.params.height);
    const bool wild = random.chance(0.2);
    dilater.setObstProbThreshold(
        random.pick<float>({0.1f, 0.1f, 0.0f, 0.5f, 0.99609375f, 1.0f, -0.01f, 7.0f}));
    dilater.setParams(wild ? random.wildFloat() : random.between(0.0f, 2.0f),
                      wild ? random.wildFloat() : random.between(0.0f, 3.0f));
    if (random.chance(0.1)) dilater.fadeDistance = dilater.dilationRadius;
    const int type = random.between(-1, 3);
    if (type == 2) continue;
    ASSERT_TRUE(agrees(map, dilater, type)) << "case " << i << ", type " << type;
    wildDistances += wild ? 1 : 0;
    double least = 0.0;
    cvMinMaxLoc(dilater.charImage, &least, nullptr);
    withObstacle += least == 0.0 ? 1 : 0;
  }
  EXPECT_GT(wildDistances, 400);
  EXPECT_GT(withObstacle, 1500);
  EXPECT_LT(withObstacle, 3100);
}

TEST(ObstacleDilaterModel, erosionAndBlurAgree) {
  RandomInputs random(42);
  int eroded = 0;
  int wildMaps = 0;
  for (int i = 0; i < 1500; ++i) {
    MapBounds bounds;
    bounds.minSide = 1;
    bounds.maxSide = random.chance(0.1) ? 60 : 14;
    bounds.wildShare = random.chance(0.2) ? 0.05 : 0.0;
    OccupancyMap map = random.map(bounds);
    map.params.resolution = 1.0f;
    ObstacleDilater dilater(map.params.width, map.params.height);
    // Which of two cells survives where one is no number depends on how far the window reaches
    // beyond the map, so wild maps are not eroded past their size.
    const float most = bounds.wildShare > 0.0 ? 1.0f : 30.0f;
    dilater.setParams(random.between(0.0f, most),
                      random.pick<float>({0.0f, 0.001f, 0.002f, 0.4f, 1.0f, 3.5f, 100.0f}));
    ASSERT_TRUE(agrees(map, dilater, 2)) << "case " << i;
    eroded += dilater.dilationRadius >= 1.0f && dilater.fadeDistance > 0.001f ? 1 : 0;
    wildMaps += bounds.wildShare > 0.0 ? 1 : 0;
  }
  EXPECT_GT(eroded, 500);
  EXPECT_GT(wildMaps, 200);
}

RC_GTEST_PROP(ObstacleDilaterModel, smallMapsAgree, ()) {
  const int width = *rc::gen::inRange(1, 7);
  const int height = *rc::gen::inRange(1, 7);
  OccupancyMap map(width, height, 1.0f, false);
  const auto obstacles = *rc::gen::container<std::vector<bool>>(
      static_cast<std::size_t>(width * height), rc::gen::arbitrary<bool>());
  for (int i = 0; i < width * height; ++i) {
    map.setCell(i % width, i / width, obstacles[static_cast<std::size_t>(i)] ? 0.0f : 1.0f);
  }
  ObstacleDilater dilater(width, height);
  dilater.setParams(static_cast<float>(*rc::gen::inRange(0, 30)) / 10.0f,
                    static_cast<float>(*rc::gen::inRange(0, 50)) / 10.0f);
  RC_ASSERT(static_cast<bool>(agrees(map, dilater, *rc::gen::inRange(0, 4))));
}

}  // namespace
