// PathPlanner on real maps of buildings: its plans are the finder's on its own map, and safe.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "korrin/core/log.hpp"
#include "korrin/io/map_file.hpp"
#include "korrin/path_planner.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "support/bits.hpp"
#include "support/clear_ways.hpp"
#include "support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlanOutcome;
using Brin::Pose2D;

constexpr const char* kMapDirectory = "../shared/data/maps";
constexpr int kPlansPerMap = 6;

Pose2D someFreePose(const OccupancyMap& map, RandomInputs& random) {
  for (;;) {
    const int x = random.between(0, map.params.width - 1);
    const int y = random.between(0, map.params.height - 1);
    if (map.getCell(x, y) >= 0.2f) return map.getPoseFromPixel({x, y, 0.0f});
  }
}

void expectClear(const PathPlanner& planner, const OccupancyMap& map, const Plan& plan) {
  const ClearWays ways(map, planner.settings().obstacleThreshold);
  const double allowed =
      static_cast<double>(planner.settings().robotRadius / map.params.resolution) - 1.4143;
  for (std::size_t i = 0; i + 1 < plan.waypoints.size(); ++i) {
    const auto ray =
        korrin_model::throwRay(planner.fineMap(), plan.waypoints[i], plan.waypoints[i + 1], 0.2f);
    ASSERT_EQ(ray.status, 1);
    ASSERT_GE(ways.distanceTo(plan.waypoints[i], plan.waypoints[i + 1], allowed + 1.0),
              allowed - 1e-3);
  }
}

// How many plans were found.
int planOn(const OccupancyMap& map, const Brin::PlannerSettings& settings) {
  const PathPlanner planner(map, settings);
  Brin::OccMapPathFinder finder(&planner.grownMap(), 0.0f);
  finder.setNeighborhoodType(settings.neighborhood);
  RandomInputs random(9);
  int found = 0;
  for (int i = 0; i < kPlansPerMap; ++i) {
    const Pose2D from = someFreePose(planner.grownMap(), random);
    const Pose2D to = someFreePose(planner.grownMap(), random);
    const Plan plan = planner.plan(from, to);
    std::vector<Pose2D> path;
    finder.computePath(from, to, path);
    EXPECT_TRUE(sameBits(plan.path, path));
    EXPECT_EQ(plan.iterations, finder.getNumIterations());
    expectClear(planner, map, plan);
    found += plan.outcome == PlanOutcome::Found ? 1 : 0;
  }
  return found;
}

TEST(PlannedRealMaps, plansAreTheFindersAndClear) {
  if (!std::filesystem::is_directory(kMapDirectory)) {
    std::cout << kMapDirectory << " is not there: no map to plan on\n";
    return;
  }
  const Brin::LogSink previous = Brin::setLogSink([](const Brin::LogRecord&) {});
  int found = 0;
  int maps = 0;
  for (const auto& file : std::filesystem::directory_iterator(kMapDirectory)) {
    if (file.path().extension() != ".yaml") continue;
    SCOPED_TRACE(file.path().string());
    OccupancyMap map = Brin::io::readMapFile(file.path().string());
    map.params.origin = Pose2D();
    ++maps;
    for (const int type : {0, 1, 2}) {
      Brin::PlannerSettings settings;
      settings.robotRadius = 0.2f;
      settings.fadeDistance = 0.4f;
      settings.neighborhood = static_cast<Brin::OccMapPathFinder::NeighborhoodType>(type);
      settings.coarseFactor = type == 0 ? 1 : type;
      found += planOn(map, settings);
    }
  }
  Brin::setLogSink(previous);
  EXPECT_GT(maps, 3);
  EXPECT_GT(found, 5 * maps);
}

}  // namespace
}  // namespace korrin_test
