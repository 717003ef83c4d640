// computeNorm of whole numbers, for loops that a call would slow down.
#pragma once

#include <cmath>

namespace Brin {

inline float normOf(int x, int y) {
  const double dx = x;
  const double dy = y;
  return static_cast<float>(std::sqrt(dx * dx + dy * dy));
}

}  // namespace Brin
