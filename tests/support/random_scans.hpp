// Random scans with the features that scan analysis looks for: walls, jumps, and runs of no-hits of
// any length, at both ends too.
#pragma once

#include <cmath>
#include <vector>

#include "korrin/core/scan.hpp"
#include "support/random_inputs.hpp"

namespace korrin_test {

enum class Beams { Growing, Falling, Straight, Anywhere };

struct ScanBounds {
  int maxSegments = 8;
  int maxSegmentLength = 12;
  std::vector<int> runLengths = {1, 2, 3, 5, 9};  // of no-hits
  double wildShare = 0.0;
  Beams beams = Beams::Growing;
};

inline void appendSegment(RandomInputs& random, const ScanBounds& bounds, Brin::Scan& scan) {
  const float base = random.pick<float>({0.3f, 1.0f, 2.0f, 3.0f, 5.0f, 9.0f});
  const bool run = random.chance(0.35);
  const int length =
      run ? random.pick(bounds.runLengths) : random.between(1, bounds.maxSegmentLength);
  const float roughness = random.pick<float>({0.0f, 0.0f, 0.01f, 1.0f});
  for (int i = 0; i < length; ++i) {
    Brin::RangeReading reading(base + random.between(0.0f, 1.0f) * roughness, 0.0f);
    reading.status = run ? 1 : random.chance(0.02) ? random.pick<int>({2, -1}) : 0;
    if (random.chance(bounds.wildShare)) reading.range = random.wildFloat();
    scan.readings.push_back(reading);
  }
}

inline void setBearings(RandomInputs& random, const ScanBounds& bounds, Brin::Scan& scan) {
  const float step = random.pick<float>({0.01f, 0.05f, 0.2f});
  const float first = random.between(-3.2f, 1.0f);
  for (std::size_t i = 0; i < scan.readings.size(); ++i) {
    const float offset = static_cast<float>(i) * step;
    float& angle = scan.readings[i].angle;
    if (bounds.beams == Beams::Growing) angle = first + offset;
    if (bounds.beams == Beams::Falling) angle = first - offset;
    if (bounds.beams == Beams::Straight) angle = 0.0f;
    if (bounds.beams == Beams::Anywhere) angle = random.between(-3.2f, 3.2f);
    if (random.chance(bounds.wildShare)) angle = random.wildFloat();
  }
}

inline Brin::Scan randomScan(RandomInputs& random, const ScanBounds& bounds) {
  Brin::Scan scan;
  const int segments = random.between(0, bounds.maxSegments);
  for (int i = 0; i < segments; ++i) appendSegment(random, bounds, scan);
  setBearings(random, bounds, scan);
  return scan;
}

}  // namespace korrin_test
