// The room for a path finder's nodes: enough for a short plan, then for one node a cell; addresses
// alone until nodes are written there; and less than that where memory is short.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <new>
#include <string>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/failing_memory.hpp"
#include "support/log_capture.hpp"
#include "support/path_searches.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;
using Node = OccMapPathFinder::Node;

constexpr std::size_t kShortPlan = 65536;
constexpr std::size_t kMebibyte = 1 << 20;

// Free but for walls around its lower left part, which a search from there does not leave.
OccupancyMap walledMap(int side, int freeSide) {
  OccupancyMap map(side, side, 1.0f, false);
  map.reset(1.0f);
  for (int i = 0; i <= freeSide && freeSide < side; ++i) {
    map.setCell(freeSide, i, 0.0f);
    map.setCell(i, freeSide, 0.0f);
  }
  return map;
}

// Reaches every cell that can be reached.
void searchAll(OccMapPathFinder& finder) {
  std::vector<Pose2Di> path;
  const OccupancyMap& map = *finder.occMap;
  finder.computePath(Pose2Di(0, 0, 0.0f),
                     Pose2Di(map.params.width - 1, map.params.height - 1, 0.0f), path);
}

TEST(PathFinderRoom, isForAShortPlanAtFirst) {
  const OccupancyMap map = walledMap(500, 500);
  OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(9, 9, 0.0f), Pose2Di(29, 9, 0.0f), path);
  ASSERT_EQ(path.size(), 21u);
  EXPECT_EQ(finder.nodes.capacity(), kShortPlan);
  EXPECT_EQ(finder.closedNodes.capacity(), kShortPlan);
}

TEST(PathFinderRoom, isForEveryCellFromThenOn) {
  const korrin_test::LogCapture log;
  const OccupancyMap map = walledMap(500, 260);
  OccMapPathFinder finder(&map, 0.0f);
  searchAll(finder);
  ASSERT_GT(finder.closedNodes.size(), kShortPlan);
  EXPECT_EQ(finder.nodes.capacity(), 250000u);
  EXPECT_EQ(finder.closedNodes.capacity(), 250000u);
}

TEST(PathFinderRoom, isForNoMoreNodesThanThereAreCells) {
  const OccupancyMap small = walledMap(20, 20);
  OccMapPathFinder finder(&small, 0.0f);
  OccMapPathFinder::setHWeight(0.0f);
  searchAll(finder);
  EXPECT_EQ(finder.nodes.size(), 400u);
  EXPECT_EQ(finder.nodes.capacity(), 400u);
  EXPECT_EQ(finder.closedNodes.capacity(), 400u);
}

// A map may follow that has more cells than there was room for.
TEST(PathFinderRoom, growsWithTheMaps) {
  OccMapPathFinder finder(nullptr, 0.0f);
  for (const int side : {20, 30, 200, 300, 310}) {
    const OccupancyMap map = walledMap(side, side);
    finder.setOccMap(&map);
    OccMapPathFinder::setHWeight(0.0f);
    searchAll(finder);
    const auto cells = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    EXPECT_EQ(finder.nodes.size(), cells);
    EXPECT_EQ(finder.nodes.capacity(), cells);
  }
}

// Bytes of memory behind the addresses of `nodes`.
std::size_t residentBytes(const std::vector<Node>& nodes) {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(nodes.data()) / page * page;
  const auto to = reinterpret_cast<std::uintptr_t>(nodes.data() + nodes.capacity());
  std::vector<unsigned char> pages((to - from + page - 1) / page);
  EXPECT_EQ(mincore(reinterpret_cast<void*>(from), to - from, pages.data()), 0);
  std::size_t bytes = 0;
  for (const unsigned char isThere : pages) bytes += isThere % 2 * page;
  return bytes;
}

// Where the system takes huge pages without being asked, one may be there for a single node.
std::size_t mostUnused() {
  std::string choice;
  std::getline(std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled"), choice);
  const bool isAlwaysHuge = choice.find("[always]") != std::string::npos;
  return isAlwaysHuge ? 2 * kMebibyte : static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// A short plan takes no more memory than its nodes need, though there is room for 63 megabytes.
TEST(PathFinderRoom, isOfAddressesUntilItIsWrittenTo) {
  const korrin_test::LogCapture log;
  const OccupancyMap map = walledMap(1500, 300);
  OccMapPathFinder finder(&map, 0.0f);
  searchAll(finder);
  ASSERT_EQ(finder.nodes.size(), 90000u);
  for (const std::vector<Node>* nodes : {&finder.nodes, &finder.closedNodes}) {
    ASSERT_EQ(nodes->capacity(), 2250000u);
    EXPECT_GE(residentBytes(*nodes), nodes->size() * sizeof(Node));
    EXPECT_LE(residentBytes(*nodes), nodes->size() * sizeof(Node) + mostUnused());
  }
}

TEST(PathFinderRoom, isFilledAsTheModelFillsIt) {
  const korrin_test::LogCapture log;
  const OccupancyMap map = walledMap(300, 270);
  korrin_model::PathFinderModel model;
  model.countsEvents = false;
  model.coarseMap = map;
  model.search({0, 0, 0.0f}, {299, 299, 0.0f});
  OccMapPathFinder finder(&map, 0.0f);
  searchAll(finder);
  ASSERT_GT(finder.closedNodes.size(), kShortPlan);
  EXPECT_TRUE(korrin_test::sameSearch(finder, model));
}

// 250,000 nodes would take 7 megabytes.
TEST(PathFinderRoom, doublesWhereThereIsNotEnoughForEveryCell) {
  const korrin_test::LogCapture log;
  const OccupancyMap map = walledMap(500, 300);
  OccMapPathFinder unhindered(&map, 0.0f);
  searchAll(unhindered);
  OccMapPathFinder finder(&map, 0.0f);
  {
    const korrin_test::SmallMemory memory(4 * kMebibyte);
    searchAll(finder);
  }
  ASSERT_EQ(finder.nodes.size(), 90000u);
  EXPECT_EQ(finder.nodes.capacity(), 2 * kShortPlan);
  EXPECT_TRUE(korrin_test::sameNodes(finder.nodes, unhindered.nodes));
  EXPECT_TRUE(korrin_test::sameNodes(finder.closedNodes, unhindered.closedNodes));
}

TEST(PathFinderRoom, thatCannotBeHadLeavesNoSearch) {
  const korrin_test::LogCapture log;
  const OccupancyMap map = walledMap(500, 400);
  OccMapPathFinder finder(&map, 0.0f);
  {
    const korrin_test::SmallMemory memory(4 * kMebibyte);
    EXPECT_THROW(searchAll(finder), std::bad_alloc);
  }
  EXPECT_TRUE(finder.nodes.empty());
  EXPECT_TRUE(finder.closedNodes.empty());
  EXPECT_TRUE(finder.openList.empty());
  EXPECT_EQ(finder.cellStates, nullptr);
  EXPECT_EQ(finder.cellNodes, nullptr);
  EXPECT_EQ(finder.getNumIterations(), 0);
  searchAll(finder);
  EXPECT_EQ(finder.nodes.size(), 160000u);
}

}  // namespace
