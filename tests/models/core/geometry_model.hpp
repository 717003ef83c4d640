// The formulas on poses, written out one operation a line or in more digits than a float has.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_model {

// Long division by one turn: the largest power of two of turns first. Every subtraction is exact,
// since it is made only when the rest is at least as large as, and less than twice, what goes.
inline float canonicalAngle(float angle) {
  if (std::isnan(angle) || std::isinf(angle)) return std::numeric_limits<float>::quiet_NaN();
  const double half = 3.1415927410125732421875;  // the float nearest to pi, all its digits
  const double turn = 2.0 * half;
  double rest = std::fabs(angle);
  for (int k = 130; k >= 0; --k) {
    const double turns = std::ldexp(turn, k);
    if (rest >= turns) rest -= turns;
  }
  if (rest == half) return static_cast<float>(half);
  if (rest > half) rest -= turn;
  return static_cast<float>(std::signbit(angle) ? -rest : rest);
}

inline Brin::Pose2D absProject(const Brin::Pose2D& a, const Brin::Pose2D& rel) {
  const float c = std::cos(a.theta);
  const float s = std::sin(a.theta);
  const float cx = c * rel.x;
  const float sy = s * rel.y;
  const float sx = s * rel.x;
  const float cy = c * rel.y;
  Brin::Pose2D result;
  result.x = a.x + cx;
  result.x = result.x - sy;
  result.y = a.y + sx;
  result.y = result.y + cy;
  result.theta = canonicalAngle(a.theta + rel.theta);
  return result;
}

// The turn back by theta of the difference of the positions.
inline Brin::Pose2D relProject(const Brin::Pose2D& a, const Brin::Pose2D& p) {
  const float c = std::cos(a.theta);
  const float s = std::sin(a.theta);
  const float dx = p.x - a.x;
  const float dy = p.y - a.y;
  const float cdx = c * dx;
  const float sdy = s * dy;
  const float cdy = c * dy;
  const float sdx = s * dx;
  Brin::Pose2D result;
  result.x = cdx + sdy;
  result.y = cdy - sdx;
  result.theta = canonicalAngle(p.theta - a.theta);
  return result;
}

inline float computeNorm(int x, int y) {
  const long double wideX = x;
  const long double wideY = y;
  return static_cast<float>(std::sqrt(wideX * wideX + wideY * wideY));
}

inline float computeNorm(const Brin::Point2D& p) {
  const float xx = p.x * p.x;
  const float yy = p.y * p.y;
  const float sum = xx + yy;
  return std::sqrt(sum);
}

inline double gaussianValueAt(double sigma, double x) {
  const double pi = 3.14159265358979323846;
  return std::exp(-x * x / (2.0 * sigma * sigma)) / (sigma * std::sqrt(2.0 * pi));
}

inline Brin::Pose2D avgPose2D(const std::vector<Brin::Pose2D>& poses) {
  if (poses.empty()) return Brin::Pose2D(0.0f, 0.0f, 0.0f);
  const float n = static_cast<float>(poses.size());
  float x = 0.0f;
  for (const Brin::Pose2D& p : poses) x = x + p.x;
  float y = 0.0f;
  for (const Brin::Pose2D& p : poses) y = y + p.y;
  float sines = 0.0f;
  for (const Brin::Pose2D& p : poses) sines = sines + std::sin(p.theta);
  float cosines = 0.0f;
  for (const Brin::Pose2D& p : poses) cosines = cosines + std::cos(p.theta);
  return Brin::Pose2D(x / n, y / n, std::atan2(sines, cosines));
}

inline Brin::Pose2D relStdDevPose2D(const std::vector<Brin::Pose2D>& poses,
                                    const Brin::Pose2D& reference) {
  if (poses.empty()) return Brin::Pose2D(0.0f, 0.0f, 0.0f);
  const float n = static_cast<float>(poses.size());
  float x = 0.0f;
  float y = 0.0f;
  float theta = 0.0f;
  for (const Brin::Pose2D& p : poses) {
    const float dx = p.x - reference.x;
    const float dy = p.y - reference.y;
    const float dTheta = canonicalAngle(p.theta - reference.theta);
    x = x + dx * dx;
    y = y + dy * dy;
    theta = theta + dTheta * dTheta;
  }
  return Brin::Pose2D(std::sqrt(x / n), std::sqrt(y / n), std::sqrt(theta / n));
}

}  // namespace korrin_model
