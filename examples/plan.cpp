// Plans for a robot with a radius and draws the path into the map. It keeps clear of corners, and
// takes the way round to the door below rather than one through a cell that nobody has seen ('?').
#include <cstddef>
#include <iostream>
#include <korrin/korrin.hpp>
#include <string>
#include <vector>

// A map as it is drawn: '.' free, '#' occupied, else unknown. Row 0 comes first.
Brin::OccupancyMap drawMap(const std::vector<std::string>& rows, float resolution) {
  const int width = static_cast<int>(rows[0].size());
  Brin::OccupancyMap map(width, static_cast<int>(rows.size()), resolution, false);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < width; ++x) {
      const char mark = rows[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
      map.setCell(x, y, mark == '.' ? 1.0f : mark == '#' ? 0.0f : 0.5f);
    }
  }
  return map;
}

int main() {
  std::vector<std::string> picture = {
      "....................",  //
      "....................",  //
      "...#############....",  //
      "...#...........#....",  //
      "...#...........#....",  //
      "...#...........?....",  //
      "...#...........#....",  //
      "...####...######....",  //
      "....................",  //
      "....................",  //
  };
  const Brin::OccupancyMap map = drawMap(picture, 0.1f);
  Brin::PlannerSettings settings;
  settings.robotRadius = 0.15f;              // metres
  Brin::PathPlanner planner(map, settings);  // the map is borrowed

  const Brin::Plan plan = planner.plan(Brin::Pose2D(1.8f, 0.1f, 0), Brin::Pose2D(1.2f, 0.45f, 0));
  for (const Brin::Pose2D& pose : plan.path) {
    const Brin::Pose2Di cell = map.getPixelFromPose(pose);
    picture[static_cast<std::size_t>(cell.y)][static_cast<std::size_t>(cell.x)] = 'o';
  }
  for (const std::string& row : picture) std::cout << row << '\n';
  std::cout << plan.length << " m to drive, " << plan.waypoints.size() << " waypoints\n";

  const Brin::Plan blocked = planner.plan(Brin::Pose2D(1.8f, 0.1f, 0), Brin::Pose2D(1.4f, 0.5f, 0));
  if (blocked.blocked.reason == Brin::BlockedReason::TooNear) {
    std::cout << "too near to an obstacle; free is (" << blocked.blocked.nearestFree.x << ", "
              << blocked.blocked.nearestFree.y << ")\n";
  }
}
