// The steps of a search, in the order of trying, from no table that others could write to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "korrin/occmap_path_finder.hpp"

namespace Brin {

struct StepOffset {
  std::int32_t dx;
  std::int32_t dy;
};

// Steps that follow each other and lead to cells of one row, at most four apart: from the first
// one's cell on, a step where the bit of its column is set.
struct StepGroup {
  StepOffset first;
  unsigned columns;
};

// The steps of one neighbourhood.
template <OccMapPathFinder::NeighborhoodType type>
struct Steps;

template <>
struct Steps<OccMapPathFinder::Simple> {
  static constexpr std::int32_t kReach = 1;
  static constexpr std::array<StepGroup, 3> kGroups{{{{-1, -1}, 7}, {{-1, 0}, 5}, {{-1, 1}, 7}}};
};

template <>
struct Steps<OccMapPathFinder::Double> {
  static constexpr std::int32_t kReach = 2;
  static constexpr std::array<StepGroup, 8> kGroups{{{{-1, -2}, 7},
                                                     {{-2, -1}, 1},
                                                     {{2, -1}, 1},
                                                     {{-2, 0}, 1},
                                                     {{2, 0}, 1},
                                                     {{-2, 1}, 1},
                                                     {{2, 1}, 1},
                                                     {{-1, 2}, 7}}};
};

template <>
struct Steps<OccMapPathFinder::Triple> {
  static constexpr std::int32_t kReach = 3;
  static constexpr std::array<StepGroup, 12> kGroups{{{{-1, -3}, 7},
                                                      {{2, -2}, 1},
                                                      {{3, -1}, 1},
                                                      {{3, 0}, 1},
                                                      {{3, 1}, 1},
                                                      {{2, 2}, 1},
                                                      {{-1, 3}, 7},
                                                      {{-2, 2}, 1},
                                                      {{-3, -1}, 1},
                                                      {{-3, 0}, 1},
                                                      {{-3, 1}, 1},
                                                      {{-2, -2}, 1}}};
};

// Calls use(Steps<type>()) for the steps of `type`, one of the three.
template <typename Use>
decltype(auto) withSteps(OccMapPathFinder::NeighborhoodType type, Use use) {
  if (type == OccMapPathFinder::Double) return use(Steps<OccMapPathFinder::Double>());
  if (type == OccMapPathFinder::Triple) return use(Steps<OccMapPathFinder::Triple>());
  return use(Steps<OccMapPathFinder::Simple>());
}

inline std::int32_t stepReach(OccMapPathFinder::NeighborhoodType type) {
  return withSteps(type, [](auto steps) { return decltype(steps)::kReach; });
}

}  // namespace Brin
