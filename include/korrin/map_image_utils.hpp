// Operations on whole grids and on the images behind them.
//
//   Brin::OccupancyMap coarse(0, 0, 1.0f, true);
//   Brin::computeCoarserMap(map, coarse, 4);  // 4 x 4 cells become one, in the same place
//
// None of these functions keeps state: they are safe from any thread on distinct grids.
#pragma once

#include <opencv2/core/types_c.h>

#include "korrin/core/export.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// Replaces `coarse`, whatever it held, by `fine` reduced `factor` times in each direction:
//
//   cells       (fine columns / factor) x (fine rows / factor), rounded down, counted from the
//               image of `fine`; a remainder at the right or at the bottom has no cell of its own
//   resolution  factor * fine.params.resolution metres per cell
//   origin      that of `fine`, as it is
//   image       the probability image of `fine` through OpenCV's bilinear cvResize
//   second      an image of unknown cells (0.5); that of `fine`, if any, is not looked at
//
// A coarse cell is an interpolation of the fine ones, not their minimum: a thin wall can come out
// freer than a planner's threshold. Grow obstacles before reducing where that matters. With
// factor 1 the cells are those of `fine`, bit for bit.
//
// A factor larger than the map gives 0 columns or rows. A factor below 1 leaves `coarse` as it is
// and logs one warning. A `fine` without a probability image (one that was moved from), or with
// an image of another kind, raises OpenCV's error and leaves `coarse` as it is; so does a lack of
// memory. `fine` and `coarse` may be the same map. Linear in the cells of both maps.
KORRIN_EXPORT void computeCoarserMap(const OccupancyMap& fine, OccupancyMap& coarse, int factor);

}  // namespace Brin
