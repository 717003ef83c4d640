// A whole search of the path finder, made fast: the same nodes, lists and arrays as expanding node
// by node with OccMapPathFinder's own steps, bit for bit.
//
//   bool found = PathSearch(finder).run();
//
// What a search spends its time on, and what is done about it:
//   - the open list: OpenList keeps its order without scanning it;
//   - neighbours to which the way at hand is no news, about four of five. The lowest cost of every
//     cell so far is kept by cell, in the array that holds the states afterwards; comparing with
//     it, for four neighbours at once and without a branch, leaves few to look at closely;
//   - waiting for memory: what the next node needs is asked for while this one is expanded.
//
// The literal model is tests/models/occmap_path_finder_model.hpp; see
// tests/occmap_path_finder_agreement_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "src/open_list.hpp"

namespace Brin {

class PathSearch {
 public:
  // `finder` has been reset for a search on its coarse map: fresh arrays, and nothing stored but
  // the start node. The image's rows must follow each other without padding.
  explicit PathSearch(OccMapPathFinder& finder);

  // Until the goal is taken (true) or no node is open (false); then the fields show all of it.
  bool run();

 private:
  using Node = OccMapPathFinder::Node;

  // One way to leave a cell.
  struct Step {
    std::int32_t dx;
    std::int32_t dy;
    std::ptrdiff_t offset;  // from cell to cell
    float length;           // metres
    float turnCost;         // when it is the first step
  };

  // Four steps side by side. Spare places hold the step to the cell itself, which is closed.
  static constexpr std::size_t kLanes = 8;
  using Floats = float __attribute__((vector_size(16)));
  using Ints = std::int32_t __attribute__((vector_size(16)));
  struct StepGroup {
    std::ptrdiff_t offsets[kLanes] = {};
    Floats lengths[2] = {};  // metres
  };

  struct Change {
    std::int32_t index;
    float f;
    bool isNew;
  };
  std::vector<Change> changes_;
  void addStep(const Pose2Di& delta);
  void prefetch(std::int32_t index) const;
  bool isGoal(const Node& node) const;
  bool isInner(const Node& node) const;
  void expand(const Node& current);
  void expandWithCare(const Node& current, bool isFirst);
  static unsigned lanesThatAre(Ints truths);
  void offer(const Node& current, const Step& step, float g);
  void updateOpenList();
  float distanceToEnd(std::int32_t x, std::int32_t y) const;
  std::size_t count_ = 0;
  void restoreOpenList();
  void finish();

  OccMapPathFinder& finder_;
  OpenList open_;
  std::vector<Step> steps_;
  std::vector<StepGroup> groups_;  // the same steps
  std::int32_t* marks_;            // by cell; what `cellStates` holds until the search is over
  const float* values_;            // by cell
  std::ptrdiff_t width_;
  std::ptrdiff_t height_;
  std::int64_t reach_;  // the longest step along an axis
  float threshold_;
  float resolution_;
  float gWeight_;
  float hWeight_;
  bool isSmall_;
};

}  // namespace Brin
