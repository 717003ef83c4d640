#include "korrin/occmap_path_finder.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::sameBits;
using Drawing = std::vector<std::string>;
using Node = OccMapPathFinder::Node;

static_assert(!std::is_copy_constructible_v<OccMapPathFinder>);
static_assert(!std::is_copy_assignable_v<OccMapPathFinder>);
static_assert(!std::is_polymorphic_v<OccMapPathFinder>);
static_assert(std::is_same_v<std::underlying_type_t<OccMapPathFinder::NeighborhoodType>, int>);

std::vector<Pose2Di> plan(OccMapPathFinder& finder, const Pose2Di& from, const Pose2Di& to) {
  std::vector<Pose2Di> path = {{99, 99, 9.0f}};
  finder.computePath(from, to, path);
  return path;
}

// `map` with the path's cells drawn as '*'.
Drawing drawPath(const OccupancyMap& map, const std::vector<Pose2Di>& path) {
  Drawing rows = korrin_test::drawingOf(map);
  for (const Pose2Di& cell : path) {
    rows[static_cast<std::size_t>(cell.y)][static_cast<std::size_t>(cell.x)] = '*';
  }
  return rows;
}

void expectOneRecord(const LogCapture& log, Brin::NavLogLevel level, const std::string& message,
                     int line) {
  ASSERT_EQ(log.records().size(), 1u);
  const Brin::LogRecord record = log.records().front();
  EXPECT_EQ(record.level, level);
  EXPECT_EQ(record.message, message);
  EXPECT_EQ(record.file, "src/occmap_path_finder");
  EXPECT_EQ(record.function, "xDoComputePath");
  EXPECT_EQ(record.line, line);
}

TEST(NeighborTables, everyConstructionLeavesTheSameThreeTablesInTheirOrder) {
  for (int i = 0; i < 2; ++i) {
    const OccMapPathFinder finder(nullptr, 0.0f);
    EXPECT_TRUE(sameBits(Brin::kSimpleNeighborDeltas, korrin_model::simpleDeltas()));
    EXPECT_TRUE(sameBits(Brin::kDoubleNeighborDeltas, korrin_model::doubleDeltas()));
    EXPECT_TRUE(sameBits(Brin::kTripleNeighborDeltas, korrin_model::tripleDeltas()));
  }
}

TEST(NeighborTables, fillingReplacesWhateverTheyHold) {
  Brin::kSimpleNeighborDeltas = {{7, 7, 7.0f}};
  Brin::kTripleNeighborDeltas.clear();
  Brin::initNeighborDeltas();
  EXPECT_TRUE(sameBits(Brin::kSimpleNeighborDeltas, korrin_model::simpleDeltas()));
  EXPECT_TRUE(sameBits(Brin::kTripleNeighborDeltas, korrin_model::tripleDeltas()));
}

TEST(NeighborTables, doubleStartsUpLeftAndNeverStepsOneCell) {
  OccMapPathFinder finder(nullptr, 0.0f);
  finder.setNeighborhoodType(OccMapPathFinder::Double);
  EXPECT_TRUE(sameBits(finder.neighborDeltas.front(), Pose2Di(-1, -2, 0.0f)));
  for (const Pose2Di& delta : finder.neighborDeltas) {
    EXPECT_GE(Brin::computeNorm(delta.x, delta.y), 2.0f);
  }
}

TEST(NeighborTables, aFinderKeepsItsOwnCopy) {
  OccMapPathFinder finder(nullptr, 0.0f);
  Brin::kSimpleNeighborDeltas.clear();
  EXPECT_EQ(finder.neighborDeltas.size(), 8u);
  finder.setNeighborhoodType(OccMapPathFinder::Simple);
  EXPECT_TRUE(finder.neighborDeltas.empty());
  Brin::initNeighborDeltas();
}

TEST(NeighborTables, anUnknownTypeIsRecordedAndKeepsTheOffsets) {
  OccMapPathFinder finder(nullptr, 0.0f);
  finder.setNeighborhoodType(OccMapPathFinder::Triple);
  finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(7));
  EXPECT_EQ(finder.neighborhoodType, 7);
  EXPECT_TRUE(sameBits(finder.neighborDeltas, korrin_model::tripleDeltas()));
}

