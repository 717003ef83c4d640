// Simulates what a laser scanner would see in a map, and says which of two poses a measured scan
// agrees with better.

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
  const Brin::OccupancyMap map = drawMap(
      {
          "############",  //
          "#..........#",  //
          "#..........#",  //
          "#.......####",  //
          "#..........#",  //
          "############",  //
      },
      0.5f);
  const Brin::ScanModel scanner(7, 8.0f, Brin::kPi);  // 7 beams of 8 m over half a turn
  std::vector<Brin::RangeReading> here;
  Brin::occMapSimulateScan(map, scanner, {1.0f, 1.0f, 0.0f}, here, 0.45f);
  for (const Brin::RangeReading& reading : here) {
    std::cout << static_cast<int>(std::lround(reading.angle * 180.0f / Brin::kPi))
              << " degrees: " << std::lround(reading.range * 100.0f) << " cm\n";
  }

  std::vector<Brin::RangeReading> there;
  Brin::occMapSimulateScan(map, scanner, {1.5f, 1.5f, 0.2f}, there, 0.45f);
  std::cout << "agreement with itself " << scanner.scanLikelihood(here, here, 1) << '\n';
  const bool isLess = scanner.scanLikelihood(here, there, 1) < 0.95f;
  std::cout << "agreement with another pose " << (isLess ? "less" : "as good") << '\n';
}
