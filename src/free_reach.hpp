// How far a line may go from a cell without meeting a blocked one: for every cell and each of the
// eight octants of directions, so that a ray needs a look at one cell in many.
//
//   FreeReach reach;
//   reach.refresh(*map.image, threshold);       // cells below the threshold are blocked
//   ReachWalk walk;
//   walk.aim(reach, line);
//   while (!walk.isAtEnd() && walk.leap()) {}
//   // walk.step() is the step of the first blocked cell, or line.length()
//
// Within an octant a line makes i steps along its longer axis and, in that time, 0 to i along the
// shorter one. The reach of a free cell is therefore one more than the smaller of those of the cell
// ahead and of the one diagonally ahead; beyond the map all is free. (A square around the cell, as
// distance maps have it, ends at the wall that a ray runs along; these wedges end where the ray
// does, and on an office floor take less than half as many leaps.)
//
// One byte a cell and octant. The planes of the octants along x are transposed, so that in every
// one a step along the longer axis is a row, and rows are worked out from the next one many cells
// at once.
#pragma once

#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "core/image_ptr.hpp"
#include "src/cell_line.hpp"
#include "src/inside_line.hpp"

namespace Brin {

class FreeReach {
 public:
  // Reaches are cut at this.
  static constexpr std::uint8_t kFarthest = 255;

  // Columns [left, right) and rows [top, bottom).
  struct Area {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
  };

  // The reaches within one octant: 0 in blocked cells.
  struct Plane {
    // The place of a cell, given along the octant's longer axis and along the shorter one. There is
    // a border of free places, one wide, so -1 and the map's size are fine.
    std::ptrdiff_t place(std::int32_t major, std::int32_t minor) const {
      return (std::ptrdiff_t{major} + 1) * stride + minor + 1;
    }

    std::vector<std::uint8_t> reaches;
    std::ptrdiff_t stride = 0;
  };

  // Works everything out anew.
  void refresh(const IplImage& image, float threshold) {
    if (!fits(image)) makeRoom(image);
    refresh(image, threshold, {0, 0, image.width, image.height});
  }

  // The same where only cells in `area`, a part of the image, have changed.
  void refresh(const IplImage& image, float threshold, const Area& area) {
    mark(image, threshold, area);
    for (std::int32_t octant = 0; octant < kOctants; ++octant) spread(octant, area);
  }

  // Whether this was made of an image of that size.
  bool fits(const IplImage& image) const {
    return image.width == size_.width && image.height == size_.height;
  }

  // For the octants that InsideLine tells.
  const Plane& plane(std::int32_t octant) const { return planes_[octant]; }

 private:
  static constexpr std::int32_t kOctants = 8;
  static constexpr std::int32_t kUpright = 0;     // the first octant along y
  static constexpr std::int32_t kTransposed = 4;  // the first octant along x

  static bool isAlongX(std::int32_t octant) { return (octant & 4) != 0; }
  static bool majorAscends(std::int32_t octant) { return (octant & 2) != 0; }
  static bool minorAscends(std::int32_t octant) { return (octant & 1) != 0; }

  // Coordinates [begin, end) along one axis of a plane.
  struct Span {
    std::int32_t begin;
    std::int32_t end;

    std::int32_t length() const { return end - begin; }

    // With all from where a reach may extend into it.
    Span withUpstream(bool ascends, std::int32_t size) const {
      if (ascends) return {std::max(begin - kFarthest, 0), end};
      return {begin, std::min(end + kFarthest, size)};
    }
  };

