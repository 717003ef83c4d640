// Map files for the commands.
#pragma once

#include <string>

#include "korrin/io/map_file.hpp"

namespace korrin_tool {

// readMapFile without the picture decoders' own lines on standard error. What the library warns of
// becomes a line there.
Brin::OccupancyMap openMap(const std::string& path, Brin::io::MapFileFormat* format = nullptr);

}  // namespace korrin_tool
