// A wall one cell thin on a map that is planned on coarsely: a coarse cell is what lies in the
// middle of the fine ones, not their lowest, and the search walks through. Growing the wall first
// keeps it.
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

void plan(const char* what, const Brin::OccupancyMap& map) {
  Brin::OccMapPathFinder finder(&map, 0.0f);
  finder.setCoarseFactor(4);
  std::vector<Brin::Pose2D> path;
  finder.computePath(Brin::Pose2D(0.2f, 1.0f, 0.0f), Brin::Pose2D(2.6f, 1.0f, 0.0f), path);
  std::cout << what << ": " << (path.empty() ? "no way" : "straight through") << '\n';
}

int main() {
  Brin::setLogSink([](const Brin::LogRecord&) {});
  Brin::OccupancyMap map(32, 20, 0.1f, false);
  map.reset(1.0f);
  for (int y = 0; y < 20; ++y) map.setCell(16, y, 0.0f);  // from edge to edge

  Brin::OccupancyMap coarse(0, 0, 1.0f, true);
  Brin::computeCoarserMap(map, coarse, 4);
  print(coarse);
  plan("thin", map);

  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  const float cell = 4 * map.params.resolution;  // of the coarse map, metres
  dilater.setParams(cell, cell);                 // the wall becomes two coarse cells thick
  dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
  Brin::computeCoarserMap(map, coarse, 4);
  print(coarse);
  plan("grown", map);
}
