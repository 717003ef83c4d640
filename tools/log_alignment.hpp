// Better poses for a log: its scans are matched with each other.
//
//   korrin_tool::Alignment aligned = korrin_tool::alignLog(log.scans, 0.05f);
//   Brin::mapping::buildGrid(aligned.scans, *Brin::mapping::gridAround(aligned.scans, 0.05f));
//
// The method, in the order of its steps:
//
//   1. Carry. From scan to scan the log's own motion gives a guess, from where the scan before was
//      found; the scan is then refined against a local set, the last few key scans and the nearest
//      older ones. What was corrected stays corrected. This mends raw odometry.
//   2. Choose. Poses that a mapper has corrected already are consistent over long loops, and
//      carrying can only lose that. So a grid is built from the carried and from the logged poses,
//      and the better one, by beam likelihood, is where step 3 begins.
//   3. Settle. Three times, each scan is refined against the nearest key scans, earlier and later
//      ones alike. Scans pull each other together; none is held by the order of the log.
//   4. Keep the result only if its grid is better than that of the logged poses.
//
// A key scan is one that was taken 0.3 m or 0.2 radians away from the key scan before.
#pragma once

#include <vector>

#include "korrin/io/laser_log.hpp"
#include "korrin/mapping/progress.hpp"

namespace korrin_tool {

enum class AlignmentKind {
  Logged,   // matching found nothing better
  Settled,  // settled from the logged poses
  Carried   // carried, then settled
};

struct Alignment {
  std::vector<Brin::io::LoggedScan> scans;  // the log's, with better poses
  AlignmentKind kind = AlignmentKind::Logged;
};

// Aligns scans for a grid of `resolution` metres. The first scan's pose stays near the logged one.
Alignment alignLog(const std::vector<Brin::io::LoggedScan>& scans, float resolution,
                   const Brin::mapping::Progress& progress = {});

}  // namespace korrin_tool
