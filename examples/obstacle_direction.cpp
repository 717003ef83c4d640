// Asks on which side of the robot the obstacles nearby are, and so which way to back off.

#include <cmath>
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
  Brin::setLogSink([](const Brin::LogRecord& record) {
    if (record.level != Brin::NavLogLevel::Info) std::cout << record.message << '\n';
  });
  const Brin::OccupancyMap map = drawMap(
      {
          "...............",  //
          "...............",  //
          "...............",  //
          "...............",  //
          "...............",  //
          "...............",  //
          ".....#####.....",  //
          "...............",  //
          "...............",  //
      },
      0.1f);
  for (const Brin::Pose2Di cell : {Brin::Pose2Di(7, 4, 0.0f), Brin::Pose2Di(2, 1, 0.0f)}) {
    float direction = 0.0f;  // radians: 0 towards the next column, 90 degrees the next row
    std::cout << "at column " << cell.x << ", row " << cell.y << ": ";
    if (Brin::findObstaclesMainDirection(map, cell, 0.5f, direction, 0.45f)) {
      std::cout << std::lround(direction * 180.0f / Brin::kPi) << " degrees\n";
    }
  }
}
