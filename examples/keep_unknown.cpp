// Grows obstacles without calling free what nobody has seen: dilation looks at obstacles alone, and
// an unknown cell far from them comes out free. The lower of both values keeps it unknown.

#include <algorithm>
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

// Prints a map in the same way, a digit for the tenths between.
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

  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(x, y, std::min(map.getCell(x, y), seen.getCell(x, y)));
    }
  }
  std::cout << '\n';
  print(map);
}
