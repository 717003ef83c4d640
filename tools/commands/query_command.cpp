// korrin query: the nearest free or unknown cell, or the side that obstacles are on.
#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/log_collector.hpp"
#include "tools/negative_answer.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct QueryOptions {
  std::string map;
  std::string pose;
  bool free = false;
  bool gray = false;
  bool obstacles = false;
  float freeAbove = 0.65f;
  float threshold = 0.35f;
  float tolerance = 0.1f;
  float range = 1.0f;
  CommandOutput output;
};

struct Question {
  const QueryOptions& options;
  Brin::OccupancyMap map;
  Brin::Pose2D pose;
  Brin::Pose2Di cell;
};

Canvas drawQuestion(const Question& question) {
  Canvas canvas(question.map.params);
  canvas.drawMap(question.map);
  canvas.scaleBar();
  return canvas;
}

void answerWithCell(const Question& question, const std::string& kind, const Brin::Pose2Di& found,
                    CommandOutput& output) {
  const Brin::Pose2D centre = question.map.getPoseFromPixel({found.x, found.y, 0.0f});
  const float cells = Brin::computeNorm(found.x - question.cell.x, found.y - question.cell.y);
  const float distance = cells * question.map.params.resolution;
  const float value = question.map.getCell(found.x, found.y);
  output.line(kind, "cell (" + std::to_string(found.x) + ", " + std::to_string(found.y) + ") at " +
                        formatPoint(centre) + ", value " + formatNumber(value, 2));
  output.line("distance", formatMetres(distance));
  output.json["cell"] = {found.x, found.y};
  output.json["point"] = pointJson(centre);
  output.json["value"] = numberJson(value);
  output.json["distance"] = numberJson(distance);
  if (!output.wantsPicture()) return;
  Canvas canvas = drawQuestion(question);
  canvas.line(question.pose, centre, palette::kPath, 3);
  canvas.disc(question.pose, 8, palette::kStart);
  canvas.disc(centre, 8, palette::kGoal);
  canvas.legend({{palette::kStart, "asked from"}, {palette::kGoal, "nearest " + kind + " cell"}});
  output.savePicture(canvas);
}

[[noreturn]] void answerNo(const Question& question, const std::string& answer) {
  throw NegativeAnswer(answer + " from " + formatPoint(question.pose));
}

void askForFree(const Question& question, CommandOutput& output) {
  Brin::Pose2Di found;
  if (!Brin::findFirstFreeCell(question.map, question.cell, found, question.options.freeAbove)) {
    answerNo(question, "no free cell in sight");
  }
  answerWithCell(question, "free", found, output);
}

void askForGray(const Question& question, CommandOutput& output) {
  Brin::Pose2Di found;
  if (!Brin::findFirstGrayCell(question.map, question.cell, found, question.options.threshold,
                               question.options.tolerance)) {
    answerNo(question, "no unknown cell in sight");
  }
  answerWithCell(question, "unknown", found, output);
}

// A circle in the world, metres.
std::vector<Brin::Pose2D> circleAround(const Brin::Pose2D& centre, float radius) {
  std::vector<Brin::Pose2D> circle;
  for (int degrees = 0; degrees <= 360; degrees += 3) {
    const float angle = static_cast<float>(degrees) * Brin::kPi / 180.0f;
    circle.push_back(centre.absProject({radius * std::cos(angle), radius * std::sin(angle), 0.0f}));
  }
  return circle;
}

void askForObstacles(const Question& question, CommandOutput& output) {
  LogCollector log;
  float direction = 0.0f;
  const float range = question.options.range;
  if (!Brin::findObstaclesMainDirection(question.map, question.cell, range, direction,
                                        question.options.threshold)) {
    answerNo(question, "no obstacles within " + formatMetres(range));
  }
  output.line("obstacles", "at " + formatDegrees(direction) + " in the world");
  output.json["direction"] = numberJson(direction);
  output.json["range"] = numberJson(range);
  if (!log.records().empty()) {
    output.line("warning", log.lastMessage());
    output.json["warning"] = log.lastMessage();
  }
  if (!output.wantsPicture()) return;
  Canvas canvas = drawQuestion(question);
  const Brin::Pose2D tip =
      question.pose.absProject({range * std::cos(direction), range * std::sin(direction), 0.0f});
  canvas.polyline(circleAround(question.pose, range), palette::kAccent, 2);
  canvas.arrow(question.pose, tip, palette::kGoal, 4);
  canvas.disc(question.pose, 8, palette::kStart);
  canvas.legend({{palette::kStart, "asked from"},
                 {palette::kGoal, "side of the obstacles"},
                 {palette::kAccent, "range"}});
  output.savePicture(canvas);
}

void runQuery(QueryOptions& options) {
  if (int{options.free} + int{options.gray} + int{options.obstacles} != 1) {
    throw UsageError("query: one of --free, --gray and --obstacles is required");
  }
  Question question{options, openMap(options.map), parsePose(options.pose, "--pose"), {}};
  question.pose.theta = 0.0f;
  question.cell = question.map.getPixelFromPose(question.pose);
  const float value = question.map.getCell(question.cell.x, question.cell.y);
  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(question.map));
  output.line("pose", formatPoint(question.pose) + ", cell (" + std::to_string(question.cell.x) +
                          ", " + std::to_string(question.cell.y) + ") of value " +
                          formatNumber(value, 2));
  output.json["map"] = options.map;
  output.json["pose"] = pointJson(question.pose);
  output.json["poseValue"] = numberJson(value);
  if (options.free) askForFree(question, output);
  if (options.gray) askForGray(question, output);
  if (options.obstacles) askForObstacles(question, output);
  output.deliver();
}

void addThresholdOptions(CLI::App& command, QueryOptions& options) {
  command.add_option("--free-above", options.freeAbove, "for --free: what is free; 0.65")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command
      .add_option("--threshold", options.threshold,
                  "for --gray and --obstacles: cells less probably free than this block; 0.35")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command
      .add_option("--tolerance", options.tolerance,
                  "for --gray: how far from 0.5 an unknown cell may be; 0.1")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command.add_option("--range", options.range, "for --obstacles: how near they must be, metres; 1")
      ->check(positive())
      ->option_text("M");
}

}  // namespace

void addQueryCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "query", "Find the nearest free or unknown cell, or the side that obstacles are on");
  const auto options = std::make_shared<QueryOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command->add_option("--pose", options->pose, "where to ask from, metres")
      ->required()
      ->option_text("X,Y");
  command->add_flag("--free", options->free, "the nearest free cell, whatever lies before it");
  command->add_flag("--gray", options->gray, "the nearest unknown cell that no obstacle hides");
  command->add_flag("--obstacles", options->obstacles, "the mean direction of near obstacles");
  addThresholdOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw the answer");
  command->footer(
      "The status is 0 with an answer, 1 without one. Example, on the map that the demonstration "
      "writes:\n"
      "  korrin demo --out demo\n"
      "  korrin query demo/grid.yaml --pose 12,8 --gray --png unknown.png");
  command->callback([options] { runQuery(*options); });
}

}  // namespace korrin_tool
