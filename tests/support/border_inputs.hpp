// Inputs that put a computed value exactly on a border, or as near to it on either side as floats
// come. Random inputs hardly ever do, and there is where `<` and `<=` differ.
//
//   // the first range at which the beam's end is in column 7 or beyond
//   float range = firstPast(0.0f, 100.0f, [&](float r) { return columnOf(r) >= 7; });
//   range = besideBorder(random, range);          // it, or one of its neighbours
//
// Laws count the borders that they came to.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "support/random_inputs.hpp"

namespace korrin_test {

inline float floatAbove(float v) {
  return std::nextafter(v, std::numeric_limits<float>::infinity());
}
inline float floatBelow(float v) {
  return std::nextafter(v, -std::numeric_limits<float>::infinity());
}

// The place of a float among all floats, and the float at a place. Not for what is not a number.
inline std::int32_t placeOfFloat(float v) {
  std::int32_t bits = 0;
  std::memcpy(&bits, &v, sizeof bits);
  return bits >= 0 ? bits : std::numeric_limits<std::int32_t>::min() - bits;
}
inline float floatAtPlace(std::int32_t place) {
  const std::int32_t bits = place >= 0 ? place : std::numeric_limits<std::int32_t>::min() - place;
  float v = 0.0f;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

// The first float after `from`, towards `to`, that is past the border; `to` must be, `from` must
// not, and in between there is one border.
template <typename IsPast>
float firstPast(float from, float to, IsPast isPast) {
  std::int64_t before = placeOfFloat(from);
  std::int64_t past = placeOfFloat(to);
  while (past - before > 1 || before - past > 1) {
    const std::int64_t middle = (before + past) / 2;
    (isPast(floatAtPlace(static_cast<std::int32_t>(middle))) ? past : before) = middle;
  }
  return floatAtPlace(static_cast<std::int32_t>(past));
}

// Whether there is such a border between the two.
template <typename IsPast>
bool hasBorder(float from, float to, IsPast isPast) {
  return !isPast(from) && isPast(to);
}

// `border`, or the float before or after it.
inline float besideBorder(RandomInputs& random, float border) {
  const int side = random.between(-1, 1);
  return side < 0 ? floatBelow(border) : side > 0 ? floatAbove(border) : border;
}

}  // namespace korrin_test