TEST(PathFinder, startsWithTheDefaultsOfItsFields) {
  const OccupancyMap map(2, 2, 1.0f, false);
  const OccMapPathFinder finder(&map, 3.5f);
  EXPECT_EQ(finder.obstacleThreshold, 0.2f);
  EXPECT_EQ(finder.initParam, 3.5f);
  EXPECT_EQ(finder.coarseFactor, 1);
  EXPECT_EQ(finder.occMap, &map);
  EXPECT_TRUE(korrin_test::sameMap(finder.coarseMap, OccupancyMap(10, 10, 1.0f, true)));
  EXPECT_TRUE(finder.nodes.empty() && finder.openList.empty() && finder.closedNodes.empty());
  EXPECT_TRUE(finder.cellStates == nullptr && finder.cellNodes == nullptr);
  EXPECT_EQ(finder.neighborhoodType, OccMapPathFinder::Simple);
  EXPECT_EQ(finder.neighborDeltas.size(), 8u);
  EXPECT_EQ(finder.getNumIterations(), 0);
  EXPECT_EQ(finder.getAngleCostFactor(), 0.0f);
  EXPECT_EQ(Node::hWeight, 0.5f);
}

TEST(PathFinder, everyConstructionResetsTheWeightOfAllFinders) {
  OccMapPathFinder first(nullptr, 0.0f);
  first.setHWeight(0.9f);
  EXPECT_EQ(Node::hWeight, 0.9f);
  const OccMapPathFinder second(nullptr, 0.0f);
  EXPECT_EQ(Node::hWeight, 0.5f);
}

TEST(PathFinder, settersWriteWhatGettersRead) {
  OccMapPathFinder finder(nullptr, 0.0f);
  finder.setObstacleThreshold(0.7f);
  EXPECT_EQ(finder.getObstacleThreshold(), 0.7f);
  EXPECT_EQ(finder.obstacleThreshold, 0.7f);
  finder.setAngleCostFactor(2.5f);
  EXPECT_EQ(finder.getAngleCostFactor(), 2.5f);
  EXPECT_EQ(finder.angleCostFactor, 2.5f);
}

TEST(PathFinder, goesAroundAWallThroughItsDoor) {
  const OccupancyMap map = drawMap({
      ".....",  //
      "####.",  //
      ".....",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_EQ(drawPath(map, plan(finder, {0, 0, 0.0f}, {0, 2, 0.0f})), (Drawing{
                                                                         "****.",  //
                                                                         "####*",  //
                                                                         "****.",  //
                                                                     }));
}

TEST(PathFinder, prefersAFreeDetourToUnknownCells) {
  const OccupancyMap map = drawMap({
      ".???.",  //
      ".???.",  //
      "#...#",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_EQ(drawPath(map, plan(finder, {0, 1, 0.0f}, {4, 1, 0.0f})), (Drawing{
                                                                         ".???.",  //
                                                                         "*???*",  //
                                                                         "#***#",  //
                                                                     }));
}

TEST(PathFinder, crossesUnknownCellsWhenTheDetourIsTooLong) {
  const OccupancyMap map = drawMap({
      ".?.",  //
      ".#.",  //
      ".#.",  //
      "...",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {2, 0, 0.0f}).size(), 3u);
}

TEST(PathFinder, aStepCostsItsLengthTimesThreeMinusTwiceTheValue) {
  const OccupancyMap map = drawMap({".?2."}, 0.5f);
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 0.0f}, {3, 0, 0.0f});
  ASSERT_EQ(finder.closedNodes.size(), 4u);
  EXPECT_EQ(finder.closedNodes[1].g, 0.5f * 2.0f);
  EXPECT_EQ(finder.closedNodes[2].g, 1.0f + 0.5f * (1.0f + 2.0f * (1.0f - 0.2f)));
  EXPECT_EQ(finder.closedNodes[3].g, finder.closedNodes[2].g + 0.5f);
  EXPECT_EQ(finder.closedNodes[1].h, 1.0f);
  EXPECT_EQ(finder.closedNodes[1].f, 0.5f * 1.0f + 0.5f * 1.0f);
}

TEST(PathFinder, theStartNodeCarriesTheHeadingAndNoCosts) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 1.25f}, {2, 0, 9.0f});
  const Node& first = finder.closedNodes.front();
  EXPECT_EQ(first.theta, 1.25f);
  EXPECT_EQ(first.parent, -1);
  EXPECT_EQ(first.f, 0.0f);
  EXPECT_EQ(first.g, 0.0f);
  EXPECT_EQ(first.h, 0.0f);
  EXPECT_EQ(finder.closedNodes.back().theta, 0.0f);
  EXPECT_TRUE(sameBits(finder.end, Pose2Di(2, 0, 9.0f)));
}

