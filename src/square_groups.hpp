// Several squared distances at once: as many as a vector of 16 bytes holds.
//
//   using Groups = SquareGroups<std::int16_t>;
//   Groups::leastAround<4>(row + x, reach, squares);   // for 4 * Groups::kSize columns
#pragma once

#include <cstddef>
#include <cstdint>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "core/lanes.hpp"

namespace Brin {

template <typename Number>
struct SquareGroups {
  typedef Number Group __attribute__((vector_size(16)));
  static constexpr std::int32_t kSize = 16 / sizeof(Number);

  static Group allOf(Number value) { return Group{} + value; }

  static Group least(Group a, Group b) {
#ifdef __SSE2__
    if constexpr (sizeof(Number) == 2) {
      return reinterpret_cast<Group>(
          _mm_min_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
    }
#endif
    return a < b ? a : b;
  }

  static bool anyOf(Group mask) {
#ifdef __SSE2__
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(mask)) != 0;
#else
    return anyLane(reinterpret_cast<Ints>(mask) != 0);
#endif
  }

  // For each column of `kCount` groups from `at` on, the least of the squares in the columns around
  // it, each plus the square of how far that column is away. Looks ever farther until nothing could
  // bring any of them nearer. Two columns on each side at a time; the last ones may lie just beyond
  // the reach.
  template <std::int32_t kCount>
  static void leastAround(const Number* at, std::int32_t reach, Number* out) {
    Group nearest[kCount];
    for (std::int32_t i = 0; i < kCount; ++i) nearest[i] = load<Group>(at + i * kSize);
    Group first = allOf(1);  // the square of dx
    Group step = allOf(3);   // from there to the next one
    for (std::int32_t dx = 1; dx <= reach && isAnyAbove<kCount>(nearest, first); dx += 2) {
      const Group second = first + step;
      for (std::int32_t i = 0; i < kCount; ++i) {
        const Number* const left = at + i * kSize - dx;
        const Number* const right = at + i * kSize + dx;
        const Group atFirst = least(load<Group>(left), load<Group>(right)) + first;
        const Group atSecond = least(load<Group>(left - 1), load<Group>(right + 1)) + second;
        nearest[i] = least(nearest[i], least(atFirst, atSecond));
      }
      first = second + step + Number{2};
      step += Number{4};
    }
    for (std::int32_t i = 0; i < kCount; ++i) store(out + i * kSize, nearest[i]);
  }

 private:
  template <std::int32_t kCount>
  static bool isAnyAbove(const Group* groups, Group limit) {
    Group isAbove = groups[0] > limit;
    for (std::int32_t i = 1; i < kCount; ++i) isAbove |= groups[i] > limit;
    return anyOf(isAbove);
  }
};

}  // namespace Brin
