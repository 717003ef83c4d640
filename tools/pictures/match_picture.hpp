// The picture of a match: both scans on the left, the scores of all shifts on the right.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/pose_search.hpp"

namespace korrin_tool {

struct MatchToDraw {
  const std::vector<Brin::Point2D>& reference;  // metres, in the reference's frame
  const std::vector<Brin::Point2D>& points;     // in the frame of the scan that was placed
  const Brin::PoseGrid& grid;                   // around the reference's own pose
  Brin::ScoredPose best;
  std::vector<float> scores;  // the best at each place of the grid, as scoresByPlace gives them
  Brin::Pose2D logged;        // where the log says the scan was taken
};

// A file that cannot be written is a FileError that names it.
void saveMatchPicture(const std::string& path, const MatchToDraw& match);

}  // namespace korrin_tool
