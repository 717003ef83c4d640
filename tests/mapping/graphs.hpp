// Pose graphs for tests.
#pragma once

#include <cmath>
#include <vector>

#include "korrin/mapping/pose_graph.hpp"

namespace korrin_test {

constexpr double kHalfTurn = 3.14159265358979323846;

// A walk of `count` poses on a circle, back to where it began.
inline std::vector<Brin::mapping::GraphPose> circle(std::size_t count) {
  std::vector<Brin::mapping::GraphPose> poses;
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 2.0 * kHalfTurn * static_cast<double>(i) / static_cast<double>(count);
    poses.push_back({5.0 * std::cos(angle), 5.0 * std::sin(angle),
                     std::remainder(angle + kHalfTurn / 2.0, 2.0 * kHalfTurn)});
  }
  return poses;
}

inline Brin::mapping::GraphEdge between(const std::vector<Brin::mapping::GraphPose>& poses,
                                        std::size_t from, std::size_t to) {
  return {from,
          to,
          Brin::mapping::seenFrom(poses[from], poses[to]),
          {100.0, 0.0, 0.0, 100.0, 0.0, 400.0},
          0.0};
}

// Odometry all around, exact, and one edge that closes the circle.
inline Brin::mapping::PoseGraph closedCircle(const std::vector<Brin::mapping::GraphPose>& poses) {
  Brin::mapping::PoseGraph graph;
  graph.nodes = poses;
  for (std::size_t i = 1; i < poses.size(); ++i) graph.edges.push_back(between(poses, i - 1, i));
  graph.edges.push_back(between(poses, poses.size() - 1, 0));
  return graph;
}

}  // namespace korrin_test
