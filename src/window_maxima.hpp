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

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

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
  void takeRow(const std::uint8_t* bytes, std::size_t planeRow, std::size_t planeCol,
               std::int32_t row);

  int level_;
  std::int32_t width_;
  std::int32_t height_;
  std::int32_t columns_;  // of a plane: windows that begin a whole number of sides apart
  std::int32_t rows_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace Brin
