// A whole search of the path finder, made fast: the same nodes, lists and arrays as expanding node
// by node with OccMapPathFinder's own steps, bit for bit.
//
//   bool found = PathSearch(finder).run();
//
// What a search spends its time on, and what is done about it:
//   - the open list: OpenList keeps its order without scanning it;
//   - neighbours to which the way at hand is no news, about four of five. The lowest cost of every
//     cell so far is kept by cell, in the array that holds the states afterwards; comparing with
//     it, for the neighbours of a row at once and without a branch, leaves few to look at closely.
//
// The literal model is tests/models/occmap_path_finder_model.hpp; see
// tests/occmap_path_finder_agreement_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/lanes.hpp"
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
    float length;    // metres
    float turnCost;  // when it is the first step
  };

  // Steps that follow each other in the table and lead to cells of one row, at most kLanes apart.
  struct StepGroup {
    std::int32_t dx;  // of the first one
    std::int32_t dy;
    std::ptrdiff_t offset;  // from cell to cell
    Floats lengths;         // metres
    Ints isStep;            // -1 where there is a step, else 0
  };

  void addStep(const Pose2Di& delta);
  bool isGoal(const Node& node) const;
  bool isInner(const Node& node) const;
  void expand(std::int32_t currentX, std::int32_t currentY, float currentG);
  void expandWithCare(const Node& current, bool isFirst);
  void offer(std::int32_t x, std::int32_t y, float g);
  float distanceToEnd(std::int32_t x, std::int32_t y) const;
  void finish();

  OccMapPathFinder& finder_;
  OpenList open_;
  std::vector<Step> steps_;
  std::vector<StepGroup> groups_;  // the same steps
  std::vector<Node>& nodes_;
  std::vector<Node>& closedNodes_;
  std::int32_t* marks_;      // by cell; what `cellStates` holds until the search is over
  std::int32_t* cellNodes_;  // by cell
  const float* values_;      // by cell
  std::int32_t width_;
  std::int32_t height_;
  std::int64_t reach_;  // the longest step along an axis, and the lanes of a group
  std::int32_t endX_;
  std::int32_t endY_;
  std::int32_t nearEnough_;  // to the end, in steps along the axes
  float resolution_;
  float threshold_;
  float gWeight_;
  float hWeight_;
};

}  // namespace Brin
