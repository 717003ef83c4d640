#include "mapping/surface_fit.hpp"

#include <cmath>

#include "mapping/frame.hpp"

namespace Brin::mapping {
namespace {

constexpr double kHalfTurn = 3.14159265358979323846;
constexpr double kFacing = 0.7;  // least cosine between the normals of surfaces that may be one

void addPoint(const ScanSurface& target, const SurfacePoint& point, const Frame& frame,
              const FitReach& reach, PoseEquation& equation) {
  const double turnedX = frame.turnedX(point.x, point.y);
  const double turnedY = frame.turnedY(point.x, point.y);
  const double x = frame.x + turnedX;
  const double y = frame.y + turnedY;
  const SurfacePoint* const line = target.nearest(x, y, reach.within);
  if (line == nullptr || !line->hasNormal()) return;
  if (point.hasNormal()) {
    const double normalX = frame.turnedX(point.normalX, point.normalY);
    const double normalY = frame.turnedY(point.normalX, point.normalY);
    if (normalX * line->normalX + normalY * line->normalY < kFacing) return;
  }
  const double off = line->normalX * (x - line->x) + line->normalY * (y - line->y);
  const Eigen::Vector3d slope(line->normalX, line->normalY,
                              line->normalY * turnedX - line->normalX * turnedY);
  const double weight = 1.0 / (1.0 + off * off / (reach.scale * reach.scale));
  equation.information += weight * slope * slope.transpose();
  equation.gradient += weight * off * slope;
  ++equation.used;
}

// The derivative of a pose's inverse, which is `inverse`, by the pose.
Eigen::Matrix3d inverseByPose(const GraphPose& pose, const GraphPose& inverse) {
  const double cosine = std::cos(pose.theta);
  const double sine = std::sin(pose.theta);
  Eigen::Matrix3d byPose;
  byPose << -cosine, -sine, inverse.y,  //
      sine, -cosine, -inverse.x,        //
      0.0, 0.0, -1.0;
  return byPose;
}

}  // namespace

PoseEquation& PoseEquation::operator+=(const PoseEquation& other) {
  information += other.information;
  gradient += other.gradient;
  asked += other.asked;
  used += other.used;
  return *this;
}

PoseEquation PoseEquation::inCoordinates(const Eigen::Matrix3d& byOther) const {
  PoseEquation result = *this;
  result.information = byOther.transpose() * information * byOther;
  result.gradient = byOther.transpose() * gradient;
  return result;
}

PoseEquation fitOnto(const ScanSurface& target, const ScanSurface& query, const GraphPose& pose,
                     const FitReach& reach, std::size_t most) {
  PoseEquation equation;
  const Frame frame(pose);
  const std::size_t stride = query.points().size() / (most + 1) + 1;
  for (std::size_t i = 0; i < query.points().size(); i += stride) {
    addPoint(target, query.points()[i], frame, reach, equation);
    ++equation.asked;
  }
  return equation;
}

PoseEquation fitMutually(const ScanSurface& target, const ScanSurface& query, const GraphPose& pose,
                         const FitReach& reach) {
  const GraphPose inverse = seenFrom(pose, {});
  PoseEquation equation = fitOnto(target, query, pose, reach);
  equation += fitOnto(query, target, inverse, reach).inCoordinates(inverseByPose(pose, inverse));
  return equation;
}

PoseEquation inWorld(const PoseEquation& equation, const GraphPose& origin) {
  const double cosine = std::cos(origin.theta);
  const double sine = std::sin(origin.theta);
  Eigen::Matrix3d byWorld;
  byWorld << cosine, sine, 0.0, -sine, cosine, 0.0, 0.0, 0.0, 1.0;
  return equation.inCoordinates(byWorld);
}

GraphPose movedBy(const GraphPose& pose, const Eigen::Vector3d& d) {
  return {pose.x + d(0), pose.y + d(1), std::remainder(pose.theta + d(2), 2.0 * kHalfTurn)};
}

Eigen::Vector3d difference(const GraphPose& from, const GraphPose& to) {
  return {to.x - from.x, to.y - from.y, std::remainder(to.theta - from.theta, 2.0 * kHalfTurn)};
}

GraphInformation informationOf(const Eigen::Matrix3d& matrix) {
  return {matrix(0, 0), matrix(0, 1), matrix(0, 2), matrix(1, 1), matrix(1, 2), matrix(2, 2)};
}

Eigen::Matrix3d informationOf(double shift, double turn) {
  const double place = 1.0 / (shift * shift);
  return Eigen::Vector3d(place, place, 1.0 / (turn * turn)).asDiagonal();
}

}  // namespace Brin::mapping
