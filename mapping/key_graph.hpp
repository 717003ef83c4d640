// Key scans, the links between them, and the poses that fit these best.
#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "korrin/mapping/scan_aligner.hpp"
#include "mapping/scan_surface.hpp"
#include "mapping/surface_fit.hpp"

namespace Brin::mapping {

// A scan that others are matched with.
struct KeyScan {
  std::size_t scan = 0;  // its number among all scans
  ScanSurface surface;
  GraphPose pose;      // as corrected so far
  GraphPose odometry;  // as it was told
  double path = 0.0;   // metres driven up to here, half a metre for each radian turned
};

// What was found out about two key scans. The information is that of GraphInformation.
struct KeyLink {
  std::size_t from = 0;
  std::size_t to = 0;
  GraphPose motion;
  Eigen::Matrix3d information = Eigen::Matrix3d::Zero();
  LinkKind kind = LinkKind::Odometry;
  bool dropped = false;
};

// A key scan as seen from another one, and how sure that is.
struct SeenKey {
  GraphPose pose;
  Eigen::Matrix3d covariance = Eigen::Matrix3d::Zero();
  bool reached = false;

  double shift() const;  // standard deviation in metres, in the direction where it is larger
  double turn() const;   // in radians
};

// What odometry knows of a motion that it tells.
Eigen::Matrix3d odometryInformation(const GraphPose& motion);

class KeyGraph {
 public:
  std::vector<KeyScan> keys;
  std::vector<KeyLink> links;
  // How unsure each key scan's pose is, as seen from the one before; one less than there are keys.
  std::vector<Eigen::Matrix3d> steps;

  // Moves the keys to where they fit the links best. Then loops that contradict the result are
  // dropped, and the rest is solved again.
  void solve();

  // What new keys, links and solutions change, to be undone.
  struct Snapshot {
    std::vector<GraphPose> poses;  // of each key
    std::vector<bool> dropped;     // of each link
    std::size_t steps = 0;
  };
  Snapshot snapshot() const;
  void restore(const Snapshot& before) noexcept;

  // The graph as it is solved, without dropped links.
  PoseGraph poseGraph() const;

  // All links, between scans.
  std::vector<ScanLink> scanLinks() const;

  // Drops the loops that contradict the poses as they are; how many.
  std::size_t dropContradictions();

  // All key scans as seen from one of them. Uncertainty adds up along the way, and of all ways over
  // steps and loops the one that leaves least of it counts (Dijkstra's algorithm): more than what
  // all links together leave, so that nothing is missed.
  std::vector<SeenKey> seenFromKey(std::size_t key) const;

  // `index` and the keys up to `length` metres of way before it, and after it if so wanted: at most
  // `most`, in order.
  std::vector<std::size_t> stretch(std::size_t index, double length, std::size_t most,
                                   bool alsoAfter) const;

  // The hits of several key scans as one scan, seen from `viewpoint`, as far as `reach` metres.
  Scan merged(const std::vector<std::size_t>& set, const GraphPose& viewpoint, double reach) const;

 private:
  void solveOnce();
  bool contradicts(const KeyLink& link) const;
};

}  // namespace Brin::mapping
