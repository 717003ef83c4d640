// Where a reading falls in a scan-centred picture. Drawing a scan and scoring one share this one
// formula, so that a scan fits its own picture exactly.
#pragma once

#include <cmath>
#include <cstdint>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

struct PixelOffset {
  std::int32_t col;
  std::int32_t row;
};

// Rounds towards zero; what no picture can hold, not-a-number included, becomes -2^30.
inline std::int32_t truncToPixel(double value) {
  constexpr double kLimit = 1 << 30;
  if (!(value > -kLimit && value < kLimit)) return -(1 << 30);
  return static_cast<std::int32_t>(value);
}

// The pixel of `reading` seen from `pose`, relative to the picture's centre pixel; `inv` is pixels
// per metre. The bearing is a sum of floats; its sine and cosine and all that follows are in double
// precision.
inline PixelOffset scanPixel(const RangeReading& reading, const Pose2D& pose, float inv) {
  const double a = reading.angle + pose.theta;
  const double range = reading.range;
  return {truncToPixel((std::cos(a) * range + pose.x) * inv + 0.5),
          truncToPixel((pose.y + std::sin(a) * range) * inv + 0.5)};
}

}  // namespace Brin
