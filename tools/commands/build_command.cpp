// korrin build: a map from a laser log.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/mapping/grid_builder.hpp"
#include "korrin/mapping/log_alignment.hpp"
#include "korrin/mapping/track_file.hpp"
#include "tools/commands/alignment_output.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/log_options.hpp"
#include "tools/commands/map_output.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/pictures/graph_picture.hpp"
#include "tools/progress_bar.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct BuildOptions {
  LogOptions log;
  std::string map;
  std::string scans = "..";
  float resolution = 0.05f;
  bool match = false;
  std::string poses;
  std::string graph;
  std::string g2o;
  CommandOutput output;
};

Brin::OccupancyMapParams frameFor(const BuildOptions& options,
                                  const std::vector<Brin::io::LoggedScan>& scans) {
  const auto frame = Brin::mapping::gridAround(scans, options.resolution);
  if (frame) return *frame;
  throw UsageError(options.log.path + ": the scans reach too far for cells of " +
                   formatShort(options.resolution) +
                   " m; a larger --resolution or a --max-range may help");
}

void describeMap(const BuildOptions& options, const Brin::OccupancyMapParams& map,
                 const Brin::mapping::GridQuality& quality, std::size_t scans,
                 CommandOutput& output) {
  const auto count = [](std::size_t number) {
    return formatCount(static_cast<std::int64_t>(number));
  };
  output.line("map", options.map + ", " + cellsText(map));
  output.line("cells", count(quality.occupiedCells) + " occupied, " + count(quality.freeCells) +
                           " free, of " + count(scans) + " scans");
  output.line("likelihood", formatNumber(quality.likelihood, 4) + ", the mean of " +
                                count(quality.scansCompared) + " scans simulated in the map");
  output.json["map"] = options.map;
  output.json["width"] = map.width;
  output.json["height"] = map.height;
  output.json["resolution"] = numberJson(map.resolution);
  output.json["scans"] = scans;
  output.json["occupiedCells"] = quality.occupiedCells;
  output.json["freeCells"] = quality.freeCells;
  output.json["likelihood"] = quality.likelihood;
  output.json["scansCompared"] = quality.scansCompared;
}

Canvas drawBuiltMap(const Brin::OccupancyMap& map, const std::vector<Brin::io::LoggedScan>& scans) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  std::vector<Brin::Pose2D> way;
  for (const Brin::io::LoggedScan& logged : scans) way.push_back(logged.pose);
  canvas.polyline(way, palette::kPath, 2);
  canvas.disc(way.front(), 7, palette::kStart);
  canvas.disc(way.back(), 7, palette::kGoal);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "way of the scanner"},
                 {palette::kStart, "first scan"},
                 {palette::kGoal, "last scan"}});
  return canvas;
}

// The log's scans, at better poses when these are asked for.
Brin::mapping::Alignment alignedScans(const BuildOptions& options,
                                      std::vector<Brin::io::LoggedScan> scans,
                                      CommandOutput& output) {
  Brin::mapping::Alignment aligned;
  if (!options.match) {
    aligned.scans = std::move(scans);
    return aligned;
  }
  ProgressBar bar("match");
  aligned = Brin::mapping::alignLog(scans, {{}, options.resolution}, bar.progress());
  describeAlignment(scans, aligned, output);
  return aligned;
}

Brin::OccupancyMap builtMap(const BuildOptions& options,
                            const std::vector<Brin::io::LoggedScan>& scans) {
  ProgressBar bar("build");
  return Brin::mapping::croppedToFree(
      Brin::mapping::buildGrid(scans, frameFor(options, scans), bar.progress()));
}

struct BuildTimes {
  double read = 0.0;
  double match = 0.0;
  double build = 0.0;
};

void describeTimes(const BuildTimes& times, bool match, CommandOutput& output) {
  output.line("time", "read " + formatSeconds(times.read) +
                          (match ? ", match " + formatSeconds(times.match) : "") + ", build " +
                          formatSeconds(times.build));
  output.json["timings"] = {{"read", times.read}, {"match", times.match}, {"build", times.build}};
}

void writeBesides(BuildOptions& options, const Brin::OccupancyMap& map,
                  const Brin::mapping::Alignment& aligned, float noReturn) {
  if (!options.poses.empty()) Brin::mapping::writeTrack(aligned.scans, options.poses, noReturn);
  if (!options.g2o.empty()) writeG2o(graphOf(aligned), options.g2o);
  if (!options.graph.empty()) drawGraph(map, aligned).save(options.graph);
  if (options.output.wantsPicture()) {
    options.output.savePicture(drawBuiltMap(map, aligned.scans));
  }
}

void runBuild(BuildOptions& options) {
  CommandOutput& output = options.output;
  keepApart(output, options.map, {});
  BuildTimes times;
  Stopwatch watch;
  const Brin::io::LaserLog log = openLog(options.log);
  times.read = watch.seconds();
  std::vector<Brin::io::LoggedScan> scans = scansOfRange(log, options.scans);
  describeLog(options.log, log, output);
  frameFor(options, scans);  // before the long work, whether there is a map at all

  watch = Stopwatch();
  const auto aligned = alignedScans(options, std::move(scans), output);
  times.match = watch.seconds();
  watch = Stopwatch();
  const Brin::OccupancyMap map = builtMap(options, aligned.scans);
  times.build = watch.seconds();
  Brin::io::writeMapFile(map, options.map);
  describeMap(options, map.params, Brin::mapping::judgeGrid(map, aligned.scans),
              aligned.scans.size(), output);
  describeTimes(times, options.match, output);
  writeBesides(options, map, aligned, log.noReturn);
  output.deliver();
}

void addMatchOptions(CLI::App& command, BuildOptions& options) {
  CLI::Option* const match =
      command.add_flag("--match", options.match,
                       "first correct the poses of the log by matching its scans with each other");
  command
      .add_option("--poses", options.poses,
                  "write where each scan was taken: a log when FILE ends in .log or .log.gz, else "
                  "lines \"stamp x y 0 0 0 qz qw\"")
      ->option_text("FILE");
  command
      .add_option("--graph", options.graph,
                  "draw key scans and what links them, loops coloured by how far they are off")
      ->needs(match)
      ->option_text("PNG");
  command.add_option("--g2o", options.g2o, "write that graph as g2o text")
      ->needs(match)
      ->option_text("FILE");
}

}  // namespace

void addBuildCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("build", "Build a map from a laser log");
  const auto options = std::make_shared<BuildOptions>();
  addLogOptions(*command, options->log);
  command->add_option("-o,--out", options->map, "the map's YAML file to write")
      ->required()
      ->option_text("FILE");
  command->add_option("--resolution", options->resolution, "metres a cell; 0.05")
      ->check(between(0.001f, 100.0f))
      ->option_text("M");
  command
      ->add_option("--scans", options->scans,
                   "only these scans, both ends included, counted from 0; A or B may be left out")
      ->option_text("A..B");
  addMatchOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw the map and the way driven");
  command->footer(
      "Beams that met nothing, and say so by the largest range of the log, clear no cells. "
      "Example:\n"
      "  korrin build office.log.gz -o office.yaml --match --png office.png");
  command->callback([options] { runBuild(*options); });
}

}  // namespace korrin_tool
