// The picture of a scan that was found on a map: how well it fits where, and its points laid over
// the map at each answer.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/pose_search.hpp"
#include "tools/location.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_tool {

struct LocationToDraw {
  const Brin::OccupancyMap& map;
  const std::vector<Brin::Point2D>& points;  // of the scan, in the sensor's frame
  const ScoreMap& scores;
  const std::vector<Brin::ScoredPose>& answers;  // the best first
  std::optional<Brin::PoseGrid> window;          // what was searched, where that is not the map
};

Canvas drawLocation(const LocationToDraw& location);

}  // namespace korrin_tool
