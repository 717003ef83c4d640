// Fills a path that strides over cells until every cell touches the next.
//
//   std::vector<Brin::Pose2Di> strides = {{0, 0, 0.0f}, {3, 1, 0.0f}};
//   std::vector<Brin::Pose2Di> cells;
//   Brin::pathUpSample(strides, cells);  // (0, 0), (1, 0), (2, 1), (3, 1)
//
// A path found with a neighbourhood of two or three cells jumps that far at every step; this is
// the way it runs through the grid.
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"

namespace Brin {

// Empties `out` and fills it with the cells of the straight lines between consecutive cells of
// `in` (integer line algorithm, Bresenham 1965), both ends of the path included. Neighbours in
// `out` touch by a side or a corner, and where two lines meet their common cell comes once. A line
// goes along x only when |dx| > |dy|; where it passes exactly between two cells it takes the one
// nearer to its end.
//
// - Every cell of `out` has heading 0; the headings of `in` are not copied.
// - Two equal cells in a row give nothing for that pair, so a path that ends on such a pair ends
//   with that cell once.
// - No cell or a single one gives an empty `out`: cells come from pairs.
// - `in` and `out` may be the same vector.
//
// Cells may lie anywhere; a line as long as the whole plane has 2^32 of them. When that is more
// than memory holds, std::bad_alloc or std::length_error of the one reservation passes to the
// caller and `out` is empty. Time and memory are linear in the cells of `out`. Safe from any
// thread.
KORRIN_EXPORT void pathUpSample(const std::vector<Pose2Di>& in, std::vector<Pose2Di>& out);

}  // namespace Brin
