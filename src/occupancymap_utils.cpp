#include "korrin/occupancymap_utils.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "korrin/range_simulation.hpp"
#include "src/cell_line.hpp"

namespace Brin {
namespace {

constexpr int kRays = 50;
constexpr float kTooFar = 1000000.0f;  // cells
constexpr const char* kSearch = "findFirstCellWithCond";

CellRect cellsOf(const OccupancyMap& map) { return {map.image->width, map.image->height}; }

// A cell on the way along a line; the heading of such a cell is 0.
Pose2Di currentCell(const CellLine& line) { return {line.x(), line.y(), 0.0f}; }

// How many steps along a line from `from` lead to `cell`.
std::int64_t stepsBetween(const Pose2Di& from, const Pose2Di& cell) {
  return std::max(std::abs(std::int64_t{cell.x} - from.x), std::abs(std::int64_t{cell.y} - from.y));
}

// The walks below give the first cell of the line from `from` to `to`, both included, that
// `accepts` takes, and leave out what lies `tooManySteps` or more steps away.

// For a condition that gives the same answer on each of several cells outside the map in a row:
// it is enough to ask it once before the line enters the map and once where it leaves it.
template <typename Condition>
bool walkThroughMap(const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to,
                    std::int64_t tooManySteps, Condition accepts, Pose2Di& found) {
  if (!map.isInside(from.x, from.y) && accepts(-1.0f)) {
    found = {from.x, from.y, 0.0f};
    return true;
  }
  CellLine line(from.x, from.y, to.x, to.y, cellsOf(map));
  std::int64_t steps = stepsBetween(from, currentCell(line));
  for (; !line.done(); line.next(), ++steps) {
    if (steps >= tooManySteps) return false;
    found = currentCell(line);
    if (accepts(map.getCell(found.x, found.y))) return true;
  }
  // The walk has come to the end cell or to the first cell outside.
  found = map.isInside(to.x, to.y) ? Pose2Di{to.x, to.y, 0.0f} : currentCell(line);
  return accepts(map.getCell(found.x, found.y));
}

// For any condition: it is asked about each cell in turn.
template <typename Condition>
bool walkEveryCell(const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to,
                   std::int64_t tooManySteps, Condition accepts, Pose2Di& found) {
  CellLine line(from.x, from.y, to.x, to.y);
  for (std::int64_t steps = 0; !line.done(); line.next(), ++steps) {
    if (steps >= tooManySteps) return false;
    found = currentCell(line);
    if (accepts(map.getCell(found.x, found.y))) return true;
  }
  found = {to.x, to.y, 0.0f};
  return accepts(map.getCell(to.x, to.y));
}

// The rays that leave a cell.
class Rays {
 public:
  Rays(const OccupancyMap& map, const Pose2Di& start)
      : params_(map), from_(map.getPoseFromPixel({start.x, start.y, 0.0f})) {
    const CellRect cells = cellsOf(map);
    length_ = static_cast<float>(cells.height) * params_.resolution +
              static_cast<float>(cells.width) * params_.resolution;
  }

  // The cell in which ray k ends.
  Pose2Di end(int k) const {
    const float angle = static_cast<float>(k + k) * kPi / static_cast<float>(kRays);
    return params_.getPixelFromPose({from_.x + length_ * std::cos(angle),
                                     from_.y + length_ * std::sin(angle), from_.theta + angle});
  }

 private:
  const OccupancyMapParams& params_;
  Pose2D from_;
  float length_;
};

// `firstCell(end, tooManySteps, cell)` gives the first cell of a ray that satisfies the condition.
template <typename FirstCell>
bool nearestOnRays(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                   FirstCell firstCell) {
  const Rays rays(map, start);
  Pose2Di nearest;
  float best = kTooFar;
  for (int k = 0; k < kRays; ++k) {
    // A cell n steps along a ray is at least n cells away.
    const auto tooManySteps = static_cast<std::int64_t>(std::ceil(best));
    Pose2Di cell;
    if (!firstCell(rays.end(k), tooManySteps, cell)) continue;
    if (stepsBetween(start, cell) >= tooManySteps) continue;
    const float norm = computeNorm(cell.x - start.x, cell.y - start.y);
    // Strictly nearer: of equally near cells the one of the smaller angle stays.
    if (norm < best) {
      best = norm;
      nearest = cell;
    }
  }
  if (best < kTooFar) out = nearest;
  return best < kTooFar;
}

template <typename Condition>
bool nearestInMap(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                  Condition condition) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kSearch);
  if (condition(map.getCell(start.x, start.y))) {
    out = start;
    return true;
  }
  return nearestOnRays(map, start, out,
                       [&](const Pose2Di& end, std::int64_t tooManySteps, Pose2Di& cell) {
                         return walkThroughMap(map, start, end, tooManySteps, condition, cell);
                       });
}

