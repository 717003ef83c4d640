// One scan searched for on another: what the commands, the demonstration and their pictures add to
// the library's search.
//
//   const Brin::PoseSearch search = searchOn(first, 0.025f, 0.2f);
//   const Brin::ScoredPose found = bestPose(search, hitPoints(second), grid);
//
// Poses are relative to the reference's frame: metres and radians.
#pragma once

#include <limits>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/pose_search.hpp"

namespace korrin_tool {

// The ends of the beams that hit something nearer than `maxRange` metres, in the sensor's frame.
std::vector<Brin::Point2D> hitPoints(const Brin::Scan& scan,
                                     float maxRange = std::numeric_limits<float>::infinity());

// On the distance map of a reference scan, at `resolution` metres a pixel. A point farther than
// `cutOff` metres from the reference's hits adds nothing to a score.
Brin::PoseSearch searchOn(const Brin::Scan& reference, float resolution, float cutOff);

// The best pose of a grid that has one. Of equally good ones it is the one the fewest steps from
// the grid's centre, which is where the scan is believed to be.
Brin::ScoredPose bestPose(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                          const Brin::PoseGrid& grid);

// The best score of any heading at each place of the grid, for a picture: row by row, the lowest y
// first. Time: poses times points.
std::vector<float> scoresByPlace(const Brin::PoseSearch& search,
                                 const std::vector<Brin::Point2D>& points,
                                 const Brin::PoseGrid& grid);

}  // namespace korrin_tool
