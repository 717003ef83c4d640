// A planar laser scan, reading by reading, and the record of an opening found in one.
//
//   Brin::Scan scan;
//   scan.readings.emplace_back(4.2f, -0.5f);        // a hit at 4.2 m, half a radian to the right
//   scan.readings.emplace_back(30.0f, 0.5f);
//   scan.readings.back().status = 1;                // that beam met nothing within 30 m
//   float step = scan.getResolution();              // one radian between the beams
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"

namespace Brin {

// One reading of a scan.
struct KORRIN_EXPORT RangeReading {
  float range = 0.0f;       // metres
  float angle = 0.0f;       // bearing in radians, relative to the sensor's heading
  float weight = 1.0f;      // scales every probability change that a map update makes for it
  std::int32_t mark = 1;    // set to 1 by the library, never read by it
  std::int32_t status = 0;  // 0: the beam ended on an obstacle; 1: it met nothing

  RangeReading() = default;
  // A hit at `range` metres under the bearing `angle` (radians), of weight 1.
  RangeReading(float range_, float angle_) : range(range_), angle(angle_) {}
  // All fields in their order.
  RangeReading(float range_, float angle_, float weight_, std::int32_t mark_, std::int32_t status_)
      : range(range_), angle(angle_), weight(weight_), mark(mark_), status(status_) {}

  // The reading's end in the sensor frame, metres: (range * cos angle, range * sin angle).
  Point2D toPoint2D() const;
};

// The readings of one turn of the scanner, in beam order.
struct KORRIN_EXPORT Scan {
  std::vector<RangeReading> readings;  // in beam order

  // The angular step between consecutive readings, in radians:
  // (last angle - first angle) / (n - 1), and 0 with fewer than two readings. Constant time.
  float getResolution() const;
};

// An opening found in a scan; the sensor frame throughout. findScanHoles says how it is filled.
struct ScanHole {
  std::int32_t beginIndex = 0;  // reading index of the first border
  std::int32_t endIndex = 0;    // reading index of the second border
  float heading = 0.0f;         // direction of the hole's middle, radians
  float normalAngle = 0.0f;     // direction through the hole, away from the sensor, radians
  Point2D beginPoint;           // first border, metres
  Point2D endPoint;             // second border, metres
  Point2D approachPoint;        // a point in front of the hole, on the sensor's side, metres
};

}  // namespace Brin
