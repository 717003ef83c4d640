// What a scorer is asked: a distance map, a scale, poses, and points or a scan.
#pragma once

#include "core/image_ptr.hpp"
#include "fuzz/fuzz_input.hpp"

namespace korrin_fuzz {

struct ScoringInput {
  Brin::ImagePtr map;  // a square, or wider, which is read as if it were one
  float resolution;
  float maxDist;
  int step;
  std::vector<Brin::Pose2D> poses;  // at least one
  std::vector<Brin::Point2D> points;
  Brin::Scan scan;

  ScoringInput(FuzzInput& in, int mostPoses) {
    const int side = in.between(0, 24);
    map = Brin::makeImage(cvSize(side + in.pick({0, 0, 3}), side), IPL_DEPTH_32F, 1);
    const float distances[] = {0.0f, 0.955f, in.someFloat(), 2.0f, in.someFloat()};
    for (int i = 0; i < map->imageSize / 4; ++i) {
      reinterpret_cast<float*>(map->imageData)[i] = distances[i * 7 % 11 % 5];
    }
    resolution = in.pickOrAny({1.0f, 0.5f, 0.1f, 0.3f});
    maxDist = in.pickOrAny({1.0f, 2.0f, 0.955f, 0.0f});
    step = in.pick({1, 1, 2, 7, std::numeric_limits<int>::max()});
    poses.resize(static_cast<std::size_t>(in.between(1, mostPoses)));
    const bool hasOneHeading = in.flag();
    for (Brin::Pose2D& pose : poses) {
      pose =
          in.rarely(16) ? in.wildPose() : Brin::Pose2D(in.ordinaryFloat(), in.ordinaryFloat(), 0);
      pose.theta = hasOneHeading ? poses.front().theta : in.someFloat();
    }
    points.resize(static_cast<std::size_t>(in.between(0, 70)));
    for (Brin::Point2D& point : points) point = {in.someFloat(), in.someFloat()};
    scan.readings = in.readings(70);
  }
};

}  // namespace korrin_fuzz
