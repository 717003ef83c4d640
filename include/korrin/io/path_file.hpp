// Paths in text files (CSV): a pose a line, "x,y" or "x,y,theta" (metres, metres, radians).
//
//   Brin::io::writePathFile(waypoints, "way.csv");
//   std::vector<Brin::Pose2D> path = Brin::io::readPathFile("way.csv");
//
// The first line may be a header. Blank lines and lines that begin with # are passed over; blanks
// around numbers do not matter.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/io/file_error.hpp"

namespace Brin::io {

// The poses of a file, world frame; theta is 0 where a line has none. A file that cannot be read, a
// line that is no pose and a file without poses are a FileError that names the file and the line.
KORRIN_EXPORT std::vector<Pose2D> readPathFile(const std::string& path);

// Writes a header and each pose with all three numbers, in as few digits as read back as the same
// floats. A pose that is not finite, a path without poses and a file that cannot be written are a
// FileError; the first two leave the file as it was.
KORRIN_EXPORT void writePathFile(const std::vector<Pose2D>& poses, const std::string& path);

}  // namespace Brin::io
