// Finds the nearest free cell of a robot that stands in an obstacle, and the nearest unknown cell
// it can see, the place to explore next.
#include "drawing.hpp"
#include "korrin/korrin.hpp"

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
