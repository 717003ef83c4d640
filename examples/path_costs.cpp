// Summarises what a path meets on a map: how free its worst and its best cell are, the mean, and
// its length; for the whole path and for the stretch just ahead.

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

void print(const char* what, const Brin::PathCostStats& stats) {
  std::cout << what << ": worst " << stats.minCost << ", best " << stats.maxCost << ", mean "
            << std::round(stats.avgCost * 100.0f) / 100.0f << " over " << stats.length << " m\n";
}

int main() {
  const Brin::OccupancyMap map = drawMap(
      {
          "..........",  //
          ".....???..",  //
          "..........",  //
      },
      0.5f);
  const std::vector<Brin::Pose2D> path = {{0, 0.5f, 0}, {4.5f, 0.5f, 0}};  // along the middle row
  print("all", Brin::computePathCostStat(map, path));
  const float horizon = 2.0f;  // metres
  const Brin::PathCostStats ahead = Brin::computePathCostStat(map, path, &horizon);
  print("ahead", ahead);
  print("both", Brin::mergePathCostStats(ahead, Brin::computePathCostStat(map, path)));
}
