#include "src/path_search.hpp"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "core/norm.hpp"
#include "src/cell_state.hpp"
#include "src/node_room.hpp"

namespace Brin {

PathSearch::PathSearch(OccMapPathFinder& finder)
    : finder_(finder),
      nodes_(finder.nodes),
      closedNodes_(finder.closedNodes),
      marks_(finder.cellStates.get()),
      cellNodes_(finder.cellNodes.get()),
      values_(reinterpret_cast<const float*>(finder.coarseMap.image->imageData)),
      survey_(finder, values_, marks_),
      surveyed_(-1),
      changes_(finder.neighborDeltas.size()),
      changesEnd_(changes_.data()),
      parent_(-1),
      width_(finder.coarseMap.image->width),
      height_(finder.coarseMap.image->height),
      cells_(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_)),
      endX_(finder.end.x),
      endY_(finder.end.y),
      nearEnough_(finder.neighborhoodType == OccMapPathFinder::Double ? 1 : 0),
      resolution_(finder.coarseMap.params.resolution),
      threshold_(finder.obstacleThreshold),
      gWeight_(1.0f - Node::hWeight),
      hWeight_(Node::hWeight) {
  open_.file(0, nodes_[0].f);
}

bool PathSearch::run() {
  bool found = false;
  while (!found && !open_.empty()) {
    const std::int32_t index = open_.takeFirst();
    const Node& current = nodes_[static_cast<std::size_t>(index)];
    parent_ = static_cast<std::int32_t>(closedNodes_.size());
    if (closedNodes_.size() == closedNodes_.capacity()) makeNodeRoom(closedNodes_, cells_);
    closedNodes_.push_back(current);
    found = isGoal(current);
    if (found) {
      marks_[std::ptrdiff_t{current.y} * width_ + current.x] = kClosed;
    } else {
      expand(index, current);
      surveyNext();
      applyChanges();
    }
  }
  finish();
  return found;
}

inline bool PathSearch::isGoal(const Node& node) const {
  const std::int32_t dx = std::abs(node.x - endX_);
  return dx <= nearEnough_ && dx + std::abs(node.y - endY_) <= nearEnough_;
}

inline void PathSearch::expand(std::int32_t index, const Node& current) {
  const std::int32_t x = current.x;
  const std::int32_t y = current.y;
  const std::ptrdiff_t cell = std::ptrdiff_t{y} * width_ + x;
  if (surveyed_ != index) {
    if (parent_ == 0 || !survey_.canLook(current)) {
      marks_[cell] = kClosed;
      expandWithCare(Node(current));  // a copy, since `nodes_` grows
      return;
    }
    survey_.look(current);
  }
  marks_[cell] = kClosed;
  survey_.forNews([&](const NeighborSurvey::Step& step, float g) {
    offer(x + step.dx, y + step.dy, cell + step.offset, g);
  });
}

// Where steps lead off the map, or cost a turn.
void PathSearch::expandWithCare(const Node& current) {
  for (const NeighborSurvey::Step& step : survey_.steps()) {
    const std::int64_t x = std::int64_t{current.x} + step.dx;
    const std::int64_t y = std::int64_t{current.y} + step.dy;
    if (x < 0 || y < 0 || x >= width_ || y >= height_) continue;
    const std::ptrdiff_t cell =
        static_cast<std::ptrdiff_t>(y) * width_ + static_cast<std::ptrdiff_t>(x);
    const float p = values_[cell];
    if (threshold_ > p) continue;
    float g = current.g + step.length * (1.0f + 2.0f * (1.0f - p));
    if (parent_ == 0) g += step.turnCost;
    offer(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), cell, g);
  }
}

// A guess: what the open list takes in now may yet come before it.
inline void PathSearch::surveyNext() {
  surveyed_ = -1;
  if (open_.empty()) return;
  const std::int32_t next = open_.first();
  const Node& node = nodes_[static_cast<std::size_t>(next)];
  if (!survey_.canLook(node)) return;
  survey_.look(node);
  surveyed_ = next;
}

inline void PathSearch::applyChanges() {
  const Change* const end = changesEnd_;
  changesEnd_ = changes_.data();
  for (const Change* change = changes_.data(); change != end; ++change) {
    if (change->isNew) {
      open_.file(change->index, change->f);
    } else {
      open_.change(change->index, change->f);
    }
  }
}

inline void PathSearch::offer(std::int32_t x, std::int32_t y, std::ptrdiff_t cell, float g) {
  const std::int32_t mark = marks_[cell];
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
    if (nodes_.size() == nodes_.capacity()) makeNodeRoom(nodes_, cells_);
    // In place: a copy would be read back in other pieces than it was written in, which stalls.
    Node& node = nodes_.emplace_back();
    node.x = x;
    node.y = y;
    node.parent = parent_;
    node.f = f;
    node.g = g;
    node.h = h;
    cellNodes_[cell] = index;
    marks_[cell] = markOf(g);
    *changesEnd_++ = {index, f, true};
  } else if (mark != kClosed) {
    const std::int32_t index = cellNodes_[cell];
    Node& node = nodes_[static_cast<std::size_t>(index)];
    if (!(node.g > g)) return;
    // A node that becomes cheaper keeps its place in the open list on purpose.
    node.parent = parent_;
    node.g = g;
    node.f = gWeight_ * g + hWeight_ * node.h;
    marks_[cell] = markOf(g);
    *changesEnd_++ = {index, node.f, false};
  }
}

// As OccMapPathFinder::xDistance computes it, which takes the root as a double. Rounded to a float
// that is the float's own root, since a double has more than twice a float's digits and two to
// spare; and below 2^24 every sum of squares is a float.
inline float PathSearch::distanceToEnd(std::int32_t x, std::int32_t y) const {
  const auto dx = static_cast<float>(endX_ - x);
  const auto dy = static_cast<float>(endY_ - y);
  const float square = dx * dx + dy * dy;
  if (square < 1 << 24) return std::sqrt(square) * resolution_;
  return normOf(endX_ - x, endY_ - y) * resolution_;
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
