// Plans on real maps of buildings, and checks each by means of its own: that a plan exists exactly
// when there is a way, that the path is one of neighbouring free cells from start to goal, and that
// every leg between waypoints is clear.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <vector>

#include "korrin/io/map_file.hpp"
#include "tests/support/random_inputs.hpp"
#include "tools/demo/floor_plan.hpp"
#include "tools/negative_answer.hpp"
#include "tools/planning.hpp"

namespace korrin_test {
namespace {

using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_tool::Plan;

constexpr const char* kMapDirectory = "../shared/data/maps";
constexpr int kPlansPerMap = 5;

struct NamedMap {
  std::string name;
  OccupancyMap map;
};

// The real maps where they are at hand, and always the program's own floor plan.
std::vector<NamedMap> mapsToPlanOn() {
  std::vector<NamedMap> maps;
  maps.push_back({"the built-in floor plan", korrin_tool::makeFloorPlan().map});
  if (!std::filesystem::is_directory(kMapDirectory)) {
    std::cout << kMapDirectory << " is not there: planning on the built-in floor plan alone\n";
    return maps;
  }
  for (const auto& file : std::filesystem::directory_iterator(kMapDirectory)) {
    if (file.path().extension() != ".yaml") continue;
    maps.push_back({file.path().string(), Brin::io::readMapFile(file.path().string())});
  }
  return maps;
}

bool isFree(const OccupancyMap& map, int x, int y, float threshold) {
  return map.isInside(x, y) && map.getCell(x, y) >= threshold;
}

// The number of its connected region for each free cell, 0 for the others. Neighbours are the
// eight cells around.
class Regions {
 public:
  Regions(const OccupancyMap& map, float threshold)
      : width_(map.params.width),
        regions_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(map.params.height),
                 0) {
    int next = 0;
    for (int y = 0; y < map.params.height; ++y) {
      for (int x = 0; x < width_; ++x) {
        if (of({x, y, 0.0f}) == 0 && isFree(map, x, y, threshold)) {
          flood(map, threshold, {x, y, 0.0f}, ++next);
        }
      }
    }
  }

  int of(const Pose2Di& cell) const { return regions_[indexOf(cell)]; }

 private:
  std::size_t indexOf(const Pose2Di& cell) const {
    return static_cast<std::size_t>(cell.y) * static_cast<std::size_t>(width_) +
           static_cast<std::size_t>(cell.x);
  }

  void flood(const OccupancyMap& map, float threshold, const Pose2Di& first, int region) {
    std::vector<Pose2Di> open{first};
    while (!open.empty()) {
      const Pose2Di cell = open.back();
      open.pop_back();
      if (!isFree(map, cell.x, cell.y, threshold) || of(cell) != 0) continue;
      regions_[indexOf(cell)] = region;
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) open.emplace_back(cell.x + dx, cell.y + dy, 0.0f);
      }
    }
  }

  int width_;
  std::vector<int> regions_;
};

// The cell `step` cells along the longer axis from `from` towards `to`, the other coordinate
// rounded to nearest, halves away from `from`.
Pose2Di cellAlong(const Pose2Di& from, const Pose2Di& to, std::int64_t step) {
  const std::int64_t dx = std::int64_t{to.x} - from.x;
  const std::int64_t dy = std::int64_t{to.y} - from.y;
  const std::int64_t longer = std::max(std::abs(dx), std::abs(dy));
  const auto along = [&](std::int64_t difference) {
    const std::int64_t way = (2 * step * std::abs(difference) + longer) / (2 * longer);
    return static_cast<std::int32_t>(difference < 0 ? -way : way);
  };
  return {from.x + along(dx), from.y + along(dy), 0.0f};
}

class RealMaps : public ::testing::Test {
 protected:
  void checkPath(const OccupancyMap& map, const Pose2Di& start, const Pose2Di& goal,
                 const std::vector<Pose2D>& path) {
    ASSERT_FALSE(path.empty());
    Pose2Di before = map.getPixelFromPose(path.front());
    EXPECT_TRUE(before.x == start.x && before.y == start.y);
    for (std::size_t i = 0; i < path.size(); ++i) {
      const Pose2Di cell = map.getPixelFromPose(path[i]);
      ASSERT_GE(map.getCell(cell.x, cell.y), settings_.obstacleThreshold)
          << "cell " << i << " is blocked";
      if (i > 0) {
        ASSERT_EQ(std::max(std::abs(cell.x - before.x), std::abs(cell.y - before.y)), 1)
            << "cell " << i << " is not next to the one before";
      }
      before = cell;
    }
    EXPECT_TRUE(before.x == goal.x && before.y == goal.y);
  }

