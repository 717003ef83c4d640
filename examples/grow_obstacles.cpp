// Grows the obstacles of a map, so that a planner that takes the robot for a point keeps its
// distance: blocked up to 0.1 m from an obstacle, from there rising to free at 0.4 m.
#include "drawing.hpp"
#include "korrin/korrin.hpp"

int main() {
  Brin::OccupancyMap map = drawMap(
      {
          "...............",  //
          "...............",  //
          "...............",  //
          "...............",  //
          ".......#.......",  //
          "...............",  //
          "...............",  //
          "...............",  //
          "...............",  //
      },
      0.1f);
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);  // for maps of this size
  dilater.setParams(0.1f, 0.4f);
  dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
  print(map);
}
