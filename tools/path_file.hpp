// Paths in text files: a pose a line, "x,y" or "x,y,theta" (metres, metres, radians).
//
// The first line may be a header. Blank lines and lines that begin with # are passed over; blanks
// around numbers do not matter.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_tool {

// A file that cannot be read, a line that is no pose and a file without poses are a UsageError
// that names the file and the line.
std::vector<Brin::Pose2D> readPathFile(const std::string& path);

}  // namespace korrin_tool
