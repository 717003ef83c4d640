// The made-up building: a place that a robot can get around in.
#include "tools/demo/floor_plan.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace korrin_test {
namespace {

using korrin_tool::FloorPlan;

class FloorPlanTest : public ::testing::Test {
 protected:
  float at(const Brin::Point2D& point) const {
    const Brin::Pose2Di cell = floor_.map.getPixelFromPose({point.x, point.y, 0.0f});
    return floor_.map.getCell(cell.x, cell.y);
  }

  // For each cell whether one gets there from the entrance, stepping to the four sides.
  std::vector<bool> reachable() const {
    const int width = floor_.map.params.width;
    std::vector<bool> seen(static_cast<std::size_t>(width * floor_.map.params.height), false);
    std::vector<Brin::Pose2Di> open{floor_.map.getPixelFromPose(floor_.entrance)};
    while (!open.empty()) {
      const Brin::Pose2Di cell = open.back();
      open.pop_back();
      if (floor_.map.getCell(cell.x, cell.y) != 1.0f) continue;
      const auto index = static_cast<std::size_t>(cell.y * width + cell.x);
      if (seen[index]) continue;
      seen[index] = true;
      open.insert(open.end(), {{cell.x + 1, cell.y, 0.0f},
                               {cell.x - 1, cell.y, 0.0f},
                               {cell.x, cell.y + 1, 0.0f},
                               {cell.x, cell.y - 1, 0.0f}});
    }
    return seen;
  }

  FloorPlan floor_ = korrin_tool::makeFloorPlan();
};

TEST_F(FloorPlanTest, Is24By16MetresWithItsCornerAtTheOrigin) {
  EXPECT_EQ(floor_.map.params.width, 480);
  EXPECT_EQ(floor_.map.params.height, 320);
  EXPECT_EQ(floor_.map.params.resolution, 0.05f);
  EXPECT_FLOAT_EQ(floor_.map.params.origin.x, 0.025f);
  EXPECT_FLOAT_EQ(floor_.map.params.origin.y, 0.025f);
}

TEST_F(FloorPlanTest, OutsideIsUnknownAndTheWallIsClosedButForTheEntrance) {
  EXPECT_EQ(at({0.2f, 0.2f}), 0.5f);
  EXPECT_EQ(at({23.8f, 15.8f}), 0.5f);
  EXPECT_EQ(at({12.0f, 0.6f}), 0.0f);
  EXPECT_EQ(at({12.0f, 15.4f}), 0.0f);
  EXPECT_EQ(at({23.4f, 8.0f}), 0.0f);
  EXPECT_EQ(at({0.6f, 8.0f}), 1.0f);
}

TEST_F(FloorPlanTest, EveryFreeCellIsReachedFromTheEntrance) {
  const std::vector<bool> reached = reachable();
  int freeCells = 0;
  int reachedCells = 0;
  for (int y = 0; y < floor_.map.params.height; ++y) {
    for (int x = 0; x < floor_.map.params.width; ++x) {
      freeCells += floor_.map.getCell(x, y) == 1.0f ? 1 : 0;
      reachedCells += reached[static_cast<std::size_t>(y * floor_.map.params.width + x)] ? 1 : 0;
    }
  }
  EXPECT_GT(freeCells, 90'000);
  EXPECT_EQ(reachedCells, freeCells);
}

TEST_F(FloorPlanTest, EndsAndTourStopsAreFree) {
  EXPECT_EQ(at(floor_.entrance), 1.0f);
  EXPECT_EQ(at(floor_.farRoom), 1.0f);
  for (const Brin::Pose2D& stop : floor_.tour) {
    EXPECT_EQ(at(stop), 1.0f) << stop.x << ", " << stop.y;
  }
  EXPECT_EQ(floor_.rooms.size(), 8u);
}

TEST_F(FloorPlanTest, CorridorIsClosedByAFireDoor) {
  for (float y = 7.1f; y < 9.0f; y += 0.05f) EXPECT_EQ(at({14.675f, y}), 0.0f) << y;
}

TEST_F(FloorPlanTest, FurnitureIsOccupiedAndNoWall) {
  EXPECT_GT(floor_.furniture.size(), 5'000u);
  for (const Brin::Pose2Di& cell : floor_.furniture) {
    EXPECT_EQ(floor_.map.getCell(cell.x, cell.y), 0.0f);
  }
  const auto holds = [&](float x, float y) {
    const Brin::Pose2Di wanted = floor_.map.getPixelFromPose({x, y, 0.0f});
    for (const Brin::Pose2Di& cell : floor_.furniture) {
      if (cell.x == wanted.x && cell.y == wanted.y) return true;
    }
    return false;
  };
  EXPECT_TRUE(holds(8.4f, 12.3f));   // the meeting table
  EXPECT_FALSE(holds(12.0f, 0.6f));  // the south wall
}

}  // namespace
}  // namespace korrin_test
