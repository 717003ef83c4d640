#include "korrin/safepathsimplifier.hpp"

#include <cmath>
#include <cstddef>
#include <cstring>
#include <sstream>

#include "korrin/core/log.hpp"
#include "korrin/occupancy_mapper.hpp"

namespace Brin {
namespace {

constexpr float kSearchDistance = 100.0f;
constexpr int kMostLevels = 1000;
constexpr std::size_t kMostSurplus = std::size_t{1} << 20;

void log(NavLogLevel level, const std::string& message, int line) {
  completeLog(level, message, "src/safepathsimplifier", "xRecursiveSample", line);
}

void logSize(const char* what, std::size_t size, int line) {
  std::ostringstream message;
  message << what << size;
  log(NavLogLevel::Info, message.str(), line);
}

bool samePose(const Pose2D& a, const Pose2D& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Poses of a path by their places, both ends included.
struct Stretch {
  std::size_t first;
  std::size_t last;

  std::size_t size() const { return last - first + 1; }
};

// One call of xRecursiveSample with all the levels below it.
class Simplification {
 public:
  Simplification(const SafePathSimplifier& settings, const OccupancyMap& map)
      : settings_(settings), map_(map) {}

  std::vector<Pose2D> run(const std::vector<Pose2D>& path, float accuracy, int level) {
    if (settings_.minSamplingAccuracy > accuracy) return reachLimit(path);
    if (!std::isfinite(accuracy)) {
      log(NavLogLevel::Warning, "accuracy is not finite, the path is kept as it is.", __LINE__);
      return path;
    }
    if (path.size() < 2) return path;
    logSize("path size before ", path.size(), 88);
    settings_.pathSimplifier->samplingAccuracy = accuracy;
    const std::vector<Pose2D> sampled = settings_.pathSimplifier->sample(path);
    logSize("path size after ", sampled.size(), 96);
    return replaceBlockedSegments(path, sampled, accuracy, level);
  }

 private:
  static std::vector<Pose2D> reachLimit(const std::vector<Pose2D>& path) {
    log(NavLogLevel::Info, "Limit reached !!!!", 76);
    return path;
  }

  std::vector<Pose2D> replaceBlockedSegments(const std::vector<Pose2D>& path,
                                             const std::vector<Pose2D>& sampled, float accuracy,
                                             int level) {
    // A mapper takes a map to write to, but casting rays only reads it.
    const OccupancyMapper mapper(const_cast<OccupancyMap*>(&map_));
    std::vector<Pose2D> out;
    Stretch own{0, 0};
    for (std::size_t i = 0; i + 1 < sampled.size(); ++i) {
      own = {own.last, placeAfter(path, own.last, sampled[i + 1])};
      if (mapper.throwRay(sampled[i], sampled[i + 1], settings_.obstacleThreshold).status == 1) {
        out.push_back(sampled[i]);
        continue;
      }
      const Stretch stretch = chooseStretch(path, sampled[i], sampled[i + 1], own);
      const std::vector<Pose2D> sub = simplifyStretch(path, stretch, accuracy, level);
      out.insert(out.end(), sub.begin(), sub.end() - 1);
    }
    out.push_back(path.back());
    return out;
  }

  std::vector<Pose2D> simplifyStretch(const std::vector<Pose2D>& path, Stretch stretch,
                                      float accuracy, int level) {
    const auto begin = path.begin();
    const std::vector<Pose2D> subPath(begin + static_cast<std::ptrdiff_t>(stretch.first),
                                      begin + static_cast<std::ptrdiff_t>(stretch.last) + 1);
    logSize("subPath size ", subPath.size(), 129);
    const float finer = accuracy / settings_.accuracyDivisor;
    if (!(finer < accuracy) || level == kMostLevels) return reachLimit(subPath);
    return run(subPath, finer, level + 1);
  }

  // The first place after `place` that holds `pose`; the last of the path if there is none.
  static std::size_t placeAfter(const std::vector<Pose2D>& path, std::size_t place,
                                const Pose2D& pose) {
    while (place + 1 < path.size()) {
      if (samePose(path[++place], pose)) break;
    }
    return place;
  }

  // The input that the segment from `from` to `to` stands for; `own` are the ends' own places.
  Stretch chooseStretch(const std::vector<Pose2D>& path, const Pose2D& from, const Pose2D& to,
                        Stretch own) {
    const auto first = findClosestInVect(path, from, kSearchDistance);
    const auto last = findClosestInVect(path, to, kSearchDistance);
    if (first == path.end() || last == path.end() || last < first) return own;
    const Stretch nearest{static_cast<std::size_t>(first - path.begin()),
                          static_cast<std::size_t>(last - path.begin())};
    const std::size_t surplus = nearest.size() > own.size() ? nearest.size() - own.size() : 0;
    if (surplus > surplusLeft_) return own;
    surplusLeft_ -= surplus;
    return nearest;
  }

  const SafePathSimplifier& settings_;
  const OccupancyMap& map_;
  std::size_t surplusLeft_ = kMostSurplus;
};

}  // namespace

SafePathSimplifier::SafePathSimplifier() : pathSimplifier(new PathSimplifier) {}

SafePathSimplifier::~SafePathSimplifier() { delete pathSimplifier; }

std::vector<Pose2D> SafePathSimplifier::sample(const std::vector<Pose2D>& path,
                                               const OccupancyMap& map) {
  return xRecursiveSample(path, map, initialSamplingAccuracy);
}

std::vector<Pose2D> SafePathSimplifier::xRecursiveSample(const std::vector<Pose2D>& path,
                                                         const OccupancyMap& map, float accuracy) {
  return Simplification(*this, map).run(path, accuracy, 1);
}

std::vector<Pose2D>::const_iterator findClosestInVect(const std::vector<Pose2D>& v, const Pose2D& p,
                                                      float maxDist) {
  auto closest = v.end();
  float best = maxDist;
  for (auto it = v.begin(); it != v.end(); ++it) {
    const float distance = computeNorm(Point2D(it->x - p.x, it->y - p.y));
    if (best > distance) {
      closest = it;
      best = distance;
    }
  }
  return closest;
}

}  // namespace Brin
