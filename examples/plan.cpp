// Plans a path between two world poses and draws it into the map. A step into an unknown cell ('?')
// costs twice its length: here that is less than the way round to the door below.
#include "drawing.hpp"
#include "korrin/korrin.hpp"

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
  for (const Brin::Pose2D& pose : path) {
    const Brin::Pose2Di cell = map.getPixelFromPose(pose);
    picture[static_cast<std::size_t>(cell.y)][static_cast<std::size_t>(cell.x)] = 'o';
  }
  for (const std::string& row : picture) std::cout << row << '\n';
  std::cout << path.size() << " poses, " << finder.getNumIterations() << " cells expanded\n";
}
