// korrin plan: a path on a map file.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "io/write_file.hpp"
#include "korrin/io/map_file.hpp"
#include "korrin/path_planner.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/format.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/plan_picture.hpp"
#include "tools/planning.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct PlanOptions {
  std::string map;
  std::string from;
  std::string to;
  std::string neighborhood = "simple";
  float accuracy = 300.0f;  // millimetres
  std::optional<float> snapDistance;
  Brin::PlannerSettings settings;
  std::string png;
  std::string json;
};

// What there is to tell about a finished plan.
struct Result {
  Plan plan;
  Brin::OccupancyMapParams map;
  double readSeconds = 0.0;
  double growSeconds = 0.0;
  nlohmann::ordered_json picture;  // null when there is none
  std::string pictureReduction;    // reductionText
};

std::string endText(const Brin::Pose2D& pose, float moved) {
  return formatPoint(pose) +
         (moved > 0.0f ? ", moved " + formatMetres(moved) + " to the nearest free cell" : "");
}

// "radius 0.2 m, fade 0.4 m; unknown cells block".
std::string growthText(const Brin::PlannerSettings& settings) {
  return "radius " + formatShort(settings.robotRadius) + " m, fade " +
         formatShort(settings.fadeDistance) + " m; unknown cells " +
         (settings.unknownIsFree ? "are free" : "block");
}

nlohmann::ordered_json growthJson(const Brin::PlannerSettings& settings) {
  if (settings.robotRadius == 0.0f && settings.fadeDistance == 0.0f) return nullptr;
  return {{"kind", "linear"},
          {"radius", numberJson(settings.robotRadius)},
          {"fade", numberJson(settings.fadeDistance)}};
}

nlohmann::ordered_json settingsJson(const PlanOptions& options) {
  const Brin::PlannerSettings& settings = options.settings;
  return {{"radius", numberJson(settings.robotRadius)},
          {"fade", numberJson(settings.fadeDistance)},
          {"unknownFree", settings.unknownIsFree},
          {"threshold", numberJson(settings.obstacleThreshold)},
          {"weight", numberJson(settings.weight)},
          {"neighborhood", options.neighborhood},
          {"coarse", settings.coarseFactor},
          {"turnCost", numberJson(settings.angleCostFactor)},
          {"accuracy", numberJson(options.accuracy)}};
}

void printSummary(const PlanOptions& options, const Result& result) {
  const Plan& plan = result.plan;
  const auto line = [](const char* name, const std::string& text) {
    std::cout << name << text << '\n';
  };
  line("map         ", options.map + ", " + cellsText(result.map));
  line("start       ", endText(plan.start, plan.startMoved));
  line("goal        ", endText(plan.goal, plan.goalMoved));
  line("growth      ", growthText(options.settings));
  line("path        ", formatMetres(plan.length) + ", " +
                           formatCount(static_cast<std::int64_t>(plan.path.size())) + " cells");
  line("iterations  ", formatCount(plan.iterations));
  line("time        ", "read " + formatSeconds(result.readSeconds) + ", grow " +
                           formatSeconds(result.growSeconds) + ", plan " +
                           formatSeconds(plan.seconds));
  if (!result.pictureReduction.empty()) line("picture     ", result.pictureReduction);
}

void printWaypoints(const std::vector<Brin::Pose2D>& waypoints) {
  Table table;
  table.header = {"waypoint", "x [m]", "y [m]"};
  for (const Brin::Pose2D& waypoint : waypoints) {
    table.rows.push_back({std::to_string(table.rows.size() + 1), formatNumber(waypoint.x, 2),
                          formatNumber(waypoint.y, 2)});
  }
  std::cout << '\n';
  table.print(std::cout);
}

// The double that prints as shortly as the float does.
double shortDouble(float value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  for (int digits = 6; digits <= 9; ++digits) {
    text.str("");
    text.precision(digits);
    text << value;
    if (std::strtof(text.str().c_str(), nullptr) == value) break;
  }
  return std::strtod(text.str().c_str(), nullptr);
}

nlohmann::ordered_json pointJson(const Brin::Pose2D& pose) {
  return {shortDouble(pose.x), shortDouble(pose.y)};
}

nlohmann::ordered_json pathJson(const std::vector<Brin::Pose2D>& path) {
  nlohmann::ordered_json json = nlohmann::ordered_json::array();
  for (const Brin::Pose2D& pose : path) json.push_back(pointJson(pose));
  return json;
}

nlohmann::ordered_json toJson(const PlanOptions& options, const Result& result) {
  const Plan& plan = result.plan;
  nlohmann::ordered_json json;
  json["map"] = options.map;
  json["start"] = pointJson(plan.start);
  json["goal"] = pointJson(plan.goal);
  json["startMoved"] = shortDouble(plan.startMoved);
  json["goalMoved"] = shortDouble(plan.goalMoved);
  json["growth"] = growthJson(options.settings);
  json["settings"] = settingsJson(options);
  json["length"] = shortDouble(plan.length);
  json["cost"] = shortDouble(plan.cost);
  json["iterations"] = plan.iterations;
  json["blockedCells"] = plan.blockedCells;
  json["timings"] = {
      {"read", result.readSeconds}, {"grow", result.growSeconds}, {"plan", plan.seconds}};
  if (!result.picture.is_null()) json["picture"] = result.picture;
  json["waypoints"] = pathJson(plan.waypoints);
  json["path"] = pathJson(plan.path);
  return json;
}

template <typename Value>
using Names = std::map<std::string, Value>;

