#include "src/plan_search.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/norm.hpp"

namespace Brin {

PlanSearchBase::PlanSearchBase(const PlanRequest& request, const CostGrid& grid, PlanRoom& room)
    : request_(request), grid_(grid), room_(room) {}

// As OccMapPathFinder::xDistance computes it; in float where that gives the same bits, as
// PathSearch::distanceToEnd says.
inline float PlanSearchBase::distanceToGoal(std::int32_t x, std::int32_t y) const {
  const auto dx = static_cast<float>(request_.goal.x - x);
  const auto dy = static_cast<float>(request_.goal.y - y);
  const float square = dx * dx + dy * dy;
  if (square < 1 << 24) return std::sqrt(square) * request_.resolution;
  return normOf(request_.goal.x - x, request_.goal.y - y) * request_.resolution;
}

std::vector<Point2Di> PlanSearchBase::path() const {
  std::size_t count = 0;
  for (std::int32_t i = found_; i >= 0; i = room_.nodes[i].parent) ++count;
  std::vector<Point2Di> cells(count);
  for (std::int32_t i = found_; i >= 0; i = room_.nodes[i].parent) {
    cells[--count] = {room_.nodes[i].x, room_.nodes[i].y};
  }
  return cells;
}

template <typename Table>
PlanSearch<Table>::PlanSearch(const PlanRequest& request, const CostGrid& grid, PlanRoom& room)
    : PlanSearchBase(request, grid, room),
      gWeight_(1.0f - request.weight),
      hWeight_(request.weight) {
  for (std::size_t i = 0; i < kGroups; ++i) {
    const StepGroup& group = Table::kGroups[i];
    groupOffsets_[i] = grid.offsetOf(group.first.dx, group.first.dy);
    lengths_[i] = Floats{} + std::numeric_limits<float>::infinity();
    for (int lane = 0; lane < kLanes; ++lane) {
      if ((group.columns >> lane & 1) == 0) continue;
      const std::int32_t dx = group.first.dx + lane;
      const std::int32_t dy = group.first.dy;
      const auto direction =
          static_cast<float>(std::atan2(static_cast<double>(dy), static_cast<double>(dx)));
      const float turn = std::fabs(canonicalAngle(request.start.theta - direction));
      lengths_[i][lane] = normOf(dx, dy) * request.resolution;
      steps_[i * kLanes + static_cast<std::size_t>(lane)] = {dx, dy, grid.offsetOf(dx, dy),
                                                             turn * request.angleCostFactor};
    }
  }
}

template <typename Table>
bool PlanSearch<Table>::run() {
  changesEnd_ = changes_.data();
  PlanNodes& nodes = room_.nodes;
  OpenList& open = room_.open;
  const Pose2Di& start = request_.start;
  PlanNode& first = nodes.add();
  first = {grid_.cellAt(start.x, start.y), start.x, start.y, -1, 0.0f, 0.0f};
  open.file(0, 0.0f);
  while (!open.empty()) {
    const std::int32_t index = open.takeFirst();
    ++iterations_;
    PlanNode& node = nodes[index];
    if (isGoal(node)) {
      found_ = index;
      cost_ = node.g;
      return true;
    }
    expand(index, node);
    lookAtNext();
    applyChanges();
  }
  return false;
}

template <typename Table>
inline bool PlanSearch<Table>::isGoal(const PlanNode& node) const {
  constexpr std::int32_t kNearEnough = Table::kReach == 2 ? 1 : 0;
  const std::int32_t dx = std::abs(node.x - request_.goal.x);
  return dx <= kNearEnough && dx + std::abs(node.y - request_.goal.y) <= kNearEnough;
}

template <typename Table>
inline void PlanSearch<Table>::look(const PlanNode& node) {
  const float* const costs = grid_.costs() + node.cell;
  const std::int32_t* const marks = room_.marks.get() + node.cell;
  const float nodeG = node.g;
  std::uint64_t news = 0;
  for (std::size_t i = 0; i < kGroups; ++i) {
    const std::int32_t offset = groupOffsets_[i];
    const Floats g = nodeG + lengths_[i] * load<Floats>(costs + offset);
    const Ints marksOfG = all(kMarkOfFree) - reinterpret_cast<Ints>(g);
    store(costs_.data() + i * kLanes, g);
    news |= std::uint64_t{laneBits(marksOfG > load<Ints>(marks + offset))} << (i * kLanes);
  }
  news_ = news;
}

template <typename Table>
inline void PlanSearch<Table>::expand(std::int32_t index, PlanNode& node) {
  if (lookedAt_ != index) look(node);
  parent_ = index;
  if (iterations_ == 1) addTurns();
  const std::int32_t x = node.x;
  const std::int32_t y = node.y;
  const std::int32_t cell = node.cell;
  room_.marks[cell] = kClosedMark;
  for (std::uint64_t news = news_; news != 0; news &= news - 1) {
    const auto lane = static_cast<std::size_t>(__builtin_ctzll(news));
    const Step& step = steps_[lane];
    offer(x + step.dx, y + step.dy, cell + step.offset, costs_[lane]);
  }
}

// To the first expansion.
template <typename Table>
void PlanSearch<Table>::addTurns() {
  for (std::size_t lane = 0; lane < kLaneCount; ++lane) {
    if ((news_ >> lane & 1) != 0) costs_[lane] += steps_[lane].turnCost;
  }
}

// A guess: what the open list takes in now may yet come before it.
template <typename Table>
inline void PlanSearch<Table>::lookAtNext() {
  lookedAt_ = -1;
  if (room_.open.empty()) return;
  lookedAt_ = room_.open.first();
  look(room_.nodes[lookedAt_]);
}

template <typename Table>
inline void PlanSearch<Table>::applyChanges() {
  const Change* const end = changesEnd_;
  changesEnd_ = changes_.data();
  for (const Change* change = changes_.data(); change != end; ++change) {
    if (change->isNew) {
      room_.open.file(change->index, change->f);
    } else {
      room_.open.change(change->index, change->f);
    }
  }
}

// A way of cost `g`, lower than any before, to a cell that is not closed.
template <typename Table>
inline void PlanSearch<Table>::offer(std::int32_t x, std::int32_t y, std::int32_t cell, float g) {
  std::int32_t& mark = room_.marks[cell];
  if (mark == 0) {
    const std::int32_t index = room_.nodes.size();
    PlanNode& node = room_.nodes.add();
    const float h = distanceToGoal(x, y);
    const float f = gWeight_ * g + hWeight_ * h;
    node.cell = cell;
    node.x = x;
    node.y = y;
    node.parent = parent_;
    node.g = g;
    node.h = h;
    room_.cellNodes[cell] = index;
    *changesEnd_++ = {index, f, true};
  } else {
    const std::int32_t index = room_.cellNodes[cell];
    PlanNode& node = room_.nodes[index];
    node.parent = parent_;
    node.g = g;
    // A node that becomes cheaper keeps its place in the open list on purpose.
    *changesEnd_++ = {index, gWeight_ * g + hWeight_ * node.h, false};
  }
  mark = markOf(g);
}

template class PlanSearch<Steps<OccMapPathFinder::Simple>>;
template class PlanSearch<Steps<OccMapPathFinder::Double>>;
template class PlanSearch<Steps<OccMapPathFinder::Triple>>;

}  // namespace Brin
