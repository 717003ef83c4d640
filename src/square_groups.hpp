// Several squared distances at once: as many as a vector of 16 bytes holds; or twice as many, where
// the processor can.
//
//   using Groups = SquareGroups<std::int16_t>;
//   Groups::leastAround<4>(row + x, reach, squares);   // for 4 * Groups::kSize columns
//
// leastAroundPlain and leastAroundAvx2 give the same numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#ifdef __SSE2__
#include <immintrin.h>
#endif

#include "core/lanes.hpp"
#include "src/processor.hpp"

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
#ifdef __SSE2__
    if constexpr (sizeof(Number) == 2 && kCount % 2 == 0) {
      if (hasAvx2()) return leastAroundAvx2<kCount>(at, reach, out);
    }
#endif
    leastAroundPlain<kCount>(at, reach, out);
  }

  template <std::int32_t kCount>
  static void leastAroundPlain(const Number* at, std::int32_t reach, Number* out) {
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

#ifdef __SSE2__
  // For numbers of 16 bits and pairs of groups.
  template <std::int32_t kCount>
  __attribute__((target("avx2"))) static void leastAroundAvx2(const Number* at, std::int32_t reach,
                                                              Number* out) {
    static_assert(sizeof(Number) == 2 && kCount % 2 == 0);
    constexpr std::int32_t kPairs = kCount / 2;
    const auto* const centre = reinterpret_cast<const __m256i_u*>(at);
    __m256i nearest[kPairs];
    for (std::int32_t i = 0; i < kPairs; ++i) nearest[i] = _mm256_loadu_si256(centre + i);
    __m256i first = _mm256_set1_epi16(1);
    __m256i step = _mm256_set1_epi16(3);
    for (std::int32_t dx = 1; dx <= reach; dx += 2) {
      __m256i isAbove = _mm256_cmpgt_epi16(nearest[0], first);
      for (std::int32_t i = 1; i < kPairs; ++i) {
        isAbove = _mm256_or_si256(isAbove, _mm256_cmpgt_epi16(nearest[i], first));
      }
      if (_mm256_movemask_epi8(isAbove) == 0) break;
      const __m256i second = _mm256_add_epi16(first, step);
      const auto* const left = reinterpret_cast<const __m256i_u*>(at - dx);
      const auto* const right = reinterpret_cast<const __m256i_u*>(at + dx);
      const auto* const leftOn = reinterpret_cast<const __m256i_u*>(at - dx - 1);
      const auto* const rightOn = reinterpret_cast<const __m256i_u*>(at + dx + 1);
      for (std::int32_t i = 0; i < kPairs; ++i) {
        const __m256i beside =
            _mm256_min_epi16(_mm256_loadu_si256(left + i), _mm256_loadu_si256(right + i));
        const __m256i besideOn =
            _mm256_min_epi16(_mm256_loadu_si256(leftOn + i), _mm256_loadu_si256(rightOn + i));
        const __m256i nearer =
            _mm256_min_epi16(_mm256_add_epi16(beside, first), _mm256_add_epi16(besideOn, second));
        nearest[i] = _mm256_min_epi16(nearest[i], nearer);
      }
      first = _mm256_add_epi16(_mm256_add_epi16(second, step), _mm256_set1_epi16(2));
      step = _mm256_add_epi16(step, _mm256_set1_epi16(4));
    }
    auto* const to = reinterpret_cast<__m256i_u*>(out);
    for (std::int32_t i = 0; i < kPairs; ++i) _mm256_storeu_si256(to + i, nearest[i]);
  }
#endif

 private:
  template <std::int32_t kCount>
  static bool isAnyAbove(const Group* groups, Group limit) {
    Group isAbove = groups[0] > limit;
    for (std::int32_t i = 1; i < kCount; ++i) isAbove |= groups[i] > limit;
    return anyOf(isAbove);
  }
};

}  // namespace Brin
