// The input of the scoring benchmarks: the exhaustive search for the pose of a scan around a guess,
// on the distance map of another scan taken nearby. 1,080 beams and 2,541 poses.
#pragma once

#include <vector>

#include "korrin/scan_matching.hpp"
#include "support/laser_world.hpp"

namespace korrin_bench {

struct ScoringInput {
  static constexpr float kMaxDist = 0.5f;

  Brin::ScanDistMap reference;
  Brin::Scan scan;
  std::vector<Brin::Point2D> points;
  std::vector<Brin::Point2D> pixels;  // the points in pixels of the map
  std::vector<Brin::Pose2D> poses;

  ScoringInput() {
    const auto world = korrin_test::LaserWorld::twoRooms();
    const Brin::Pose2D there(1.5f, 2.2f, 0.2f);
    reference.build(world.scan({1.2f, 2.3f, 0.1f}, 1080, 30.0f), {0.0f, 0.0f, 0.1f}, 0.05f);
    scan = world.scan(there, 1080, 30.0f);
    for (const Brin::RangeReading& reading : scan.readings) points.push_back(reading.toPoint2D());
    for (const Brin::Point2D& p : points) {
      pixels.emplace_back(p.x / reference.resolution, p.y / reference.resolution);
    }
    // Around the truth: +-0.25 m along both axes, +-10 degrees.
    for (int turn = -10; turn <= 10; ++turn) {
      for (int y = -5; y <= 5; ++y) {
        for (int x = -5; x <= 5; ++x) {
          poses.emplace_back(0.3f + 0.05f * static_cast<float>(x),
                             -0.1f + 0.05f * static_cast<float>(y),
                             0.2f + 0.0174533f * static_cast<float>(turn));
        }
      }
    }
  }
  ScoringInput(const ScoringInput&) = delete;
  ScoringInput& operator=(const ScoringInput&) = delete;
  ~ScoringInput() {
    cvReleaseImage(&reference.distanceMap);
    cvReleaseImage(&reference.laserImage);
  }
};

}  // namespace korrin_bench
