// Squared distances to the nearest obstacle, exact, as far as they matter.
//
//   NearObstacles<std::int16_t> near(map, threshold, reach, area);
//   near.toBand(top, bottom);
//   for (y = top; y < bottom; ++y) near.squaresOfRow(y, squares);
//
// Euclidean distances between cell centres, as whole numbers of squared cells. A band of rows
// first gets, for each cell, the distance to the nearest obstacle in its column, by a way down and
// a way up; then each row takes the least of those squares over the columns around a cell, each
// plus the square of how far that column is away (Saito and Toriwaki 1994). Many cells are worked
// out at once; they look at columns ever farther away only until none could bring any of them
// nearer, and where no obstacle is in reach not at all. Numbers of 16 bits serve most radii;
// twice as many of them are worked out at once.
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"
#include "src/cell_area.hpp"
#include "src/square_groups.hpp"

namespace Brin {

template <typename Number>
class NearObstacles {
 public:
  using Groups = SquareGroups<Number>;
  using Group = typename Groups::Group;

  // How far can be looked, in cells: the sum of the square of one more than that and of kFar must
  // be a Number.
  static constexpr std::int32_t kMostReach = sizeof(Number) == 2 ? 126 : 30000;
  // Beyond the reach.
  static constexpr Number kFar = static_cast<Number>(Number{1} << (8 * sizeof(Number) - 2));

  // For the cells of `area`, with the obstacles of the whole map: cells that are not at least at
  // the threshold. All memory is asked for here. Borrows the map's image.
  NearObstacles(const IplImage& map, float threshold, std::int32_t reach, CellArea area)
      : map_(map),
        threshold_(threshold),
        reach_(reach),
        area_(area),
        looked_(area.grownBy(reach, map.width, map.height)),
        bandRows_(std::max<std::int32_t>(96, 2 * reach)),
        stride_(wholeGroups(looked_.width()) + 2 * pad()),
        run_(wholeGroups(looked_.width())),
        lastDown_(run_.size()),
        band_(stride_ * static_cast<std::size_t>(std::min(bandRows_, area.height()))),
        nearBefore_(stride_ / kGroup + 1) {}

  // Into bands of how many rows the area is to be cut, at most.
  std::int32_t bandRows() const { return bandRows_; }

  // Prepares the rows [top, bottom) of the area. Bands that follow each other save a little time.
  void toBand(std::int32_t top, std::int32_t bottom) {
    top_ = top;
    goDown(top, bottom);
    goUp(top, bottom);
  }

  // For each column of the area, in row `y` of the band, the squared distance to the nearest
  // obstacle; kFar or more where none is in reach. There must be room for kGroup more than columns.
  // False when that is so everywhere; then nothing is written.
  bool squaresOfRow(std::int32_t y, Number* squares) {
    Number* const row = rowOf(y);
    if (!squareRow(row)) return false;
    std::int32_t x = 0;
    for (; x + (kAtOnce - 1) * kGroup < area_.width(); x += kAtOnce * kGroup) {
      squaresOfGroups<kAtOnce>(row, x, squares + x);
    }
    for (; x < area_.width(); x += kGroup) squaresOfGroups<1>(row, x, squares + x);
    return true;
  }

  static constexpr std::int32_t kGroup = Groups::kSize;

 private:
  // Groups that are worked out together: one branch that nobody can foresee serves them all.
  static constexpr std::int32_t kAtOnce = 4;

  static std::size_t wholeGroups(std::int32_t columns) {
    return (static_cast<std::size_t>(columns) + kGroup - 1) / kGroup * kGroup;
  }

  // Columns before and after a row of the band in which nothing is near.
  std::size_t pad() const { return wholeGroups(reach_) + kGroup; }

  Number* rowOf(std::int32_t y) {
    return band_.data() + static_cast<std::size_t>(y - top_) * stride_;
  }

  // One row on: how far the last obstacle of each column lies behind. Whole groups, while there are
  // columns; the last ones may hold anything.
  void stepDown(std::int32_t y) {
    const float* const cells = imageRow<float>(map_, y) + looked_.left;
    Number* const run = run_.data();
    const std::int32_t width = looked_.width();
    std::int32_t x = 0;
    for (; x + kGroup <= width; x += kGroup) {
      store(run + x, nextRun(load<Group>(run + x), isFree(cells + x)));
    }
    for (; x < width; ++x) {
      const auto far = static_cast<Number>(reach_ + 1);
      const Number next = run[x] < far ? static_cast<Number>(run[x] + 1) : far;
      run[x] = cells[x] >= threshold_ ? next : Number{0};
    }
  }

