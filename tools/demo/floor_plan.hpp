// A floor of a building, made up by the program: rooms, doors, a corridor and furniture, on
// 24 m x 16 m at 0.05 m. The demonstration drives, maps and plans on it, and so do tests.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_tool {

struct RoomName {
  Brin::Point2D middle;  // metres
  std::string name;
};

struct FloorPlan {
  // 1 inside, 0 in walls and furniture, 0.5 outside. The lower left corner is the world's origin.
  Brin::OccupancyMap map;
  std::vector<Brin::Pose2Di> furniture;  // those of its cells that are no walls
  std::vector<RoomName> rooms;
  Brin::Pose2D entrance;
  Brin::Pose2D farRoom;
  std::vector<Brin::Pose2D> tour;  // stops of a round through the whole floor
};

FloorPlan makeFloorPlan();

}  // namespace korrin_tool
