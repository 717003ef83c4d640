// Takes over a grid as other programs keep them: bytes from 0 (free) to 100 (occupied), -1 for
// unknown, row 0 first, and the pose of the first cell's corner instead of its centre.
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

Brin::OccupancyMap takeOver(const std::vector<signed char>& cells, int width, int height,
                            float resolution, const Brin::Pose2D& corner) {
  Brin::OccupancyMap map(width, height, resolution, true);
  const float half = 0.5f * resolution;
  map.params.origin = corner.absProject(Brin::Pose2D(half, half, 0.0f));
  std::size_t next = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int occupied = cells[next++];
      map.setCell(x, y, occupied < 0 ? 0.5f : 1.0f - static_cast<float>(occupied) / 100.0f);
    }
  }
  return map;
}

int main() {
  const std::vector<signed char> cells = {
      0,  0,   0,  0,  //
      -1, 100, 60, 0,  //
      -1, -1,  40, 0,  //
  };
  const Brin::OccupancyMap map = takeOver(cells, 4, 3, 0.5f, Brin::Pose2D(-1.0f, 2.0f, 0.0f));
  print(map);
  const Brin::Pose2Di cell = map.getPixelFromPose(Brin::Pose2D(-0.4f, 2.6f, 0.0f));
  std::cout << "(-0.4, 2.6) is in column " << cell.x << ", row " << cell.y << '\n';
}
