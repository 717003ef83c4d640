// Grows obstacles without calling free what nobody has seen: dilation looks at obstacles alone, and
// an unknown cell far from them comes out free. The lower of both values keeps it unknown.
#include <algorithm>

#include "drawing.hpp"
#include "korrin/korrin.hpp"

int main() {
  Brin::OccupancyMap map = drawMap(
      {
          "..............",  //
          "..#...........",  //
          "..........????",  //
          "..........????",  //
      },
      0.1f);
  const Brin::OccupancyMap seen = map;
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setParams(0.15f, 0.4f);
  dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
  print(map);

  //! [keep]
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(x, y, std::min(map.getCell(x, y), seen.getCell(x, y)));
    }
  }
  //! [keep]
  std::cout << '\n';
  print(map);
}
