#include "src/plan_search.hpp"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "core/norm.hpp"

namespace Brin {
namespace {

constexpr std::int32_t kMarkOfFree = 0x7f800000;  // the bits of infinity
constexpr std::int32_t kClosedMark = 0x7fffffff;

// How high the mark is of a cell that a way of that cost leads to.
std::int32_t markOf(float g) {
  std::int32_t bits;
  std::memcpy(&bits, &g, sizeof bits);
  return kMarkOfFree - bits;
}

// As OccMapPathFinder::xComputeAngleCost computes it.
float turnCost(const PlanRequest& request, std::int32_t dx, std::int32_t dy) {
  const auto direction =
      static_cast<float>(std::atan2(static_cast<double>(dy), static_cast<double>(dx)));
  return std::fabs(canonicalAngle(request.start.theta - direction)) * request.angleCostFactor;
}

}  // namespace

std::vector<Point2Di> PlanSearchBase::path() const {
  const PlanNode* const nodes = room_.nodes.data();
  std::size_t count = 0;
  for (std::int32_t i = found_; i >= 0; i = nodes[i].parent) ++count;
  std::vector<Point2Di> cells(count);
  for (std::int32_t i = found_; i >= 0; i = nodes[i].parent) {
    cells[--count] = {grid_.columnOf(nodes[i].cell, nodes[i].y), nodes[i].y};
  }
  return cells;
}

// The steps, as lanes of groups that are looked at at once.
template <typename Table>
struct PlanSearch<Table>::Lanes {
  struct Step {
    std::int32_t dx;
    std::int32_t dy;
    std::int32_t offset;  // from cell to cell
    float turnCost;       // when it is the first one
  };

  Lanes(const PlanRequest& request, const CostGrid& grid) {
    for (std::size_t i = 0; i < kGroups; ++i) {
      const StepGroup& group = Table::kGroups[i];
      offsets[i] = grid.offsetOf(group.first.dx, group.first.dy);
      lengths[i] = Floats{} + std::numeric_limits<float>::infinity();
      for (int lane = 0; lane < kLanes; ++lane) {
        if ((group.columns >> lane & 1) == 0) continue;
        const std::int32_t dx = group.first.dx + lane;
        const std::int32_t dy = group.first.dy;
        lengths[i][lane] = normOf(dx, dy) * request.resolution;
        steps[i * kLanes + static_cast<std::size_t>(lane)] = {dx, dy, grid.offsetOf(dx, dy),
                                                              turnCost(request, dx, dy)};
      }
    }
  }

  std::array<std::int32_t, kGroups> offsets;
  std::array<Floats, kGroups> lengths;  // metres; infinity where there is no step
  std::array<Step, kLaneCount> steps;
};

// What a search looks at, as values of its own: members would be read anew after each cell that is
// written.
template <typename Table>
struct PlanSearch<Table>::Field {
  Field(const PlanRequest& request, const CostGrid& grid, PlanRoom& room)
      : lanes(request, grid),
        stepCosts(grid.costs()),
        marks(room.marks.get()),
        row(grid.offsetOf(0, 1)),
        firstCell(grid.cellAt(0, 0)),
        goalX(request.goal.x),
        goalY(request.goal.y),
        resolution(request.resolution),
        gWeight(1.0f - request.weight),
        hWeight(request.weight) {}

  bool isGoal(std::int32_t x, std::int32_t y) const {
    constexpr std::int32_t kNearEnough = Table::kReach == 2 ? 1 : 0;
    const std::int32_t dx = std::abs(x - goalX);
    return dx <= kNearEnough && dx + std::abs(y - goalY) <= kNearEnough;
  }

  // As OccMapPathFinder::xDistance computes it; in float where that gives the same bits, as
  // PathSearch::distanceToEnd says.
  float distanceToGoal(std::int32_t x, std::int32_t y) const {
    const auto dx = static_cast<float>(goalX - x);
    const auto dy = static_cast<float>(goalY - y);
    const float square = dx * dx + dy * dy;
    // As lanes, whose root is one instruction: that of a float looks at its sign as well.
    if (square < 1 << 24) return squareRoot(Floats{square})[0] * resolution;
    return normOf(goalX - x, goalY - y) * resolution;
  }

  // The rows above and below will be there when the cell's turn comes. An address outside does no
  // harm: it is asked for, not read.
  [[gnu::always_inline]] void prefetchAround(std::ptrdiff_t cell) const {
    __builtin_prefetch(stepCosts + cell - row);
    __builtin_prefetch(stepCosts + cell + row);
    __builtin_prefetch(marks + cell - row);
    __builtin_prefetch(marks + cell + row);
  }

  Lanes lanes;
  const float* stepCosts;
  PlanMark* marks;
  std::ptrdiff_t row;
  std::int32_t firstCell;
  std::int32_t goalX;
  std::int32_t goalY;
  float resolution;
  float gWeight;
  float hWeight;
};

// Which steps from a node are news.
template <typename Table>
struct PlanSearch<Table>::Survey {
  // The bits of four groups are told at once.
  static constexpr std::size_t kWholeBits = (kGroups + 3) / 4 * 4;

