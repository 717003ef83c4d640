#include "src/obstacle_growth.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <type_traits>

#include "core/image_ptr.hpp"
#include "core/lanes.hpp"
#include "src/near_obstacles.hpp"
#include "src/square_groups.hpp"

namespace Brin {
namespace {

constexpr float kMostReach = 1000.0f;
constexpr float kLeastUnknown = 0.4f;
constexpr float kMostUnknown = 0.6f;

// What a cell may have at a distance, all in cells.
float limitAt(float distance, float radius, float fade, float threshold) {
  if (distance < radius) return kTooNear;
  if (!(fade > 0.0f)) return 1.0f;  // -0 as well
  const float share = (distance - radius) / fade;
  return share < 1.0f ? threshold + (1.0f - threshold) * share : 1.0f;
}

std::int32_t reachOf(float radius, float fade) {
  const float cells = std::ceil(radius + fade);
  if (cells > kMostReach) {
    throw std::invalid_argument(
        "PlannerSettings: robotRadius and fadeDistance are more than 1000 cells of the map");
  }
  return static_cast<std::int32_t>(cells);
}

bool isAll(Ints mask) { return !anyLane(~mask); }

// For lanes and for single floats.
struct CellRules {
  float threshold;
  bool unknownIsFree;

  template <typename T>
  T operator()(T cell, T limit) const {
    const T capped = lesser(limit, cell);
    const T free =
        unknownIsFree ? capped
                      : choose(isUnknown(cell) & (capped >= threshold), T{} + kUnknownCell, capped);
    const T obstacle = choose(cell > 0.0f, cell, T{});
    const T known = choose(cell < threshold, obstacle, free);
    return choose(cell == cell, known, T{} + kNotANumber);
  }

  // Neither an obstacle nor unknown.
  template <typename T>
  auto isFree(T cell) const {
    return (cell > kMostUnknown) & (cell >= threshold);
  }

  template <typename T>
  auto isUnknown(T cell) const {
    return (cell >= kLeastUnknown) & (cell <= kMostUnknown) & (cell >= threshold);
  }
};

}  // namespace

ObstacleGrowth::ObstacleGrowth(const PlannerSettings& settings, float resolution)
    : threshold_(settings.obstacleThreshold), unknownIsFree_(settings.unknownIsFree) {
  const float cellsPerMetre = 1.0f / resolution;
  const float radius = settings.robotRadius * cellsPerMetre;
  const float fade = settings.fadeDistance * cellsPerMetre;
  reach_ = reachOf(radius, fade);
  const auto count = static_cast<std::size_t>(reach_) * static_cast<std::size_t>(reach_) + 2;
  limits_.resize(count, 1.0f);
  for (std::size_t square = 0; square + 1 < count; ++square) {
    limits_[square] = limitAt(std::sqrt(static_cast<float>(square)), radius, fade, threshold_);
    if (limits_[square] == kTooNear) tooNearBelow_ = square + 1;
  }
}

void ObstacleGrowth::grow(const IplImage& map, CellArea area, IplImage& fine,
                          const RowDone& done) const {
  if (area.isEmpty()) return;
  if (reach_ == 0) {
    for (std::int32_t y = area.top; y < area.bottom; ++y) {
      passRow(imageRow<float>(map, y) + area.left, imageRow<float>(fine, y) + area.left,
              area.width());
      done(y);
    }
  } else if (reach_ <= NearObstacles<std::int16_t>::kMostReach) {
    growWith<std::int16_t>(map, area, fine, done);
  } else {
    growWith<std::int32_t>(map, area, fine, done);
  }
}

template <typename Number>
void ObstacleGrowth::growWith(const IplImage& map, CellArea area, IplImage& fine,
                              const RowDone& done) const {
  using Near = NearObstacles<Number>;
  Near near(map, threshold_, reach_, area);
  std::vector<Number> squares(static_cast<std::size_t>(area.width()) + Near::kGroup);
  for (std::int32_t top = area.top; top < area.bottom; top += near.bandRows()) {
    const std::int32_t bottom = std::min(area.bottom - top, near.bandRows()) + top;
    near.toBand(top, bottom);
    for (std::int32_t y = top; y < bottom; ++y) {
      const float* const cells = imageRow<float>(map, y) + area.left;
      float* const out = imageRow<float>(fine, y) + area.left;
      if (near.squaresOfRow(y, squares.data())) {
        growRow(cells, squares.data(), out, area.width());
      } else {
        passRow(cells, out, area.width());
      }
      done(y);
    }
  }
}

template <typename Number>
void ObstacleGrowth::growRow(const float* cells, const Number* squares, float* out,
                             std::int32_t count) const {
  using Groups = SquareGroups<Number>;
  const auto last = static_cast<Number>(limits_.size() - 1);
  const auto tooNearBelow = static_cast<Number>(tooNearBelow_);
  const CellRules rules{threshold_, unknownIsFree_};
  // No square is below 0; said so, its place in the table need not be widened.
  using Place = std::make_unsigned_t<Number>;
  const auto limitOf = [limits = limits_.data()](Number square) {
    return limits[static_cast<Place>(square)];
  };
  std::int32_t x = 0;
  for (; x + Groups::kSize <= count; x += Groups::kSize) {
    const auto group = load<typename Groups::Group>(squares + x);
    const bool isAnyTooNear = Groups::anyOf(group < Groups::allOf(tooNearBelow));
    Number limited[Groups::kSize];
    store(limited, Groups::least(group, Groups::allOf(last)));
    growGroup<Groups::kSize>(cells + x, out + x, isAnyTooNear, [&](std::int32_t i) {
      const Number* const s = limited + i;
      return Floats{limitOf(s[0]), limitOf(s[1]), limitOf(s[2]), limitOf(s[3])};
    });
  }
  for (; x < count; ++x) out[x] = rules(cells[x], limitOf(std::min(squares[x], last)));
}

// Where no obstacle is in reach.
void ObstacleGrowth::passRow(const float* cells, float* out, std::int32_t count) const {
  const CellRules rules{threshold_, unknownIsFree_};
  std::int32_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    growGroup<kLanes>(cells + x, out + x, false, [](std::int32_t) { return Floats{} + 1.0f; });
  }
  for (; x < count; ++x) out[x] = rules(cells[x], 1.0f);
}

// Neighbours are mostly alike: all free, or all unknown and not too near.
template <std::int32_t kCount, typename Limits>
void ObstacleGrowth::growGroup(const float* cells, float* out, bool isAnyTooNear,
                               const Limits& limitsAt) const {
  const CellRules rules{threshold_, unknownIsFree_};
  const auto areAll = [cells](const auto& is) {
    Ints mask = all(-1);
    for (std::int32_t i = 0; i < kCount; i += kLanes) mask &= is(load<Floats>(cells + i));
    return isAll(mask);
  };
  if (areAll([&](Floats cell) { return rules.isFree(cell); })) {
    for (std::int32_t i = 0; i < kCount; i += kLanes) {
      store(out + i, lesser(limitsAt(i), load<Floats>(cells + i)));
    }
  } else if (!unknownIsFree_ && !isAnyTooNear &&
             areAll([&](Floats cell) { return rules.isUnknown(cell); })) {
    std::fill_n(out, kCount, kUnknownCell);
  } else {
    for (std::int32_t i = 0; i < kCount; i += kLanes) {
      store(out + i, rules(load<Floats>(cells + i), limitsAt(i)));
    }
  }
}

}  // namespace Brin
