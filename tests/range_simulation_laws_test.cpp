// Range simulation and its literal model agree bit for bit, on inputs of every kind.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"
#include "support/beam_maps.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_test::arbitraryBeamMap;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

OccupancyMap anyMap(RandomInputs& random) {
  MapBounds bounds;
  bounds.maxSide = random.chance(0.3) ? 150 : 12;
  if (random.chance(0.7)) bounds.levels = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.9f, 0.45f, 0.0f};
  if (random.chance(0.7)) bounds.anyValueShare = 0.01;
  bounds.wildShare = random.chance(0.2) ? 0.1 : 0.0;
  bounds.secondImageShare = 0.5;
  OccupancyMap map = random.map(bounds);
  if (random.chance(0.03)) map.params.resolution = random.wildFloat();
  return map;
}

float anyThreshold(RandomInputs& random, const OccupancyMap& map) {
  if (random.chance(0.05)) return random.wildFloat();
  const float cell = map.getCell(random.between(0, 9), random.between(0, 9));
  return random.chance(0.5) ? random.pick<float>({0.2f, 0.45f, 0.5f, 0.55f, 1.0f}) : cell;
}

ScanModel anyModel(RandomInputs& random) {
  const int count = random.chance(0.1) ? random.between(20, 150) : random.between(0, 20);
  ScanModel model(count, random.between(0.0f, 60.0f), random.between(-7.0f, 7.0f));
  if (random.chance(0.5)) model.minRange = random.between(0.0f, 0.5f);
  if (random.chance(0.3)) model.lowThreshold = random.pick<float>({0.2f, 0.5f, 0.9f});
  for (float* field : {&model.maxRange, &model.minRange, &model.fieldOfView, &model.startAngle,
                       &model.lowThreshold, &model.rangeSigma}) {
    if (random.chance(0.02)) *field = random.wildFloat();
  }
  return model;
}

int anyCoordinate(RandomInputs& random, int size) {
  if (random.chance(0.01)) {
    constexpr int kMax = std::numeric_limits<int>::max();
    return random.chance(0.5) ? kMax : -kMax - 1;
  }
  return random.between(-size / 2 - 2, size + size / 2 + 2);
}

TEST(RangeSimulationLaw, beamsStopWhereTheModelsStop) {
  RandomInputs random(21);
  int hits = 0;
  int clear = 0;
  int vetoed = 0;
  for (int i = 0; i < 3000; ++i) {
    OccupancyMap map = anyMap(random);
    for (int j = 0; j < 20; ++j) {
      const ScanModel model = anyModel(random);
      const bool anywhere = random.chance(0.1) || map.params.width == 0 || map.params.height == 0;
      const Point2Di from(
          anywhere ? anyCoordinate(random, 12) : random.between(0, map.params.width - 1),
          anywhere ? anyCoordinate(random, 12) : random.between(0, map.params.height - 1));
      const Point2Di to(random.chance(0.1) ? from.x : anyCoordinate(random, map.params.width),
                        random.chance(0.1) ? from.y : anyCoordinate(random, map.params.height));
      const float threshold = anyThreshold(random, map);
      const RangeReading actual = Brin::occMapGetRange(map, model, from, to, threshold);
      ASSERT_TRUE(sameBits(actual, korrin_model::occMapGetRange(map, model, from, to, threshold)))
          << from.x << "," << from.y << " to " << to.x << "," << to.y << " below " << threshold;
      hits += actual.status == 0 && actual.range > 0.0f ? 1 : 0;
      clear += actual.status == 1 && actual.range > 0.0f ? 1 : 0;
      IplImage* second = std::exchange(map.secondImage, nullptr);
      const RangeReading firstLayer = Brin::occMapGetRange(map, model, from, to, threshold);
      map.secondImage = second;
      vetoed += sameBits(firstLayer, actual) ? 0 : 1;
    }
  }
  EXPECT_GT(hits, 8000);
  EXPECT_GT(clear, 8000);
  EXPECT_GT(vetoed, 2000);
}

