// Random input of a search for poses: grids small enough to try all of them, and points, around a
// picture of some size.
#pragma once

#include <cmath>
#include <vector>

#include "korrin/pose_search.hpp"
#include "support/random_inputs.hpp"

namespace korrin_test {

// Steps in pixels: whole ones, powers of two or not, and parts of one.
inline float someStep(RandomInputs& random, float resolution) {
  return resolution *
         random.pick<float>({1.0f, 1.0f, 1.0f, 2.0f, 4.0f, 0.5f, 0.25f, 3.0f, 0.7f, 8.0f});
}

// Mostly long along one axis, so that blocks of every size occur. `middle`: of the picture;
// `reach`: pixels from there to its border.
inline Brin::PoseGrid someGrid(RandomInputs& random, const Brin::Pose2D& middle, float resolution,
                               float reach) {
  Brin::PoseGrid grid;
  grid.step = someStep(random, resolution);
  grid.turnStep = random.pick<float>({0.1f, 0.0174533f, 1.57079637f, 0.7f});
  const float far = reach * resolution;
  grid.centre = {middle.x + random.between(-far, far), middle.y + random.between(-far, far),
                 random.pick<float>({0.0f, middle.theta, random.between(-4.0f, 4.0f)})};
  const int size = random.pick<int>({0, 1, 2, 5, 9});
  const int other = random.pick<int>({0, 1, 3, size > 5 ? 8 : 40, size > 2 ? 3 : 150});
  const bool isWide = random.chance(0.5);
  grid.reachX = static_cast<float>(isWide ? other : size) * grid.step;
  grid.reachY = static_cast<float>(isWide ? size : other) * grid.step;
  grid.turn = static_cast<float>(random.pick<int>({0, 1, 1, 3})) * grid.turnStep;
  const float odd[] = {0.0f, -1.0f, std::nanf(""), 0.999f * grid.step};
  if (random.chance(0.05)) grid.reachX = odd[random.bits() % 4];
  if (random.chance(0.05)) grid.turn = odd[random.bits() % 4];
  return grid;
}

// In the sensor's frame, seldom farther than `reach` pixels.
inline std::vector<Brin::Point2D> somePoints(RandomInputs& random, float resolution, float reach) {
  std::vector<Brin::Point2D> points(
      static_cast<std::size_t>(random.pick<int>({0, 1, 1, 2, 3, 7, 20, 40, 70})));
  const bool areWhole = random.chance(0.3);
  for (Brin::Point2D& p : points) {
    const auto coordinate = [&] {
      if (random.chance(0.01)) return random.wildFloat();
      const float pixels = random.between(-reach, reach);
      return (areWhole ? std::floor(pixels) : pixels) * resolution;
    };
    p.x = coordinate();
    p.y = coordinate();
  }
  return points;
}

}  // namespace korrin_test
