// Four numbers at once, in the vector types that GCC and clang have for every machine. Each lane
// computes with the bits of the plain operation.
//
//   for (; x + kLanes <= width; x += kLanes) store(out + x, load<Floats>(in + x) * 2.0f);
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#elif defined(__SSE__)
#include <xmmintrin.h>
#endif

#include "korrin/core/geometry.hpp"

namespace Brin {

constexpr int kLanes = 4;
typedef std::int32_t Ints __attribute__((vector_size(16)));
typedef float Floats __attribute__((vector_size(16)));

// Loads and stores need no alignment, and take memory for what it holds.
template <typename T>
T load(const void* from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

template <typename T>
void store(void* to, T value) {
  std::memcpy(to, &value, sizeof value);
}

inline Ints all(std::int32_t value) { return Ints{value, value, value, value}; }

// Whichever of the two each lane chooses.
inline float choose(bool first, float a, float b) { return first ? a : b; }
inline Floats choose(Ints first, Floats a, Floats b) { return first ? a : b; }

// `a` where it is below `b`, and `b` otherwise.
inline float lesser(float a, float b) { return a < b ? a : b; }
inline Floats lesser(Floats a, Floats b) {
#ifdef __SSE__
  return _mm_min_ps(a, b);
#else
  return choose(a < b, a, b);
#endif
}

// `value` limited to [low, high]; not-a-number stays what it is.
inline float limit(float value, float low, float high) {
  const float notBelow = low > value ? low : value;
  return high < notBelow ? high : notBelow;
}
inline Floats limit(Floats value, float low, float high) {
#ifdef __SSE__
  return _mm_min_ps(_mm_set1_ps(high), _mm_max_ps(_mm_set1_ps(low), value));
#else
  const Floats notBelow = choose(low > value, Floats{} + low, value);
  return choose(high < notBelow, Floats{} + high, notBelow);
#endif
}

// `value` limited to [low, high]; not-a-number becomes `low`.
inline float limitOrLow(float value, float low, float high) {
  const float notBelow = value > low ? value : low;
  return notBelow < high ? notBelow : high;
}
inline Floats limitOrLow(Floats value, float low, float high) {
#ifdef __SSE__
  return _mm_min_ps(_mm_max_ps(value, _mm_set1_ps(low)), _mm_set1_ps(high));
#else
  const Floats notBelow = choose(value > low, value, Floats{} + low);
  return choose(notBelow < high, notBelow, Floats{} + high);
#endif
}

// Whether a comparison holds in any lane.
inline bool anyLane(Ints mask) {
#ifdef __SSE__
  return _mm_movemask_ps(reinterpret_cast<Floats>(mask)) != 0;
#else
  return (mask[0] | mask[1] | mask[2] | mask[3]) != 0;
#endif
}

// One bit for each lane, set where a comparison holds.
inline unsigned laneBits(Ints mask) {
#ifdef __SSE__
  return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<Floats>(mask)));
#else
  const Ints bits = mask & Ints{1, 2, 4, 8};
  return static_cast<unsigned>(bits[0] | bits[1] | bits[2] | bits[3]);
#endif
}

// The same for the lanes of four, one after the other.
inline unsigned laneBits(Ints a, Ints b, Ints c, Ints d) {
#ifdef __SSE2__
  const auto pack = [](Ints low, Ints high) {
    return _mm_packs_epi32(reinterpret_cast<__m128i>(low), reinterpret_cast<__m128i>(high));
  };
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(pack(a, b), pack(c, d))));
#else
  return laneBits(a) | laneBits(b) << 4 | laneBits(c) << 8 | laneBits(d) << 12;
#endif
}

// The first lane in which a comparison holds; kLanes if there is none.
inline int firstLane(Ints mask) {
  int lane = 0;
  while (lane < kLanes && mask[lane] == 0) ++lane;
  return lane;
}

// The greatest of four numbers.
inline float greatest(Floats v) {
  const Floats swapped = __builtin_shufflevector(v, v, 2, 3, 0, 1);
  const Floats pairs = choose(v > swapped, v, swapped);
  return pairs[0] > pairs[1] ? pairs[0] : pairs[1];
}

inline float squareRoot(float value) { return std::sqrt(value); }
inline Floats squareRoot(Floats value) {
#ifdef __SSE__
  return _mm_sqrt_ps(value);
#else
  for (int lane = 0; lane < kLanes; ++lane) value[lane] = std::sqrt(value[lane]);
  return value;
#endif
}

struct Positions {
  Floats x;
  Floats y;
};

// The positions of the four poses from `poses` on.
inline Positions loadPositions(const Pose2D* poses) {
  static_assert(sizeof(Pose2D) == 3 * sizeof(float), "poses lie as x, y, theta, x, y, theta...");
  const auto* from = reinterpret_cast<const char*>(poses);
  const auto a = load<Floats>(from);       // x0 y0 t0 x1
  const auto b = load<Floats>(from + 16);  // y1 t1 x2 y2
  const auto c = load<Floats>(from + 32);  // t2 x3 y3 t3
  const Floats x = __builtin_shufflevector(a, b, 0, 3, 6, 6);
  const Floats y = __builtin_shufflevector(a, b, 1, 4, 7, 7);
  return {__builtin_shufflevector(x, c, 0, 1, 2, 5), __builtin_shufflevector(y, c, 0, 1, 2, 6)};
}

}  // namespace Brin
