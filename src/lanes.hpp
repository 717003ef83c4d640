// Four numbers at once, in the vector types that GCC and clang have for every machine. Each lane
// computes with the bits of the plain operation.
//
//   for (; x + kLanes <= width; x += kLanes) store(out + x, load<Floats>(in + x) * 2.0f);
#pragma once

#include <cstdint>
#include <cstring>

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

}  // namespace Brin
