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

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "core/huge_pages.hpp"
#include "core/lanes.hpp"
#include "korrin/core/geometry.hpp"
#include "src/cost_grid.hpp"
#include "src/open_list.hpp"
#include "src/step_table.hpp"
#include "src/zeroed_array.hpp"

namespace Brin {

// A cell as a search knows it.
struct alignas(16) PlanNode {
  std::int32_t cell;    // of the grid
  std::int32_t parent;  // the node it was reached from; -1: the start
  std::int32_t y;       // its row; which column it is follows
  float g;              // cost from the start
};

// What is known of a cell of the grid, side by side, since both are looked at in turn.
struct PlanMark {
  std::int32_t height;  // how high its mark is
  std::int32_t node;    // where that is not 0
};

// Nodes one after the other.
class PlanNodes {
 public:
  // For searches that make so many nodes at most.
  explicit PlanNodes(std::int64_t most) : most_(most) {}
  ~PlanNodes() {
    if (room_ > 0) munmap(nodes_, bytesOf(room_));
  }
  PlanNodes(const PlanNodes&) = delete;
  PlanNodes& operator=(const PlanNodes&) = delete;

  std::int32_t size() const { return size_; }
  void resize(std::int32_t size) { size_ = size; }
  // Good until the next call of makeRoom.
  PlanNode* data() const { return nodes_; }

  // For `more` nodes behind those that there are.
  void makeRoom(std::int32_t more) {
    if (room_ - size_ < more) grow();
  }

 private:
  static std::size_t bytesOf(std::int64_t count) {
    return static_cast<std::size_t>(count) * sizeof(PlanNode);
  }

  // Pages are moved, not copied. The first one is a huge one already, unless that is too much: a
  // search would come to hundreds of small ones.
  void grow() {
    constexpr std::int64_t kFirst = kHugePage / sizeof(PlanNode);
    const std::int64_t next = room_ == 0 ? std::min(kFirst, most_) : 4 * std::int64_t{room_};
    const std::size_t bytes = bytesOf(next);
    if (next > std::numeric_limits<std::int32_t>::max() ||
        static_cast<std::int64_t>(bytes / sizeof(PlanNode)) != next) {
      throw std::bad_alloc();
    }
    void* const pages = room_ == 0 ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                                          MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
                                   : mremap(nodes_, bytesOf(room_), bytes, MREMAP_MAYMOVE);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    if (bytes >= kHugePage) madvise(pages, bytes, MADV_HUGEPAGE);
    nodes_ = static_cast<PlanNode*>(pages);
    room_ = static_cast<std::int32_t>(next);
  }

  std::int64_t most_;
  PlanNode* nodes_ = nullptr;
  std::int32_t size_ = 0;
  std::int32_t room_ = 0;
};

// What one search at a time writes to. Between searches all marks are 0 and there are no nodes.
class PlanRoom {
 public:
  explicit PlanRoom(const CostGrid& grid)
      : marks(makeZeroedArray<PlanMark>(grid.size())), nodes(grid.size() + kMostSteps) {}

  void reset() {
    const PlanNode* const all = nodes.data();
    for (std::int32_t i = 0; i < nodes.size(); ++i) marks.get()[all[i].cell].height = 0;
    nodes.resize(0);
    open.clear();
  }

  // Every search needs the first page of nodes; the system clears it at the first touch.
  void touchFirstNodes() {
    nodes.makeRoom(kMostSteps);
    *nodes.data() = PlanNode{};
  }

  // Room for one expansion is made whatever it brings.
  static constexpr std::int64_t kMostSteps = 64;

  ZeroedArray<PlanMark> marks;  // by cell of the grid
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

// What a search found.
class PlanSearchBase {
 public:
  std::int32_t iterations() const { return iterations_; }

  // After a search that found the goal: its cost, and the cells from the start to it.
  float cost() const { return room_.nodes.data()[found_].g; }
  std::vector<Point2Di> path() const;

 protected:
  PlanSearchBase(const PlanRequest& request, const CostGrid& grid, PlanRoom& room)
      : request_(request), grid_(grid), room_(room) {}

  const PlanRequest& request_;
  const CostGrid& grid_;
  PlanRoom& room_;
  std::int32_t iterations_ = 0;
  std::int32_t found_ = -1;  // the node
};

// With the steps of one neighbourhood.
template <typename Table>
class PlanSearch : public PlanSearchBase {
 public:
  // The start and the goal are free. Borrows all three.
  PlanSearch(const PlanRequest& request, const CostGrid& grid, PlanRoom& room)
      : PlanSearchBase(request, grid, room) {}

  // Until the goal is taken (true) or no node is open (false).
  bool run();

 private:
  static constexpr std::size_t kGroups = Table::kGroups.size();
  static constexpr std::size_t kLaneCount = kGroups * kLanes;

  struct Lanes;
  struct Survey;
  struct Changes;
  struct Field;

  void begin();
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
