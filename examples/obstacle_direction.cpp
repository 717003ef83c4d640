// Asks on which side of the robot the obstacles nearby are, and so which way to back off.
#include <cmath>

#include "drawing.hpp"
#include "korrin/korrin.hpp"

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
