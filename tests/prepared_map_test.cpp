// A prepared map answers as the map itself, now and after every refresh.
#include "korrin/prepared_map.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "models/prepared_map_model.hpp"
#include "support/allocation_limit.hpp"
#include "support/beam_maps.hpp"
#include "support/bits.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::PreparedMap;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_test::arbitraryBeamMap;
using korrin_test::drawMap;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::setSecond;
using Readings = std::vector<RangeReading>;

constexpr int kIntMin = std::numeric_limits<int>::min();
constexpr int kIntMax = std::numeric_limits<int>::max();

TEST(PreparedMap, raysStopAtTheFirstCellBelowTheThreshold) {
  const OccupancyMap map = drawMap({".......#.#"}, 0.5f);
  const PreparedMap prepared(map, 0.5f);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 9, 0).range, 3.5f);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 9, 0).status, 0);
  EXPECT_EQ(prepared.xThrowRay(8, 0, -20, 0).range, 0.5f);
}

TEST(PreparedMap, itsThresholdIsTheOneItWasPreparedFor) {
  const OccupancyMap map = drawMap({"..9.?.2.#."});
  EXPECT_EQ(PreparedMap(map, 1.0f).xThrowRay(0, 0, 9, 0).range, 2.0f);
  EXPECT_EQ(PreparedMap(map, 0.6f).xThrowRay(0, 0, 9, 0).range, 4.0f);
  EXPECT_EQ(PreparedMap(map, 0.5f).xThrowRay(0, 0, 9, 0).range, 6.0f);
  EXPECT_EQ(PreparedMap(map, 0.1f).xThrowRay(0, 0, 9, 0).range, 8.0f);
  const float nothing = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(PreparedMap(map, nothing).xThrowRay(0, 0, 9, 0).status, 1);
}

// The one rule in which the two kinds of rays differ.
TEST(PreparedMap, beamsAreTestedAtTheirEndCellAndRaysAreNot) {
  const OccupancyMap map = drawMap({"...#"});
  const PreparedMap prepared(map, 0.5f);
  const ScanModel model(1, 1.0f, 1.0f);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 3, 0).status, 1);
  EXPECT_EQ(prepared.occMapGetRange(model, {0, 0}, {3, 0}).status, 0);
  EXPECT_EQ(prepared.xThrowRay(3, 0, 3, 0).status, 1);
  EXPECT_EQ(prepared.occMapGetRange(model, {3, 0}, {3, 0}).status, 0);
}

TEST(PreparedMap, theSecondImageLetsBeamsPassAndNotRays) {
  OccupancyMap map = drawMap({"..##..#."}, 1.0f, true);
  for (int x : {2, 3}) setSecond(map, x, 0, 0.44f);
  const PreparedMap prepared(map, 0.5f);
  const ScanModel model(1, 1.0f, 1.0f);
  EXPECT_EQ(prepared.occMapGetRange(model, {0, 0}, {7, 0}).range, 6.0f);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 7, 0).range, 2.0f);
}

TEST(PreparedMap, theSecondImageCountsAsItIsWithoutARefresh) {
  OccupancyMap map = drawMap({"..#..#."}, 1.0f, true);
  const PreparedMap prepared(map, 0.5f);
  const ScanModel model(1, 1.0f, 1.0f);
  EXPECT_EQ(prepared.occMapGetRange(model, {0, 0}, {6, 0}).range, 2.0f);
  setSecond(map, 2, 0, 0.44f);
  EXPECT_EQ(prepared.occMapGetRange(model, {0, 0}, {6, 0}).range, 5.0f);
}

TEST(PreparedMap, aChangeCountsAfterARefresh) {
  OccupancyMap map = drawMap({"......#."});
  PreparedMap prepared(map, 0.5f);
  map.setCell(3, 0, 0.0f);
  prepared.refresh(3, 0, 1, 1);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 7, 0).range, 3.0f);
  map.reset(1.0f);
  prepared.refresh();
  EXPECT_EQ(prepared.xThrowRay(0, 0, 7, 0).range, 7.0f);
}

TEST(PreparedMap, anyRectangleIsFineToRefresh) {
  OccupancyMap map = drawMap({".....", "....."});
  PreparedMap prepared(map, 0.5f);
  map.setCell(2, 0, 0.0f);
  for (auto [x, y, width, height] :
       {std::tuple{0, 0, 0, 0}, std::tuple{2, 0, -1, 1}, std::tuple{2, 0, 1, kIntMin},
        std::tuple{5, 0, kIntMax, 1}, std::tuple{0, 2, 5, kIntMax}, std::tuple{-9, -9, 9, 9},
        std::tuple{kIntMin, kIntMin, kIntMax, kIntMax}}) {
    prepared.refresh(x, y, width, height);
  }
  prepared.refresh(1, -5, kIntMax, kIntMax);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 4, 0).range, 2.0f);
}

