// Obstacle dilation: grows the obstacles of a map, so that a planner that takes the robot for a
// point keeps its distance.
//
//   Brin::ObstacleDilater dilater(map.params.width, map.params.height);
//   dilater.setParams(0.3f, 0.8f);  // blocked within 0.3 m of an obstacle, free from 0.8 m on
//   dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
//
// Two of the methods turn each cell into a function of its distance to the nearest obstacle; the
// third erodes the free space and blurs the result. All of them rewrite map.image in place and
// leave the rest of the map alone. The first two TURN UNKNOWN CELLS FREE where no obstacle is near:
// take the lower of the old and the new value where unknown cells should stay unknown.
#pragma once

#include <opencv2/core/types_c.h>

#include <cstdint>

#include "korrin/core/export.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// A dilater is made for maps of one size and keeps its two work images for all of them. One
// dilater serves one thread at a time; distinct dilaters on distinct maps do not meet.
class KORRIN_EXPORT ObstacleDilater {
 public:
  // How obstacles grow.
  enum DilateType : std::int32_t {
    // 0 nearer than dilationRadius, from there a straight line up to 1 at fadeDistance.
    DILATE_LINEAR = 0,
    // 0 nearer than dilationRadius, from there a hyperbola: 0.5 after another fadeDistance / 10,
    // 1 only at infinity.
    DILATE_INVERSE = 1,
    // Low values spread by dilationRadius, then a Gaussian blur with sigma fadeDistance.
    DILATE_ERODE_SMOOTH = 2
  };

  IplImage* distImage;             // 32-bit floats: cells to the nearest obstacle. Owned.
  IplImage* charImage;             // bytes: the map at 256 levels per unit, obstacles 0. Owned.
  float obstProbThreshold = 0.1f;  // see setObstProbThreshold
  float dilationRadius = 0.2f;     // metres
  float fadeDistance = 0.4f;       // metres

  // A dilater for maps of `width` x `height` cells, 0 included. A negative size, or one whose
  // bytes exceed what an int counts, is OpenCV's error.
  ObstacleDilater(int width, int height);
  ~ObstacleDilater();
  ObstacleDilater(const ObstacleDilater&) = delete;
  ObstacleDilater& operator=(const ObstacleDilater&) = delete;

  // The probability at or below which a cell is an obstacle. It is compared in steps of 1 / 256:
  // the cell's byte (OccupancyMap::toCharIplImage) against 256 * threshold. Cells of byte 0 are
  // obstacles at any threshold, even below 0 or not-a-number.
  void setObstProbThreshold(float threshold) { obstProbThreshold = threshold; }

  // The two distances, in metres; what they mean is with each DilateType.
  void setParams(float dilationRadius, float fadeDistance);

  // Rewrites the probabilities of `map`, its resolution turning the distances into cells. The map
  // must have the dilater's size: one of another size, or without an image, is OpenCV's error and
  // stays as it was, and so do the work images. A map of no cells needs nothing. A type that is
  // none of the three leaves the cells as they are.
  //
  // Any distances are safe. Those that are not finite, or a resolution of 0, give what the
  // formulas below make of them. Linear in the cells.
  void dilate(OccupancyMap& map, DilateType type);

  // DILATE_LINEAR and DILATE_INVERSE, with the distances in cells. Of the old cells only their
  // being obstacles counts: unknown cells far from obstacles become free. With d the distance to
  // the nearest obstacle, r = radiusCells and f = fadeCells, a cell with d < r becomes 0, and any
  // other
  //   DILATE_LINEAR:   v = (d - r) / (f - r) if v < 1, and 1 otherwise; with r = f that is 1
  //   DILATE_INVERSE:  1 - k / (d - r + k) with k = f / 10; with f = 0 that is 1, but
  //                    not-a-number where d = r
  // d is the chamfer distance of the 3 x 3 mask (Borgefors 1986), up to 5 % off the Euclidean one
  // and never above 8192, which is also the distance where there is no obstacle at all. It is the
  // library's own, with the bits of cvDistTransform of OpenCV 4.6 whatever the release that is
  // linked. Any other type leaves the map as it is, though the work images are filled.
  // Linear in the cells.
  void xDoDilateWithFunctTransform(OccupancyMap& map, float radiusCells, float fadeCells,
                                   DilateType type);

  // DILATE_ERODE_SMOOTH, with the distances in cells: trunc(erodeCells) times (0 for what is
  // below 1 or not-a-number; more than the map's size is the map's size) each cell takes the
  // lowest value of the 3 x 3 around it; then an 11 x 11 Gaussian blur of sigma `sigmaCells`.
  // Only the blur writes to the map: with a sigma of 0.001 or less, or not-a-number, the map
  // stays as it was, erosion or not. Takes a map of any size and uses no work image. Linear in
  // the cells times the count. When OpenCV raises an error, the map is as before.
  void xDoCvDilateSmooth(OccupancyMap& map, float erodeCells, float sigmaCells);
};

}  // namespace Brin
