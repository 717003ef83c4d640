// The demonstration: a list of sections, each of which does one thing a robot does, adds a row or
// two to the table, and draws one picture. A new section is a new file here and a new line in
// kSections (demo.cpp); it may use what the sections before it have made.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/path_planner.hpp"
#include "tools/demo/floor_plan.hpp"
#include "tools/format.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/planning.hpp"

namespace korrin_tool {

struct DemoState {
  DemoState();

  FloorPlan floor;                  // the building as it is, which the robot does not know
  Brin::PlannerSettings settings;   // how the robot plans
  std::vector<Brin::Pose2D> drive;  // where it read its laser
  Brin::OccupancyMap grid;          // what it knows
  std::unique_ptr<Brin::PathPlanner> planner;  // on that grid, once it is built
  Plan plan;                                   // from the entrance to the far room
  Table table;                                 // step, result, time

  void addRow(const std::string& step, const std::string& result, double seconds);
};

struct DemoPicture {
  std::string fileName;
  std::string heading;
  std::string caption;  // one sentence on what is seen, one on what a robot uses it for
  Canvas canvas;
};

using DemoSection = DemoPicture (*)(DemoState&);

DemoPicture driveSection(DemoState& state);     // the floor plan and the way driven
DemoPicture gridSection(DemoState& state);      // the grid built from the scans
DemoPicture dilationSection(DemoState& state);  // obstacles grown
DemoPicture planSection(DemoState& state);      // the path
DemoPicture holeSection(DemoState& state);      // openings in a scan
DemoPicture matchSection(DemoState& state);     // a scan matched against another
DemoPicture scrollSection(DemoState& state);    // a map that goes along with the robot
DemoPicture costSection(DemoState& state);      // the path judged
DemoPicture obstacleSection(DemoState& state);  // the side that obstacles are on

// Draws walls and furniture of `building` faintly into a picture of `frame`.
void drawBackground(Canvas& canvas, const Brin::OccupancyMapParams& frame,
                    const Brin::OccupancyMap& building);

// Runs all sections in order on `state`.
std::vector<DemoPicture> runSections(DemoState& state);

}  // namespace korrin_tool
