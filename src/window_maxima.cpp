#include "src/window_maxima.hpp"

#include <algorithm>

#include "core/lanes.hpp"

namespace Brin {
namespace {

constexpr std::int32_t kSixteen = 16;

SixteenBytes greater(SixteenBytes a, SixteenBytes b) { return a > b ? a : b; }

// Bytes i of `out` become the greatest of bytes i and i + 1 of `above` and of `below`. All three
// are `count` long, up to the next sixteen, and the latter two one byte longer.
void greatestOfFour(const std::uint8_t* above, const std::uint8_t* below, std::int32_t count,
                    std::uint8_t* out) {
  for (std::int32_t i = 0; i < count; i += kSixteen) {
    const auto first = greater(load<SixteenBytes>(above + i), load<SixteenBytes>(below + i));
    const auto next = greater(load<SixteenBytes>(above + i + 1), load<SixteenBytes>(below + i + 1));
    store(out + i, greater(first, next));
  }
}

}  // namespace

WindowMaxima::WindowMaxima(int level, std::int32_t width, std::int32_t height)
    : level_(level),
      width_(width),
      height_(height),
      columns_(((width - 1) >> level) + 8),
      rows_(((height - 1) >> level) + 8) {
  constexpr std::size_t kSlack = 2 * kSixteen;  // rows are read by sixteen bytes
  bytes_.resize((planeSize() << (2 * level)) + kSlack);
}

// A window of the next level is four of this one, two by two, which are neighbours in their plane.
// Windows begin two sides of the next level, so four of this one, farther out there: a plane of
// this level becomes four planes, of its even and odd columns and rows.
WindowMaxima WindowMaxima::doubled() const {
  WindowMaxima wider(level_ + 1, width_, height_);
  constexpr std::int32_t kShift = 4;
  const std::vector<std::uint8_t> nothing(static_cast<std::size_t>(columns_) + 2 * kSixteen);
  std::vector<std::uint8_t> greatest(2 * static_cast<std::size_t>(wider.columns_) + 4 * kSixteen);
  const auto rowAt = [&](std::size_t plane, std::int32_t row) {
    if (row < 0 || row >= rows_) return nothing.data();
    return &bytes_[plane * planeSize() +
                   static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_)];
  };
  const std::size_t side = std::size_t{1} << level_;
  for (std::size_t plane = 0; plane < side * side; ++plane) {
    for (std::int32_t row = 0; row < 2 * wider.rows_; ++row) {
      greatestOfFour(rowAt(plane, row - kShift), rowAt(plane, row - kShift + 1), columns_,
                     &greatest[kShift]);
      std::fill(greatest.begin() + kShift + columns_, greatest.end(), std::uint8_t{0});
      wider.takeRow(greatest.data(), plane >> level_, plane & (side - 1), row);
    }
  }
  return wider;
}

// Takes one row of a plane of the level before: its even bytes are a row of one of the four planes
// that it becomes, the odd ones of another. Rows go upwards, since the last sixteen bytes run into
// the next one.
void WindowMaxima::takeRow(const std::uint8_t* bytes, std::size_t planeRow, std::size_t planeCol,
                           std::int32_t row) {
  const std::size_t half = std::size_t{1} << (level_ - 1);
  const std::size_t plane = ((planeRow + (row % 2 == 0 ? 0 : half)) << level_) + planeCol;
  std::uint8_t* even = &bytes_[plane * planeSize() + static_cast<std::size_t>(row / 2) *
                                                         static_cast<std::size_t>(columns_)];
  std::uint8_t* odd = even + half * planeSize();
  for (std::int32_t i = 0; i < columns_; i += kSixteen) {
    const auto a = load<SixteenBytes>(bytes + 2 * i);
    const auto b = load<SixteenBytes>(bytes + 2 * i + kSixteen);
    store(even + i, __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26,
                                            28, 30));
    store(odd + i, __builtin_shufflevector(a, b, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27,
                                           29, 31));
  }
}

}  // namespace Brin
