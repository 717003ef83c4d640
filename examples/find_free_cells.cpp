// Finds the nearest free cell of a robot that stands in an obstacle, and the nearest unknown cell
// it can see, the place to explore next.
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

void print(const char* what, bool isFound, const Brin::Pose2Di& cell) {
  std::cout << what << ": ";
  if (isFound) {
    std::cout << "column " << cell.x << ", row " << cell.y << '\n';
  } else {
    std::cout << "none\n";
  }
}

int main() {
  const Brin::OccupancyMap map = drawMap(
      {
          "?????###....",  //
          "#####.......",  //
          "#####......?",  //
          "####........",  //
          "............",  //
      },
      0.1f);
  Brin::Pose2Di cell;
  const Brin::Pose2Di inTheWall(2, 2, 0.0f);
  print("way out", Brin::findFirstFreeCell(map, inTheWall, cell, 0.7f), cell);
  print("to explore", Brin::findFirstGrayCell(map, cell, cell, 0.2f, 0.1f), cell);

  const Brin::Pose2Di end(11, 2, 0.0f);
  print("on the line", Brin::findFirstFreeCellInLine(map, inTheWall, end, cell, 0.7f), cell);
  print("seen from the wall", Brin::findFirstGrayCell(map, inTheWall, cell, 0.2f, 0.1f), cell);
}
