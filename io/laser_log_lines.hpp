// What reading and writing a laser log must agree on: where beams point, and what fields mean.
#pragma once

#include <algorithm>
#include <cstddef>

namespace Brin::io {

// The name of the PARAM line that tells which range stands for "no return".
constexpr const char* kNoReturnParameter = "laser_no_return";

// Fields of ROBOTLASER1 between the robot's pose and the time: two velocities, two distances to
// keep, and where the robot turns about.
constexpr int kBetweenPoseAndTime = 5;

struct BeamAngles {
  double start;  // radians
  double step;

  // Computed in double precision and rounded once.
  float at(std::size_t beam) const {
    return static_cast<float>(start + static_cast<double>(beam) * step);
  }
};

// Those of a FLASER line: from -90 degrees on, and with 180 or 360 readings a beam short of 90.
inline BeamAngles flaserAngles(std::size_t beams) {
  constexpr double kHalfTurn = 3.14159265358979323846;
  const double count = static_cast<double>(beams);
  const bool leftmostMissing = beams == 180 || beams == 360;
  return {-kHalfTurn / 2.0, kHalfTurn / (leftmostMissing ? count : std::max(count - 1.0, 1.0))};
}

}  // namespace Brin::io