  // Field by field: a node that was just written that way is not there yet to be read as a whole.
  [[gnu::always_inline]] void look(std::int32_t index, const PlanNode& node, const Field& field) {
    of = index;
    y = node.y;
    cell = node.cell;
    x = cell - field.firstCell - y * static_cast<std::int32_t>(field.row);
    const float nodeG = node.g;
    Ints isNews[kWholeBits] = {};
    for (std::size_t i = 0; i < kGroups; ++i) {
      const std::ptrdiff_t at = std::ptrdiff_t{cell} + field.lanes.offsets[i];
      const Floats g = nodeG + field.lanes.lengths[i] * load<Floats>(field.stepCosts + at);
      const auto low = load<Ints>(field.marks + at);
      const auto high = load<Ints>(field.marks + at + 2);
      const Ints known = __builtin_shufflevector(low, high, 0, 2, 4, 6);
      store(costs + i * kLanes, g);
      isNews[i] = all(kMarkOfFree) - reinterpret_cast<Ints>(g) > known;
    }
    news = 0;
    for (std::size_t i = 0; i < kWholeBits; i += kLanes) {
      news |= std::uint64_t{laneBits(isNews[i], isNews[i + 1], isNews[i + 2], isNews[i + 3])}
              << (i * kLanes);
    }
  }

  // To the first expansion.
  void addTurns(const Lanes& lanes) {
    for (std::size_t lane = 0; lane < kLaneCount; ++lane) {
      if ((news >> lane & 1) != 0) costs[lane] += lanes.steps[lane].turnCost;
    }
  }

  std::int32_t of = -1;  // the node's index
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t cell = 0;
  std::uint64_t news = 0;  // a bit for each lane
  float costs[kLaneCount];
};

// What the open list has not taken in yet.
template <typename Table>
struct PlanSearch<Table>::Changes {
  struct Change {
    std::int32_t node;  // its index; ~index when it is in the list already
    float f;
  };

  // Takes the steps that are news. Returns how many nodes there are then.
  [[gnu::always_inline]] std::int32_t expand(const Survey& survey, const Field& field,
                                             PlanNode* nodes, std::int32_t size) {
    field.marks[survey.cell].height = kClosedMark;
    for (std::uint64_t news = survey.news; news != 0; news &= news - 1) {
      const auto lane = static_cast<std::size_t>(__builtin_ctzll(news));
      const typename Lanes::Step& step = field.lanes.steps[lane];
      const float g = survey.costs[lane];
      const std::int32_t x = survey.x + step.dx;
      const std::int32_t y = survey.y + step.dy;
      const std::ptrdiff_t cell = std::ptrdiff_t{survey.cell} + step.offset;
      // Nobody could foresee which of the two it is, so both go the same way: a node that is there
      // gets what it has, but for cost and parent.
      PlanMark& mark = field.marks[cell];
      const std::int32_t known = mark.height == 0 ? 0 : -1;
      const std::int32_t index = size + (known & (mark.node - size));
      size += 1 + known;
      nodes[index] = {static_cast<std::int32_t>(cell), survey.of, y, g};
      mark = {markOf(g), index};
      field.prefetchAround(cell);
      *end++ = {index ^ known, field.gWeight * g + field.hWeight * field.distanceToGoal(x, y)};
    }
    return size;
  }

  // A node that becomes cheaper keeps its place in the open list on purpose.
  [[gnu::always_inline]] void apply(OpenList& open) const {
    for (const Change* change = changes; change != end; ++change) {
      if (change->node >= 0) {
        open.file(change->node, change->f);
      } else {
        open.change(~change->node, change->f);
      }
    }
  }

  Change changes[kLaneCount];
  Change* end = changes;
};

template <typename Table>
void PlanSearch<Table>::begin() {
  const Pose2Di& start = request_.start;
  room_.nodes.makeRoom(1);
  room_.nodes.resize(1);
  room_.nodes.data()[0] = {grid_.cellAt(start.x, start.y), -1, start.y, 0.0f};
  room_.open.file(0, 0.0f);
}

template <typename Table>
bool PlanSearch<Table>::run() {
  static_assert(kLaneCount <= PlanRoom::kMostSteps, "an expansion makes fewer nodes");
  begin();
  const Field field(request_, grid_, room_);
  PlanNodes& nodes = room_.nodes;
  OpenList& open = room_.open;
  Survey survey;
  while (!open.empty()) {
    nodes.makeRoom(kLaneCount);
    PlanNode* const node = nodes.data();
    const std::int32_t taken = open.takeFirst();
    ++iterations_;
    if (survey.of != taken) survey.look(taken, node[taken], field);
    // From here on by what was surveyed, which need not wait for the open list.
    if (field.isGoal(survey.x, survey.y)) {
      found_ = survey.of;
      break;
    }
    if (iterations_ == 1) survey.addTurns(field.lanes);
    Changes changes;
    nodes.resize(changes.expand(survey, field, node, nodes.size()));
    // A guess at what is next, surveyed while nothing waits for the open list: what that takes in
    // now may yet come before it.
    if (!open.empty()) survey.look(open.first(), node[open.first()], field);
    changes.apply(open);
  }
  return found_ >= 0;
}

template class PlanSearch<Steps<OccMapPathFinder::Simple>>;
template class PlanSearch<Steps<OccMapPathFinder::Double>>;
template class PlanSearch<Steps<OccMapPathFinder::Triple>>;

}  // namespace Brin
