// Scores one set of points at eight poses at once.
//
// The sum of korrin_model::scanScore has to be made point by point, each addition waiting for the
// one before. But the sums of different poses have nothing to do with each other, so eight of them
// grow side by side, each in its own order. And when many poses are scored on one map, what each
// pixel adds is worth a table: off the map and beyond the cut-off it holds -0, which leaves every
// sum as it is and tells by its sign that there was no match.
//
// addUpPlain, addUpSse2 and addUpAvx2 do the same, to the last bit.
#pragma once

#ifdef __SSE2__
#include <immintrin.h>
#endif

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "src/distance_square.hpp"
#include "src/processor.hpp"

namespace Brin {

// What a point adds in each pixel of a map, with a border of one pixel around it.
class AddendTable {
 public:
  // Needs a finite cut-off and a square that `isPossible`. Linear in the pixels.
  AddendTable(const DistanceSquare& square, float cutOff)
      : stride(square.side + 2),
        before(-1.0f - static_cast<float>(square.half)),
        after(static_cast<float>(square.side - square.half)),
        cells_(static_cast<std::size_t>(stride) * static_cast<std::size_t>(stride), -0.0f) {
    for (int row = 0; row < square.side; ++row) {
      float* out =
          &cells_[static_cast<std::size_t>(row + 1) * static_cast<std::size_t>(stride) + 1];
      for (int col = 0; col < square.side; ++col) {
        const float distance = square.at(row, col);
        // + 0 turns the -0 of a match at a cut-off of -0 into 0.
        out[col] = distance <= cutOff ? cutOff - distance + 0.0f : -0.0f;
      }
    }
    centre = cells_.data() + std::ptrdiff_t{square.half + 1} * (stride + 1);
  }
  AddendTable(const AddendTable&) = delete;
  AddendTable& operator=(const AddendTable&) = delete;

  // Rows and columns, border included, are counted in 16 bits.
  static bool isPossible(const DistanceSquare& square) {
    return square.side >= 1 && square.side + 2 <= std::numeric_limits<std::int16_t>::max();
  }

  int stride;
  float before;  // the first offset, cut towards zero, that falls into the border before the map
  float after;   // and after it
  const float* centre;

 private:
  std::vector<float> cells_;
};

struct LanePoints {
  const float* x;
  const float* y;
  std::size_t count;
};

struct PoseLanes {
  static constexpr int kSize = 8;

  alignas(32) float sine[kSize];
  alignas(32) float cosine[kSize];
  alignas(32) float x[kSize];
  alignas(32) float y[kSize];
  // Results: the sum, and minus the number of points without a match.
  alignas(32) float sum[kSize];
  alignas(32) std::int32_t minusMisses[kSize];
};

// Whether each lane still turns the points, or they come turned already, because all lanes have
// the same heading.
enum class Points { ToTurn, Turned };

template <Points kPoints>
void addUpPlain(const AddendTable& table, const LanePoints& points, float inv, PoseLanes& lanes) {
  // In the order that makes what is not a number lie before the map.
  const auto clamped = [&](float v) {
    const float lifted = v > table.before ? v : table.before;
    return static_cast<int>(lifted < table.after ? lifted : table.after);
  };
  for (int i = 0; i < PoseLanes::kSize; ++i) {
    float sum = 0.0f;
    std::int32_t minusMisses = 0;
    for (std::size_t k = 0; k < points.count; ++k) {
      float x = points.x[k];
      float y = points.y[k];
      if (kPoints == Points::ToTurn) {
        const float turned = x * lanes.cosine[i] - y * lanes.sine[i];
        y = x * lanes.sine[i] + y * lanes.cosine[i];
        x = turned;
      }
      const int col = clamped((x + lanes.x[i]) * inv + 0.5f);
      const int row = clamped((y + lanes.y[i]) * inv + 0.5f);
      const float addend = table.centre[std::ptrdiff_t{row} * table.stride + col];
      sum += addend;
      minusMisses -= std::signbit(addend) ? 1 : 0;
    }
    lanes.sum[i] = sum;
    lanes.minusMisses[i] = minusMisses;
  }
}

#ifdef __SSE2__

// Four of the lanes, from `first` on.
template <Points kPoints>
void addUpFour(const AddendTable& table, const LanePoints& points, float inv, PoseLanes& lanes,
               int first) {
  const __m128 sine = _mm_load_ps(lanes.sine + first);
  const __m128 cosine = _mm_load_ps(lanes.cosine + first);
  const __m128 poseX = _mm_load_ps(lanes.x + first);
  const __m128 poseY = _mm_load_ps(lanes.y + first);
  const __m128 scale = _mm_set1_ps(inv);
  const __m128 half = _mm_set1_ps(0.5f);
  const __m128 before = _mm_set1_ps(table.before);
  const __m128 after = _mm_set1_ps(table.after);
  const __m128i weights = _mm_set1_epi32(table.stride * 65536 + 1);  // of each row and column
  const float* const centre = table.centre;
  __m128 sum = _mm_setzero_ps();
  __m128i minusMisses = _mm_setzero_si128();
  for (std::size_t k = 0; k < points.count; ++k) {
    __m128 x = _mm_set1_ps(points.x[k]);
    __m128 y = _mm_set1_ps(points.y[k]);
    if (kPoints == Points::ToTurn) {
      const __m128 turned = _mm_sub_ps(_mm_mul_ps(x, cosine), _mm_mul_ps(y, sine));
      y = _mm_add_ps(_mm_mul_ps(x, sine), _mm_mul_ps(y, cosine));
      x = turned;
    }
    x = _mm_add_ps(_mm_mul_ps(_mm_add_ps(x, poseX), scale), half);
    y = _mm_add_ps(_mm_mul_ps(_mm_add_ps(y, poseY), scale), half);
    const __m128i col = _mm_cvttps_epi32(_mm_min_ps(_mm_max_ps(x, before), after));
    const __m128i row = _mm_cvttps_epi32(_mm_min_ps(_mm_max_ps(y, before), after));
    const __m128i both = _mm_packs_epi32(col, row);
    const __m128i pairs = _mm_unpacklo_epi16(both, _mm_unpackhi_epi64(both, both));
    alignas(16) std::int32_t at[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(at), _mm_madd_epi16(pairs, weights));
    const __m128 addend = _mm_setr_ps(centre[at[0]], centre[at[1]], centre[at[2]], centre[at[3]]);
    sum = _mm_add_ps(sum, addend);
    minusMisses = _mm_add_epi32(minusMisses, _mm_srai_epi32(_mm_castps_si128(addend), 31));
  }
  _mm_store_ps(lanes.sum + first, sum);
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes.minusMisses + first), minusMisses);
}

