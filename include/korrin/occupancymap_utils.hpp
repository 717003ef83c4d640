// Questions to an occupancy grid: where is the nearest free or unknown cell, and on which side are
// the obstacles?
//
//   Brin::Pose2Di cell;
//   if (Brin::findFirstFreeCell(map, map.getPixelFromPose(robot), cell, 0.7f))
//     driveTo(map.getPoseFromPixel(cell));  // the way out of an obstacle
//   float side;
//   if (Brin::findObstaclesMainDirection(map, cell, 0.5f, side, 0.4f)) backOffFrom(side);
//
// The searches look along 50 rays that start at a cell, all around, and give the nearest of what
// the rays meet first:
//
//   1. The start cell itself is looked at. If it satisfies the condition, it is the answer.
//   2. Ray k leaves at the angle 2 k pi / 50 to the world's x axis, whichever way the grid is
//      turned, and is as long as the map is wide and high together, so that every ray that starts
//      in the map leaves it. Its cells are those of the straight line from the start to its end,
//      both included (integer line algorithm, Bresenham 1965).
//   3. Along each ray the first cell that satisfies the condition is the ray's candidate.
//   4. The candidate nearest to the start (Euclidean, in cells) is the answer; of equally near ones
//      the one of the ray with the smaller angle. Candidates 1,000,000 cells away or farther do
//      not count.
//
// Nearest means nearest on the rays: a cell between two rays can be nearer and is not seen.
//
// Everywhere here a cell outside the map reads as -1, and the start may lie anywhere. Cells come
// back with heading 0 unless it is said otherwise. `out` is written only when the result is true
// and may be the very object that another argument is. A map whose image is null or not of one
// float channel raises OpenCV's error. Nothing is kept between calls: safe from any thread while
// nobody writes the map.
#pragma once

#include <cmath>
#include <functional>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// Satisfied by a value above the threshold. Not-a-number, as a value or as the threshold, never
// satisfies it.
struct FreeCellCondition {
  float threshold;  // a value equal to it does not satisfy

  // Whether `value` satisfies the condition.
  bool operator()(float value) const { return value > threshold; }
};

// Satisfied by an unknown value, one nearer to 0.5 than the tolerance, as long as no value below
// the threshold came before it: a cell that no obstacle hides. A value that is not a number hides
// nothing and is not unknown; a threshold or tolerance that is not a number accepts nothing.
struct GrayCellCondition {
  float threshold;       // values below it block the way
  float tolerance;       // how far from 0.5 an unknown value stays, this distance not included
  bool blocked = false;  // whether the way is blocked; once set, no value is accepted any more

  // Whether `value`, the next one along a ray, satisfies the condition.
  bool operator()(float value) {
    if (value < threshold) blocked = true;
    return value >= threshold && !blocked && std::abs(value - 0.5f) < tolerance;
  }
};

// The nearest cell whose value is above `threshold`, whatever lies before it: the way out of an
// obstacle. A start cell that is free is given back as it is, heading included. False when no ray
// meets a free cell. Time: at most 50 walks through the map, wherever the start lies.
KORRIN_EXPORT bool findFirstFreeCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                                     float threshold);

// The nearest cell whose value is nearer to 0.5 than `tolerance` and in sight: no cell between the
// start and it, both included, is below `threshold`. A start cell that is unknown is given back as
// it is, heading included; one below `threshold`, as all cells outside the map are for any sensible
// threshold, blocks every ray, so nothing is found. Time as for findFirstFreeCell.
KORRIN_EXPORT bool findFirstGrayCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                                     float threshold, float tolerance);

// The first cell on the line from `from` to `to`, both included, whose value is above `threshold`.
// Its heading is 0 even when it is `from`. False when there is none. Time: one walk through the
// map, however long the line.
KORRIN_EXPORT bool findFirstFreeCellInLine(const OccupancyMap& map, const Pose2Di& from,
                                           const Pose2Di& to, Pose2Di& out, float threshold);

// A condition of any type.
using CellCondition = std::function<bool(float)>;

// What findFirstCellWithCond does: `atStart` is asked about the start cell, and then `onRay` gives
// each ray its own condition, in the order of the rays.
KORRIN_EXPORT bool xFindFirstCell(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                                  const CellCondition& atStart,
                                  const std::function<CellCondition()>& onRay);

// The search with a condition of the caller's own: any copyable object that answers
// `bool operator()(float value)`. It may keep state. It sees the start cell first; each ray then
// gets a copy of it as that left it, which sees the ray's cells in order, the start cell once more
// and every cell outside the map included, until it accepts one or the ray is too far out to give
// the answer. What a condition throws passes to the caller, with `out` as it was.
//
// Time: at most 50 walks as long as the map is wide and high together. Where positions are so wild
// that the rays end far beyond that (starts far from the map, a resolution that is no length), at
// most 50 walks of 1,000,000 cells.
template <typename Condition>
bool findFirstCellWithCond(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out,
                           Condition condition) {
  return xFindFirstCell(map, start, out, std::ref(condition),
                        [&condition] { return CellCondition(condition); });
}

// The two conditions above answer the same on every cell outside the map that follows another, so
// no more than one of these is looked at, however many there are.
template <>
KORRIN_EXPORT bool findFirstCellWithCond(const OccupancyMap& map, const Pose2Di& start,
                                         Pose2Di& out, FreeCellCondition condition);
template <>
KORRIN_EXPORT bool findFirstCellWithCond(const OccupancyMap& map, const Pose2Di& start,
                                         Pose2Di& out, GrayCellCondition condition);

// On which side of a cell the near obstacles are: the mean bearing of those of 100 simulated beams,
// all around, that hit an obstacle nearer than `range`.
//
//   1. A start cell whose value is below `threshold`, as outside the map, lies inside an obstacle:
//      the look goes on from the cell that findFirstFreeCell finds. A value equal to the threshold
//      does not lie inside one, though that search would not call it free. This is intended.
//   2. occMapSimulateScan casts the beams of ScanModel(100, 5 * range, 2 pi), from 1 millimetre to
//      5 * range around the cell's centre (metres). Its readings of status 0 and strictly below
//      `range` count.
//   3. `direction` becomes the circular mean of their angles: radians, counted from the direction
//      of the grid's rows. The heading of `start` plays no part.
//
// False, and `direction` as it was, when no free cell or no near obstacle is found, as for a range
// that is not above 0 or not a number. Each failure, a start inside an obstacle and a spread of the
// bearings above pi / 2 (which does not change the result) give a record at level Warning; the
// spread itself is reported at level Info. A cell value or a threshold that is not a number is
// below nothing. A map's second image vetoes hits as in any simulated scan. A map without a usable
// image raises OpenCV's error. Time: that of findFirstFreeCell and of 100 beams. Safe from any
// thread while nobody writes the map.
KORRIN_EXPORT bool findObstaclesMainDirection(const OccupancyMap& map, const Pose2Di& start,
                                              float range, float& direction, float threshold);

}  // namespace Brin
