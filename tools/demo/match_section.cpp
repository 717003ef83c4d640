// A scan matched against another one: where was it taken?
#include <cmath>

#include "korrin/pose_search.hpp"
#include "tools/demo/demo.hpp"
#include "tools/demo/scanner.hpp"
#include "tools/scan_search.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::Pose2D;

const Pose2D kReference(14.55f, 12.75f, 0.0f);  // where the first scan was taken
const Pose2D kMovedBy(0.43f, -0.22f, 0.15f);    // how the robot really moved, which it slipped
constexpr float kResolution = 0.05f;            // of the distance map and of the search, metres
constexpr int kReach = 18;                      // steps of the search to each side
constexpr float kTurnStep = 0.0175f;            // one degree
constexpr int kTurnReach = 12;
constexpr float kCutOff = 0.5f;  // metres from which on a point is no match

struct Match {
  Brin::ScoredPose best;      // relative to the reference
  std::vector<float> scores;  // the best of any heading, by shift, row by row
};

Brin::PoseGrid searchedGrid() {
  Brin::PoseGrid grid;
  grid.reachX = grid.reachY = kReach * kResolution;
  grid.turn = kTurnReach * kTurnStep;
  grid.step = kResolution;
  grid.turnStep = kTurnStep;
  return grid;
}

void drawPoints(Canvas& canvas, const std::vector<Point2D>& points, const Pose2D& pose,
                double radius, Colour colour) {
  for (const Point2D& point : points) {
    canvas.circle(pose.absProject({point.x, point.y, 0.0f}), radius, colour, -1);
  }
}

// One square per shift around the place of the first scan.
void drawScores(Canvas& canvas, const Brin::OccupancyMapParams& frame, const Match& match) {
  const Brin::Pose2Di middle = frame.getPixelFromPose(kReference);
  std::size_t i = 0;
  for (int y = -kReach; y <= kReach; ++y) {
    for (int x = -kReach; x <= kReach; ++x, ++i) {
      const double share = (match.scores[i] - 0.3) / (match.best.score - 0.3);
      canvas.fillCell(middle.x + x, middle.y + y, heat(share * share));
    }
  }
}

DemoPicture picture(const DemoState& state, const Match& match, const std::vector<Point2D>& first,
                    const std::vector<Point2D>& second) {
  Brin::OccupancyMapParams frame(180, 116, kResolution);
  frame.origin = {kReference.x - 90 * kResolution, kReference.y - 58 * kResolution, 0.0f};
  Canvas canvas(frame);
  drawBackground(canvas, frame, state.floor.map);
  drawScores(canvas, frame, match);
  const Pose2D found = kReference.absProject(match.best.pose);
  drawPoints(canvas, second, kReference, 4.0, palette::kGoal);
  drawPoints(canvas, first, kReference, 4.5, palette::kInk);
  drawPoints(canvas, second, found, 2.5, mix(palette::kPath, palette::kPaper, 0.25));
  canvas.heading(kReference, 26.0, palette::kGoal);
  canvas.heading(found, 26.0, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "first scan"},
                 {palette::kGoal, "second, unmatched"},
                 {palette::kPath, "second, matched"},
                 {heat(0.85), "good fit"},
                 {heat(0.1), "poor fit"}});
  return {"06-match.png", "A scan matched against another",
          "The robot takes a second scan where it believes not to have moved; the tinted square "
          "tells for each place how well the scan would fit there. A robot corrects what its "
          "wheels tell it in this way.",
          canvas};
}

}  // namespace

DemoPicture matchSection(DemoState& state) {
  Brin::Scan firstScan;
  firstScan.readings = readScanner(state.floor.map, kReference);
  const std::vector<Point2D> second =
      hitPoints(readScanner(state.floor.map, kReference.absProject(kMovedBy)));
  const Stopwatch stopwatch;
  const Brin::PoseSearch search = searchOn(firstScan, kResolution, kCutOff);
  const Brin::PoseGrid grid = searchedGrid();
  Match match{bestPose(search, second, grid), {}};
  const double seconds = stopwatch.seconds();
  match.scores = scoresByPlace(search, second, grid);
  const Pose2D error = kMovedBy.relProject(match.best.pose);
  state.addRow("match two scans",
               formatCount(grid.poses()) + " poses tried, " +
                   formatNumber(100.0 * std::hypot(error.x, error.y), 1) + " cm and " +
                   formatDegrees(std::abs(error.theta)) + " off",
               seconds);
  return picture(state, match, hitPoints(firstScan.readings), second);
}

}  // namespace korrin_tool
