// The one place that random inputs of the tests come from: seeded, with bounds as arguments, and
// with the values that break code (not-a-number, infinities, huge, tiny, exact ties) well
// represented.
//
//   RandomInputs random(17);
//   Brin::OccupancyMap map = random.map(MapBounds{});
//
// The same seed gives the same numbers with every C++ library.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_test {

struct MapBounds {
  int minSide = 0;
  int maxSide = 12;
  // Values that cells take; a cell takes any number of [0, 1] instead with `anyValueShare`, and a
  // value that is no probability (not-a-number, infinite, negative, above 1) with `wildShare`.
  std::vector<float> levels = {0.0f, 0.2f, 0.5f, 1.0f};
  double anyValueShare = 0.2;
  double wildShare = 0.0;
  double secondImageShare = 0.0;
  bool placedAnywhere = true;  // a random origin, turned at random; else (0, 0, 0)
};

class RandomInputs {
 public:
  explicit RandomInputs(std::uint64_t seed);

  std::uint32_t bits();                  // 32 random bits
  int between(int low, int high);        // both ends included
  float between(float low, float high);  // low included, high about never
  bool chance(double probability);
  template <typename T>
  const T& pick(const std::vector<T>& values) {
    return values[bits() % values.size()];
  }

  // Any float at all that code may meet: zeros, tiny, ordinary, huge, infinite, not-a-number.
  float wildFloat();

  Brin::OccupancyMap map(const MapBounds& bounds);
  Brin::Pose2D poseNear(const Brin::OccupancyMap& map);               // on or around the map
  Brin::Pose2D wildPose();                                            // each field a wildFloat
  Brin::Pose2Di cellNear(const Brin::OccupancyMap& map, int margin);  // heading in (-pi, pi]
  // Readings as a scanner gives them, at most `maxRange` metres; with `wildShare` some have wild
  // ranges, angles and weights.
  std::vector<Brin::RangeReading> readings(int maxCount, float maxRange, double wildShare);

 private:
  std::mt19937_64 engine_;
};

}  // namespace korrin_test
