// Comparing plans, and settings to plan with.
#pragma once

#include <gtest/gtest.h>

#include "korrin/path_planner.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace korrin_test {

inline bool sameBits(const Brin::BlockedEnd& a, const Brin::BlockedEnd& b) {
  return sameBits(a.cell, b.cell) && sameBits(a.value, b.value) &&
         sameBits(a.threshold, b.threshold) && a.reason == b.reason &&
         a.hasNearestFree == b.hasNearestFree && sameBits(a.nearestFree, b.nearestFree);
}

inline ::testing::AssertionResult samePlan(const Brin::Plan& a, const Brin::Plan& b) {
  const auto differs = [](const char* what) { return ::testing::AssertionFailure() << what; };
  if (a.outcome != b.outcome) return differs("the outcomes differ");
  if (!sameBits(a.path, b.path)) return differs("the paths differ");
  if (a.iterations != b.iterations) return differs("the iterations differ");
  if (!sameBits(a.cost, b.cost)) return differs("the costs differ");
  if (!sameBits(a.length, b.length)) return differs("the lengths differ");
  if (!sameBits(a.waypoints, b.waypoints)) return differs("the waypoints differ");
  if (!sameBits(a.blocked, b.blocked)) return differs("the blocked ends differ");
  if (a.goal != b.goal) return differs("the goals differ");
  return ::testing::AssertionSuccess();
}

// Whether an image holds just these floats, row by row.
inline ::testing::AssertionResult holds(const IplImage& image, const std::vector<float>& values) {
  std::size_t next = 0;
  for (int y = 0; y < image.height; ++y) {
    const auto* row =
        reinterpret_cast<const float*>(image.imageData + std::ptrdiff_t{y} * image.widthStep);
    for (int x = 0; x < image.width; ++x, ++next) {
      if (next < values.size() && sameBits(row[x], values[next])) continue;
      return ::testing::AssertionFailure() << "cell " << x << ", " << y << " is " << row[x];
    }
  }
  return next == values.size() ? ::testing::AssertionSuccess()
                               : ::testing::AssertionFailure() << next << " cells";
}

// Settings of all kinds that make sense, for maps of that resolution.
inline Brin::PlannerSettings anySettings(RandomInputs& random, float resolution) {
  Brin::PlannerSettings settings;
  if (random.chance(0.7)) settings.robotRadius = resolution * random.between(0.0f, 4.0f);
  if (random.chance(0.1)) settings.robotRadius = resolution * random.pick<float>({1, 2, 3, 5});
  if (random.chance(0.6)) settings.fadeDistance = resolution * random.between(0.0f, 8.0f);
  if (random.chance(0.05)) settings.fadeDistance = resolution * 150.0f;
  settings.unknownIsFree = random.chance(0.3);
  settings.obstacleThreshold = random.pick<float>({0.2f, 0.2f, 0.45f, 0.5f, 0.65f, 1.0f, 0.01f});
  settings.weight = random.pick<float>({0.5f, 0.5f, 0.0f, 1.0f, 0.3f, 0.9f});
  settings.neighborhood =
      static_cast<Brin::OccMapPathFinder::NeighborhoodType>(random.pick<int>({0, 0, 1, 2}));
  settings.coarseFactor = random.pick<int>({1, 1, 1, 2, 3, 4, 30});
  settings.angleCostFactor = random.pick<float>({0.0f, 0.0f, 0.7f, 3.0f});
  settings.accuracy = random.pick<float>({0.3f, 0.0f, 0.005f, 0.05f, 2.0f});
  return settings;
}

}  // namespace korrin_test
