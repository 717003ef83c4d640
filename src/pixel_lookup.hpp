// Looks up the distances under a block of points, four at a time.
//
// The point-by-point loop of korrin_model::scanScore finds a pixel, decides, adds, and begins
// anew; but only its sum has to be made in the points' order. Here the pixels and decisions of a
// whole block come first, so that the processor works on them while it still adds up the block
// before. A point without a match adds +0, which leaves any sum that a score can have as it is.
//
// lookUpPlain is the same in plain code, for other machines and to compare with.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "core/lanes.hpp"
#include "src/distance_square.hpp"

namespace Brin {

// A block of points on their way to the sum.
struct PixelBlock {
  static constexpr int kSize = 32;  // with fewer the sum is waited for, more do not overlap it

  // Offsets in pixels from the centre, a half added, not cut yet; any floats at all.
  alignas(16) float x[kSize];
  alignas(16) float y[kSize];
  // What each point adds to the sum.
  alignas(16) float addend[kSize];

  // Sends what follows the first `count` points in their group of four off any map.
  void pad(int count) {
    for (int i = count; i % kLanes != 0; ++i) x[i] = y[i] = 1e9f;
  }
};

// Which pixels and distances match, and what they add.
struct PixelRange {
  const float* pixels;  // a square of `side`
  int side;
  int half;  // columns and rows before the centre pixel; all of them count
  int end;   // columns and rows from the centre pixel on that count
  float limit;
  float cutOff;  // a distance up to `limit` adds cutOff - distance

  // Every pixel, and distances up to the cut-off.
  static PixelRange upToCutOff(const DistanceSquare& square, float cutOff) {
    return {square.pixels, square.side, square.half, square.side - square.half, cutOff, cutOff};
  }

  // As many pixels after the centre as before it (so the last column and row of an odd side do not
  // count), and distances strictly below the cut-off; both are intended for scorePxlScan.
  static PixelRange belowCutOff(const DistanceSquare& square, float cutOff) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float below = cutOff == -kInfinity ? std::numeric_limits<float>::quiet_NaN()
                                             : std::nextafter(cutOff, -kInfinity);
    return {square.pixels, square.side, square.half, square.half, below, cutOff};
  }
};

// Sets the addends of the first `count` points of the block and returns how many of them match.
inline int lookUpPlain(const PixelRange& range, PixelBlock& block, int count) {
  // Cut towards zero, these are the first numbers outside; with nothing from the centre pixel on
  // (end 0) nothing is inside, though -0.5 lies between them.
  const float before = -1.0f - static_cast<float>(range.half);
  const float after = static_cast<float>(range.end);
  const auto isOn = [&](float v) { return v > before && v < after && range.end > 0; };
  int matches = 0;
  for (int i = 0; i < count; ++i) {
    block.addend[i] = 0.0f;
    if (!isOn(block.x[i]) || !isOn(block.y[i])) continue;
    const int col = static_cast<int>(block.x[i]) + range.half;
    const int row = static_cast<int>(block.y[i]) + range.half;
    const float distance = range.pixels[std::ptrdiff_t{row} * range.side + col];
    if (!(distance <= range.limit)) continue;
    block.addend[i] = range.cutOff - distance;
    ++matches;
  }
  return matches;
}

#ifdef __SSE2__

// Whether columns and rows can be counted in 16 bits, and there are any; lookUpSse2 needs it.
inline bool fitsShorts(const PixelRange& range) {
  return range.end > 0 && range.side <= std::numeric_limits<std::int16_t>::max();
}

// Four columns and then four rows of 16 bits, as four pairs of both.
inline __m128i pairsOf(__m128i columnsThenRows) {
  return _mm_unpacklo_epi16(columnsThenRows, _mm_unpackhi_epi64(columnsThenRows, columnsThenRows));
}

// The distances at four pixels of the square, given as columns and then rows.
inline __m128 distancesAt(const PixelRange& range, __m128i columnsThenRows) {
  const __m128i weights = _mm_set1_epi32(range.side * 65536 + 1);  // of each row and column
  alignas(16) std::uint32_t at[kLanes];
  _mm_store_si128(reinterpret_cast<__m128i*>(at),
                  _mm_madd_epi16(pairsOf(columnsThenRows), weights));
  const float* pixels = range.pixels;
  return _mm_setr_ps(pixels[at[0]], pixels[at[1]], pixels[at[2]], pixels[at[3]]);
}

// lookUpPlain for a padded block.
inline int lookUpSse2(const PixelRange& range, PixelBlock& block, int count) {
  const __m128i half = _mm_set1_epi16(static_cast<std::int16_t>(range.half));
  const __m128i last = _mm_set1_epi16(static_cast<std::int16_t>(range.half + range.end - 1));
  const __m128 limit = _mm_set1_ps(range.limit);
  const __m128 cutOff = _mm_set1_ps(range.cutOff);
  __m128i minusMatches = _mm_setzero_si128();
  for (int i = 0; i < count; i += kLanes) {
    // What is far outside, or no number, ends up at -32768 or 32767 here.
    const __m128i offsets = _mm_packs_epi32(_mm_cvttps_epi32(_mm_load_ps(block.x + i)),
                                            _mm_cvttps_epi32(_mm_load_ps(block.y + i)));
    __m128i pixels = _mm_adds_epi16(offsets, half);
    // Seen without a sign, negative ones lie past the last one too.
    const __m128i isOn = _mm_cmpeq_epi16(_mm_subs_epu16(pixels, last), _mm_setzero_si128());
    __m128i areOn = _mm_set1_epi32(-1);
    if (_mm_movemask_epi8(isOn) != 0xffff) {  // seldom, so it is worth a branch
      pixels = _mm_and_si128(pixels, isOn);
      areOn = _mm_cmpeq_epi32(pairsOf(isOn), areOn);
    }
    const __m128 distances = distancesAt(range, pixels);
    const __m128 matches = _mm_and_ps(_mm_cmple_ps(distances, limit), _mm_castsi128_ps(areOn));
    _mm_store_ps(block.addend + i, _mm_and_ps(_mm_sub_ps(cutOff, distances), matches));
    minusMatches = _mm_add_epi32(minusMatches, _mm_castps_si128(matches));
  }
  const Ints lanes = load<Ints>(&minusMatches);
  return -(lanes[0] + lanes[1] + lanes[2] + lanes[3]);
}

#endif

// The faster of the two that can do it; pads the block.
inline int lookUp(const PixelRange& range, PixelBlock& block, int count) {
#ifdef __SSE2__
  if (fitsShorts(range)) {
    block.pad(count);
    return lookUpSse2(range, block, count);
  }
#endif
  return lookUpPlain(range, block, count);
}

// What the points of a source add up to. The sum is a float and grows point by point.
struct Tally {
  float sum = 0.0f;
  std::int64_t matches = 0;
  std::size_t visited = 0;
};

// A source's `fill(block)` places its next points in the block and returns how many; 0 at its end.
template <typename Source>
Tally tallyBlocks(const PixelRange& range, Source source) {
  Tally tally;
  PixelBlock block;
  for (int count = source.fill(block); count > 0; count = source.fill(block)) {
    tally.visited += static_cast<std::size_t>(count);
    tally.matches += lookUp(range, block, count);
    for (int i = 0; i < count; ++i) tally.sum += block.addend[i];
  }
  return tally;
}

}  // namespace Brin
