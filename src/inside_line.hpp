// The cells of a line that starts inside an image, addressed at once: the fast form of CellLine,
// for beams and rays.
//
//   if (InsideLine::canWalk(image, from, to)) {
//     InsideLine line;
//     line.aim(image, from, to);
//     std::int64_t k = line.walk<const float>(image, 0, [](float cell) { return cell < 0.5f; });
//     // stopped at the cell (line.x(k), line.y(k)), or k == line.length()
//   }
//
// Why: a walk that decides at every cell whether to step aside, and whether it is still inside,
// takes each decision after the last one. Here the line is clipped beforehand, and the k-th cell
// comes straight from k by fixed-point arithmetic, so that the processor works on many cells at
// once.
//
// Why it is exact: after k steps along the longer axis (a cells long), the walk has made
// floor(k b / a + 1/2) steps along the shorter one (b cells long). Here b / a is rounded up to a
// multiple of 2^-44, which adds less than k 2^-44 to the sum. The sum is a multiple of 1 / (2 a),
// so its floor stays the same while k 2^-44 <= 1 / (2 a); with k <= a < 2^19 that holds by far.
// Towards lower coordinates the steps are subtracted: start - floor(s) is floor(start + 1 - 2^-44 -
// s) for a multiple s of 2^-44, hence the start one unit below the half.
#pragma once

#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

#include "korrin/core/geometry.hpp"

namespace Brin {

class InsideLine {
 public:
  // Whether `from` is a cell of `image`, and no side of the image or of the line reaches 2^19
  // cells. Any other line is one for CellLine.
  static bool canWalk(const IplImage& image, Point2Di from, Point2Di to) {
    constexpr std::int64_t kTooLong = 1 << 19;
    const std::int64_t dx = std::int64_t{to.x} - from.x;
    const std::int64_t dy = std::int64_t{to.y} - from.y;
    return contains(image, from) && std::max(image.width, image.height) < kTooLong &&
           std::max(std::abs(dx), std::abs(dy)) < kTooLong;
  }

  // Makes this the line from `from` to `to`, in place: lines are prepared by the batch, and a copy
  // right after the fields are written makes the processor wait.
  void aim(const IplImage& image, Point2Di from, Point2Di to) {
    const std::int32_t dx = to.x - from.x;
    const std::int32_t dy = to.y - from.y;
    alongX_ = std::abs(dx) > std::abs(dy);
    const std::int64_t a = std::max(std::abs(dx), std::abs(dy));
    const std::int64_t b = std::min(std::abs(dx), std::abs(dy));
    majorSign_ = (alongX_ ? dx : dy) > 0 ? 1 : -1;
    majorStart_ = alongX_ ? from.x : from.y;
    const std::int32_t minorAscends = (alongX_ ? dy : dx) >= 0 ? 1 : 0;
    octant_ = (alongX_ ? 4 : 0) + (majorSign_ > 0 ? 2 : 0) + minorAscends;
    const std::int64_t minorStart = alongX_ ? from.y : from.x;
    position_ = minorStart * kOne + (minorAscends != 0 ? kOne / 2 : kOne / 2 - 1);
    slope_ = a == 0 ? 0 : (b * kOne + a - 1) / a * (minorAscends != 0 ? 1 : -1);
    length_ = a;
    if (!contains(image, to)) {
      const std::int64_t xRoom = dx > 0 ? image.width - from.x : from.x + 1;
      const std::int64_t yRoom = dy > 0 ? image.height - from.y : from.y + 1;
      clip(a, b, alongX_ ? xRoom : yRoom, alongX_ ? yRoom : xRoom);
    }
  }

  // How many cells the walk has: from the start cell to the last before the end cell, or to the
  // last inside the image.
  std::int64_t length() const { return length_; }

  // The cell after k steps; k = length() gives the end cell or the first cell outside.
  std::int32_t x(std::int64_t k) const { return alongX_ ? major(k) : minor(k); }
  std::int32_t y(std::int64_t k) const { return alongX_ ? minor(k) : major(k); }

  // Its direction to an eighth of a turn: 4 when its longer axis is x, plus 2 when coordinates grow
  // along that axis, plus 1 when they grow along the other.
  std::int32_t octant() const { return octant_; }

