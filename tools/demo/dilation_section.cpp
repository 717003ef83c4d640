// Obstacles grown, so that the robot may be planned for as a point.
#include "tools/demo/demo.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {

DemoPicture dilationSection(DemoState& state) {
  const Stopwatch stopwatch;
  state.planner = std::make_unique<Brin::PathPlanner>(state.grid, state.settings);
  state.addRow("grow the obstacles",
               "by " + formatShort(state.settings.robotRadius) + " m, fading over " +
                   formatShort(state.settings.fadeDistance) + " m",
               stopwatch.seconds());

  const Brin::OccupancyMap& grown = state.planner->grownMap();
  Canvas canvas(grown.params);
  canvas.drawCosts(grown, state.grid, state.settings.obstacleThreshold);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "obstacle"},
                 {palette::kNear, "too near"},
                 {palette::kCostly, "costly"},
                 {palette::kPaper, "free"},
                 {palette::kUnknown, "never seen"}});
  return {"03-dilated.png", "Obstacles grown",
          "Cells nearer to an obstacle than the robot's radius are closed and those around them "
          "cost more, so that a path planned for a point is safe for the robot.",
          canvas};
}

}  // namespace korrin_tool
