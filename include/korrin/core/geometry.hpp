// Poses and points, in the world and on the grid, and the few formulas on them that every
// other component shares.
//
//   Brin::Pose2D robot(2.0f, 1.0f, 0.5f);                          // metres, metres, radians
//   Brin::Pose2D doorInWorld = robot.absProject({1.0f, 0.0f, 0.0f}); // one metre ahead
//   Brin::Pose2D doorAgain = robot.relProject(doorInWorld);        // (1, 0, 0) once more
//
// Everything here is plain data and pure functions: no allocation, no state, safe from any thread.
// All arithmetic is single precision, each operation rounded on its own, in the order written.
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/core/export.hpp"

// All public names of the library.
namespace Brin {

// A pose in a plane: metres, metres, radians. In the world frame unless a function says otherwise.
struct KORRIN_EXPORT Pose2D {
  float x = 0.0f;      // metres
  float y = 0.0f;      // metres
  float theta = 0.0f;  // radians, counter-clockwise from the x axis

  constexpr Pose2D() = default;
  // The fields in order, as they are.
  constexpr Pose2D(float x_, float y_, float theta_) : x(x_), y(y_), theta(theta_) {}

  // Composition: `rel`, given in this pose's own frame, expressed in the frame of this pose.
  //   x = this.x + cos(theta) * rel.x - sin(theta) * rel.y
  //   y = this.y + sin(theta) * rel.x + cos(theta) * rel.y
  //   theta = canonicalAngle(this.theta + rel.theta)
  // Not-a-number in, not-a-number out. Constant time.
  Pose2D absProject(const Pose2D& rel) const;

  // The inverse of absProject: `p`, given in the frame of this pose, expressed in this pose's own
  // frame, so that `a.absProject(a.relProject(p))` is `p` up to rounding. Constant time.
  Pose2D relProject(const Pose2D& p) const;
};

// A grid cell (column x, row y) that carries a heading in radians along, unchanged.
struct Pose2Di {
  std::int32_t x = 0;  // column
  std::int32_t y = 0;  // row
  float theta = 0.0f;  // radians

  constexpr Pose2Di() = default;
  // The fields in order.
  constexpr Pose2Di(std::int32_t x_, std::int32_t y_, float theta_) : x(x_), y(y_), theta(theta_) {}
};

// A point in metres.
struct Point2D {
  float x = 0.0f;  // metres
  float y = 0.0f;  // metres

  constexpr Point2D() = default;
  // The fields in order.
  constexpr Point2D(float x_, float y_) : x(x_), y(y_) {}
  // Keeps the position and drops the heading. Implicit, so that a pose serves where a point does.
  constexpr Point2D(const Pose2D& pose) : x(pose.x), y(pose.y) {}
};

// A point on a grid, in cells.
struct Point2Di {
  std::int32_t x = 0;  // column
  std::int32_t y = 0;  // row

  constexpr Point2Di() = default;
  // The fields in order.
  constexpr Point2Di(std::int32_t x_, std::int32_t y_) : x(x_), y(y_) {}
};

// The float nearest to pi; one turn is exactly twice this number.
constexpr float kPi = 3.14159274f;

// `angle` (radians) wrapped into one turn around 0: above -kPi, up to and including kPi. An angle
// already there comes back as it is. Not-a-number and infinities give not-a-number. Constant time
// for any angle (IEEE 754 remainder, which is exact).
KORRIN_EXPORT float canonicalAngle(float angle);

// Euclidean length of the cell offset (x, y), in cells. The nearest float to the true length
// while |x| and |y| are below 2^25; no overflow for any offset.
KORRIN_EXPORT float computeNorm(int x, int y);

// Euclidean length of `point` seen as a vector, in metres: sqrt(x * x + y * y) in float.
KORRIN_EXPORT float computeNorm(const Point2D& point);

// Density at `x` of the Gaussian of mean 0 and standard deviation `sigma` (same unit as x).
// With sigma 0: not-a-number everywhere, as IEEE division gives it.
KORRIN_EXPORT float gaussianValueAt(float sigma, float x);

// The mean pose: arithmetic mean of x and y, circular mean (the direction of the summed unit
// vectors) of theta, in [-pi, pi]. No poses give (0, 0, 0). Linear in the number of poses.
KORRIN_EXPORT Pose2D avgPose2D(const std::vector<Pose2D>& poses);

// The standard deviation of `poses` around `reference`, field by field: the root of the mean
// squared difference, heading differences taken through canonicalAngle. No poses give (0, 0, 0).
KORRIN_EXPORT Pose2D relStdDevPose2D(std::vector<Pose2D> poses, const Pose2D& reference);

}  // namespace Brin
