// Builds a map from laser readings: cells that beams cross become freer, cells where they end on
// something become less free.

#include <cmath>
#include <iostream>
#include <korrin/korrin.hpp>
#include <vector>

// Prints a map as a drawing: '.' free, '?' unknown, '#' occupied, a digit for the tenths between.
void print(const Brin::OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const float value = map.getCell(x, y);
      const char tenths = static_cast<char>('0' + static_cast<int>(value * 10.0f + 0.01f));
      std::cout << (value > 0.99f ? '.' : value < 0.1f ? '#' : value == 0.5f ? '?' : tenths);
    }
    std::cout << '\n';
  }
}

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
