// Where on a map was a scan taken, and is there just one such place?
//
//   const Location location = locate(search, points, grid, 3, 0.5f);
//   if (location.verdict == Verdict::Clear) robotStandsAt(location.answers[0].pose);
//
// Poses are world poses: metres and radians.
#pragma once

#include <string>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/pose_search.hpp"

namespace korrin_tool {

enum class Verdict {
  Clear,      // one answer, and nowhere else anything like it
  Ambiguous,  // elsewhere a score within 2 % of the best
  Poor        // nothing scores as much as is wanted
};

struct Location {
  Verdict verdict = Verdict::Poor;
  std::vector<Brin::ScoredPose> answers;  // the best first; empty where the grid has no pose
};

// "clear", "ambiguous" or "poor".
const char* nameOf(Verdict verdict);

// How near to the best a score elsewhere leaves the answer open: from this share of it on.
constexpr float kAsGood = 0.98f;

// How a location is to be taken, after the scores of its answers.
Verdict verdictOf(const std::vector<Brin::ScoredPose>& answers, float minScore);

// The best pose within a step of `rough`, a pose of `grid`, by three searches with half the steps
// of the one before: what a grid's steps cost a pose of its score is as much as the right place may
// be better than another one. It scores no less, and is `rough` itself where nothing scores more.
// Time: at most 375 poses times points.
Brin::ScoredPose refined(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                         const Brin::PoseGrid& grid, const Brin::ScoredPose& rough);

// The best pose of `grid` and the best ones elsewhere, half a metre or half a radian away, each of
// them refined, and then the best first: `count` in all, and at least one elsewhere to judge by.
// Fewer where the grid has no more, or where refining large steps brings them together.
Location locate(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                const Brin::PoseGrid& grid, int count, float minScore);

// How well a scan fits everywhere, for a picture: places in the middle of squares of `side` cells,
// each with the best score of any of the headings that `turnStep` (radians) parts a circle into.
// Squares whose middle is not surely free, from 0.6 on, where no robot stands, have -1.
struct ScoreMap {
  int side = 1;
  int width = 0;  // squares
  int height = 0;
  std::vector<float> scores;  // row by row

  float at(int column, int row) const {
    return scores[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(column)];
  }
};

// Time: free squares times headings times points.
ScoreMap scoresOn(const Brin::OccupancyMap& map, const Brin::PoseSearch& search,
                  const std::vector<Brin::Point2D>& points, int side, float turnStep);

// The same with squares, headings and points of the scan few enough to take about a second; points
// match within `cutOff` metres of cells below `threshold`, or half a metre where that is more.
ScoreMap scoresForPicture(const Brin::OccupancyMap& map, const std::vector<Brin::Point2D>& points,
                          float threshold, float cutOff);

}  // namespace korrin_tool
