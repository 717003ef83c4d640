// Finds where a scan was taken, anywhere on a map and with any heading, and whether it might as
// well have been taken somewhere else.
#include <iostream>
#include <korrin/korrin.hpp>

// Two rooms of 4 m x 3 m side by side. The second one has a pillar, the first one has it only if
// the two are to be twins.
Brin::OccupancyMap twoRooms(bool areTwins) {
  Brin::OccupancyMap map(170, 64, 0.05f, false);
  map.reset(1.0f);
  for (int x = 0; x < 170; ++x) {
    for (int y = 0; y < 64; ++y) {
      const bool isWall = y < 2 || y > 61 || x < 2 || x > 167 || (x > 82 && x < 87);
      const int column = x < 85 ? x : x - 85;
      const bool isPillar = column > 20 && column < 26 && y > 40 && y < 44 && (areTwins || x > 85);
      if (isWall || isPillar) map.setCell(x, y, 0.0f);
    }
  }
  return map;
}

void locate(const Brin::OccupancyMap& map) {
  Brin::Scan scan;  // what the robot sees in the second room
  const Brin::Pose2D truth(6.3f, 1.1f, 2.0f);
  Brin::occMapSimulateScan(map, Brin::ScanModel(180, 10.0f, 4.7f), truth, scan.readings, 0.45f);
  std::vector<Brin::Point2D> points;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0) points.push_back(reading.toPoint2D());
  }
  const Brin::PoseSearch search(map, 0.45f, 0.2f);  // hits below 0.45; 0.2 m off counts nothing
  const auto everywhere = Brin::PoseGrid::around(map, 0.05f, 0.05f);
  std::cout << everywhere.poses() << " poses\n";
  const auto found = search.best(points, everywhere, 2, 1.0f);  // and the best one elsewhere
  for (const Brin::ScoredPose& each : found) {
    std::cout << "  " << each.pose.x << ", " << each.pose.y << ", " << each.pose.theta << " scores "
              << each.score << "\n";
  }
  const bool isClear = found[1].score < 0.98f * found[0].score;
  std::cout << (isClear ? "here it was" : "here or there") << "\n";
}

int main() {
  locate(twoRooms(false));
  locate(twoRooms(true));
}
