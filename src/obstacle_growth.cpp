#include "src/obstacle_growth.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

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

bool isAll(bool mask) { return mask; }
bool isAll(Ints mask) { return !anyLane(~mask); }

// For lanes and for single floats.
struct CellRules {
  float threshold;
  bool unknownIsFree;

  template <typename T>
  T operator()(T cell, T limit) const {
    const T capped = lesser(limit, cell);
    // Neighbours are mostly alike: neither obstacles nor unknown, or all unknown.
    if (isAll((cell > kMostUnknown) & (cell >= threshold))) return capped;
    const auto isUnknown = (cell >= kLeastUnknown) & (cell <= kMostUnknown) & (capped >= threshold);
    if (isAll(isUnknown)) return unknownIsFree ? capped : T{} + kUnknownCell;
    const T free = unknownIsFree ? capped : choose(isUnknown, T{} + kUnknownCell, capped);
    const T obstacle = choose(cell > 0.0f, cell, T{});
    const T known = choose(cell < threshold, obstacle, free);
    return choose(cell == cell, known, T{} + kNotANumber);
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
  const auto limitOf = [limits = limits_.data()](Number square) { return limits[square]; };
  const CellRules rules{threshold_, unknownIsFree_};
  std::int32_t x = 0;
  for (; x + Groups::kSize <= count; x += Groups::kSize) {
    const auto group = load<typename Groups::Group>(squares + x);
    // Neighbours are mostly alike, and most are far from all.
    if (!Groups::anyOf(group < Groups::allOf(last))) {
      passRow(cells + x, out + x, Groups::kSize);
      continue;
    }
    Number limited[Groups::kSize];
    store(limited, Groups::least(group, Groups::allOf(last)));
    for (std::int32_t i = 0; i < Groups::kSize; i += kLanes) {
      const Number* const s = limited + i;
      const Floats limit{limitOf(s[0]), limitOf(s[1]), limitOf(s[2]), limitOf(s[3])};
      store(out + x + i, rules(load<Floats>(cells + x + i), limit));
    }
  }
  for (; x < count; ++x) out[x] = rules(cells[x], limitOf(std::min(squares[x], last)));
}

// Where no obstacle is in reach.
void ObstacleGrowth::passRow(const float* cells, float* out, std::int32_t count) const {
  const CellRules rules{threshold_, unknownIsFree_};
  std::int32_t x = 0;
  for (; x + kLanes <= count; x += kLanes) {
    store(out + x, rules(load<Floats>(cells + x), Floats{} + 1.0f));
  }
  for (; x < count; ++x) out[x] = rules(cells[x], 1.0f);
}

}  // namespace Brin