  void checkWaypoints(const OccupancyMap& map, const Plan& plan) {
    ASSERT_FALSE(plan.waypoints.empty());
    for (std::size_t i = 1; i < plan.waypoints.size(); ++i) {
      const Pose2Di from = map.getPixelFromPose(plan.waypoints[i - 1]);
      const Pose2Di to = map.getPixelFromPose(plan.waypoints[i]);
      const int steps = std::max(std::abs(to.x - from.x), std::abs(to.y - from.y));
      for (int step = 0; step <= steps && steps > 0; ++step) {
        const Pose2Di cell = cellAlong(from, to, step);
        ASSERT_GE(map.getCell(cell.x, cell.y), settings_.obstacleThreshold)
            << "the leg from waypoint " << i << " is blocked at " << cell.x << ", " << cell.y;
      }
    }
    EXPECT_LE(plan.waypoints.size(), plan.path.size());
  }

  Pose2Di anyFreeCell(const OccupancyMap& map) {
    for (;;) {
      const Pose2Di cell(random_.between(0, map.params.width - 1),
                         random_.between(0, map.params.height - 1), 0.0f);
      if (map.getCell(cell.x, cell.y) > 0.5f) return cell;
    }
  }

  // A free cell of another region than `region`, or, where none turns up, any.
  Pose2Di cellElsewhere(const OccupancyMap& map, const Regions& regions, int region) {
    Pose2Di cell = anyFreeCell(map);
    for (int tries = 0; tries < 100'000 && regions.of(cell) == region; ++tries) {
      cell = anyFreeCell(map);
    }
    return cell;
  }

  void planBetween(const PathPlanner& planner, const Regions& regions, const Pose2Di& start,
                   const Pose2Di& goal) {
    const OccupancyMap& map = planner.grownMap();
    const bool connected = regions.of(start) == regions.of(goal);
    try {
      const Plan plan =
          korrin_tool::planPath(planner, map.getPoseFromPixel(start), map.getPoseFromPixel(goal));
      EXPECT_TRUE(connected) << "a plan where there is no way";
      EXPECT_EQ(plan.blockedCells, 0);
      checkPath(map, start, goal, plan.path);
      checkWaypoints(map, plan);
      ++plans_;
    } catch (const korrin_tool::NegativeAnswer& answer) {
      EXPECT_FALSE(connected) << answer.what();
      ++refusals_;
    }
  }

  void planOn(const PathPlanner& planner) {
    const OccupancyMap& map = planner.grownMap();
    const Regions regions(map, settings_.obstacleThreshold);
    const int plansBefore = plans_;
    for (int i = 0; i < kPlansPerMap; ++i) {
      planBetween(planner, regions, anyFreeCell(map), anyFreeCell(map));
    }
    EXPECT_GT(plans_, plansBefore) << "not one plan on this map";
    const Pose2Di start = anyFreeCell(map);
    planBetween(planner, regions, start, cellElsewhere(map, regions, regions.of(start)));
  }

  void planOnAllMaps() {
    for (const NamedMap& named : mapsToPlanOn()) {
      SCOPED_TRACE(named.name);
      planOn(PathPlanner(named.map, settings_));
    }
    std::cout << plans_ << " plans checked, " << refusals_ << " rightly refused\n";
  }

  RandomInputs random_{20261121};
  Brin::PlannerSettings settings_;
  int plans_ = 0;
  int refusals_ = 0;
};

TEST_F(RealMaps, PlansAreRightOnMapsAsTheyAre) {
  settings_.unknownIsFree = true;
  planOnAllMaps();
}

TEST_F(RealMaps, PlansAreRightForARobotWithARadiusOnExploredCells) {
  settings_.robotRadius = 0.15f;
  settings_.fadeDistance = 0.35f;
  planOnAllMaps();
}

// The floor plan with its last door shut: the workshop cannot be reached.
TEST_F(RealMaps, RoomBehindAClosedDoorIsRefused) {
  const korrin_tool::FloorPlan floor = korrin_tool::makeFloorPlan();
  OccupancyMap map = floor.map;
  const Pose2Di from = map.getPixelFromPose({21.8f, 6.9f, 0.0f});
  const Pose2Di to = map.getPixelFromPose({23.0f, 6.9f, 0.0f});
  for (int x = from.x; x <= to.x; ++x) map.setCell(x, from.y, 0.0f);
  const PathPlanner planner(map, settings_);
  planBetween(planner, Regions(planner.grownMap(), settings_.obstacleThreshold),
              map.getPixelFromPose(floor.entrance), map.getPixelFromPose(floor.farRoom));
  EXPECT_EQ(refusals_, 1);
}

}  // namespace
}  // namespace korrin_test
