// The grid that the robot builds from its scans.
#include "korrin/occupancy_mapper.hpp"
#include "tools/demo/demo.hpp"
#include "tools/demo/scanner.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Readings = std::vector<Brin::RangeReading>;

// How much one beam changes a cell.
constexpr float kFreeStep = 0.06f;
constexpr float kOccupiedStep = 0.35f;

std::vector<Readings> simulateScans(const DemoState& state) {
  std::vector<Readings> scans;
  for (const Brin::Pose2D& pose : state.drive) {
    scans.push_back(readScanner(state.floor.map, pose));
  }
  return scans;
}

void buildGrid(DemoState& state, const std::vector<Readings>& scans) {
  Brin::OccupancyMapper mapper(&state.grid);
  for (std::size_t i = 0; i < scans.size(); ++i) {
    mapper.updateMap(scans[i], state.drive[i], kFreeStep, kOccupiedStep);
  }
}

int countSeen(const Brin::OccupancyMap& map) {
  int seen = 0;
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) seen += map.getCell(x, y) != 0.5f ? 1 : 0;
  }
  return seen;
}

DemoPicture picture(const DemoState& state) {
  Canvas canvas(state.grid.params);
  canvas.drawMap(state.grid);
  canvas.scaleBar();
  canvas.legend(
      {{palette::kInk, "occupied"}, {palette::kPaper, "free"}, {palette::kUnknown, "never seen"}});
  return {"02-grid.png", "The occupancy grid",
          "Built from the laser readings alone: each beam makes the cells it crosses freer and the "
          "cell it ends in more occupied. It is what the robot knows of the building.",
          canvas};
}

}  // namespace

DemoPicture gridSection(DemoState& state) {
  const Stopwatch simulation;
  const std::vector<Readings> scans = simulateScans(state);
  state.addRow("simulate the laser",
               formatCount(static_cast<std::int64_t>(scans.size())) + " scans of " +
                   formatCount(kScannerBeams) + " beams",
               simulation.seconds());
  const Stopwatch building;
  buildGrid(state, scans);
  const double seconds = building.seconds();
  state.addRow("build the grid", formatCount(countSeen(state.grid)) + " cells seen", seconds);
  return picture(state);
}

}  // namespace korrin_tool
