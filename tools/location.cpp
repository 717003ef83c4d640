#include "tools/location.hpp"

#include <algorithm>
#include <cmath>

namespace korrin_tool {
namespace {

constexpr float kApart = 0.5f;   // metres
constexpr float kTurned = 0.5f;  // radians
constexpr float kFree = 0.6f;
constexpr float kTwoPi = 6.28318531f;

// Of the picture's scores: squares, and points of the scan, that take about a second.
constexpr double kMostSquares = 60000.0;
constexpr std::size_t kMostPoints = 200;
constexpr float kSquare = 0.25f;           // metres
constexpr float kSquareCutOff = 0.5f;      // metres: what a pose in the square's middle may miss by
constexpr float kSquareHeading = 0.0873f;  // radians: five degrees

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

const char* nameOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Clear:
      return "clear";
    case Verdict::Ambiguous:
      return "ambiguous";
    case Verdict::Poor:
      break;
  }
  return "poor";
}

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

ScoreMap scoresForPicture(const Brin::OccupancyMap& map, const std::vector<Brin::Point2D>& points,
                          float threshold, float cutOff) {
  const double cells = static_cast<double>(map.params.width) * map.params.height;
  const int side = std::max({1, static_cast<int>(std::lround(kSquare / map.params.resolution)),
                             static_cast<int>(std::ceil(std::sqrt(cells / kMostSquares)))});
  std::vector<Brin::Point2D> some;
  for (std::size_t i = 0; i < points.size(); i += points.size() / kMostPoints + 1) {
    some.push_back(points[i]);
  }
  const Brin::PoseSearch search(map, threshold, std::max(cutOff, kSquareCutOff));
  return scoresOn(map, search, some, side, kSquareHeading);
}

}  // namespace korrin_tool
