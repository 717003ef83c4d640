// Where the readings of a scan fall on a distance map: the pixels of scanPixel, four at a time.
//
// korrin_model::scanScore takes a sine and a cosine in double precision for each reading and pose,
// which is most of its work. But all that matters of them is a pixel. Here they are computed in
// float, with a bound on how far the offset can be from the exact one; only where a border between
// two pixels lies within that bound (about one reading in 500) is scanPixel asked. So no pixel ever
// differs.
//
// The bound. An offset is v = (c * range + p) * inv + 0.5, with c a sine or cosine that is off by
// at most 2^-20; each of the four operations rounds by at most 2^-24 of its result. Together
// |range * inv| (2^-20 + 4 * 2^-24) + |p * inv| 3 * 2^-24 + 2^-24, and the bound is
// 2^-19 ((|range| + |p|) |inv| + 1), which leaves room for its own rounding too.
//
// A scan that is placed at many poses (TurnedScan) needs its points once and a rotation for each
// pose. The bearing that scanPixel uses is a rounded sum, off by up to 2^-21 while angle and
// heading are at most 8; the roundings of the points, of the heading's sine and cosine and of the
// rotation add less than 5 * 2^-24. That is as much as a sine is off above: the same bound holds.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "core/lanes.hpp"
#include "core/scan_pixel.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"
#include "src/pixel_lookup.hpp"

namespace Brin {

inline Floats allFloats(float value) { return Floats{value, value, value, value}; }

inline Ints bitsOf(Floats v) { return reinterpret_cast<Ints>(v); }
inline Floats withBits(Ints v) { return reinterpret_cast<Floats>(v); }

inline Floats absoluteOf(Floats v) { return withBits(bitsOf(v) & all(0x7fffffff)); }

// Added and taken away again, it rounds a float below 2^22 to the nearest whole number, which the
// last bits of the sum count.
constexpr float kRounder = 12582912.0f;  // 1.5 * 2^23

struct SineCosine {
  Floats sine;
  Floats cosine;
};

// To within 2^-20 for angles up to kLargestAngle; any numbers at all beyond. Whole quarter turns
// are taken off the angle, and for the rest, at most an eighth of a turn, the Taylor series up to
// the seventh and eighth power leave out less than 2^-21.
constexpr float kLargestAngle = 16.0f;
inline SineCosine sineCosine(Floats angle) {
  const Floats counter = angle * 0.636619772f + kRounder;
  const Floats turns = counter - kRounder;  // quarter turns
  // A quarter turn in two parts, the first with few enough digits for an exact product.
  const Floats r = (angle - turns * 1.5703125f) - turns * 4.83826795e-4f;
  const Floats s = r * r;
  const Floats sine = r + r * s * (-1.0f / 6 + s * (1.0f / 120 + s * (-1.0f / 5040)));
  const Floats cosine =
      1.0f + s * (-0.5f + s * (1.0f / 24 + s * (-1.0f / 720 + s * (1.0f / 40320))));
  const Ints quarter = bitsOf(counter);
  const Ints isOdd = (quarter & 1) != 0;
  const Ints sineSign = (quarter & 2) << 30;
  const Ints cosineSign = ((quarter + 1) & 2) << 30;
  return {withBits(bitsOf(choose(isOdd, cosine, sine)) ^ sineSign),
          withBits(bitsOf(choose(isOdd, sine, cosine)) ^ cosineSign)};
}

// Whether each offset is farther than `bound` from any border between pixels: borders lie at whole
// numbers. Never for what is not a number.
inline Ints isClearOfBorders(Floats offset, Floats bound) {
  return absoluteOf(offset - ((offset + kRounder) - kRounder)) > bound;
}

// Puts four offsets into the block, but where a border is near, those of the pixel that `literal`
// gives for the lane.
template <typename Literal>
void settle(PixelBlock& block, int at, Floats x, Floats y, Ints isClear, Literal literal) {
  store(block.x + at, x);
  store(block.y + at, y);
  if (!anyLane(~isClear)) return;
  for (int lane = 0; lane < kLanes; ++lane) {
    if (isClear[lane] != 0) continue;
    const PixelOffset pixel = literal(lane);
    block.x[at + lane] = static_cast<float>(pixel.col);
    block.y[at + lane] = static_cast<float>(pixel.row);
  }
}

// How far an offset can be from the exact one: `perMetre` for each metre of range, and `least`.
struct BorderBound {
  float perMetre;
  float least;

  BorderBound(const Pose2D& pose, float inv) : perMetre(std::fabs(inv) * 0x1p-19f) {
    const float away = std::max(std::fabs(pose.x), std::fabs(pose.y));
    least = away * perMetre + 0x1p-19f;
  }
  Floats of(Floats range) const { return absoluteOf(range) * perMetre + least; }
};

inline bool isVisited(const RangeReading& reading) { return reading.status != 1; }

// The readings of a scan at one pose, block by block; those without a hit are passed over.
class BeamSource {
 public:
  BeamSource(const std::vector<RangeReading>& readings, const Pose2D& pose, float inv, int step)
      : readings_(readings.data()),
        left_(visitedOf(readings.size(), step)),
        step_(step),
        pose_(pose),
        inv_(inv),
        bound_(pose, inv) {}

