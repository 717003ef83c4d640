// Path up-sampling, one cell after the other.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_model {

inline Brin::Pose2Di plainCell(std::int64_t x, std::int64_t y) {
  return {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), 0.0f};
}

// The cells from a up to, but without, b.
inline std::vector<Brin::Pose2Di> segmentCells(const Brin::Pose2Di& a, const Brin::Pose2Di& b) {
  std::vector<Brin::Pose2Di> segment;
  const std::int64_t dx = std::int64_t{b.x} - a.x;
  const std::int64_t dy = std::int64_t{b.y} - a.y;
  const std::int64_t ax = 2 * std::abs(dx);
  const std::int64_t ay = 2 * std::abs(dy);
  const int sx = dx > 0 ? 1 : -1;
  const int sy = dy > 0 ? 1 : -1;
  std::int64_t x = a.x;
  std::int64_t y = a.y;
  if (ax <= ay) {
    if (a.y == b.y) return segment;
    std::int64_t e = ax - std::abs(dy);
    while (true) {
      segment.push_back(plainCell(x, y));
      if (e >= 0) {
        x += sx;
        e -= ay;
      }
      y += sy;
      if (y == b.y) return segment;
      e += ax;
    }
  }
  std::int64_t e = ay - std::abs(dx);
  while (true) {
    segment.push_back(plainCell(x, y));
    if (e >= 0) {
      y += sy;
      e -= ax;
    }
    x += sx;
    if (x == b.x) return segment;
    e += ay;
  }
}

inline std::vector<Brin::Pose2Di> pathUpSample(const std::vector<Brin::Pose2Di>& in) {
  std::vector<Brin::Pose2Di> out;
  for (std::size_t i = 0; i + 1 < in.size(); ++i) {
    std::vector<Brin::Pose2Di> segment = segmentCells(in[i], in[i + 1]);
    if (i + 2 == in.size()) segment.push_back(plainCell(in[i + 1].x, in[i + 1].y));
    out.insert(out.end(), segment.begin(), segment.end());
  }
  return out;
}

}  // namespace korrin_model