TEST(PreparedMap, aMapOfAnotherSizeIsOpenCvsErrorUntilItIsRefreshed) {
  OccupancyMap map = drawMap({"....", "...."});
  PreparedMap prepared(map, 0.5f);
  map = drawMap({"...", ".#.", "...", "..."});
  Readings out;
  EXPECT_THROW(prepared.xThrowRay(0, 0, 1, 1), cv::Exception);
  EXPECT_THROW(prepared.throwRay({}, {}), cv::Exception);
  EXPECT_THROW(prepared.occMapGetRange(ScanModel(1, 1.0f, 1.0f), {}, {}), cv::Exception);
  EXPECT_THROW(prepared.simulateScan({}, 1.0f, 0.0f, 1.0f, 1, out), cv::Exception);
  EXPECT_THROW(prepared.occMapSimulateScan(ScanModel(1, 1.0f, 1.0f), {}, out), cv::Exception);
  prepared.refresh(0, 0, 1, 1);
  EXPECT_EQ(prepared.xThrowRay(0, 1, 2, 1).range, 1.0f);
}

TEST(PreparedMap, aMissingImageIsOpenCvsError) {
  OccupancyMap map(2, 2, 1.0f, false);
  PreparedMap prepared(map, 0.5f);
  IplImage* const taken = std::exchange(map.image, nullptr);
  EXPECT_THROW(prepared.xThrowRay(0, 0, 1, 1), cv::Exception);
  EXPECT_THROW(prepared.refresh(), cv::Exception);
  EXPECT_THROW(prepared.refresh(0, 0, 1, 1), cv::Exception);
  EXPECT_THROW(PreparedMap(map, 0.5f), cv::Exception);
  map.image = taken;
}

TEST(PreparedMap, aMapWithoutCellsHasNoneToStartIn) {
  const OccupancyMap map(0, 0, 1.0f, false);
  PreparedMap prepared(map, 0.5f);
  prepared.refresh(0, 0, 3, 3);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 5, 5).range, 0.0f);
  EXPECT_EQ(prepared.xThrowRay(0, 0, 5, 5).status, 1);
}

TEST(PreparedMap, aSingleReadingHasNoAngle) {
  const OccupancyMap map = drawMap({"...", "..."});
  const PreparedMap prepared(map, 0.5f);
  for (const float fieldOfView : {2.0f, 0.0f, -2.0f}) {
    Readings out;
    prepared.simulateScan({}, fieldOfView, 0.0f, 5.0f, 1, out);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_TRUE(std::isnan(out[0].angle)) << fieldOfView;
  }
}

TEST(PreparedMap, aNegativeCountIsAVectorsLengthErrorOnceTheOutputIsEmpty) {
  const OccupancyMap map = drawMap({"..."});
  const PreparedMap prepared(map, 0.5f);
  Readings out(4);
  const korrin_test::AllocationLimit memory(1 << 20);  // whatever else the count may be taken for
  EXPECT_THROW(prepared.simulateScan({}, 1.0f, 0.0f, 5.0f, -1, out), std::length_error);
  EXPECT_TRUE(out.empty());
}

TEST(PreparedMap, aFieldOfViewIsCentredOnTheHeading) {
  const OccupancyMap map = drawMap({".....", ".#.#.", "....."});
  const PreparedMap prepared(map, 0.5f);
  Readings centred;
  Readings expected;
  prepared.simulateScan({2.0f, 1.0f, 0.3f}, 2.5f, 0.1f, 9.0f, 17, centred);
  prepared.simulateScan({2.0f, 1.0f, 0.3f}, -1.25f, 1.25f, 0.1f, 9.0f, 17, expected);
  EXPECT_TRUE(sameBits(centred, expected));
}

TEST(PreparedMap, borrowsNoMapThatGoesAwayAtOnce) {
  EXPECT_FALSE((std::is_constructible_v<PreparedMap, OccupancyMap&&, float>));
  EXPECT_FALSE(std::is_copy_constructible_v<PreparedMap>);
}

OccupancyMap anyMap(RandomInputs& random) {
  MapBounds bounds;
  bounds.maxSide = random.chance(0.3) ? 300 : 14;
  bounds.levels = std::vector<float>(static_cast<std::size_t>(random.between(5, 300)), 1.0f);
  bounds.levels[0] = 0.0f;
  bounds.levels[1] = 0.45f;
  bounds.anyValueShare = random.chance(0.2) ? 0.2 : 0.0;
  bounds.wildShare = random.chance(0.2) ? 0.1 : 0.0;
  bounds.secondImageShare = 0.5;
  OccupancyMap map = random.map(bounds);
  if (random.chance(0.03)) map.params.resolution = random.wildFloat();
  return map;
}

float anyThreshold(RandomInputs& random) {
  if (random.chance(0.1)) return random.wildFloat();
  return random.pick<float>({0.2f, 0.45f, 0.5f, 1.0f});
}

