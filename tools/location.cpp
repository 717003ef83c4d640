#include "tools/location.hpp"

#include <algorithm>
#include <cmath>

namespace korrin_tool {
namespace {

constexpr float kApart = 0.5f;   // metres
constexpr float kTurned = 0.5f;  // radians
constexpr float kFree = 0.6f;
constexpr float kTwoPi = 6.28318531f;

float bestOfHeadings(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                     Brin::Pose2D place, float turnStep) {
  float best = 0.0f;
  const int headings = std::max(1, static_cast<int>(std::ceil(kTwoPi / turnStep)));
  for (int k = 0; k < headings; ++k) {
    place.theta = static_cast<float>(k) * turnStep;
    best = std::max(best, search.score(points, place));
  }
  return best;
}

}  // namespace

Verdict verdictOf(const std::vector<Brin::ScoredPose>& answers, float minScore) {
  if (answers.empty() || !(answers[0].score >= minScore)) return Verdict::Poor;
  if (answers.size() > 1 && answers[1].score >= kAsGood * answers[0].score) {
    return Verdict::Ambiguous;
  }
  return Verdict::Clear;
}

Location locate(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                const Brin::PoseGrid& grid, int count, float minScore) {
  Location location;
  location.answers = search.best(points, grid, std::max(count, 2), kApart, kTurned);
  location.verdict = verdictOf(location.answers, minScore);
  return location;
}

ScoreMap scoresOn(const Brin::OccupancyMap& map, const Brin::PoseSearch& search,
                  const std::vector<Brin::Point2D>& points, int side, float turnStep) {
  ScoreMap result;
  result.side = side;
  result.width = (map.params.width + side - 1) / side;
  result.height = (map.params.height + side - 1) / side;
  for (int row = 0; row < result.height; ++row) {
    for (int column = 0; column < result.width; ++column) {
      const int x = std::min(column * side + side / 2, map.params.width - 1);
      const int y = std::min(row * side + side / 2, map.params.height - 1);
      const bool isFree = map.getCell(x, y) >= kFree;
      result.scores.push_back(
          isFree ? bestOfHeadings(search, points, map.getPoseFromPixel({x, y, 0.0f}), turnStep)
                 : -1.0f);
    }
  }
  return result;
}

}  // namespace korrin_tool
