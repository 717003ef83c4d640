// Keeps a map around a moving robot: what was seen long ago fades towards unknown, and the map
// scrolls along. Its origin moves with its cells, so every place keeps its position in the world.
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
  const Brin::OccupancyMap seen = drawMap(
      {
          "..........",  //
          "..##...#..",  //
          "..##...#..",  //
          "..........",  //
      },
      0.5f);
  Brin::OccupancyMap map(seen.params, true);  // with the second image that scrolling needs
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 10; ++x) map.setCell(x, y, seen.getCell(x, y));
  }
  const Brin::Pose2D post = map.getPoseFromPixel({7, 1, 0.0f});  // of the thin wall

  Brin::occMapMultiplyProb(map, 0.4f);  // towards unknown: free 0.7, occupied 0.3
  print(map);

  Brin::scrollOccMapInPlace(map, Brin::Point2Di(-3, 0));  // three columns go, three come
  std::cout << '\n';
  print(map);
  const Brin::Pose2Di cell = map.getPixelFromPose(post);
  std::cout << "the post is in column " << cell.x << " now\n";
}