  // Places the next readings and returns how many; 0 at the end.
  int fill(PixelBlock& block) {
    int count = 0;
    for (; count < PixelBlock::kSize && left_ > 0; --left_) {
      beams_[count] = readings_;
      if (isVisited(*readings_)) ++count;
      if (left_ > 1) readings_ += step_;  // to a reading that is there, never past the end
    }
    for (int i = count; i % kLanes != 0; ++i) beams_[i] = beams_[count - 1];
    for (int i = 0; i < count; i += kLanes) place(block, i);
    return count;
  }

 private:
  void place(PixelBlock& block, int at) const {
    const RangeReading* const* beam = beams_ + at;
    const Floats range{beam[0]->range, beam[1]->range, beam[2]->range, beam[3]->range};
    const Floats angle{beam[0]->angle, beam[1]->angle, beam[2]->angle, beam[3]->angle};
    const Floats bearing = angle + pose_.theta;
    const SineCosine turn = sineCosine(bearing);
    const Floats x = (turn.cosine * range + pose_.x) * inv_ + 0.5f;
    const Floats y = (pose_.y + turn.sine * range) * inv_ + 0.5f;
    const Floats bound = bound_.of(range);
    const Ints isClear = isClearOfBorders(x, bound) & isClearOfBorders(y, bound) &
                         (absoluteOf(bearing) <= kLargestAngle);
    settle(block, at, x, y, isClear, [&](int lane) { return scanPixel(*beam[lane], pose_, inv_); });
  }

  const RangeReading* readings_;
  std::size_t left_;
  std::ptrdiff_t step_;
  Pose2D pose_;
  float inv_;
  BorderBound bound_;
  const RangeReading* beams_[PixelBlock::kSize];
};

// The visited readings of a scan, prepared to be placed at any number of poses.
class TurnedScan {
 public:
  static constexpr float kLargestTurn = 8.0f;  // of an angle, and of a heading

  TurnedScan(const std::vector<RangeReading>& readings, int step) {
    const std::size_t visits = visitedOf(readings.size(), step);
    for (std::size_t i = 0; i < visits; ++i) {
      const RangeReading& reading = readings[i * static_cast<std::size_t>(step)];
      if (isVisited(reading)) add(reading);
    }
    size_ = beams_.size();
    while (beams_.size() % kLanes != 0) add(*beams_.back());
  }

  // The scan at one pose whose heading is at most kLargestTurn, block by block. The scan and its
  // readings must still be there.
  class Source {
   public:
    Source(const TurnedScan& scan, const Pose2D& pose, float inv)
        : scan_(scan),
          pose_(pose),
          inv_(inv),
          sine_(std::sin(pose.theta)),
          cosine_(std::cos(pose.theta)),
          bound_(pose, inv) {}

    int fill(PixelBlock& block) {
      const std::size_t left = scan_.size_ - next_;
      const auto count = static_cast<int>(std::min(left, std::size_t{PixelBlock::kSize}));
      for (int i = 0; i < count; i += kLanes) place(block, i, next_ + static_cast<std::size_t>(i));
      next_ += static_cast<std::size_t>(count);
      return count;
    }

   private:
    void place(PixelBlock& block, int at, std::size_t first) const {
      const auto px = load<Floats>(&scan_.x_[first]);
      const auto py = load<Floats>(&scan_.y_[first]);
      const Floats x = (px * cosine_ - py * sine_ + pose_.x) * inv_ + 0.5f;
      const Floats y = (px * sine_ + py * cosine_ + pose_.y) * inv_ + 0.5f;
      const Floats bound = bound_.of(load<Floats>(&scan_.reach_[first]));
      settle(block, at, x, y, isClearOfBorders(x, bound) & isClearOfBorders(y, bound),
             [&](int lane) {
               return scanPixel(*scan_.beams_[first + static_cast<std::size_t>(lane)], pose_, inv_);
             });
    }

    const TurnedScan& scan_;
    std::size_t next_ = 0;
    Pose2D pose_;
    float inv_;
    float sine_;
    float cosine_;
    BorderBound bound_;
  };

 private:
  void add(const RangeReading& reading) {
    const double angle = reading.angle;
    x_.push_back(static_cast<float>(reading.range * std::cos(angle)));
    y_.push_back(static_cast<float>(reading.range * std::sin(angle)));
    // An infinite reach makes no border clear.
    const bool isBounded = std::fabs(reading.angle) <= kLargestTurn;
    reach_.push_back(isBounded ? reading.range : std::numeric_limits<float>::infinity());
    beams_.push_back(&reading);
  }

  // One entry a reading, with copies of the last to fill up four.
  std::vector<float> x_;
  std::vector<float> y_;
  std::vector<float> reach_;
  std::vector<const RangeReading*> beams_;
  std::size_t size_ = 0;
};

}  // namespace Brin
