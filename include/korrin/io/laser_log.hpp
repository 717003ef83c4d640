// Laser logs in the CARMEN text format, plain or packed with gzip.
//
//   Brin::io::LaserLog log = Brin::io::readLaserLog("office.log.gz");
//   for (const Brin::io::LoggedScan& logged : log.scans) draw(logged.scan, logged.pose);
//   Brin::io::writeLaserLog(log, "copy.log.gz");
//
// Lines that count (metres and radians):
//   FLASER n r1 ... rn x y theta rx ry rtheta time
//                                       readings, laser pose in the world, robot pose, seconds
//   ROBOTLASER1 type start fov step max accuracy mode n r1 ... rn m e1 ... em x y theta
//               rx ry rtheta tv rv forward side axis time
//                                       the same, with the beams' own angles
//   RAWLASER1 type start fov step max accuracy mode n r1 ... rn
//                                       no pose: that of the last ODOM line before, or the origin;
//                                       no time
//   ODOM x y theta                      robot pose
//   PARAM laser_no_return r             the range that stands for "no return", 0 for none
// All other lines are passed over. What follows the laser pose may be missing or of another kind;
// the robot's pose then is the laser's, and the time 0. The beams of FLASER run from the right to
// the left, from -90 degrees on: 180 readings stand a degree apart, 360 half a degree, and any
// other number spans the 180 degrees from end to end.
//
// A beam that met nothing has status 1:
//   - "no return": the range that the log's PARAM line names; without such a line the largest range
//     of the log, when it occurs at least twice and makes up at least one reading in a thousand. In
//     lines of the second kind also a range at or beyond their own maximum. What such a beam
//     crossed is not known, so its weight is 0.
//   - with a maximum range given, any reading at or beyond it; its range is cut to the maximum.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/io/file_error.hpp"

namespace Brin::io {

// One scan, and where and when it was taken.
struct LoggedScan {
  Scan scan;             // what the laser saw
  Pose2D pose;           // of the laser, in the world
  Pose2D robot;          // of the robot, in the world
  double time = 0.0;     // seconds of the recorder's clock; 0 where the log tells none
  std::size_t line = 0;  // where in the log, from 1 on; 0 for a scan that was never in one
};

// What a log holds.
struct KORRIN_EXPORT LaserLog {
  std::vector<LoggedScan> scans;  // in the log's order
  float noReturn = 0.0f;          // the range that stands for "no return", 0 when the log has none
  std::size_t faultyLines = 0;    // lines of the kinds above that could not be read
  std::size_t firstFaultyLine = 0;  // its number, from 1 on; 0 when there is none
  std::string firstFault;           // what is wrong with it

  // "3 lines could not be read, the first is line 17: FLASER: reading 12: missing"; empty when
  // there were none.
  std::string complaint() const;
};

// How a log is read.
struct LaserLogOptions {
  std::optional<float> maxRange;  // metres
};

// Reads the log at `path`. A file that cannot be read, one whose packing is damaged and one with
// more than 50 million readings are a FileError that names the file. A log without scans is not an
// error here. Time: proportional to the file's bytes, unpacked.
KORRIN_EXPORT LaserLog readLaserLog(const std::string& path, const LaserLogOptions& options = {});

// The same for a text in memory, whatever its bytes are; the FileError calls it "log".
KORRIN_EXPORT LaserLog parseLaserLog(std::string_view text, const LaserLogOptions& options = {});

// Writes the scans of a log, packed with gzip when `path` ends in .gz. Each becomes a FLASER line
// when its beams stand as such a line's do, else a ROBOTLASER1 line of its first angle and its mean
// step. All numbers are written so that they read back as they are, but for:
//   - beams that met nothing (status not 0) and hits of a range that is not finite or negative, all
//     of which become "no return": log.noReturn, or when that is 0 or not above every hit a metre
//     count that is;
//   - weights and marks, which the format does not have;
//   - angles of ROBOTLASER1, which may differ by what rounding adds to them.
// A scan without readings or whose beams are not evenly spaced, and a pose or a time that is not
// finite, are a FileError that names the scan, from 0 on; nothing is written then. So is a file
// that cannot be written.
KORRIN_EXPORT void writeLaserLog(const LaserLog& log, const std::string& path);

}  // namespace Brin::io
