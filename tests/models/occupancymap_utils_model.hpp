// The nearest cell that satisfies a condition, looked for along 50 rays, every ray collected cell
// by cell before it is looked at.
#pragma once

#include <cmath>
#include <cstdlib>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_model {

struct FreeCellCondition {
  float threshold;
  bool operator()(float v) { return v > threshold; }
};

struct GrayCellCondition {
  float threshold;
  float tolerance;
  bool blocked;
  bool operator()(float v) {
    if (v < threshold) blocked = true;
    return v >= threshold && blocked == false && std::abs(v - 0.5f) < tolerance;
  }
};

inline float valueAt(const Brin::OccupancyMap& map, int x, int y) {
  if (x < 0 || x >= map.image->width || y < 0 || y >= map.image->height) return -1.0f;
  return reinterpret_cast<const float*>(map.image->imageData + y * map.image->widthStep)[x];
}

// The cells of the line from a to b in order, both ends included; b alone when they coincide along
// the axis that the line steps along.
inline std::vector<Brin::Pose2Di> lineCells(const Brin::Pose2Di& a, const Brin::Pose2Di& b) {
  std::vector<Brin::Pose2Di> cells;
  const int dx = b.x - a.x;
  const int dy = b.y - a.y;
  const int sx = dx > 0 ? 1 : -1;
  const int sy = dy > 0 ? 1 : -1;
  int x = a.x;
  int y = a.y;
  if (2 * std::abs(dx) > 2 * std::abs(dy)) {
    int error = 2 * std::abs(dy) - std::abs(dx);
    while (x != b.x) {
      cells.emplace_back(x, y, 0.0f);
      if (error >= 0) {
        error -= 2 * std::abs(dx);
        y += sy;
      }
      x += sx;
      error += 2 * std::abs(dy);
    }
  } else {
    int error = 2 * std::abs(dx) - std::abs(dy);
    while (y != b.y) {
      cells.emplace_back(x, y, 0.0f);
      if (error >= 0) {
        error -= 2 * std::abs(dy);
        x += sx;
      }
      y += sy;
      error += 2 * std::abs(dx);
    }
  }
  cells.emplace_back(b.x, b.y, 0.0f);
  return cells;
}

inline Brin::Pose2Di rayEnd(const Brin::OccupancyMap& map, const Brin::Pose2Di& start, int k) {
  const float resolution = map.params.resolution;
  const float r = static_cast<float>(map.image->height) * resolution +
                  static_cast<float>(map.image->width) * resolution;
  const Brin::Pose2D p = map.getPoseFromPixel({start.x, start.y, 0.0f});
  const float angle = static_cast<float>(k + k) * 3.14159274f / 50.0f;
  return map.getPixelFromPose(
      {p.x + r * std::cos(angle), p.y + r * std::sin(angle), p.theta + angle});
}

template <typename Condition>
bool findFirstCellWithCond(const Brin::OccupancyMap& map, const Brin::Pose2Di& start,
                           Brin::Pose2Di& out, Condition condition) {
  if (condition(valueAt(map, start.x, start.y))) {
    out = start;
    return true;
  }
  float best = 1000000.0f;
  bool kept = false;
  Brin::Pose2Di nearest;
  for (int k = 0; k < 50; ++k) {
    Condition fresh = condition;
    for (const Brin::Pose2Di& cell : lineCells(start, rayEnd(map, start, k))) {
      if (!fresh(valueAt(map, cell.x, cell.y))) continue;
      const float norm = Brin::computeNorm(cell.x - start.x, cell.y - start.y);
      if (norm < best) {
        best = norm;
        nearest = cell;
        kept = true;
      }
      break;
    }
  }
  if (kept) out = nearest;
  return kept;
}

inline bool findFirstFreeCell(const Brin::OccupancyMap& map, const Brin::Pose2Di& start,
                              Brin::Pose2Di& out, float threshold) {
  return korrin_model::findFirstCellWithCond(map, start, out, FreeCellCondition{threshold});
}

inline bool findFirstGrayCell(const Brin::OccupancyMap& map, const Brin::Pose2Di& start,
                              Brin::Pose2Di& out, float threshold, float tolerance) {
  return korrin_model::findFirstCellWithCond(map, start, out,
                                             GrayCellCondition{threshold, tolerance, false});
}

inline bool findFirstFreeCellInLine(const Brin::OccupancyMap& map, const Brin::Pose2Di& from,
                                    const Brin::Pose2Di& to, Brin::Pose2Di& out, float threshold) {
  for (const Brin::Pose2Di& cell : lineCells(from, to)) {
    if (valueAt(map, cell.x, cell.y) > threshold) {
      out = cell;
      return true;
    }
  }
  return false;
}

}  // namespace korrin_model
