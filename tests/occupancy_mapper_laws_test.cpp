// The mapper and its literal model agree bit for bit, on inputs of every kind.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/occupancy_mapper.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapper;
using Brin::Pose2D;
using Brin::RangeReading;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameMap;

// Small maps for edges, large ones for long walks; some cells are no probabilities.
OccupancyMap anyMap(RandomInputs& random) {
  MapBounds bounds;
  bounds.maxSide = random.chance(0.3) ? 150 : 12;
  if (random.chance(0.7))
    bounds.levels = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.9f, 0.5f, 0.0f};
  if (random.chance(0.7)) bounds.anyValueShare = 0.01;
  bounds.wildShare = random.chance(0.2) ? 0.1 : 0.0;
  OccupancyMap map = random.map(bounds);
  if (random.chance(0.03)) map.params.resolution = random.wildFloat();
  return map;
}

float anyThreshold(RandomInputs& random, const OccupancyMap& map) {
  if (random.chance(0.05)) return random.wildFloat();
  const float cell = map.getCell(random.between(0, 9), random.between(0, 9));
  return random.chance(0.5) ? random.pick<float>({0.2f, 0.45f, 0.5f, 0.55f, 1.0f}) : cell;
}

// Wild ones only now and then: the model takes every step of theirs.
Pose2D anyPose(RandomInputs& random, const OccupancyMap& map) {
  return random.chance(0.03) ? random.wildPose() : random.poseNear(map);
}

int anyCoordinate(RandomInputs& random, int size) {
  if (random.chance(0.002)) return random.chance(0.5) ? 1 << 22 : -(1 << 22);
  return random.between(-size / 2 - 2, size + size / 2 + 2);
}

float anyIncrement(RandomInputs& random) {
  return random.chance(0.05) ? random.wildFloat() : random.between(-1.0f, 1.0f);
}

bool hasChanged(const OccupancyMap& a, const OccupancyMap& b) { return !sameMap(a, b); }

TEST(OccupancyMapperLaw, linesChangeTheCellsThatTheModelsChange) {
  RandomInputs random(11);
  int changed = 0;
  for (int i = 0; i < 4000; ++i) {
    OccupancyMap map = anyMap(random);
    const OccupancyMap before(map);
    OccupancyMap expected(map);
    const int x0 = anyCoordinate(random, map.params.width);
    const int y0 = anyCoordinate(random, map.params.height);
    const int x1 = random.chance(0.1) ? x0 : anyCoordinate(random, map.params.width);
    const int y1 = random.chance(0.1) ? y0 : anyCoordinate(random, map.params.height);
    const float freeInc = anyIncrement(random);
    const float endInc = anyIncrement(random);
    OccupancyMapper(&map).xLineBres(x0, y0, x1, y1, freeInc, endInc);
    korrin_model::xLineBres(expected, x0, y0, x1, y1, freeInc, endInc);
    ASSERT_TRUE(sameMap(map, expected));
    OccupancyMapper(&map).xLineBres2(x0, y0, x1, y1, freeInc, endInc);
    korrin_model::xLineBres2(expected, x1, y1, endInc);
    ASSERT_TRUE(sameMap(map, expected));
    changed += hasChanged(map, before) ? 1 : 0;
  }
  EXPECT_GT(changed, 1500);
}

