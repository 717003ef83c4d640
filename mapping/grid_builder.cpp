#include "korrin/mapping/grid_builder.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "korrin/occupancy_mapper.hpp"
#include "korrin/range_simulation.hpp"

namespace Brin::mapping {
namespace {

// Small steps: the order in which beams come in hardly matters. A wall keeps its cells though beams
// graze them, as long as more than one beam in five ends there.
constexpr float kFreeStep = 0.01f;
constexpr float kOccupiedStep = 0.05f;
constexpr float kUnknown = 0.5f;
constexpr float kOccupiedBelow = kUnknown - 0.02f;         // half of a hit's net effect
constexpr float kFreeAbove = kUnknown + 1.5f * kFreeStep;  // crossed at least twice

constexpr double kMargin = 0.5;      // metres around everything in the grid's frame
constexpr double kCropMargin = 1.0;  // metres around the free cells
constexpr double kMaxCells = 50e6;

Pose2D endOf(const io::LoggedScan& logged, const RangeReading& reading) {
  const Point2D end = reading.toPoint2D();
  return logged.pose.absProject({end.x, end.y, 0.0f});
}

// The reading as OccupancyMapper wants it to end in the cell that holds its end: the mapper adds a
// truncated offset to the robot's cell, whose own middle the robot is not in. Half a cell more
// than the whole offset survives any rounding.
RangeReading aimedAtItsCell(const io::LoggedScan& logged, const RangeReading& reading,
                            const OccupancyMapParams& frame) {
  const Pose2Di robot = frame.getPixelFromPose(logged.pose);
  const Pose2Di end = frame.getPixelFromPose(endOf(logged, reading));
  const auto outwards = [](int offset) {
    return static_cast<double>(offset) + (offset > 0 ? 0.5 : offset < 0 ? -0.5 : 0.0);
  };
  const double columns = outwards(end.x - robot.x);
  const double rows = outwards(end.y - robot.y);
  RangeReading aimed = reading;
  aimed.range = static_cast<float>(std::hypot(columns, rows) * double{frame.resolution});
  aimed.angle = static_cast<float>(std::atan2(rows, columns) - double{logged.pose.theta});
  return aimed;
}

// The grid's axes are the world's, as the mapper wants it.
void enterScan(const io::LoggedScan& logged, OccupancyMap& map) {
  std::vector<RangeReading> readings;
  for (const RangeReading& reading : logged.scan.readings) {
    if (reading.weight > 0.0f) readings.push_back(aimedAtItsCell(logged, reading, map));
  }
  OccupancyMapper(&map).updateMap(readings, logged.pose, kFreeStep, kOccupiedStep);
}

template <typename Change>
void forEachCell(OccupancyMap& map, const Change& change) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) change(x, y, map.getCell(x, y));
  }
}

// The smallest box around points, in any unit.
struct Box {
  double left = std::numeric_limits<double>::infinity();
  double bottom = std::numeric_limits<double>::infinity();
  double right = -std::numeric_limits<double>::infinity();
  double top = -std::numeric_limits<double>::infinity();

  void add(double x, double y) {
    left = std::min(left, x);
    bottom = std::min(bottom, y);
    right = std::max(right, x);
    top = std::max(top, y);
  }
};

Box boxAround(const std::vector<io::LoggedScan>& scans) {
  Box box;
  for (const io::LoggedScan& logged : scans) {
    box.add(logged.pose.x, logged.pose.y);
    for (const RangeReading& reading : logged.scan.readings) {
      if (reading.weight <= 0.0f) continue;
      const Pose2D end = endOf(logged, reading);
      box.add(end.x, end.y);
    }
  }
  return box;
}

// The scanner that took a scan, as far as a grid can tell it.
ScanModel scannerOf(const Scan& scan, float resolution) {
  float farthest = 0.0f;
  for (const RangeReading& reading : scan.readings) {
    if (reading.status == 0) farthest = std::max(farthest, reading.range);
  }
  const float first = scan.readings.front().angle;
  ScanModel model(static_cast<int>(scan.readings.size()), farthest + 1.0f,
                  scan.readings.back().angle - first);
  model.startAngle = first;
  model.minRange = 0.0f;
  model.rangeSigma = 2.0f * resolution;
  return model;
}

// The likelihood of the beams of one scan that hit something; nothing when none did.
std::optional<double> likelihoodOf(const io::LoggedScan& logged, const OccupancyMap& map) {
  if (logged.scan.readings.size() < 2) return std::nullopt;
  const ScanModel model = scannerOf(logged.scan, map.params.resolution);
  std::vector<RangeReading> simulated;
  occMapSimulateScan(map, model, logged.pose, simulated, kOccupiedBelow);
  std::vector<RangeReading> measuredHits;
  std::vector<RangeReading> simulatedHits;
  for (std::size_t i = 0; i < simulated.size(); ++i) {
    if (logged.scan.readings[i].status != 0) continue;
    measuredHits.push_back(logged.scan.readings[i]);
    simulatedHits.push_back(simulated[i]);
  }
  if (measuredHits.empty()) return std::nullopt;
  return model.scanLikelihood(measuredHits, simulatedHits, 1);
}

}  // namespace