TEST(PathFinder, onlyTheStartOfThePathKeepsItsHeading) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_TRUE(sameBits(plan(finder, {0, 0, 1.25f}, {2, 0, 2.5f}),
                       std::vector<Pose2Di>{{0, 0, 1.25f}, {1, 0, 0.0f}, {2, 0, 0.0f}}));
}

TEST(PathFinder, startEqualToGoalTakesOneIteration) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_TRUE(
      sameBits(plan(finder, {1, 0, 0.5f}, {1, 0, 0.0f}), std::vector<Pose2Di>{{1, 0, 0.5f}}));
  EXPECT_EQ(finder.getNumIterations(), 1);
}

TEST(PathFinder, blockedStartIsReportedAndChangesNothing) {
  const OccupancyMap map = drawMap({"..#"});
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f});
  for (const Pose2Di& blocked : {Pose2Di(2, 0, 0), Pose2Di(-1, 0, 0), Pose2Di(0, 1, 0)}) {
    LogCapture log;
    EXPECT_TRUE(plan(finder, blocked, {2, 0, 0.0f}).empty());
    expectOneRecord(log, Brin::NavLogLevel::Warning, "Start is not free.", 232);
    EXPECT_EQ(finder.getNumIterations(), 2);
    EXPECT_EQ(finder.closedNodes.size(), 2u);
    EXPECT_TRUE(sameBits(finder.start, Pose2Di(0, 0, 0.0f)));
  }
}

TEST(PathFinder, blockedGoalIsReportedAndChangesNothing) {
  const OccupancyMap map = drawMap({"..#"});
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f});
  for (const Pose2Di& blocked : {Pose2Di(2, 0, 0), Pose2Di(3, 0, 0), Pose2Di(0, -1, 0)}) {
    LogCapture log;
    EXPECT_TRUE(plan(finder, {1, 0, 0.0f}, blocked).empty());
    expectOneRecord(log, Brin::NavLogLevel::Warning, "End is not free.", 237);
    EXPECT_EQ(finder.getNumIterations(), 2);
    EXPECT_TRUE(sameBits(finder.start, Pose2Di(0, 0, 0.0f)));
  }
}

TEST(PathFinder, enclosedGoalIsReportedAfterEveryReachableCell) {
  const OccupancyMap map = drawMap({
      "..#..",  //
      "..###",  //
      ".?..#",  //
  });
  OccMapPathFinder finder(&map, 0.0f);
  LogCapture log;
  EXPECT_TRUE(plan(finder, {0, 0, 0.0f}, {4, 0, 0.0f}).empty());
  expectOneRecord(log, Brin::NavLogLevel::Error, "No path could be found.", 269);
  EXPECT_EQ(finder.getNumIterations(), 8);
  EXPECT_TRUE(finder.openList.empty());
}

TEST(PathFinder, weightZeroExpandsByCostAlone) {
  const OccupancyMap map = drawMap({".....", ".....", "....."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setHWeight(0.0f);
  plan(finder, {0, 1, 0.0f}, {4, 1, 0.0f});
  for (std::size_t i = 1; i < finder.closedNodes.size(); ++i) {
    EXPECT_GE(finder.closedNodes[i].g, finder.closedNodes[i - 1].g);
  }
  EXPECT_EQ(finder.getNumIterations(), 13) << "all cells nearer than the goal, and the goal";
}

TEST(PathFinder, weightOneRunsAtTheGoal) {
  const OccupancyMap map = drawMap({".....", ".....", "....."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setHWeight(1.0f);
  plan(finder, {0, 1, 0.0f}, {4, 1, 0.0f});
  EXPECT_EQ(finder.getNumIterations(), 5);
  for (const Node& node : finder.closedNodes) EXPECT_EQ(node.f, node.h);
}

TEST(PathFinder, doubleReachesAGoalThatItsStridesMissFromNextToIt) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setNeighborhoodType(OccMapPathFinder::Double);
  // One row: from column 0 only column 2 can be stepped on, and 1 is next to the start.
  EXPECT_TRUE(
      sameBits(plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f}), std::vector<Pose2Di>{{0, 0, 0.0f}}));
  EXPECT_EQ(finder.getNumIterations(), 1);
}

TEST(PathFinder, simpleAndTripleMustHitTheGoalItself) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f}).size(), 2u);
  LogCapture log;
  finder.setNeighborhoodType(OccMapPathFinder::Triple);
  EXPECT_TRUE(plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f}).empty());
}

