// A rectangle of cells.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Brin {

// Columns [left, right) and rows [top, bottom).
struct CellArea {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;

  bool isEmpty() const { return left >= right || top >= bottom; }
  std::int32_t width() const { return right - left; }
  std::int32_t height() const { return bottom - top; }

  // What of columns [x, x + width) and rows [y, y + height) lies on a map of that size.
  static CellArea onMap(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height,
                        std::int32_t columns, std::int32_t rows) {
    const auto limited = [](std::int64_t value, std::int32_t size) {
      return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, 0, size));
    };
    return {limited(x, columns), limited(y, rows), limited(x + width, columns),
            limited(y + height, rows)};
  }

  // This and what is at most `reach` cells away from it, on a map of that size. Not for an empty
  // area.
  CellArea grownBy(std::int32_t reach, std::int32_t columns, std::int32_t rows) const {
    return onMap(std::int64_t{left} - reach, std::int64_t{top} - reach,
                 std::int64_t{width()} + 2 * std::int64_t{reach},
                 std::int64_t{height()} + 2 * std::int64_t{reach}, columns, rows);
  }
};

}  // namespace Brin
