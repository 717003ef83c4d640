#include "tools/demo/demo.hpp"

namespace korrin_tool {
namespace {

constexpr DemoSection kSections[] = {
    driveSection, gridSection,   dilationSection, planSection,     holeSection,
    matchSection, scrollSection, costSection,     obstacleSection,
};

Brin::PlannerSettings robotSettings() {
  Brin::PlannerSettings settings;
  settings.robotRadius = 0.25f;
  settings.fadeDistance = 0.65f;
  return settings;
}

}  // namespace

DemoState::DemoState()
    : floor(makeFloorPlan()), settings(robotSettings()), grid(floor.map.params, true) {
  table.header = {"step", "result", "time"};
}

void DemoState::addRow(const std::string& step, const std::string& result, double seconds) {
  table.rows.push_back({step, result, formatSeconds(seconds)});
}

void drawBackground(Canvas& canvas, const Brin::OccupancyMapParams& frame,
                    const Brin::OccupancyMap& building) {
  for (int y = 0; y < frame.height; ++y) {
    for (int x = 0; x < frame.width; ++x) {
      const Brin::Pose2Di cell = building.getPixelFromPose(frame.getPoseFromPixel({x, y, 0.0f}));
      if (building.getCell(cell.x, cell.y) == 0.0f) canvas.fillCell(x, y, palette::kShade);
    }
  }
}

std::vector<DemoPicture> runSections(DemoState& state) {
  std::vector<DemoPicture> pictures;
  for (const DemoSection section : kSections) pictures.push_back(section(state));
  return pictures;
}

}  // namespace korrin_tool
