#include "tools/serve/tile.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace korrin_tool::serve {
namespace {

// Collects the cells that share a pixel.
class Pixel {
 public:
  void add(float value, const TileStyle& style) {
    isInside_ = true;
    if (style.rule == TileRule::Lowest ? value >= 0.0f && std::isfinite(value) : value >= 0.0f) {
      lowest_ = count_ == 0 ? value : std::min(lowest_, value);
      sum_ += double{value};
      ++count_;
    } else {
      code_ = std::min(code_, tileByte(value, style));
    }
  }

  std::uint8_t byte(const TileStyle& style) const {
    if (!isInside_) return kOffTheMap;
    if (style.rule == TileRule::Lowest) return count_ > 0 ? tileByte(lowest_, style) : code_;
    if (count_ > 0 && lowest_ < style.obstacleBelow) return tileByte(lowest_, style);
    const bool codeWins = style.rule == TileRule::Grown && code_ != kOffTheMap;
    if (count_ == 0 || codeWins) return code_;
    return tileByte(static_cast<float>(sum_ / count_), style);
  }

 private:
  bool isInside_ = false;
  float lowest_ = 0.0f;
  double sum_ = 0.0;
  int count_ = 0;
  std::uint8_t code_ = kOffTheMap;  // the lowest of those that are no values
};

// One row of pixels, from the rows of cells that it shows.
void drawRow(const Brin::OccupancyMap& map, const TileStyle& style, std::int64_t firstColumn,
             std::int64_t firstRow, int level, std::uint8_t* out) {
  std::vector<Pixel> pixels(kTileSide);
  const std::int64_t side = std::int64_t{1} << level;
  const std::int64_t endRow = std::min<std::int64_t>(firstRow + side, map.image->height);
  const std::int64_t endColumn =
      std::min<std::int64_t>(firstColumn + side * kTileSide, map.image->width);
  for (std::int64_t row = firstRow; row < endRow; ++row) {
    const char* const bytes = map.image->imageData + row * map.image->widthStep;
    for (std::int64_t column = firstColumn; column < endColumn; ++column) {
      float value = 0.0f;
      std::memcpy(&value, bytes + column * std::int64_t{sizeof value}, sizeof value);
      pixels[static_cast<std::size_t>((column - firstColumn) >> level)].add(value, style);
    }
  }
  for (const Pixel& pixel : pixels) *out++ = pixel.byte(style);
}

}  // namespace

int tileLevels(const Brin::OccupancyMapParams& grid) {
  int levels = 1;
  std::int64_t side = kTileSide;
  for (; side < std::max(grid.width, grid.height); side *= 2) ++levels;
  return levels;
}

std::uint8_t tileByte(float value, const TileStyle& style) {
  if (std::isnan(value)) return kNotANumber;
  if (style.rule == TileRule::Lowest) {
    if (value < 0.0f || std::isinf(value)) return kNoValue;
  } else if (style.rule == TileRule::Grown && value < 0.0f) {
    return value == -1.0f ? kTooNear : value == -2.0f ? kUnknownByte : kNotANumber;
  }
  const float share = std::clamp(value / style.scale, 0.0f, 1.0f);
  return static_cast<std::uint8_t>(std::lround(share * float{kFullValue}));
}

std::string tileOf(const Brin::OccupancyMap& map, const TileStyle& style, int level, int x, int y) {
  if (map.image == nullptr || level < 0 || level >= tileLevels(map.params) || x < 0 || y < 0) {
    return "";
  }
  const std::int64_t side = std::int64_t{1} << level;
  const std::int64_t column = std::int64_t{x} * kTileSide * side;
  const std::int64_t row = std::int64_t{y} * kTileSide * side;
  if (column >= map.params.width || row >= map.params.height) return "";
  std::string bytes(std::size_t{kTileSide} * kTileSide, '\0');
  for (int i = 0; i < kTileSide; ++i) {
    drawRow(map, style, column, row + i * side, level,
            reinterpret_cast<std::uint8_t*>(bytes.data()) + std::ptrdiff_t{i} * kTileSide);
  }
  return bytes;
}

}  // namespace korrin_tool::serve