template <Points kPoints>
void addUpSse2(const AddendTable& table, const LanePoints& points, float inv, PoseLanes& lanes) {
  addUpFour<kPoints>(table, points, inv, lanes, 0);
  addUpFour<kPoints>(table, points, inv, lanes, 4);
}

template <Points kPoints>
__attribute__((target("avx2"))) void addUpAvx2(const AddendTable& table, const LanePoints& points,
                                               float inv, PoseLanes& lanes) {
  const __m256 sine = _mm256_load_ps(lanes.sine);
  const __m256 cosine = _mm256_load_ps(lanes.cosine);
  const __m256 poseX = _mm256_load_ps(lanes.x);
  const __m256 poseY = _mm256_load_ps(lanes.y);
  const __m256 scale = _mm256_set1_ps(inv);
  const __m256 half = _mm256_set1_ps(0.5f);
  const __m256 before = _mm256_set1_ps(table.before);
  const __m256 after = _mm256_set1_ps(table.after);
  const __m256i stride = _mm256_set1_epi32(table.stride);
  __m256 sum = _mm256_setzero_ps();
  __m256i minusMisses = _mm256_setzero_si256();
  for (std::size_t k = 0; k < points.count; ++k) {
    __m256 x = _mm256_set1_ps(points.x[k]);
    __m256 y = _mm256_set1_ps(points.y[k]);
    if (kPoints == Points::ToTurn) {
      const __m256 turned = _mm256_sub_ps(_mm256_mul_ps(x, cosine), _mm256_mul_ps(y, sine));
      y = _mm256_add_ps(_mm256_mul_ps(x, sine), _mm256_mul_ps(y, cosine));
      x = turned;
    }
    x = _mm256_add_ps(_mm256_mul_ps(_mm256_add_ps(x, poseX), scale), half);
    y = _mm256_add_ps(_mm256_mul_ps(_mm256_add_ps(y, poseY), scale), half);
    const __m256i col = _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(x, before), after));
    const __m256i row = _mm256_cvttps_epi32(_mm256_min_ps(_mm256_max_ps(y, before), after));
    const __m256i at = _mm256_add_epi32(_mm256_mullo_epi32(row, stride), col);
    const __m256 addend = _mm256_i32gather_ps(table.centre, at, sizeof(float));
    sum = _mm256_add_ps(sum, addend);
    minusMisses = _mm256_add_epi32(minusMisses, _mm256_srai_epi32(_mm256_castps_si256(addend), 31));
  }
  _mm256_store_ps(lanes.sum, sum);
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes.minusMisses), minusMisses);
}

#endif

// Sets the sums and misses of all lanes, whose poses are set, with what this machine has.
template <Points kPoints>
void addUp(const AddendTable& table, const LanePoints& points, float inv, PoseLanes& lanes) {
#ifdef __SSE2__
  hasAvx2() ? addUpAvx2<kPoints>(table, points, inv, lanes)
            : addUpSse2<kPoints>(table, points, inv, lanes);
#else
  addUpPlain<kPoints>(table, points, inv, lanes);
#endif
}

}  // namespace Brin
