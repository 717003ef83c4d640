// Builds a map from laser readings: cells that beams cross become freer, cells where they end on
// something become less free.
#include <cmath>

#include "drawing.hpp"
#include "korrin/korrin.hpp"

int main() {
  Brin::OccupancyMap map(21, 11, 0.1f, false);  // 2.1 m x 1.1 m, every cell unknown
  Brin::OccupancyMapper mapper(&map);           // the map is borrowed
  const Brin::Pose2D robot(0.2f, 0.5f, 0.0f);   // metres, metres, radians

  std::vector<Brin::RangeReading> readings;
  for (int i = -10; i <= 10; ++i) {
    const float angle = static_cast<float>(i) * 0.04f;
    readings.emplace_back(1.45f / std::cos(angle), angle);  // a wall 1.45 m ahead
    if (i > 4) readings.back().status = 1;                  // with an opening on the left
  }
  for (int scan = 0; scan < 3; ++scan) mapper.updateMap(readings, robot, 0.1f, 0.4f);
  print(map);

  const Brin::RangeReading ray = mapper.throwRay(robot, Brin::Point2D(2.0f, 0.3f), 0.45f);
  std::cout << (ray.status == 0 ? "blocked after " : "clear for ") << ray.range << " m\n";
}
