// korrin holes: the openings of one scan of a laser log.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "korrin/scan_holes.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/log_options.hpp"
#include "tools/negative_answer.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/pictures/scan_picture.hpp"
#include "tools/scan_search.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct HolesOptions {
  LogOptions log;
  std::size_t scan = 0;
  float width = 0.0f;
  bool old = false;
  int maxRun = 800;
  CommandOutput output;
};

float widthOf(const Brin::ScanHole& hole) {
  return std::hypot(hole.endPoint.x - hole.beginPoint.x, hole.endPoint.y - hole.beginPoint.y);
}

Brin::Point2D middleOf(const Brin::ScanHole& hole) {
  return {0.5f * (hole.beginPoint.x + hole.endPoint.x),
          0.5f * (hole.beginPoint.y + hole.endPoint.y)};
}

nlohmann::ordered_json holeJson(const Brin::ScanHole& hole) {
  return {{"beginIndex", hole.beginIndex},
          {"endIndex", hole.endIndex},
          {"width", numberJson(widthOf(hole))},
          {"heading", numberJson(hole.heading)},
          {"normalAngle", numberJson(hole.normalAngle)},
          {"beginPoint", pointJson(hole.beginPoint)},
          {"endPoint", pointJson(hole.endPoint)},
          {"approachPoint", pointJson(hole.approachPoint)}};
}

void describeHoles(const std::vector<Brin::ScanHole>& holes, CommandOutput& output) {
  output.line("holes", formatCount(static_cast<std::int64_t>(holes.size())) +
                           ", the one most straight ahead first, seen from the scanner");
  output.json["holes"] = nlohmann::ordered_json::array();
  output.table.header = {"hole", "heading", "width", "begins at", "ends at", "normal", "approach"};
  for (const Brin::ScanHole& hole : holes) {
    output.json["holes"].push_back(holeJson(hole));
    output.table.rows.push_back({std::to_string(output.table.rows.size() + 1),
                                 formatDegrees(hole.heading), formatMetres(widthOf(hole)),
                                 formatPoint(hole.beginPoint), formatPoint(hole.endPoint),
                                 formatDegrees(hole.normalAngle), formatPoint(hole.approachPoint)});
  }
}

// What ought to be in the picture: the hits but for the farthest, and the holes among them.
Brin::OccupancyMapParams frameOf(const Brin::Scan& scan, const std::vector<Brin::ScanHole>& holes) {
  std::vector<Brin::Point2D> points = nearestOf(hitPoints(scan), 0.95);
  float farthest = 1.0f;
  for (const Brin::Point2D& point : points) farthest = std::max(farthest, Brin::computeNorm(point));
  points.emplace_back(0.0f, 0.0f);
  for (const Brin::ScanHole& hole : holes) {
    for (const Brin::Point2D& point : {hole.beginPoint, hole.endPoint, hole.approachPoint}) {
      if (Brin::computeNorm(point) < 1.1f * farthest) points.push_back(point);
    }
  }
  return frameAround(points, 0.05f, 1.0f);
}

// On the side that the arrow along `direction` leaves free.
Anchor besideArrow(float direction) {
  const float x = std::cos(direction);
  const float y = std::sin(direction);
  if (std::abs(x) > std::abs(y)) return x > 0.0f ? Anchor::Left : Anchor::Right;
  return y > 0.0f ? Anchor::Below : Anchor::Above;
}

void drawHole(Canvas& canvas, const Brin::ScanHole& hole, const std::string& name) {
  canvas.line(hole.beginPoint, hole.endPoint, palette::kAccent, 5);
  canvas.disc(hole.beginPoint, 6, palette::kAccent);
  canvas.disc(hole.endPoint, 6, palette::kAccent);
  canvas.arrow(hole.approachPoint, middleOf(hole), palette::kPath, 3);
  canvas.disc(hole.approachPoint, 6, palette::kPath);
  canvas.label(hole.approachPoint, name, besideArrow(hole.normalAngle), palette::kPath);
}

Canvas drawHoles(const Brin::io::LaserLog& log, const Brin::io::LoggedScan& logged,
                 const std::vector<Brin::ScanHole>& holes) {
  const Brin::Scan& scan = logged.scan;
  const Brin::OccupancyMapParams frame = frameOf(scan, holes);
  Canvas canvas(frame);
  Brin::OccupancyMap background(frame, false);
  background.reset(1.0f);
  canvas.drawMap(background);
  std::vector<Brin::RangeReading> hits;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0) hits.push_back(reading);
  }
  tintSeen(canvas, frame, hits, {}, palette::kEarly, 0.3);
  tintHitsOf(canvas, frame, log.scans, logged.pose, palette::kUnknown);
  drawPoints(canvas, hitPoints(scan), {}, 4.0, palette::kInk);
  for (std::size_t i = holes.size(); i-- > 0;) {
    drawHole(canvas, holes[i], std::to_string(i + 1));
  }
  canvas.heading({}, 24.0, palette::kStart);
  canvas.scaleBar();
  canvas.legend({{palette::kInk, "hits"},
                 {palette::kUnknown, "hits of other scans"},
                 {palette::kStart, "scanner"},
                 {palette::kAccent, "hole"},
                 {palette::kPath, "approach point, normal"}});
  return canvas;
}

void runHoles(HolesOptions& options) {
  const Brin::io::LaserLog log = openLog(options.log);
  const Brin::io::LoggedScan& logged = scanNumber(log, options.scan, "--scan");
  std::vector<Brin::ScanHole> holes;
  if (options.old) {
    Brin::findScanHoles_old(logged.scan, holes, options.width, options.maxRun);
  } else {
    Brin::findScanHoles(logged.scan, holes, options.width);
  }
  CommandOutput& output = options.output;
  describeLog(options.log, log, output);
  output.line("scan", std::to_string(options.scan) + " (line " + std::to_string(logged.line) +
                          "), taken at " + poseText(logged.pose));
  output.json["scan"] = options.scan;
  output.json["line"] = logged.line;
  output.json["pose"] = poseJson(logged.pose);
  describeHoles(holes, output);
  if (output.wantsPicture()) output.savePicture(drawHoles(log, logged, holes));
  output.deliver();
  if (holes.empty()) {
    throw NegativeAnswer(options.log.path + ": scan " + std::to_string(options.scan) +
                         ": no hole wider than " + formatMetres(options.width));
  }
}

}  // namespace

void addHolesCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("holes", "Find the openings in one scan of a laser log");
  const auto options = std::make_shared<HolesOptions>();
  addLogOptions(*command, options->log);
  command->add_option("--scan", options->scan, "which scan, counted from 0")
      ->required()
      ->option_text("N");
  command->add_option("--width", options->width, "how wide a hole must be, metres")
      ->required()
      ->check(positive())
      ->option_text("M");
  CLI::Option* old = command->add_flag("--old", options->old, "use the earlier detector");
  command
      ->add_option("--max-run", options->maxRun,
                   "with --old: runs of up to N beams that met nothing are no holes; 800")
      ->needs(old)
      ->check(between(0.0f, 1e6f))
      ->option_text("N");
  addOutputOptions(*command, options->output, "draw the scan and its holes");
  command->footer(
      "The status is 0 with holes, 1 without. Example:\n"
      "  korrin holes office.log.gz --scan 20 --width 0.7 --png holes.png");
  command->callback([options] { runHoles(*options); });
}

}  // namespace korrin_tool