  // The walk in the numbers it is made of: after k steps it is at majorStart() + k * majorSign()
  // along the longer axis and at (position() + k * slope()) >> kFraction along the other.
  static constexpr int kFraction = 44;
  std::int32_t majorStart() const { return majorStart_; }
  std::int32_t majorSign() const { return majorSign_; }
  std::int64_t position() const { return position_; }
  std::int64_t slope() const { return slope_; }

  // Calls visit(pixel) for the pixels of the walk from step `first` on until it returns true.
  // Returns the step at which it did, or length().
  template <typename Pixel, typename Visit>
  std::int64_t walk(const IplImage& image, std::int64_t first, Visit visit) const {
    const std::ptrdiff_t rowBytes = image.widthStep;
    if (!alongX_) {
      char* const row = image.imageData + major(first) * rowBytes;
      return walkMajor(first, row, majorSign_ * rowBytes, [=](char* at, std::ptrdiff_t x) {
        return visit(reinterpret_cast<Pixel*>(at)[x]);
      });
    }
    constexpr std::ptrdiff_t kPixelBytes = sizeof(Pixel);
    char* const column = image.imageData + major(first) * kPixelBytes;
    const auto visitAt = [=](char* at, std::ptrdiff_t y) {
      return visit(*reinterpret_cast<Pixel*>(at + y * rowBytes));
    };
    // Steps that the compiler knows save it a register and an addition each.
    using Right = std::integral_constant<std::ptrdiff_t, kPixelBytes>;
    using Left = std::integral_constant<std::ptrdiff_t, -kPixelBytes>;
    return majorSign_ > 0 ? walkMajor(first, column, Right{}, visitAt)
                          : walkMajor(first, column, Left{}, visitAt);
  }

 private:
  static constexpr std::int64_t kOne = std::int64_t{1} << kFraction;

  static bool contains(const IplImage& image, Point2Di cell) {
    return cell.x >= 0 && cell.y >= 0 && cell.x < image.width && cell.y < image.height;
  }

  void clip(std::int64_t a, std::int64_t b, std::int64_t majorRoom, std::int64_t minorRoom) {
    length_ = std::min(a, majorRoom);
    if (b >= minorRoom) {
      // The first k with floor(k b / a + 1/2) = room.
      length_ = std::min(length_, (a * (2 * minorRoom - 1) + 2 * b - 1) / (2 * b));
    }
  }

  std::int32_t major(std::int64_t k) const {
    return majorStart_ + majorSign_ * static_cast<std::int32_t>(k);
  }
  std::int32_t minor(std::int64_t k) const {
    return static_cast<std::int32_t>((position_ + k * slope_) >> kFraction);
  }

  // Calls visitAt(at, minor) for every step: `at` moves on by `stepBytes` along the longer axis,
  // and `minor` is the coordinate along the shorter one.
  template <typename Step, typename VisitAt>
  std::int64_t walkMajor(std::int64_t first, char* at, Step stepBytes, VisitAt visitAt) const {
    const std::int64_t length = length_;
    const std::int64_t slope = slope_;
    std::int64_t position = position_ + first * slope;
    const auto visitNext = [&] {
      const bool isStop = visitAt(at, static_cast<std::ptrdiff_t>(position >> kFraction));
      at += stepBytes;
      position += slope;
      return isStop;
    };
    // In blocks, which the compiler unrolls.
    constexpr int kBlock = 8;
    std::int64_t k = first;
    for (; k + kBlock <= length; k += kBlock) {
      for (int i = 0; i < kBlock; ++i) {
        if (visitNext()) return k + i;
      }
    }
    for (; k < length; ++k) {
      if (visitNext()) return k;
    }
    return length;
  }

  bool alongX_ = false;
  std::int32_t octant_ = 0;
  std::int32_t majorSign_ = 1;
  std::int32_t majorStart_ = 0;
  std::int64_t position_ = 0;  // along the shorter axis, of cells 2^-44 wide, plus a half
  std::int64_t slope_ = 0;     // its change with every step
  std::int64_t length_ = 0;
};

}  // namespace Brin