TEST(OccupancyMapperLaw, updatesChangeTheCellsThatTheModelsChange) {
  RandomInputs random(12);
  int changed = 0;
  int lowered = 0;
  for (int i = 0; i < 3000; ++i) {
    OccupancyMap map = anyMap(random);
    const OccupancyMap before(map);
    OccupancyMap expected(map);
    const Pose2D pose = anyPose(random, map);
    const float reach = 1.5f * static_cast<float>(map.params.width) * map.params.resolution;
    const auto readings = random.readings(12, reach, random.chance(0.1) ? 0.2 : 0.0);
    const float freeInc = anyIncrement(random);
    const float occInc = anyIncrement(random);
    OccupancyMapper(&map).updateMap(readings, pose, freeInc, occInc);
    korrin_model::updateMap(expected, readings, pose, freeInc, occInc);
    ASSERT_TRUE(sameMap(map, expected)) << i;
    changed += hasChanged(map, before) ? 1 : 0;

    const OccupancyMap between(map);
    OccupancyMapper(&map).updateMap2(readings, pose, freeInc, occInc);
    korrin_model::updateMap2(expected, readings, pose, occInc);
    ASSERT_TRUE(sameMap(map, expected)) << i;
    lowered += hasChanged(map, between) ? 1 : 0;
  }
  EXPECT_GT(changed, 1500);
  EXPECT_GT(lowered, 300);
}

// Range times cosine first, then times the inverse resolution: on readings for which another order
// would end in another cell.
TEST(OccupancyMapperLaw, beamsEndInTheCellsOfTheModelsWhereRoundingDecides) {
  RandomInputs random(17);
  OccupancyMap map(60, 60, 0.3f, false);
  const float inv = 1.0f / 0.3f;
  int decided = 0;
  for (int i = 0; decided < 6 && i < 10000000; ++i) {
    const RangeReading reading(random.between(0.0f, 15.0f), random.between(0.0f, 1.5f));
    float sine = 0.0f;
    float cosine = 0.0f;
    ::sincosf(reading.angle, &sine, &cosine);
    const auto differs = [&](float factor) {
      return std::trunc(reading.range * factor * inv) != std::trunc(reading.range * (factor * inv));
    };
    if (!differs(sine) && !differs(cosine)) continue;
    ++decided;
    map.reset(0.5f);
    OccupancyMap expected(map);
    OccupancyMapper(&map).updateMap2({reading}, {0.0f, 0.0f, 0.0f}, 0.0f, 0.1f);
    korrin_model::updateMap2(expected, {reading}, {0.0f, 0.0f, 0.0f}, 0.1f);
    ASSERT_TRUE(sameMap(map, expected));
  }
  EXPECT_EQ(decided, 6);
}

TEST(OccupancyMapperLaw, plainFloatClampsOfTheModelGiveTheSameMaps) {
  RandomInputs random(13);
  for (int i = 0; i < 500; ++i) {
    OccupancyMap wide = anyMap(random);
    OccupancyMap narrow(wide);
    const Pose2D pose = random.poseNear(wide);
    const auto readings = random.readings(12, 4.0f, 0.0);
    korrin_model::updateMap<long double>(wide, readings, pose, 0.07f, 0.13f);
    korrin_model::updateMap<float>(narrow, readings, pose, 0.07f, 0.13f);
    ASSERT_TRUE(sameMap(wide, narrow));
  }
}

TEST(OccupancyMapperLaw, raysStopWhereTheModelsStop) {
  RandomInputs random(14);
  int hits = 0;
  int clear = 0;
  int startsOutside = 0;
  for (int i = 0; i < 3000; ++i) {
    OccupancyMap map = anyMap(random);
    const OccupancyMapper mapper(&map);
    for (int j = 0; j < 20; ++j) {
      const bool anywhere = random.chance(0.1) || map.params.width == 0 || map.params.height == 0;
      const int x0 = anywhere ? anyCoordinate(random, 12) : random.between(0, map.params.width - 1);
      const int y0 =
          anywhere ? anyCoordinate(random, 12) : random.between(0, map.params.height - 1);
      const int x1 = random.chance(0.1) ? x0 : anyCoordinate(random, map.params.width);
      const int y1 = random.chance(0.1) ? y0 : anyCoordinate(random, map.params.height);
      const float threshold = anyThreshold(random, map);
      const RangeReading actual = mapper.xThrowRay(x0, y0, x1, y1, threshold);
      ASSERT_TRUE(sameBits(actual, korrin_model::xThrowRay(map, x0, y0, x1, y1, threshold)))
          << x0 << "," << y0 << " to " << x1 << "," << y1 << " below " << threshold;
      hits += actual.status == 0 && actual.range > 0.0f ? 1 : 0;
      clear += actual.status == 1 && actual.range > 0.0f ? 1 : 0;
      startsOutside += map.isInside(x0, y0) ? 0 : 1;
    }
  }
  EXPECT_GT(hits, 8000);
  EXPECT_GT(clear, 8000);
  EXPECT_GT(startsOutside, 2000);
}

