// Safe path simplification, level by level in the plainest form, with the records it leaves (that
// about an accuracy which is not finite has line 0). It copies whatever the recursion asks for: it
// must not be given paths that visit a place very often.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "korrin/core/log.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "models/core/path_simplifier_model.hpp"
#include "models/occupancy_mapper_model.hpp"

namespace korrin_model {

using Poses = std::vector<Brin::Pose2D>;

struct SafeSampleSettings {
  float minSamplingAccuracy = 5.0f;
  float accuracyDivisor = 2.0f;
  float obstacleThreshold = 0.1f;
};

struct SafeSampleState {
  std::int64_t surplus = 0;  // poses that stretches chosen by nearness had beyond the own ones
};

inline void logSafeSample(const std::string& message, int line) {
  Brin::completeLog(Brin::NavLogLevel::Info, message, "src/safepathsimplifier", "xRecursiveSample",
                    line);
}

inline void logSafeSampleSize(const char* text, std::size_t size, int line) {
  std::ostringstream stream;
  stream << text << size;
  logSafeSample(stream.str(), line);
}

// Index of the first of the nearest poses closer than maxDist; -1 for none.
inline int findClosest(const Poses& v, const Brin::Pose2D& p, float maxDist) {
  int result = -1;
  float best = maxDist;
  for (int i = 0; i < static_cast<int>(v.size()); ++i) {
    const float dx = v[static_cast<std::size_t>(i)].x - p.x;
    const float dy = v[static_cast<std::size_t>(i)].y - p.y;
    const float distance = std::sqrt(dx * dx + dy * dy);
    if (best > distance) {
      result = i;
      best = distance;
    }
  }
  return result;
}

// Where each pose of `sampled` is in `path`: the first at 0, each next one at the first place
// after the one before that holds the same bits.
inline std::vector<int> ownPlaces(const Poses& path, const Poses& sampled) {
  std::vector<int> places = {0};
  for (std::size_t i = 1; i < sampled.size(); ++i) {
    int place = places.back() + 1;
    while (std::memcmp(&path[static_cast<std::size_t>(place)], &sampled[i], 3 * sizeof(float)) != 0)
      ++place;
    places.push_back(place);
  }
  return places;
}

inline Poses safeSample(const Poses& path, const Brin::OccupancyMap& map,
                        const SafeSampleSettings& settings, float accuracy, int level,
                        SafeSampleState& state) {
  if (settings.minSamplingAccuracy > accuracy) {
    logSafeSample("Limit reached !!!!", 76);
    return path;
  }
  if (!std::isfinite(accuracy)) {
    Brin::completeLog(Brin::NavLogLevel::Warning,
                      "accuracy is not finite, the path is kept as it is.",
                      "src/safepathsimplifier", "xRecursiveSample", 0);
    return path;
  }
  if (path.size() < 2) return path;
  logSafeSampleSize("path size before ", path.size(), 88);
  const Poses s = simplify(path, accuracy);
  logSafeSampleSize("path size after ", s.size(), 96);
  const std::vector<int> own = ownPlaces(path, s);
  Poses out;
  for (std::size_t i = 0; i + 1 < s.size(); ++i) {
    if (throwRay(map, s[i], s[i + 1], settings.obstacleThreshold).status == 1) {
      out.push_back(s[i]);
      continue;
    }
    int a = findClosest(path, s[i], 100.0f);
    int b = findClosest(path, s[i + 1], 100.0f);
    const int surplus = (b - a) - (own[i + 1] - own[i]);
    if (a < 0 || b < 0 || b < a) {
      a = own[i];
      b = own[i + 1];
    } else if (surplus > 0) {
      state.surplus += surplus;
    }
    const Poses subPath(path.begin() + a, path.begin() + b + 1);
    logSafeSampleSize("subPath size ", subPath.size(), 129);
    const float finer = accuracy / settings.accuracyDivisor;
    Poses sub = subPath;
    if (finer < accuracy && level < 1000) {
      sub = safeSample(subPath, map, settings, finer, level + 1, state);
    } else {
      logSafeSample("Limit reached !!!!", 76);
    }
    out.insert(out.end(), sub.begin(), sub.end() - 1);
  }
  out.push_back(path.back());
  return out;
}

}  // namespace korrin_model
