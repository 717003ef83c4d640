// A search of PathPlanner: the same path, and as many nodes taken, as OccMapPathFinder on the same
// cells, bit for bit; of the rest it keeps as little as it needs.
//
//   PlanRoom room(grid);                        // once; its memory serves many searches
//   PlanSearch search(request, grid, room);
//   bool found = search.run();                  // and then room.reset()
//
// What makes it fast, beside what PathSearch does:
//   - one comparison tells whether a step is news. A CostGrid has infinity where it is blocked and
//     around the map, and a cell's mark is the higher the lower its lowest cost so far is: 0 where
//     none is known, the highest there is once the cell is closed. Blocked cells come out at 0,
//     too;
//   - what was expanded is not copied; a node is half a cache line, and stays where it was made;
//   - a search resets the marks of the cells that it came to, and nothing in proportion to the map.
//
// Costs must be finite and not negative: cells of at most 1 in metres that make sense.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "core/lanes.hpp"
#include "korrin/core/geometry.hpp"
#include "src/cost_grid.hpp"
#include "src/open_list.hpp"
#include "src/step_table.hpp"
#include "src/zeroed_array.hpp"

namespace Brin {

// A cell as a search knows it.
struct alignas(32) PlanNode {
  std::int32_t cell;  // of the grid
  std::int32_t x;
  std::int32_t y;
  std::int32_t parent;  // the node it was reached from; -1: the start
  float g;              // cost from the start
  float h;              // distance to the goal
};

// Nodes one after the other, in blocks, so that they stay where they are while more are made.
class PlanNodes {
 public:
  std::int32_t size() const { return size_; }
  PlanNode& operator[](std::int32_t i) {
    const auto at = static_cast<std::uint32_t>(i);
    return blocks_[at >> kShift][at & (kBlock - 1)];
  }
  PlanNode& add() {
    if (size_ == room_) addBlock();
    return (*this)[size_++];
  }
  void clear() { size_ = 0; }

 private:
  static constexpr unsigned kShift = 17;
  static constexpr std::uint32_t kBlock = 1u << kShift;

  void addBlock() {
    blocks_.push_back(makeZeroedArray<PlanNode>(kBlock));
    room_ += static_cast<std::int32_t>(kBlock);
  }

  std::vector<ZeroedArray<PlanNode>> blocks_;
  std::int32_t size_ = 0;
  std::int32_t room_ = 0;
};

// What one search at a time writes to. Between searches all marks are 0 and there are no nodes.
class PlanRoom {
 public:
  explicit PlanRoom(const CostGrid& grid)
      : marks(makeZeroedArray<std::int32_t>(grid.size())),
        cellNodes(makeZeroedArray<std::int32_t>(grid.size())) {}

  void reset() {
    for (std::int32_t i = 0; i < nodes.size(); ++i) marks[nodes[i].cell] = 0;
    nodes.clear();
    open.clear();
  }

  ZeroedArray<std::int32_t> marks;      // by cell of the grid
  ZeroedArray<std::int32_t> cellNodes;  // by cell of the grid: its node, where the mark is not 0
  PlanNodes nodes;
  OpenList open;
};

// What to search for.
struct PlanRequest {
  Pose2Di start;  // free
  Pose2Di goal;   // free
  float weight;
  float angleCostFactor;
  float resolution;
};

class PlanSearchBase {
 public:
  std::int32_t iterations() const { return iterations_; }

  // After a search that found the goal: its cost, and the cells from the start to it.
  float cost() const { return cost_; }
  std::vector<Point2Di> path() const;

 protected:
  PlanSearchBase(const PlanRequest& request, const CostGrid& grid, PlanRoom& room);

  // How high the mark is of a cell that a way of that cost leads to.
  static std::int32_t markOf(float g) {
    std::int32_t bits;
    std::memcpy(&bits, &g, sizeof bits);
    return kMarkOfFree - bits;
  }
  float distanceToGoal(std::int32_t x, std::int32_t y) const;

  static constexpr std::int32_t kMarkOfFree = 0x7f800000;  // the bits of infinity
  static constexpr std::int32_t kClosedMark = 0x7fffffff;

  const PlanRequest& request_;
  const CostGrid& grid_;
  PlanRoom& room_;
  std::int32_t iterations_ = 0;
  std::int32_t found_ = -1;  // the node
  float cost_ = 0.0f;
};

// With the steps of one neighbourhood.
template <typename Table>
class PlanSearch : public PlanSearchBase {
 public:
  // The start and the goal are free. Borrows all three.
  PlanSearch(const PlanRequest& request, const CostGrid& grid, PlanRoom& room);

  // Until the goal is taken (true) or no node is open (false).
  bool run();

 private:
  static constexpr std::size_t kGroups = Table::kGroups.size();
  static constexpr std::size_t kLaneCount = kGroups * kLanes;

  struct Step {
    std::int32_t dx;
    std::int32_t dy;
    std::int32_t offset;  // from cell to cell
    float turnCost;       // when it is the first one
  };

  // What the open list has not taken in yet.
  struct Change {
    std::int32_t index;
    float f;
    bool isNew;
  };

  bool isGoal(const PlanNode& node) const;
  void look(const PlanNode& node);
  void expand(std::int32_t index, PlanNode& node);
  void addTurns();
  void lookAtNext();
  void applyChanges();
  void offer(std::int32_t x, std::int32_t y, std::int32_t cell, float g);

  std::array<std::int32_t, kGroups> groupOffsets_;
  std::array<Floats, kGroups> lengths_;  // metres; infinity where there is no step
  std::array<Step, kLaneCount> steps_;   // by lane
  std::array<float, kLaneCount> costs_;  // of the node that was looked at
  std::uint64_t news_ = 0;               // a bit for each lane
  std::int32_t lookedAt_ = -1;           // that node
  std::int32_t parent_ = -1;             // the node being expanded
  std::array<Change, kLaneCount> changes_;
  Change* changesEnd_ = nullptr;
  float gWeight_;
  float hWeight_;
};

// Searches with the steps of `type`; calls use(search, found).
template <typename Use>
void searchPlan(OccMapPathFinder::NeighborhoodType type, const PlanRequest& request,
                const CostGrid& grid, PlanRoom& room, Use use) {
  withSteps(type, [&](auto steps) {
    PlanSearch<decltype(steps)> search(request, grid, room);
    const bool found = search.run();
    use(static_cast<const PlanSearchBase&>(search), found);
  });
}

extern template class PlanSearch<Steps<OccMapPathFinder::Simple>>;
extern template class PlanSearch<Steps<OccMapPathFinder::Double>>;
extern template class PlanSearch<Steps<OccMapPathFinder::Triple>>;

}  // namespace Brin