// The main direction of obstacles

void logDirection(NavLogLevel level, const std::string& message, int line) {
  completeLog(level, message, "src/occupancymap_utils", "findObstaclesMainDirection", line);
}

// The start, or the free cell nearest to it when it lies inside an obstacle.
bool findViewpoint(const OccupancyMap& map, const Pose2Di& start, float threshold, Pose2Di& cell) {
  cell = start;
  // A value equal to the threshold passes here, though the search below would not call it free.
  // This is intended.
  if (!(map.getCell(start.x, start.y) < threshold)) return true;
  logDirection(NavLogLevel::Warning, "Start is inside obstacles.", 78);
  if (findFirstFreeCell(map, start, cell, threshold)) return true;
  logDirection(NavLogLevel::Warning, "Could not find free cell.", 84);
  return false;
}

// The bearings, as headings of poses, of the beams that hit an obstacle nearer than `range`.
std::vector<Pose2D> bearingsOfObstacles(const OccupancyMap& map, const Pose2D& pose, float range,
                                        float threshold) {
  ScanModel scanner(100, 5.0f * range, 2.0f * kPi);
  scanner.minRange = 0.001f;
  std::vector<RangeReading> readings;
  occMapSimulateScan(map, scanner, pose, readings, threshold);
  std::vector<Pose2D> bearings;
  for (const RangeReading& reading : readings) {
    if (reading.status == 0 && reading.range < range) {
      bearings.emplace_back(0.0f, 0.0f, reading.angle);
    }
  }
  return bearings;
}

void reportSpread(float spread) {
  std::ostringstream message;
  message << "stdDevObstRay " << spread;
  logDirection(NavLogLevel::Info, message.str(), 120);
  if (spread > kPi / 2.0f) logDirection(NavLogLevel::Warning, "var dir too big!", 123);
}

}  // namespace

bool findFirstFreeCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                       float threshold) {
  return findFirstCellWithCond(map, start, out, FreeCellCondition{threshold});
}

bool findFirstGrayCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out, float threshold,
                       float tolerance) {
  return findFirstCellWithCond(map, start, out, GrayCellCondition{threshold, tolerance, false});
}

bool findFirstFreeCellInLine(const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to,
                             Pose2Di& out, float threshold) {
  constexpr std::int64_t kNoLimit = std::int64_t{1} << 40;
  requireKind(map.image, IPL_DEPTH_32F, 1, "findFirstFreeCellInLine");
  Pose2Di cell;
  if (!walkThroughMap(map, from, to, kNoLimit, FreeCellCondition{threshold}, cell)) return false;
  out = cell;
  return true;
}

bool xFindFirstCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                    const CellCondition& atStart, const std::function<CellCondition()>& onRay) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kSearch);
  if (atStart(map.getCell(start.x, start.y))) {
    out = start;
    return true;
  }
  return nearestOnRays(map, start, out,
                       [&](const Pose2Di& end, std::int64_t tooManySteps, Pose2Di& cell) {
                         return walkEveryCell(map, start, end, tooManySteps, onRay(), cell);
                       });
}

template <>
bool findFirstCellWithCond(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                           FreeCellCondition condition) {
  return nearestInMap(map, start, out, condition);
}

template <>
bool findFirstCellWithCond(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                           GrayCellCondition condition) {
  return nearestInMap(map, start, out, condition);
}

bool findObstaclesMainDirection(const OccupancyMap& map, const Pose2Di& start, float range,
                                float& direction, float threshold) {
  requireKind(map.image, IPL_DEPTH_32F, 1, "findObstaclesMainDirection");
  Pose2Di cell;
  if (!findViewpoint(map, start, threshold, cell)) return false;
  const Pose2D pose = map.getPoseFromPixel({cell.x, cell.y, 0.0f});
  const std::vector<Pose2D> bearings = bearingsOfObstacles(map, pose, range, threshold);
  if (bearings.empty()) {
    logDirection(NavLogLevel::Warning, "No obstacles.", 113);
    return false;
  }
  const Pose2D mean = avgPose2D(bearings);
  reportSpread(relStdDevPose2D(bearings, mean).theta);
  direction = mean.theta;
  return true;
}

}  // namespace Brin
