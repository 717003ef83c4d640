// The order in which the search takes cells, ties and lowered priorities included.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::sameBits;
using Cells = std::vector<std::pair<int, int>>;
using Indexes = std::vector<std::int32_t>;

Cells expanded(const OccMapPathFinder& finder) {
  Cells cells;
  for (const OccMapPathFinder::Node& node : finder.closedNodes) cells.emplace_back(node.x, node.y);
  return cells;
}

std::pair<int, int> parentOf(const OccMapPathFinder& finder, int x, int y) {
  for (const OccMapPathFinder::Node& node : finder.closedNodes) {
    if (node.x != x || node.y != y) continue;
    const OccMapPathFinder::Node& parent =
        finder.closedNodes.at(static_cast<std::size_t>(node.parent));
    return {parent.x, parent.y};
  }
  return {-1, -1};
}

// A finder whose arrays fit its 10 x 10 map and whose lists are empty.
void makeReadyForFiling(OccMapPathFinder& finder) {
  std::vector<Pose2Di> path;
  finder.xDoComputePath({0, 0, 0.0f}, {0, 0, 0.0f}, path);
  finder.nodes.clear();
  finder.openList.clear();
  finder.closedNodes.clear();
}

void file(OccMapPathFinder& finder, float f) {
  OccMapPathFinder::Node node;
  node.x = static_cast<int>(finder.nodes.size());
  node.f = f;
  finder.xAddInOpenNodes(node);
}

TEST(OpenListOrder, ascendsAndTheLastFiledIsFirstAmongEquals) {
  OccMapPathFinder finder(nullptr, 0.0f);
  makeReadyForFiling(finder);
  for (float f : {1.0f, 2.0f, 1.0f, 1.5f, 2.0f, 0.5f}) file(finder, f);
  EXPECT_EQ(finder.openList, (Indexes{5, 2, 0, 3, 4, 1}));
  EXPECT_EQ(finder.nodes.size(), 6u);
  EXPECT_EQ(finder.xGetCellNode({4, 0, 0.0f}), 4);
}

TEST(OpenListOrder, aNewNodeGoesRightBehindTheHindmostLowerOne) {
  OccMapPathFinder finder(nullptr, 0.0f);
  makeReadyForFiling(finder);
  for (float f : {1.0f, 2.0f, 3.0f, 4.0f}) file(finder, f);
  finder.nodes[2].f = 0.5f;  // lowered where it stands
  file(finder, 0.75f);
  EXPECT_EQ(finder.openList, (Indexes{0, 1, 2, 4, 3}));
}

TEST(OpenListOrder, aNodeWhosePriorityIsNotANumberGoesFirstAndStopsNoScan) {
  OccMapPathFinder finder(nullptr, 0.0f);
  makeReadyForFiling(finder);
  for (float f : {1.0f, 2.0f}) file(finder, f);
  file(finder, std::nanf(""));
  EXPECT_EQ(finder.openList, (Indexes{2, 0, 1}));
  file(finder, 0.5f);
  EXPECT_EQ(finder.openList, (Indexes{3, 2, 0, 1}));
}

