// Tells cheaply that two readings' points are no gap apart, without sine and cosine.
//
// Nearly all neighbours in a scan lie close together, and computing their points is most of the
// work of finding the few that do not. The points p and q of the readings (r, a) and (s, b) are at
// most |r - s| + |s| |a - b| apart: first along one beam, then along an arc. Where that is clearly
// below the width, the distance that computeNorm gives for p - q is below it too; everywhere else
// the caller computes it. So the holes are the same ones that korrin_model::findScanHoles finds by
// computing every distance.
//
// Why `clearly` covers all rounding: a sine or cosine is off by less than 2^-20 (a good library's
// by 2^-24), a coordinate by that times its range and 2^-24 more of it, so that both points
// together are off by less than 1e-5 (|r| + |s|), which is added to the bound. All other steps, up
// to the square root, round by a few times 2^-24 of values that the bound exceeds: far less than
// the 1e-4 taken off the width. Widths whose square overflows or loses digits are not screened, nor
// is anything that is not a number, as it fails the comparison.
#pragma once

#include <cmath>
#include <vector>

#include "core/lanes.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

class GapScreen {
 public:
  explicit GapScreen(float width)
      : clearlyBelow_(width > 1e-15f && width < 1e15f ? width * 0.9999f : 0.0f) {}

  // True only if the distance between the two readings' points, as float arithmetic gives it, is
  // below the width.
  bool areClose(const RangeReading& p, const RangeReading& q) const {
    const float along = std::fabs(p.range - q.range);
    const float across = std::fabs(q.range) * std::fabs(p.angle - q.angle);
    const float rounding = 1e-5f * (std::fabs(p.range) + std::fabs(q.range));
    return along + across + rounding < clearlyBelow_;
  }

  // The first of the readings `from` to `end` - 1 that is not close to the one before it, or `end`.
  // There is a reading before `from`.
  int firstApart(const std::vector<RangeReading>& readings, int from, int end) const {
    const RangeReading* reading = readings.data() + from;
    while (from + kLanes <= end && allClose(reading)) from += kLanes, reading += kLanes;
    while (from < end && areClose(reading[-1], *reading)) ++from, ++reading;
    return from;
  }

 private:
  // areClose of the four readings from `q` on and the ones before them.
  bool allClose(const RangeReading* q) const {
    const Floats r1{q[0].range, q[1].range, q[2].range, q[3].range};
    const Floats a1{q[0].angle, q[1].angle, q[2].angle, q[3].angle};
    const Floats r0{q[-1].range, q[0].range, q[1].range, q[2].range};
    const Floats a0{q[-1].angle, q[0].angle, q[1].angle, q[2].angle};
    const Floats bound = absolute(r0 - r1) + absolute(r1) * absolute(a0 - a1) +
                         1e-5f * (absolute(r0) + absolute(r1));
    return !anyLane(~(bound < clearlyBelow_));
  }
  static Floats absolute(Floats v) {
    return reinterpret_cast<Floats>(reinterpret_cast<Ints>(v) & all(0x7fffffff));
  }

  float clearlyBelow_;
};

}  // namespace Brin
