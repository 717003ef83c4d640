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
      nodes_(finder.nodes),
      closedNodes_(finder.closedNodes),
      marks_(finder.cellStates.get()),
      cellNodes_(finder.cellNodes.get()),
      values_(reinterpret_cast<const float*>(finder.coarseMap.image->imageData)),
      width_(finder.coarseMap.image->width),
      height_(finder.coarseMap.image->height),
      reach_(0),
      endX_(finder.end.x),
      endY_(finder.end.y),
      nearEnough_(finder.neighborhoodType == OccMapPathFinder::Double ? 1 : 0),
      resolution_(finder.coarseMap.params.resolution),
      threshold_(finder.obstacleThreshold),
      gWeight_(1.0f - Node::hWeight),
      hWeight_(Node::hWeight) {
  for (const Pose2Di& delta : finder.neighborDeltas) addStep(delta);
  open_.file(0, nodes_[0].f);
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
  while (!found && !open_.empty()) {
    const bool isFirst = closedNodes_.empty();
    const Node& current = nodes_[static_cast<std::size_t>(open_.takeFirst())];
    closedNodes_.push_back(current);
    found = isGoal(current);
    if (found || isFirst || !isInner(current)) {
      marks_[std::ptrdiff_t{current.y} * width_ + current.x] = kClosed;
      if (!found) expandWithCare(Node(current), isFirst);  // a copy, since `nodes_` grows
    } else {
      expand(current.x, current.y, current.g);
    }
  }
  finish();
  return found;
}

inline bool PathSearch::isGoal(const Node& node) const {
  return std::abs(node.x - endX_) + std::abs(node.y - endY_) <= nearEnough_;
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
    const float p =
        values_[static_cast<std::ptrdiff_t>(y) * width_ + static_cast<std::ptrdiff_t>(x)];
    if (threshold_ > p) continue;
    float g = current.g + step.length * (1.0f + 2.0f * (1.0f - p));
    if (isFirst) g += step.turnCost;
    offer(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), g);
  }
}

// The same where no step leads off the map, and none costs a turn.
inline void PathSearch::expand(std::int32_t currentX, std::int32_t currentY, float currentG) {
  constexpr std::size_t kGroups = 8;  // whose lanes fit the bits of a number
  const std::ptrdiff_t cell = std::ptrdiff_t{currentY} * width_ + currentX;
  for (std::size_t from = 0; from < groups_.size(); from += kGroups) {
    const StepGroup* groups = groups_.data() + from;
    const std::size_t count = std::min(kGroups, groups_.size() - from);
    float costs[kGroups * kLanes];
    unsigned news = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const StepGroup& group = groups[i];
      const auto p = load<Floats>(values_ + cell + group.offset);
      const auto marks = load<Ints>(marks_ + cell + group.offset);
      const Floats g = currentG + group.lengths * (1.0f + 2.0f * (1.0f - p));
      const Ints isLower = reinterpret_cast<Floats>(marks) > g;
      store(costs + i * kLanes, g);
      news |= laneBits(group.isStep & ~(threshold_ > p) & ((marks == kNeverSeen) | isLower))
              << (i * kLanes);
    }
    marks_[cell] = kClosed;
    for (; news != 0; news &= news - 1) {
      const auto lane = static_cast<unsigned>(__builtin_ctz(news));
      const StepGroup& group = groups[lane / kLanes];
      const auto along = static_cast<std::int32_t>(lane % kLanes);
      offer(currentX + group.dx + along, currentY + group.dy, costs[lane]);
    }
  }
}

inline void PathSearch::offer(std::int32_t x, std::int32_t y, float g) {
  const std::ptrdiff_t cell = std::ptrdiff_t{y} * width_ + x;
  const std::int32_t mark = marks_[cell];
  const auto parent = static_cast<std::int32_t>(closedNodes_.size()) - 1;
  if (mark == kNeverSeen) {
    // The rows beside it will be there when its turn comes. An address off the map does no harm: it
    // is asked for, not read. (A function of its own would seem to do nothing, and be left out.)
    const auto rowBytes = static_cast<std::uintptr_t>(width_) * sizeof(float);
    for (const void* row :
         {static_cast<const void*>(values_ + cell), static_cast<const void*>(marks_ + cell)}) {
      const auto at = reinterpret_cast<std::uintptr_t>(row);
      __builtin_prefetch(reinterpret_cast<const void*>(at - rowBytes));
      __builtin_prefetch(reinterpret_cast<const void*>(at + rowBytes));
    }
    const auto index = static_cast<std::int32_t>(nodes_.size());
    const float h = distanceToEnd(x, y);
    const float f = gWeight_ * g + hWeight_ * h;
    // In place: a copy would be read back in other pieces than it was written in, which stalls.
    Node& node = nodes_.emplace_back();
    node.x = x;
    node.y = y;
    node.parent = parent;
    node.f = f;
    node.g = g;
    node.h = h;
    cellNodes_[cell] = index;
    marks_[cell] = markOf(g);
    open_.file(index, f);
  } else if (mark != kClosed) {
    const std::int32_t index = cellNodes_[cell];
    Node& node = nodes_[static_cast<std::size_t>(index)];
    if (!(node.g > g)) return;
    // A node that becomes cheaper keeps its place in the open list on purpose.
    node.parent = parent;
    node.g = g;
    node.f = gWeight_ * g + hWeight_ * node.h;
    marks_[cell] = markOf(g);
    open_.change(index, node.f);
  }
}

// As OccMapPathFinder::xDistance computes it, which takes the root as a double. Rounded to a float
// that is the float's own root, since a double has more than twice a float's digits and two to
// spare; and up to 2^24 every sum of squares is a float.
inline float PathSearch::distanceToEnd(std::int32_t x, std::int32_t y) const {
  const std::int64_t dx = endX_ - x;
  const std::int64_t dy = endY_ - y;
  const std::int64_t square = dx * dx + dy * dy;
  if (square <= 1 << 24) return std::sqrt(static_cast<float>(square)) * resolution_;
  const auto farX = static_cast<double>(dx);
  const auto farY = static_cast<double>(dy);
  return static_cast<float>(std::sqrt(farX * farX + farY * farY)) * resolution_;
}

void PathSearch::finish() {
  finder_.numIterations = static_cast<std::int32_t>(closedNodes_.size());
  open_.copyTo(finder_.openList);
  for (const std::int32_t index : finder_.openList) {
    const Node& node = nodes_[static_cast<std::size_t>(index)];
    marks_[std::ptrdiff_t{node.y} * width_ + node.x] = kOpen;
  }
}

}  // namespace Brin
