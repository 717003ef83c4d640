#include "korrin/pathcoststats.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::computePathCostStat;
using Brin::mergePathCostStats;
using Brin::OccupancyMap;
using Brin::PathCostStats;
using Brin::Pose2D;
using korrin_test::drawMap;
using korrin_test::LogCapture;

using Path = std::vector<Pose2D>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

PathCostStats makeStats(float minCost, float maxCost, float avgCost, float length) {
  PathCostStats stats;
  stats.minCost = minCost;
  stats.maxCost = maxCost;
  stats.avgCost = avgCost;
  stats.length = length;
  return stats;
}

void expectStats(const PathCostStats& stats, float minCost, float maxCost, float avgCost,
                 float length) {
  EXPECT_FLOAT_EQ(stats.minCost, minCost);
  EXPECT_FLOAT_EQ(stats.maxCost, maxCost);
  EXPECT_FLOAT_EQ(stats.avgCost, avgCost);
  EXPECT_FLOAT_EQ(stats.length, length);
}

TEST(PathCostStats, startsAsTheSummaryOfNothing) { expectStats({}, 1.0f, 0.0f, 0.0f, 0.0f); }

TEST(MergePathCostStats, takesTheExtremesAndWeighsTheMeansByLength) {
  const PathCostStats a = makeStats(0.2f, 0.6f, 0.5f, 3.0f);
  const PathCostStats b = makeStats(0.1f, 0.9f, 0.3f, 1.0f);
  expectStats(mergePathCostStats(a, b), 0.1f, 0.9f, 0.45f, 4.0f);
  expectStats(mergePathCostStats(b, a), 0.1f, 0.9f, 0.45f, 4.0f);
}

TEST(MergePathCostStats, emptySummaryChangesNothing) {
  expectStats(mergePathCostStats({}, makeStats(0.2f, 0.6f, 0.5f, 3.0f)), 0.2f, 0.6f, 0.5f, 3.0f);
}

TEST(MergePathCostStats, lengthUpToAMicrometreHasMeanZero) {
  const PathCostStats atLimit = makeStats(0.5f, 0.5f, 0.5f, 0.000001f);
  const PathCostStats above = makeStats(0.5f, 0.5f, 0.5f, std::nextafter(0.000001f, 1.0f));
  EXPECT_EQ(mergePathCostStats(makeStats(0.3f, 0.3f, 0.3f, 0.0f), {}).avgCost, 0.0f);
  EXPECT_EQ(mergePathCostStats(atLimit, {}).avgCost, 0.0f);
  EXPECT_FLOAT_EQ(mergePathCostStats(above, {}).avgCost, 0.5f);
}

TEST(MergePathCostStats, extremesThatAreNoNumbersAreKeptFromTheFirstOnly) {
  const PathCostStats number = makeStats(0.5f, 0.6f, 0.5f, 1.0f);
  const PathCostStats none = makeStats(kNaN, kNaN, 0.5f, 1.0f);
  EXPECT_EQ(mergePathCostStats(number, none).minCost, 0.5f);
  EXPECT_EQ(mergePathCostStats(number, none).maxCost, 0.6f);
  EXPECT_TRUE(std::isnan(mergePathCostStats(none, number).minCost));
  EXPECT_TRUE(std::isnan(mergePathCostStats(none, number).maxCost));
}

TEST(ComputePathCostStat, emptyPathGivesTheDefaultsAndARecord) {
  LogCapture log;
  expectStats(computePathCostStat(drawMap({"5"}), {}), 1.0f, 0.0f, 0.0f, 0.0f);
  ASSERT_EQ(log.records().size(), 1u);
  const Brin::LogRecord record = log.records().front();
  EXPECT_EQ(record.level, Brin::NavLogLevel::Info);
  EXPECT_EQ(record.message, "Empty path, no stats.");
  EXPECT_EQ(record.file, "src/pathcoststats");
  EXPECT_EQ(record.function, "computePathCostStat");
  EXPECT_EQ(record.line, 117);
}

