// Scans with what hole detection looks for.
#pragma once

#include "fuzz/fuzz_input.hpp"

namespace korrin_fuzz {

// Stretches of like readings: walls, and runs that met nothing; one may be longer than the detector
// filters out.
inline Brin::Scan scanOfStretches(FuzzInput& in) {
  Brin::Scan scan;
  const int longOne = in.between(0, 40);
  for (int i = in.between(0, 10); i > 0; --i) {
    Brin::RangeReading reading;
    reading.range = in.pickOrAny({1.0f, 2.0f, 3.0f, 9.0f, 0.3f});
    reading.status = in.pick({0, 0, 0, 1, 1, 2});
    const int count = i == longOne ? 801 : in.pick({1, 1, 2, 3, 5, 9, 20});
    scan.readings.insert(scan.readings.end(), static_cast<std::size_t>(count), reading);
  }
  const float first = in.ordinaryFloat();
  const float step = in.pickOrAny({0.05f, 0.01f, 0.2f, -0.05f, 0.0f});
  for (std::size_t i = 0; i < scan.readings.size(); ++i) {
    scan.readings[i].angle = first + static_cast<float>(i) * step;
  }
  for (int i = in.between(0, 3); i > 0 && !scan.readings.empty(); --i) {
    Brin::RangeReading& reading = scan.readings[in.byte() % scan.readings.size()];
    reading.range = in.anyFloat();
    reading.angle = in.anyFloat();
  }
  return scan;
}

}  // namespace korrin_fuzz