  void makeRoom(const IplImage& image) {
    size_ = {0, 0};  // fits nothing while memory may run out
    const std::int64_t places = (std::int64_t{image.width} + 2) * (std::int64_t{image.height} + 2);
    // More than an int counts are too many, however much memory there is. Compared without a sign,
    // so that compilers see that no count below zero is left either.
    const auto count = static_cast<std::uint64_t>(places);
    if (count > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    for (std::int32_t octant = 0; octant < kOctants; ++octant) {
      planes_[octant].stride = std::ptrdiff_t{isAlongX(octant) ? image.height : image.width} + 2;
      planes_[octant].reaches.assign(static_cast<std::size_t>(count), kFarthest);
    }
    size_ = {image.width, image.height};
  }

  static Span majorSpan(const Area& area, std::int32_t octant) {
    return isAlongX(octant) ? Span{area.left, area.right} : Span{area.top, area.bottom};
  }
  static Span minorSpan(const Area& area, std::int32_t octant) {
    return isAlongX(octant) ? Span{area.top, area.bottom} : Span{area.left, area.right};
  }

  // Puts 0 into blocked cells and 1 into free ones, in one plane of each kind, where the others
  // look for them. In tiles, so that the cells of a column stay in the cache while they are
  // written.
  void mark(const IplImage& image, float threshold, const Area& area) {
    constexpr std::int32_t kTile = 64;
    for (std::int32_t top = area.top; top < area.bottom; top += kTile) {
      for (std::int32_t left = area.left; left < area.right; left += kTile) {
        markTile(
            image, threshold,
            {left, top, std::min(left + kTile, area.right), std::min(top + kTile, area.bottom)});
      }
    }
  }

  void markTile(const IplImage& image, float threshold, const Area& tile) {
    Plane& upright = planes_[kUpright];
    Plane& transposed = planes_[kTransposed];
    for (std::int32_t y = tile.top; y < tile.bottom; ++y) {
      const float* row = imageRow<float>(image, y);
      std::uint8_t* along = upright.reaches.data() + upright.place(y, 0);
      std::uint8_t* across = transposed.reaches.data() + transposed.place(0, y);
      for (std::int32_t x = tile.left; x < tile.right; ++x) {
        const std::uint8_t isFree = threshold > row[x] ? 0 : 1;
        along[x] = isFree;
        across[x * transposed.stride] = isFree;
      }
    }
  }

  // Works out the reaches that depend on `area`, from the far end on.
  void spread(std::int32_t octant, const Area& area) {
    Plane& plane = planes_[octant];
    const Plane& marked = planes_[isAlongX(octant) ? kTransposed : kUpright];
    const bool ascends = majorAscends(octant);
    const std::int32_t majorSize = isAlongX(octant) ? size_.width : size_.height;
    const std::int32_t minorSize = isAlongX(octant) ? size_.height : size_.width;
    const Span majors = majorSpan(area, octant).withUpstream(ascends, majorSize);
    const Span minors = minorSpan(area, octant).withUpstream(minorAscends(octant), minorSize);
    for (std::int32_t i = 0; i < majors.length(); ++i) {
      const std::int32_t major = ascends ? majors.end - 1 - i : majors.begin + i;
      const std::ptrdiff_t place = plane.place(major, minors.begin);
      std::uint8_t* row = plane.reaches.data() + place;
      if (&plane != &marked) std::copy_n(marked.reaches.data() + place, minors.length(), row);
      const std::uint8_t* ahead = row + (ascends ? plane.stride : -plane.stride);
      spreadRow(row, ahead, minorAscends(octant) ? ahead + 1 : ahead - 1, minors.length());
    }
  }

  // One row from those ahead: `ahead` straight, `diagonal` one place aside. Places of 0 are blocked
  // and stay so.
  static void spreadRow(std::uint8_t* __restrict row, const std::uint8_t* ahead,
                        const std::uint8_t* diagonal, std::int32_t count) {
    for (std::int32_t i = 0; i < count; ++i) {
      const std::uint8_t least = std::min(ahead[i], diagonal[i]);
      const auto reach = static_cast<std::uint8_t>(least + (least < kFarthest ? 1 : 0));
      row[i] = row[i] == 0 ? std::uint8_t{0} : reach;
    }
  }

  CellRect size_{0, 0};
  Plane planes_[kOctants];
};

// A walk along a line by leaps over free cells. Nothing is set before aim: walks are made by the
// batch.
class ReachWalk {
 public:
  void aim(const FreeReach& reach, const InsideLine& line) {
    const FreeReach::Plane& plane = reach.plane(line.octant());
    start_ = plane.reaches.data() + plane.place(line.majorStart(), 0);
    rowStep_ = line.majorSign() * plane.stride;
    position_ = line.position();
    slope_ = line.slope();
    length_ = line.length();
    step_ = 0;
  }

  bool isAtEnd() const { return step_ >= length_; }

  // Leaps as far as the current cell lets, which must not be the end. False when that was not at
  // all, or when the end is reached.
  bool leap() {
    const std::int64_t minor = (position_ + step_ * slope_) >> InsideLine::kFraction;
    const std::int64_t reach = start_[static_cast<std::ptrdiff_t>(step_ * rowStep_ + minor)];
    step_ += reach;
    // No branch between the two, so that walks can take turns without one that goes astray.
    return (static_cast<unsigned>(reach != 0) & static_cast<unsigned>(step_ < length_)) != 0;
  }

  // Leaves a blocked cell.
  void pass() { ++step_; }

  std::int64_t step() const { return std::min(step_, length_); }

 private:
  const std::uint8_t* start_;
  std::ptrdiff_t rowStep_;
  std::int64_t position_;
  std::int64_t slope_;
  std::int64_t length_;
  std::int64_t step_;
};

}  // namespace Brin
