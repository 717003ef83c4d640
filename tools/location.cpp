#include "tools/location.hpp"

#include <algorithm>
#include <cmath>

#include "tools/scan_search.hpp"

namespace korrin_tool {
namespace {

constexpr float kApart = 0.5f;   // metres
constexpr float kTurned = 0.5f;  // radians
constexpr int kRefinements = 3;
constexpr int kLeastRough = 4;  // answers that refining may put into another order
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

bool isElsewhere(const Brin::Pose2D& pose, const Brin::Pose2D& other) {
  return std::hypot(pose.x - other.x, pose.y - other.y) >= kApart ||
         std::fabs(Brin::canonicalAngle(pose.theta - other.theta)) >= kTurned;
}

// Steps of half a metre and more let answers come together as they are refined.
std::vector<Brin::ScoredPose> withoutTwins(const std::vector<Brin::ScoredPose>& answers) {
  std::vector<Brin::ScoredPose> kept;
  for (const Brin::ScoredPose& answer : answers) {
    const bool isOwnPlace =
        std::all_of(kept.begin(), kept.end(), [&answer](const Brin::ScoredPose& better) {
          return isElsewhere(answer.pose, better.pose);
        });
    if (isOwnPlace) kept.push_back(answer);
  }
  return kept;
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

Brin::ScoredPose refined(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                         const Brin::PoseGrid& grid, const Brin::ScoredPose& rough) {
  Brin::ScoredPose best = rough;
  Brin::PoseGrid finer = grid;
  for (int k = 0; k < kRefinements; ++k) {
    finer.centre = best.pose;
    finer.reachX = finer.reachY = finer.step;
    finer.turn = finer.turnStep;
    finer.step *= 0.5f;
    finer.turnStep *= 0.5f;
    best = bestPose(search, points, finer);
  }
  return best;
}

Location locate(const Brin::PoseSearch& search, const std::vector<Brin::Point2D>& points,
                const Brin::PoseGrid& grid, int count, float minScore) {
  Location location;
  auto answers = search.best(points, grid, std::max(count, kLeastRough), kApart, kTurned);
  for (Brin::ScoredPose& answer : answers) answer = refined(search, points, grid, answer);
  std::stable_sort(answers.begin(), answers.end(),
                   [](const Brin::ScoredPose& one, const Brin::ScoredPose& other) {
                     return one.score > other.score;
                   });
  location.answers = withoutTwins(answers);
  location.answers.resize(
      std::min(location.answers.size(), static_cast<std::size_t>(std::max(count, 2))));
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
