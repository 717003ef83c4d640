// Drives through worlds of walls, with odometry that slips, and what an aligner makes of them.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "korrin/mapping/scan_aligner.hpp"
#include "tests/support/laser_world.hpp"

namespace korrin_test {

// Odometry that counts each metre as `scale` and turns `drift` radians for each.
inline std::vector<Brin::Pose2D> drifting(const std::vector<Brin::Pose2D>& truth, float drift,
                                          float scale = 1.02f) {
  std::vector<Brin::Pose2D> odometry = {truth.front()};
  for (std::size_t i = 1; i < truth.size(); ++i) {
    const Brin::Pose2D step = truth[i - 1].relProject(truth[i]);
    const float metres = std::hypot(step.x, step.y);
    odometry.push_back(
        odometry.back().absProject({scale * step.x, scale * step.y, step.theta + drift * metres}));
  }
  return odometry;
}

inline Brin::Scan scanAt(const LaserWorld& world, const Brin::Pose2D& pose) {
  return world.scan(pose, 180, 81.91f);
}

inline Brin::mapping::ScanAligner aligned(const LaserWorld& world,
                                          const std::vector<Brin::Pose2D>& truth,
                                          const std::vector<Brin::Pose2D>& odometry,
                                          const Brin::mapping::AlignerSettings& settings = {}) {
  Brin::mapping::ScanAligner aligner(settings);
  for (std::size_t i = 0; i < truth.size(); ++i) aligner.add(scanAt(world, truth[i]), odometry[i]);
  return aligner;
}

// The largest distance of a pose from the truth, both seen from the first.
inline double worstError(const std::vector<Brin::Pose2D>& poses,
                         const std::vector<Brin::Pose2D>& truth) {
  double worst = 0.0;
  for (std::size_t i = 0; i < poses.size(); ++i) {
    const Brin::Pose2D is = poses.front().relProject(poses[i]);
    const Brin::Pose2D was = truth.front().relProject(truth[i]);
    worst = std::max(worst, std::hypot(double{is.x} - was.x, double{is.y} - was.y));
  }
  return worst;
}

// Loops that count, how many of them are not what was driven, and how many such were dropped.
struct Loops {
  int all = 0;
  int wrong = 0;
  int wrongDropped = 0;
};

inline bool isWrong(const Brin::mapping::ScanLink& link, const std::vector<Brin::Pose2D>& truth) {
  const Brin::Pose2D was = truth[link.from].relProject(truth[link.to]);
  const double turn = std::remainder(link.motion.theta - double{was.theta}, 2.0 * 3.14159265358979);
  return std::hypot(link.motion.x - was.x, link.motion.y - was.y) > 0.3 || std::fabs(turn) > 0.05;
}

inline Loops loopsOf(const Brin::mapping::ScanAligner& aligner,
                     const std::vector<Brin::Pose2D>& truth) {
  Loops loops;
  for (const Brin::mapping::ScanLink& link : aligner.links()) {
    if (link.kind != Brin::mapping::LinkKind::Loop) continue;
    const bool wrong = isWrong(link, truth);
    loops.all += link.dropped ? 0 : 1;
    loops.wrong += wrong && !link.dropped ? 1 : 0;
    loops.wrongDropped += wrong && link.dropped ? 1 : 0;
  }
  return loops;
}

}  // namespace korrin_test
