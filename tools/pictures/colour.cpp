#include "tools/pictures/colour.hpp"

#include <algorithm>
#include <cmath>

namespace korrin_tool {

Colour mix(Colour from, Colour to, double share) {
  const auto part = [share](std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::lround(a + (b - a) * std::clamp(share, 0.0, 1.0)));
  };
  return {part(from.red, to.red), part(from.green, to.green), part(from.blue, to.blue)};
}

Colour heat(double share) {
  constexpr Colour kCool{255, 245, 214};
  constexpr Colour kWarm{245, 158, 66};
  constexpr Colour kHot{190, 24, 60};
  return share < 0.5 ? mix(kCool, kWarm, 2.0 * share) : mix(kWarm, kHot, 2.0 * share - 1.0);
}

}  // namespace korrin_tool
