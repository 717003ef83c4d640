#include "src/path_search.hpp"

#include <algorithm>
#include <cstdlib>

#include "src/cell_state.hpp"

namespace Brin {

using Node = OccMapPathFinder::Node;

PathSearch::PathSearch(OccMapPathFinder& finder)
    : finder_(finder),
      width_(finder.coarseMap.image->width),
      height_(finder.coarseMap.image->height),
      reach_(0),
      valueStride_(finder.coarseMap.image->widthStep / static_cast<int>(sizeof(float))),
      values_(reinterpret_cast<const float*>(finder.coarseMap.image->imageData)),
      gWeight_(1.0f - Node::hWeight),
      hWeight_(Node::hWeight) {
  for (const Pose2Di& delta : finder.neighborDeltas) {
    const std::int64_t dx = delta.x;
    const std::int64_t dy = delta.y;
    reach_ = std::max({reach_, std::abs(dx), std::abs(dy)});
    steps_.push_back({delta.x, delta.y, static_cast<std::ptrdiff_t>(dy * width_ + dx),
                      static_cast<std::ptrdiff_t>(dy * valueStride_ + dx),
                      finder.xDistance(delta.x, delta.y),
                      finder.xComputeAngleCost(finder.start.theta, delta)});
  }
  const std::vector<std::int32_t>& order = finder.openList;
  for (auto node = order.rbegin(); node != order.rend(); ++node) {
    open_.putInFront(*node, finder.nodes[static_cast<std::size_t>(*node)].f);
  }
}

bool PathSearch::run() {
  bool found = false;
  for (bool isFirst = true; !open_.empty() && !found; isFirst = false) {
    ++finder_.numIterations;
    const Node current = finder_.nodes[static_cast<std::size_t>(open_.takeFirst())];
    finder_.closedNodes.push_back(current);
    finder_.xGetCellState({current.x, current.y, 0.0f}) = kClosed;
    found = reachesGoal(current);
    if (!found) expand(current, isFirst);
  }
  open_.copyTo(finder_.openList);
  return found;
}

bool PathSearch::reachesGoal(const Node& node) const {
  return finder_.xCmpPt({node.x, node.y, 0.0f}, finder_.end, true);
}

bool PathSearch::isInner(const Node& node) const {
  return node.x >= reach_ && node.y >= reach_ && node.x < width_ - reach_ &&
         node.y < height_ - reach_;
}

bool PathSearch::leavesTheMap(const Node& node, const Step& step) const {
  const std::int64_t x = std::int64_t{node.x} + step.dx;
  const std::int64_t y = std::int64_t{node.y} + step.dy;
  return x < 0 || y < 0 || x >= width_ || y >= height_;
}

void PathSearch::expand(const Node& current, bool isFirst) {
  const std::ptrdiff_t cell = std::ptrdiff_t{current.y} * width_ + current.x;
  const float* value = values_ + current.y * valueStride_ + current.x;
  const bool inner = isInner(current);
  for (const Step& step : steps_) {
    if (!inner && leavesTheMap(current, step)) continue;
    offer(current, step, static_cast<std::size_t>(cell + step.cellOffset), value[step.valueOffset],
          isFirst);
  }
}

void PathSearch::offer(const Node& current, const Step& step, std::size_t cell, float p,
                       bool isFirst) {
  std::int32_t& state = finder_.cellStates[cell];
  if (state == kClosed || finder_.obstacleThreshold > p) return;
  float g = current.g + step.length * (1.0f + 2.0f * (1.0f - p));
  if (isFirst) g += step.turnCost;
  const bool known = state == kOpen;
  std::int32_t& index = finder_.cellNodes[cell];
  if (known && !(finder_.nodes[static_cast<std::size_t>(index)].g > g)) return;
  const std::int32_t x = current.x + step.dx;
  const std::int32_t y = current.y + step.dy;
  const float h = finder_.xDistance(finder_.end.x - x, finder_.end.y - y);
  const float f = gWeight_ * g + hWeight_ * h;
  const auto parent = static_cast<std::int32_t>(finder_.closedNodes.size()) - 1;
  const Node node{x, y, 0.0f, parent, f, g, h};
  if (known) {
    // A node that becomes cheaper keeps its place in the open list on purpose.
    finder_.nodes[static_cast<std::size_t>(index)] = node;
    open_.change(index, f);
  } else if (state == kNeverSeen) {
    index = static_cast<std::int32_t>(finder_.nodes.size());
    finder_.nodes.push_back(node);
    state = kOpen;
    open_.file(index, f);
  }
}

}  // namespace Brin
