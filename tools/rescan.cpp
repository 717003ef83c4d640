#include "tools/rescan.hpp"

#include <algorithm>
#include <cmath>
#include <random>

namespace korrin_tool {
namespace {

constexpr float kOccupiedBelow = 0.25f;
constexpr double kStep = 0.1;  // cells

// Sets range, status and weight of a beam, without noise.
void cast(const Brin::OccupancyMap& map, const Brin::Pose2D& pose, Brin::RangeReading& beam) {
  const double angle = double{pose.theta} + double{beam.angle};
  const double step = kStep * double{map.params.resolution};
  for (int i = 0;; ++i) {
    const double range = i * step;
    const Brin::Pose2Di cell =
        map.getPixelFromPose({static_cast<float>(pose.x + range * std::cos(angle)),
                              static_cast<float>(pose.y + range * std::sin(angle)), 0.0f});
    const bool isInside = map.isInside(cell.x, cell.y);
    if (isInside && map.getCell(cell.x, cell.y) >= kOccupiedBelow) continue;
    beam.range = static_cast<float>(range);
    beam.status = isInside ? 0 : 1;
    beam.weight = isInside ? 1.0f : 0.0f;
    return;
  }
}

}  // namespace

Brin::io::LoggedScan rescanned(const Brin::io::LoggedScan& logged, const Brin::OccupancyMap& map,
                               float deviation) {
  Brin::io::LoggedScan result = logged;
  std::mt19937 random(static_cast<std::uint32_t>(logged.line));
  std::normal_distribution<float> noise(0.0f, deviation);
  for (Brin::RangeReading& beam : result.scan.readings) {
    cast(map, logged.pose, beam);
    beam.range = std::max(0.0f, std::round((beam.range + noise(random)) * 100.0f) / 100.0f);
  }
  return result;
}

}  // namespace korrin_tool
