// Scans of a log as the package's own LoggedScan is made of.
#pragma once

#include <tuple>
#include <utility>
#include <vector>

#include "korrin/io/laser_log.hpp"

namespace korrin_python {

// (scan, laser pose, robot pose, time, line)
using ScanFields = std::tuple<Brin::Scan, Brin::Pose2D, Brin::Pose2D, double, std::size_t>;

inline std::vector<Brin::io::LoggedScan> scansOfFields(const std::vector<ScanFields>& fields) {
  std::vector<Brin::io::LoggedScan> scans;
  scans.reserve(fields.size());
  for (const auto& [scan, pose, robot, time, line] : fields) {
    scans.push_back({scan, pose, robot, time, line});
  }
  return scans;
}

}  // namespace korrin_python
