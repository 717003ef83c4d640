// The literal model of OccupancyMapper: one step, one test, one cell at a time.
//
// Coordinates are 64-bit, so that no difference overflows; clamped sums are long double unless a
// caller asks for float (the benchmarks do, to compare walks rather than arithmetic).
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_model {

template <typename Sum = long double>
float clampedSum(float value, float increment) {
  const Sum sum = static_cast<Sum>(value) + static_cast<Sum>(increment);
  if (!(sum > 0)) return 0.0f;
  if (!(sum < 1)) return 1.0f;
  return static_cast<float>(sum);
}

template <typename Sum = long double>
void updateCell(Brin::OccupancyMap& map, int x, int y, float increment) {
  if (map.isInside(x, y)) map.setCell(x, y, clampedSum<Sum>(map.getCell(x, y), increment));
}

// Calls visit(x, y) for the start cell and every cell up to, not including, the end cell, until it
// returns false.
template <typename Visit>
void walkLine(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1, Visit visit) {
  const std::int64_t dx = x1 - x0;
  const std::int64_t dy = y1 - y0;
  const std::int64_t ax = 2 * std::abs(dx);
  const std::int64_t ay = 2 * std::abs(dy);
  const int sx = dx > 0 ? 1 : -1;
  const int sy = dy > 0 ? 1 : -1;
  std::int64_t x = x0;
  std::int64_t y = y0;
  if (ax > ay) {
    if (x0 == x1) return;
    std::int64_t e = ay - (ax >> 1);
    while (true) {
      if (!visit(x, y)) return;
      if (e >= 0) {
        y += sy;
        e -= ax;
      }
      x += sx;
      if (x == x1) return;
      e += ay;
    }
  } else {
    if (y0 == y1) return;
    std::int64_t e = ax - (ay >> 1);
    while (true) {
      if (!visit(x, y)) return;
      if (e >= 0) {
        x += sx;
        e -= ay;
      }
      y += sy;
      if (y == y1) return;
      e += ax;
    }
  }
}

// Whether a walk that comes from (x0, y0) and is at (x, y) has the map behind it for good, so that
// a model of a walk of 2^27 cells need not take them all.
inline bool isPast(const Brin::OccupancyMap& map, std::int64_t x0, std::int64_t y0, std::int64_t x,
                   std::int64_t y) {
  return (x > x0 && x >= map.image->width) || (x < x0 && x < 0) ||
         (y > y0 && y >= map.image->height) || (y < y0 && y < 0);
}

template <typename Sum = long double>
void xLineBres(Brin::OccupancyMap& map, int x0, int y0, int x1, int y1, float freeInc,
               float endInc) {
  walkLine(x0, y0, x1, y1, [&](std::int64_t x, std::int64_t y) {
    if (isPast(map, x0, y0, x, y)) return false;
    updateCell<Sum>(map, static_cast<int>(x), static_cast<int>(y), freeInc);
    return true;
  });
  updateCell<Sum>(map, x1, y1, freeInc);
  updateCell<Sum>(map, x1, y1, endInc);
}

inline void xLineBres2(Brin::OccupancyMap& map, int x1, int y1, float endInc) {
  updateCell(map, x1, y1, endInc);
}

// `range`, cut to 2^27 cells either way.
inline float limitedRange(float range, float resolution) {
  const float limit = 134217728.0f * std::fabs(resolution);
  if (range > limit) return limit;
  if (range < -limit) return -limit;
  return range;
}

// trunc(offset) added to `from`; offsets beyond 2^28 count as 2^28.
inline int movedBy(int from, float offset) {
  if (offset > 268435456.0f) offset = 268435456.0f;
  if (offset < -268435456.0f) offset = -268435456.0f;
  return from + static_cast<int>(offset);
}

// Calls handle(reading, px, py, x1, y1) for every reading that ends in a cell.
template <typename Handle>
void forEachEnd(const Brin::OccupancyMap& map, const std::vector<Brin::RangeReading>& readings,
                const Brin::Pose2D& robotPose, Handle handle) {
  const float inv = 1.0f / map.params.resolution;
  const Brin::Pose2Di robot = map.getPixelFromPose(robotPose);
  for (const Brin::RangeReading& reading : readings) {
    const float a = robotPose.theta + reading.angle;
    float sine = 0.0f;
    float cosine = 0.0f;
    ::sincosf(a, &sine, &cosine);
    const float range = limitedRange(reading.range, map.params.resolution);
    const float xOffset = range * cosine * inv;
    const float yOffset = range * sine * inv;
    if (std::isnan(xOffset) || std::isnan(yOffset)) continue;
    handle(reading, robot.x, robot.y, movedBy(robot.x, xOffset), movedBy(robot.y, yOffset));
  }
}

template <typename Sum = long double>
void updateMap(Brin::OccupancyMap& map, const std::vector<Brin::RangeReading>& readings,
               const Brin::Pose2D& robotPose, float freeInc, float occInc) {
  const float minusOccInc = -occInc;
  forEachEnd(map, readings, robotPose,
             [&](const Brin::RangeReading& reading, int px, int py, int x1, int y1) {
               if (reading.status == 0) {
                 xLineBres<Sum>(map, px, py, x1, y1, freeInc * reading.weight,
                                minusOccInc * reading.weight);
               } else {
                 xLineBres<Sum>(map, px, py, x1, y1, freeInc * reading.weight,
                                freeInc * reading.weight);
               }
             });
}

inline void updateMap2(Brin::OccupancyMap& map, const std::vector<Brin::RangeReading>& readings,
                       const Brin::Pose2D& robotPose, float occInc) {
  const float minusOccInc = -occInc;
  forEachEnd(map, readings, robotPose,
             [&](const Brin::RangeReading& reading, int, int, int x1, int y1) {
               if (reading.status == 0) xLineBres2(map, x1, y1, minusOccInc * reading.weight);
             });
}

inline Brin::RangeReading rayResult(const Brin::OccupancyMap& map, int dx, int dy, int status) {
  Brin::RangeReading reading;
  reading.range = Brin::computeNorm(dx, dy) * map.params.resolution;
  reading.angle = 0.0f;
  reading.weight = 1.0f;
  reading.mark = 1;
  reading.status = status;
  return reading;
}

inline Brin::RangeReading xThrowRay(const Brin::OccupancyMap& map, int x0, int y0, int x1, int y1,
                                    float threshold) {
  if (!map.isInside(x0, y0) || (x0 == x1 && y0 == y1)) return rayResult(map, 0, 0, 1);
  int stopX = x1;
  int stopY = y1;
  int status = 1;
  walkLine(x0, y0, x1, y1, [&](std::int64_t wideX, std::int64_t wideY) {
    const int x = static_cast<int>(wideX);
    const int y = static_cast<int>(wideY);
    const bool isOutside = !map.isInside(x, y);
    const bool isHit = !isOutside && threshold > map.getCell(x, y);
    if (!isOutside && !isHit) return true;
    stopX = x;
    stopY = y;
    status = isHit ? 0 : 1;
    return false;
  });
  return rayResult(map, stopX - x0, stopY - y0, status);
}

inline Brin::RangeReading throwRay(const Brin::OccupancyMap& map, const Brin::Point2D& from,
                                   const Brin::Point2D& to, float threshold) {
  const Brin::Pose2Di a = map.getPixelFromPose({from.x, from.y, 0.0f});
  const Brin::Pose2Di b = map.getPixelFromPose({to.x, to.y, 0.0f});
  return xThrowRay(map, a.x, a.y, b.x, b.y, threshold);
}

inline void simulateScan(const Brin::OccupancyMap& map, const Brin::Pose2D& pose, float startAngle,
                         float endAngle, float minRange, float maxRange, int count,
                         std::vector<Brin::RangeReading>& out, float threshold) {
  out.clear();
  out.reserve(static_cast<std::size_t>(count));
  const float step = (endAngle - startAngle) / static_cast<float>(count - 1);
  const float nearest = limitedRange(minRange, map.params.resolution);
  const float farthest = limitedRange(maxRange, map.params.resolution);
  for (int i = 0; i < count; ++i) {
    const float a = static_cast<float>(i) * step + startAngle + pose.theta;
    float sine = 0.0f;
    float cosine = 0.0f;
    ::sincosf(a, &sine, &cosine);
    const Brin::Point2D from(pose.x + nearest * cosine, pose.y + nearest * sine);
    const Brin::Point2D to(pose.x + farthest * cosine, pose.y + farthest * sine);
    Brin::RangeReading reading = throwRay(map, from, to, threshold);
    reading.range += minRange;
    reading.angle = a - pose.theta;
    out.push_back(reading);
  }
}

}  // namespace korrin_model
