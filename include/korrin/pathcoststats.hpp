// Path cost statistics: the lowest, the highest and the mean cell value along a path. Cell values
// are probabilities of being free, so a low minimum says that the path brushes an obstacle.
//
//   const float horizon = 2.0f;  // metres; the stretch to be driven next
//   Brin::PathCostStats ahead = Brin::computePathCostStat(map, path, &horizon);
//   if (ahead.minCost < 0.3f) slowDown();
//
// Pure functions on plain data: safe from any thread while nobody writes the map.
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// What was met along a path. As it starts, it stands for no path at all: the first value met
// replaces both the minimum and the maximum. -1 stands for a cell outside the map.
struct KORRIN_EXPORT PathCostStats {
  float minCost = 1.0f;  // the lowest cell value met
  float maxCost = 0.0f;  // the highest
  float avgCost = 0.0f;  // the mean
  float length = 0.0f;   // metres

  PathCostStats() = default;
};

// Both summaries as one: the lower minimum, the higher maximum, the lengths added, the means
// weighted by length:
//   avgCost = (a.avgCost * a.length + b.avgCost * b.length) / length
// or 0 when the length is not above 0.000001 metres. A minimum or maximum of `b` that is not a
// number is dropped, one of `a` is kept. Constant time.
KORRIN_EXPORT PathCostStats mergePathCostStats(const PathCostStats& a, const PathCostStats& b);

// The cell values met on the way along `path` (world poses; headings do not matter), in single
// precision throughout.
//
// Each pair of consecutive poses is a segment, walked from cell to cell on the straight line
// between the cells of its poses (Bresenham 1965, with x as the major axis only when
// |dx| > |dy|). A segment takes its first cell and all cells between, not its last, which is the
// first of the next segment; the last segment takes its last cell as well. After a cell, the
// length of its segment is (distance from the segment's first cell in cells + 1) * resolution.
// The mean of a segment is the sum of its values, added in the order of the walk, over their
// number; mergePathCostStats(segment, total so far) adds a segment to the total. A segment
// between two poses of one cell takes nothing, unless it is the last.
//
// With `maxLength` (metres, borrowed for the call; null for the whole path) the walk ends before
// the first cell that makes its segment longer than what the segments before leave of it, plus
// 0.000001. A limit that is not a number is none.
//
// A cell outside the map counts -1, and so does a pose that is no number; a map without an image
// is all outside. One whose image is not of one float channel, or has no pixels, raises OpenCV's
// error, whatever the path. A value that is not a number makes the mean not-a-number and passes by
// the minimum and the maximum. An empty path gives a default PathCostStats, one pose its own value
// three times with length 0; each with one log record (Info).
//
// Linear in the poses and in the cells met inside the map: cells outside are counted, not walked.
KORRIN_EXPORT PathCostStats computePathCostStat(const OccupancyMap& map,
                                                const std::vector<Pose2D>& path,
                                                const float* maxLength = nullptr);

}  // namespace Brin
