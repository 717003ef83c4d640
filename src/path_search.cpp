#include "src/path_search.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "src/cell_state.hpp"

namespace Brin {
namespace {

// A mark is a cell's lowest cost so far, as the bits of a float; or kNeverSeen or kClosed, and so
// costs that have the bits of one of these are marked with the next higher ones. Whoever compares
// with marks looks at the node itself before anything is changed.
std::int32_t markOf(float cost) {
  static_assert(kNeverSeen == 0 && kClosed == 2, "both are even");
  std::int32_t bits;
  std::memcpy(&bits, &cost, sizeof bits);
  return bits == kNeverSeen || bits == kClosed ? bits + 1 : bits;
}

}  // namespace

PathSearch::PathSearch(OccMapPathFinder& finder)
    : finder_(finder),
      marks_(finder.cellStates.get()),
      values_(reinterpret_cast<const float*>(finder.coarseMap.image->imageData)),
      width_(finder.coarseMap.image->width),
      height_(finder.coarseMap.image->height),
      reach_(0),
      threshold_(finder.obstacleThreshold),
      gWeight_(1.0f - Node::hWeight),
      hWeight_(Node::hWeight) {
  for (const Pose2Di& delta : finder.neighborDeltas) addStep(delta);
  open_.file(0, finder.nodes[0].f);
}

void PathSearch::addStep(const Pose2Di& delta) {
  const float length = finder_.xDistance(delta.x, delta.y);
  steps_.push_back(
      {delta.x, delta.y, length, finder_.xComputeAngleCost(finder_.start.theta, delta)});

  const std::int64_t dx = delta.x;
  const std::int64_t dy = delta.y;
  reach_ = std::max({reach_, std::abs(dx) + kLanes - 1, std::abs(dy)});
  const bool goesOn = steps_.size() > 1 && steps_.end()[-2].dx < dx && groups_.back().dy == dy &&
                      dx - groups_.back().dx < kLanes;
  if (!goesOn) {
    groups_.push_back(
        {delta.x, delta.y, static_cast<std::ptrdiff_t>(dy * width_ + dx), Floats{}, Ints{}});
  }
  StepGroup& group = groups_.back();
  group.lengths[dx - group.dx] = length;
  group.isStep[dx - group.dx] = -1;
}

bool PathSearch::run() {
  bool found = false;
  for (bool isFirst = true; !found && !open_.empty(); isFirst = false) {
    ++finder_.numIterations;
    finder_.closedNodes.push_back(finder_.nodes[static_cast<std::size_t>(open_.takeFirst())]);
    const Node& current = finder_.closedNodes.back();
    if (!open_.empty()) prefetch(open_.first());
    marks_[current.y * width_ + current.x] = kClosed;
    found = isGoal(current);
    if (found) break;
    if (isFirst || !isInner(current)) {
      expandWithCare(current, isFirst);
    } else {
      expand(current);
    }
  }
  finish();
  return found;
}

inline void PathSearch::prefetch(std::int32_t index) const {
  const Node& node = finder_.nodes[static_cast<std::size_t>(index)];
  const std::ptrdiff_t cell = node.y * width_ + node.x;
  for (const std::ptrdiff_t row : {cell - width_, cell, cell + width_}) {
    __builtin_prefetch(marks_ + row);
    __builtin_prefetch(values_ + row);
  }
}

inline bool PathSearch::isGoal(const Node& node) const {
  const int enough = finder_.neighborhoodType == OccMapPathFinder::Double ? 1 : 0;
  return std::abs(node.x - finder_.end.x) + std::abs(node.y - finder_.end.y) <= enough;
}

// Whether nothing that expand looks at is off the map.
inline bool PathSearch::isInner(const Node& node) const {
  return node.x >= reach_ && node.y >= reach_ && node.x < width_ - reach_ &&
         node.y < height_ - reach_;
}

void PathSearch::expandWithCare(const Node& current, bool isFirst) {
  for (const Step& step : steps_) {
    const std::int64_t x = std::int64_t{current.x} + step.dx;
    const std::int64_t y = std::int64_t{current.y} + step.dy;
    if (x < 0 || y < 0 || x >= width_ || y >= height_) continue;
    const float p = values_[static_cast<std::ptrdiff_t>(y * width_ + x)];
    if (threshold_ > p) continue;
    float g = current.g + step.length * (1.0f + 2.0f * (1.0f - p));
    if (isFirst) g += step.turnCost;
    offer(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), g);
  }
}

