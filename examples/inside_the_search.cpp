// Looks inside a search: the path, drawn into the map with the cells that were taken on the way
// ('x') and those that were left open ('+'). A step into an unknown cell ('?') costs twice its
// length: here that is less than the way round to the door below.
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
  const std::vector<std::string> rows = {
      "....................",  //
      "....................",  //
      "...#############....",  //
      "...#...........#....",  //
      "...#...........#....",  //
      "...#...........?....",  //
      "...#...........#....",  //
      "...######.######....",  //
      "....................",  //
      "....................",  //
  };
  const Brin::OccupancyMap map = drawMap(rows, 0.1f);
  Brin::OccMapPathFinder finder(&map, 0.0f);  // the map is borrowed
  finder.setObstacleThreshold(0.2f);

  std::vector<Brin::Pose2D> path;
  finder.computePath(Brin::Pose2D(1.8f, 0.1f, 0.0f), Brin::Pose2D(1.2f, 0.4f, 0.0f), path);

  std::vector<std::string> picture = rows;
  const auto mark = [&](int x, int y, char sign) {
    picture[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = sign;
  };
  for (const auto& node : finder.nodes) mark(node.x, node.y, '+');
  for (const auto& node : finder.closedNodes) mark(node.x, node.y, 'x');
  for (const Brin::Pose2D& pose : path) {
    const Brin::Pose2Di cell = map.getPixelFromPose(pose);
    mark(cell.x, cell.y, 'o');
  }
  for (const std::string& row : picture) std::cout << row << '\n';
  std::cout << path.size() << " poses, " << finder.getNumIterations() << " cells expanded\n";
}
