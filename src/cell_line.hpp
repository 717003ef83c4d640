// The cells of a straight line on the grid (Bresenham 1965): which cells a ray, a beam or a path
// segment runs through, clipped to the map before the walk starts.
//
//   for (CellLine line(x0, y0, x1, y1, CellRect{width, height}); !line.done(); line.next())
//     visit(line.x(), line.y());
//
// The walk visits the start cell and every cell between, never the end cell. It goes along x only
// when |dx| > |dy|; an exact diagonal is walked along y. A cell of the line is reached after k
// steps along the major axis and floor((2 k b + a) / (2 a)) steps along the minor one, where a and
// b are the larger and the smaller difference; this closed form is what lets the walk start in
// the middle, at the very cells that a walk from the start would visit.
//
// Coordinates may be any 32-bit integers: differences are below 2^32, so all products here fit
// 64 bits.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Brin {

// Columns [0, width) and rows [0, height).
struct CellRect {
  std::int32_t width;
  std::int32_t height;

  bool contains(std::int64_t x, std::int64_t y) const {
    return x >= 0 && y >= 0 && x < width && y < height;
  }
};

class CellLine {
 public:
  // The part of the line from (x0, y0) to (x1, y1) that lies inside `rect`. A line meets a
  // rectangle in one run of cells, so this is that run.
  CellLine(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1, CellRect rect)
      : CellLine(x0, y0, x1, y1) {
    clip(rect);
  }

  // The whole line.
  CellLine(std::int32_t x0, std::int32_t y0, std::int32_t x1, std::int32_t y1) {
    const std::int64_t dx = std::int64_t{x1} - x0;
    const std::int64_t dy = std::int64_t{y1} - y0;
    alongX_ = magnitude(dx) > magnitude(dy);
    major_ = alongX_ ? Axis{x0, dx > 0 ? 1 : -1} : Axis{y0, dy > 0 ? 1 : -1};
    minor_ = alongX_ ? Axis{y0, dy > 0 ? 1 : -1} : Axis{x0, dx > 0 ? 1 : -1};
    majorLength_ = alongX_ ? magnitude(dx) : magnitude(dy);
    minorLength_ = alongX_ ? magnitude(dy) : magnitude(dx);
    end_ = majorLength_;
    startAt(0);
  }

  // Whether the line has no extent along its major axis, that is, no cell to visit at all.
  bool isEmpty() const { return majorLength_ == 0; }

  bool done() const { return step_ >= end_; }

  // How many cells are still to visit.
  std::uint64_t remaining() const { return done() ? 0 : end_ - step_; }

  // Whether the walk, clipped or not, ends at the line's own end cell.
  bool reachesEnd() const { return end_ == majorLength_; }

  // The current cell; after the last step, the first cell that is not visited.
  std::int32_t x() const { return static_cast<std::int32_t>(alongX_ ? major_.at : minor_.at); }
  std::int32_t y() const { return static_cast<std::int32_t>(alongX_ ? minor_.at : major_.at); }

  void next() {
    if (error_ >= 0) {
      minor_.at += minor_.sign;
      error_ -= 2 * static_cast<std::int64_t>(majorLength_);
    }
    major_.at += major_.sign;
    error_ += 2 * static_cast<std::int64_t>(minorLength_);
    ++step_;
  }

 private:
  struct Axis {
    std::int64_t at;
    std::int64_t sign;
  };

  static std::uint64_t magnitude(std::int64_t v) {
    return static_cast<std::uint64_t>(v < 0 ? -v : v);
  }

  // Minor steps made when `step` major ones are: floor((2 step b + a) / (2 a)).
  std::uint64_t minorSteps(std::uint64_t step) const {
    if (step == 0) return 0;  // most lines start here, and a division is slow
    const std::uint64_t product = step * minorLength_;
    const std::uint64_t remainder = product % majorLength_;
    return product / majorLength_ + (2 * remainder >= majorLength_ ? 1 : 0);
  }

  // The first major step at which `count` >= 1 minor steps are made: ceil(a (2 count - 1) / (2 b)).
  std::uint64_t firstStepWithMinor(std::uint64_t count) const {
    const std::uint64_t product = count * majorLength_;
    const auto remainder = static_cast<std::int64_t>(product % minorLength_);
    const std::int64_t numerator = 2 * remainder - static_cast<std::int64_t>(majorLength_);
    const auto denominator = 2 * static_cast<std::int64_t>(minorLength_);
    // Division truncates towards zero, which is the ceiling of what is not positive.
    const std::int64_t ceiling =
        numerator > 0 ? (numerator + denominator - 1) / denominator : numerator / denominator;
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(product / minorLength_) + ceiling);
  }

  // Puts the walk to the cell that `step` steps from the start reach.
  void startAt(std::uint64_t step) {
    const std::uint64_t minor = minorSteps(step);
    major_.at += major_.sign * static_cast<std::int64_t>(step);
    minor_.at += minor_.sign * static_cast<std::int64_t>(minor);
    // 2 b (step + 1) - a - 2 a minor, rearranged so that no product exceeds 64 bits.
    const auto a = static_cast<std::int64_t>(majorLength_);
    const auto b = static_cast<std::int64_t>(minorLength_);
    const auto behind = static_cast<std::int64_t>(step * minorLength_ - minor * majorLength_);
    error_ = 2 * behind + 2 * b - a;
    step_ = step;
  }

  // Narrows [first, end_) to the steps during which the coordinate that starts at `axis` and moves
  // `total` times lies in [0, size); `stepsTo(n)` is the first step at which it has moved n times.
  template <typename StepsTo>
  void narrow(const Axis& axis, std::int32_t size, std::uint64_t total, std::uint64_t& first,
              StepsTo stepsTo) {
    const std::int64_t toEnter = axis.sign > 0 ? -axis.at : axis.at - (size - 1);
    const std::int64_t toLeave = axis.sign > 0 ? size - axis.at : axis.at + 1;
    if (toLeave <= 0 || toEnter > static_cast<std::int64_t>(total)) {
      end_ = 0;
      return;
    }
    if (toEnter > 0) first = std::max(first, stepsTo(static_cast<std::uint64_t>(toEnter)));
    if (toLeave <= static_cast<std::int64_t>(total)) {
      end_ = std::min(end_, stepsTo(static_cast<std::uint64_t>(toLeave)));
    }
  }

  void clip(CellRect rect) {
    std::uint64_t first = 0;
    narrow(major_, alongX_ ? rect.width : rect.height, majorLength_, first,
           [](std::uint64_t n) { return n; });
    narrow(minor_, alongX_ ? rect.height : rect.width, minorLength_, first,
           [this](std::uint64_t n) { return firstStepWithMinor(n); });
    if (first >= end_) {
      step_ = end_ = 0;
    } else if (first > 0) {
      startAt(first);
    }
  }

  Axis major_{0, 1};
  Axis minor_{0, 1};
  bool alongX_ = false;
  std::uint64_t majorLength_ = 0;
  std::uint64_t minorLength_ = 0;
  std::int64_t error_ = 0;
  std::uint64_t step_ = 0;
  std::uint64_t end_ = 0;
};

}  // namespace Brin
