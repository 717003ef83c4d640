// Where a grid lies in the world: cells to poses and back.
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "korrin/core/occupancy_map.hpp"
#include "models/core/occupancy_map_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

OccupancyMapParams randomParams(RandomInputs& random) {
  OccupancyMapParams params(random.between(1, 400), random.between(1, 400),
                            random.pick<float>({0.01f, 0.05f, 0.1f, 0.3f, 1.0f}));
  params.origin = {random.between(-20.0f, 20.0f), random.between(-20.0f, 20.0f),
                   random.between(-3.14f, 3.14f)};
  return params;
}

TEST(OccupancyMapParams, areARecordWithTheirFieldsInOrder) {
  static_assert(std::is_standard_layout_v<OccupancyMapParams>);
  static_assert(
      std::is_same_v<std::underlying_type_t<OccupancyMapParams::OriginMode>, std::int32_t>);
  EXPECT_EQ(offsetof(OccupancyMapParams, width), 0u);
  EXPECT_EQ(offsetof(OccupancyMapParams, height), 4u);
  EXPECT_EQ(offsetof(OccupancyMapParams, resolution), 8u);
  EXPECT_EQ(offsetof(OccupancyMapParams, origin), 12u);
  const OccupancyMapParams params(7, 5, 0.25f, OccupancyMapParams::Corner);
  EXPECT_EQ(params.width, 7);
  EXPECT_EQ(params.height, 5);
  EXPECT_EQ(params.resolution, 0.25f);
}

TEST(OccupancyMapParams, putTheWorldsOriginOnCellZeroByDefault) {
  EXPECT_EQ(OccupancyMapParams::Corner, 0);
  EXPECT_TRUE(sameBits(OccupancyMapParams(7, 5, 0.25f).origin, Pose2D(0, 0, 0)));
  EXPECT_TRUE(sameBits(OccupancyMapParams(7, 5, 0.25f, OccupancyMapParams::Corner).origin,
                       Pose2D(0, 0, 0)));
  EXPECT_TRUE(sameBits(OccupancyMap(7, 5, 0.25f, false).params.origin, Pose2D(0, 0, 0)));
}

TEST(OccupancyMapParams, putTheWorldsOriginOnTheMiddleCellInCenterMode) {
  EXPECT_EQ(OccupancyMapParams::Center, 1);
  for (int width = 1; width < 6; ++width) {
    const OccupancyMapParams params(width, 8 - width, 0.25f, OccupancyMapParams::Center);
    const Pose2Di cell = params.getPixelFromPose({0.0f, 0.0f, 0.0f});
    EXPECT_EQ(cell.x, width / 2);
    EXPECT_EQ(cell.y, (8 - width) / 2);
    const Pose2D centre = params.getPoseFromPixel(cell);
    EXPECT_EQ(centre.x, 0.0f);
    EXPECT_EQ(centre.y, 0.0f);
  }
}

TEST(OccupancyMapParams, placeCellZerosCentreAtTheOrigin) {
  OccupancyMapParams params(10, 10, 0.5f);
  params.origin = {3.0f, -4.0f, 0.75f};
  EXPECT_TRUE(sameBits(params.getPoseFromPixel({0, 0, 0.0f}), params.origin));
}

TEST(GetPoseFromPixel, goesAlongTheTurnedAxes) {
  OccupancyMapParams params(10, 10, 0.5f);
  params.origin = {1.0f, 2.0f, Brin::kPi / 2.0f};
  const Pose2D pose = params.getPoseFromPixel({4, 2, 0.25f});
  EXPECT_NEAR(pose.x, 0.0f, 1e-5f);
  EXPECT_NEAR(pose.y, 4.0f, 1e-5f);
  EXPECT_NEAR(pose.theta, Brin::kPi / 2.0f + 0.25f, 1e-5f);
}

TEST(GetPixelFromPose, givesTheCellWhoseCentreIsNearest) {
  const OccupancyMapParams params(10, 10, 2.0f);
  EXPECT_EQ(params.getPixelFromPose({0.9f, 3.1f, 0}).x, 0);
  EXPECT_EQ(params.getPixelFromPose({0.9f, 3.1f, 0}).y, 2);
  EXPECT_EQ(params.getPixelFromPose({-0.9f, -1.1f, 0}).x, 0);
  EXPECT_EQ(params.getPixelFromPose({-0.9f, -1.1f, 0}).y, -1);
}

TEST(GetPixelFromPose, givesTheBorderOfTwoCellsToTheLaterOne) {
  const OccupancyMapParams params(10, 10, 2.0f);
  EXPECT_EQ(params.getPixelFromPose({1.0f, 3.0f, 0}).x, 1);
  EXPECT_EQ(params.getPixelFromPose({1.0f, 3.0f, 0}).y, 2);
  EXPECT_EQ(params.getPixelFromPose({-1.0f, -3.0f, 0}).x, 0);
  EXPECT_EQ(params.getPixelFromPose({-1.0f, -3.0f, 0}).y, -1);
}

TEST(GetPixelFromPose, givesTheHeadingRelativeToTheGrid) {
  OccupancyMapParams params(10, 10, 1.0f);
  params.origin.theta = 0.5f;
  EXPECT_FLOAT_EQ(params.getPixelFromPose({0, 0, 0.75f}).theta, 0.25f);
}

