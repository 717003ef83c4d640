// Which neighbours of a cell a path search has to look at: those that are free and that the way at
// hand reaches for the first time, or more cheaply than any before.
//
//   survey.look(node);
//   survey.forNews([&](const NeighborSurvey::Step& step, float g) { ... });
//
// About four of five neighbours are no news. The neighbours of a row are compared at once and
// without a branch, so that these cost next to nothing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/lanes.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "src/cell_state.hpp"

namespace Brin {

// While a search is under way, each cell has a mark: its lowest cost so far, as the bits of a
// float; or kNeverSeen or kClosed, and so costs that have the bits of one of these are marked with
// the next higher ones. Whoever compares with marks looks at the node itself before anything is
// changed.
inline std::int32_t markOf(float cost) {
  static_assert(kNeverSeen == 0 && kClosed == 2, "both are even");
  std::int32_t bits;
  std::memcpy(&bits, &cost, sizeof bits);
  return bits == kNeverSeen || bits == kClosed ? bits + 1 : bits;
}

class NeighborSurvey {
 public:
  using Node = OccMapPathFinder::Node;

  // One way to leave a cell.
  struct Step {
    std::int32_t dx;
    std::int32_t dy;
    std::ptrdiff_t offset;  // from cell to cell
    float length;           // metres
    float turnCost;         // when it is the first step
  };

  // The steps are the finder's; `marks` and `values`, one a cell, are borrowed.
  NeighborSurvey(const OccMapPathFinder& finder, const float* values, const std::int32_t* marks)
      : values_(values),
        marks_(marks),
        width_(finder.coarseMap.image->width),
        threshold_(finder.obstacleThreshold) {
    std::int64_t reach = 0;
    for (const Pose2Di& delta : finder.neighborDeltas)
      reach = std::max(reach, addStep(finder, delta));
    const std::int64_t height = finder.coarseMap.image->height;
    innerWidth_ = static_cast<std::uint32_t>(std::max<std::int64_t>(width_ - 2 * reach, 0));
    innerHeight_ = static_cast<std::uint32_t>(std::max<std::int64_t>(height - 2 * reach, 0));
    if (innerWidth_ > 0) innerFrom_ = static_cast<std::int32_t>(reach);
  }

  // In the order of the table.
  const std::vector<Step>& steps() const { return steps_; }

  // Whether nothing that look() reads is off the map.
  bool canLook(const Node& node) const {
    return static_cast<std::uint32_t>(node.x - innerFrom_) < innerWidth_ &&
           static_cast<std::uint32_t>(node.y - innerFrom_) < innerHeight_;
  }

  void look(const Node& node) {
    const std::ptrdiff_t cell = std::ptrdiff_t{node.y} * width_ + node.x;
    const float nodeG = node.g;
    for (Block& block : blocks_) {
      unsigned news = 0;
      for (std::size_t i = 0; i < block.count; ++i) {
        const Group& group = block.groups[i];
        const auto p = load<Floats>(values_ + cell + group.offset);
        const auto marks = load<Ints>(marks_ + cell + group.offset);
        const Floats g = nodeG + group.lengths * (1.0f + 2.0f * (1.0f - p));
        const Ints isLower = reinterpret_cast<Floats>(marks) > g;
        store(block.costs + i * kLanes, g);
        news |= laneBits(group.isStep & ~(threshold_ > p) & ((marks == kNeverSeen) | isLower))
                << (i * kLanes);
      }
      block.news = news;
    }
  }

  // Calls use(step, cost) for what look() found, in the order of the table.
  template <typename Use>
  void forNews(Use use) const {
    for (const Block& block : blocks_) {
      for (unsigned news = block.news; news != 0; news &= news - 1) {
        const auto lane = static_cast<unsigned>(__builtin_ctz(news));
        use(block.steps[lane], block.costs[lane]);
      }
    }
  }

 private:
  // Steps that follow each other in the table and lead to cells of one row, at most kLanes apart.
  struct Group {
    std::ptrdiff_t offset;  // of the first one
    Floats lengths;         // metres
    Ints isStep;            // -1 where there is a step, else 0
  };

  // As many groups as have lanes that fit the bits of a number.
  static constexpr std::size_t kGroups = 8;
  struct Block {
    std::size_t count = 0;
    unsigned news = 0;
    Group groups[kGroups] = {};
    float costs[kGroups * kLanes] = {};
    Step steps[kGroups * kLanes] = {};
  };

  // Returns how far its group reaches along an axis.
  std::int64_t addStep(const OccMapPathFinder& finder, const Pose2Di& delta) {
    const std::int64_t dx = delta.x;
    const std::int64_t dy = delta.y;
    const Step step{delta.x, delta.y, static_cast<std::ptrdiff_t>(dy * width_ + dx),
                    finder.xDistance(delta.x, delta.y),
                    finder.xComputeAngleCost(finder.start.theta, delta)};
    const bool goesOn = !steps_.empty() && steps_.back().dx < dx && steps_.back().dy == dy &&
                        dx - firstDx_ < kLanes;
    if (!goesOn) {
      addGroup(step.offset);
      firstDx_ = dx;
    }
    Block& block = blocks_.back();
    Group& group = block.groups[block.count - 1];
    const auto lane = static_cast<std::size_t>(dx - firstDx_);
    group.lengths[lane] = step.length;
    group.isStep[lane] = -1;
    block.steps[(block.count - 1) * kLanes + lane] = step;
    steps_.push_back(step);
    return std::max(std::abs(dx) + kLanes - 1, std::abs(dy));
  }

  void addGroup(std::ptrdiff_t offset) {
    if (blocks_.empty() || blocks_.back().count == kGroups) blocks_.emplace_back();
    Block& block = blocks_.back();
    block.groups[block.count++].offset = offset;
  }

  const float* values_;
  const std::int32_t* marks_;
  std::int32_t width_;
  float threshold_;
  std::int32_t innerFrom_ = 0;  // the first column, and row, of the cells that look() may look at
  std::uint32_t innerWidth_ = 0;
  std::uint32_t innerHeight_ = 0;
  std::int64_t firstDx_ = 0;  // of the last group
  std::vector<Block> blocks_;
  std::vector<Step> steps_;
};

}  // namespace Brin
