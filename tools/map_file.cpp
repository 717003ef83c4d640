#include "tools/map_file.hpp"

#include <fcntl.h>
#include <unistd.h>
#include <yaml-cpp/yaml.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <sstream>
#include <vector>

#include "tools/map_pixels.hpp"
#include "tools/usage_error.hpp"
#include "tools/write_file.hpp"

namespace korrin_tool {
namespace {

// Reads the keys of one YAML file and names file and key in every complaint.
class KeyReader {
 public:
  explicit KeyReader(const std::string& path) : path_(path) {
    try {
      root_ = YAML::LoadFile(path);
    } catch (const YAML::BadFile&) {
      throw UsageError(path + ": cannot be read");
    } catch (const YAML::Exception& error) {
      throw UsageError(path + ": not valid YAML: line " + std::to_string(error.mark.line + 1) +
                       ": " + error.msg);
    }
    if (!root_.IsMap()) throw UsageError(path + ": must hold 'key: value' lines");
  }

  [[noreturn]] void fail(const std::string& key, const std::string& fault) const {
    throw UsageError(path_ + ": " + key + ": " + fault);
  }

  bool has(const std::string& key) const { return root_[key].IsDefined(); }

  std::string text(const std::string& key) const {
    const YAML::Node node = find(key);
    if (!node.IsScalar() || node.Scalar().empty()) fail(key, "must be a text");
    return node.Scalar();
  }

  double number(const std::string& key) const { return toNumber(find(key), key); }

  std::vector<double> numbers(const std::string& key) const {
    const YAML::Node node = find(key);
    if (!node.IsSequence()) fail(key, "must be a list of numbers");
    std::vector<double> values;
    for (const YAML::Node& element : node) values.push_back(toNumber(element, key));
    return values;
  }

  // A switch: 0, 1, or any YAML boolean.
  bool flag(const std::string& key) const {
    const YAML::Node node = find(key);
    if (node.IsScalar() && (node.Scalar() == "0" || node.Scalar() == "1")) {
      return node.Scalar() == "1";
    }
    bool value = false;
    if (!YAML::convert<bool>::decode(node, value)) fail(key, "must be 0 or 1" + found(node));
    return value;
  }

 private:
  YAML::Node find(const std::string& key) const {
    const YAML::Node node = root_[key];
    if (!node.IsDefined() || node.IsNull()) fail(key, "is missing");
    return node;
  }

  static std::string found(const YAML::Node& node) {
    return node.IsScalar() ? ", found '" + node.Scalar() + "'" : std::string();
  }

  double toNumber(const YAML::Node& node, const std::string& key) const {
    double value = 0.0;
    if (!node.IsScalar() || !YAML::convert<double>::decode(node, value)) {
      fail(key, "must be a number" + found(node));
    }
    if (!std::isfinite(value)) fail(key, "must be finite" + found(node));
    return value;
  }

