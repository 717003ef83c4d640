#include "korrin/occupancymap_utils.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "korrin/range_simulation.hpp"
#include "src/cell_line.hpp"
#include "src/map_cells.hpp"

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

CellLine wholeLine(const Pose2Di& from, const Pose2Di& to) { return {from.x, from.y, to.x, to.y}; }

// The part of the line inside the map.
CellLine lineInMap(const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to) {
  return {from.x, from.y, to.x, to.y, cellsOf(map)};
}

// The cells of a walk that stays inside the map.
class InsideCells {
 public:
  explicit InsideCells(const OccupancyMap& map) : image_(map.image) {}
  float operator()(int x, int y) const { return imageRow<float>(*image_, y)[x]; }

 private:
  const IplImage* image_;
};

// The cells of a walk that goes anywhere.
class AllCells {
 public:
  explicit AllCells(const OccupancyMap& map) : image_(map.image) {}
  float operator()(int x, int y) const { return cellOrOutside(*image_, x, y); }

 private:
  const IplImage* image_;
};

// A walk along a line, both ends included, to the first cell that a condition accepts.
template <typename Cells, typename Condition>
class Walk {
 public:
  // `line` may be clipped to the map if the condition gives the same answer on each of several
  // cells outside in a row: the first one that the walk comes to outside is looked at, too.
  Walk(const OccupancyMap& map, const CellLine& line, const Pose2Di& from, const Pose2Di& to,
       Condition accepts)
      : map_(&map),
        line_(line),
        end_(to),
        steps_(stepsBetween(from, currentCell(line))),
        accepts_(accepts) {}

  // Goes on to the cells that are up to `reach` steps away from the start. Whether one of them is
  // accepted: then it is cell().
  bool goOn(std::int64_t reach) {
    if (walkLine(reach)) return stopAt(currentCell(line_));
    if (!line_.done() || steps_ > reach) return false;
    isOver_ = true;
    // The line has come to the end cell or to the first cell outside.
    const Pose2Di last = map_->isInside(end_.x, end_.y) ? end_ : currentCell(line_);
    return accepts_(cellOrOutside(*map_->image, last.x, last.y)) && stopAt(last);
  }

  // Whether a cell has been accepted or all have been looked at.
  bool isOver() const { return isOver_; }

  const Pose2Di& cell() const { return cell_; }

 private:
  // Whether the line stops at a cell that is accepted, or else at its end or beyond the reach.
  bool walkLine(std::int64_t reach) {
    const Cells cells(*map_);
    // A copy of its own stays in registers.
    CellLine line = line_;
    bool isAccepted = false;
    for (; !line.done() && steps_ <= reach; line.next(), ++steps_) {
      isAccepted = accepts_(cells(line.x(), line.y()));
      if (isAccepted) break;
    }
    line_ = line;
    return isAccepted;
  }

  bool stopAt(const Pose2Di& cell) {
    cell_ = {cell.x, cell.y, 0.0f};
    return isOver_ = true;
  }

  const OccupancyMap* map_;
  CellLine line_;
  Pose2Di end_;
  std::int64_t steps_;  // from the start to the current cell
  Condition accepts_;
  Pose2Di cell_;
  bool isOver_ = false;
};

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

// One walk for each ray: `lineTo(end)` gives its line and `newCondition()` its condition.
template <typename Cells, typename Condition, typename LineTo, typename NewCondition>
std::vector<Walk<Cells, Condition>> walksFrom(const OccupancyMap& map, const Pose2Di& start,
                                              LineTo lineTo, NewCondition newCondition) {
  const Rays rays(map, start);
  std::vector<Walk<Cells, Condition>> walks;
  walks.reserve(kRays);
  for (int k = 0; k < kRays; ++k) {
    const Pose2Di end = rays.end(k);
    walks.emplace_back(map, lineTo(end), start, end, newCondition());
  }
  return walks;
}

// The best candidate so far.
struct Nearest {
  Pose2Di cell;
  float norm = kTooFar;
  int ray = -1;

  // Keeps the candidate if it is nearer, or as near and on a ray of smaller angle. One that is too
  // far is never kept.
  void consider(const Pose2Di& start, const Pose2Di& candidate, int itsRay) {
    // Before the difference is taken, which might not fit an int.
    if (stepsBetween(start, candidate) >= static_cast<std::int64_t>(kTooFar)) return;
    const float itsNorm = computeNorm(candidate.x - start.x, candidate.y - start.y);
    if (itsNorm < norm || (itsNorm == norm && itsRay < ray)) {
      cell = candidate;
      norm = itsNorm;
      ray = itsRay;
    }
  }
};

// Walks along the rays in rounds, each farther than the one before, so that the nearest candidate
// is found without walking far along the others. A cell n steps along a ray is at least n cells
// away: beyond the best candidate's distance, nothing can be nearer or as near.
template <typename AnyWalk>
bool nearestOnRays(std::vector<AnyWalk>& walks, const Pose2Di& start, std::int64_t firstReach,
                   Pose2Di& out) {
  Nearest nearest;
  bool goesOn = true;
  for (std::int64_t reach = firstReach; goesOn; reach *= 8) {
    goesOn = false;
    for (std::size_t k = 0; k < walks.size(); ++k) {
      AnyWalk& walk = walks[k];
      if (walk.isOver()) continue;
      if (walk.goOn(std::min(reach, static_cast<std::int64_t>(nearest.norm)))) {
        nearest.consider(start, walk.cell(), static_cast<int>(k));
      }
      goesOn = goesOn || !walk.isOver();
    }
    if (static_cast<float>(reach) >= nearest.norm) break;
  }
  if (nearest.ray >= 0) out = nearest.cell;
  return nearest.ray >= 0;
}

template <typename Condition>
bool nearestInMap(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                  Condition condition) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kSearch);
  if (condition(map.getCell(start.x, start.y))) {
    out = start;
    return true;
  }
  auto walks = walksFrom<InsideCells, Condition>(
      map, start, [&](const Pose2Di& end) { return lineInMap(map, start, end); },
      [&] { return condition; });
  constexpr std::int64_t kFirstReach = 16;
  return nearestOnRays(walks, start, kFirstReach, out);
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
  requireKind(map.image, IPL_DEPTH_32F, 1, "findFirstFreeCellInLine");
  const FreeCellCondition isFree{threshold};
  if (!map.isInside(from.x, from.y) && isFree(-1.0f)) {
    out = {from.x, from.y, 0.0f};
    return true;
  }
  Walk<InsideCells, FreeCellCondition> walk(map, lineInMap(map, from, to), from, to, isFree);
  const bool isFound = walk.goOn(std::numeric_limits<std::int64_t>::max());
  if (isFound) out = walk.cell();
  return isFound;
}

bool xFindFirstCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                    const CellCondition& atStart, const std::function<CellCondition()>& onRay) {
  requireKind(map.image, IPL_DEPTH_32F, 1, kSearch);
  if (atStart(map.getCell(start.x, start.y))) {
    out = start;
    return true;
  }
  auto walks = walksFrom<AllCells, CellCondition>(
      map, start, [&](const Pose2Di& end) { return wholeLine(start, end); }, onRay);
  // One round: a condition that looks beyond its own ray sees one ray after the other.
  return nearestOnRays(walks, start, static_cast<std::int64_t>(kTooFar), out);
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
