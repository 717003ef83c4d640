// Better poses for a whole log: its scans are matched with each other, places that come again are
// found again, and everything is settled together in the end.
//
//   Brin::mapping::Alignment aligned = Brin::mapping::alignLog(scans);
//   auto frame = Brin::mapping::gridAround(aligned.scans, 0.05f);
//   Brin::OccupancyMap map = Brin::mapping::buildGrid(aligned.scans, *frame);
//
// The steps:
//
//   1. Align. A ScanAligner takes the scans one by one, with the log's poses for odometry.
//   2. Settle. Each key scan is fitted to the twelve nearest ones, earlier and later alike, and all
//      are solved together, four times; then the other scans follow.
//   3. Judge. A grid is built from the result and one from the logged poses. Where the logged ones
//      explain the scans better (judgeGrid), they are settled, too; and if even that is no better,
//      they stay as they are. A log that somebody else has corrected is never made worse.
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/io/laser_log.hpp"
#include "korrin/mapping/progress.hpp"
#include "korrin/mapping/scan_aligner.hpp"

namespace Brin::mapping {

// How a log is aligned.
struct AlignmentSettings {
  AlignerSettings aligner;   // of step 1
  float resolution = 0.05f;  // metres a cell of the grids that are compared; above 0
};

// Where the poses come from.
enum class AlignmentKind : std::int32_t {
  Logged = 0,   // matching found nothing better
  Settled = 1,  // settled from the logged poses
  Aligned = 2   // aligned scan by scan, then settled
};

// A log with better poses.
struct Alignment {
  std::vector<io::LoggedScan> scans;           // the log's; laser and robot poses moved together
  AlignmentKind kind = AlignmentKind::Logged;  // where their poses come from
  AlignerSummary summary;                      // of step 1, with what settling dropped
  std::vector<std::size_t> keyScans;           // numbers of scans, rising
  std::vector<ScanLink> links;  // of step 1; loops that the settled poses contradict are dropped
};

// Aligns the scans of a log. The first scan's pose stays as it is logged. Whatever scans and poses
// hold is taken as ScanAligner::add takes it; scans whose grid would be too large (gridAround) are
// aligned, and taken for better than the logged ones.
//
// A setting that is not above 0, or not a number, is std::invalid_argument. Time: as the aligner's,
// for settling about a third as much, and for two grids. The same log gives the same bits.
KORRIN_EXPORT Alignment alignLog(const std::vector<io::LoggedScan>& scans,
                                 const AlignmentSettings& settings = {},
                                 const Progress& progress = {});

// The graph of an alignment: a node for each key scan, at its pose, and an edge for each link that
// is not dropped. Linear.
KORRIN_EXPORT PoseGraph graphOf(const Alignment& alignment);

}  // namespace Brin::mapping
