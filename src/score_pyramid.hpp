// What the points of a scan add to a score, pixel by pixel, and bounds of it over blocks of poses.
//
//   const ScorePyramid pyramid(area, cutOff);
//   const float sum = pyramid.sumAt(points, turn, place, inv);     // as scanScore's
//   const std::int64_t bound = pyramid.boundOver(3, turned, box, inv, 0);
//   pyramid.levels().sumUpTo(bound, points.size()) >= sum          // if box holds place
//
// What a pixel adds is counted in levels (score_levels.hpp), a byte each. Table l holds the maxima
// of these bytes over windows of 2^l x 2^l pixels, for every place of the window
// (window_maxima.hpp); outside the picture a pixel adds nothing. The levels of windows that hold
// the pixels of all points add up to a bound of the score.
//
// Indices. scanScore cuts offsets towards zero, so that its pixel 0 is two pixels wide. Here
// columns and rows are told apart by an index that is the floor of the offset (one less for a
// negative whole number): pixel 0 has the indices -1 and 0, pixels before it one less than their
// own.
//
// Why the window holds the pixel. For one heading, a point's pixel is a chain of float operations,
// monotone in the pose's x, or y, each: adding the turned point's coordinate, scaling, adding a
// half, cutting. Each rounds to nearest or cuts, and so keeps the order. So the pixels at the two
// ends of a range of poses, computed by the same operations, enclose those of all between. Should
// the pixel of an end be no number, the picture's end stands for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "src/score_levels.hpp"
#include "src/window_maxima.hpp"

namespace Brin {

// Distances in a rectangle of a picture; outside it nothing matches.
struct DistanceArea {
  const float* pixels;
  std::ptrdiff_t stride;  // pixels from one row to the next
  std::int32_t width;
  std::int32_t height;
  std::int32_t left;  // of the first column and row, counted from the picture's centre pixel
  std::int32_t top;

  float at(std::int32_t row, std::int32_t col) const {
    return pixels[(row - top) * stride + (col - left)];
  }
};

// A heading, as scanScore takes it.
struct Turn {
  float sine;
  float cosine;

  float x(const Point2D& p) const { return p.x * cosine - p.y * sine; }
  float y(const Point2D& p) const { return p.x * sine + p.y * cosine; }
};

// Points turned by a heading, in any order, metres. None is infinite or not a number: such a point
// is off the picture wherever the pose is.
struct TurnedPoints {
  const float* x;
  const float* y;
  std::size_t count;
};

// The ends of the ranges that the places of a block of poses lie in, in the order in which they
// give pixels: `low` those of the lowest column and row. Metres in the picture's frame.
struct PlaceBox {
  float lowX;
  float highX;
  float lowY;
  float highY;
};

// Where a point falls as seen from the first pose of a block: on the pixel of these indices, or up
// to `moreCols` and `moreRows` (0 or 1) farther, as rounding has it.
struct PixelPoint {
  std::int32_t col;
  std::int32_t row;
  std::int32_t moreCols;
  std::int32_t moreRows;
};

// Blocks of poses, four by four, each moving points over squares of 2^level pixels that lie side by
// side; the first one's is (col, row) pixels from where the points are.
struct SixteenBlocks {
  int level;
  std::int32_t col;
  std::int32_t row;
};

// The indices of the columns and rows that something is added in.
struct IndexArea {
  std::int32_t left;
  std::int32_t top;
  std::int32_t width;
  std::int32_t height;
};

class ScorePyramid {
 public:
  static constexpr int kTop = 6;  // the table of the widest windows, if the picture is as wide

  // Takes what it needs of the area. Linear in its pixels; std::bad_alloc without memory.
  ScorePyramid(const DistanceArea& area, float cutOff);

  // The most that a pixel adds; 0 where nothing does, and then there are no tables.
  float most() const { return most_; }
  const ScoreLevels& levels() const { return levels_; }
  IndexArea area() const { return {left_, top_, width_, height_}; }
  int tables() const { return static_cast<int>(tables_.size()); }

  // The sum that scanScore makes at a heading and a place in the picture, the points in their
  // order.
  float sumAt(const std::vector<Point2D>& points, const Turn& turn, const Point2D& place,
              float inv) const;

  // A bound, in levels, of the sums at all places in the box, by table `level`, or the last one
  // there is. It is best where the places move no point by more pixels than the table's windows
  // have, and right anyway. Once it is sure to stay below `needed`, any bound below that comes
  // back.
  std::int64_t boundOver(int level, const TurnedPoints& points, const PlaceBox& box, float inv,
                         std::int64_t needed) const;

  // Adds to `bounds` those of sixteen blocks, four by four, row by row, by a table that there is.
  // Once all are sure to stay below `needed` when `pending` levels are added, points are left out,
  // and the return value is false.
  bool addBounds(const SixteenBlocks& blocks, const std::vector<PixelPoint>& points,
                 std::int64_t needed, std::int64_t bounds[16]) const;

 private:
  struct Span {
    std::int32_t first;
    std::int32_t last;
  };

  static Span spanOf(float low, float high, std::int32_t begin);
  std::int32_t levelsOver(const WindowMaxima& table, const TurnedPoints& points,
                          const PlaceBox& box, float inv) const;
  std::int32_t levelsOverAvx2(const WindowMaxima& table, const TurnedPoints& points,
                              const PlaceBox& box, float inv) const;
  std::int32_t levelOver(const WindowMaxima& table, const TurnedPoints& points, std::size_t i,
                         const PlaceBox& box, float inv) const;
  std::int32_t levelOver(const WindowMaxima& table, Span cols, Span rows) const;
  std::int32_t levelOverWide(const WindowMaxima& table, Span cols, Span rows) const;

  std::int32_t left_ = 0;  // the indices of the first column and row
  std::int32_t top_ = 0;
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  float most_ = 0.0f;
  ScoreLevels levels_{0.0f};
  std::vector<float> addends_;
  std::vector<WindowMaxima> tables_;
};

}  // namespace Brin
