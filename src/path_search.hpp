// A whole search of the path finder, made fast: the same nodes, lists and arrays as expanding node
// by node with OccMapPathFinder's own steps, bit for bit.
//
//   bool found = PathSearch(finder).run();
//
// What a search spends its time on, and what is done about it:
//   - the open list: OpenList keeps its order without scanning it;
//   - neighbours to which the way at hand is no news: NeighborSurvey passes over them. The lowest
//     costs that it compares with are kept in the array that holds the states afterwards;
//   - memory that is new: makeNodeRoom;
//   - waiting. Which node is next is nearly always known before the open list has taken in what the
//     last one brought; so its neighbours are surveyed first, and need not wait for the list.
//
// The literal model is tests/models/occmap_path_finder_model.hpp; see
// tests/occmap_path_finder_agreement_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "src/neighbor_survey.hpp"
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

  // What the open list has not taken in yet.
  struct Change {
    std::int32_t index;
    float f;
    bool isNew;
  };

  bool isGoal(const Node& node) const;
  void expand(std::int32_t index, const Node& current);
  void expandWithCare(const Node& current);
  void surveyNext();
  void applyChanges();
  void offer(std::int32_t x, std::int32_t y, std::ptrdiff_t cell, float g);
  float distanceToEnd(std::int32_t x, std::int32_t y) const;
  void finish();

  OccMapPathFinder& finder_;
  std::vector<Node>& nodes_;
  std::vector<Node>& closedNodes_;
  std::int32_t* marks_;      // by cell; what `cellStates` holds until the search is over
  std::int32_t* cellNodes_;  // by cell
  const float* values_;      // by cell
  OpenList open_;
  NeighborSurvey survey_;
  std::int32_t surveyed_;        // the node that the survey is about, or -1
  std::vector<Change> changes_;  // room for those of one expansion
  Change* changesEnd_;
  std::int32_t parent_;  // the place in `closedNodes_` of the node being expanded
  std::int32_t width_;
  std::int32_t height_;
  std::size_t cells_;
  std::int32_t endX_;
  std::int32_t endY_;
  std::int32_t nearEnough_;  // to the end, in steps along the axes
  float resolution_;
  float threshold_;
  float gWeight_;
  float hWeight_;
};

}  // namespace Brin
