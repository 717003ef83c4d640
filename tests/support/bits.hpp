// Equality to the last bit, for results that must not differ in any. Any two values that are not
// numbers count as equal; 0 and -0 do not.
#pragma once

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_test {

inline bool sameBits(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool sameBits(std::int32_t a, std::int32_t b) { return a == b; }

inline bool sameBits(const Brin::Pose2D& a, const Brin::Pose2D& b) {
  return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.theta, b.theta);
}

inline bool sameBits(const Brin::Pose2Di& a, const Brin::Pose2Di& b) {
  return a.x == b.x && a.y == b.y && sameBits(a.theta, b.theta);
}

inline bool sameBits(const Brin::Point2D& a, const Brin::Point2D& b) {
  return sameBits(a.x, b.x) && sameBits(a.y, b.y);
}

inline bool sameBits(const Brin::RangeReading& a, const Brin::RangeReading& b) {
  return sameBits(a.range, b.range) && sameBits(a.angle, b.angle) && sameBits(a.weight, b.weight) &&
         a.mark == b.mark && a.status == b.status;
}

inline bool sameBits(const Brin::ScanHole& a, const Brin::ScanHole& b) {
  return a.beginIndex == b.beginIndex && a.endIndex == b.endIndex &&
         sameBits(a.heading, b.heading) && sameBits(a.normalAngle, b.normalAngle) &&
         sameBits(a.beginPoint, b.beginPoint) && sameBits(a.endPoint, b.endPoint) &&
         sameBits(a.approachPoint, b.approachPoint);
}

template <typename T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!sameBits(a[i], b[i])) return false;
  }
  return true;
}

// Same size, kind and pixels; the bytes that pad the rows do not count. Two null images are equal.
inline ::testing::AssertionResult sameImage(const IplImage* a, const IplImage* b) {
  if (a == nullptr || b == nullptr) {
    return a == b ? ::testing::AssertionSuccess()
                  : ::testing::AssertionFailure() << "one image is null";
  }
  if (a->width != b->width || a->height != b->height || a->depth != b->depth ||
      a->nChannels != b->nChannels) {
    return ::testing::AssertionFailure() << "sizes or kinds differ";
  }
  for (int y = 0; y < a->height; ++y) {
    for (int x = 0; x < a->width * a->nChannels; ++x) {
      const char* rowA = a->imageData + std::ptrdiff_t{y} * a->widthStep;
      const char* rowB = b->imageData + std::ptrdiff_t{y} * b->widthStep;
      const bool same = a->depth == IPL_DEPTH_32F
                            ? sameBits(reinterpret_cast<const float*>(rowA)[x],
                                       reinterpret_cast<const float*>(rowB)[x])
                            : rowA[x] == rowB[x];
      if (!same) return ::testing::AssertionFailure() << "differ at column " << x << ", row " << y;
    }
  }
  return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult sameParams(const Brin::OccupancyMapParams& a,
                                             const Brin::OccupancyMapParams& b) {
  if (a.width == b.width && a.height == b.height && sameBits(a.resolution, b.resolution) &&
      sameBits(a.origin, b.origin)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "the geometries differ";
}

inline ::testing::AssertionResult sameMap(const Brin::OccupancyMap& a,
                                          const Brin::OccupancyMap& b) {
  if (auto same = sameParams(a.params, b.params); !same) return same;
  if (auto same = sameImage(a.image, b.image); !same) return same << " (probabilities)";
  if (auto same = sameImage(a.secondImage, b.secondImage); !same) return same << " (second image)";
  return ::testing::AssertionSuccess();
}

}  // namespace korrin_test
