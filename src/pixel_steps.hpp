// Grids whose step is a power of two times a pixel: where a point falls as seen from one pose tells
// where it falls from all others, but for what rounding does.
//
//   const PixelSteps steps(grid, frame, inv, picture);
//   if (steps.areWhole()) ... steps.add(x, y, points) ...
//
// Let v be the offset of a point in pixels, a half added, as scanScore computes it for the i-th
// pose along an axis, and V that offset without any rounding: a + i * r, where r = step * inv is
// near m = 2^shift(). Six of the operations round: i * step, adding the centre, subtracting the
// origin, adding the point, scaling, adding a half. (The number i is a float, and a frame that is
// not turned multiplies by 1 and adds 0.) Each errs by 2^-24 of its result at most; none of the
// first four results is above A + |point| metres, where A is the sum of the sizes of all that is
// added. So |v - V| <= e = 2^-23 * (4 * (A + |point|) * inv + 1), twice what it has to be, which
// covers the errors of errors and those of the double precision used here. Then
// v - i * m lies in [a - e, a + e + n * (r - m)], or the other way round, and the floors of its
// ends are the indices between which that of v is, less i * m.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "src/picture_frame.hpp"
#include "src/score_pyramid.hpp"

namespace Brin {

class PixelSteps {
 public:
  PixelSteps(const PoseGrid& grid, const PictureFrame& frame, float inv, const IndexArea& picture)
      : inv_(inv), pixels_(static_cast<double>(grid.step) * static_cast<double>(inv)) {
    shift_ =
        pixels_ > 0.75 && pixels_ < 128.0 ? static_cast<int>(std::lround(std::log2(pixels_))) : 0;
    const Pose2D& origin = frame.origin();
    x_ = axisOf(grid.centre.x, origin.x, grid.shiftsX(), grid.step);
    y_ = axisOf(grid.centre.y, origin.y, grid.shiftsY(), grid.step);
    x_.setPicture(picture.left, picture.width, shift_);
    y_.setPicture(picture.top, picture.height, shift_);
    areWhole_ = inv > 1e-6f && inv < 1e6f && !frame.isTurned() && isWhole(x_) && isWhole(y_);
  }

  bool areWhole() const { return areWhole_; }
  int shift() const { return shift_; }

  // Appends where a turned point falls as seen from the grid's first pose, unless it is off the
  // picture from all poses; false if rounding leaves it open by more than a pixel.
  bool add(float x, float y, std::vector<PixelPoint>& points) const {
    const Span cols = spanOf(x_, static_cast<double>(x));
    const Span rows = spanOf(y_, static_cast<double>(y));
    if (x_.isOff(cols) || y_.isOff(rows)) return true;
    if (cols.last - cols.first > 1.0 || rows.last - rows.first > 1.0) return false;
    points.push_back({static_cast<std::int32_t>(cols.first), static_cast<std::int32_t>(rows.first),
                      static_cast<std::int32_t>(cols.last - cols.first),
                      static_cast<std::int32_t>(rows.last - rows.first)});
    return true;
  }

 private:
  struct Span {  // of indices
    double first;
    double last;
  };
  struct Axis {
    double first;  // place of the first pose in the picture, metres
    double size;   // A above
    double poses;
    double drift;         // pixels, over the whole grid
    double lowest = 0.0;  // indices from the first pose that are on the picture from some pose
    double highest = 0.0;

    void setPicture(std::int32_t begin, std::int32_t count, int shift) {
      lowest = begin - std::ldexp(poses - 1.0, shift);
      highest = static_cast<double>(begin) + count - 1.0;
    }
    bool isOff(const Span& span) const { return span.last < lowest || span.first > highest; }
  };

  Axis axisOf(float centre, float origin, std::int32_t shifts, float step) const {
    const double reach = static_cast<double>(shifts) * static_cast<double>(step);
    const double place = static_cast<double>(centre) - static_cast<double>(origin);
    const double poses = 2.0 * shifts + 1.0;
    const double size =
        std::fabs(static_cast<double>(centre)) + std::fabs(static_cast<double>(origin)) + reach;
    return {place - reach, size, poses, (poses - 1.0) * (pixels_ - std::ldexp(1.0, shift_))};
  }

  // Whether it is worth it. Nothing gets too large then: so small an error means that the
  // grid reaches less than 2^19 pixels each way, and so small a drift that no step is much less
  // than one.
  bool isWhole(const Axis& axis) const {
    return std::fabs(axis.drift) < 0.25 && errorOf(axis, 0.0) < 0.25;
  }

  Span spanOf(const Axis& axis, double point) const {
    const double inv = static_cast<double>(inv_);
    const double error = errorOf(axis, point);
    const double offset = (axis.first + point) * inv + 0.5;
    return {std::floor(offset + std::min(axis.drift, 0.0) - error),
            std::floor(offset + std::max(axis.drift, 0.0) + error)};
  }

  double errorOf(const Axis& axis, double point) const {
    const double inv = static_cast<double>(inv_);
    return std::ldexp(4.0 * (axis.size + std::fabs(point)) * inv + 1.0, -23);
  }

  float inv_;
  double pixels_;  // a step
  int shift_ = 0;
  Axis x_{};
  Axis y_{};
  bool areWhole_ = false;
};

}  // namespace Brin
