// Keeps a map around a moving robot: what was seen long ago fades towards unknown, and the map
// scrolls along. Its origin moves with its cells, so every place keeps its position in the world.
#include "drawing.hpp"
#include "korrin/korrin.hpp"

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
