// What a ScanAligner does, and what settling a whole log needs of it.
#pragma once

#include <vector>

#include "korrin/mapping/scan_aligner.hpp"
#include "mapping/key_graph.hpp"
#include "mapping/loop_search.hpp"
#include "mapping/scan_placer.hpp"

namespace Brin::mapping {

// Where a scan is, as seen from a key scan: it moves with that.
struct KeptScan {
  std::size_t key = 0;
  GraphPose fromKey;
};

// A setting that is not above 0, or not a number, is std::invalid_argument, which names it.
void checkSettings(const AlignerSettings& settings);

class AlignerCore {
 public:
  explicit AlignerCore(const AlignerSettings& settings) : settings_(settings) {}

  // As ScanAligner::add; what it throws leaves all as it was.
  void add(const Scan& scan, const Pose2D& odometry);

  // Takes a scan at the pose it is told to be at, with no matching and no links.
  void take(const Scan& scan, const Pose2D& pose);

  const AlignerSettings& settings() const { return settings_; }
  std::size_t scans() const { return scans_.size(); }
  GraphPose pose(std::size_t scan) const;
  AlignerSummary summary() const;

  // The graph's key scans may be moved.
  KeyGraph graph;
  const std::vector<KeptScan>& keptScans() const { return scans_; }

  // Puts a scan that is no key scan where it was found to be.
  void movePose(std::size_t scan, const GraphPose& pose);

 private:
  // The pose, or the last one if it is none.
  GraphPose usable(const Pose2D& odometry) const;
  Placement placed(const ScanSurface& surface, const GraphPose& told);
  void keep(const GraphPose& pose);
  bool isKey(const GraphPose& pose) const;
  void addKey(ScanSurface surface, const GraphPose& pose, const GraphPose& odometry);
  void addLinkedKey(ScanSurface surface, const Placement& placement, const GraphPose& odometry);
  void linkToLast(const Placement& placement);
  void closeLoops();
  bool mustSolveFor(const std::vector<KeyLink>& near) const;

  const AlignerSettings settings_;
  std::vector<KeptScan> scans_;
  GraphPose odometry_;  // of the last scan
  ScanPlacer placer_;
  LoopSearch search_;
  std::size_t unmatched_ = 0;
};

}  // namespace Brin::mapping
