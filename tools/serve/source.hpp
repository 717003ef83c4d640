// What the server can be started on.
#pragma once

#include <string>

#include "korrin/mapping/progress.hpp"
#include "tools/serve/world.hpp"

namespace korrin_tool::serve {

// The building of the demonstration.
Source demoSource();

// A map file. What is wrong with it is a FileError.
Source mapSource(const std::string& path);

// A laser log, which becomes a map first, its poses corrected: `progress` hears of it. What is
// wrong with it is a FileError or a UsageError.
Source logSource(const std::string& path, const Brin::mapping::Progress& progress = {});

// By the file's name: maps end in .yaml or .yml, in whatever case.
bool isMapFile(const std::string& path);

}  // namespace korrin_tool::serve