TEST(RangeSimulationLaw, simulatedScansAreTheModels) {
  RandomInputs random(22);
  int hits = 0;
  int wild = 0;
  for (int i = 0; i < 5000; ++i) {
    const OccupancyMap map = anyMap(random);
    const ScanModel model = anyModel(random);
    const Pose2D pose = random.chance(0.03) ? random.wildPose() : random.poseNear(map);
    const float threshold = anyThreshold(random, map);
    std::vector<RangeReading> actual(3);
    std::vector<RangeReading> expected;
    Brin::occMapSimulateScan(map, model, pose, actual, threshold);
    korrin_model::occMapSimulateScan(map, model, pose, expected, threshold);
    ASSERT_TRUE(sameBits(actual, expected)) << i;
    for (const RangeReading& reading : actual) {
      hits += reading.status == 0 ? 1 : 0;
      wild += std::isfinite(reading.range) && std::isfinite(reading.angle) ? 0 : 1;
    }
  }
  EXPECT_GT(hits, 5000);
  EXPECT_GT(wild, 400);
}

TEST(RangeSimulationLaw, likelihoodsAreTheModels) {
  RandomInputs random(23);
  int ordinary = 0;
  for (int i = 0; i < 20000; ++i) {
    const ScanModel model = anyModel(random);
    const double wildShare = random.chance(0.1) ? 0.1 : 0.0;
    const auto a = random.readings(30, 5.0f, wildShare);
    auto b = random.readings(60, 5.0f, wildShare);
    if (b.size() < a.size()) b.resize(a.size());
    if (random.chance(0.5)) {
      for (std::size_t k = 0; k < a.size(); ++k)
        b[k].range = a[k].range + random.between(0.0f, 0.4f);
    }
    const int step = random.between(1, 7);
    const float actual = model.scanLikelihood(a, b, step);
    ASSERT_TRUE(sameBits(actual, korrin_model::scanLikelihood(model, a, b, step)));
    ordinary += actual > 0.3f && actual < 2.0f ? 1 : 0;
  }
  EXPECT_GT(ordinary, 5000);
}

TEST(RangeSimulationLaw, mapsFromScansAreTheModels) {
  RandomInputs random(24);
  int cells = 0;
  for (int i = 0; i < 1000; ++i) {
    OccupancyMap map = anyMap(random);
    OccupancyMap expected(map);
    const Pose2D pose = random.chance(0.02) ? random.wildPose() : random.poseNear(map);
    Brin::Scan scan;
    scan.readings = random.readings(12, 6.0f, random.chance(0.05) ? 0.1 : 0.0);
    const int subdivisions = random.between(-1, 5);
    Brin::fillOccMapFromScan(scan, pose, map, subdivisions);
    korrin_model::fillOccMapFromScan(scan, pose, expected, subdivisions);
    ASSERT_TRUE(korrin_test::sameMap(map, expected)) << i;
    for (int y = 0; y < map.image->height; ++y) {
      for (int x = 0; x < map.image->width; ++x) cells += map.getCell(x, y) != 0.5f ? 1 : 0;
    }
  }
  EXPECT_GT(cells, 20000);
}

// Shrinks to the smallest map and beam that disagree.
RC_GTEST_PROP(RangeSimulationLaw, smallestBeams, ()) {
  const OccupancyMap map = arbitraryBeamMap();
  const auto coordinate = rc::gen::inRange(-9, 16);
  const Point2Di from(*coordinate, *coordinate);
  const Point2Di to(*coordinate, *coordinate);
  const ScanModel model(1, 1.0f, 1.0f);
  RC_ASSERT(sameBits(Brin::occMapGetRange(map, model, from, to, 0.5f),
                     korrin_model::occMapGetRange(map, model, from, to, 0.5f)));
}

}  // namespace