std::optional<OccupancyMapParams> gridAround(const std::vector<io::LoggedScan>& scans,
                                             float resolution) {
  if (scans.empty()) return std::nullopt;
  const double cell = double{resolution};
  const Box box = boxAround(scans);
  const double left = std::floor((box.left - kMargin) / cell);
  const double bottom = std::floor((box.bottom - kMargin) / cell);
  const double width = std::ceil((box.right + kMargin) / cell) - left;
  const double height = std::ceil((box.top + kMargin) / cell) - bottom;
  if (!(width * height <= kMaxCells)) return std::nullopt;
  OccupancyMapParams frame(static_cast<int>(width), static_cast<int>(height), resolution);
  frame.origin.x = static_cast<float>((left + 0.5) * cell);
  frame.origin.y = static_cast<float>((bottom + 0.5) * cell);
  return frame;
}

namespace {

// 1, 0 or 0.5 for each cell.
void makeCrisp(OccupancyMap& map) {
  forEachCell(map, [&](int x, int y, float value) {
    const float crisp = value < kOccupiedBelow ? 0.0f : value > kFreeAbove ? 1.0f : kUnknown;
    map.setCell(x, y, crisp);
  });
}

// Beams have a width: an unknown cell in the midst of free ones is free. And a free cell with at
// most two free neighbours belongs to a lone beam, which may have gone through a window.
float tidied(const OccupancyMap& map, int x, int y, float value) {
  if (value == 0.0f) return value;
  int freeAround = 0;
  int occupiedAround = 0;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const float neighbour = map.getCell(x + dx, y + dy);
      freeAround += neighbour == 1.0f ? 1 : 0;
      occupiedAround += neighbour == 0.0f ? 1 : 0;
    }
  }
  if (value == 1.0f) return freeAround <= 2 ? kUnknown : 1.0f;
  return freeAround >= 5 && occupiedAround == 0 ? 1.0f : kUnknown;
}

void tidy(OccupancyMap& map) {
  const OccupancyMap before(map);
  forEachCell(map,
              [&](int x, int y, float value) { map.setCell(x, y, tidied(before, x, y, value)); });
}

}  // namespace

OccupancyMap buildGrid(const std::vector<io::LoggedScan>& scans, const OccupancyMapParams& frame,
                       const Progress& progress) {
  OccupancyMap map(frame, false);
  for (std::size_t i = 0; i < scans.size(); ++i) {
    enterScan(scans[i], map);
    if (progress) progress(static_cast<double>(i + 1) / static_cast<double>(scans.size()));
  }
  makeCrisp(map);
  tidy(map);
  return map;
}

OccupancyMap croppedToFree(const OccupancyMap& map) {
  Box box;
  OccupancyMap copy(map);
  forEachCell(copy, [&](int x, int y, float value) {
    if (value > kFreeAbove) box.add(x, y);
  });
  if (box.left > box.right) return copy;
  const double margin = std::round(kCropMargin / double{map.params.resolution});
  const int left = static_cast<int>(std::max(0.0, box.left - margin));
  const int bottom = static_cast<int>(std::max(0.0, box.bottom - margin));
  OccupancyMapParams frame = map.params;
  frame.width = static_cast<int>(std::min(frame.width - 1.0, box.right + margin)) - left + 1;
  frame.height = static_cast<int>(std::min(frame.height - 1.0, box.top + margin)) - bottom + 1;
  frame.origin = map.getPoseFromPixel({left, bottom, 0.0f});
  OccupancyMap cropped(frame, false);
  forEachCell(cropped, [&](int x, int y, float) {
    cropped.setCell(x, y, map.getCell(x + left, y + bottom));
  });
  return cropped;
}

GridQuality judgeGrid(const OccupancyMap& map, const std::vector<io::LoggedScan>& scans,
                      std::int32_t samples) {
  GridQuality quality;
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const float value = map.getCell(x, y);
      if (value < kOccupiedBelow) ++quality.occupiedCells;
      if (value > kFreeAbove) ++quality.freeCells;
    }
  }
  const std::size_t stride =
      std::max<std::size_t>(1, scans.size() / static_cast<std::size_t>(std::max(1, samples)));
  double sum = 0.0;
  for (std::size_t i = 0; i < scans.size(); i += stride) {
    const std::optional<double> likelihood = likelihoodOf(scans[i], map);
    if (!likelihood) continue;
    sum += *likelihood;
    ++quality.scansCompared;
  }
  if (quality.scansCompared > 0)
    quality.likelihood = sum / static_cast<double>(quality.scansCompared);
  return quality;
}

}  // namespace Brin::mapping
