// The scores of one set of points, or one scan, at many poses: what a search for the best pose
// needs, several times as fast as one scanScore after the other.
//
//   std::vector<float> scores;
//   Brin::scanScores(reference.distanceMap, points, poses, reference.resolution, 0.5f, scores,
//                    nullptr, 1);
//   const auto best = std::max_element(scores.begin(), scores.end()) - scores.begin();
//   // poses[best] is where the points fit best
//
// Each score and count is scanScore's (scan_matching.hpp says what it means), bit for bit, in
// whatever order the poses come.
//
// What it costs. For points, a table of one float for each pixel of the distance map is made first,
// in about a nanosecond each, and then eight poses are scored at a time. That pays once there are
// several points times poses for each pixel of the map; with fewer, the poses are scored by
// scanScore one after the other, at no loss. It is fastest where neighbouring poses in the list
// have the same heading, as in a search that varies the heading last of all. For a scan, sine and
// cosine are taken once for each reading and each pose, instead of for each reading at each pose:
// that pays from a few poses on. Memory: the table, and a few numbers for each point.
#pragma once

#include <opencv2/core/types_c.h>

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// Sets `scores`, and `counts` if that is not null, to one entry for each of `poses`: what
// scanScore(distanceMap, points, pose, resolution, maxDist, &count, nullptr, step) gives. Where
// that leaves the count alone, because no point is visited, it is 0 here.
//
// A `step` below 1 empties both with one record (Warning). A null `distanceMap`, or one that is not
// of one float channel or is narrower than high, is OpenCV's error, and both are left as they were.
// Linear in points times poses, plus the pixels of the map as told above. Safe from several threads
// on one distance map.
KORRIN_EXPORT void scanScores(const IplImage* distanceMap, const std::vector<Point2D>& points,
                              const std::vector<Pose2D>& poses, float resolution, float maxDist,
                              std::vector<float>& scores, std::vector<int>* counts, int step);

// The same for a scan: readings without a hit are not visited.
KORRIN_EXPORT void scanScores(const IplImage* distanceMap, const Scan& scan,
                              const std::vector<Pose2D>& poses, float resolution, float maxDist,
                              std::vector<float>& scores, std::vector<int>* counts, int step);

}  // namespace Brin
