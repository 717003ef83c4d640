#include "korrin/path_upsample.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace Brin {
namespace {

std::int64_t distance(std::int32_t a, std::int32_t b) { return std::abs(std::int64_t{b} - a); }

// How many cells the line from `a` has before it reaches `b`.
std::int64_t segmentLength(const Pose2Di& a, const Pose2Di& b) {
  return std::max(distance(a.x, b.x), distance(a.y, b.y));
}

// The cells of the whole path, at most `limit`.
std::uint64_t pathLength(const std::vector<Pose2Di>& path, std::uint64_t limit) {
  std::uint64_t cells = 1;
  for (std::size_t i = 0; i + 1 < path.size() && cells < limit; ++i) {
    cells += static_cast<std::uint64_t>(segmentLength(path[i], path[i + 1]));
  }
  return std::min(cells, limit);
}

// One coordinate on its way from `from` to `to`, `length` cells apart, in `steps` >= length steps.
// It moves in the steps in which its error is not negative, which for length = steps is always. A
// branch would be guessed wrong every few cells; the sign, spread over all bits, is not.
class Axis {
 public:
  Axis(std::int32_t from, std::int32_t to, std::int64_t length, std::int64_t steps)
      : at_(static_cast<std::uint32_t>(from)),
        sign_(to > from ? 1 : -1),
        error_(2 * length - steps),
        twiceSteps_(2 * steps),
        change_(2 * length - 2 * steps) {}

  std::int32_t at() const { return static_cast<std::int32_t>(at_); }

  void next() {
    const std::int64_t stays = -std::int64_t{error_ < 0};
    at_ += static_cast<std::uint32_t>(~stays & sign_);
    error_ += change_ + (stays & twiceSteps_);
  }

 private:
  std::uint32_t at_;  // modulo 2^32: the steps past a line's end may lead off the plane
  std::int32_t sign_;
  std::int64_t error_;
  std::int64_t twiceSteps_;
  std::int64_t change_;
};

// Writes the cells of the line from `a` up to, but without, `b` and returns the place after them.
// There is room up to `end`. Of a line as short as those that planners make, three cells are
// written whatever their number is, for what comes next to write over: a loop that ends now here,
// now there takes longer.
Pose2Di* drawSegment(const Pose2Di& a, const Pose2Di& b, Pose2Di* next, const Pose2Di* end) {
  constexpr int kShort = 3;
  const std::int64_t steps = segmentLength(a, b);
  Axis x(a.x, b.x, distance(a.x, b.x), steps);
  Axis y(a.y, b.y, distance(a.y, b.y), steps);
  const auto draw = [&](Pose2Di* cell) {
    *cell = Pose2Di(x.at(), y.at(), 0.0f);
    x.next();
    y.next();
  };
  if (steps <= kShort && end - next >= kShort) {
    for (int i = 0; i < kShort; ++i) draw(next + i);
  } else {
    for (std::int64_t i = 0; i < steps; ++i) draw(next + i);
  }
  return next + steps;
}

}  // namespace

void pathUpSample(const std::vector<Pose2Di>& in, std::vector<Pose2Di>& out) {
  if (&in == &out) {
    const std::vector<Pose2Di> copy(in);
    return pathUpSample(copy, out);
  }
  // Cells come from pairs: a single one gives none. This is intended.
  if (in.size() < 2) return out.clear();
  // Beyond what a vector can hold, one too many makes it fail as it does for any such size.
  const std::uint64_t tooMany = std::uint64_t{out.max_size()} + 1;
  const auto count = static_cast<std::size_t>(pathLength(in, tooMany));
  // Nothing needs to be carried over to new memory, nor cleared in memory that is there.
  if (count > out.capacity()) out.clear();
  out.resize(count);
  Pose2Di* next = out.data();
  const Pose2Di* end = next + count;
  for (std::size_t i = 0; i + 1 < in.size(); ++i) next = drawSegment(in[i], in[i + 1], next, end);
  *next = Pose2Di(in.back().x, in.back().y, 0.0f);
}

}  // namespace Brin
