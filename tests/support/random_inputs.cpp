#include "support/random_inputs.hpp"

#include <cmath>
#include <limits>

namespace korrin_test {

using Limits = std::numeric_limits<float>;

RandomInputs::RandomInputs(std::uint64_t seed) : engine_(seed) {}

std::uint32_t RandomInputs::bits() { return static_cast<std::uint32_t>(engine_() >> 32); }

int RandomInputs::between(int low, int high) {
  const auto count = static_cast<std::uint64_t>(std::int64_t{high} - low + 1);
  return static_cast<int>(low + static_cast<std::int64_t>(engine_() % count));
}

float RandomInputs::between(float low, float high) {
  const float unit = static_cast<float>(bits() >> 8) / 16777216.0f;
  return low + (high - low) * unit;
}

bool RandomInputs::chance(double probability) { return bits() < probability * 4294967296.0; }

float RandomInputs::wildFloat() {
  static const std::vector<float> kNasty = {0.0f,
                                            -0.0f,
                                            1.0f,
                                            -1.0f,
                                            0.5f,
                                            Limits::denorm_min(),
                                            -Limits::min(),
                                            1e-30f,
                                            1e5f,
                                            -1e9f,
                                            2147483648.0f,
                                            1e30f,
                                            -1e30f,
                                            Limits::max(),
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::quiet_NaN()};
  switch (bits() % 3) {
    case 0:
      return pick(kNasty);
    case 1:
      return between(-10.0f, 10.0f);
    default:
      return std::ldexp(between(-1.0f, 1.0f), between(-140, 127));
  }
}

Brin::OccupancyMap RandomInputs::map(const MapBounds& bounds) {
  const int width = between(bounds.minSide, bounds.maxSide);
  const int height = between(bounds.minSide, bounds.maxSide);
  const float resolution = pick<float>({0.05f, 0.1f, 0.25f, 1.0f});
  Brin::OccupancyMap map(width, height, resolution, chance(bounds.secondImageShare));
  if (bounds.placedAnywhere) {
    map.params.origin = {between(-5.0f, 5.0f), between(-5.0f, 5.0f), between(-3.2f, 3.2f)};
  }
  const auto cellValue = [&] {
    if (chance(bounds.wildShare)) return wildFloat();
    return chance(bounds.anyValueShare) ? between(0.0f, 1.0f) : pick(bounds.levels);
  };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      map.setCell(x, y, cellValue());
      if (map.secondImage != nullptr) {
        reinterpret_cast<float*>(map.secondImage->imageData +
                                 std::ptrdiff_t{y} * map.secondImage->widthStep)[x] = cellValue();
      }
    }
  }
  return map;
}

Brin::Pose2D RandomInputs::poseNear(const Brin::OccupancyMap& map) {
  const float margin = 2.0f * map.params.resolution;
  const float width = static_cast<float>(map.params.width) * map.params.resolution;
  const float height = static_cast<float>(map.params.height) * map.params.resolution;
  return map.params.origin.absProject(
      {between(-margin, width + margin), between(-margin, height + margin), between(-3.2f, 3.2f)});
}

Brin::Pose2D RandomInputs::wildPose() { return {wildFloat(), wildFloat(), wildFloat()}; }

Brin::Pose2Di RandomInputs::cellNear(const Brin::OccupancyMap& map, int margin) {
  return {between(-margin, map.params.width - 1 + margin),
          between(-margin, map.params.height - 1 + margin), between(-3.1f, 3.1f)};
}

std::vector<Brin::RangeReading> RandomInputs::readings(int maxCount, float maxRange,
                                                       double wildShare) {
  std::vector<Brin::RangeReading> readings(static_cast<std::size_t>(between(0, maxCount)));
  for (Brin::RangeReading& reading : readings) {
    reading.range = chance(wildShare) ? wildFloat() : between(0.0f, maxRange);
    reading.angle = chance(wildShare) ? wildFloat() : between(-3.2f, 3.2f);
    reading.weight = chance(wildShare) ? wildFloat() : pick<float>({0.25f, 1.0f, 1.0f, 2.0f});
    reading.status = pick<std::int32_t>({0, 0, 1, 2, -1});
  }
  return readings;
}

}  // namespace korrin_test
