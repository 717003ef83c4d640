// The openings in one scan.
#include <cmath>

#include "korrin/range_simulation.hpp"
#include "korrin/scan_holes.hpp"
#include "tools/demo/demo.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::Pose2D;

const Pose2D kRobot(5.4f, 8.0f, 0.0f);
constexpr float kMaxRange = 3.2f;
constexpr int kBeams = 361;
constexpr float kFieldOfView = 3.14159274f;
constexpr float kThreshold = 0.4f;
constexpr float kMinWidth = 0.8f;  // of an opening that the robot fits through, metres

Brin::Scan readAhead(const Brin::OccupancyMap& building) {
  const Brin::ScanModel scanner(kBeams, kMaxRange, kFieldOfView);
  Brin::Scan scan;
  Brin::occMapSimulateScan(building, scanner, kRobot, scan.readings, kThreshold);
  return scan;
}

// A direction without hits is also a jump in distance at its ends, and is found as both: each
// place to go on to once.
std::vector<Brin::ScanHole> differentOnes(const std::vector<Brin::ScanHole>& holes) {
  std::vector<Brin::ScanHole> different;
  for (const Brin::ScanHole& hole : holes) {
    bool known = false;
    for (const Brin::ScanHole& other : different) {
      const Point2D way(hole.approachPoint.x - other.approachPoint.x,
                        hole.approachPoint.y - other.approachPoint.y);
      known = known || Brin::computeNorm(way) < 0.2f;
    }
    if (!known) different.push_back(hole);
  }
  return different;
}

Point2D inWorld(const Point2D& point) { return kRobot.absProject({point.x, point.y, 0.0f}); }

void drawScan(Canvas& canvas, const Brin::Scan& scan) {
  const Colour beam = mix(palette::kPaper, palette::kEarly, 0.6);
  for (const Brin::RangeReading& reading : scan.readings) {
    canvas.line(kRobot, inWorld(reading.toPoint2D()), beam, 3);
  }
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0) canvas.circle(inWorld(reading.toPoint2D()), 4.0, palette::kInk, -1);
  }
}

// Where a label is out of the way of an arrow in this direction.
Anchor awayFrom(float direction) {
  if (std::abs(std::cos(direction)) > std::abs(std::sin(direction))) {
    return std::cos(direction) > 0.0f ? Anchor::Left : Anchor::Right;
  }
  return std::sin(direction) > 0.0f ? Anchor::Below : Anchor::Above;
}

void drawHole(Canvas& canvas, const Brin::ScanHole& hole, int rank) {
  const Point2D begin = inWorld(hole.beginPoint);
  const Point2D end = inWorld(hole.endPoint);
  const Point2D approach = inWorld(hole.approachPoint);
  canvas.line(begin, end, palette::kPath, 7);
  canvas.arrow(approach, {0.5f * (begin.x + end.x), 0.5f * (begin.y + end.y)}, palette::kGoal, 4);
  canvas.disc(approach, 7, palette::kGoal);
  canvas.label(approach, std::to_string(rank), awayFrom(hole.normalAngle), palette::kGoal);
}

DemoPicture picture(const DemoState& state, const Brin::Scan& scan,
                    const std::vector<Brin::ScanHole>& holes) {
  Brin::OccupancyMapParams frame(160, 116, 0.05f);
  frame.origin = {kRobot.x - 2.4f, kRobot.y - 3.0f, 0.0f};
  Canvas canvas(frame);
  drawBackground(canvas, frame, state.floor.map);
  drawScan(canvas, scan);
  int rank = 0;
  for (const Brin::ScanHole& hole : holes) drawHole(canvas, hole, ++rank);
  canvas.heading(kRobot, 30.0, palette::kRobot);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "what the laser hits"},
                 {palette::kPath, "opening"},
                 {palette::kGoal, "point to approach it from"},
                 {palette::kRobot, "robot"}});
  return {"05-holes.png", "Openings in a scan",
          "Doors and free directions found in a single scan, the one most straight ahead first. "
          "A robot without a map takes them for places to go on to.",
          canvas};
}

}  // namespace

DemoPicture holeSection(DemoState& state) {
  const Brin::Scan scan = readAhead(state.floor.map);
  std::vector<Brin::ScanHole> holes;
  const Stopwatch stopwatch;
  Brin::findScanHoles(scan, holes, kMinWidth);
  const double seconds = stopwatch.seconds();
  const std::vector<Brin::ScanHole> different = differentOnes(holes);
  state.addRow("find openings in a scan",
               formatCount(static_cast<std::int64_t>(different.size())) + " wider than " +
                   formatMetres(kMinWidth),
               seconds);
  return picture(state, scan, different);
}

}  // namespace korrin_tool
