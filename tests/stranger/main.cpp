// A program that knows korrin only from outside: it plans across a map of ten lines and prints the
// way.
#include <iostream>
#include <korrin/korrin.hpp>
#include <string>
#include <vector>

int main() {
  std::vector<std::string> drawing = {
      "..........",  //
      ".########.",  //
      ".#......#.",  //
      ".#.####.#.",  //
      ".#.#..#.#.",  //
      ".#.#.##.#.",  //
      ".#.#....#.",  //
      ".#.######.",  //
      ".#........",  //
      "..........",  //
  };
  Brin::OccupancyMap map(10, 10, 0.5f, false);
  for (int y = 0; y < 10; ++y) {
    for (int x = 0; x < 10; ++x) map.setCell(x, y, drawing[y][x] == '.' ? 1.0f : 0.0f);
  }
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Brin::Pose2Di> path;
  finder.computePath(Brin::Pose2Di(0, 9, 0), Brin::Pose2Di(5, 4, 0), path);
  for (const Brin::Pose2Di& cell : path) drawing[cell.y][cell.x] = 'o';
  for (const std::string& row : drawing) std::cout << row << '\n';
  return path.empty() ? 1 : 0;
}
