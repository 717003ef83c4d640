// What OccMapPathFinder::cellStates holds.
#pragma once

#include <cstdint>

namespace Brin {

constexpr std::int32_t kNeverSeen = 0;
constexpr std::int32_t kOpen = 1;
constexpr std::int32_t kClosed = 2;

}  // namespace Brin