  // The same upwards, in a row of the band: by what the way down left there, which is 0 in
  // obstacles. Leaves there the lesser of both.
  void stepUp(Number* row) {
    Number* const run = run_.data();
    for (std::size_t x = 0; x < run_.size(); x += kGroup) {
      const auto down = load<Group>(row + x);
      const Group up = nextRun(load<Group>(run + x), down > Number{0});
      store(run + x, up);
      store(row + x, Groups::least(down, up));
    }
  }

  Group nextRun(Group run, Group isFree) const {
    return Groups::least(run + Number{1}, Groups::allOf(static_cast<Number>(reach_ + 1))) & isFree;
  }

  Group isFree(const float* cells) const {
    const Ints first = load<Floats>(cells) >= threshold_;
    if constexpr (sizeof(Number) == 2) {
      return narrow(first, load<Floats>(cells + kLanes) >= threshold_);
    } else {
      return first;
    }
  }

  static Group narrow(Ints first, Ints second) {
#ifdef __SSE2__
    return reinterpret_cast<Group>(
        _mm_packs_epi32(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second)));
#else
    Group narrowed{};
    for (int i = 0; i < kLanes; ++i) {
      narrowed[i] = static_cast<Number>(first[i]);
      narrowed[i + kLanes] = static_cast<Number>(second[i]);
    }
    return narrowed;
#endif
  }

  void beginRun() { std::fill(run_.begin(), run_.end(), static_cast<Number>(reach_ + 1)); }

  void goDown(std::int32_t top, std::int32_t bottom) {
    if (top != nextDown_) {
      beginRun();
      nextDown_ = std::max(0, top - reach_);
    } else {
      run_.swap(lastDown_);  // on from the last band
    }
    for (; nextDown_ < bottom; ++nextDown_) {
      stepDown(nextDown_);
      if (nextDown_ >= top) std::copy(run_.begin(), run_.end(), rowOf(nextDown_) + pad());
    }
    run_.swap(lastDown_);
  }

  void goUp(std::int32_t top, std::int32_t bottom) {
    beginRun();
    const std::int64_t last = std::int64_t{bottom} - 1 + reach_;
    for (auto y = static_cast<std::int32_t>(std::min<std::int64_t>(last, map_.height - 1));
         y >= bottom; --y) {
      stepDown(y);
    }
    for (std::int32_t y = bottom - 1; y >= top; --y) stepUp(rowOf(y) + pad());
  }

  // Turns a row of the band from distances into squares, and counts where any is in reach. False
  // when none is.
  bool squareRow(Number* row) {
    // Beyond any distance, which comes out as kFar.
    std::fill_n(row, pad(), static_cast<Number>(reach_ + 1));
    std::fill(row + pad() + looked_.width(), row + stride_, static_cast<Number>(reach_ + 1));
    const Group limit = Groups::allOf(static_cast<Number>(reach_));
    std::int32_t count = 0;
    const std::size_t groups = stride_ / kGroup;
    for (std::size_t i = 0; i < groups; ++i) {
      Number* const at = row + i * kGroup;
      const auto distance = load<Group>(at);
      const Group isNear = distance <= limit;
      store(at, (distance * distance & isNear) | (Groups::allOf(kFar) & ~isNear));
      nearBefore_[i] = count;
      count += Groups::anyOf(isNear) ? 1 : 0;
    }
    nearBefore_[groups] = count;
    return count > 0;
  }

  // Of groups that follow each other, from column `x` of the area on.
  template <std::int32_t kCount>
  void squaresOfGroups(const Number* row, std::int32_t x, Number* squares) const {
    const std::size_t at = pad() + static_cast<std::size_t>(area_.left - looked_.left + x);
    if (isAnyNear(at, kCount * kGroup)) {
      Groups::template leastAround<kCount>(row + at, reach_, squares);
    } else {
      for (std::int32_t i = 0; i < kCount; ++i) store(squares + i * kGroup, Groups::allOf(kFar));
    }
  }

  // Whether any of `count` columns from place `at` of a row on can have anything in reach. Generous
  // by up to a group.
  bool isAnyNear(std::size_t at, std::size_t count) const {
    const std::size_t first = (at - static_cast<std::size_t>(reach_)) / kGroup;
    const std::size_t last = (at + count + static_cast<std::size_t>(reach_)) / kGroup;
    return nearBefore_[std::min(last + 1, nearBefore_.size() - 1)] > nearBefore_[first];
  }

  const IplImage& map_;
  float threshold_;
  std::int32_t reach_;
  CellArea area_;
  CellArea looked_;  // all that bears on the area
  std::int32_t bandRows_;
  std::int32_t top_ = 0;  // of the band
  std::size_t stride_;
  std::int32_t nextDown_ = -1;  // the row behind the last one of the last way down
  std::vector<Number> run_;
  std::vector<Number> lastDown_;  // at its end
  std::vector<Number> band_;
  std::vector<std::int32_t>
      nearBefore_;  // groups of a row, before each one, with anything in reach
};

}  // namespace Brin
