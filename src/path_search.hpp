// The loop of the path finder's search, made fast: the same nodes, lists and arrays as expanding
// node by node with OccMapPathFinder's own steps, bit for bit.
//
//   bool found = PathSearch(finder).run();
//
// What a search spends its time on, and what is done about it:
//   - the open list: OpenList keeps its order without scanning it;
//   - the look at the neighbours: offsets and lengths are worked out once for the table in use, and
//     cells that no offset can leave the map from are expanded without border tests.
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
  // The arrays of `finder` must be of the size of its coarse map, and the cells of its nodes must
  // lie on it. Takes over the open list as it is.
  explicit PathSearch(OccMapPathFinder& finder);

  // Until the goal is taken (true) or no node is open (false); then the fields show all of it.
  bool run();

 private:
  // One way to leave a cell.
  struct Step {
    std::int32_t dx;
    std::int32_t dy;
    std::ptrdiff_t cellOffset;   // in the arrays
    std::ptrdiff_t valueOffset;  // in the image
    float length;                // metres
    float turnCost;              // when it is the first step
  };

  bool reachesGoal(const OccMapPathFinder::Node& node) const;
  bool isInner(const OccMapPathFinder::Node& node) const;
  bool leavesTheMap(const OccMapPathFinder::Node& node, const Step& step) const;
  void expand(const OccMapPathFinder::Node& current, bool isFirst);
  void offer(const OccMapPathFinder::Node& current, const Step& step, std::size_t cell, float value,
             bool isFirst);

  OccMapPathFinder& finder_;
  OpenList open_;
  std::vector<Step> steps_;
  std::int32_t width_;
  std::int32_t height_;
  std::int64_t reach_;          // the longest step along an axis
  std::ptrdiff_t valueStride_;  // floats a row of the image
  const float* values_;
  float gWeight_;
  float hWeight_;
};

}  // namespace Brin
