// Operations on whole grids and on the images behind them.
//
//   Brin::OccupancyMap coarse(0, 0, 1.0f, true);
//   Brin::computeCoarserMap(map, coarse, 4);  // 4 x 4 cells become one, in the same place
//
//   Brin::scrollOccMapInPlace(map, Brin::Point2Di{-10, 0});  // ten columns make room on the right
//   Brin::occMapMultiplyProb(map, 0.9f);                     // everything known fades a little
//
// None of these functions keeps state: they are safe from any thread on distinct grids.
//
// An image that is null, or that a function has no use for, raises OpenCV's error (cv::Exception)
// before any pixel is written, unless a function says otherwise.
#pragma once

#include <opencv2/core/types_c.h>

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
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

// Scaling about the unknown value: a factor below 1 pulls every value towards it, one above 1
// pushes values away, towards free or occupied, and a negative one turns free into occupied. All
// work in place and in one pass; an image of 0 columns or rows stays as it is.

// Scales an image of bytes (8 bits, one channel): p becomes (p - 127) * factor + 127 in extended
// precision, truncated towards zero, then limited to [0, 255]. The pivot is 127 and not the middle
// of the range, so 127 values lie below it and 128 above. What is not a number becomes 0: every
// byte for such a factor, and the byte 127 for an infinite one.
KORRIN_EXPORT void imgMultiplyProb8(IplImage* image, float factor);

// Scales an image of floats (32 bits, one channel): p becomes (p - 0.5) * factor + 0.5, limited to
// [0, 1]. What is not a number becomes 0. Bit for bit what two calls of cvThreshold make of it, to
// which a region of interest counts: what lies outside is scaled, but not limited.
KORRIN_EXPORT void imgMultiplyProb32F(IplImage* image, float factor);

// Scales a map's probability image, as imgMultiplyProb32F does it but with OccupancyMap::clip for
// the limits, to which no region of interest counts. The second image stays as it is.
KORRIN_EXPORT void occMapMultiplyProb(OccupancyMap& map, float factor);

// Scrolling: the cells move, those that leave are lost, those that enter are unknown (0.5).

// Fills `dst` with `src` moved by `shift` cells: source cell (x, y) lands at (x + shift.x,
// y + shift.y), and cells of `dst` without a source become 0.5.
//
// A shift by whole cells moves float cells (32 bits, one channel) as they are: one that is not a
// number stays so and spreads to no neighbour. A fraction, or an image of another kind, is
// interpolated by cvWarpAffine (bilinear). A shift that is not finite moves everything out.
//
// `dst` may have another size than `src`, but not another kind, and may be `src` itself. Linear in
// the cells of `dst`.
KORRIN_EXPORT void scrollIplImage(const IplImage* src, IplImage* dst, const Point2D& shift);

// Scrolls both images of `src` by `shift` cells into those of `dst` and gives `dst` the origin that
// keeps every cell at its place in the world: the source's cell (-shift.x, -shift.y), taken into
// the source's frame and out of it again. Nothing else of `dst` changes; its resolution ought to be
// the source's.
//
// Each scroll rounds the origin to floats. A thousand scrolls there and back leave it within a
// hundredth of a 5 cm cell, but for a rare origin that is turned and farther than 5 m out, with a
// coordinate at a power of two: there the same scroll over and over can shift it by 0.02 cells at
// 30 m, 0.08 at 100 m and 0.3 at 300 m.
//
// All four images must be there and of the same size, else OpenCV's error is raised before anything
// is written: maps need a second image to be scrolled. `dst` may be `src`. Shifts may have any
// value; one beyond the map leaves it unknown. Linear in the cells.
KORRIN_EXPORT void scrollOccMap(const OccupancyMap& src, OccupancyMap& dst, Point2Di shift);

// The same, by as many cells as the cell of `pose` (metres, in the world) is away from cell (0, 0)
// of `src`.
KORRIN_EXPORT void scrollOccMap(const OccupancyMap& src, OccupancyMap& dst, const Pose2D& pose);

// The same, from the map into itself. Needs no memory.
KORRIN_EXPORT void scrollOccMapInPlace(OccupancyMap& map, Point2Di shift);

// An image and where it belongs, for mergeImages2.
struct ImageToMerge {
  IplImage* image = nullptr;  // borrowed for the call
  float x = 0.0f;             // shift along the image's x axis, metres
  float y = 0.0f;             // shift along the image's y axis, metres
  float theta = 0.0f;         // not read
};

// Averages images, each shifted by its (x, y) metres at `resolution` metres a cell, into `*out`:
// with n images, the sum of scrollIplImage over each image times 1 / n.
//
// What a shifted image does not cover adds a whole 0.5, not 0.5 / n, so a cell that no image covers
// ends at 0.5 n. This is intended.
//
// A null `*out` gets a new image of the first one's size and kind, which the caller owns. Images
// and `*out` of different sizes or channel counts raise OpenCV's error before anything is written.
// An image that is `*out` itself counts with the sum of the images before it. No images leave
// `*out` as it is, even null. `extra` is not read. Linear in the cells of all images.
KORRIN_EXPORT void mergeImages2(std::vector<ImageToMerge> images, IplImage** out, float resolution,
                                float extra);

// Warps `src` into `dst` with cvWarpAffine (bilinear, 0.5 where nothing comes from) by the matrix
//
//   0  -1     0
//   1  w / 2  -w / 2        w: the columns of `src`
//
// Exactly these six values are intended, though they shear the image as they turn it; for a plain
// quarter turn take rotateIplImage90_2. `dst` may be `src`.
KORRIN_EXPORT void rotateIplImage90(const IplImage* src, IplImage* dst);

// Turns a square image of side n by a quarter turn, cell by cell: the source's (row i, column j)
// goes to (row n - 1 - j, column i). A source that is not square and a `dst` smaller than n x n
// raise OpenCV's error, and so does a region of interest smaller than that, before anything is
// written. What `dst` holds beyond n x n stays; between kinds, values convert as cvSet2D converts
// them. `dst` may be `src`. Linear in the cells.
KORRIN_EXPORT void rotateIplImage90_2(const IplImage* src, IplImage* dst);

}  // namespace Brin