const Names<Brin::OccMapPathFinder::NeighborhoodType>& neighborhoods() {
  static const Names<Brin::OccMapPathFinder::NeighborhoodType> names = {
      {"simple", Brin::OccMapPathFinder::Simple},
      {"double", Brin::OccMapPathFinder::Double},
      {"triple", Brin::OccMapPathFinder::Triple}};
  return names;
}

// What the planner says of settings that make no sense, with the options' names.
std::string withOptionNames(std::string message) {
  constexpr const char* kNames[][2] = {
      {"PlannerSettings: ", ""},          {"robotRadius", "--radius"},
      {"fadeDistance", "--fade"},         {"obstacleThreshold", "--threshold"},
      {"angleCostFactor", "--turn-cost"}, {"accuracy", "--accuracy"}};
  for (const auto& [name, option] : kNames) {
    const std::size_t at = message.find(name);
    if (at != std::string::npos) message.replace(at, std::string(name).size(), option);
  }
  return message;
}

std::unique_ptr<Brin::PathPlanner> plannerFor(const Brin::OccupancyMap& map, PlanOptions& options) {
  constexpr float kMillimetres = 1000.0f;
  options.settings.neighborhood = neighborhoods().at(options.neighborhood);
  options.settings.accuracy = options.accuracy / kMillimetres;
  try {
    return std::make_unique<Brin::PathPlanner>(map, options.settings);
  } catch (const std::invalid_argument& fault) {
    throw UsageError(withOptionNames(fault.what()));
  }
}

void drawPicture(const PlanOptions& options, const Brin::OccupancyMap& map,
                 const Brin::PathPlanner& planner, Result& result) {
  const Canvas canvas = drawPlan(map, result.plan, searchBehind(planner, result.plan));
  canvas.save(options.png);
  result.picture = pictureJson(options.png, canvas);
  result.pictureReduction = reductionText(canvas);
}

void runPlan(PlanOptions& options) {
  const Brin::Pose2D start = parsePose(options.from, "--from");
  const Brin::Pose2D goal = parsePose(options.to, "--to");
  Result result;
  const Stopwatch reading;
  const Brin::OccupancyMap map = openMap(options.map);
  result.map = map.params;
  result.readSeconds = reading.seconds();
  const Stopwatch growing;
  const auto planner = plannerFor(map, options);
  result.growSeconds = growing.seconds();
  result.plan = planPath(*planner, start, goal, options.snapDistance);

  if (!options.png.empty()) drawPicture(options, map, *planner, result);
  if (options.json == "-") {
    std::cout << toJson(options, result).dump(1) << '\n';
    return;
  }
  if (!options.json.empty())
    Brin::io::writeFile(options.json, toJson(options, result).dump(1) + "\n");
  printSummary(options, result);
  printWaypoints(result.plan.waypoints);
}

void addSearchOptions(CLI::App& command, PlanOptions& options) {
  Brin::PlannerSettings& settings = options.settings;
  command
      .add_option("--neighborhood", options.neighborhood,
                  "steps of the search: simple (one cell, the default), double or triple")
      ->check(oneOf({"simple", "double", "triple"}))
      ->option_text("KIND");
  command
      .add_option("--weight", settings.weight,
                  "weight of the distance to the goal, from 0 (cheapest path) to 1 (greedy); 0.5")
      ->check(between(0.0f, 1.0f))
      ->option_text("W");
  command
      .add_option("--threshold", settings.obstacleThreshold,
                  "cells less probably free than this block; 0.2")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command.add_option("--coarse", settings.coarseFactor, "search cells K times as large; 1")
      ->check(between(1.0f, 1000.0f))
      ->option_text("K");
  command
      .add_option("--turn-cost", settings.angleCostFactor,
                  "what a turn from THETA of --from to the first step costs, metres a radian; 0")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option("--accuracy", options.accuracy,
                  "how far, in millimetres, the waypoints may leave the path; 300")
      ->check(notNegative())
      ->option_text("MM");
  command
      .add_option("--snap", options.snapDistance,
                  "move a start or goal that is not free by up to M metres")
      ->check(notNegative())
      ->option_text("M");
}

void addObstacleOptions(CLI::App& command, PlanOptions& options) {
  Brin::PlannerSettings& settings = options.settings;
  command
      .add_option("--radius", settings.robotRadius,
                  "the robot's radius: cells nearer to an obstacle block, metres; 0")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option("--fade", settings.fadeDistance,
                  "cells cost more up to this far beyond the radius, metres; 0")
      ->check(notNegative())
      ->option_text("M");
  command.add_flag("--unknown-free", settings.unknownIsFree,
                   "plan through cells that nobody has seen; without it they block");
}

}  // namespace

void addPlanCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("plan", "Plan a path on a map file");
  const auto options = std::make_shared<PlanOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command->add_option("--from", options->from, "start, metres in the world of the map file")
      ->required()
      ->option_text("X,Y[,THETA]");
  command->add_option("--to", options->to, "goal")->required()->option_text("X,Y");
  addSearchOptions(*command, *options);
  addObstacleOptions(*command, *options);
  command->add_option("--png", options->png, "draw the plan")->option_text("FILE");
  command->add_option("--json", options->json, "write the plan as JSON; - is standard output")
      ->option_text("FILE");
  command->footer(
      "The status is 0 with a plan, 1 without one. Example, on the map that the demonstration "
      "writes:\n"
      "  korrin demo --out demo\n"
      "  korrin plan demo/floorplan.yaml --from 1.2,8 --to 18,1.6 --radius 0.25 --fade 0.65 "
      "--png plan.png");
  command->callback([options] { runPlan(*options); });
}

}  // namespace korrin_tool
