#include "mapping/local_search.hpp"

#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>

namespace Brin::mapping {
namespace {

constexpr float kCutOff = 0.3f;  // metres; a point farther from all hits fits nowhere

// Owns what a distance map does not, also when its build fails half way: a constructor that another
// one has called is done, so that there is a destructor to run.
class ScanReference {
 public:
  ScanReference(const Scan& scan, float resolution) : ScanReference() {
    map_.build(scan, Pose2D(), resolution);
  }
  ~ScanReference() {
    cvReleaseImage(&map_.distanceMap);
    cvReleaseImage(&map_.laserImage);
  }
  ScanReference(const ScanReference&) = delete;
  ScanReference& operator=(const ScanReference&) = delete;

  const ScanDistMap& map() const { return map_; }

 private:
  ScanReference() = default;

  ScanDistMap map_;
};

PoseSearch searchOn(const Scan& scan, double resolution) {
  const ScanReference reference(scan, static_cast<float>(resolution));
  return PoseSearch(reference.map(), kCutOff);
}

}  // namespace

LocalSearch::LocalSearch(const KeyGraph& graph, const std::vector<std::size_t>& set,
                         const GraphPose& viewpoint, double reach, double resolution)
    : viewpoint_(viewpoint),
      resolution_(resolution),
      search_(searchOn(graph.merged(set, viewpoint, reach), resolution)) {}

std::vector<FoundPose> LocalSearch::best(const std::vector<Point2D>& points,
                                         const SearchWindow& window, double turnStep, int count,
                                         double apart) const {
  PoseGrid grid;
  grid.centre = {static_cast<float>(window.centre.x), static_cast<float>(window.centre.y),
                 static_cast<float>(window.centre.theta)};
  grid.reachX = grid.reachY = static_cast<float>(window.reach);
  grid.turn = static_cast<float>(window.turn);
  grid.step = static_cast<float>(resolution_);
  grid.turnStep = static_cast<float>(turnStep);
  std::vector<FoundPose> found;
  for (const ScoredPose& scored : search_.best(points, grid, count, static_cast<float>(apart),
                                               std::numeric_limits<float>::infinity())) {
    found.push_back({{scored.pose.x, scored.pose.y, scored.pose.theta}, scored.score});
  }
  return found;
}

}  // namespace Brin::mapping
