// Ramer, Douglas and Peucker's simplification as its authors tell it: recursively.
#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_model {

// Metres from p to the nearest point of the segment from a to b, in float; infinite where the
// formula gives no number.
inline float distanceToSegment(const Brin::Pose2D& p, const Brin::Pose2D& a,
                               const Brin::Pose2D& b) {
  const float dx = b.x - a.x;
  const float dy = b.y - a.y;
  const float length2 = dx * dx + dy * dy;
  float t = 0.0f;  // where on the segment: 0 at a, 1 at b
  if (length2 != 0.0f) {
    const float along = (p.x - a.x) * dx + (p.y - a.y) * dy;
    t = along / length2;
  }
  if (t < 0.0f) t = 0.0f;
  if (t > 1.0f) t = 1.0f;
  const float offX = p.x - (a.x + t * dx);
  const float offY = p.y - (a.y + t * dy);
  const float distance = std::sqrt(offX * offX + offY * offY);
  return std::isnan(distance) ? std::numeric_limits<float>::infinity() : distance;
}

// The simplified poses of path[first..last], without the last one.
inline std::vector<Brin::Pose2D> simplifyStretch(const std::vector<Brin::Pose2D>& path,
                                                 std::size_t first, std::size_t last,
                                                 float tolerance) {
  std::size_t farthest = first;
  float best = -1.0f;
  for (std::size_t i = first + 1; i < last; ++i) {
    const float distance = distanceToSegment(path[i], path[first], path[last]);
    if (distance > best) {
      best = distance;
      farthest = i;
    }
  }
  if (farthest == first || best <= tolerance) return {path[first]};
  std::vector<Brin::Pose2D> result = simplifyStretch(path, first, farthest, tolerance);
  const std::vector<Brin::Pose2D> rest = simplifyStretch(path, farthest, last, tolerance);
  result.insert(result.end(), rest.begin(), rest.end());
  return result;
}

inline std::vector<Brin::Pose2D> simplify(const std::vector<Brin::Pose2D>& path,
                                          float accuracyInMillimetres) {
  if (!std::isfinite(accuracyInMillimetres) || path.size() < 3) return path;
  if (accuracyInMillimetres < 0.0f) return path;
  const float tolerance = accuracyInMillimetres / 1000.0f;
  std::vector<Brin::Pose2D> result = simplifyStretch(path, 0, path.size() - 1, tolerance);
  result.push_back(path.back());
  return result;
}

}  // namespace korrin_model
