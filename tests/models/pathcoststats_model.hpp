// Path cost statistics, cell by cell in the plainest form. No log, no bound on the time a far pose
// takes.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/pathcoststats.hpp"

namespace korrin_model {

using Brin::PathCostStats;

inline PathCostStats mergeStats(const PathCostStats& a, const PathCostStats& b) {
  PathCostStats merged;
  merged.minCost = a.minCost > b.minCost ? b.minCost : a.minCost;
  merged.maxCost = b.maxCost > a.maxCost ? b.maxCost : a.maxCost;
  merged.length = a.length + b.length;
  if (merged.length > 0.000001f) {
    merged.avgCost = (a.avgCost * a.length + b.avgCost * b.length) / merged.length;
  } else {
    merged.avgCost = 0.0f;
  }
  return merged;
}

// The cells from p to before q.
inline std::vector<Brin::Point2Di> cellsBefore(const Brin::Pose2Di& p, const Brin::Pose2Di& q) {
  std::vector<Brin::Point2Di> cells;
  const int dx = q.x - p.x;
  const int dy = q.y - p.y;
  const int ax = 2 * std::abs(dx);
  const int ay = 2 * std::abs(dy);
  const int sx = dx > 0 ? 1 : -1;
  const int sy = dy > 0 ? 1 : -1;
  int x = p.x;
  int y = p.y;
  if (ax > ay) {
    int e = ay - ax / 2;
    while (x != q.x) {
      cells.emplace_back(x, y);
      if (e >= 0) {
        y += sy;
        e -= ax;
      }
      x += sx;
      e += ay;
    }
  } else {
    int e = ax - ay / 2;
    while (y != q.y) {
      cells.emplace_back(x, y);
      if (e >= 0) {
        x += sx;
        e -= ay;
      }
      y += sy;
      e += ax;
    }
  }
  return cells;
}

inline PathCostStats computePathCostStat(const Brin::OccupancyMap& map,
                                         const std::vector<Brin::Pose2D>& path,
                                         const float* maxLength) {
  PathCostStats total;
  if (path.empty()) return total;
  if (path.size() == 1) {
    const Brin::Pose2Di cell = map.getPixelFromPose(path[0]);
    total.minCost = total.maxCost = total.avgCost = map.getCell(cell.x, cell.y);
    return total;
  }
  float travelled = 0.0f;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    PathCostStats segment;
    int count = 0;
    float sum = 0.0f;
    float remaining = 0.0f;
    if (maxLength != nullptr) remaining = *maxLength - travelled;
    const Brin::Pose2Di p = map.getPixelFromPose(path[i]);
    const Brin::Pose2Di q = map.getPixelFromPose(path[i + 1]);
    std::vector<Brin::Point2Di> cells = cellsBefore(p, q);
    if (i + 2 == path.size()) cells.emplace_back(q.x, q.y);
    for (const Brin::Point2Di& u : cells) {
      const float segLen = (Brin::computeNorm(u.x - p.x, u.y - p.y) + 1.0f) * map.params.resolution;
      if (maxLength != nullptr && segLen > remaining + 0.000001f) {
        return mergeStats(segment, total);
      }
      segment.length = segLen;
      const float v = map.getCell(u.x, u.y);
      if (v < segment.minCost) segment.minCost = v;
      if (v > segment.maxCost) segment.maxCost = v;
      sum += v;
      count += 1;
      segment.avgCost = sum / static_cast<float>(count);
    }
    total = mergeStats(segment, total);
    travelled += segment.length;
  }
  return total;
}

}  // namespace korrin_model
