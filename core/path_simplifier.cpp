#include "korrin/core/path_simplifier.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "core/farthest_pose.hpp"
#include "core/simplify_places.hpp"
#include "korrin/core/log.hpp"

namespace Brin {

// Splits the path at its farthest pose, the first part again at its own, and so on; a part that is
// within the tolerance gives its first pose, and the part after it is next. `ends` holds the last
// places of all parts that begin at or after `first`, the next one on top.
std::vector<std::size_t> simplifyToPlaces(PoseRange path, float accuracy) {
  constexpr std::size_t kUsualCount = 32;
  std::vector<std::size_t> places;
  if (path.size < 3 || accuracy < 0.0f) {
    places.resize(path.size);
    std::iota(places.begin(), places.end(), std::size_t{0});
    return places;
  }
  places.reserve(kUsualCount);
  std::vector<std::size_t> ends;
  ends.reserve(kUsualCount);
  ends.push_back(path.size - 1);
  const float tolerance = accuracy / 1000.0f;
  std::size_t first = 0;
  while (!ends.empty()) {
    const Farthest farthest = findFarthest(path, first, ends.back(), tolerance);
    if (farthest.distance > tolerance) {
      ends.push_back(farthest.place);
      continue;
    }
    places.push_back(first);
    first = ends.back();
    ends.pop_back();
  }
  places.push_back(first);
  return places;
}

std::vector<Pose2D> PathSimplifier::sample(const std::vector<Pose2D>& path) const {
  if (!std::isfinite(samplingAccuracy)) {
    completeLog(NavLogLevel::Warning, "samplingAccuracy is not finite, the path is kept as it is.",
                "core/path_simplifier", "sample", __LINE__);
    return path;
  }
  const std::vector<std::size_t> places =
      simplifyToPlaces({path.data(), path.size()}, samplingAccuracy);
  std::vector<Pose2D> simplified(places.size());
  std::transform(places.begin(), places.end(), simplified.begin(),
                 [&](std::size_t place) { return path[place]; });
  return simplified;
}

}  // namespace Brin
