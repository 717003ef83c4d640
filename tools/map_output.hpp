// What the commands that write a map share.
#pragma once

#include <string>

#include "korrin/core/occupancy_map.hpp"
#include "tools/command_output.hpp"
#include "tools/map_file.hpp"

namespace korrin_tool {

// The form of a map file that keeps a cell's probability to one part in 255, from 0 to 1.
MapFileFormat greyFormat();

// A UsageError when the picture that `output` is to draw would go over the cells of the map that is
// to be written as `yamlPath` in `format`.
void keepApart(const CommandOutput& output, const std::string& yamlPath,
               const MapFileFormat& format);

// Tells how many cells an operation changed, and the mean value before and after.
void describeCells(const Brin::OccupancyMap& before, const Brin::OccupancyMap& after,
                   CommandOutput& output);

}  // namespace korrin_tool