// The same where no step leads off the map, and none costs a turn.
void PathSearch::expand(const Node& current) {
  constexpr std::size_t kGroups = 8;  // whose lanes fit the bits of a number
  const std::ptrdiff_t cell = current.y * width_ + current.x;
  for (std::size_t from = 0; from < groups_.size(); from += kGroups) {
    const StepGroup* groups = groups_.data() + from;
    const std::size_t count = std::min(kGroups, groups_.size() - from);
    float costs[kGroups * kLanes];
    unsigned news = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const StepGroup& group = groups[i];
      const auto p = load<Floats>(values_ + cell + group.offset);
      const auto marks = load<Ints>(marks_ + cell + group.offset);
      const Floats g = current.g + group.lengths * (1.0f + 2.0f * (1.0f - p));
      const Ints isLower = reinterpret_cast<Floats>(marks) > g;
      store(costs + i * kLanes, g);
      news |= laneBits(group.isStep & ~(threshold_ > p) & ((marks == kNeverSeen) | isLower))
              << (i * kLanes);
    }
    for (; news != 0; news &= news - 1) {
      const auto lane = static_cast<unsigned>(__builtin_ctz(news));
      const StepGroup& group = groups[lane / kLanes];
      const auto along = static_cast<std::int32_t>(lane % kLanes);
      offer(current.x + group.dx + along, current.y + group.dy, costs[lane]);
    }
  }
}

inline void PathSearch::offer(std::int32_t x, std::int32_t y, float g) {
  const std::ptrdiff_t cell = y * width_ + x;
  const std::int32_t mark = marks_[cell];
  if (mark == kNeverSeen) {
    add(x, y, g);
  } else if (mark != kClosed) {
    const std::int32_t index = finder_.cellNodes[static_cast<std::size_t>(cell)];
    if (finder_.nodes[static_cast<std::size_t>(index)].g > g) {
      marks_[cell] = markOf(g);
      lower(index, g);
    }
  }
}

inline void PathSearch::add(std::int32_t x, std::int32_t y, float g) {
  const std::ptrdiff_t cell = y * width_ + x;
  const auto index = static_cast<std::int32_t>(finder_.nodes.size());
  marks_[cell] = markOf(g);
  finder_.cellNodes[static_cast<std::size_t>(cell)] = index;
  Node& node = finder_.nodes.emplace_back();
  node.x = x;
  node.y = y;
  node.parent = finder_.numIterations - 1;
  node.g = g;
  node.h = finder_.xDistance(finder_.end.x - x, finder_.end.y - y);
  node.f = gWeight_ * g + hWeight_ * node.h;
  open_.file(index, node.f);
}

// A node that becomes cheaper keeps its place in the open list on purpose.
inline void PathSearch::lower(std::int32_t index, float g) {
  Node& node = finder_.nodes[static_cast<std::size_t>(index)];
  node.parent = finder_.numIterations - 1;
  node.g = g;
  node.f = gWeight_ * g + hWeight_ * node.h;
  open_.change(index, node.f);
}

void PathSearch::finish() {
  open_.copyTo(finder_.openList);
  for (const std::int32_t index : finder_.openList) {
    const Node& node = finder_.nodes[static_cast<std::size_t>(index)];
    marks_[node.y * width_ + node.x] = kOpen;
  }
}

}  // namespace Brin
