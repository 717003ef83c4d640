// Paths that lead far outside the map: what they give, and that it does not take long.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "korrin/pathcoststats.hpp"
#include "models/pathcoststats_model.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::computePathCostStat;
using Brin::OccupancyMap;
using Brin::PathCostStats;
using korrin_test::drawMap;
using korrin_test::RandomInputs;

using Path = std::vector<Brin::Pose2D>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kSticks = -16777216.0f;    // -2^24: here a float sum of -1s stops
constexpr float kFarthest = 268435456.0f;  // 2^28: where wild poses go, in cells

TEST(PathCostStatsFar, wayToAFarPoseCountsAllItsCellsOutside) {
  // 2^28 + 1 cells, one of them inside. Adding -1s to 0.8 one by one ends at -2^24 like all such
  // sums, and the length in cells is 2^28 + 1, which a float does not hold.
  const PathCostStats stats =
      computePathCostStat(drawMap({"8"}), {{0.0f, 0.0f, 0.0f}, {1e30f, 0.0f, 0.0f}});
  EXPECT_EQ(stats.minCost, -1.0f);
  EXPECT_EQ(stats.maxCost, 0.8f);
  EXPECT_EQ(stats.avgCost, kSticks / kFarthest);
  EXPECT_EQ(stats.length, kFarthest);
}

TEST(PathCostStatsFar, longestSegmentOfAll) {
  // The diagonal of 2^29 + 1 cells through the map's only cell: -2^24 + 0.8 is rounded back to
  // -2^24 + 1, and the next -1 is the last that counts.
  const PathCostStats stats =
      computePathCostStat(drawMap({"8"}), {{-1e30f, -1e30f, 0.0f}, {1e30f, 1e30f, 0.0f}});
  EXPECT_EQ(stats.minCost, -1.0f);
  EXPECT_EQ(stats.maxCost, 0.8f);
  EXPECT_EQ(stats.avgCost, kSticks / (2.0f * kFarthest));
  EXPECT_FLOAT_EQ(stats.length, 2.0f * kFarthest * std::sqrt(2.0f));
}

TEST(PathCostStatsFar, poseThatIsNotANumberIsFarOutside) {
  const OccupancyMap map = drawMap({"8"});
  const Path notANumber = {{0.0f, 0.0f, 0.0f}, {kNaN, kNaN, 0.0f}};
  const Path farAway = {{0.0f, 0.0f, 0.0f}, {-1e30f, -1e30f, 0.0f}};
  const PathCostStats stats = computePathCostStat(map, notANumber);
  EXPECT_EQ(stats.avgCost, kSticks / kFarthest);
  EXPECT_EQ(stats.length, computePathCostStat(map, farAway).length);
}

TEST(PathCostStatsFar, lengthLimitFarOutsideCutsAtTheSameCell) {
  const float limit = 1000000.0f;
  const PathCostStats stats =
      computePathCostStat(drawMap({"8"}), {{0.0f, 0.0f, 0.0f}, {1e30f, 0.0f, 0.0f}}, &limit);
  EXPECT_EQ(stats.length, 1000000.0f);
  // 0.8 - 1 is rounded near 0, and every later difference is again.
  EXPECT_FLOAT_EQ(stats.avgCost, (0.8f - 999999.0f) / 1000000.0f);
}

// Runs `summarise`, which cell by cell would take some 10^11 steps.
template <typename Summarise>
void expectFast(Summarise summarise) {
  const auto start = std::chrono::steady_clock::now();
  summarise();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(PathCostStatsFar, manyWildPosesTakeNoTime) {
  RandomInputs random(5);
  Path path;
  for (int i = 0; i < 1000; ++i) path.push_back(random.wildPose());
  expectFast([&] { EXPECT_EQ(computePathCostStat(drawMap({"8.", ".."}), path).minCost, -1.0f); });
}

TEST(PathCostStatsFar, sumsThatNeverStickTakeNoTimeEither) {
  OccupancyMap map = drawMap({"8"});
  map.setCell(0, 0, kNaN);
  Path path;
  for (int i = 0; i < 500; ++i) {
    path.emplace_back(0.0f, 0.0f, 0.0f);
    path.emplace_back(1e30f, 1e30f, 0.0f);
  }
  expectFast([&] { EXPECT_TRUE(std::isnan(computePathCostStat(map, path).avgCost)); });
}

TEST(PathCostStatsFar, noDistanceResolutionOrLimitIsUnsafe) {
  korrin_test::LogCapture log;
  RandomInputs random(6);
  int negative = 0;
  for (int i = 0; i < 20000; ++i) {
    OccupancyMap map = drawMap({"8.", ".5"}, random.wildFloat());
    map.params.origin = random.wildPose();
    Path path(static_cast<std::size_t>(random.between(0, 4)));
    for (auto& pose : path) pose = random.wildPose();
    const float limit = random.wildFloat();
    const PathCostStats stats =
        computePathCostStat(map, path, random.chance(0.5) ? &limit : nullptr);
    EXPECT_LE(stats.minCost, 1.0f);
    negative += stats.minCost < 0.0f ? 1 : 0;
  }
  EXPECT_GT(negative, 5000);
}

TEST(PathCostStatsFar, negativeResolutionShortensTheWalkAtItsFirstCellOrNever) {
  OccupancyMap map = drawMap({"98765"}, -1.0f);
  const Path path = {{0.0f, 0.0f, 0.0f}, {-3.0f, 0.0f, 0.0f}};
  for (const float limit : {-0.5f, -1.5f, -9.0f}) {
    const PathCostStats actual = computePathCostStat(map, path, &limit);
    const PathCostStats expected = korrin_model::computePathCostStat(map, path, &limit);
    EXPECT_EQ(actual.length, expected.length);
    EXPECT_EQ(actual.length, limit == -0.5f ? -4.0f : 0.0f);
  }
}

TEST(PathCostStatsFar, mapWithoutImageIsAllOutside) {
  OccupancyMap map(3, 3, 1.0f, false);
  const OccupancyMap taken = std::move(map);
  const PathCostStats stats = computePathCostStat(map, {{0.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}});
  EXPECT_EQ(stats.minCost, -1.0f);
  EXPECT_EQ(stats.avgCost, -1.0f);
  EXPECT_EQ(stats.length, 3.0f);
}

}  // namespace
