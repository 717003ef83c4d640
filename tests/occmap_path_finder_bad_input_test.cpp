// What a caller should not ask for: no crash, no hang, no path over a map that is not there.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::sameBits;

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// Both requests between places that are free on `finder`'s last coarse map.
void expectNoPlan(OccMapPathFinder& finder, const std::string& warning) {
  const std::int32_t iterations = finder.getNumIterations();
  LogCapture log;
  std::vector<Pose2Di> cells = {{1, 1, 1.0f}};
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(1, 0, 0.0f), cells);
  EXPECT_TRUE(cells.empty());
  std::vector<Pose2D> poses = {{1.0f, 1.0f, 1.0f}};
  finder.computePath(Pose2D(0.0f, 0.0f, 0.0f), Pose2D(1.0f, 0.0f, 0.0f), poses);
  EXPECT_TRUE(poses.empty());
  ASSERT_EQ(log.records().size(), 2u);
  for (const Brin::LogRecord& record : log.records()) {
    EXPECT_EQ(record.level, Brin::NavLogLevel::Warning);
    EXPECT_NE(record.message.find(warning), std::string::npos);
    EXPECT_EQ(record.file, "src/occmap_path_finder");
    EXPECT_EQ(record.function, "computePath");
  }
  EXPECT_EQ(finder.getNumIterations(), iterations);
}

TEST(PathFinderBadInput, withoutAMapNothingIsSearchedNotEvenTheOldCoarseMap) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(nullptr, 0.0f);
  expectNoPlan(finder, "occMap");
  finder.setOccMap(&map);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
  EXPECT_EQ(path.size(), 3u);
  finder.setOccMap(nullptr);
  expectNoPlan(finder, "occMap");
}

TEST(PathFinderBadInput, aFactorBelowOneSearchesNothing) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
  for (int factor : {0, -1, kMin}) {
    finder.setCoarseFactor(factor);
    expectNoPlan(finder, "coarseFactor");
  }
}

TEST(PathFinderBadInput, aFactorLargerThanTheMapLeavesNoFreeStart) {
  const OccupancyMap map = drawMap({"...", "..."});
  OccMapPathFinder finder(&map, 0.0f);
  for (int factor : {3, 4, kMax}) {
    finder.setCoarseFactor(factor);
    LogCapture log;
    std::vector<Pose2Di> path = {{0, 0, 0.0f}};
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
    EXPECT_TRUE(path.empty());
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].message, "Start is not free.");
  }
}

TEST(PathFinderBadInput, aMapThatWasMovedFromIsOpenCvsErrorAndLeavesNoPath) {
  OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  const OccupancyMap taken = std::move(map);
  std::vector<Pose2Di> cells = {{1, 1, 1.0f}};
  EXPECT_THROW(finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), cells), cv::Exception);
  EXPECT_TRUE(cells.empty());
}

TEST(PathFinderBadInput, smallestMaps) {
  const OccupancyMap none(0, 0, 1.0f, false);
  const OccupancyMap one(1, 1, 1.0f, false);
  OccMapPathFinder finder(&none, 0.0f);
  std::vector<Pose2Di> path;
  for (std::int32_t type : {0, 1, 2, 7}) {
    finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
    LogCapture log;
    finder.setOccMap(&none);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
    EXPECT_TRUE(path.empty());
    EXPECT_EQ(log.records().size(), 1u);
    finder.setOccMap(&one);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
    EXPECT_EQ(path.size(), 1u);
  }
}

TEST(PathFinderBadInput, cellsFarOffTheMapAreNotFree) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  for (int x : {kMin, -1, 3, kMax}) {
    for (int y : {kMin, 0, kMax}) {
      LogCapture log;
      std::vector<Pose2Di> path;
      finder.computePath(Pose2Di(x, y, 0.0f), Pose2Di(0, 0, 0.0f), path);
      finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(x, y, 0.0f), path);
      ASSERT_EQ(log.records().size(), 2u);
      EXPECT_EQ(log.records()[0].message, "Start is not free.");
      EXPECT_EQ(log.records()[1].message, "End is not free.");
    }
  }
}

