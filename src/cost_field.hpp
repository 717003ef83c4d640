// What the cheapest way from each cell of a grid to one goal costs.
//
//   writeCostField(grid, resolution, steps, goal, *image);
//
// Dijkstra's algorithm (1959) from the goal backwards, with buckets for a queue (Dial 1969). No
// step costs less than a cell's side, so buckets of that width settle in turn, and no more of them
// are in use at once than the dearest step spans. What comes out does not depend on the order
// within a bucket: a cost is the least over all ways, each summed from the goal on, and a cell that
// becomes cheaper is looked at again.
#pragma once

#include <opencv2/core/types_c.h>

#include "korrin/core/geometry.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "src/cost_grid.hpp"

namespace Brin {

// Into `image`, of floats and of the grid's size. `goal` is any cell. When memory runs out, the
// image's cells are undefined.
void writeCostField(const CostGrid& grid, float resolution, OccMapPathFinder::NeighborhoodType type,
                    Point2Di goal, IplImage& image);

}  // namespace Brin
