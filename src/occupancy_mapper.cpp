#include "korrin/occupancy_mapper.hpp"

#include <cmath>
#include <string>

#include "core/grid_frame.hpp"
#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "src/beam.hpp"
#include "src/cell_line.hpp"
#include "src/cell_update.hpp"
#include "src/inside_line.hpp"
#include "src/ray.hpp"

namespace Brin {
namespace {

bool hasMap(const OccupancyMap* map, const char* function, int line) {
  if (map != nullptr) return true;
  completeLog(NavLogLevel::Warning, "The map of the mapper is null.", "src/occupancy_mapper",
              function, line);
  return false;
}

// The probability image of `map`, fit to be addressed by its rows.
IplImage& cellsOf(const OccupancyMap& map, const char* function) {
  requireKind(map.image, IPL_DEPTH_32F, 1, function);
  return *map.image;
}

CellRect rectOf(const IplImage& cells) { return {cells.width, cells.height}; }

void updateCell(IplImage& cells, Point2Di at, float increment) {
  if (!rectOf(cells).contains(at.x, at.y)) return;
  float& cell = imageRow<float>(cells, at.y)[at.x];
  cell = clampedSum(cell, increment);
}

// All cells of the line but its end cell.
void updateCrossed(IplImage& cells, Point2Di from, Point2Di to, float increment) {
  if (InsideLine::canWalk(cells, from, to)) {
    InsideLine line;
    line.aim(cells, from, to);
    line.walk<float>(cells, 0, [=](float& cell) {
      cell = clampedSum(cell, increment);
      return false;
    });
    return;
  }
  for (CellLine line(from.x, from.y, to.x, to.y, rectOf(cells)); !line.done(); line.next()) {
    updateCell(cells, {line.x(), line.y()}, increment);
  }
}

// The end cell gets both increments in turn, each clamped on its own, by intention: with 1.0 and
// -0.1, a hit cell ends at 0.9 whatever it held.
void updateLine(IplImage& cells, Point2Di from, Point2Di to, float freeInc, float endInc) {
  updateCrossed(cells, from, to, freeInc);
  updateCell(cells, to, freeInc);
  updateCell(cells, to, endInc);
}

// `from` + trunc(`offset`), which must be a number; offsets beyond 2^28 count as 2^28, so that no
// sum with a cell of the map's frame overflows.
int movedBy(int from, float offset) {
  constexpr float kLimit = 268435456.0f;
  if (offset > kLimit) return from + static_cast<int>(kLimit);
  if (offset < -kLimit) return from - static_cast<int>(kLimit);
  return from + static_cast<int>(offset);
}

// Calls handle(reading, start, end) with the cells of every reading whose end is a number.
template <typename Handle>
void forEachBeam(const OccupancyMapParams& params, const std::vector<RangeReading>& readings,
                 const Pose2D& robotPose, Handle handle) {
  const float inv = 1.0f / params.resolution;
  const Pose2Di robot = params.getPixelFromPose(robotPose);
  for (const RangeReading& reading : readings) {
    const Direction direction = directionOf(robotPose.theta + reading.angle);
    const float range = limitedRange(reading.range, params.resolution);
    const float dx = range * direction.cosine * inv;
    const float dy = range * direction.sine * inv;
    if (std::isnan(dx) || std::isnan(dy)) continue;
    handle(reading, Point2Di(robot.x, robot.y),
           Point2Di(movedBy(robot.x, dx), movedBy(robot.y, dy)));
  }
}

RangeReading noRay() {
  RangeReading reading;
  reading.status = 1;
  return reading;
}

}  // namespace

OccupancyMapper::OccupancyMapper(OccupancyMap* map_) : map(map_) {}

OccupancyMapper::OccupancyMapper(const OccupancyMapper& other) = default;

OccupancyMapper::~OccupancyMapper() = default;

void OccupancyMapper::updateMap(const std::vector<RangeReading>& readings, const Pose2D& robotPose,
                                float freeInc, float occInc) {
  if (!hasMap(map, "updateMap", __LINE__)) return;
  IplImage& cells = cellsOf(*map, "OccupancyMapper::updateMap");
  forEachBeam(map->params, readings, robotPose,
              [&](const RangeReading& reading, const Point2Di& start, const Point2Di& end) {
                const float free = freeInc * reading.weight;
                // The far end of a beam that met nothing is freed twice, by intention.
                const float atEnd = reading.status == 0 ? -occInc * reading.weight : free;
                updateLine(cells, start, end, free, atEnd);
              });
}

void OccupancyMapper::updateMap2(const std::vector<RangeReading>& readings, const Pose2D& robotPose,
                                 float /*freeInc*/, float occInc) {
  if (!hasMap(map, "updateMap2", __LINE__)) return;
  IplImage& cells = cellsOf(*map, "OccupancyMapper::updateMap2");
  forEachBeam(map->params, readings, robotPose,
              [&](const RangeReading& reading, const Point2Di& /*start*/, const Point2Di& end) {
                if (reading.status != 0) return;
                updateCell(cells, end, -occInc * reading.weight);
              });
}

RangeReading OccupancyMapper::throwRay(const Point2D& from, const Point2D& to,
                                       float threshold) const {
  if (!hasMap(map, "throwRay", __LINE__)) return noRay();
  const RayRules rules(*map, threshold, "OccupancyMapper::throwRay");
  const RayCaster caster(rules);
  const GridFrame frame(map->params);
  return castBetween(caster, frame.cellOf(from), frame.cellOf(to));
}

void OccupancyMapper::simulateScan(const Pose2D& pose, float startAngle, float endAngle,
                                   float minRange, float maxRange, int count,
                                   std::vector<RangeReading>& out, float threshold) const {
  if (!hasMap(map, "simulateScan", __LINE__)) return out.clear();
  const RayRules rules(*map, threshold, "OccupancyMapper::simulateScan");
  const RayCaster caster(rules);
  simulateFan(map->params, pose, {startAngle, endAngle - startAngle, minRange, maxRange, count},
              caster, out);
}

void OccupancyMapper::simulateScan(const Pose2D& pose, float fieldOfView, float minRange,
                                   float maxRange, int count, std::vector<RangeReading>& out,
                                   float threshold) const {
  simulateScan(pose, -0.5f * fieldOfView, 0.5f * fieldOfView, minRange, maxRange, count, out,
               threshold);
}

void OccupancyMapper::xLineBres(int x0, int y0, int x1, int y1, float freeInc, float endInc) {
  if (!hasMap(map, "xLineBres", __LINE__)) return;
  updateLine(cellsOf(*map, "OccupancyMapper::xLineBres"), {x0, y0}, {x1, y1}, freeInc, endInc);
}

void OccupancyMapper::xLineBres2(int /*x0*/, int /*y0*/, int x1, int y1, float /*freeInc*/,
                                 float endInc) {
  if (!hasMap(map, "xLineBres2", __LINE__)) return;
  updateCell(cellsOf(*map, "OccupancyMapper::xLineBres2"), {x1, y1}, endInc);
}

RangeReading OccupancyMapper::xThrowRay(int x0, int y0, int x1, int y1, float threshold) const {
  if (!hasMap(map, "xThrowRay", __LINE__)) return noRay();
  const RayRules rules(*map, threshold, "OccupancyMapper::xThrowRay");
  const RayCaster caster(rules);
  return castBetween(caster, {x0, y0}, {x1, y1});
}

}  // namespace Brin
