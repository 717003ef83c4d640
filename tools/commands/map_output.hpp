// What the commands that write a map share.
#pragma once

#include <string>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/map_file.hpp"
#include "tools/commands/command_output.hpp"

namespace korrin_tool {

// The form of a map file that keeps a cell's probability to one part in 255, from 0 to 1.
Brin::io::MapFileFormat greyFormat();

// A UsageError when the picture that `output` is to draw would go over the cells of the map that is
// to be written as `yamlPath` in `format`.
void keepApart(const CommandOutput& output, const std::string& yamlPath,
               const Brin::io::MapFileFormat& format);

// Tells how many cells an operation changed, and the mean value before and after.
void describeCells(const Brin::OccupancyMap& before, const Brin::OccupancyMap& after,
                   CommandOutput& output);

}  // namespace korrin_tool
