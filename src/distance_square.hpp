// What the scorers share: the distance map as they see it, the sum of a score, and their refusals.
#pragma once

#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"

namespace Brin {

// The pixels of a distance map. Rows are taken to follow one another without a gap, whatever the
// image's row stride: a simplification that is intended.
struct DistanceSquare {
  const float* pixels;
  int side;
  int half;

  bool spans(int index) const { return index >= 0 && index < side; }
  float at(int row, int col) const { return pixels[std::ptrdiff_t{row} * side + col]; }
};

inline DistanceSquare squareOf(const IplImage* map, const char* function) {
  requireKind(map, IPL_DEPTH_32F, 1, function);
  if (map->width < map->height) {
    cvError(CV_StsUnmatchedSizes, function, "distance map narrower than high", __FILE__, __LINE__);
  }
  return {reinterpret_cast<const float*>(map->imageData), map->height, map->height / 2};
}

// Whether every step-th item can be visited; if not, says so.
inline bool isStride(int step, const char* component, const char* function) {
  if (step >= 1) return true;
  completeLog(NavLogLevel::Warning, "step must be at least 1.", component, function, __LINE__);
  return false;
}

// The items of a sequence of `size` that a stride visits: 0, step, 2 * step, ...
inline std::size_t visitedOf(std::size_t size, int step) {
  const auto stride = static_cast<std::size_t>(step);
  return size / stride + (size % stride != 0 ? 1 : 0);
}

// The score of what has been added up, and the number of matches scaled back by `step`.
inline float scoreOf(float sum, std::int64_t matches, std::size_t visited, float cutOff, int* count,
                     int step) {
  if (count != nullptr) {
    constexpr std::int64_t kMost = std::numeric_limits<int>::max();
    *count = static_cast<int>(std::min(matches * step, kMost));
  }
  const float score = sum / (static_cast<float>(visited) * cutOff);
  return std::isnan(score) ? 0.0f : score;
}

}  // namespace Brin
