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

using korrin_tool::growObstacles;
using korrin_tool::Plan;
using korrin_tool::planPath;
using korrin_tool::PlanSettings;

TEST(GrowObstacles, WithoutAKindLeavesTheMapAsItIs) {
  const Brin::OccupancyMap map = drawMap({"#?3."});
  EXPECT_TRUE(sameMap(growObstacles(map, {}), map));
}

TEST(GrowObstacles, ExploredOnlyClosesWhatIsUnknownOrWorse) {
  PlanSettings settings;
  settings.exploredOnly = true;
  EXPECT_EQ(drawingOf(growObstacles(drawMap({"#3?69."}), settings)),
            (std::vector<std::string>{"###69."}));
}

TEST(GrowObstacles, NoCellBecomesFreer) {
  RandomInputs random(51);
  MapBounds bounds;
  bounds.maxSide = 30;
  int lowered = 0;
  for (int i = 0; i < 300; ++i) {
    const Brin::OccupancyMap map = random.map(bounds);
    PlanSettings settings;
    settings.dilation = random.pick<Brin::ObstacleDilater::DilateType>(
        {Brin::ObstacleDilater::DILATE_LINEAR, Brin::ObstacleDilater::DILATE_INVERSE,
         Brin::ObstacleDilater::DILATE_ERODE_SMOOTH});
    settings.radius = random.between(0.0f, 3.0f) * map.params.resolution;
    settings.fade = settings.radius + random.between(0.0f, 3.0f) * map.params.resolution;
    settings.exploredOnly = random.chance(0.3);
    const Brin::OccupancyMap grown = growObstacles(map, settings);
    for (int y = 0; y < map.params.height; ++y) {
      for (int x = 0; x < map.params.width; ++x) {
        EXPECT_LE(grown.getCell(x, y), map.getCell(x, y));
        lowered += grown.getCell(x, y) < map.getCell(x, y) ? 1 : 0;
      }
    }
  }
  EXPECT_GT(lowered, 10'000);
}

TEST(PlanPath, ExploredCellsAreInTheOrderOfExpansionOnTheSearchedGrid) {
  PlanSettings settings;
  settings.coarseFactor = 2;
  const Plan plan = planPath(drawMap(std::vector<std::string>(6, "......")), {0.0f, 0.0f, 0.0f},
                             {4.0f, 4.0f, 0.0f}, settings);
  EXPECT_EQ(plan.searched.width, 3);
  EXPECT_EQ(plan.searched.resolution, 2.0f);
  ASSERT_EQ(plan.explored.size(), static_cast<std::size_t>(plan.iterations));
  EXPECT_TRUE(sameBits(plan.explored.front(), {0, 0, 0.0f}));
  EXPECT_TRUE(sameBits(plan.explored.back(), {2, 2, 0.0f}));
}

TEST(PlanPath, WeightOfAnEarlierPlanIsForgotten) {
  const Brin::OccupancyMap map = drawMap(std::vector<std::string>(20, std::string(20, '.')));
  const auto iterations = [&](float weight) {
    PlanSettings settings;
    settings.weight = weight;
    return planPath(map, {5.0f, 10.0f, 0.0f}, {15.0f, 10.0f, 0.0f}, settings).iterations;
  };
  const int thorough = iterations(0.0f);
  EXPECT_LT(iterations(1.0f), thorough);
  EXPECT_EQ(iterations(0.0f), thorough);
}

TEST(PlanPath, WhatTheLibraryRemarksOnTheWayStaysInside) {
  LogCapture log;
  planPath(drawMap({"....", "...."}), {0.0f, 0.0f, 0.0f}, {3.0f, 1.0f, 0.0f}, {});
  EXPECT_THROW(planPath(drawMap({".#."}), {0.0f, 0.0f, 0.0f}, {2.0f, 0.0f, 0.0f}, {}),
               korrin_tool::NegativeAnswer);
  EXPECT_EQ(log.records().size(), 0u);
}

TEST(LengthOf, SumsTheLegs) {
  EXPECT_EQ(korrin_tool::lengthOf({}), 0.0);
  EXPECT_EQ(korrin_tool::lengthOf({{1.0f, 1.0f, 0.0f}}), 0.0);
  EXPECT_EQ(korrin_tool::lengthOf({{0.0f, 0.0f, 0.0f}, {3.0f, 4.0f, 0.0f}, {3.0f, 3.0f, 0.0f}}),
            6.0);
}

}  // namespace
}  // namespace korrin_test
