#include "src/score_pyramid.hpp"

#ifdef __SSE2__
#include <immintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <limits>

#include "src/processor.hpp"

namespace Brin {
namespace {

constexpr std::size_t kChunk = 32;  // points between two looks at whether a bound is needed still
constexpr float kFar = 1073741824.0f;  // 2^30 pixels, beyond any picture

// The offset in pixels of a turned point's coordinate seen from a place, a half added.
float offsetOf(float turned, float place, float inv) { return (turned + place) * inv + 0.5f; }

// The index of an offset limited to +-2^30; for what is not a number that of `otherwise`.
std::int32_t indexOf(float offset, float otherwise) {
  if (std::isnan(offset)) offset = otherwise;
  return static_cast<std::int32_t>(std::clamp(offset, -kFar, kFar)) - (offset < 0.0f ? 1 : 0);
}

// Pixels counted from the centre one, and their indices.
std::int32_t lowestIndexOf(std::int32_t pixel) { return pixel > 0 ? pixel : pixel - 1; }
std::int32_t highestIndexOf(std::int32_t pixel) { return pixel >= 0 ? pixel : pixel - 1; }
std::int32_t pixelOf(std::int32_t index) { return index >= 0 ? index : index + 1; }

// What a pixel adds to a score.
float addendOf(float distance, float cutOff) {
  return distance <= cutOff ? cutOff - distance : 0.0f;
}

// The pixels of the smallest rectangle that holds all that add something; counted as in the area.
struct Frame {
  std::int32_t left = std::numeric_limits<std::int32_t>::max();
  std::int32_t top = std::numeric_limits<std::int32_t>::max();
  std::int32_t right = std::numeric_limits<std::int32_t>::min();  // included, like the bottom
  std::int32_t bottom = std::numeric_limits<std::int32_t>::min();

  bool isEmpty() const { return right < left; }
};

Frame frameOf(const DistanceArea& area, float cutOff) {
  Frame frame;
  const auto adds = [&](float distance) { return addendOf(distance, cutOff) > 0.0f; };
  for (std::int32_t row = 0; row < area.height; ++row) {
    const float* begin = &area.pixels[row * area.stride];
    const float* end = begin + area.width;
    const float* first = std::find_if(begin, end, adds);
    if (first == end) continue;
    const float* last = end - 1;
    while (!adds(*last)) --last;
    frame.left = std::min(frame.left, area.left + static_cast<std::int32_t>(first - begin));
    frame.right = std::max(frame.right, area.left + static_cast<std::int32_t>(last - begin));
    frame.top = std::min(frame.top, area.top + row);
    frame.bottom = area.top + row;
  }
  return frame;
}

typedef std::uint8_t EightBytes __attribute__((vector_size(8)));
typedef std::uint16_t EightShorts __attribute__((vector_size(16)));

// Sums of bytes for each of sixteen blocks; of at most 257 points.
struct SixteenSums {
  EightShorts low{};
  EightShorts high{};

  void add(SixteenBytes bytes) {
    low += __builtin_convertvector(__builtin_shufflevector(bytes, bytes, 0, 1, 2, 3, 4, 5, 6, 7),
                                   EightShorts);
    high += __builtin_convertvector(
        __builtin_shufflevector(bytes, bytes, 8, 9, 10, 11, 12, 13, 14, 15), EightShorts);
  }

