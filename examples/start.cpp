// A room with a wall, a path around the wall that keeps its distance, and the few poses to drive.
#include <iostream>
#include <korrin/korrin.hpp>

int main() {
  Brin::setLogSink([](const Brin::LogRecord& record) {
    if (record.level != Brin::NavLogLevel::Info) std::cerr << record.message << '\n';
  });
  Brin::OccupancyMap map(200, 100, 0.05f, false);          // 10 m x 5 m, every cell unknown
  map.reset(1.0f);                                         // all of it free
  for (int y = 0; y < 80; ++y) map.setCell(100, y, 0.0f);  // but for a wall

  Brin::OccupancyMap costs = map;  // a deep copy; the map itself stays true
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setParams(0.3f, 0.8f);  // metres: blocked up to, free from
  dilater.dilate(costs, Brin::ObstacleDilater::DILATE_LINEAR);

  Brin::OccMapPathFinder finder(&costs, 0.0f);  // borrows the map
  std::vector<Brin::Pose2D> path;
  finder.computePath(Brin::Pose2D(1, 1, 0), Brin::Pose2D(9, 1, 0), path);
  if (path.empty()) return 1;  // a log record has said why

  Brin::SafePathSimplifier simplifier;
  simplifier.setObstacleThreshold(0.2f);  // the finder's own
  const std::vector<Brin::Pose2D> waypoints = simplifier.sample(path, costs);
  for (const Brin::Pose2D& pose : waypoints) std::cout << pose.x << ' ' << pose.y << '\n';
}