TEST(PathFinder, stridesJumpOverThinWalls) {
  const OccupancyMap map = drawMap({".##."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setNeighborhoodType(OccMapPathFinder::Triple);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {3, 0, 0.0f}).size(), 2u);
}

TEST(PathFinder, theTurnCostCountsInTheFirstStepOnly) {
  const OccupancyMap map = drawMap({"..."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setAngleCostFactor(2.0f);
  // Looking along +y and going along +x: a quarter turn.
  plan(finder, {0, 0, 0.5f * Brin::kPi}, {2, 0, 0.0f});
  const Node& goal = finder.closedNodes.back();
  EXPECT_EQ(goal.g, (1.0f + finder.xComputeAngleCost(0.5f * Brin::kPi, {1, 0, 0.0f})) + 1.0f);
  EXPECT_NEAR(goal.g, 2.0f + Brin::kPi, 1e-5f);
}

TEST(PathFinder, theTurnIsMeasuredTheShortWayRound) {
  OccMapPathFinder finder(nullptr, 0.0f);
  finder.setAngleCostFactor(3.0f);
  EXPECT_NEAR(finder.xComputeAngleCost(3.0f, {-1, 0, 0.0f}), 3.0f * (Brin::kPi - 3.0f), 1e-5f);
  EXPECT_NEAR(finder.xComputeAngleCost(-3.0f, {-1, 0, 0.0f}), 3.0f * (Brin::kPi - 3.0f), 1e-5f);
  EXPECT_NEAR(finder.xComputeAngleCost(0.0f, {1, -1, 0.0f}), 0.75f * Brin::kPi, 1e-5f);
  EXPECT_EQ(finder.xComputeAngleCost(0.0f, {2, 0, 0.0f}), 0.0f);
}

TEST(PathFinder, distancesAreInMetresOfTheCoarseMap) {
  const OccupancyMap map(12, 12, 0.5f, false);
  OccMapPathFinder finder(&map, 0.0f);
  finder.setCoarseFactor(3);
  plan(finder, {0, 0, 0.0f}, {3, 3, 0.0f});
  EXPECT_EQ(finder.xDistance(3, -4), 5.0f * 1.5f);
}

TEST(PathFinder, cellsAreEqualWhateverTheirHeadings) {
  OccMapPathFinder finder(nullptr, 0.0f);
  EXPECT_TRUE(finder.xCmpPt({3, 4, 0.0f}, {3, 4, 1.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({3, 4, 0.0f}, {3, 5, 0.0f}, true));
  finder.setNeighborhoodType(OccMapPathFinder::Double);
  EXPECT_TRUE(finder.xCmpPt({3, 4, 0.0f}, {3, 5, 0.0f}, true));
  EXPECT_TRUE(finder.xCmpPt({3, 4, 0.0f}, {2, 4, 0.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({3, 4, 0.0f}, {2, 5, 0.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({3, 4, 0.0f}, {5, 4, 0.0f}, true));
  EXPECT_FALSE(finder.xCmpPt({3, 4, 0.0f}, {3, 5, 0.0f}, false));
  EXPECT_TRUE(finder.xCmpPt({3, 4, 0.0f}, {3, 4, 0.0f}, false));
}

TEST(PathFinder, theCoarseMapIsMadeAnewAtEveryRequest) {
  OccupancyMap map = drawMap({"...", "##."});
  OccMapPathFinder finder(&map, 0.0f);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {2, 1, 0.0f}).size(), 3u);
  map.setCell(1, 0, 0.0f);
  LogCapture log;
  EXPECT_TRUE(plan(finder, {0, 0, 0.0f}, {2, 1, 0.0f}).empty());
  EXPECT_TRUE(korrin_test::sameImage(finder.coarseMap.image, map.image));
}

TEST(PathFinder, anotherMapServesFromTheNextRequestOn) {
  const OccupancyMap first = drawMap({"..."});
  const OccupancyMap second = drawMap({".", ".", ".", "."}, 0.25f);
  OccMapPathFinder finder(&first, 0.0f);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {2, 0, 0.0f}).size(), 3u);
  finder.setOccMap(&second);
  EXPECT_EQ(plan(finder, {0, 0, 0.0f}, {0, 3, 0.0f}).size(), 4u);
  EXPECT_EQ(finder.coarseMap.params.resolution, 0.25f);
}

TEST(PathFinder, cellRequestsAreInCoarseCells) {
  const OccupancyMap map(101, 50, 0.05f, false);
  OccMapPathFinder finder(&map, 0.0f);
  finder.setCoarseFactor(2);
  const std::vector<Pose2Di> path = plan(finder, {0, 0, 0.0f}, {49, 24, 0.0f});
  ASSERT_EQ(path.size(), 50u);
  EXPECT_TRUE(sameBits(path.back(), Pose2Di(49, 24, 0.0f)));
  EXPECT_EQ(finder.coarseMap.params.width, 50);
  EXPECT_EQ(finder.coarseMap.params.height, 25);
}

TEST(PathFinder, posesComeBackAsCentresOfCoarseCells) {
  OccupancyMap map = drawMap({"......", "......"}, 0.5f);
  map.params.origin = {10.0f, -4.0f, 0.3f};
  OccMapPathFinder finder(&map, 0.0f);
  finder.setCoarseFactor(2);
  OccupancyMap coarse(0, 0, 1.0f, true);
  Brin::computeCoarserMap(map, coarse, 2);
  Pose2D from = coarse.getPoseFromPixel({0, 0, 2.0f});
  Pose2D to = coarse.getPoseFromPixel({2, 0, 1.0f});
  from.x += 0.2f;
  to.y -= 0.2f;
  std::vector<Pose2D> path = {{7.0f, 7.0f, 7.0f}};
  finder.computePath(from, to, path);
  EXPECT_TRUE(
      sameBits(path, {coarse.getPoseFromPixel({0, 0, 0.0f}), coarse.getPoseFromPixel({1, 0, 0.0f}),
                      coarse.getPoseFromPixel({2, 0, 0.0f})}));
}

TEST(PathFinder, thePoseRequestDropsTheStartsHeadingForTheTurnCost) {
  const OccupancyMap map = drawMap({"...", "...", "..."});
  OccMapPathFinder finder(&map, 0.0f);
  finder.setAngleCostFactor(5.0f);
  std::vector<Pose2D> path;
  finder.computePath(Pose2D(0.0f, 1.0f, 3.0f), Pose2D(2.0f, 1.0f, 0.0f), path);
  EXPECT_EQ(path.size(), 3u);
  EXPECT_EQ(finder.closedNodes.back().g, 2.0f);
  EXPECT_EQ(finder.start.theta, 0.0f);
}

TEST(PathFinder, aFailedPoseRequestLeavesNoPath) {
  const OccupancyMap map = drawMap({".#."});
  OccMapPathFinder finder(&map, 0.0f);
  LogCapture log;
  std::vector<Pose2D> path = {{7.0f, 7.0f, 7.0f}};
  finder.computePath(Pose2D(0.0f, 0.0f, 0.0f), Pose2D(2.0f, 0.0f, 0.0f), path);
  EXPECT_TRUE(path.empty());
  expectOneRecord(log, Brin::NavLogLevel::Error, "No path could be found.", 269);
}

TEST(PathFinder, cellsAreMarkedNeverSeenOpenOrClosed) {
  const OccupancyMap map = drawMap({"...#."});
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {0, 0, 0.0f}, {1, 0, 0.0f});
  EXPECT_EQ(finder.xGetCellState({0, 0, 0.0f}), 2);
  EXPECT_EQ(finder.xGetCellState({1, 0, 0.0f}), 2);
  EXPECT_EQ(finder.xGetCellState({2, 0, 0.0f}), 0);
  EXPECT_EQ(finder.xGetCellNode({1, 0, 0.0f}), 1);
  EXPECT_EQ(finder.cellStates[4], 0);
}

TEST(PathFinder, findsOpenNodesByTheirCell) {
  const OccupancyMap map = drawMap({"....", "####"});
  OccMapPathFinder finder(&map, 0.0f);
  plan(finder, {1, 0, 0.0f}, {2, 0, 0.0f});
  const Node* open = finder.xFindNode({0, 0, 0.0f});
  ASSERT_NE(open, nullptr);
  EXPECT_EQ(open, &finder.nodes[static_cast<std::size_t>(finder.xGetCellNode({0, 0, 0.0f}))]);
  EXPECT_EQ(open->x, 0);
  EXPECT_EQ(finder.xFindNode({1, 0, 0.0f}), nullptr) << "closed";
  EXPECT_EQ(finder.xFindNode({3, 0, 0.0f}), nullptr) << "never seen";
  finder.xGetCellState({0, 0, 0.0f}) = 0;
  EXPECT_EQ(finder.xFindNode({0, 0, 0.0f}), nullptr) << "the state decides";
}

}  // namespace
