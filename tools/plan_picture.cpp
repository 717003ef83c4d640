#include "tools/plan_picture.hpp"

namespace korrin_tool {
namespace {

constexpr double kTint = 0.45;

// Cells in the order in which the search took them, from early to late.
void tintExplored(Canvas& canvas, const Brin::OccupancyMap& map, const Plan& plan) {
  const double count = static_cast<double>(plan.explored.size());
  const int side = static_cast<int>(plan.searched.resolution / map.params.resolution + 0.5f);
  for (std::size_t i = 0; i < plan.explored.size(); ++i) {
    const Colour colour = mix(palette::kEarly, palette::kLate, static_cast<double>(i) / count);
    const Brin::Pose2Di corner =
        map.getPixelFromPose(plan.searched.getPoseFromPixel(plan.explored[i]));
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) canvas.fillCell(corner.x + x, corner.y + y, colour, kTint);
    }
  }
}

}  // namespace

Canvas drawPlan(const Brin::OccupancyMap& map, const Plan& plan) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  tintExplored(canvas, map, plan);
  canvas.polyline(plan.waypoints, palette::kPaper, 7);
  canvas.polyline(plan.waypoints, palette::kPath, 4);
  for (const Brin::Pose2D& waypoint : plan.waypoints) canvas.disc(waypoint, 5, palette::kPath);
  canvas.disc(plan.start, 10, palette::kStart);
  canvas.disc(plan.goal, 10, palette::kGoal);
  canvas.label(plan.start, "start", Anchor::Below, palette::kStart);
  canvas.label(plan.goal, "goal", Anchor::Below, palette::kGoal);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "path and waypoints"},
                 {mix(palette::kPaper, palette::kEarly, kTint), "searched first"},
                 {mix(palette::kPaper, palette::kLate, kTint), "searched last"}});
  return canvas;
}

}  // namespace korrin_tool