ScanModel anyModel(RandomInputs& random) {
  ScanModel model(random.between(0, 100), random.between(0.0f, 60.0f), random.between(-7.0f, 7.0f));
  if (random.chance(0.5)) model.minRange = random.between(0.0f, 0.5f);
  if (random.chance(0.5)) model.lowThreshold = random.pick<float>({0.2f, 0.5f, 0.9f, 2.0f});
  for (float* field : {&model.maxRange, &model.minRange, &model.fieldOfView, &model.lowThreshold}) {
    if (random.chance(0.02)) *field = random.wildFloat();
  }
  return model;
}

Point2Di anyCell(RandomInputs& random, const OccupancyMap& map) {
  if (random.chance(0.002)) return {1 << 21, random.between(-9, 9)};
  const bool isEmpty = map.params.width == 0 || map.params.height == 0;
  const Brin::Pose2Di cell = random.cellNear(map, isEmpty || random.chance(0.5) ? 40 : 0);
  return {cell.x, cell.y};
}

struct Counts {
  int hits = 0;
  int clear = 0;
};

void expectSameAnswers(const PreparedMap& prepared, const korrin_model::PreparedMap& model,
                       RandomInputs& random, Counts& counts) {
  for (int i = 0; i < 10; ++i) {
    const Point2Di from = anyCell(random, model.map);
    const Point2Di to = random.chance(0.1) ? from : anyCell(random, model.map);
    const ScanModel scanner = anyModel(random);
    const RangeReading ray = prepared.xThrowRay(from.x, from.y, to.x, to.y);
    ASSERT_TRUE(sameBits(ray, model.xThrowRay(from.x, from.y, to.x, to.y)));
    ASSERT_TRUE(sameBits(prepared.occMapGetRange(scanner, from, to),
                         model.occMapGetRange(scanner, from, to)));
    counts.hits += ray.status == 0 && ray.range > 0.0f ? 1 : 0;
    counts.clear += ray.status == 1 && ray.range > 0.0f ? 1 : 0;
  }
  const Pose2D pose = random.chance(0.05) ? random.wildPose() : random.poseNear(model.map);
  const Pose2D other = random.poseNear(model.map);
  ASSERT_TRUE(sameBits(prepared.throwRay(pose, other), model.throwRay(pose, other)));
  const ScanModel scanner = anyModel(random);
  Readings actual;
  Readings expected;
  prepared.occMapSimulateScan(scanner, pose, actual);
  model.occMapSimulateScan(scanner, pose, expected);
  ASSERT_TRUE(sameBits(actual, expected));
  prepared.simulateScan(pose, -1.0f, scanner.fieldOfView, scanner.minRange, scanner.maxRange,
                        scanner.count, actual);
  model.simulateScan(pose, -1.0f, scanner.fieldOfView, scanner.minRange, scanner.maxRange,
                     scanner.count, expected);
  ASSERT_TRUE(sameBits(actual, expected));
}

TEST(PreparedMapLaw, answersAreThoseOfTheModelsNowAndAfterEveryRefresh) {
  RandomInputs random(61);
  Counts counts;
  for (int i = 0; i < 1200 && !HasFatalFailure(); ++i) {
    OccupancyMap map = anyMap(random);
    const float threshold = anyThreshold(random);
    PreparedMap prepared(map, threshold);
    const korrin_model::PreparedMap model{map, threshold};
    expectSameAnswers(prepared, model, random, counts);
    for (int change = 0; change < 2; ++change) {
      const int x = random.between(-3, map.params.width);
      const int y = random.between(-3, map.params.height);
      const int width = random.between(0, 9);
      const int height = random.between(0, 9);
      const float value = random.pick<float>({0.0f, 1.0f});
      for (int v = y; v < y + height; ++v) {
        for (int u = x; u < x + width; ++u) map.setCell(u, v, value);
      }
      prepared.refresh(x, y, width, height);
      expectSameAnswers(prepared, model, random, counts);
    }
  }
  EXPECT_GT(counts.hits, 3000);
  EXPECT_GT(counts.clear, 3000);
}

// Shrinks to the smallest map and ray that disagree.
RC_GTEST_PROP(PreparedMapLaw, smallestRays, ()) {
  const OccupancyMap map = arbitraryBeamMap();
  const auto coordinate = rc::gen::inRange(-9, 16);
  const Point2Di from(*coordinate, *coordinate);
  const Point2Di to(*coordinate, *coordinate);
  const ScanModel scanner(1, 1.0f, 1.0f);
  const PreparedMap prepared(map, 0.5f);
  const korrin_model::PreparedMap model{map, 0.5f};
  RC_ASSERT(sameBits(prepared.xThrowRay(from.x, from.y, to.x, to.y),
                     model.xThrowRay(from.x, from.y, to.x, to.y)));
  RC_ASSERT(sameBits(prepared.occMapGetRange(scanner, from, to),
                     model.occMapGetRange(scanner, from, to)));
}

}  // namespace
