// korrin simulate: the scan that a scanner would see in a map.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/range_simulation.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/pictures/scan_picture.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct SimulateOptions {
  std::string map;
  std::string pose;
  int beams = 181;
  float fieldOfView = 180.0f;
  float range = 10.0f;
  float minRange = 0.1f;
  float threshold = 0.45f;
  CommandOutput output;
};

using Readings = std::vector<Brin::RangeReading>;

bool isHit(const Brin::RangeReading& reading) { return reading.status == 0; }

void describeHits(const Readings& readings, CommandOutput& output) {
  const auto hits = std::count_if(readings.begin(), readings.end(), isHit);
  output.line("hits", formatCount(hits) + " of " +
                          formatCount(static_cast<std::int64_t>(readings.size())) + " beams");
  output.json["hits"] = hits;
  const auto nearer = [](const Brin::RangeReading& a, const Brin::RangeReading& b) {
    return isHit(a) != isHit(b) ? isHit(a) : a.range < b.range;
  };
  const Brin::RangeReading& nearest = *std::min_element(readings.begin(), readings.end(), nearer);
  if (hits == 0) return;
  output.line("nearest", formatMetres(nearest.range) + " at " + formatDegrees(nearest.angle));
  output.json["nearest"] = {{"range", numberJson(nearest.range)},
                            {"angle", numberJson(nearest.angle)}};
}

nlohmann::ordered_json readingsJson(const Readings& readings) {
  nlohmann::ordered_json json = nlohmann::ordered_json::array();
  for (const Brin::RangeReading& reading : readings) {
    json.push_back({{"angle", numberJson(reading.angle)},
                    {"range", numberJson(reading.range)},
                    {"hit", isHit(reading)}});
  }
  return json;
}

Canvas drawScan(const Brin::OccupancyMap& map, const Readings& readings,
                const Brin::Pose2D& sensor) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  tintSeen(canvas, map.params, readings, sensor, palette::kEarly, 0.55);
  for (const Brin::RangeReading& reading : readings) {
    if (!isHit(reading)) continue;
    const Brin::Point2D end = reading.toPoint2D();
    canvas.circle(sensor.absProject({end.x, end.y, 0.0f}), 3.5, palette::kGoal, -1);
  }
  canvas.heading(sensor, 22.0, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "scanner"},
                 {palette::kGoal, "what it hits"},
                 {mix(palette::kPaper, palette::kEarly, 0.55), "what it sees to be free"}});
  return canvas;
}

Brin::ScanModel scannerOf(const SimulateOptions& options) {
  if (options.minRange >= options.range) {
    throw UsageError("--min-range: must be below --range (" + formatShort(options.range) +
                     "), found " + formatShort(options.minRange));
  }
  Brin::ScanModel scanner(options.beams, options.range,
                          static_cast<float>(options.fieldOfView * kDegrees));
  scanner.minRange = options.minRange;
  return scanner;
}

void runSimulate(SimulateOptions& options) {
  const Brin::Pose2D pose = parsePose(options.pose, "--pose");
  const Brin::ScanModel scanner = scannerOf(options);
  const Brin::OccupancyMap map = openMap(options.map);
  const Brin::Pose2Di cell = map.getPixelFromPose(pose);
  if (!map.isInside(cell.x, cell.y)) {
    throw UsageError("--pose: " + formatPoint(pose) + " is outside the map");
  }
  const Stopwatch stopwatch;
  Readings readings;
  Brin::occMapSimulateScan(map, scanner, pose, readings, options.threshold);
  const double seconds = stopwatch.seconds();

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map));
  output.line("pose", poseText(pose));
  output.json["map"] = options.map;
  output.json["pose"] = poseJson(pose);
  describeHits(readings, output);
  output.line("time", formatSeconds(seconds));
  output.json["time"] = seconds;
  output.json["readings"] = readingsJson(readings);
  if (output.wantsPicture()) output.savePicture(drawScan(map, readings, pose));
  output.deliver();
}

void addScannerOptions(CLI::App& command, SimulateOptions& options) {
  command.add_option("--beams", options.beams, "number of beams; 181")
      ->check(between(2.0f, 100000.0f))
      ->option_text("N");
  command.add_option("--fov", options.fieldOfView, "degrees from the first beam to the last; 180")
      ->check(between(0.0f, 360.0f))
      ->option_text("DEG");
  command.add_option("--range", options.range, "where beams end, metres; 10")
      ->check(positive())
      ->option_text("M");
  command.add_option("--min-range", options.minRange, "where beams begin, metres; 0.1")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option("--threshold", options.threshold,
                  "cells less probably free than this stop a beam; 0.45")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
}

}  // namespace

void addSimulateCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("simulate", "Simulate what a laser scanner would see in a map");
  const auto options = std::make_shared<SimulateOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command->add_option("--pose", options->pose, "where the scanner is, metres and radians")
      ->required()
      ->option_text("X,Y[,THETA]");
  addScannerOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw the scan over the map");
  command->footer(
      "Example, on the map that the demonstration writes:\n"
      "  korrin demo --out demo\n"
      "  korrin simulate demo/floorplan.yaml --pose 12,8,0.5 --fov 270 --png scan.png");
  command->callback([options] { runSimulate(*options); });
}

}  // namespace korrin_tool
