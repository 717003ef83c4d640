// The greatest byte of a picture under square windows of one size, for every place of the window.
//
//   WindowMaxima maxima(width, height);           // windows of one pixel
//   maxima.set(row, col, 200);
//   const WindowMaxima wider = maxima.doubled();  // of 2 x 2 pixels
//   wider.at(row, col)                            // the greatest of the 4 pixels from there on
//
// Outside the picture there is 0. What lies whole sides of the window apart, lies together in
// memory: so the maxima of four windows beside one another are four bytes in a row, and those of
// 4 x 4 windows are four loads.
#pragma once

#ifdef __SSE2__
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "core/lanes.hpp"

namespace Brin {

typedef std::uint8_t SixteenBytes __attribute__((vector_size(16)));

class WindowMaxima {
 public:
  // A picture without anything in it, its windows of one pixel. std::bad_alloc without memory.
  WindowMaxima(std::int32_t width, std::int32_t height) : WindowMaxima(0, width, height) {}

  // Of windows twice as wide and high. Linear in the pixels, and a border of four windows.
  WindowMaxima doubled() const;

  std::int32_t side() const { return 1 << level_; }

  // For windows of one pixel, within the picture.
  void set(std::int32_t row, std::int32_t col, std::uint8_t value) {
    bytes_[indexOf(row, col)] = value;
  }

  // Of the window that begins there; any numbers do that stay within 2^30.
  std::uint8_t at(std::int32_t row, std::int32_t col) const {
    return isInReach(row, col) ? bytes_[indexOf(row, col)] : std::uint8_t{0};
  }

  // Whether any of the 4 x 4 windows that begin there may hold a pixel of the picture.
  bool isInReach(std::int32_t row, std::int32_t col) const {
    return static_cast<std::uint32_t>(col + border()) <
               static_cast<std::uint32_t>(width_ + border()) &&
           static_cast<std::uint32_t>(row + border()) <
               static_cast<std::uint32_t>(height_ + border());
  }

#ifdef __SSE2__
  bool canBeGathered() const {
    return bytes_.size() <= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  }

  // Eight times at(), 0 where `areWanted` is; for processors with AVX2, if it can be gathered.
  // Rows and columns from one side before the picture on, up to 2^30.
  __attribute__((target("avx2"))) __m256i eightAt(__m256i row, __m256i col,
                                                  __m256i areWanted) const {
    const __m256i x = _mm256_add_epi32(col, _mm256_set1_epi32(border()));
    const __m256i y = _mm256_add_epi32(row, _mm256_set1_epi32(border()));
    const __m256i isBeyond =
        _mm256_or_si256(_mm256_cmpgt_epi32(col, _mm256_set1_epi32(width_ - 1)),
                        _mm256_cmpgt_epi32(row, _mm256_set1_epi32(height_ - 1)));
    const __m256i areHere = _mm256_andnot_si256(isBeyond, areWanted);
    const __m256i rest = _mm256_set1_epi32((1 << level_) - 1);
    const __m128i level = _mm_cvtsi32_si128(level_);
    const __m256i plane = _mm256_add_epi32(_mm256_sll_epi32(_mm256_and_si256(y, rest), level),
                                           _mm256_and_si256(x, rest));
    const __m256i inPlane = _mm256_add_epi32(
        _mm256_mullo_epi32(_mm256_srl_epi32(y, level), _mm256_set1_epi32(columns_)),
        _mm256_srl_epi32(x, level));
    const __m256i at = _mm256_add_epi32(
        _mm256_mullo_epi32(plane, _mm256_set1_epi32(static_cast<std::int32_t>(planeSize()))),
        inPlane);
    const __m256i four = _mm256_mask_i32gather_epi32(
        _mm256_setzero_si256(), reinterpret_cast<const int*>(bytes_.data()), at, areHere, 1);
    return _mm256_and_si256(four, _mm256_set1_epi32(0xff));
  }
#endif

  // The maxima of these 4 x 4 windows, row by row. Must be in reach.
  SixteenBytes sixteenAt(std::int32_t row, std::int32_t col) const {
    const std::uint8_t* from = &bytes_[indexOf(row, col)];
    std::uint32_t rows[4];
    for (std::uint32_t& four : rows) {
      std::memcpy(&four, from, sizeof four);
      from += columns_;
    }
    SixteenBytes all;
    std::memcpy(&all, rows, sizeof all);
    return all;
  }

 private:
  static constexpr std::int32_t kBytesAtOnce = 16;

  WindowMaxima(int level, std::int32_t width, std::int32_t height);

