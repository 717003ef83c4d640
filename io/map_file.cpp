#include "korrin/io/map_file.hpp"

#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>
#include <vector>

#include "io/map_pixels.hpp"
#include "io/number_text.hpp"
#include "io/picture_file.hpp"
#include "io/write_file.hpp"
#include "io/yaml_keys.hpp"
#include "korrin/core/log.hpp"

namespace Brin::io {
namespace {

std::string decimalText(double value, int digits, std::ios::fmtflags notation) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.setf(notation, std::ios::floatfield);
  stream.precision(digits);
  stream << value;
  return stream.str();
}

// The fewest digits with which `value` still gives `same`, without an exponent where that will do.
template <typename Same>
std::string shortest(double value, const Same& same) {
  for (int decimals = 0; decimals <= 12; ++decimals) {
    std::string text = decimalText(value, decimals, std::ios::fixed);
    if (same(std::stod(text))) return text;
  }
  for (int digits = 1; digits < std::numeric_limits<double>::max_digits10; ++digits) {
    std::string text = decimalText(value, digits, {});
    if (same(std::stod(text))) return text;
  }
  return decimalText(value, std::numeric_limits<double>::max_digits10, {});
}

constexpr double kFarthestOrigin = 1e9;

float readResolution(const YamlKeys& keys) {
  const double value = keys.number("resolution");
  if (value < double{std::numeric_limits<float>::min()}) {
    keys.fail("resolution", "must be positive, found " + keys.text("resolution"));
  }
  if (value > 1e9) keys.fail("resolution", "is too large, found " + keys.text("resolution"));
  return static_cast<float>(value);
}

// World pose of a point half a cell from `from`, along both axes of the grid, forwards or
// backwards. In double precision: a corner that is written with enough digits reads back as the
// same centre.
struct WorldPoint {
  double x;
  double y;
};

WorldPoint halfCellOff(WorldPoint from, double theta, double resolution, double sign) {
  const double half = sign * 0.5 * resolution;
  return {from.x + half * (std::cos(theta) - std::sin(theta)),
          from.y + half * (std::sin(theta) + std::cos(theta))};
}

Pose2D centreFromCorner(WorldPoint corner, float theta, float resolution) {
  const WorldPoint centre = halfCellOff(corner, theta, resolution, 1.0);
  return {static_cast<float>(centre.x), static_cast<float>(centre.y), theta};
}

Pose2D readOrigin(const YamlKeys& keys, float resolution) {
  const std::vector<double> origin = keys.numbers("origin");
  if (origin.size() != 3) {
    keys.fail("origin", "must be [x, y, yaw], found " + std::to_string(origin.size()) +
                            (origin.size() == 1 ? " number" : " numbers"));
  }
  for (const double value : origin) {
    if (std::abs(value) > kFarthestOrigin) {
      keys.fail("origin", "must lie within 1e9 of 0, found " + shortText(value));
    }
  }
  return centreFromCorner({origin[0], origin[1]}, static_cast<float>(origin[2]), resolution);
}

// Beyond this many metres neighbouring floats lie a millimetre apart, and more.
constexpr double kFarOrigin = 10'000.0;

void warnOfFarOrigin(const std::string& yamlPath, const Pose2D& origin) {
  if (std::abs(origin.x) <= kFarOrigin && std::abs(origin.y) <= kFarOrigin) return;
  completeLog(NavLogLevel::Warning,
              yamlPath +
                  ": the origin is more than 10 km from 0, where positions are rounded to a "
                  "millimetre or more; use a local origin.",
              "io/map_file", "readMapFile", __LINE__);
}

double readThreshold(const YamlKeys& keys, const std::string& key) {
  const double value = keys.number(key);
  if (value < 0.0 || value > 1.0) {
    keys.fail(key, "must lie between 0 and 1, found " + keys.text(key));
  }
  return value;
}

MapMode readMode(const YamlKeys& keys) {
  if (!keys.has("mode")) return MapMode::Trinary;
  const std::string mode = keys.text("mode");
  if (mode == "trinary") return MapMode::Trinary;
  if (mode == "scale") return MapMode::Scale;
  if (mode == "raw") return MapMode::Raw;
  keys.fail("mode", "must be trinary, scale or raw, found '" + mode + "'");
}

MapFileFormat readFormat(const YamlKeys& keys) {
  MapFileFormat format;
  format.image = keys.text("image");
  format.mode = readMode(keys);
  format.negate = keys.flag("negate");
  format.occupiedThreshold = readThreshold(keys, "occupied_thresh");
  format.freeThreshold = readThreshold(keys, "free_thresh");
  if (format.freeThreshold >= format.occupiedThreshold) {
    keys.fail("free_thresh", "must be below occupied_thresh (" + keys.text("occupied_thresh") +
                                 "), found " + keys.text("free_thresh"));
  }
  return format;
}

std::filesystem::path besideYaml(const std::string& yamlPath, const std::string& image) {
  return std::filesystem::path(yamlPath).parent_path() / image;
}

// The corner in as few digits as give the very centre when read.
std::string originText(const OccupancyMapParams& params) {
  const Pose2D& centre = params.origin;
  const WorldPoint corner =
      halfCellOff({centre.x, centre.y}, centre.theta, params.resolution, -1.0);
  const auto centreOf = [&](double x, double y) {
    return centreFromCorner({x, y}, centre.theta, params.resolution);
  };
  return "[" + shortest(corner.x, [&](double x) { return centreOf(x, 0).x == centre.x; }) + ", " +
         shortest(corner.y, [&](double y) { return centreOf(0, y).y == centre.y; }) + ", " +
         shortText(centre.theta) + "]";
}

const char* nameOf(MapMode mode) {
  switch (mode) {
    case MapMode::Scale:
      return "scale";
    case MapMode::Raw:
      return "raw";
    case MapMode::Trinary:
      break;
  }
  return "trinary";
}

// What would not be read back is not written.
void requireReadable(const std::string& yamlPath, const OccupancyMapParams& params,
                     const MapFileFormat& format) {
  const auto require = [&yamlPath](bool holds, const char* key, const char* rule) {
    if (!holds) throw FileError(yamlPath, key, rule);
  };
  require(params.resolution >= std::numeric_limits<float>::min() && params.resolution <= 1e9f,
          "resolution", "must be positive and at most 1e9");
  const Pose2D& origin = params.origin;
  const WorldPoint corner =
      halfCellOff({origin.x, origin.y}, origin.theta, params.resolution, -1.0);
  require(std::abs(corner.x) < kFarthestOrigin && std::abs(corner.y) < kFarthestOrigin &&
              std::abs(origin.theta) < kFarthestOrigin,
          "origin", "must lie within 1e9 of 0");
  const double occupied = format.occupiedThreshold;
  const double free = format.freeThreshold;
  require(occupied >= 0.0 && occupied <= 1.0, "occupied_thresh", "must lie between 0 and 1");
  require(free >= 0.0 && free <= 1.0, "free_thresh", "must lie between 0 and 1");
  require(free < occupied, "free_thresh", "must be below occupied_thresh");
}

std::string yamlText(const OccupancyMapParams& params, const MapFileFormat& format) {
  YAML::Emitter image;
  image << format.image;
  std::ostringstream yaml;
  yaml << "image: " << image.c_str() << "\nmode: " << nameOf(format.mode)
       << "\nresolution: " << shortText(params.resolution) << "\norigin: " << originText(params)
       << "\nnegate: " << (format.negate ? 1 : 0)
       << "\noccupied_thresh: " << shortText(format.occupiedThreshold)
       << "\nfree_thresh: " << shortText(format.freeThreshold) << '\n';
  return yaml.str();
}

}  // namespace

