// The floor plan, and the round that the robot drives through it.
#include <cmath>

#include "tools/demo/demo.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::Pose2D;

constexpr float kSpacing = 0.25f;  // metres from one laser reading to the next

// Poses along the legs of a path, each heading along its leg.
void driveAlong(const std::vector<Pose2D>& waypoints, std::vector<Pose2D>& drive) {
  for (std::size_t i = 1; i < waypoints.size(); ++i) {
    const float dx = waypoints[i].x - waypoints[i - 1].x;
    const float dy = waypoints[i].y - waypoints[i - 1].y;
    const float heading = std::atan2(dy, dx);
    const int steps = static_cast<int>(std::ceil(std::hypot(dx, dy) / kSpacing));
    for (int k = 0; k < steps; ++k) {
      const float share = static_cast<float>(k) / static_cast<float>(steps);
      drive.emplace_back(waypoints[i - 1].x + share * dx, waypoints[i - 1].y + share * dy, heading);
    }
  }
}

DemoPicture picture(const DemoState& state) {
  Canvas canvas(state.floor.map.params);
  canvas.drawMap(state.floor.map);
  for (const Brin::Pose2Di& cell : state.floor.furniture) {
    canvas.fillCell(cell.x, cell.y, palette::kFurniture);
  }
  canvas.polyline(state.drive, palette::kRobot, 3);
  for (std::size_t i = 8; i < state.drive.size(); i += 16) {
    canvas.heading(state.drive[i], 20.0, palette::kRobot);
  }
  for (const RoomName& room : state.floor.rooms) {
    canvas.label(room.middle, room.name, Anchor::Centre);
  }
  canvas.disc(state.floor.entrance, 9, palette::kStart);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "walls"},
                 {palette::kFurniture, "furniture"},
                 {palette::kRobot, "the way driven"},
                 {palette::kStart, "entrance"}});
  return {"01-floorplan.png", "The building and the way driven",
          "A robot that knows nothing yet drives once through every room and reads its laser "
          "every 25 cm; the picture is the truth, which it never gets to see.",
          canvas};
}

}  // namespace

DemoPicture driveSection(DemoState& state) {
  const Stopwatch stopwatch;
  const Brin::PathPlanner planner(state.floor.map, state.settings);
  const std::vector<Pose2D>& tour = state.floor.tour;
  for (std::size_t i = 1; i < tour.size(); ++i) {
    driveAlong(planPath(planner, tour[i - 1], tour[i]).waypoints, state.drive);
  }
  state.drive.push_back(tour.back());
  state.addRow("drive through the building",
               formatMetres(lengthOf(state.drive)) + ", " +
                   formatCount(static_cast<std::int64_t>(tour.size()) - 1) + " plans",
               stopwatch.seconds());
  return picture(state);
}

}  // namespace korrin_tool
