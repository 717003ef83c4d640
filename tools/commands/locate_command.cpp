// korrin locate: where on a map a scan of a laser log was taken.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/log_options.hpp"
#include "tools/location.hpp"
#include "tools/negative_answer.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/location_picture.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct LocateOptions {
  std::string map;
  LogOptions log;
  std::size_t scan = 0;
  std::optional<std::string> near;
  float window = 2.0f;   // metres
  float angle = 180.0f;  // degrees
  std::optional<float> step;
  float angleStep = 1.0f;  // degrees
  float cutOff = 0.3f;     // metres
  float threshold = 0.45f;
  float minScore = 0.5f;
  int count = 1;
  CommandOutput output;
};

Brin::PoseGrid gridOf(const LocateOptions& options, const Brin::OccupancyMapParams& map) {
  const float step = options.step.value_or(map.resolution);
  const auto turnStep = static_cast<float>(options.angleStep * kDegrees);
  Brin::PoseGrid grid = Brin::PoseGrid::around(map, step, turnStep);
  if (options.near) {
    grid.centre = parsePose(*options.near, "--near");
    grid.reachX = grid.reachY = options.window;
    grid.turn = static_cast<float>(options.angle * kDegrees);
  }
  if (grid.poses() > 0) return grid;
  throw UsageError("--step: " + formatShort(step) + " m makes more poses than can be counted");
}

std::string textOf(const Brin::ScoredPose& answer) {
  return poseText(answer.pose) + ", score " + formatNumber(answer.score, 3);
}

void describeAnswers(const Location& location, CommandOutput& output) {
  output.json["verdict"] = nameOf(location.verdict);
  output.json["answers"] = nlohmann::ordered_json::array();
  for (const Brin::ScoredPose& answer : location.answers) {
    output.line(&answer == location.answers.data() ? "best" : "elsewhere", textOf(answer));
    output.json["answers"].push_back(
        {{"pose", poseJson(answer.pose)}, {"score", numberJson(answer.score)}});
  }
}

// Why the answer is no; nothing where it is yes.
std::optional<std::string> refusalOf(const LocateOptions& options, const Location& location) {
  const std::string scan = options.log.path + ": scan " + std::to_string(options.scan);
  const auto& answers = location.answers;
  if (location.verdict == Verdict::Ambiguous) {
    return scan + " fits in two places: " + textOf(answers[0]) + "; " + textOf(answers[1]);
  }
  if (location.verdict == Verdict::Poor) {
    return scan + " fits nowhere: the best is " + textOf(answers[0]) + ", and --min-score is " +
           formatShort(options.minScore);
  }
  return std::nullopt;
}

void drawAnswers(const LocateOptions& options, const Brin::OccupancyMap& map,
                 const std::vector<Brin::Point2D>& points, const Brin::PoseGrid& grid,
                 const Location& location, CommandOutput& output) {
  const ScoreMap scores = scoresForPicture(map, points, options.threshold, options.cutOff);
  const std::optional<Brin::PoseGrid> window = options.near ? std::optional(grid) : std::nullopt;
  output.savePicture(drawLocation({map, points, scores, location.answers, window}));
}

void runLocate(LocateOptions& options) {
  const Brin::OccupancyMap map = openMap(options.map);
  const Brin::io::LaserLog log = openLog(options.log);
  const Brin::io::LoggedScan& scan = scanNumber(log, options.scan, "--scan");
  const std::vector<Brin::Point2D> points = hitsOf(options.log, scan, options.scan);
  const Brin::PoseGrid grid = gridOf(options, map.params);

  const Stopwatch stopwatch;
  const Brin::PoseSearch search(map, options.threshold, options.cutOff);
  const Location location = locate(search, points, grid, options.count, options.minScore);
  const double seconds = stopwatch.seconds();

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map.params));
  output.json["map"] = options.map;
  describeLog(options.log, log, output);
  output.line("scan", std::to_string(options.scan) + ", " +
                          formatCount(static_cast<std::int64_t>(points.size())) + " hits");
  output.line("searched", formatCount(grid.poses()) + " poses");
  output.json["scan"] = options.scan;
  output.json["poses"] = grid.poses();
  describeAnswers(location, output);
  output.line("time", formatSeconds(seconds));
  output.json["time"] = seconds;
  if (output.wantsPicture()) drawAnswers(options, map, points, grid, location, output);
  output.deliver();
  if (const auto refusal = refusalOf(options, location)) throw NegativeAnswer(*refusal);
}

void addWindowOptions(CLI::App& command, LocateOptions& options) {
  CLI::Option* near =
      command.add_option("--near", options.near, "search around this place, not the whole map")
          ->option_text("X,Y[,THETA]");
  command.add_option("--window", options.window, "how far from --near each way, metres; 2")
      ->check(between(0.0f, 1000.0f))
      ->needs(near)
      ->option_text("M");
  command.add_option("--angle", options.angle, "how far from THETA each way, degrees; 180")
      ->check(between(0.0f, 180.0f))
      ->needs(near)
      ->option_text("DEG");
  command
      .add_option("--step", options.step,
                  "step of the search, metres; the map's resolution, and "
                  "much faster with 1, 2, 4 ... times that")
      ->check(between(0.005f, 10.0f))
      ->option_text("M");
  command.add_option("--angle-step", options.angleStep, "step of the search, degrees; 1")
      ->check(between(0.05f, 90.0f))
      ->option_text("DEG");
}

void addJudgementOptions(CLI::App& command, LocateOptions& options) {
  command
      .add_option("--cut-off", options.cutOff,
                  "points farther than this from the map's obstacles match nothing, metres; 0.3")
      ->check(positive())
      ->option_text("M");
  command
      .add_option("--threshold", options.threshold,
                  "cells less probably free than this are obstacles; 0.45")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command
      .add_option("--min-score", options.minScore,
                  "what a fit must score, from 0 to 1, a perfect one; 0.5")
      ->check(between(0.0f, 1.0f))
      ->option_text("S");
  command.add_option("--count", options.count, "how many answers to tell, the best first; 1")
      ->check(between(1.0f, 100.0f))
      ->option_text("K");
}

}  // namespace

void addLocateCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("locate", "Find where on a map a scan of a laser log was taken");
  const auto options = std::make_shared<LocateOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  addLogOptions(*command, options->log);
  command->add_option("--scan", options->scan, "the scan to place, from 0")
      ->required()
      ->option_text("N");
  addWindowOptions(*command, *options);
  addJudgementOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw the scan at each answer, and the scores");
  command->footer(
      "The best pose of all is found, as trying each would, without trying each, and then refined "
      "between the steps. The log's own pose is not used. The status is 0 with one clear answer; 1 "
      "when nothing scores enough, or "
      "a pose half a metre or half a radian away scores within 2 % of the best. Example:\n"
      "  korrin locate office.yaml office.log.gz --scan 20 --png where.png");
  command->callback([options] { runLocate(*options); });
}

}  // namespace korrin_tool
