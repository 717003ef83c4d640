// Planning as the commands do it.
#include "tools/planning.hpp"

#include <gtest/gtest.h>

#include "tests/support/bits.hpp"
#include "tests/support/log_capture.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/support/random_inputs.hpp"
#include "tools/negative_answer.hpp"

namespace korrin_test {
namespace {

using Brin::PathPlanner;
using Brin::PlannerSettings;
using korrin_tool::Plan;
using korrin_tool::planPath;
using korrin_tool::Search;
using korrin_tool::searchBehind;

TEST(SearchBehind, ExploredCellsAreInTheOrderOfExpansionOnTheSearchedGrid) {
  PlannerSettings settings;
  settings.coarseFactor = 2;
  const Brin::OccupancyMap map = drawMap(std::vector<std::string>(6, "......"));
  const PathPlanner planner(map, settings);
  const Plan plan = planPath(planner, {0.0f, 0.0f, 0.0f}, {4.0f, 4.0f, 0.0f});
  const Search search = searchBehind(planner, plan);
  EXPECT_EQ(search.grid.width, 3);
  EXPECT_EQ(search.grid.resolution, 2.0f);
  ASSERT_EQ(search.explored.size(), static_cast<std::size_t>(plan.iterations));
  EXPECT_TRUE(sameBits(search.explored.front(), {0, 0, 0.0f}));
  EXPECT_TRUE(sameBits(search.explored.back(), {2, 2, 0.0f}));
}

TEST(SearchBehind, IsThePlannersOwnWhateverTheSettings) {
  RandomInputs random(77);
  MapBounds bounds;
  bounds.maxSide = 40;
  int found = 0;
  for (int i = 0; i < 300; ++i) {
    const Brin::OccupancyMap map = random.map(bounds);
    PlannerSettings settings;
    settings.robotRadius = random.between(0.0f, 1.0f) * map.params.resolution;
    settings.fadeDistance = random.between(0.0f, 3.0f) * map.params.resolution;
    settings.unknownIsFree = random.chance(0.8);
    settings.obstacleThreshold = random.between(0.05f, 0.3f);
    settings.weight = random.between(0.0f, 1.0f);
    settings.neighborhood = static_cast<Brin::OccMapPathFinder::NeighborhoodType>(i % 3);
    settings.angleCostFactor = random.between(0.0f, 2.0f);
    const PathPlanner planner(map, settings);
    const auto anyPose = [&] { return map.getPoseFromPixel(random.cellNear(map, 2)); };
    try {
      const Plan plan = planPath(planner, anyPose(), anyPose(), 100.0f);
      EXPECT_EQ(searchBehind(planner, plan).explored.size(),
                static_cast<std::size_t>(plan.iterations));
      EXPECT_EQ(plan.blockedCells, 0);
      ++found;
    } catch (const korrin_tool::NegativeAnswer&) {
    }
  }
  EXPECT_GT(found, 50);
}

TEST(PlanPath, WhatTheLibraryRemarksOnTheWayStaysInside) {
  LogCapture log;
  const Brin::OccupancyMap open = drawMap({"....", "...."});
  const PathPlanner planner(open);
  searchBehind(planner, planPath(planner, {0.0f, 0.0f, 0.0f}, {3.0f, 1.0f, 0.0f}));
  const Brin::OccupancyMap parted = drawMap({".#."});
  EXPECT_THROW(planPath(PathPlanner(parted), {0.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}),
               korrin_tool::NegativeAnswer);
  EXPECT_EQ(log.records().size(), 0u);
}

TEST(PlanPath, MovesBothEndsWhenBothAreBlocked) {
  const Brin::OccupancyMap map = drawMap({"#....#"});
  const Plan plan = planPath(PathPlanner(map), {0.25f, 0.0f, 1.0f}, {5.0f, 0.0f, 0.0f}, 1.0f);
  EXPECT_TRUE(sameBits(plan.start, {1.0f, 0.0f, 1.0f}));
  EXPECT_TRUE(sameBits(plan.goal, {4.0f, 0.0f, 0.0f}));
  EXPECT_EQ(plan.startMoved, 0.75f);
  EXPECT_EQ(plan.goalMoved, 1.0f);
  EXPECT_EQ(plan.path.size(), 4u);
}

TEST(LengthOf, SumsTheLegs) {
  EXPECT_EQ(korrin_tool::lengthOf({}), 0.0);
  EXPECT_EQ(korrin_tool::lengthOf({{1.0f, 1.0f, 0.0f}}), 0.0);
  EXPECT_EQ(korrin_tool::lengthOf({{0.0f, 0.0f, 0.0f}, {3.0f, 4.0f, 0.0f}, {3.0f, 3.0f, 0.0f}}),
            6.0);
}

}  // namespace
}  // namespace korrin_test
