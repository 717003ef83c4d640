// korrin dilate: a map with its obstacles grown.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/map_output.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

struct DilateOptions {
  std::string map;
  std::string out;
  std::string kind = "linear";
  float radius = 0.2f;
  float fade = 0.4f;
  float threshold = 0.1f;
  bool keepUnknown = false;
  CommandOutput output;
};

Brin::ObstacleDilater::DilateType typeOf(const std::string& kind) {
  static const std::map<std::string, Brin::ObstacleDilater::DilateType> types = {
      {"linear", Brin::ObstacleDilater::DILATE_LINEAR},
      {"inverse", Brin::ObstacleDilater::DILATE_INVERSE},
      {"smooth", Brin::ObstacleDilater::DILATE_ERODE_SMOOTH}};
  return types.at(kind);
}

// No cell of `map` freer than it was in `before`.
void limitTo(const Brin::OccupancyMap& before, Brin::OccupancyMap& map) {
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(x, y, std::min(map.getCell(x, y), before.getCell(x, y)));
    }
  }
}

void runDilate(DilateOptions& options) {
  if (options.kind == "linear") {
    checkLinearGrowth(options.radius, options.fade, "--kind linear");
  }
  keepApart(options.output, options.out, greyFormat());
  const Brin::OccupancyMap before = openMap(options.map);
  Brin::OccupancyMap map(before);
  const Stopwatch stopwatch;
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setObstProbThreshold(options.threshold);
  dilater.setParams(options.radius, options.fade);
  dilater.dilate(map, typeOf(options.kind));
  if (options.keepUnknown) limitTo(before, map);
  const double seconds = stopwatch.seconds();
  Brin::io::writeMapFile(map, options.out, greyFormat());

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map));
  output.line("written", options.out);
  output.json["map"] = options.map;
  output.json["out"] = options.out;
  describeCells(before, map, output);
  output.line("time", formatSeconds(seconds));
  output.json["time"] = seconds;
  if (output.wantsPicture()) {
    Canvas canvas(map.params);
    canvas.drawCosts(map, before, 0.01);
    canvas.scaleBar();
    canvas.legend({{palette::kInk, "obstacles before"},
                   {palette::kNear, "blocked around them"},
                   {palette::kCostly, "less free"}});
    output.savePicture(canvas);
  }
  output.deliver();
}

void addGrowthOptions(CLI::App& command, DilateOptions& options) {
  command
      .add_option("--kind", options.kind,
                  "linear (the default), inverse, or smooth: erosion and a blur")
      ->check(oneOf({"linear", "inverse", "smooth"}))
      ->option_text("KIND");
  command
      .add_option("--radius", options.radius, "cells this near to an obstacle block, metres; 0.2")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option("--fade", options.fade,
                  "linear: free from here on, at least the radius; inverse: ten times the distance "
                  "to half free; "
                  "smooth: the blur's width; metres; 0.4")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option("--threshold", options.threshold,
                  "cells at most this probably free are obstacles; 0.1")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command.add_flag("--keep-unknown", options.keepUnknown,
                   "no cell becomes freer than it was: unknown cells stay unknown");
}

}  // namespace

void addDilateCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("dilate", "Grow the obstacles of a map");
  const auto options = std::make_shared<DilateOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command->add_option("-o,--out", options->out, "the map's YAML file to write")
      ->required()
      ->option_text("FILE");
  addGrowthOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw the map before and after");
  command->footer(
      "The map is written with all its grey levels (mode scale). Example, on the map that the "
      "demonstration writes:\n"
      "  korrin demo --out demo\n"
      "  korrin dilate demo/floorplan.yaml -o grown.yaml --radius 0.3 --fade 0.9 --png costs.png");
  command->callback([options] { runDilate(*options); });
}

}  // namespace korrin_tool
