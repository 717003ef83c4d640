// The clamped update that every write of a beam to the map is.
#pragma once

namespace Brin {

// `value` + `increment`, clamped into [0, 1]: 0 when the sum is not above 0 or not a number, 1 when
// it is not below 1, and else the sum as a float. The sum is meant to be taken with more digits
// than a float has; a float sum gives the same result bit for bit:
//  - A sum of two floats is a multiple of the smallest one, so neither sum underflows: they have
//    the sign of the true sum, and are not-a-number or infinite together (where only the float
//    sum overflows, both are beyond [0, 1] on the same side).
//  - A true sum below 1 that the float sum rounds up to 1 becomes 1 from the wider one as well,
//    when it is rounded to be stored; if the wider sum rounds up to 1, so does the float one.
//  - In between, rounding a sum of two p-digit numbers first to at least 2 p + 2 digits and then to
//    p is rounding it once (Figueroa 1995). A float has 24 digits, a double 53.
inline float clampedSum(float value, float increment) {
  const float sum = value + increment;
  const float notBelow0 = sum > 0.0f ? sum : 0.0f;
  return notBelow0 < 1.0f ? notBelow0 : 1.0f;
}

}  // namespace Brin
