// Readings and scans, by the formulas.
#pragma once

#include <cmath>

#include "korrin/core/scan.hpp"

namespace korrin_model {

inline Brin::Point2D toPoint2D(const Brin::RangeReading& reading) {
  Brin::Point2D point;
  point.x = reading.range * std::cos(reading.angle);
  point.y = reading.range * std::sin(reading.angle);
  return point;
}

inline float getResolution(const Brin::Scan& scan) {
  const std::size_t n = scan.readings.size();
  if (n == 0 || n == 1) return 0.0f;
  const float first = scan.readings[0].angle;
  const float last = scan.readings[n - 1].angle;
  return (last - first) / static_cast<float>(n - 1);
}

}  // namespace korrin_model
