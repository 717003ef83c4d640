// Summarises what a path meets on a map: how free its worst and its best cell are, the mean, and
// its length; for the whole path and for the stretch just ahead.
#include <cmath>

#include "drawing.hpp"
#include "korrin/korrin.hpp"

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
