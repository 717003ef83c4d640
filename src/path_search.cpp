#include "src/path_search.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "src/cell_state.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Brin {
namespace {

// A mark is a cell's lowest cost so far, as the bits of a float; or kNeverSeen or kClosed. What
// looks like one of these two but is a cost is marked as -0.
std::int32_t markOf(float cost) {
  std::int32_t bits;
  std::memcpy(&bits, &cost, sizeof bits);
  return bits == kNeverSeen || bits == kClosed ? std::numeric_limits<std::int32_t>::min() : bits;
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
      resolution_(finder.coarseMap.params.resolution),
      gWeight_(1.0f - Node::hWeight),
      hWeight_(Node::hWeight),
      isSmall_(width_ * width_ + height_ * height_ < (1 << 24)) {
  for (const Pose2Di& delta : finder.neighborDeltas) addStep(delta);
  steps_.resize(groups_.size() * kLanes);
  changes_.resize(steps_.size());
  restoreOpenList();
}

void PathSearch::addStep(const Pose2Di& delta) {
  const std::int64_t dx = delta.x;
  const std::int64_t dy = delta.y;
  reach_ = std::max({reach_, std::abs(dx), std::abs(dy)});
  const auto offset = static_cast<std::ptrdiff_t>(dy * width_ + dx);
  const std::size_t lane = steps_.size() % kLanes;
  if (lane == 0) groups_.emplace_back();
  groups_.back().offsets[lane] = offset;
  groups_.back().lengths[lane / 4][lane % 4] = finder_.xDistance(delta.x, delta.y);
  steps_.push_back({delta.x, delta.y, offset, finder_.xDistance(delta.x, delta.y),
                    finder_.xComputeAngleCost(finder_.start.theta, delta)});
}

bool PathSearch::run() {
  bool found = false;
  for (bool isFirst = true; !open_.empty(); isFirst = false) {
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
    updateOpenList();
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
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    const Step& step = steps_[i];
    const std::int64_t x = std::int64_t{current.x} + step.dx;
    const std::int64_t y = std::int64_t{current.y} + step.dy;
    if (x < 0 || y < 0 || x >= width_ || y >= height_) continue;
    const float p =
        values_[static_cast<std::ptrdiff_t>(y) * width_ + static_cast<std::ptrdiff_t>(x)];
    if (threshold_ > p) continue;
    float g = current.g + step.length * (1.0f + 2.0f * (1.0f - p));
    if (isFirst) g += step.turnCost;
    offer(current, step, g);
  }
}

// The same where no step leads off the map, and none costs a turn.
void PathSearch::expand(const Node& current) {
  const std::ptrdiff_t cell = current.y * width_ + current.x;
  const float* value = values_ + cell;
  const std::int32_t* mark = marks_ + cell;
  const Step* step = steps_.data();
  for (const StepGroup& group : groups_) {
    Floats g[2];
    unsigned lanes = 0;
    for (int half = 0; half < 2; ++half) {
      const std::ptrdiff_t* at = group.offsets + half * 4;
      const Floats p = {value[at[0]], value[at[1]], value[at[2]], value[at[3]]};
      const Ints marks = {mark[at[0]], mark[at[1]], mark[at[2]], mark[at[3]]};
      const auto known = reinterpret_cast<Floats>(marks);
      g[half] = current.g + group.lengths[half] * (1.0f + 2.0f * (1.0f - p));
      const Ints isNews = ~(threshold_ > p) & ((known == 0.0f) | (known > g[half]));
      lanes |= lanesThatAre(isNews) << (half * 4);
    }
    for (; lanes != 0; lanes &= lanes - 1) {
      const int lane = __builtin_ctz(lanes);
      offer(current, step[lane], g[lane / 4][lane % 4]);
    }
    step += kLanes;
  }
}

inline unsigned PathSearch::lanesThatAre(Ints truths) {
#ifdef __SSE2__
  return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(truths)));
#else
  const Ints bits = truths & Ints{1, 2, 4, 8};
  return static_cast<unsigned>(bits[0] | bits[1] | bits[2] | bits[3]);
#endif
}

inline float PathSearch::distanceToEnd(std::int32_t x, std::int32_t y) const {
  const std::int32_t dx = finder_.end.x - x;
  const std::int32_t dy = finder_.end.y - y;
  if (isSmall_) return std::sqrt(static_cast<float>(dx * dx + dy * dy)) * resolution_;
  const double a = dx;
  const double b = dy;
  return static_cast<float>(std::sqrt(a * a + b * b)) * resolution_;
}

inline void PathSearch::offer(const Node& current, const Step& step, float g) {
  const std::ptrdiff_t cell = current.y * width_ + current.x + step.offset;
  const std::int32_t mark = marks_[cell];
  std::vector<Node>& nodes = finder_.nodes;
  if (mark == kNeverSeen) {
    const std::int32_t x = current.x + step.dx;
    const std::int32_t y = current.y + step.dy;
    // As xDistance computes it.
    const float h = distanceToEnd(x, y);
    const auto index = static_cast<std::int32_t>(nodes.size());
    marks_[cell] = markOf(g);
    finder_.cellNodes[static_cast<std::size_t>(cell)] = index;
    Node& node = nodes.emplace_back();
    node.x = x;
    node.y = y;
    node.parent = finder_.numIterations - 1;
    node.f = gWeight_ * g + hWeight_ * h;
    node.g = g;
    node.h = h;
    changes_[count_++] = {index, node.f, true};
  } else if (mark != kClosed) {
    const std::int32_t index = finder_.cellNodes[static_cast<std::size_t>(cell)];
    Node& node = nodes[static_cast<std::size_t>(index)];
    if (!(node.g > g)) return;
    const float before = node.f;
    marks_[cell] = markOf(g);
    node.parent = finder_.numIterations - 1;
    node.g = g;
    node.f = gWeight_ * g + hWeight_ * node.h;
    changes_[count_++] = {index, node.f, false};
    if (!(node.f <= before)) {
      // Only with a weight outside [0, 1] or costs that are not finite.
      --count_;
      updateOpenList();
      open_.copyTo(finder_.openList);
      restoreOpenList();
    }
  }
}

// A node that becomes cheaper keeps its place in the open list on purpose.
inline void PathSearch::updateOpenList() {
  for (std::size_t i = 0; i < count_; ++i) {
    const Change& change = changes_[i];
    if (change.isNew) {
      open_.file(change.index, change.f);
    } else {
      open_.lower(change.index, change.f);
    }
  }
  count_ = 0;
}

void PathSearch::restoreOpenList() {
  open_.clear();
  const std::vector<std::int32_t>& order = finder_.openList;
  for (auto node = order.rbegin(); node != order.rend(); ++node) {
    open_.putInFront(*node, finder_.nodes[static_cast<std::size_t>(*node)].f);
  }
}

void PathSearch::finish() {
  open_.copyTo(finder_.openList);
  for (const std::int32_t index : finder_.openList) {
    const Node& node = finder_.nodes[static_cast<std::size_t>(index)];
    marks_[node.y * width_ + node.x] = kOpen;
  }
}

}  // namespace Brin
