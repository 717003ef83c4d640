// The picture of a scan, drawn hit by hit into a table of characters.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_model {

struct Hit {
  double column;  // relative to the centre pixel; whole, or not a number
  double row;
};

inline std::vector<Hit> hitsOf(const Brin::Scan& scan, float theta, float resolution) {
  std::vector<Hit> hits;
  if (!(resolution > 0.0f)) return hits;
  const float inv = 1.0f / resolution;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status != 0) continue;
    if (!std::isfinite(reading.range) || !std::isfinite(reading.angle)) continue;
    const float turned = reading.angle + theta;
    const double a = static_cast<double>(turned);
    const double x = std::cos(a) * static_cast<double>(reading.range);
    const double y = std::sin(a) * static_cast<double>(reading.range);
    hits.push_back({std::trunc(x * static_cast<double>(inv) + 0.5),
                    std::trunc(y * static_cast<double>(inv) + 0.5)});
  }
  return hits;
}

inline bool fallsInside(const Hit& hit, int side) {
  const double column = hit.column + side / 2;
  const double row = hit.row + side / 2;
  return column >= 0 && row >= 0 && column < side && row < side;
}

// The smallest multiple of 4 that holds every hit, 8192 when none up to it does.
inline int neededSide(const std::vector<Hit>& hits) {
  for (int side = 4; side < 8192; side += 4) {
    bool all = true;
    for (const Hit& hit : hits) all = all && fallsInside(hit, side);
    if (all) return side;
  }
  return 8192;
}

// Rows of pixels; `blank` where no hit is, `value` where one is.
inline std::vector<std::string> drawHits(const std::vector<Hit>& hits, int side, char blank,
                                         char value) {
  const auto count = static_cast<std::size_t>(side);
  std::vector<std::string> picture(count, std::string(count, blank));
  for (const Hit& hit : hits) {
    if (!fallsInside(hit, side)) continue;
    const auto row = static_cast<std::size_t>(static_cast<int>(hit.row) + side / 2);
    const auto column = static_cast<std::size_t>(static_cast<int>(hit.column) + side / 2);
    picture[row][column] = value;
  }
  return picture;
}

}  // namespace korrin_model
