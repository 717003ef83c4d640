// The recursion of SafePathSimplifier, for those who want no records of it, too.
//
//   SafeSimplification<NoRecords> simplification(settings, map, records);
//   std::vector<Pose2D> waypoints = simplification.run(path, 300.0f);
//
// A level works on its stretch of the path where it lies, and leaves its outcome, without the last
// pose, at the end of the result.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "core/lanes.hpp"
#include "core/simplify_places.hpp"
#include "korrin/occupancy_mapper.hpp"

namespace Brin {

// The fields of SafePathSimplifier, as a new one has them.
struct SafeSimplifySettings {
  float minSamplingAccuracy = 5.0f;
  float accuracyDivisor = 2.0f;
  float obstacleThreshold = 0.1f;
};

// Who is told what happens, which is nobody.
struct NoRecords {
  void level(float /*accuracy*/) {}
  void sizeBefore(std::size_t) {}
  void sizeAfter(std::size_t) {}
  void stretchSize(std::size_t) {}
  void limitReached() {}
  void notFinite() {}
};

inline bool samePose(const Pose2D& a, const Pose2D& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool hasPlace(const Pose2D& pose) { return std::isfinite(pose.x) && std::isfinite(pose.y); }

// The pose nearest to path[place], which has a place: none is nearer than itself, so it is the
// first one at no distance from it. What findClosestInVect would find, without looking further.
inline std::size_t firstVisit(PoseRange path, std::size_t place) {
  const Pose2D& pose = path[place];
  std::size_t i = 0;
  for (; i + kLanes <= place; i += kLanes) {
    const Positions positions = loadPositions(&path[i]);
    const Floats dx = positions.x - pose.x;
    const Floats dy = positions.y - pose.y;
    if (anyLane(dx * dx + dy * dy == 0.0f)) break;
  }
  for (; i < place; ++i) {
    const float dx = path[i].x - pose.x;
    const float dy = path[i].y - pose.y;
    if (dx * dx + dy * dy == 0.0f) break;
  }
  return i;
}

// Poses of a path by their places, both ends included.
struct Stretch {
  std::size_t first;
  std::size_t last;

  std::size_t size() const { return last - first + 1; }
};

// For each of `places` the first place behind the one before it that holds the same pose.
inline std::vector<std::size_t> firstPlacesInOrder(PoseRange path,
                                                   const std::vector<std::size_t>& places) {
  std::vector<std::size_t> result(1, 0);
  for (std::size_t i = 1; i < places.size(); ++i) {
    std::size_t place = result.back() + 1;
    while (place < places[i] && !samePose(path[place], path[places[i]])) ++place;
    result.push_back(place);
  }
  return result;
}

// A path, or a stretch of one, with what is left of it at one accuracy.
struct Level {
  PoseRange path;
  std::vector<std::size_t> sampled;  // places
  std::vector<std::size_t> own;      // firstPlacesInOrder of them, once that is needed
};

// One call of xRecursiveSample with all the levels below it.
template <typename Records>
class SafeSimplification {
 public:
  SafeSimplification(const SafeSimplifySettings& settings, const OccupancyMap& map,
                     Records& records)
      // A mapper takes a map to write to, but casting rays only reads it.
      : settings_(settings), mapper_(const_cast<OccupancyMap*>(&map)), records_(records) {}

  std::vector<Pose2D> run(const std::vector<Pose2D>& path, float accuracy) {
    simplify({path.data(), path.size()}, accuracy, 1);
    if (!path.empty()) result_.push_back(path.back());
    return std::move(result_);
  }

 private:
  void simplify(PoseRange path, float accuracy, int level) {
    if (settings_.minSamplingAccuracy > accuracy) return reachLimit(path);
    if (!std::isfinite(accuracy)) {
      records_.notFinite();
      return keep(path);
    }
    if (path.size < 2) return;
    records_.sizeBefore(path.size);
    // By place, what PathSimplifier gives of this stretch.
    records_.level(accuracy);
    Level here{path, simplifyToPlaces(path, accuracy), {}};
    records_.sizeAfter(here.sampled.size());
    for (std::size_t i = 0; i + 1 < here.sampled.size(); ++i) {
      const Pose2D& from = path[here.sampled[i]];
      const Pose2D& to = path[here.sampled[i + 1]];
      if (mapper_.throwRay(from, to, settings_.obstacleThreshold).status == 1) {
        result_.push_back(from);
      } else {
        simplifyStretch(path, chooseStretch(here, i), accuracy, level);
      }
    }
  }

  void simplifyStretch(PoseRange path, Stretch stretch, float accuracy, int level) {
    const PoseRange subPath{path.poses + stretch.first, stretch.size()};
    records_.stretchSize(subPath.size);
    const float finer = accuracy / settings_.accuracyDivisor;
    if (!(finer < accuracy) || level == kMostLevels) return reachLimit(subPath);
    simplify(subPath, finer, level + 1);
  }

  void reachLimit(PoseRange path) {
    records_.limitReached();
    keep(path);
  }

  void keep(PoseRange path) {
    if (path.size > 0) result_.insert(result_.end(), path.poses, path.poses + path.size - 1);
  }

  // The input that the segment from sampled[i] to sampled[i + 1] stands for.
  Stretch chooseStretch(Level& here, std::size_t i) {
    const PoseRange path = here.path;
    const Stretch taken{here.sampled[i], here.sampled[i + 1]};
    // The first one has a place: a segment is blocked from inside the map.
    if (!hasPlace(path[taken.last])) return ownStretch(here, i);
    const Stretch nearest{firstVisit(path, taken.first), firstVisit(path, taken.last)};
    if (nearest.first == taken.first && nearest.last == taken.last) return nearest;
    const Stretch own = ownStretch(here, i);
    if (nearest.last < nearest.first) return own;
    const std::size_t surplus = nearest.size() > own.size() ? nearest.size() - own.size() : 0;
    if (surplus > surplusLeft_) return own;
    surplusLeft_ -= surplus;
    return nearest;
  }

  static Stretch ownStretch(Level& here, std::size_t i) {
    if (here.own.empty()) here.own = firstPlacesInOrder(here.path, here.sampled);
    return {here.own[i], here.own[i + 1]};
  }

  static constexpr int kMostLevels = 1000;
  static constexpr std::size_t kMostSurplus = std::size_t{1} << 20;

  SafeSimplifySettings settings_;
  OccupancyMapper mapper_;
  Records& records_;
  std::vector<Pose2D> result_;
  std::size_t surplusLeft_ = kMostSurplus;
};

}  // namespace Brin
