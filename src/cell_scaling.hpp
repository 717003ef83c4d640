// Moves probabilities away from the unknown, or towards it, by a factor.
//
//   scaleRow(row, width, 0.9f);
//
// Each cell becomes (p - 0.5) * factor + 0.5, limited to [0, 1]; not-a-number becomes 0. Four cells
// at a time take twice as long as memory does, so eight are taken where the processor can.
// scaleRowPlain and scaleRowAvx2 do the same, to the last bit.
#pragma once

#ifdef __SSE2__
#include <immintrin.h>
#endif

#include "core/lanes.hpp"
#include "src/processor.hpp"

namespace Brin {

// One cell, or four.
template <typename Number>
Number scaledCell(Number p, float factor) {
  return limitOrLow((p - 0.5f) * factor + 0.5f, 0.0f, 1.0f);
}

inline void scaleRowPlain(float* cells, int count, float factor) {
  int x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    store(cells + x, scaledCell(load<Floats>(cells + x), factor));
  }
  for (; x < count; ++x) cells[x] = scaledCell(cells[x], factor);
}

#ifdef __SSE2__
__attribute__((target("avx2"))) inline void scaleRowAvx2(float* cells, int count, float factor) {
  constexpr int kEight = 8;
  const __m256 factors = _mm256_set1_ps(factor);
  const __m256 unknown = _mm256_set1_ps(0.5f);
  const __m256 one = _mm256_set1_ps(1.0f);
  int x = 0;
  for (; x + kEight <= count; x += kEight) {
    const __m256 p = _mm256_loadu_ps(cells + x);
    const __m256 v = _mm256_add_ps(_mm256_mul_ps(_mm256_sub_ps(p, unknown), factors), unknown);
    // In the order that makes what is not a number low.
    _mm256_storeu_ps(cells + x, _mm256_min_ps(_mm256_max_ps(v, _mm256_setzero_ps()), one));
  }
  scaleRowPlain(cells + x, count - x, factor);
}
#endif

inline void scaleRow(float* cells, int count, float factor) {
#ifdef __SSE2__
  if (hasAvx2()) return scaleRowAvx2(cells, count, factor);
#endif
  scaleRowPlain(cells, count, factor);
}

}  // namespace Brin