TEST(SearchOrder, amongEqualPrioritiesTheLastFiledIsExpandedFirst) {
  const OccupancyMap map = drawMap({
      "#.#",  //
      "...",  //
      "#.#",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  finder.setHWeight(0.0f);
  std::vector<Pose2Di> path;
  // Up, left, right, down are filed in this order at the same cost.
  finder.computePath(Pose2Di(1, 1, 0.0f), Pose2Di(1, 0, 0.0f), path);
  EXPECT_EQ(expanded(finder), (Cells{{1, 1}, {1, 2}, {2, 1}, {0, 1}, {1, 0}}));
}

TEST(SearchOrder, anEqualOfferFromALaterExpansionLeavesTheFirstParent) {
  const OccupancyMap map = drawMap({
      "...",  //
      "#..",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  finder.setHWeight(0.0f);
  std::vector<Pose2Di> path;
  // One straight and one diagonal step either way: through (1, 0), expanded first, or (1, 1).
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 1, 0.0f), path);
  EXPECT_EQ(finder.closedNodes[1].x, 1);
  EXPECT_EQ(finder.closedNodes[1].y, 0);
  EXPECT_EQ(parentOf(finder, 2, 1), std::make_pair(1, 0));
}

// S N b
// # X c      S (0, 0), N (1, 0) free; the others uncertain. From S, X costs 3.68 by the diagonal
//            step; from N, 3.6. When N is expanded, b (3.65) is filed in front of X, then X falls
//            below it, then c (3.62) is filed.
struct LoweredPriority : ::testing::Test {
  LoweredPriority() : map(drawMap({"...", "#.."})), finder(&map, 0.0f) {
    map.setCell(1, 1, 0.2f);
    map.setCell(2, 0, 0.175f);
    map.setCell(2, 1, 0.5735f);
    finder.setObstacleThreshold(0.1f);
    finder.setHWeight(0.0f);
    korrin_test::LogCapture log;
    std::vector<Pose2Di> path;
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 1, 0.0f), path);
  }
  OccupancyMap map;
  OccMapPathFinder finder;
};

TEST_F(LoweredPriority, keepsItsPlaceAndIsExpandedAfterOneThatIsHigherNow) {
  const Cells order = expanded(finder);
  EXPECT_EQ(order, (Cells{{0, 0}, {1, 0}, {2, 0}, {1, 1}, {2, 1}}));
  EXPECT_LT(finder.closedNodes[3].f, finder.closedNodes[2].f);
}

TEST_F(LoweredPriority, takesTheNewParentAndCost) {
  EXPECT_EQ(parentOf(finder, 1, 1), std::make_pair(1, 0));
  EXPECT_EQ(finder.closedNodes[3].g, 1.0f + (1.0f + 2.0f * (1.0f - 0.2f)));
}

TEST_F(LoweredPriority, stopsTheScanOfAnodeFiledLaterWithItsNewPriority) {
  // In order, c (3.62) would stand in front of b (3.65).
  EXPECT_LT(finder.closedNodes[4].f, finder.closedNodes[2].f);
  EXPECT_GT(finder.closedNodes[4].f, finder.closedNodes[3].f);
}

TEST(SearchOrder, aClosedCellIsNeverReopenedHoweverCheapTheNewWay) {
  const OccupancyMap map = drawMap({
      "..#",  //
      "#2#",  // closed from (0, 0) at 3.68; (1, 0), expanded later, offers 3.6
      "###",  //
      "#.#",  // the goal, out of reach, draws the search downwards
  });
  OccMapPathFinder finder(&map, 0.0f);
  finder.setHWeight(1.0f);
  korrin_test::LogCapture log;
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(1, 3, 0.0f), path);
  EXPECT_EQ(expanded(finder), (Cells{{0, 0}, {1, 1}, {1, 0}}));
  EXPECT_EQ(finder.getNumIterations(), 3);
  const float dear = Brin::computeNorm(1, 1) * (1.0f + 2.0f * (1.0f - 0.2f));
  EXPECT_EQ(finder.closedNodes[1].g, dear);
  EXPECT_EQ(finder.nodes[static_cast<std::size_t>(finder.xGetCellNode({1, 1, 0.0f}))].g, dear);
  EXPECT_EQ(finder.xGetCellState({1, 1, 0.0f}), 2);
}

TEST(FreeTest, aValueEqualToTheThresholdIsFreeAndOneJustBelowIsNot) {
  OccupancyMap map(3, 1, 1.0f, false);
  OccMapPathFinder finder(&map, 0.0f);
  finder.setObstacleThreshold(0.3f);
  for (int cell = 0; cell < 3; ++cell) {  // start, way, goal
    map.reset(1.0f);
    std::vector<Pose2Di> path;
    map.setCell(cell, 0, 0.3f);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
    EXPECT_EQ(path.size(), 3u) << cell;
    korrin_test::LogCapture log;
    map.setCell(cell, 0, 0.3f - 0.0001f);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(2, 0, 0.0f), path);
    EXPECT_TRUE(path.empty()) << cell;
    EXPECT_EQ(log.records().size(), 1u);
  }
}

}  // namespace
