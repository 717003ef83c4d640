// The safe path simplifier: turns a dense path into few poses whose straight segments keep clear
// of a map's obstacles.
//
//   Brin::SafePathSimplifier simplifier;
//   simplifier.setObstacleThreshold(0.45f);
//   std::vector<Brin::Pose2D> waypoints = simplifier.sample(path, map);
//
// It simplifies the whole path coarsely, casts a ray along each segment of the result, and takes
// the stretch of the input that a blocked segment stands for through the same steps again, twice
// as finely. A stretch that is still blocked at the finest level is kept as dense as it came,
// obstacle or not: the last word is with the path that was given.
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/path_simplifier.hpp"

namespace Brin {

// One simplifier serves one thread at a time: sampling sets the accuracy of the owned
// PathSimplifier. Distinct simplifiers may share a map while nobody writes it.
class KORRIN_EXPORT SafePathSimplifier {
 public:
  PathSimplifier* pathSimplifier;          // owned
  float initialSamplingAccuracy = 300.0f;  // millimetres, of the first level
  float minSamplingAccuracy = 5.0f;  // millimetres; a finer level gives its path back as it is
  float accuracyDivisor = 2.0f;      // from one level's accuracy to the next
  float obstacleThreshold = 0.1f;    // a cell below it blocks

  SafePathSimplifier();
  ~SafePathSimplifier();
  SafePathSimplifier(const SafePathSimplifier&) = delete;
  SafePathSimplifier& operator=(const SafePathSimplifier&) = delete;

  // The accuracy of the first level, millimetres.
  void setInitialSamplingAccuracy(float accuracy) { initialSamplingAccuracy = accuracy; }
  float getInitialSamplingAccuracy() const { return initialSamplingAccuracy; }
  // A segment that meets a cell below it is blocked.
  void setObstacleThreshold(float threshold) { obstacleThreshold = threshold; }
  float getObstacleThreshold() const { return obstacleThreshold; }

  // xRecursiveSample with the initial accuracy.
  std::vector<Pose2D> sample(const std::vector<Pose2D>& path, const OccupancyMap& map);

  // `path` (world poses, metres) simplified at `accuracy` (millimetres) on `map`:
  //
  //   1. With an accuracy below minSamplingAccuracy the path comes back as it is; so does one of
  //      fewer than two poses, and any path when the accuracy is not finite (with one Warning).
  //   2. PathSimplifier::sample simplifies it at `accuracy`.
  //   3. OccupancyMapper::throwRay tests each segment. A free segment gives its first pose. For a
  //      blocked one, its stretch of the path goes through all this at accuracy / accuracyDivisor
  //      and gives all poses of the outcome but the last.
  //   4. The path's own last pose ends the result.
  //
  // The stretch runs, both ends included, from the pose of `path` nearest to the segment's start
  // to the one nearest to its end (findClosestInVect within 100 metres). On a path that visits a
  // place twice these may be earlier visits. Where one is missing (a pose that is no number is
  // near to nothing) or they are in the wrong order, the stretch runs between the two poses' own
  // places instead: the first place for the first pose of step 2, and for each next one the
  // nearest later place of a pose with the same bits. The same holds once the stretches chosen by
  // nearness have carried 2^20 poses more than the own ones in one call, so that a path of many
  // such places cannot multiply without end.
  //
  // The recursion also ends where the accuracy would not get finer, as with a divisor of 1 or less
  // or not-a-number, and below 1000 levels.
  //
  // The steps leave Info records: "path size before N" and "path size after N" around step 2,
  // "subPath size N" for each stretch, and "Limit reached !!!!" where the recursion ends.
  //
  // A map without an image raises OpenCV's error (for two poses or more). Poses off the map are
  // fine: a segment that starts outside is free. Typically O(n log n) a level plus the cells of
  // the rays; O(n^2) at worst.
  std::vector<Pose2D> xRecursiveSample(const std::vector<Pose2D>& path, const OccupancyMap& map,
                                       float accuracy);
};

// The pose of `v` whose position is nearest to that of `p`, and nearer than `maxDist` (metres);
// the earliest of several. v.end() if there is none: no pose is within `maxDist`, exclusively, or
// `maxDist` or all distances are not numbers. Headings do not matter. Linear in v; safe from any
// thread.
KORRIN_EXPORT std::vector<Pose2D>::const_iterator findClosestInVect(const std::vector<Pose2D>& v,
                                                                    const Pose2D& p, float maxDist);

}  // namespace Brin
