#include "tools/scan_search.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstdint>

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::PoseGrid;
using Brin::PoseSearch;
using Brin::ScoredPose;

// The distance map, with the release that its holder owes it, also when its build fails half way.
struct Reference : Brin::ScanDistMap {
  Reference() = default;
  Reference(const Brin::Scan& scan, float pixel) : Reference() { build(scan, {}, pixel); }
  ~Reference() {
    cvReleaseImage(&distanceMap);
    cvReleaseImage(&laserImage);
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
};

std::int64_t squared(std::int64_t steps) { return steps * steps; }

// Of all poses that score as much as `best` the one the fewest steps from the centre.
ScoredPose nearestOfEquals(const PoseSearch& search, const std::vector<Point2D>& points,
                           const PoseGrid& grid, ScoredPose best) {
  std::int64_t fewest = -1;
  for (int j = -grid.shiftsY(); j <= grid.shiftsY(); ++j) {
    for (int i = -grid.shiftsX(); i <= grid.shiftsX(); ++i) {
      for (int k = -grid.turns(); k <= grid.turns(); ++k) {
        const std::int64_t steps = squared(i) + squared(j) + squared(k);
        if (fewest >= 0 && steps >= fewest) continue;
        const Brin::Pose2D pose = grid.pose(i, j, k);
        if (search.score(points, pose) < best.score) continue;
        best.pose = pose;
        fewest = steps;
      }
    }
  }
  return best;
}

}  // namespace

std::vector<Point2D> hitPoints(const Brin::Scan& scan, float maxRange) {
  std::vector<Point2D> points;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0 && reading.range < maxRange) points.push_back(reading.toPoint2D());
  }
  return points;
}

PoseSearch searchOn(const Brin::Scan& reference, float resolution, float cutOff) {
  return {Reference(reference, resolution), cutOff};
}

ScoredPose bestPose(const PoseSearch& search, const std::vector<Point2D>& points,
                    const PoseGrid& grid) {
  // A runner-up no distance away is the next best of all poses, so it tells of a tie.
  const std::vector<ScoredPose> found = search.best(points, grid, 2, 0.0f, 0.0f);
  const bool isTie = found.size() > 1 && found[1].score == found[0].score;
  return isTie ? nearestOfEquals(search, points, grid, found[0]) : found.at(0);
}

std::vector<float> scoresByPlace(const PoseSearch& search, const std::vector<Point2D>& points,
                                 const PoseGrid& grid) {
  std::vector<float> scores;
  for (int j = -grid.shiftsY(); j <= grid.shiftsY(); ++j) {
    for (int i = -grid.shiftsX(); i <= grid.shiftsX(); ++i) {
      float best = 0.0f;
      for (int k = -grid.turns(); k <= grid.turns(); ++k) {
        best = std::max(best, search.score(points, grid.pose(i, j, k)));
      }
      scores.push_back(best);
    }
  }
  return scores;
}

}  // namespace korrin_tool
