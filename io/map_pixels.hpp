// The pixels of a map file and the cells they stand for; map_file.hpp tells the rules.
#pragma once

#include <opencv2/core.hpp>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/map_file.hpp"

namespace Brin::io {

// Sets every cell of `map`, which has the picture's size, from a picture of 8 or 16 bits and 1 to
// 4 channels.
void cellsFromPixels(const cv::Mat& picture, const MapFileFormat& format, OccupancyMap& map);

// The map as a picture: 8-bit grey, or, `withAlpha` and in mode scale, colour with unknown cells
// transparent.
cv::Mat pixelsFromCells(const OccupancyMap& map, const MapFileFormat& format, bool withAlpha);

}  // namespace Brin::io
