// A map whose grid lies askew in the world: poses go through its frame both ways, plans and
// simulated scans follow, and a heading on the grid is not the heading in the world.
#include <cmath>
#include <iostream>
#include <korrin/korrin.hpp>

int main() {
  Brin::OccupancyMap map(100, 60, 0.1f, false);
  map.reset(1.0f);
  map.params.origin = Brin::Pose2D(2.0f, 1.0f, Brin::kPi / 2);  // columns run along the world's y
  const Brin::Pose2Di cell = map.getPixelFromPose(Brin::Pose2D(1.0f, 4.0f, 0.0f));
  const Brin::Pose2D centre = map.getPoseFromPixel(cell);
  const auto degrees = [](float angle) { return std::lround(angle * 180.0f / Brin::kPi); };
  std::cout << "column " << cell.x << ", row " << cell.y << ", on the grid " << degrees(cell.theta)
            << " degrees\n";
  std::cout << "back: " << centre.x << ' ' << centre.y << ", " << degrees(centre.theta)
            << " degrees\n";

  Brin::OccupancyMapper mapper(&map);
  std::vector<Brin::RangeReading> ahead = {{1.0f, 0.0f}};  // 1 m straight ahead
  const Brin::Pose2D robot(1.0f, 4.0f, 0.0f);              // looking along the world's x
  const Brin::Pose2D onGrid = map.params.origin.relProject(robot);
  Brin::Pose2D turned = robot;
  turned.theta = onGrid.theta;  // an update's beams follow the grid's axes
  mapper.updateMap(ahead, turned, 0.0f, 1.0f);
  const Brin::Pose2Di hit = map.getPixelFromPose(Brin::Pose2D(2.0f, 4.0f, 0.0f));
  std::cout << "the hit at (2, 4) is " << map.getCell(hit.x, hit.y) << '\n';
  std::vector<Brin::RangeReading> seen;
  mapper.simulateScan(robot, 0.0f, 0.0f, 0.0f, 5.0f, 2, seen, 0.5f);  // from the world's heading
  std::cout << "and is seen again at " << seen[0].range << " m\n";
}
