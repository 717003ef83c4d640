// Finds how far the robot has turned and moved between two scans: the pose at which the second one
// fits the first one best.
#include <opencv2/core/core_c.h>

#include <iostream>
#include <korrin/korrin.hpp>

// What a scanner at `pose` sees of a room of 6 m x 4 m with the world's origin in its middle.
Brin::Scan scanAt(const Brin::Pose2D& pose) {
  Brin::OccupancyMap room(130, 90, 0.05f, false);
  room.params.origin = {-3.25f, -2.25f, 0.0f};
  for (int x = 0; x < 130; ++x) {
    for (int y = 0; y < 90; ++y) {
      room.setCell(x, y, x > 4 && x < 125 && y > 4 && y < 85 ? 1.0f : 0.0f);
    }
  }
  Brin::Scan scan;
  Brin::occMapSimulateScan(room, Brin::ScanModel(180, 10.0f, 6.2f), pose, scan.readings, 0.45f);
  return scan;
}

int main() {
  Brin::ScanDistMap reference;
  reference.build(scanAt({0, 0, 0}), {0, 0, 0}, 0.05f);  // metres per pixel
  const Brin::Scan scan = scanAt({0.3f, -0.2f, 0.1f});
  Brin::Pose2D best;
  float bestScore = 0.0f;
  for (int i = 0; i < 11 * 11 * 11; ++i) {
    const Brin::Pose2D pose(static_cast<float>(i % 11 - 5) * 0.1f,
                            static_cast<float>(i / 11 % 11 - 5) * 0.1f,
                            static_cast<float>(i / 121 - 5) * 0.05f);
    const float score = reference.score(scan, pose, 0.5f, nullptr);  // 0.5 m off counts nothing
    if (score > bestScore) best = pose, bestScore = score;
  }
  std::cout << "moved by " << best.x << ", " << best.y << " m, turned by " << best.theta << "\n";
  cvReleaseImage(&reference.laserImage), cvReleaseImage(&reference.distanceMap);
}
