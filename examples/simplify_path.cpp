// Reduces a planned path to a few waypoints: once by shape alone, once so that every straight
// stretch between waypoints keeps clear of obstacles.
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

void print(const char* what, const std::vector<Brin::Pose2D>& path) {
  std::cout << what << ':';
  for (const Brin::Pose2D& pose : path) std::cout << " (" << pose.x << ", " << pose.y << ')';
  std::cout << '\n';
}

int main() {
  Brin::setLogSink([](const Brin::LogRecord&) {});  // the simplifier tells what it does
  const Brin::OccupancyMap map = drawMap(
      {
          "..........",  //
          ".####.....",  //
          ".####.....",  //
          "......##..",  //
          "......##..",  //
          "..........",  //
      },
      0.25f);
  std::vector<Brin::Pose2D> path;  // dense, as a planner returns it
  for (int x = 0; x < 6; ++x) path.push_back(map.getPoseFromPixel({x, 0, 0.0f}));
  for (int y = 1; y < 5; ++y) path.push_back(map.getPoseFromPixel({5, y, 0.0f}));
  for (int x = 5; x < 10; ++x) path.push_back(map.getPoseFromPixel({x, 5, 0.0f}));
  std::cout << path.size() << " poses\n";

  Brin::PathSimplifier byShape;
  byShape.samplingAccuracy = 800.0f;  // millimetres
  print("by shape", byShape.sample(path));

  Brin::SafePathSimplifier safe;
  safe.setInitialSamplingAccuracy(800.0f);
  print("safe", safe.sample(path, map));
}
