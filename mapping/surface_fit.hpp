// How far one scan has to move to lie on another: least squares of the distances of points from the
// lines they should lie on (Censi, "An ICP variant using a point-to-line metric", 2008).
//
// Distances count by Cauchy weights: what is not in both scans pulls little. Points and lines whose
// surfaces face different ways are not taken for each other, so the two sides of a thin wall stay
// apart. Along a corridor nothing is known, and the information says so.
#pragma once

#include <Eigen/Core>

#include "korrin/mapping/pose_graph.hpp"
#include "mapping/scan_surface.hpp"

namespace Brin::mapping {

// The squared distances that a pose leaves, near that pose: moved by d, their sum is
// d' * information * d + 2 * gradient' * d and a constant.
struct PoseEquation {
  Eigen::Matrix3d information = Eigen::Matrix3d::Zero();
  Eigen::Vector3d gradient = Eigen::Vector3d::Zero();
  int asked = 0;  // points
  int used = 0;   // of these, the ones that lie near a line

  PoseEquation& operator+=(const PoseEquation& other);

  // The same for other coordinates c of the pose, where `byOther` is the derivative of the pose by
  // c.
  PoseEquation inCoordinates(const Eigen::Matrix3d& byOther) const;

  double share() const { return asked > 0 ? static_cast<double>(used) / asked : 0.0; }
};

// Which points are taken for which.
struct FitReach {
  double within = 0.3;  // metres between a point and what it lies on
  double scale = 0.05;  // metres from a line at which a point's weight is half
};

// The equation of the pose of `query`, seen from `target`: points of `query` on lines of `target`.
// Of scans with more than `most` points, some are left out, evenly.
PoseEquation fitOnto(const ScanSurface& target, const ScanSurface& query, const GraphPose& pose,
                     const FitReach& reach, std::size_t most = 2000);

// The same, and points of `target` on lines of `query`.
PoseEquation fitMutually(const ScanSurface& target, const ScanSurface& query, const GraphPose& pose,
                         const FitReach& reach);

// The equation of a pose in the world, from that of the same pose as seen from `origin`.
PoseEquation inWorld(const PoseEquation& equation, const GraphPose& origin);

// A pose moved by d.
GraphPose movedBy(const GraphPose& pose, const Eigen::Vector3d& d);

// What must be added to `from` to get `to`, the turn in [-pi, pi].
Eigen::Vector3d difference(const GraphPose& from, const GraphPose& to);

GraphInformation informationOf(const Eigen::Matrix3d& matrix);

// Of a pose that is known to `shift` metres each way and `turn` radians.
Eigen::Matrix3d informationOf(double shift, double turn);

// What distances from lines tell, as information on a motion: how much a metre counts. Points of
// one scan err together, so each counts for far less than its own precision of a centimetre or two.
constexpr double kInformationOfPoints = 100.0;  // 1 / m^2

}  // namespace Brin::mapping