OccupancyMap readMapFile(const std::string& yamlPath, MapFileFormat* format) {
  const YamlKeys keys(yamlPath);
  const MapFileFormat stored = readFormat(keys);
  const float resolution = readResolution(keys);
  const Pose2D origin = readOrigin(keys, resolution);
  const cv::Mat picture = readPicture(yamlPath, besideYaml(yamlPath, stored.image));

  OccupancyMapParams params(picture.cols, picture.rows, resolution);
  params.origin = origin;
  OccupancyMap map(params, true);
  cellsFromPixels(picture, stored, map);
  if (format != nullptr) *format = stored;
  warnOfFarOrigin(yamlPath, origin);
  return map;
}

void writeMapFile(const OccupancyMap& map, const std::string& yamlPath,
                  const MapFileFormat& format) {
  if (map.params.width < 1 || map.params.height < 1) {
    throw FileError(yamlPath, "", "cannot be written: the map has no cells");
  }
  requireReadable(yamlPath, map.params, format);
  MapFileFormat stored = format;
  if (stored.image.empty()) {
    stored.image = std::filesystem::path(yamlPath).stem().string() +
                   (stored.mode == MapMode::Scale ? ".png" : ".pgm");
  }
  const bool withAlpha = std::filesystem::path(stored.image).extension() == ".png";
  writePicture(pixelsFromCells(map, stored, withAlpha),
               besideYaml(yamlPath, stored.image).string());
  writeFile(yamlPath, yamlText(map.params, stored));
}

}  // namespace Brin::io