TEST(OccupancyMapperLaw, raysBetweenPointsAreTheModels) {
  RandomInputs random(15);
  int seen = 0;
  for (int i = 0; i < 20000; ++i) {
    OccupancyMap map = anyMap(random);
    const Pose2D from = random.chance(0.05) ? random.wildPose() : random.poseNear(map);
    const Pose2D to = random.chance(0.05) ? random.wildPose() : random.poseNear(map);
    const float threshold = anyThreshold(random, map);
    const RangeReading actual = OccupancyMapper(&map).throwRay(from, to, threshold);
    ASSERT_TRUE(sameBits(actual, korrin_model::throwRay(map, from, to, threshold)));
    seen += actual.range > 0.0f ? 1 : 0;
  }
  EXPECT_GT(seen, 5000);
}

TEST(OccupancyMapperLaw, simulatedScansAreTheModels) {
  RandomInputs random(16);
  int hits = 0;
  int wild = 0;
  const auto angle = [&] {
    return random.chance(0.03) ? random.wildFloat() : random.between(-7.0f, 7.0f);
  };
  for (int i = 0; i < 5000; ++i) {
    OccupancyMap map = anyMap(random);
    const Pose2D pose = anyPose(random, map);
    const float startAngle = angle();
    const float endAngle = angle();
    const float minRange = random.chance(0.05) ? random.wildFloat() : random.between(0.0f, 0.3f);
    const float maxRange = random.chance(0.05) ? random.wildFloat() : random.between(0.0f, 60.0f);
    const int count = random.chance(0.1) ? random.between(20, 150) : random.between(0, 20);
    const float threshold = anyThreshold(random, map);
    std::vector<RangeReading> actual(3);
    std::vector<RangeReading> expected;
    OccupancyMapper(&map).simulateScan(pose, startAngle, endAngle, minRange, maxRange, count,
                                       actual, threshold);
    korrin_model::simulateScan(map, pose, startAngle, endAngle, minRange, maxRange, count, expected,
                               threshold);
    ASSERT_TRUE(sameBits(actual, expected)) << i;
    for (const RangeReading& reading : actual) {
      hits += reading.status == 0 ? 1 : 0;
      wild += std::isfinite(reading.range) && std::isfinite(reading.angle) ? 0 : 1;
    }
  }
  EXPECT_GT(hits, 5000);
  EXPECT_GT(wild, 400);
}

// Shrinks to the smallest map and ray that disagree.
RC_GTEST_PROP(OccupancyMapperLaw, smallestRays, ()) {
  const int width = *rc::gen::inRange(1, 7);
  const int height = *rc::gen::inRange(1, 7);
  OccupancyMap map(width, height, 1.0f, false);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) map.setCell(x, y, *rc::gen::element(1.0f, 1.0f, 0.5f, 0.0f));
  }
  const auto coordinate = rc::gen::inRange(-9, 16);
  const int x0 = *coordinate, y0 = *coordinate, x1 = *coordinate, y1 = *coordinate;
  RC_ASSERT(sameBits(OccupancyMapper(&map).xThrowRay(x0, y0, x1, y1, 0.5f),
                     korrin_model::xThrowRay(map, x0, y0, x1, y1, 0.5f)));
  OccupancyMap expected(map);
  OccupancyMapper(&map).xLineBres(x0, y0, x1, y1, 0.25f, -0.5f);
  korrin_model::xLineBres(expected, x0, y0, x1, y1, 0.25f, -0.5f);
  RC_ASSERT(bool(sameMap(map, expected)));
}

}  // namespace
