// The summary agrees with the plain one, cell by cell, to the last bit.
#include "models/pathcoststats_model.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "korrin/pathcoststats.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::PathCostStats;
using korrin_test::LogCapture;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

using Path = std::vector<Brin::Pose2D>;

bool same(const PathCostStats& a, const PathCostStats& b) {
  return sameBits(a.minCost, b.minCost) && sameBits(a.maxCost, b.maxCost) &&
         sameBits(a.avgCost, b.avgCost) && sameBits(a.length, b.length);
}

::testing::AssertionResult agrees(const OccupancyMap& map, const Path& path,
                                  const float* maxLength) {
  const PathCostStats a = Brin::computePathCostStat(map, path, maxLength);
  const PathCostStats b = korrin_model::computePathCostStat(map, path, maxLength);
  if (same(a, b)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << a.minCost << " " << a.maxCost << " " << a.avgCost << " " << a.length << ", expected "
         << b.minCost << " " << b.maxCost << " " << b.avgCost << " " << b.length;
}

TEST(PathCostStatsModel, agreesOnAnyMapPathAndLimit) {
  LogCapture log;
  RandomInputs random(51);
  int cut = 0;
  int leaving = 0;
  int notANumber = 0;
  for (int i = 0; i < 40000; ++i) {
    MapBounds bounds;
    bounds.wildShare = random.chance(0.2) ? 0.4 : 0.0;
    const OccupancyMap map = random.map(bounds);
    Path path(static_cast<std::size_t>(random.between(0, 7)));
    for (auto& pose : path) pose = random.poseNear(map);
    if (path.size() > 2 && random.chance(0.3)) path[1] = path[0];
    if (path.size() > 1 && random.chance(0.2)) path.back() = path[path.size() - 2];
    const PathCostStats whole = Brin::computePathCostStat(map, path, nullptr);
    ASSERT_TRUE(agrees(map, path, nullptr)) << "case " << i;
    const float limit = random.pick<float>(
        {random.between(0.0f, 1.2f * whole.length), random.wildFloat(), whole.length,
         map.params.resolution * static_cast<float>(random.between(0, 20)) - 0.000001f});
    ASSERT_TRUE(agrees(map, path, &limit)) << "case " << i << ", limit " << limit;
    cut += Brin::computePathCostStat(map, path, &limit).length < whole.length ? 1 : 0;
    leaving += whole.minCost == -1.0f ? 1 : 0;
    notANumber += std::isnan(whole.avgCost) ? 1 : 0;
  }
  EXPECT_GT(cut, 10000);
  EXPECT_GT(leaving, 8000);
  EXPECT_GT(notANumber, 200);
}

TEST(PathCostStatsModel, agreesOnLongWaysOutside) {
  RandomInputs random(52);
  const std::vector<float> reaches = {100.0f, 3000.0f, 70000.0f, 1100000.0f};
  for (int i = 0; i < 120; ++i) {
    MapBounds bounds;
    bounds.minSide = 1;
    bounds.wildShare = random.chance(0.5) ? 0.2 : 0.0;
    bounds.placedAnywhere = false;
    const OccupancyMap map = random.map(bounds);
    const float reach = random.pick(reaches) * map.params.resolution;
    const auto farPose = [&] {
      return Brin::Pose2D(random.between(-reach, reach), random.between(-reach, reach), 0.0f);
    };
    Path path = {farPose(), random.poseNear(map), farPose()};
    ASSERT_TRUE(agrees(map, path, nullptr)) << "case " << i;
    const float limit = random.between(0.0f, 3.0f * reach);
    ASSERT_TRUE(agrees(map, path, &limit)) << "case " << i << ", limit " << limit;
  }
}

// Starts the walk on a cell of `first`, leads it outside for `count` cells.
TEST(PathCostStatsModel, agreesOnOutsideCellsAfterAnySum) {
  RandomInputs random(53);
  std::vector<float> sums = {16777216.0f,  16777218.0f,  16777220.0f, 16777222.0f, 33554432.0f,
                             16777217.0f,  -16777216.0f, 3e30f,       -3e30f,      1e7f,
                             -16777218.0f, -16777214.0f, 16700000.3f, -4194303.5f, -0.3f};
  for (int i = 0; i < 300; ++i) sums.push_back(random.wildFloat());
  for (const float first : sums) {
    OccupancyMap map(1, 1, 0.05f, false);
    map.setCell(0, 0, first);
    for (const int count : {1, 2, 3, 1000, 300000}) {
      const Path path = {{0.0f, 0.0f, 0.0f}, {0.0f, 0.05f * static_cast<float>(count), 0.0f}};
      ASSERT_TRUE(agrees(map, path, nullptr)) << first << ", then " << count << " cells outside";
    }
  }
}

TEST(PathCostStatsModel, agreesPastWhereASumOfMinusOnesSticks) {
  OccupancyMap map(1, 1, 1.0f, false);
  map.setCell(0, 0, 0.7f);
  const Path path = {{0.0f, 0.0f, 0.0f}, {17000000.0f, 5000000.0f, 0.0f}};
  EXPECT_TRUE(agrees(map, path, nullptr));
  EXPECT_TRUE(agrees(map, {path[1], path[0]}, nullptr));
}

RC_GTEST_PROP(PathCostStatsModel, shortPathsOnCellCentresAgree, ()) {
  OccupancyMap map(4, 3, 1.0f, false);
  for (int i = 0; i < 12; ++i) {
    map.setCell(i % 4, i / 4, static_cast<float>(*rc::gen::inRange(0, 11)) / 10.0f);
  }
  Path path;
  const auto cells = *rc::gen::container<std::vector<std::pair<int, int>>>(
      rc::gen::pair(rc::gen::inRange(-3, 7), rc::gen::inRange(-3, 6)));
  for (const auto& [x, y] : cells) {
    path.emplace_back(static_cast<float>(x), static_cast<float>(y), 0.0f);
  }
  const LogCapture log;
  const float limit = static_cast<float>(*rc::gen::inRange(0, 80)) / 4.0f;
  RC_ASSERT(static_cast<bool>(agrees(map, path, nullptr)));
  RC_ASSERT(static_cast<bool>(agrees(map, path, &limit)));
}

}  // namespace
