#include "korrin/core/scan.hpp"

#include <cmath>

namespace Brin {

Point2D RangeReading::toPoint2D() const {
  return {range * std::cos(angle), range * std::sin(angle)};
}

float Scan::getResolution() const {
  if (readings.size() < 2) return 0.0f;
  return (readings.back().angle - readings.front().angle) / static_cast<float>(readings.size() - 1);
}

}  // namespace Brin
