// Maps in map-server form: a YAML file with the geometry, and a PGM or PNG picture of the cells.
//
//   Brin::io::MapFileFormat format;
//   Brin::OccupancyMap map = Brin::io::readMapFile("office.yaml", &format);
//   Brin::io::writeMapFile(map, "copy.yaml", format);     // reads back as the same map
//
// Keys: image, resolution (metres per pixel), origin [x, y, yaw], negate, occupied_thresh,
// free_thresh, and optionally mode (trinary, scale or raw; trinary when left out).
//
// Geometry: picture rows run downwards, map rows upwards, so cell (0, 0) is the lower-left pixel.
// `origin` in the file is the world pose of the lower-left corner of that pixel; the origin of the
// map is the pose of that cell's centre. A turned origin is taken as it is.
//
// Values: a pixel's brightness s in [0, 1] (colours averaged) stands for the occupied probability
// p = 1 - s, or p = s with negate. The cell's value, the probability that it is free:
//   trinary  p > occupied_thresh: 0; p < free_thresh: 1; else 0.5. An alpha channel is averaged
//            in as a fourth colour.
//   scale    the same beyond the thresholds, in between falling linearly from 1 to 0; a pixel that
//            is not fully opaque is unknown, 0.5.
//   raw      s * 255 is a percentage of occupancy, from 0 (free) to 100 (occupied); above, 0.5.
//            Neither negate nor alpha plays a part.
#pragma once

#include <cstdint>
#include <string>

#include "korrin/core/export.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/file_error.hpp"

namespace Brin::io {

// How the pixels of a picture stand for cells.
enum class MapMode : std::int32_t { Trinary = 0, Scale = 1, Raw = 2 };

// How a map is stored.
struct MapFileFormat {
  std::string image;  // the picture's file, relative to the YAML file; when empty, the writer
                      // takes the YAML file's name with .pgm (trinary, raw) or .png (scale)
  MapMode mode = MapMode::Trinary;  // what the brightness of a pixel means
  bool negate = false;              // bright pixels are occupied ones
  double occupiedThreshold = 0.65;  // an occupied probability above is 1; from 0 to 1
  double freeThreshold = 0.196;     // one below is 0; below occupiedThreshold
};

// Reads a map, with a second image of unknown cells; `format`, when not null, receives how it was
// stored. Any fault is a FileError that names the file, the key and what is wrong with it; a
// picture's decoder may tell standard error more. An origin more than 10 km from 0, where floats
// keep less than a millimetre, is read as it stands and gives one log record (Warning): subtract a
// local origin from such coordinates (UTM). Time and memory: proportional to the pixels.
KORRIN_EXPORT OccupancyMap readMapFile(const std::string& yamlPath,
                                       MapFileFormat* format = nullptr);

// Writes a map, each cell as the nearest value that the format can express: trinary knows 0, 0.5
// and 1, raw the percents and 0.5, scale the grey levels between the thresholds and, in a PNG, 0.5;
// a cell that is not a number counts as 0.5. What was read from a file is written without loss. A
// fault is a FileError that names the file; a map without cells is one, and so is a resolution, an
// origin or a threshold that would not be read back. Nothing is written then.
KORRIN_EXPORT void writeMapFile(const OccupancyMap& map, const std::string& yamlPath,
                                const MapFileFormat& format = {});

}  // namespace Brin::io