  // Adds them to `bounds` and returns the highest of these.
  std::int64_t addTo(std::int64_t bounds[16]) const {
    std::int64_t highest = 0;
    for (int i = 0; i < 8; ++i) {
      bounds[i] += low[i];
      bounds[i + 8] += high[i];
      highest = std::max(highest, std::max(bounds[i], bounds[i + 8]));
    }
    return highest;
  }
};

// The maxima of sixteen windows that a point may be in, and of those next to them if it has to be.
SixteenBytes maximaAround(const WindowMaxima& table, const PixelPoint& point, std::int32_t row,
                          std::int32_t col) {
  SixteenBytes most{};
  for (std::int32_t y = row; y <= row + point.moreRows; ++y) {
    for (std::int32_t x = col; x <= col + point.moreCols; ++x) {
      if (!table.isInReach(y, x)) continue;
      const SixteenBytes other = table.sixteenAt(y, x);
      most = most > other ? most : other;
    }
  }
  return most;
}

}  // namespace

ScorePyramid::ScorePyramid(const DistanceArea& area, float cutOff) {
  const Frame frame = frameOf(area, cutOff);
  if (frame.isEmpty()) return;
  left_ = lowestIndexOf(frame.left);
  top_ = lowestIndexOf(frame.top);
  width_ = highestIndexOf(frame.right) - left_ + 1;
  height_ = highestIndexOf(frame.bottom) - top_ + 1;
  addends_.reserve(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
  for (std::int32_t row = top_; row < top_ + height_; ++row) {
    for (std::int32_t col = left_; col < left_ + width_; ++col) {
      addends_.push_back(addendOf(area.at(pixelOf(row), pixelOf(col)), cutOff));
    }
  }
  most_ = *std::max_element(addends_.begin(), addends_.end());
  levels_ = ScoreLevels(most_);
  tables_.reserve(kTop + 1);
  tables_.emplace_back(width_, height_);
  const float* addend = addends_.data();
  for (std::int32_t row = 0; row < height_; ++row) {
    for (std::int32_t col = 0; col < width_; ++col) {
      tables_[0].set(row, col, levels_.of(*addend++));
    }
  }
  while (tables_.size() <= kTop && tables_.back().side() < std::max(width_, height_)) {
    tables_.push_back(tables_.back().doubled());
  }
}

float ScorePyramid::sumAt(const std::vector<Point2D>& points, const Turn& turn,
                          const Point2D& place, float inv) const {
  float sum = 0.0f;
  for (const Point2D& p : points) {
    const std::int32_t col = indexOf(offsetOf(turn.x(p), place.x, inv), -kFar) - left_;
    const std::int32_t row = indexOf(offsetOf(turn.y(p), place.y, inv), -kFar) - top_;
    if (col < 0 || col >= width_ || row < 0 || row >= height_) continue;
    sum += addends_[static_cast<std::size_t>(std::ptrdiff_t{row} * width_ + col)];
  }
  return sum;
}

bool ScorePyramid::addBounds(const SixteenBlocks& blocks, const std::vector<PixelPoint>& points,
                             std::int64_t needed, std::int64_t bounds[16]) const {
  const WindowMaxima& table = tables_[static_cast<std::size_t>(blocks.level)];
  const std::int32_t firstCol = blocks.col - left_;
  const std::int32_t firstRow = blocks.row - top_;
  for (std::size_t begin = 0; begin < points.size(); begin += kChunk) {
    const std::size_t end = std::min(points.size(), begin + kChunk);
    SixteenSums sums;
    for (std::size_t i = begin; i < end; ++i) {
      const PixelPoint& point = points[i];
      const std::int32_t col = point.col + firstCol;
      const std::int32_t row = point.row + firstRow;
      if ((point.moreCols | point.moreRows) != 0) {
        sums.add(maximaAround(table, point, row, col));
      } else if (table.isInReach(row, col)) {
        sums.add(table.sixteenAt(row, col));
      }
    }
    const std::int64_t left =
        static_cast<std::int64_t>(points.size() - end) * ScoreLevels::kHighest;
    if (sums.addTo(bounds) + left < needed) return false;
  }
  return true;
}

std::int64_t ScorePyramid::boundOver(int level, const TurnedPoints& points, const PlaceBox& box,
                                     float inv, std::int64_t needed) const {
  if (tables_.empty()) return 0;
  const WindowMaxima& table =
      tables_[std::min(static_cast<std::size_t>(level), tables_.size() - 1)];
  auto left = static_cast<std::int64_t>(points.count) * ScoreLevels::kHighest;
  std::int64_t bound = 0;
  for (std::size_t begin = 0; begin < points.count; begin += kChunk) {
    if (bound + left < needed) return bound + left;
    const std::size_t count = std::min(kChunk, points.count - begin);
    bound += levelsOver(table, {points.x + begin, points.y + begin, count}, box, inv);
    left -= static_cast<std::int64_t>(count) * ScoreLevels::kHighest;
  }
  return bound;
}

std::int32_t ScorePyramid::levelsOver(const WindowMaxima& table, const TurnedPoints& points,
                                      const PlaceBox& box, float inv) const {
#ifdef __SSE2__
  if (hasAvx2() && table.canBeGathered()) return levelsOverAvx2(table, points, box, inv);
#endif
  std::int32_t levels = 0;
  for (std::size_t i = 0; i < points.count; ++i) levels += levelOver(table, points, i, box, inv);
  return levels;
}

std::int32_t ScorePyramid::levelOver(const WindowMaxima& table, const TurnedPoints& points,
                                     std::size_t i, const PlaceBox& box, float inv) const {
  const Span cols =
      spanOf(offsetOf(points.x[i], box.lowX, inv), offsetOf(points.x[i], box.highX, inv), left_);
  const Span rows =
      spanOf(offsetOf(points.y[i], box.lowY, inv), offsetOf(points.y[i], box.highY, inv), top_);
  return levelOver(table, cols, rows);
}

#ifdef __SSE2__

namespace {

// Eight indices as indexOf gives them: what is not a number becomes the first or the last one.
__attribute__((target("avx2"))) inline __m256i indicesOf(__m256 turned, float place, float inv,
                                                         bool isLow, std::int32_t begin) {
  const __m256 far = _mm256_set1_ps(kFar);
  const __m256 minusFar = _mm256_set1_ps(-kFar);
  const __m256 moved = _mm256_add_ps(turned, _mm256_set1_ps(place));
  const __m256 offset =
      _mm256_add_ps(_mm256_mul_ps(moved, _mm256_set1_ps(inv)), _mm256_set1_ps(0.5f));
  // The second operand comes back where one is not a number.
  const __m256 limited = isLow ? _mm256_min_ps(_mm256_max_ps(offset, minusFar), far)
                               : _mm256_max_ps(_mm256_min_ps(offset, far), minusFar);
  const __m256i isNegative =
      _mm256_castps_si256(_mm256_cmp_ps(limited, _mm256_setzero_ps(), _CMP_LT_OQ));
  return _mm256_sub_epi32(_mm256_add_epi32(_mm256_cvttps_epi32(limited), isNegative),
                          _mm256_set1_epi32(begin));
}

// Where spans begin, no earlier than a window's side before the picture, and whether a window that
// begins there holds all that they have of the picture.
struct EightStarts {
  __m256i at;
  __m256i areCovering;
};

__attribute__((target("avx2"))) inline EightStarts startsOf(__m256i first, __m256i last,
                                                            std::int32_t side, std::int32_t size) {
  const __m256i at = _mm256_max_epi32(first, _mm256_set1_epi32(-side));
  const __m256i end = _mm256_min_epi32(last, _mm256_set1_epi32(size - 1));
  return {at, _mm256_cmpgt_epi32(_mm256_set1_epi32(side), _mm256_sub_epi32(end, at))};
}

}  // namespace

__attribute__((target("avx2"))) std::int32_t ScorePyramid::levelsOverAvx2(
    const WindowMaxima& table, const TurnedPoints& points, const PlaceBox& box, float inv) const {
  constexpr std::size_t kEight = 8;
  std::int32_t wide = 0;
  __m256i sums = _mm256_setzero_si256();
  std::size_t i = 0;
  for (; i + kEight <= points.count; i += kEight) {
    const __m256 x = _mm256_loadu_ps(points.x + i);
    const __m256 y = _mm256_loadu_ps(points.y + i);
    const EightStarts cols =
        startsOf(indicesOf(x, box.lowX, inv, true, left_),
                 indicesOf(x, box.highX, inv, false, left_), table.side(), width_);
    const EightStarts rows =
        startsOf(indicesOf(y, box.lowY, inv, true, top_), indicesOf(y, box.highY, inv, false, top_),
                 table.side(), height_);
    const __m256i areCovering = _mm256_and_si256(cols.areCovering, rows.areCovering);
    sums = _mm256_add_epi32(sums, table.eightAt(rows.at, cols.at, areCovering));
    int others = _mm256_movemask_ps(_mm256_castsi256_ps(areCovering)) ^ 0xff;
    for (; others != 0; others &= others - 1) {
      const int lane = __builtin_ctz(static_cast<unsigned>(others));
      wide += levelOver(table, points, i + static_cast<std::size_t>(lane), box, inv);
    }
  }
  for (; i < points.count; ++i) wide += levelOver(table, points, i, box, inv);
  alignas(32) std::int32_t all[kEight];
  _mm256_store_si256(reinterpret_cast<__m256i*>(all), sums);
  return wide + ((all[0] + all[1]) + (all[2] + all[3])) + ((all[4] + all[5]) + (all[6] + all[7]));
}

#endif

ScorePyramid::Span ScorePyramid::spanOf(float low, float high, std::int32_t begin) {
  return {indexOf(low, -kFar) - begin, indexOf(high, kFar) - begin};
}

std::int32_t ScorePyramid::levelOver(const WindowMaxima& table, Span cols, Span rows) const {
  const std::int32_t side = table.side();
  const std::int32_t col = std::max(cols.first, -side);
  const std::int32_t row = std::max(rows.first, -side);
  if (std::min(cols.last, width_ - 1) - col < side &&
      std::min(rows.last, height_ - 1) - row < side) {
    return table.at(row, col);
  }
  return levelOverWide(table, cols, rows);
}

// Of windows beside one another; the last one along an axis ends where the span does.
std::int32_t ScorePyramid::levelOverWide(const WindowMaxima& table, Span cols, Span rows) const {
  cols = {std::max(cols.first, 0), std::min(cols.last, width_ - 1)};
  rows = {std::max(rows.first, 0), std::min(rows.last, height_ - 1)};
  if (cols.first > cols.last || rows.first > rows.last) return 0;
  constexpr std::int32_t kMostWindows = 3;  // along an axis
  const std::int32_t side = table.side();
  if (cols.last - cols.first >= kMostWindows * side ||
      rows.last - rows.first >= kMostWindows * side) {
    return ScoreLevels::kHighest;
  }
  std::int32_t most = 0;
  for (std::int32_t y = rows.first; y <= rows.last; y += side) {
    const std::int32_t row = std::min(y, rows.last - side + 1);
    for (std::int32_t x = cols.first; x <= cols.last; x += side) {
      most = std::max<std::int32_t>(most, table.at(row, std::min(x, cols.last - side + 1)));
    }
  }
  return most;
}

}  // namespace Brin
