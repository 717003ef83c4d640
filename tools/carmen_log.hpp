// Laser logs in the CARMEN text format, plain or packed with gzip.
//
//   korrin_tool::CarmenLog log = korrin_tool::readCarmenLog("office.log.gz");
//   for (const korrin_tool::LoggedScan& logged : log.scans) draw(logged.scan, logged.pose);
//
// Lines that count (metres and radians; what follows the fields named here is not looked at):
//   FLASER n r1 ... rn x y theta        readings, laser pose in the world
//   ROBOTLASER1 type start fov step max accuracy mode n r1 ... rn m e1 ... em x y theta
//                                       the same, with the beams' own angles
//   RAWLASER1 type start fov step max accuracy mode n r1 ... rn
//                                       no pose: that of the last ODOM line before, or the origin
//   ODOM x y theta                      robot pose
// All other lines are passed over. The beams of FLASER run from the right to the left, from -90
// degrees on: 180 readings stand a degree apart, 360 half a degree, and any other number spans the
// 180 degrees from end to end.
//
// A beam that met nothing has status 1:
//   - "no return": the largest range of the log, when it occurs at least twice and makes up at
//     least one reading in a thousand, and in lines of the second kind a range at or beyond their
//     own maximum. What such a beam crossed is not known, so its weight is 0.
//   - with a maximum range given, any reading at or beyond it; its range is cut to the maximum.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_tool {

struct LoggedScan {
  Brin::Scan scan;
  Brin::Pose2D pose;     // of the laser, in the world
  std::size_t line = 0;  // where in the log, from 1 on
};

struct CarmenLog {
  std::vector<LoggedScan> scans;
  float noReturn = 0.0f;        // the range that stands for "no return", 0 when the log has none
  std::size_t faultyLines = 0;  // lines of the kinds above that could not be read
  std::size_t firstFaultyLine = 0;
  std::string firstFault;

  // "3 lines could not be read, the first is line 17: FLASER: reading 12: missing"; empty when
  // there were none.
  std::string complaint() const;
};

// Reads the log at `path`. A file that cannot be read, one whose packing is damaged and one with
// more than 50 million readings are a UsageError that names the file. A log without scans is not
// an error here.
CarmenLog readCarmenLog(const std::string& path, std::optional<float> maxRange = {});

// The same for a text in memory, whatever its bytes are; the UsageError calls it "log".
CarmenLog parseCarmenLog(std::string_view text, std::optional<float> maxRange = {});

}  // namespace korrin_tool
