#include "tools/pictures/cell_values.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace korrin_tool {
namespace {

// Adds a row of cells to the lowest value and the sum of each block.
void addRow(const float* cells, int width, int side, float* lowest, float* sum) {
  for (int block = 0, x = 0; x < width; ++block) {
    for (const int end = std::min(width, x + side); x < end; ++x) {
      lowest[block] = std::min(lowest[block], cells[x]);
      sum[block] += cells[x];
    }
  }
}

std::uint32_t bitsOf(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

cv::Mat_<float> blockValues(const Brin::OccupancyMap& map, int side) {
  if (map.params.width <= 0 || map.params.height <= 0) return {};
  const cv::Mat_<float> cells = cv::cvarrToMat(map.image);
  if (side == 1) return cells;
  const auto blocksAlong = [side](int count) { return (count + side - 1) / side; };
  cv::Mat_<float> values(blocksAlong(cells.rows), blocksAlong(cells.cols));
  cv::Mat_<float> sums(1, values.cols);
  for (int row = 0; row < values.rows; ++row) {
    values.row(row).setTo(std::numeric_limits<float>::infinity());
    sums.setTo(0.0f);
    const int end = std::min(cells.rows, (row + 1) * side);
    for (int y = row * side; y < end; ++y) addRow(cells[y], cells.cols, side, values[row], sums[0]);
    for (int column = 0; column < values.cols; ++column) {
      const int width = std::min(side, cells.cols - column * side);
      float& value = values(row, column);
      if (value >= 0.5f) value = sums(column) / static_cast<float>(width * (end - row * side));
    }
  }
  return values;
}

std::vector<ColourCache::Entry> ColourCache::makeEntries() {
  constexpr float kNone = std::numeric_limits<float>::quiet_NaN();  // equal to no value
  return std::vector<Entry>(std::size_t{1} << kPlaceBits, Entry{kNone, kNone, {}});
}

std::size_t ColourCache::place(float a, float b) {
  constexpr std::uint32_t kSpread = 2654435769u;  // 2^32 over the golden ratio
  return ((bitsOf(a) * kSpread) ^ bitsOf(b)) * kSpread >> (32 - kPlaceBits);
}

}  // namespace korrin_tool
