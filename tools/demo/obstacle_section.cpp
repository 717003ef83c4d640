// Which side are the obstacles on?
#include <cmath>

#include "korrin/occupancymap_utils.hpp"
#include "tools/demo/demo.hpp"
#include "tools/log_collector.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::Pose2D;

constexpr float kRange = 1.0f;      // metres within which obstacles count
constexpr float kThreshold = 0.4f;  // of the grid: below is an obstacle

// Places where a robot might be stuck.
constexpr Pose2D kSpots[] = {
    {1.9f, 11.4f, 0.0f},  {5.0f, 13.2f, 0.0f}, {10.2f, 10.0f, 0.0f}, {18.4f, 11.9f, 0.0f},
    {22.1f, 12.0f, 0.0f}, {13.9f, 8.0f, 0.0f}, {8.6f, 2.0f, 0.0f},   {4.8f, 3.4f, 0.0f},
    {12.9f, 5.2f, 0.0f},  {21.6f, 4.4f, 0.0f},
};

// The spots that got an answer, heading towards the obstacles.
std::vector<Pose2D> askAll(const Brin::OccupancyMap& grid) {
  const LogCollector log;  // the spread of the bearings, which nobody needs here
  std::vector<Pose2D> answers;
  for (Pose2D spot : kSpots) {
    if (Brin::findObstaclesMainDirection(grid, grid.getPixelFromPose(spot), kRange, spot.theta,
                                         kThreshold)) {
      answers.push_back(spot);
    }
  }
  return answers;
}

DemoPicture picture(const DemoState& state, const std::vector<Pose2D>& answers) {
  Canvas canvas(state.grid.params);
  canvas.drawMap(state.grid);
  for (const Pose2D& spot : answers) {
    const double pixelsPerMetre = canvas.pixelsPerCell() / double{state.grid.params.resolution};
    canvas.circle(spot, kRange * pixelsPerMetre, palette::kFaint, 2);
    canvas.arrow(spot, spot.absProject({-0.75f, 0.0f, 0.0f}), palette::kStart, 5);
    canvas.arrow(spot, spot.absProject({0.55f, 0.0f, 0.0f}), palette::kGoal, 5);
    canvas.disc(spot, 8, palette::kInk);
  }
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "robot"},
                 {palette::kFaint, "what counts as near"},
                 {palette::kGoal, "obstacles' side"},
                 {palette::kStart, "way to back off"}});
  return {"09-obstacles.png", "Where the obstacles are",
          "Rays all around a robot find the near obstacles, and their mean bearing tells on which "
          "side they are. A robot that is stuck backs off to the other side.",
          canvas};
}

}  // namespace

DemoPicture obstacleSection(DemoState& state) {
  const Stopwatch stopwatch;
  const std::vector<Pose2D> answers = askAll(state.grid);
  state.addRow("find the obstacles' side",
               formatCount(static_cast<std::int64_t>(answers.size())) + " spots",
               stopwatch.seconds());
  return picture(state, answers);
}

}  // namespace korrin_tool
