// The scorers of scan_matching.hpp, literally: one point after the other, nothing clever.
#pragma once

#include <opencv2/core/core_c.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_model {

// trunc(v) + h, or a pixel that no image has when v is out of an int's reach.
inline std::int64_t pixelOf(double v, int h) {
  if (!(std::fabs(v) < 1e9)) return -1;
  return static_cast<std::int64_t>(v) + h;
}

inline int estimate(std::int64_t hits, int step) {
  const std::int64_t all = hits * step;
  return all > INT_MAX ? INT_MAX : static_cast<int>(all);
}

inline float numberOrZero(float score) { return std::isnan(score) ? 0.0f : score; }

inline float distanceAt(const IplImage* map, std::int64_t row, std::int64_t col) {
  return reinterpret_cast<const float*>(map->imageData)[row * map->height + col];
}

// `debug`: null, or a white square of the map's size in which matches are blackened.
inline float scanScore(const IplImage* map, const std::vector<Brin::Point2D>& points,
                       const Brin::Pose2D& pose, float resolution, float maxDist, int* count,
                       IplImage* debug, int step) {
  const float inv = 1.0f / resolution;
  const int S = map->height;
  const int h = S / 2;
  const float thr = maxDist * inv;
  const float sn = std::sin(pose.theta);
  const float cs = std::cos(pose.theta);
  if (points.empty()) return 0.0f;
  float sum = 0.0f;
  std::int64_t hits = 0;
  std::int64_t visited = 0;
  for (std::size_t i = 0; i < points.size(); i += static_cast<std::size_t>(step)) {
    const Brin::Point2D p = points[i];
    ++visited;
    const std::int64_t col = pixelOf((p.x * cs - p.y * sn + pose.x) * inv + 0.5f, h);
    if (!(0 <= col && col < S)) continue;
    const std::int64_t row = pixelOf((p.x * sn + p.y * cs + pose.y) * inv + 0.5f, h);
    if (!(0 <= row && row < S)) continue;
    const float d = distanceAt(map, row, col);
    if (d <= thr) {
      sum = sum + (thr - d);
      ++hits;
      if (debug != nullptr) debug->imageData[row * debug->widthStep + col] = 0;
    }
  }
  if (count != nullptr) *count = estimate(hits, step);
  return numberOrZero(sum / (static_cast<float>(visited) * thr));
}

inline float scanScore(const IplImage* map, const Brin::Scan& scan, const Brin::Pose2D& pose,
                       float resolution, float maxDist, int* count, IplImage* debug, int step) {
  const float inv = 1.0f / resolution;
  const int S = map->height;
  const int h = S / 2;
  const float thr = maxDist * inv;
  float sum = 0.0f;
  std::int64_t hits = 0;
  std::int64_t visited = 0;
  for (std::size_t i = 0; i < scan.readings.size(); i += static_cast<std::size_t>(step)) {
    const Brin::RangeReading& reading = scan.readings[i];
    if (reading.status == 1) continue;
    ++visited;
    const float bearing = reading.angle + pose.theta;
    const double a = static_cast<double>(bearing);
    const double range = static_cast<double>(reading.range);
    const double px = static_cast<double>(pose.x);
    const double py = static_cast<double>(pose.y);
    const double dinv = static_cast<double>(inv);
    const std::int64_t col = pixelOf((std::cos(a) * range + px) * dinv + 0.5, h);
    if (!(0 <= col && col < S)) continue;
    const std::int64_t row = pixelOf((py + std::sin(a) * range) * dinv + 0.5, h);
    if (!(0 <= row && row < S)) continue;
    const float d = distanceAt(map, row, col);
    if (d <= thr) {
      sum = sum + (thr - d);
      ++hits;
      if (debug != nullptr) debug->imageData[row * debug->widthStep + col] = 0;
    }
  }
  if (visited == 0) return 0.0f;
  if (count != nullptr) *count = estimate(hits, step);
  return numberOrZero(sum / (static_cast<float>(visited) * thr));
}

inline float scorePxlScan(const IplImage* map, const std::vector<Brin::Point2D>& points,
                          const Brin::Pose2D& pose, float resolution, float maxDist, int* count,
                          int step) {
  const float inv = 1.0f / resolution;
  const int S = map->height;
  const int h = S / 2;
  const float thr = maxDist * inv;
  const float tx = pose.x * inv;
  const float ty = pose.y * inv;
  const float sn = std::sin(pose.theta);
  const float cs = std::cos(pose.theta);
  if (points.empty()) return 0.0f;
  float sum = 0.0f;
  std::int64_t hits = 0;
  std::int64_t visited = 0;
  for (std::size_t i = 0; i < points.size(); i += static_cast<std::size_t>(step)) {
    const Brin::Point2D p = points[i];
    ++visited;
    const float x = p.x * cs - p.y * sn + tx + 0.5f;
    const float y = p.x * sn + p.y * cs + ty + 0.5f;
    if (!(std::fabs(x) < 1e9f && std::fabs(y) < 1e9f)) continue;
    const int col = static_cast<int>(x);
    const int row = static_cast<int>(y);
    if (!(-h <= col && col < h && -h <= row && row < h)) continue;
    const float d = distanceAt(map, row + h, col + h);
    if (d < thr) {
      sum = sum + (thr - d);
      ++hits;
    }
  }
  if (count != nullptr) *count = estimate(hits, step);
  return numberOrZero(sum / (static_cast<float>(visited) * thr));
}

}  // namespace korrin_model
