// A pose search on the merged hits of several key scans.
#pragma once

#include <optional>
#include <vector>

#include "korrin/pose_search.hpp"
#include "mapping/key_graph.hpp"

namespace Brin::mapping {

// Where to search: around a pose, so far to all sides.
struct SearchWindow {
  GraphPose centre;
  double reach = 0.0;  // metres
  double turn = 0.0;   // radians
};

// A pose, and the share of the points that fit there; near ones count more.
struct FoundPose {
  GraphPose pose;
  double score = 0.0;
};

class LocalSearch {
 public:
  // On the hits of `set`, up to `reach` metres from `viewpoint`; pixels of `resolution` metres, and
  // poses as far apart.
  LocalSearch(const KeyGraph& graph, const std::vector<std::size_t>& set,
              const GraphPose& viewpoint, double reach, double resolution);

  // Where poses are given and returned as seen from.
  const GraphPose& viewpoint() const { return viewpoint_; }

  // The best pose of the window, and the best one that is `apart` metres or more from it when
  // `count` is 2.
  std::vector<FoundPose> best(const std::vector<Point2D>& points, const SearchWindow& window,
                              double turnStep, int count = 1, double apart = 0.0) const;

 private:
  const GraphPose viewpoint_;
  const double resolution_;
  const PoseSearch search_;
};

}  // namespace Brin::mapping
