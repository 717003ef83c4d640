// A program that knows korrin_io only from outside: it writes a map file and reads it back, plans
// on it, and does so on the map files that it is given, too.
#include <iostream>
#include <korrin/io/io.hpp>
#include <korrin/korrin.hpp>
#include <stdexcept>
#include <vector>

// From the first to the last third of the map, in the first of three rows that has a way.
std::size_t waypointsAcross(const Brin::OccupancyMap& map) {
  const int width = map.params.width;
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Brin::Pose2D> path;
  for (const int quarter : {2, 1, 3}) {
    if (!path.empty()) break;
    const int row = map.params.height * quarter / 4;
    Brin::Pose2Di start;
    Brin::Pose2Di goal;
    Brin::findFirstFreeCell(map, Brin::Pose2Di(width / 3, row, 0), start, 0.9f);
    Brin::findFirstFreeCell(map, Brin::Pose2Di(2 * width / 3, row, 0), goal, 0.9f);
    finder.computePath(map.getPoseFromPixel(start), map.getPoseFromPixel(goal), path);
  }
  return Brin::SafePathSimplifier().sample(path, map).size();
}

int main(int count, char** files) try {
  Brin::OccupancyMap drawn(40, 30, 0.05f, false);
  drawn.reset(1.0f);
  for (int y = 0; y < 25; ++y) drawn.setCell(20, y, 0.0f);
  Brin::io::writeMapFile(drawn, "drawn.yaml");
  std::cout << waypointsAcross(Brin::io::readMapFile("drawn.yaml")) << " waypoints\n";
  for (int i = 1; i < count; ++i) {
    if (waypointsAcross(Brin::io::readMapFile(files[i])) < 2) throw std::runtime_error(files[i]);
  }
  Brin::io::readMapFile("no such file.yaml");
} catch (const Brin::io::FileError& error) {
  std::cout << error.what() << '\n';
  return 0;
}
