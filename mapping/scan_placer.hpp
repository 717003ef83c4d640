// Where a scan was taken, as the last key scans before it tell.
#pragma once

#include <memory>
#include <vector>

#include "mapping/key_graph.hpp"
#include "mapping/local_search.hpp"

namespace Brin::mapping {

// Where a scan was placed.
struct Placement {
  GraphPose pose;
  // What the fit knows of the pose, in the world's frame; nothing where nothing fitted.
  Eigen::Matrix3d information = Eigen::Matrix3d::Zero();
  bool isMatched = false;
};

class ScanPlacer {
 public:
  // Places a scan that was taken after the one at `before`, with the odometry's `motion` in
  // between. There is a key scan.
  Placement place(const KeyGraph& graph, const ScanSurface& scan, const GraphPose& before,
                  const GraphPose& motion);

  // To be called after key scans moved.
  void forget() { search_.reset(); }

 private:
  void lookAtLastKeys(const KeyGraph& graph, const GraphPose& guess);

  std::vector<std::size_t> set_;  // the last key scans
  std::unique_ptr<LocalSearch> search_;
  std::size_t keys_ = 0;  // how many there were when the search was made
};

}  // namespace Brin::mapping
