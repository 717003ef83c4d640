// Scans written in the test reading by reading.
//
//   const Brin::Scan scan = scanOf({hit(2.0f), noHit(9.0f), hit(2.0f, 0.1f)});
#pragma once

#include <vector>

#include "korrin/core/scan.hpp"

namespace korrin_test {

inline Brin::RangeReading reading(float range, float angle, int status) {
  Brin::RangeReading made(range, angle);
  made.status = status;
  return made;
}

// At bearing 0 a reading's point is (range, 0) exactly.
inline Brin::RangeReading hit(float range, float angle = 0.0f) { return reading(range, angle, 0); }

inline Brin::RangeReading noHit(float range, float angle = 0.0f) {
  return reading(range, angle, 1);
}

inline Brin::Scan scanOf(const std::vector<Brin::RangeReading>& readings) {
  Brin::Scan scan;
  scan.readings = readings;
  return scan;
}

// Hits at the given ranges, at bearings 0, step, 2 * step, ...
inline Brin::Scan fanOf(const std::vector<float>& ranges, float step) {
  Brin::Scan scan;
  for (const float range : ranges) {
    scan.readings.push_back(hit(range, static_cast<float>(scan.readings.size()) * step));
  }
  return scan;
}

}  // namespace korrin_test