TEST(GetPixelFromPose, mayLieOutsideTheMap) {
  const OccupancyMapParams params(2, 2, 1.0f);
  EXPECT_EQ(params.getPixelFromPose({100.0f, -100.0f, 0}).x, 100);
  EXPECT_EQ(params.getPixelFromPose({100.0f, -100.0f, 0}).y, -100);
}

TEST(GetPixelFromPose, limitsWildPosesToACellFarOutside) {
  constexpr int kFar = 1 << 28;
  const OccupancyMapParams params(2, 2, 1.0f);
  EXPECT_EQ(params.getPixelFromPose({1e30f, -1e30f, 0}).x, kFar);
  EXPECT_EQ(params.getPixelFromPose({1e30f, -1e30f, 0}).y, -kFar);
  EXPECT_EQ(params.getPixelFromPose({kInf, -kInf, 0}).x, -kFar);  // 0 * inf is in it
  EXPECT_EQ(params.getPixelFromPose({0, kNan, 0}).y, -kFar);
  EXPECT_EQ(params.getPixelFromPose({kNan, 0, 0}).x, -kFar);
  // The limits themselves, and the floats beside them.
  constexpr auto kFarFloat = static_cast<float>(kFar);
  EXPECT_EQ(params.getPixelFromPose({kFarFloat, -kFarFloat, 0}).x, kFar);
  EXPECT_EQ(params.getPixelFromPose({kFarFloat, -kFarFloat, 0}).y, -kFar);
  EXPECT_EQ(params.getPixelFromPose({std::nextafter(kFarFloat, 0.0f), 0, 0}).x, kFar - 16);
  EXPECT_EQ(params.getPixelFromPose({std::nextafter(-kFarFloat, -kInf), 0, 0}).x, -kFar);
  EXPECT_EQ(params.getPixelFromPose({std::nextafter(kFarFloat, kInf), 0, 0}).x, kFar);
}

TEST(GetPixelFromPose, ofAMapWithoutResolutionIsACellFarOutside) {
  const OccupancyMapParams params(2, 2, 0.0f);
  EXPECT_EQ(params.getPixelFromPose({0, 1, 0}).x, -(1 << 28));
  EXPECT_EQ(params.getPixelFromPose({0, 1, 0}).y, 1 << 28);
}

TEST(GetPixelFromPose, givesTheModelsCellForAnyFloats) {
  RandomInputs random(31);
  int onTheMap = 0;
  for (int i = 0; i < 100000; ++i) {
    OccupancyMapParams params = randomParams(random);
    if (random.chance(0.1)) params.resolution = random.wildFloat();
    if (random.chance(0.1)) params.origin = random.wildPose();
    const Pose2D pose = random.chance(0.2) ? random.wildPose()
                                           : Pose2D(random.between(-40.0f, 40.0f),
                                                    random.between(-40.0f, 40.0f), 1.0f);
    const Pose2Di cell = params.getPixelFromPose(pose);
    ASSERT_TRUE(sameBits(cell, korrin_model::getPixelFromPose(params, pose)));
    ASSERT_TRUE(
        sameBits(params.getPoseFromPixel(cell), korrin_model::getPoseFromPixel(params, cell)));
    onTheMap += cell.x >= 0 && cell.y >= 0 && cell.x < params.width && cell.y < params.height;
  }
  EXPECT_GT(onTheMap, 5000);
}

TEST(GetPoseFromPixel, ofAPosesCellIsWithinHalfACellOfThePose) {
  RandomInputs random(32);
  for (int i = 0; i < 100000; ++i) {
    const OccupancyMapParams params = randomParams(random);
    const Pose2D pose(random.between(-40.0f, 40.0f), random.between(-40.0f, 40.0f), 0.0f);
    const Pose2D centre = params.getPoseFromPixel(params.getPixelFromPose(pose));
    // Half a cell along each of the grid's own axes, which the origin turns.
    const Pose2D along = params.origin.relProject(pose);
    const Pose2D back = params.origin.relProject(centre);
    const float half = 0.5f * params.resolution + 2e-5f;
    ASSERT_LE(std::fabs(along.x - back.x), half);
    ASSERT_LE(std::fabs(along.y - back.y), half);
  }
}

TEST(GetPoseFromPixel, ofAPosesCellIsWithinHalfACellInXAndYWhenTheGridIsNotTurned) {
  RandomInputs random(33);
  for (int i = 0; i < 20000; ++i) {
    OccupancyMapParams params = randomParams(random);
    params.origin.theta = 0.0f;
    const Pose2D pose(random.between(-40.0f, 40.0f), random.between(-40.0f, 40.0f), 0.0f);
    const Pose2D centre = params.getPoseFromPixel(params.getPixelFromPose(pose));
    ASSERT_LE(std::fabs(centre.x - pose.x), 0.5f * params.resolution + 1e-5f);
    ASSERT_LE(std::fabs(centre.y - pose.y), 0.5f * params.resolution + 1e-5f);
  }
}

TEST(GetPixelFromPose, givesACellsOwnCentreBackAsThatCell) {
  RandomInputs random(34);
  for (int i = 0; i < 100000; ++i) {
    const OccupancyMapParams params = randomParams(random);
    const Pose2Di cell(random.between(-500, 900), random.between(-500, 900), 0.5f);
    const Pose2Di back = params.getPixelFromPose(params.getPoseFromPixel(cell));
    ASSERT_EQ(back.x, cell.x);
    ASSERT_EQ(back.y, cell.y);
    ASSERT_NEAR(Brin::canonicalAngle(back.theta - cell.theta), 0.0f, 1e-5f);
  }
}

}  // namespace
