// Brings laser readings into an occupancy grid, and casts rays through it.
//
//   Brin::OccupancyMapper mapper(&map);                        // the map is borrowed
//   mapper.updateMap(scan.readings, robotPose, 0.05f, 0.1f);   // along beams freer, at hits less
//   Brin::RangeReading ray = mapper.throwRay(robotPose, goal, 0.45f);
//   bool isClear = ray.status != 0;                            // nothing below 0.45 on the way
//   mapper.simulateScan(robotPose, 3.14f, 0.0f, 10.0f, 181, readings, 0.45f);
//
// Beams and rays run through the cells of a straight line on the grid (Bresenham 1965), walked
// along x only when |dx| > |dy|; an exact diagonal is walked along y. The line belongs to its start
// cell and all cells between; its end cell is treated apart, as each function says.
//
// Cell values are probabilities of being free. Every write is new = old + increment, clamped into
// [0, 1]; a sum that is not a number becomes 0. Cells outside the map are skipped, silently: any
// coordinates, poses and ranges are fine, and cost no more than a line across the map.
//
// A null map changes nothing: results are empty, or range 0 with status 1, with one log record
// (Warning). A map whose image is null or not of one float channel raises OpenCV's error. Nothing
// is locked; const functions may run concurrently on one map, and updates may not.
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// Updates one map and casts rays through it.
class KORRIN_EXPORT OccupancyMapper {
 public:
  OccupancyMap* map;  // borrowed; must outlive the mapper's use

  // Null is fine until the first use, and no harm then.
  explicit OccupancyMapper(OccupancyMap* map);
  // Copies share the map.
  OccupancyMapper(const OccupancyMapper& other);
  OccupancyMapper& operator=(const OccupancyMapper& other) = default;
  virtual ~OccupancyMapper();

  // Brings in the readings of one scan taken at `robotPose` (world frame; range in metres, angle in
  // radians relative to the pose's heading), one after the other. A beam ends at the robot's cell
  // plus trunc(range * cos / resolution) columns and trunc(range * sin / resolution) rows: columns
  // and rows run along the world's axes, whatever the map's origin. Every cell of its line gets
  // `freeInc` * weight; the end cell gets `freeInc` * weight and then
  //   -`occInc` * weight   when the beam hit something (status 0),
  //   `freeInc` * weight   once more when it met nothing (any other status).
  // Ranges are cut to 2^27 cells either way, so an infinite range keeps its direction; negative
  // ones run backwards. A reading whose end is not a number (range, angle, pose or resolution) is
  // skipped. Linear in the cells inside the map.
  void updateMap(const std::vector<RangeReading>& readings, const Pose2D& robotPose, float freeInc,
                 float occInc);

  // The same beams, but only the end cells of hits change, by -`occInc` * weight. Readings without
  // a hit and `freeInc` do nothing. Linear in the readings.
  void updateMap2(const std::vector<RangeReading>& readings, const Pose2D& robotPose, float freeInc,
                  float occInc);

  // The ray between the cells of two world points (metres), as xThrowRay casts it.
  RangeReading throwRay(const Point2D& from, const Point2D& to, float threshold) const;

  // Empties `out` and fills it with `count` readings of a scanner at `pose` (world frame), the
  // first at `startAngle`, the last at `endAngle` (radians relative to the heading, both
  // included). Each ray runs from `minRange` to `maxRange` metres off the pose as throwRay does it;
  // ranges are reported from the pose: minRange plus the ray's own. Ranges are cut to 2^27 cells
  // either way before the ends are computed. A count of 0 gives no readings; of 1, a reading whose
  // angle is never a number, of range minRange and status 1; a negative one throws
  // std::length_error ("vector::reserve") once `out` is empty. Linear in the cells under the rays.
  void simulateScan(const Pose2D& pose, float startAngle, float endAngle, float minRange,
                    float maxRange, int count, std::vector<RangeReading>& out,
                    float threshold) const;

  // The same over `fieldOfView` radians centred on the heading.
  void simulateScan(const Pose2D& pose, float fieldOfView, float minRange, float maxRange,
                    int count, std::vector<RangeReading>& out, float threshold) const;

  // One beam between two cells: `freeInc` to every cell of the line and to the end cell, which then
  // gets `endInc` as well, each clamped on its own. A line of no length is its end cell alone.
  void xLineBres(int x0, int y0, int x1, int y1, float freeInc, float endInc);

  // `endInc` to the cell (x1, y1). The start and `freeInc` do nothing.
  void xLineBres2(int x0, int y0, int x1, int y1, float freeInc, float endInc);

  // Casts a ray from cell (x0, y0) towards (x1, y1) up to the first cell whose value is below
  // `threshold`. The start cell is tested, the end cell never is. The reading has angle 0 and
  //   status 0, the distance to that cell, or
  //   status 1, the distance to the end cell or to the first cell outside the map.
  // Distances are in metres between cell centres. A ray that starts outside the map or has no
  // length has range 0 and status 1. Nothing is below a threshold that is not a number, and a cell
  // that is not a number is below none.
  RangeReading xThrowRay(int x0, int y0, int x1, int y1, float threshold) const;
};

}  // namespace Brin