TEST(PathFinderBadInput, wildPosesAreOffTheMapAndWildHeadingsAreNoMatter) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setAngleCostFactor(1.0f);
  const Pose2D good(0.0f, 0.0f, 0.0f);
  std::vector<Pose2D> path;
  for (float wild : {kNan, 1e30f, -1e30f, std::numeric_limits<float>::infinity()}) {
    LogCapture log;
    finder.computePath(Pose2D(wild, 0.0f, 0.0f), good, path);
    EXPECT_TRUE(path.empty());
    finder.computePath(good, Pose2D(0.0f, wild, 0.0f), path);
    EXPECT_TRUE(path.empty());
    ASSERT_EQ(log.records().size(), 2u);
    EXPECT_EQ(log.records()[0].message, "Start is not free.");
    EXPECT_EQ(log.records()[1].message, "End is not free.");
    finder.computePath(Pose2D(0.0f, 0.0f, wild), Pose2D(2.0f, 0.0f, wild), path);
    EXPECT_EQ(path.size(), 3u);
  }
}

TEST(PathFinderBadInput, aCellThatIsNotANumberIsFree) {
  OccupancyMap map = drawMap({"..."});
  map.setCell(1, 0, kNan);
  OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
  EXPECT_EQ(path.size(), 3u);
  map.reset(kNan);
  finder.computePath(Pose2Di(2, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
  EXPECT_EQ(path.size(), 3u);
}

TEST(PathFinderBadInput, noThresholdMakesTheOutsideFree) {
  const OccupancyMap map = drawMap({"#."});
  OccMapPathFinder finder(&map, 0.0f);
  for (float threshold : {kNan, -1.0f, -2.0f, -std::numeric_limits<float>::infinity()}) {
    finder.setObstacleThreshold(threshold);
    LogCapture log;
    std::vector<Pose2Di> path;
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(1, 0, 0.0f), path);
    EXPECT_EQ(path.size(), 2u) << "obstacles are free now";
    finder.computePath(Pose2Di(-1, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
    ASSERT_EQ(log.records().size(), 2u);
    EXPECT_EQ(log.records()[0].message, "Start is not free.");
    EXPECT_EQ(log.records()[1].message, "End is not free.");
  }
}

TEST(PathFinderBadInput, aPathsOwnEndsMayBePlannedBetween) {
  const OccupancyMap map = drawMap({"....."});
  OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> cells = {{1, 0, 0.5f}, {3, 0, 0.0f}};
  finder.computePath(cells.front(), cells.back(), cells);
  EXPECT_TRUE(sameBits(cells, std::vector<Pose2Di>{{1, 0, 0.5f}, {2, 0, 0.0f}, {3, 0, 0.0f}}));
  finder.xDoComputePath(cells.back(), cells.front(), cells);
  EXPECT_EQ(cells.size(), 3u);
  finder.xDoComputePath(finder.end, finder.start, cells);
  EXPECT_TRUE(sameBits(cells.front(), Pose2Di(1, 0, 0.5f)));
  std::vector<Pose2D> poses = {{1.0f, 0.0f, 0.0f}, {3.0f, 0.0f, 0.0f}};
  finder.computePath(poses.back(), poses.front(), poses);
  ASSERT_EQ(poses.size(), 3u);
  EXPECT_EQ(poses.front().x, 3.0f);
}

TEST(PathFinderBadInput, findingANodeIsSafeForAnyCellAtAnyTime) {
  const std::vector<Pose2Di> cells = {{0, 0, 0}, {2, 0, 0}, {9, 9, 0}, {-1, 0, 0}, {kMax, kMin, 0}};
  const OccupancyMap wide = drawMap({"......", "......"});
  const OccupancyMap tall = drawMap({"#", ".", ".", "."});
  OccMapPathFinder finder(&wide, 0.0f);
  for (const Pose2Di& cell : cells) EXPECT_EQ(finder.xFindNode(cell), nullptr);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(1, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
  EXPECT_NE(finder.xFindNode({0, 1, 0.0f}), nullptr);
  EXPECT_EQ(finder.xFindNode({4, 1, 0.0f}), nullptr);
  // A refused request: the map is another one, the arrays are still those of the last search.
  finder.setOccMap(&tall);
  LogCapture log;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 3, 0.0f), path);
  EXPECT_NE(finder.xFindNode({0, 1, 0.0f}), nullptr);
  EXPECT_EQ(finder.xGetCellState({0, 1, 0.0f}), 1);
  EXPECT_EQ(finder.xFindNode({0, 3, 0.0f}), nullptr);
  for (const Pose2Di& cell : cells) finder.xFindNode(cell);
}

TEST(PathFinderBadInput, searchStepsOnTheirOwnDoNothingBeforeAnyRequest) {
  OccMapPathFinder finder(nullptr, 0.0f);
  EXPECT_FALSE(finder.xFindPath());
  std::vector<Pose2Di> path = {{1, 1, 0.0f}};
  finder.xBuildPath(path);
  EXPECT_TRUE(path.empty());
}

TEST(PathFinderBadInput, theSearchLoopLeavesAMapOfAnotherSizeAlone) {
  const OccupancyMap large = drawMap({"....", "...."});
  const OccupancyMap small = drawMap({"#"});
  OccMapPathFinder finder(&large, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(1, 0, 0.0f), path);
  ASSERT_FALSE(finder.openList.empty());
  finder.setOccMap(&small);
  LogCapture log;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(0, 0, 0.0f), path);
  const std::int32_t iterations = finder.getNumIterations();
  EXPECT_FALSE(finder.xFindPath());
  EXPECT_EQ(finder.getNumIterations(), iterations);
}

TEST(PathFinderBadInput, aNodeOffTheMapIsNotFiled) {
  OccMapPathFinder finder(nullptr, 0.0f);
  LogCapture log;
  OccMapPathFinder::Node node;
  finder.xAddInOpenNodes(node);
  EXPECT_EQ(log.records().size(), 1u) << "no request yet, so nowhere to file it";
  std::vector<Pose2Di> path;
  finder.xDoComputePath({0, 0, 0.0f}, {0, 0, 0.0f}, path);
  const std::size_t count = finder.nodes.size();
  for (int x : {kMin, -1, 10, kMax}) {
    node.x = x;
    log.clear();
    finder.xAddInOpenNodes(node);
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
    EXPECT_NE(log.records()[0].message.find("node"), std::string::npos);
    EXPECT_EQ(log.records()[0].function, "xAddInOpenNodes");
  }
  EXPECT_EQ(finder.nodes.size(), count);
}

TEST(PathFinderBadInput, buildingAPathEndsWhateverParentsTheNodesName) {
  OccMapPathFinder finder(nullptr, 0.0f);
  std::vector<Pose2Di> path;
  finder.xDoComputePath({0, 0, 0.0f}, {0, 0, 0.0f}, path);
  for (std::int32_t parent : {kMin, -2, 0, 1, 2, kMax}) {
    finder.closedNodes.assign(2, {});
    finder.closedNodes[0].x = 4;
    finder.closedNodes[1].x = 5;
    finder.closedNodes[0].parent = finder.closedNodes[1].parent = parent;
    finder.xBuildPath(path);
    EXPECT_LE(path.size(), 3u);
    EXPECT_TRUE(sameBits(path.front(), Pose2Di(0, 0, 0.0f)));
  }
}

TEST(PathFinderBadInput, cellComparisonsDoNotOverflow) {
  OccMapPathFinder finder(nullptr, 0.0f);
  finder.setNeighborhoodType(OccMapPathFinder::Double);
  EXPECT_FALSE(finder.xCmpPt({kMin, 0, 0.0f}, {kMax, 0, 0.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({kMin, kMin, 0.0f}, {0, 0, 0.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({0, kMax, 0.0f}, {0, kMin, 0.0f}, false));
  EXPECT_TRUE(finder.xCmpPt({kMax, kMin, 0.0f}, {kMax, kMin + 1, 0.0f}, true));
  EXPECT_GT(finder.xDistance(kMin, kMax), 3.0e9f);
}

TEST(PathFinderBadInput, wildSettingsNeverHangOrLeaveTheMap) {
  korrin_test::RandomInputs random(11);
  korrin_test::MapBounds bounds;
  bounds.wildShare = 0.3;
  LogCapture log;
  int planned = 0;
  for (int i = 0; i < 10000; ++i) {
    const OccupancyMap map = random.map(bounds);
    OccMapPathFinder finder(&map, random.wildFloat());
    finder.setHWeight(random.wildFloat());
    finder.setObstacleThreshold(random.wildFloat());
    finder.setAngleCostFactor(random.wildFloat());
    finder.setCoarseFactor(random.between(1, 3));
    finder.setNeighborhoodType(
        static_cast<OccMapPathFinder::NeighborhoodType>(random.between(0, 2)));
    std::vector<Pose2Di> path;
    Pose2Di from = random.cellNear(map, 1);
    from.theta = random.wildFloat();
    finder.computePath(from, random.cellNear(map, 1), path);
    planned += path.empty() ? 0 : 1;
    for (const Pose2Di& cell : path) ASSERT_TRUE(finder.coarseMap.isInside(cell.x, cell.y));
  }
  EXPECT_GT(planned, 300);
  Brin::OccMapPathFinder::setHWeight(0.5f);
}

}  // namespace