TEST(ComputePathCostStat, onePoseGivesItsValueAndARecord) {
  LogCapture log;
  expectStats(computePathCostStat(drawMap({".8"}), {{1.0f, 0.0f, 0.0f}}), 0.8f, 0.8f, 0.8f, 0.0f);
  ASSERT_EQ(log.records().size(), 1u);
  const Brin::LogRecord record = log.records().front();
  EXPECT_EQ(record.level, Brin::NavLogLevel::Info);
  EXPECT_EQ(record.message, "Path with one cell, stats won't be reliable.");
  EXPECT_EQ(record.file, "src/pathcoststats");
  EXPECT_EQ(record.function, "computePathCostStat");
  EXPECT_EQ(record.line, 122);
}

TEST(ComputePathCostStat, onePoseOffTheMapGivesMinusOne) {
  LogCapture log;
  for (const Pose2D& pose : Path{{2.0f, 0.0f, 0.0f}, {0.0f, -1.0f, 0.0f}, {kNaN, 0.0f, 0.0f}}) {
    expectStats(computePathCostStat(drawMap({".8"}), {pose}), -1.0f, -1.0f, -1.0f, 0.0f);
  }
  EXPECT_EQ(log.records().size(), 3u);
}

TEST(ComputePathCostStat, longerPathsLogNothing) {
  LogCapture log;
  computePathCostStat(drawMap({".."}), {{0.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f}});
  EXPECT_TRUE(log.records().empty());
}

TEST(ComputePathCostStat, straightPathCountsBothItsEndCells) {
  // 9 8 7 6 5: from the first to the fourth.
  const Path path = {{0.0f, 0.0f, 0.0f}, {0.3f, 0.0f, 0.0f}};
  expectStats(computePathCostStat(drawMap({"98765"}, 0.1f), path), 0.6f, 0.9f, 0.75f, 0.4f);
}

TEST(ComputePathCostStat, lengthLimitStopsBeforeTheCellThatExceedsIt) {
  const OccupancyMap map = drawMap({"98765"}, 0.1f);
  const Path path = {{0.0f, 0.0f, 0.0f}, {0.3f, 0.0f, 0.0f}};
  const float limit = 0.25f;
  expectStats(computePathCostStat(map, path, &limit), 0.8f, 0.9f, 0.85f, 0.2f);
}

TEST(ComputePathCostStat, lengthLimitOfZeroTakesNothing) {
  const float limit = 0.0f;
  const Path path = {{0.0f, 0.0f, 0.0f}, {0.3f, 0.0f, 0.0f}};
  expectStats(computePathCostStat(drawMap({"98765"}, 0.1f), path, &limit), 1.0f, 0.0f, 0.0f, 0.0f);
}

TEST(ComputePathCostStat, lengthLimitIsMetWithAMicrometreToSpare) {
  const OccupancyMap map = drawMap({"98765"}, 1.0f);
  const Path path = {{0.0f, 0.0f, 0.0f}, {3.0f, 0.0f, 0.0f}};
  const float within = 2.0f - 0.0000009f;
  const float below = 2.0f - 0.000002f;
  EXPECT_EQ(computePathCostStat(map, path, &within).length, 2.0f);
  EXPECT_EQ(computePathCostStat(map, path, &below).length, 1.0f);
}

TEST(ComputePathCostStat, lengthLimitMayCutOffTheVeryLastCell) {
  const OccupancyMap map = drawMap({"98765"}, 1.0f);
  const Path path = {{0.0f, 0.0f, 0.0f}, {3.0f, 0.0f, 0.0f}};
  const float limit = 3.5f;
  expectStats(computePathCostStat(map, path, &limit), 0.7f, 0.9f, 0.8f, 3.0f);
}

TEST(ComputePathCostStat, lengthLimitRunsOnOverTheSegments) {
  // Two cells, then three; the third segment would be beyond.
  const OccupancyMap map = drawMap({"9876543210"}, 1.0f);
  const Path path = {
      {0.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}, {5.0f, 0.0f, 0.0f}, {9.0f, 0.0f, 0.0f}};
  const float limit = 4.5f;
  expectStats(computePathCostStat(map, path, &limit), 0.6f, 0.9f, 0.75f, 4.0f);
}

TEST(ComputePathCostStat, lengthLimitThatIsNotANumberIsNone) {
  const Path path = {{0.0f, 0.0f, 0.0f}, {3.0f, 0.0f, 0.0f}};
  EXPECT_EQ(computePathCostStat(drawMap({"98765"}), path, &kNaN).length, 4.0f);
}

