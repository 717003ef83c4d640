#include "korrin/core/geometry.hpp"

#include <cmath>

#include "core/norm.hpp"

namespace Brin {

Pose2D Pose2D::absProject(const Pose2D& rel) const {
  const float c = std::cos(theta);
  const float s = std::sin(theta);
  return {x + c * rel.x - s * rel.y, y + s * rel.x + c * rel.y, canonicalAngle(theta + rel.theta)};
}

Pose2D Pose2D::relProject(const Pose2D& p) const {
  const float c = std::cos(theta);
  const float s = std::sin(theta);
  const float dx = p.x - x;
  const float dy = p.y - y;
  return {c * dx + s * dy, c * dy - s * dx, canonicalAngle(p.theta - theta)};
}

float canonicalAngle(float angle) {
  const float wrapped = std::remainder(angle, 2.0f * kPi);
  return wrapped == -kPi ? kPi : wrapped;
}

float computeNorm(int x, int y) { return normOf(x, y); }

float computeNorm(const Point2D& point) { return std::sqrt(point.x * point.x + point.y * point.y); }

float gaussianValueAt(float sigma, float x) {
  constexpr float kSqrtTwoPi = 2.50662827f;
  const float t = x / sigma;
  return std::exp(-0.5f * t * t) / (sigma * kSqrtTwoPi);
}

Pose2D avgPose2D(const std::vector<Pose2D>& poses) {
  if (poses.empty()) return {};
  Pose2D sum;
  float sinSum = 0.0f;
  float cosSum = 0.0f;
  for (const Pose2D& pose : poses) {
    sum.x += pose.x;
    sum.y += pose.y;
    sinSum += std::sin(pose.theta);
    cosSum += std::cos(pose.theta);
  }
  const auto n = static_cast<float>(poses.size());
  return {sum.x / n, sum.y / n, std::atan2(sinSum, cosSum)};
}

Pose2D relStdDevPose2D(std::vector<Pose2D> poses, const Pose2D& reference) {
  if (poses.empty()) return {};
  Pose2D squares;
  for (const Pose2D& pose : poses) {
    const float dx = pose.x - reference.x;
    const float dy = pose.y - reference.y;
    const float dTheta = canonicalAngle(pose.theta - reference.theta);
    squares.x += dx * dx;
    squares.y += dy * dy;
    squares.theta += dTheta * dTheta;
  }
  const auto n = static_cast<float>(poses.size());
  return {std::sqrt(squares.x / n), std::sqrt(squares.y / n), std::sqrt(squares.theta / n)};
}

}  // namespace Brin
