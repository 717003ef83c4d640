// korrin stats: what a path costs on a map.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "korrin/io/map_file.hpp"
#include "korrin/io/path_file.hpp"
#include "korrin/pathcoststats.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/log_collector.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_tool {
namespace {

struct StatsOptions {
  std::string map;
  std::string path;
  std::optional<float> maxLength;
  CommandOutput output;
};

using Path = std::vector<Brin::Pose2D>;

// A free way blue, one over an obstacle red.
Colour colourOf(float value) {
  const double share = 2.0 * std::clamp(static_cast<double>(value), 0.0, 1.0);
  return share < 1.0 ? mix(palette::kGoal, palette::kAccent, share)
                     : mix(palette::kAccent, palette::kPath, share - 1.0);
}

Canvas drawPath(const Brin::OccupancyMap& map, const Path& path) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  canvas.polyline(path, palette::kPaper, 8);
  for (std::size_t i = 1; i < path.size(); ++i) {
    const float lowest = Brin::computePathCostStat(map, {path[i - 1], path[i]}).minCost;
    canvas.line(path[i - 1], path[i], colourOf(lowest), 5);
  }
  canvas.disc(path.front(), 8, palette::kStart);
  canvas.disc(path.back(), 8, palette::kGoal);
  canvas.scaleBar();
  canvas.legend({{colourOf(1.0f), "free all the way"},
                 {colourOf(0.5f), "down to 0.5"},
                 {colourOf(0.0f), "blocked"}});
  return canvas;
}

void runStats(StatsOptions& options) {
  const Path path = Brin::io::readPathFile(options.path);
  const Brin::OccupancyMap map = openMap(options.map);
  LogCollector log;
  const float* maxLength = options.maxLength ? &*options.maxLength : nullptr;
  const Brin::PathCostStats stats = Brin::computePathCostStat(map, path, maxLength);

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map));
  output.line("path",
              options.path + ", " + formatCount(static_cast<std::int64_t>(path.size())) + " poses");
  output.line("length", formatMetres(stats.length) + " of cells");
  output.line("values", "lowest " + formatNumber(stats.minCost, 3) + ", mean " +
                            formatNumber(stats.avgCost, 3) + ", highest " +
                            formatNumber(stats.maxCost, 3));
  output.json["map"] = options.map;
  output.json["path"] = options.path;
  output.json["poses"] = path.size();
  output.json["minCost"] = numberJson(stats.minCost);
  output.json["maxCost"] = numberJson(stats.maxCost);
  output.json["avgCost"] = numberJson(stats.avgCost);
  output.json["length"] = numberJson(stats.length);
  if (!log.records().empty()) {
    output.line("warning", log.lastMessage());
    output.json["warning"] = log.lastMessage();
  }
  if (output.wantsPicture()) output.savePicture(drawPath(map, path));
  output.deliver();
}

}  // namespace

void addStatsCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("stats", "Summarise what a path meets on a map");
  const auto options = std::make_shared<StatsOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command->add_option("--path", options->path, "a pose a line: x,y or x,y,theta; metres, radians")
      ->required()
      ->option_text("FILE.csv");
  command->add_option("--max-length", options->maxLength, "only the first M metres of the path")
      ->check(notNegative())
      ->option_text("M");
  addOutputOptions(*command, options->output, "draw the path over the map");
  command->footer(
      "Values are probabilities of being free; cells outside the map count as -1. Example, with "
      "a path of your own:\n"
      "  korrin stats office.yaml --path path.csv --max-length 5 --png stats.png");
  command->callback([options] { runStats(*options); });
}

}  // namespace korrin_tool
