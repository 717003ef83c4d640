// A planar laser scanner and the scans it would return in an occupancy grid; a score of how well
// two scans agree; and a fresh grid from one scan.
//
//   Brin::ScanModel scanner(181, 10.0f, 3.14159274f);           // beams, metres, radians
//   Brin::occMapSimulateScan(map, scanner, pose, simulated, 0.45f);
//   float score = scanner.scanLikelihood(measured, simulated, 4);   // every fourth beam
//   Brin::fillOccMapFromScan(scan, {0.0f, 0.0f, 0.0f}, map, 4);
//
// Beams run through the same cells of the grid as OccupancyMapper's rays, but here a beam's end
// cell is tested too, and a map's second image can veto a hit. Maps and models are only read (but
// for fillOccMapFromScan), so all of this may run concurrently on shared ones. Any cells, poses and
// ranges are fine; a beam costs no more than a line across the map. A map whose image is null or
// not of one float channel, or whose second image differs from it in size or kind, raises
// OpenCV's error.
#pragma once

#include <cstdint>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// A scanner with its beams centred on the heading, and its measurement model.
struct KORRIN_EXPORT ScanModel {
  float maxRange;               // metres, where every beam ends
  float minRange = 0.1f;        // metres, where every beam starts
  float fieldOfView;            // radians from the first beam to the last
  float startAngle;             // of the first beam, radians relative to the heading
  std::int32_t count;           // beams
  float lowThreshold = 0.45f;   // second-image value from which a dark cell stops a beam
  float highThreshold = 0.55f;  // its companion; not read by this library
  float rangeSigma = 0.3f;      // metres, standard deviation of a range in scanLikelihood
  float unitFactor = 1.0f;      // not read by this library
  std::uint32_t reserved = 0;   // not read by this library

  // Beams, metres, radians; the first beam at -fieldOfView / 2.
  ScanModel(int count, float maxRange, float fieldOfView);

  // How well the ranges of two scans agree, reading by reading (angles are not compared), over
  // every `step`-th reading from the first: the cube root of
  //   the sum of (gaussian(difference) + 0.01) / (gaussian(0) + 0.01), divided by n / step,
  // where gaussian has the deviation `rangeSigma`, and n is the number of readings of `scanA`. Two
  // equal scans score 1 with step 1. The integer n / step drops its remainder, so when step does
  // not divide n the score can exceed 1, and with step > n it is infinite. No readings, or a
  // range that is not a number, score not-a-number. A step below 1 and a `scanB` with fewer
  // readings than `scanA` give 0 and one log record (Warning). Linear in n / step.
  float scanLikelihood(const std::vector<RangeReading>& scanA,
                       const std::vector<RangeReading>& scanB, int step) const;
};

// The beam from cell `from` to cell `to`, both tested. It ends in the first cell whose probability
// is below `threshold`, unless the map has a second image whose value there is below the model's
// `lowThreshold` (what is not a number is not below). The reading has angle 0 and
//   status 0, the distance from `from` to that cell in metres, or
//   status 1, the distance to `to` or to the first cell outside the map.
// A beam that starts outside the map has range 0 and status 1, one of no length the status of its
// only cell. Distances are between cell centres.
KORRIN_EXPORT RangeReading occMapGetRange(const OccupancyMap& map, const ScanModel& model,
                                          const Point2Di& from, const Point2Di& to,
                                          float threshold);

// Empties `out` and fills it with the scan of `model` at `pose` (world frame): beam i at
// startAngle + i * fieldOfView / (count - 1), from `minRange` to `maxRange` off the pose, as
// occMapGetRange casts it; the range is reported from the pose (minRange plus the beam's own), the
// angle relative to the heading. Ranges are cut to 2^27 cells either way before the ends are
// computed. A count of 0 gives no readings; of 1, one whose angle is never a number, of range
// minRange and status 1; a negative one throws std::length_error ("vector::reserve") once `out` is
// empty.
KORRIN_EXPORT void occMapSimulateScan(const OccupancyMap& map, const ScanModel& model,
                                      const Pose2D& pose, std::vector<RangeReading>& out,
                                      float threshold);

// Makes `map` (its size, resolution and origin kept) the picture of one scan taken at `pose` (world
// frame): unknown (0.5) everywhere, then the scan brought in with OccupancyMapper::updateMap,
// `subdivisions` times at headings spread evenly over one beam spacing so that no gaps stay between
// the beams, with a free increment of 1 and an occupied decrement of 0.1, and clipped to [0, 1].
// Crossed cells become 1; a hit cell of a single pass becomes 0.9, since it is freed before it is
// lowered. With `subdivisions` <= 0 or no readings every cell is 0.5. Linear in `subdivisions`.
KORRIN_EXPORT void fillOccMapFromScan(const Scan& scan, const Pose2D& pose, OccupancyMap& map,
                                      int subdivisions);

}  // namespace Brin
