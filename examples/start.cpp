// A room with a wall, a path around the wall for a robot with a radius, and the few poses to drive.
#include <iostream>
#include <korrin/korrin.hpp>

int main() {
  Brin::OccupancyMap map(200, 100, 0.05f, false);          // 10 m x 5 m, every cell unknown
  map.reset(1.0f);                                         // all of it free
  for (int y = 0; y < 80; ++y) map.setCell(100, y, 0.0f);  // but for a wall

  Brin::PlannerSettings settings;
  settings.robotRadius = 0.3f;                     // metres: no obstacle comes nearer
  settings.fadeDistance = 0.5f;                    // dearer for so much farther
  const Brin::PathPlanner planner(map, settings);  // borrows the map

  const Brin::Plan plan = planner.plan(Brin::Pose2D(1, 1, 0), Brin::Pose2D(9, 1, 0));
  if (plan.outcome != Brin::PlanOutcome::Found) return 1;  // plan.blocked tells why
  for (const Brin::Pose2D& pose : plan.waypoints) std::cout << pose.x << ' ' << pose.y << '\n';
}