  std::string path_;
  YAML::Node root_;
};

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

std::string shortestFloat(float value) {
  return shortest(value, [value](double read) { return static_cast<float>(read) == value; });
}

std::string shortestDouble(double value) {
  return shortest(value, [value](double read) { return read == value; });
}

float readResolution(const KeyReader& keys) {
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

Brin::Pose2D centreFromCorner(WorldPoint corner, float theta, float resolution) {
  const WorldPoint centre = halfCellOff(corner, theta, resolution, 1.0);
  return {static_cast<float>(centre.x), static_cast<float>(centre.y), theta};
}

Brin::Pose2D readOrigin(const KeyReader& keys, float resolution) {
  const std::vector<double> origin = keys.numbers("origin");
  if (origin.size() != 3) {
    keys.fail("origin", "must be [x, y, yaw], found " + std::to_string(origin.size()) +
                            (origin.size() == 1 ? " number" : " numbers"));
  }
  for (const double value : origin) {
    if (std::abs(value) > 1e9) {
      keys.fail("origin", "must lie within 1e9 of 0, found " + shortestDouble(value));
    }
  }
  return centreFromCorner({origin[0], origin[1]}, static_cast<float>(origin[2]), resolution);
}

double readThreshold(const KeyReader& keys, const std::string& key) {
  const double value = keys.number(key);
  if (value < 0.0 || value > 1.0) {
    keys.fail(key, "must lie between 0 and 1, found " + keys.text(key));
  }
  return value;
}

MapMode readMode(const KeyReader& keys) {
  if (!keys.has("mode")) return MapMode::Trinary;
  const std::string mode = keys.text("mode");
  if (mode == "trinary") return MapMode::Trinary;
  if (mode == "scale") return MapMode::Scale;
  if (mode == "raw") return MapMode::Raw;
  keys.fail("mode", "must be trinary, scale or raw, found '" + mode + "'");
}

MapFileFormat readFormat(const KeyReader& keys) {
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

// While it lives, nothing reaches standard error: the picture libraries tell there, in lines of
// their own, why they cannot decode.
class QuietErrors {
 public:
  QuietErrors() : standardError_(dup(STDERR_FILENO)), nowhere_(open("/dev/null", O_WRONLY)) {
    if (standardError_ >= 0 && nowhere_ >= 0) dup2(nowhere_, STDERR_FILENO);
  }
  ~QuietErrors() {
    if (standardError_ >= 0) dup2(standardError_, STDERR_FILENO);
    for (const int file : {standardError_, nowhere_}) {
      if (file >= 0) close(file);
    }
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  int standardError_;
  int nowhere_;
};

cv::Mat readPicture(const KeyReader& keys, const std::filesystem::path& path) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(path, ignored) || !std::ifstream(path)) {
    keys.fail("image", "cannot read '" + path.string() + "'");
  }
  cv::Mat picture;
  try {
    const QuietErrors quiet;
    picture = cv::imread(path.string(), cv::IMREAD_UNCHANGED);
  } catch (const cv::Exception& error) {
    keys.fail("image", "cannot read '" + path.string() + "': " + error.err);
  }
  if (picture.empty()) keys.fail("image", "not a picture: '" + path.string() + "'");
  if (picture.depth() != CV_8U && picture.depth() != CV_16U) {
    keys.fail("image", "must have 8 or 16 bits a channel: '" + path.string() + "'");
  }
  const std::int64_t cells = std::int64_t{picture.rows} * picture.cols;
  if (cells > std::numeric_limits<std::int32_t>::max() / std::int64_t{sizeof(float)}) {
    keys.fail("image", "has too many pixels: '" + path.string() + "'");
  }
  return picture;
}

// The corner in as few digits as give the very centre when read.
std::string originText(const Brin::OccupancyMapParams& params) {
  const Brin::Pose2D& centre = params.origin;
  const WorldPoint corner =
      halfCellOff({centre.x, centre.y}, centre.theta, params.resolution, -1.0);
  const auto centreOf = [&](double x, double y) {
    return centreFromCorner({x, y}, centre.theta, params.resolution);
  };
  return "[" + shortest(corner.x, [&](double x) { return centreOf(x, 0).x == centre.x; }) + ", " +
         shortest(corner.y, [&](double y) { return centreOf(0, y).y == centre.y; }) + ", " +
         shortestFloat(centre.theta) + "]";
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

std::string yamlText(const Brin::OccupancyMapParams& params, const MapFileFormat& format) {
  YAML::Emitter image;
  image << format.image;
  std::ostringstream yaml;
  yaml << "image: " << image.c_str() << "\nmode: " << nameOf(format.mode)
       << "\nresolution: " << shortestFloat(params.resolution) << "\norigin: " << originText(params)
       << "\nnegate: " << (format.negate ? 1 : 0)
       << "\noccupied_thresh: " << shortestDouble(format.occupiedThreshold)
       << "\nfree_thresh: " << shortestDouble(format.freeThreshold) << '\n';
  return yaml.str();
}

void writePicture(const cv::Mat& picture, const std::string& path) {
  bool written = false;
  try {
    written = cv::imwrite(path, picture);
  } catch (const cv::Exception&) {
    throw UsageError(path + ": not a kind of picture that can be written (use .pgm or .png)");
  }
  if (!written) throw UsageError(path + ": cannot be written");
}

}  // namespace

Brin::OccupancyMap readMapFile(const std::string& yamlPath, MapFileFormat* format) {
  const KeyReader keys(yamlPath);
  const MapFileFormat stored = readFormat(keys);
  const float resolution = readResolution(keys);
  const Brin::Pose2D origin = readOrigin(keys, resolution);
  const cv::Mat picture = readPicture(keys, besideYaml(yamlPath, stored.image));

  Brin::OccupancyMapParams params(picture.cols, picture.rows, resolution);
  params.origin = origin;
  Brin::OccupancyMap map(params, true);
  cellsFromPixels(picture, stored, map);
  if (format != nullptr) *format = stored;
  return map;
}

void writeMapFile(const Brin::OccupancyMap& map, const std::string& yamlPath,
                  const MapFileFormat& format) {
  if (map.params.width < 1 || map.params.height < 1) {
    throw UsageError(yamlPath + ": cannot be written: the map has no cells");
  }
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

}  // namespace korrin_tool
