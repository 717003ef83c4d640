// One scan of a log placed by another, and how such matches compare with the log's own poses.
//
//   const ScanMatch match = matchScans(log.scans[20], log.scans[22], grid, 0.2f);
//   for (const ScanPair& pair : closePairs(log.scans, 100, 1)) judge(pair);
//
// Poses are relative to the reference's scanner: metres and radians.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/io/laser_log.hpp"
#include "korrin/pose_search.hpp"

namespace korrin_tool {

struct ScanMatch {
  Brin::ScoredPose found;
  Brin::Pose2D logged;  // what the log says instead
  float loggedScore = 0.0f;
};

// The best pose of `grid`, relative to the reference's own; the logged poses guide nothing. The
// grid's step is the resolution of the reference too, `cutOff` as for searchOn.
ScanMatch matchScans(const Brin::io::LoggedScan& reference, const Brin::io::LoggedScan& other,
                     const Brin::PoseGrid& grid, float cutOff);

struct ScanPair {
  std::size_t reference;
  std::size_t other;
};

// Pairs of scans that were taken close together, after the log's poses: within 0.45 m and 0.3
// radians, yet 0.1 m or 0.1 radians apart. At most eight scans lie between the two, for a log that
// nobody corrected knows no more than that. `count` of all these pairs, or all when there are
// fewer, drawn by `seed`: the same ones on every machine.
std::vector<ScanPair> closePairs(const std::vector<Brin::io::LoggedScan>& scans, std::size_t count,
                                 std::uint32_t seed);

// The pose of a pair's other scan, seen from its reference.
Brin::Pose2D relativePose(const std::vector<Brin::io::LoggedScan>& scans, const ScanPair& pair);

// Within 0.05 m and one degree, and what rounding adds.
bool agree(const Brin::Pose2D& a, const Brin::Pose2D& b);

}  // namespace korrin_tool