  // Windows are kept from four before the picture's first pixel on.
  std::int32_t border() const { return 4 << level_; }
  std::size_t planeSize() const {
    return static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_);
  }
  std::size_t indexOf(std::int32_t row, std::int32_t col) const {
    const auto x = static_cast<std::uint32_t>(col + border());
    const auto y = static_cast<std::uint32_t>(row + border());
    const std::uint32_t rest = (1U << level_) - 1;
    const std::size_t plane = (std::size_t{y & rest} << level_) + (x & rest);
    return plane * planeSize() + std::size_t{y >> level_} * static_cast<std::size_t>(columns_) +
           (x >> level_);
  }
  static void takeGreatest(const std::uint8_t* above, const std::uint8_t* below, std::int32_t count,
                           std::uint8_t* out);
  void takeRow(const std::uint8_t* bytes, std::size_t planeRow, std::size_t planeCol,
               std::int32_t row);

  int level_;
  std::int32_t width_;
  std::int32_t height_;
  std::int32_t columns_;  // of a plane: windows that begin a whole number of sides apart
  std::int32_t rows_;
  std::vector<std::uint8_t> bytes_;
};

inline WindowMaxima::WindowMaxima(int level, std::int32_t width, std::int32_t height)
    : level_(level),
      width_(width),
      height_(height),
      columns_(((width - 1) >> level) + 8),
      rows_(((height - 1) >> level) + 8) {
  constexpr std::size_t kSlack = 2 * kBytesAtOnce;  // rows are read by sixteen bytes
  bytes_.resize((planeSize() << (2 * level)) + kSlack);
}

// A window of the next level is four of this one, two by two, which are neighbours in their plane.
// Windows begin two sides of the next level, so four of this one, farther out there: a plane of
// this level becomes four planes, of its even and odd columns and rows.
inline WindowMaxima WindowMaxima::doubled() const {
  WindowMaxima wider(level_ + 1, width_, height_);
  constexpr std::int32_t kShift = 4;
  const std::vector<std::uint8_t> nothing(static_cast<std::size_t>(columns_) + 2 * kBytesAtOnce);
  std::vector<std::uint8_t> greatest(2 * static_cast<std::size_t>(wider.columns_) +
                                     4 * kBytesAtOnce);
  const auto rowAt = [&](std::size_t plane, std::int32_t row) {
    if (row < 0 || row >= rows_) return nothing.data();
    return &bytes_[plane * planeSize() +
                   static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_)];
  };
  const std::size_t side = std::size_t{1} << level_;
  for (std::size_t plane = 0; plane < side * side; ++plane) {
    for (std::int32_t row = 0; row < 2 * wider.rows_; ++row) {
      takeGreatest(rowAt(plane, row - kShift), rowAt(plane, row - kShift + 1), columns_,
                   &greatest[kShift]);
      std::fill(greatest.begin() + kShift + columns_, greatest.end(), std::uint8_t{0});
      wider.takeRow(greatest.data(), plane >> level_, plane & (side - 1), row);
    }
  }
  return wider;
}

// Bytes i of `out` become the greatest of bytes i and i + 1 of `above` and of `below`. Up to
// sixteen more bytes of all three are touched.
inline void WindowMaxima::takeGreatest(const std::uint8_t* above, const std::uint8_t* below,
                                       std::int32_t count, std::uint8_t* out) {
  const auto greater = [](SixteenBytes a, SixteenBytes b) { return a > b ? a : b; };
  for (std::int32_t i = 0; i < count; i += kBytesAtOnce) {
    const auto first = greater(load<SixteenBytes>(above + i), load<SixteenBytes>(below + i));
    const auto next = greater(load<SixteenBytes>(above + i + 1), load<SixteenBytes>(below + i + 1));
    store(out + i, greater(first, next));
  }
}

// Takes one row of a plane of the level before: its even bytes are a row of one of the four planes
// that it becomes, the odd ones of another. Rows go upwards, since the last sixteen bytes run into
// the next one.
inline void WindowMaxima::takeRow(const std::uint8_t* bytes, std::size_t planeRow,
                                  std::size_t planeCol, std::int32_t row) {
  const std::size_t half = std::size_t{1} << (level_ - 1);
  const std::size_t plane = ((planeRow + (row % 2 == 0 ? 0 : half)) << level_) + planeCol;
  std::uint8_t* even = &bytes_[plane * planeSize() + static_cast<std::size_t>(row / 2) *
                                                         static_cast<std::size_t>(columns_)];
  std::uint8_t* odd = even + half * planeSize();
  for (std::int32_t i = 0; i < columns_; i += kBytesAtOnce) {
    const auto a = load<SixteenBytes>(bytes + 2 * i);
    const auto b = load<SixteenBytes>(bytes + 2 * i + kBytesAtOnce);
    store(even + i,
          __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30));
    store(odd + i,
          __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31));
  }
}

}  // namespace Brin
