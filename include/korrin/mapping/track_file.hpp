// Corrected tracks in files.
//
//   Brin::mapping::writeTrack(aligned.scans, "office-corrected.log.gz");  // the log, corrected
//   Brin::mapping::writeTrack(aligned.scans, "office.tum");               // poses alone
#pragma once

#include <string>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/io/laser_log.hpp"

namespace Brin::mapping {

// Writes where and when each scan was taken.
//
// When `path` ends in .log or .log.gz it becomes a CARMEN log, as io::writeLaserLog writes it with
// `noReturn` for its range of beams that met nothing. Else it is text in the form of TUM, a line a
// scan: "stamp x y 0 0 0 qz qw", seconds, metres of the laser's pose, and the quaternion of its
// heading, all to the microsecond, micrometre or 1e-9.
//
// A time or a pose that is not finite, what writeLaserLog refuses, and a file that cannot be
// written are an io::FileError that names it. Linear.
KORRIN_EXPORT void writeTrack(const std::vector<io::LoggedScan>& scans, const std::string& path,
                              float noReturn = 0.0f);

}  // namespace Brin::mapping
