#include "korrin/core/path_simplifier.hpp"

#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "korrin/core/log.hpp"

namespace Brin {
namespace {

// Metres from `p` to the segment from `a` to `b`; infinite when it is not a number, so that a
// pose without a place is never dropped.
float distanceToSegment(const Pose2D& p, const Pose2D& a, const Pose2D& b) {
  const float dx = b.x - a.x;
  const float dy = b.y - a.y;
  const float lengthSquared = dx * dx + dy * dy;
  float t = 0.0f;
  if (lengthSquared != 0.0f) {
    t = ((p.x - a.x) * dx + (p.y - a.y) * dy) / lengthSquared;
    if (t < 0.0f) t = 0.0f;
    if (t > 1.0f) t = 1.0f;
  }
  const float distance = computeNorm(Point2D(p.x - (a.x + t * dx), p.y - (a.y + t * dy)));
  return std::isnan(distance) ? std::numeric_limits<float>::infinity() : distance;
}

struct Farthest {
  std::size_t index;
  float distance;
};

// The pose strictly between `first` and `last` that lies farthest from the segment between them.
Farthest findFarthest(const std::vector<Pose2D>& path, std::size_t first, std::size_t last) {
  Farthest farthest{first, -1.0f};
  for (std::size_t i = first + 1; i < last; ++i) {
    const float distance = distanceToSegment(path[i], path[first], path[last]);
    if (distance > farthest.distance) farthest = {i, distance};
    if (std::isinf(distance)) break;  // none is farther, and among equals the earliest counts
  }
  return farthest;
}

std::vector<bool> choosePoses(const std::vector<Pose2D>& path, float tolerance) {
  std::vector<bool> kept(path.size(), false);
  kept.front() = kept.back() = true;
  std::vector<std::pair<std::size_t, std::size_t>> stretches{{0, path.size() - 1}};
  while (!stretches.empty()) {
    const auto [first, last] = stretches.back();
    stretches.pop_back();
    if (last - first < 2) continue;
    const Farthest farthest = findFarthest(path, first, last);
    if (!(farthest.distance > tolerance)) continue;
    kept[farthest.index] = true;
    stretches.emplace_back(first, farthest.index);
    stretches.emplace_back(farthest.index, last);
  }
  return kept;
}

}  // namespace

std::vector<Pose2D> PathSimplifier::sample(const std::vector<Pose2D>& path) const {
  if (!std::isfinite(samplingAccuracy)) {
    completeLog(NavLogLevel::Warning, "samplingAccuracy is not finite, the path is kept as it is.",
                "core/path_simplifier", "sample", __LINE__);
    return path;
  }
  if (path.size() < 3 || samplingAccuracy < 0.0f) return path;
  const std::vector<bool> kept = choosePoses(path, samplingAccuracy / 1000.0f);
  std::vector<Pose2D> simplified;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (kept[i]) simplified.push_back(path[i]);
  }
  return simplified;
}

}  // namespace Brin
