// Cells below a threshold, told apart by their bits in the integer unit.
//
//   const BelowThreshold below(threshold);
//   if (below.mayBe(cell) && below.is(cell)) ...
//
// Why: a comparison of floats brings its result to a branch several cycles later than one of
// integers does, and in a ray every cell is one. Rays gain a tenth.
//
// Why it is right: mayBe() is true for every cell below the threshold. The bits of two floats that
// are not negative are in order as integers, and those of a float with its sign set are a negative
// integer. So below a positive threshold are the bits below its own, and below any other are only
// cells with their sign set. The few other cells for which mayBe() is true (a not-a-number with its
// sign set, and more with a threshold that is not positive or not a number) are sorted out by is().
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Brin {

class BelowThreshold {
 public:
  explicit BelowThreshold(float threshold)
      : threshold_(threshold), bits_(std::max(bitsOf(threshold), std::int32_t{0})) {}

  bool mayBe(float cell) const { return bitsOf(cell) < bits_; }
  bool is(float cell) const { return threshold_ > cell; }

 private:
  static std::int32_t bitsOf(float value) {
    std::int32_t bits = 0;
    static_assert(sizeof bits == sizeof value, "a float has 32 bits");
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
  }

  float threshold_;
  std::int32_t bits_;
};

}  // namespace Brin
