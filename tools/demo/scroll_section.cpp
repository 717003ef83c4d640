// A small map that goes along with the robot.
#include "korrin/map_image_utils.hpp"
#include "korrin/range_simulation.hpp"
#include "tools/demo/demo.hpp"
#include "tools/demo/scanner.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;

constexpr int kSide = 160;               // cells: 8 m
const Pose2D kBefore(5.5f, 8.0f, 0.0f);  // where the map was made
const Pose2D kAfter(9.0f, 8.6f, 0.0f);   // and where the robot went then

OccupancyMap mapAround(const Pose2D& robot, const OccupancyMap& building) {
  Brin::OccupancyMapParams params(kSide, kSide, building.params.resolution);
  const Brin::Pose2Di middle = building.getPixelFromPose(robot);
  params.origin = building.getPoseFromPixel({middle.x - kSide / 2, middle.y - kSide / 2, 0.0f});
  OccupancyMap map(params, true);
  Brin::Scan scan;
  scan.readings = readScanner(building, robot);
  Brin::fillOccMapFromScan(scan, robot, map, 4);
  return map;
}

void drawFrame(Canvas& canvas, const Brin::OccupancyMapParams& params, Colour colour) {
  std::vector<Pose2D> outline;
  const float side = static_cast<float>(kSide) - 0.5f;
  for (const Brin::Point2D corner :
       {Brin::Point2D(-0.5f, -0.5f), Brin::Point2D(side, -0.5f), Brin::Point2D(side, side),
        Brin::Point2D(-0.5f, side), Brin::Point2D(-0.5f, -0.5f)}) {
    outline.push_back(params.origin.absProject(
        {corner.x * params.resolution, corner.y * params.resolution, 0.0f}));
  }
  canvas.polyline(outline, colour, 4);
}

// The map's cells over the building, at their place in the world; hits black.
void drawCells(Canvas& canvas, const OccupancyMap& map, const Brin::OccupancyMapParams& frame) {
  const Brin::Pose2Di corner = frame.getPixelFromPose(map.params.origin);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const float value = map.getCell(x, y);
      const Colour colour = value == 0.5f  ? palette::kUnknown
                            : value < 1.0f ? palette::kInk
                                           : palette::kPaper;
      canvas.fillCell(corner.x + x, corner.y + y, colour);
    }
  }
}

DemoPicture picture(const DemoState& state, const Brin::OccupancyMapParams& before,
                    const OccupancyMap& after) {
  Canvas canvas(state.floor.map.params);
  drawBackground(canvas, state.floor.map, state.floor.map);
  drawCells(canvas, after, state.floor.map.params);
  drawFrame(canvas, before, palette::kFaint);
  drawFrame(canvas, after.params, palette::kGoal);
  canvas.line(kBefore, kAfter, palette::kPath, 4);
  canvas.heading(kBefore, 24.0, palette::kFaint);
  canvas.heading(kAfter, 24.0, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{palette::kFaint, "window before"},
                 {palette::kGoal, "window after"},
                 {palette::kPath, "robot"},
                 {palette::kUnknown, "unknown"}});
  return {"07-scroll.png", "A map that goes along",
          "A map of 8 m by 8 m around the robot is scrolled as the robot moves: what leaves it is "
          "forgotten, what enters is unknown, the rest stays where it is in the world. A robot "
          "keeps its surroundings at hand in little memory, however far it goes.",
          canvas};
}

}  // namespace

DemoPicture scrollSection(DemoState& state) {
  OccupancyMap map = mapAround(kBefore, state.floor.map);
  const Brin::OccupancyMapParams before = map.params;
  const Brin::Pose2Di from = map.getPixelFromPose(kBefore);
  const Brin::Pose2Di to = map.getPixelFromPose(kAfter);
  const Stopwatch stopwatch;
  Brin::scrollOccMapInPlace(map, {from.x - to.x, from.y - to.y});
  state.addRow("scroll a map along",
               formatCount(std::int64_t{kSide} * kSide) + " cells by " +
                   formatCount(to.x - from.x) + " and " + formatCount(to.y - from.y),
               stopwatch.seconds());
  return picture(state, before, map);
}

}  // namespace korrin_tool
