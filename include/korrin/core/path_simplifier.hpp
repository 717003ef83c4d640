// The basic path simplifier: fewer poses, the same way, up to a tolerance. It knows no obstacles;
// SafePathSimplifier adds them.
//
//   Brin::PathSimplifier simplifier;
//   simplifier.samplingAccuracy = 100.0f;                     // millimetres
//   std::vector<Brin::Pose2D> few = simplifier.sample(path);  // no pose of path is 0.1 m off
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"

namespace Brin {

// Simplifies paths by their shape alone.
class KORRIN_EXPORT PathSimplifier {
 public:
  // How far, in millimetres, a dropped pose may lie from the segment that replaces it.
  float samplingAccuracy = 50.0f;

  // A subsequence of `path` (world poses, metres) that keeps its first and last pose and leaves no
  // pose farther than samplingAccuracy / 1000 metres from the segment between the kept poses
  // around it. Among equally far poses the earliest is kept. A pose whose position is not finite is
  // always kept. With a negative accuracy every pose is kept; fewer than three poses come back as
  // they are. An accuracy that is not finite gives the path back as it is, with one log record
  // (Warning).
  //
  // The Ramer-Douglas-Peucker algorithm (Ramer 1972; Douglas and Peucker 1973) with distances to
  // segments, on an explicit stack. O(n log n) typically, O(n^2) at worst. Safe from any thread.
  std::vector<Pose2D> sample(const std::vector<Pose2D>& path) const;
};

}  // namespace Brin
