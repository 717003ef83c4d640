#include "tools/pictures/location_picture.hpp"

#include <algorithm>

#include "tools/format.hpp"
#include "tools/pictures/scan_picture.hpp"

namespace korrin_tool {
namespace {

using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::ScoredPose;

// The scores from which on squares are tinted, and at which they are hottest: what half of them
// reach, which is what no match looks like, and the best.
struct ScoreRange {
  float low = 0.0f;
  float high = 0.0f;

  double shareOf(float score) const {
    return high > low ? std::clamp(double{(score - low) / (high - low)}, 0.0, 1.0) : 0.0;
  }
};

ScoreRange rangeOf(const ScoreMap& map) {
  std::vector<float> scores;
  for (const float score : map.scores) {
    if (score >= 0.0f) scores.push_back(score);
  }
  if (scores.empty()) return {};
  const auto middle = scores.begin() + static_cast<std::ptrdiff_t>(scores.size() / 2);
  std::nth_element(scores.begin(), middle, scores.end());
  return {*middle, *std::max_element(middle, scores.end())};
}

void tintScores(Canvas& canvas, const OccupancyMapParams& frame, const ScoreMap& map) {
  const ScoreRange range = rangeOf(map);
  CellTint tint(canvas, 0.6);
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const float score = map.at(x / map.side, y / map.side);
      if (score > range.low) tint.fill(x, y, heat(range.shareOf(score)));
    }
  }
}

void drawWindow(Canvas& canvas, const Brin::PoseGrid& window) {
  const auto corner = [&](float right, float up) {
    return Pose2D(window.centre.x + right * window.reachX, window.centre.y + up * window.reachY,
                  0.0f);
  };
  canvas.polyline({corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1), corner(-1, -1)},
                  palette::kFaint, 2);
}

Colour colourOf(std::size_t place) { return place == 0 ? palette::kPath : palette::kGoal; }

void drawHits(Canvas& canvas, const LocationToDraw& location, std::size_t place) {
  drawPoints(canvas, location.points, location.answers[place].pose, place == 0 ? 4.0 : 3.0,
             colourOf(place));
}

// The best is labelled above and the others below: a runner-up is often close beside it.
void drawAnswer(Canvas& canvas, const ScoredPose& answer, std::size_t place) {
  canvas.heading(answer.pose, 24.0, colourOf(place));
  canvas.label(answer.pose, std::to_string(place + 1) + ": " + formatNumber(answer.score, 3),
               place == 0 ? Anchor::Above : Anchor::Below, colourOf(place));
}

}  // namespace

Canvas drawLocation(const LocationToDraw& location) {
  Canvas canvas(location.map.params);
  canvas.drawMap(location.map);
  tintScores(canvas, location.map.params, location.scores);
  if (location.window) drawWindow(canvas, *location.window);
  const std::size_t count = location.answers.size();
  for (std::size_t place = count; place-- > 0;) drawHits(canvas, location, place);
  for (std::size_t place = count; place-- > 0;) drawAnswer(canvas, location.answers[place], place);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "where it fits best"},
                 {palette::kGoal, "elsewhere"},
                 {heat(1.0), "good fit"},
                 {heat(0.2), "poor fit"}});
  return canvas;
}

}  // namespace korrin_tool
