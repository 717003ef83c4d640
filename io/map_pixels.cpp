#include "io/map_pixels.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>

namespace Brin::io {
namespace {

constexpr float kFree = 1.0f;
constexpr float kUnknown = 0.5f;
constexpr float kOccupied = 0.0f;

// A pixel's colours averaged, on a scale from 0 (black) to `full` (white).
struct Pixel {
  double level;
  double full;
  bool opaque;
};

template <typename Channel>
Pixel pixelAt(const cv::Mat& picture, int row, int column, bool alphaCounts) {
  constexpr double full = std::numeric_limits<Channel>::max();
  const int channels = picture.channels();
  const Channel* values = picture.ptr<Channel>(row) + std::ptrdiff_t{column} * channels;
  const bool hasAlpha = channels == 2 || channels == 4;
  const int colours = hasAlpha ? channels - 1 : channels;
  const int counted = alphaCounts ? channels : colours;
  double sum = 0.0;
  for (int i = 0; i < counted; ++i) sum += values[i];
  return {sum / counted, full, !hasAlpha || values[colours] == full};
}

float trinaryValue(double occupied, const MapFileFormat& format) {
  if (occupied > format.occupiedThreshold) return kOccupied;
  if (occupied < format.freeThreshold) return kFree;
  return kUnknown;
}

float scaleValue(double occupied, bool opaque, const MapFileFormat& format) {
  if (!opaque) return kUnknown;
  if (occupied > format.occupiedThreshold) return kOccupied;
  if (occupied < format.freeThreshold) return kFree;
  const double span = format.occupiedThreshold - format.freeThreshold;
  return static_cast<float>(1.0 - (occupied - format.freeThreshold) / span);
}

float rawValue(const Pixel& pixel) {
  const double percent = std::round(pixel.level / pixel.full * 255.0);
  return percent <= 100.0 ? static_cast<float>(1.0 - percent / 100.0) : kUnknown;
}

float valueOf(const Pixel& pixel, const MapFileFormat& format) {
  const double dark = format.negate ? pixel.level : pixel.full - pixel.level;
  const double occupied = dark / pixel.full;
  switch (format.mode) {
    case MapMode::Scale:
      return scaleValue(occupied, pixel.opaque, format);
    case MapMode::Raw:
      return rawValue(pixel);
    case MapMode::Trinary:
      break;
  }
  return trinaryValue(occupied, format);
}

// The 8-bit grey level to write for each cell value.
class LevelTable {
 public:
  explicit LevelTable(const MapFileFormat& format) {
    // A value that several levels stand for gets the first of these that does, so that certain
    // cells are clean black and white, and unknown ones the usual grey.
    for (const int level : {0, 254, 205, 255}) add(level, format);
    for (int level = 0; level < 256; ++level) add(level, format);
  }

  // The level whose value is nearest; a value that is not a number counts as unknown.
  std::uint8_t nearest(float value) const {
    if (std::isnan(value)) value = kUnknown;
    const auto above = levels_.lower_bound(value);
    if (above == levels_.begin()) return above->second;
    const auto below = std::prev(above);
    if (above == levels_.end()) return below->second;
    return above->first - value < value - below->first ? above->second : below->second;
  }

 private:
  void add(int level, const MapFileFormat& format) {
    levels_.emplace(valueOf({double(level), 255.0, true}, format),
                    static_cast<std::uint8_t>(level));
  }

  std::map<float, std::uint8_t> levels_;  // a value's first entry stays
};

float* rowOf(const OccupancyMap& map, int y) {
  return reinterpret_cast<float*>(map.image->imageData + std::ptrdiff_t{y} * map.image->widthStep);
}

// The same for the usual kind of picture, whose pixels know only 256 values.
void cellsFromGrey(const cv::Mat& picture, const MapFileFormat& format, OccupancyMap& map) {
  std::array<float, 256> values;
  for (int level = 0; level < 256; ++level) {
    values[static_cast<std::size_t>(level)] = valueOf({double(level), 255.0, true}, format);
  }
  for (int row = 0; row < picture.rows; ++row) {
    const std::uint8_t* const pixels = picture.ptr<std::uint8_t>(row);
    float* const cells = rowOf(map, picture.rows - 1 - row);
    for (int column = 0; column < picture.cols; ++column) cells[column] = values[pixels[column]];
  }
}

}  // namespace

void cellsFromPixels(const cv::Mat& picture, const MapFileFormat& format, OccupancyMap& map) {
  const bool isBytes = picture.depth() == CV_8U;
  if (isBytes && picture.channels() == 1) return cellsFromGrey(picture, format, map);
  const bool alphaCounts = format.mode == MapMode::Trinary;
  for (int row = 0; row < picture.rows; ++row) {
    float* const cells = rowOf(map, picture.rows - 1 - row);
    for (int column = 0; column < picture.cols; ++column) {
      const Pixel pixel = isBytes ? pixelAt<std::uint8_t>(picture, row, column, alphaCounts)
                                  : pixelAt<std::uint16_t>(picture, row, column, alphaCounts);
      cells[column] = valueOf(pixel, format);
    }
  }
}

cv::Mat pixelsFromCells(const OccupancyMap& map, const MapFileFormat& format, bool withAlpha) {
  const LevelTable levels(format);
  const bool transparent = withAlpha && format.mode == MapMode::Scale;
  const int rows = map.params.height;
  cv::Mat picture(rows, map.params.width, transparent ? CV_8UC4 : CV_8UC1);
  for (int row = 0; row < rows; ++row) {
    const float* const cells = rowOf(map, rows - 1 - row);
    for (int column = 0; column < picture.cols; ++column) {
      const float value = cells[column];
      const std::uint8_t level = levels.nearest(value);
      if (transparent) {
        const std::uint8_t opacity = value == kUnknown ? 0 : 255;
        picture.at<cv::Vec4b>(row, column) = {level, level, level, opacity};
      } else {
        picture.at<std::uint8_t>(row, column) = level;
      }
    }
  }
  return picture;
}

}  // namespace Brin::io