TEST(ComputePathCostStat, poseBetweenSegmentsCountsOnce) {
  const Path path = {{0.0f, 0.0f, 0.0f}, {1.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}};
  // Segments {9} and {3, 6}, of lengths 1 and 2.
  expectStats(computePathCostStat(drawMap({"936"}), path), 0.3f, 0.9f, 0.6f, 3.0f);
}

TEST(ComputePathCostStat, meanIsPerCellWithinASegmentAndPerLengthBetween) {
  // A diagonal of 2 cells, 1 + sqrt(2) metres long, then one cell and the end, 2 metres.
  const OccupancyMap map = drawMap({
      "2...",
      ".4..",
      "..68",
  });
  const Path path = {{0.0f, 0.0f, 0.0f}, {2.0f, 2.0f, 0.0f}, {3.0f, 2.0f, 0.0f}};
  const float diagonal = 1.0f + std::sqrt(2.0f);
  expectStats(computePathCostStat(map, path), 0.2f, 0.8f,
              (0.3f * diagonal + 0.7f * 2.0f) / (diagonal + 2.0f), diagonal + 2.0f);
}

TEST(ComputePathCostStat, exactDiagonalGoesDiagonallyAndSteepLinesAlongTheRows) {
  // From (0, 0) to (1, 3): the walk along y visits (0, 0), (0, 1) and (1, 2).
  const OccupancyMap map = drawMap({"9#", "8#", "#7", "#6"});
  expectStats(computePathCostStat(map, {{0.0f, 0.0f, 0.0f}, {1.0f, 3.0f, 0.0f}}), 0.6f, 0.9f, 0.75f,
              1.0f + std::sqrt(10.0f));
}

TEST(ComputePathCostStat, standingStillTakesNothingExceptAtTheEnd) {
  const OccupancyMap map = drawMap({"95"});
  const Pose2D here(1.0f, 0.0f, 0.0f);
  expectStats(computePathCostStat(map, {here, here}), 0.5f, 0.5f, 0.5f, 1.0f);
  expectStats(computePathCostStat(map, {here, here, here}), 0.5f, 0.5f, 0.5f, 1.0f);
  expectStats(computePathCostStat(map, {here, here, {0.0f, 0.0f, 0.0f}}), 0.5f, 0.9f, 0.7f, 2.0f);
}

TEST(ComputePathCostStat, cellsOutsideCountMinusOne) {
  const OccupancyMap map = drawMap({"86"});
  // Cells -1, 0, 1, 2.
  const Path path = {{-1.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}};
  expectStats(computePathCostStat(map, path), -1.0f, 0.8f, (-1.0f + 0.8f + 0.6f - 1.0f) / 4.0f,
              4.0f);
}

TEST(ComputePathCostStat, pathOutsideAltogetherKeepsTheMaximumOfNothing) {
  const Path path = {{0.0f, 5.0f, 0.0f}, {2.0f, 5.0f, 0.0f}};
  expectStats(computePathCostStat(drawMap({"86"}), path), -1.0f, 0.0f, -1.0f, 3.0f);
}

TEST(ComputePathCostStat, valuesThatAreNoNumbersSpoilOnlyTheMean) {
  OccupancyMap map = drawMap({"976"});
  map.setCell(1, 0, kNaN);
  const PathCostStats stats = computePathCostStat(map, {{0.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}});
  EXPECT_EQ(stats.minCost, 0.6f);
  EXPECT_EQ(stats.maxCost, 0.9f);
  EXPECT_TRUE(std::isnan(stats.avgCost));
  EXPECT_EQ(stats.length, 3.0f);
}

TEST(ComputePathCostStat, mapIsPlacedByItsOrigin) {
  OccupancyMap map = drawMap({"98", "76"}, 0.5f);
  map.params.origin = {10.0f, 20.0f, Brin::kPi / 2.0f};  // columns run along world y
  expectStats(computePathCostStat(map, {{10.0f, 20.0f, 0.0f}, {10.0f, 20.5f, 0.0f}}), 0.8f, 0.9f,
              0.85f, 1.0f);
}

}  // namespace
