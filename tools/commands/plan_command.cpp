// korrin plan: a path on a map file.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "io/write_file.hpp"
#include "korrin/io/map_file.hpp"
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
  std::string dilation = "none";
  bool kindIsGiven = false;    // --dilate was
  bool growthIsSized = false;  // --radius or --fade was given
  PlanSettings settings;
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

// "linear, radius 0.2 m, fade 0.4 m", and why when nobody asked for the kind.
std::string growthText(const PlanOptions& options) {
  const PlanSettings& settings = options.settings;
  const std::string text = options.dilation + ", radius " + formatShort(settings.radius) +
                           " m, fade " + formatShort(settings.fade) + " m";
  return text + (options.kindIsGiven ? "" : "; without --dilate, --radius or --fade means linear");
}

nlohmann::ordered_json growthJson(const PlanOptions& options) {
  if (!options.settings.dilation) return nullptr;
  return {{"kind", options.dilation},
          {"radius", numberJson(options.settings.radius)},
          {"fade", numberJson(options.settings.fade)}};
}

void printSummary(const PlanOptions& options, const Result& result) {
  const Plan& plan = result.plan;
  const auto line = [](const char* name, const std::string& text) {
    std::cout << name << text << '\n';
  };
  line("map         ", options.map + ", " + cellsText(result.map));
  line("start       ", endText(plan.start, plan.startMoved));
  line("goal        ", endText(plan.goal, plan.goalMoved));
  if (options.settings.dilation) line("growth      ", growthText(options));
  line("path        ", formatMetres(lengthOf(plan.path)) + ", " +
                           formatCount(static_cast<std::int64_t>(plan.path.size())) + " cells");
  line("iterations  ", formatCount(plan.iterations));
  line("time        ", "read " + formatSeconds(result.readSeconds) + ", grow " +
                           formatSeconds(result.growSeconds) + ", plan " +
                           formatSeconds(plan.timings.plan) + ", simplify " +
                           formatSeconds(plan.timings.simplify));
  if (!result.pictureReduction.empty()) line("picture     ", result.pictureReduction);
  if (plan.blockedCells > 0) {
    line("warning     ", "the path passes over " + formatCount(plan.blockedCells) +
                             (plan.blockedCells == 1 ? " blocked cell" : " blocked cells") +
                             " between the cells that were checked");
  }
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
  json["growth"] = growthJson(options);
  json["length"] = lengthOf(plan.path);
  json["iterations"] = plan.iterations;
  json["blockedCells"] = plan.blockedCells;
  json["timings"] = {{"read", result.readSeconds},
                     {"grow", result.growSeconds},
                     {"plan", plan.timings.plan},
                     {"simplify", plan.timings.simplify}};
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

const Names<std::optional<Brin::ObstacleDilater::DilateType>>& dilations() {
  static const Names<std::optional<Brin::ObstacleDilater::DilateType>> names = {
      {"linear", Brin::ObstacleDilater::DILATE_LINEAR},
      {"inverse", Brin::ObstacleDilater::DILATE_INVERSE},
      {"smooth", Brin::ObstacleDilater::DILATE_ERODE_SMOOTH},
      {"none", std::nullopt}};
  return names;
}

// Turns the words of the command line into settings. A radius or a fade asks for growth, linear
// unless a kind is named.
void settle(PlanOptions& options) {
  PlanSettings& settings = options.settings;
  if (options.growthIsSized && !options.kindIsGiven) options.dilation = "linear";
  settings.neighborhood = neighborhoods().at(options.neighborhood);
  settings.dilation = dilations().at(options.dilation);
  if (options.dilation == "linear") {
    checkLinearGrowth(settings.radius, settings.fade,
                      options.kindIsGiven ? "--dilate linear" : "linear growth");
  }
}

void drawPicture(const PlanOptions& options, const Brin::OccupancyMap& map, Result& result) {
  const Canvas canvas = drawPlan(map, result.plan);
  canvas.save(options.png);
  result.picture = pictureJson(options.png, canvas);
  result.pictureReduction = reductionText(canvas);
}

void runPlan(PlanOptions& options) {
  settle(options);
  const Brin::Pose2D start = parsePose(options.from, "--from");
  const Brin::Pose2D goal = parsePose(options.to, "--to");
  Result result;
  const Stopwatch reading;
  const Brin::OccupancyMap map = openMap(options.map);
  result.map = map.params;
  result.readSeconds = reading.seconds();
  const Stopwatch growing;
  const Brin::OccupancyMap grown = growObstacles(map, options.settings);
  result.growSeconds = growing.seconds();
  result.plan = planPath(grown, start, goal, options.settings);

  if (!options.png.empty()) drawPicture(options, map, result);
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
  PlanSettings& settings = options.settings;
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
      .add_option("--threshold", settings.threshold,
                  "cells less probably free than this block; 0.2")
      ->check(between(0.0f, 1.0f))
      ->option_text("P");
  command.add_option("--coarse", settings.coarseFactor, "search cells K times as large; 1")
      ->check(between(1.0f, 1000.0f))
      ->option_text("K");
  command
      .add_option("--accuracy", settings.samplingAccuracy,
                  "how far, in millimetres, the waypoints may leave the path; 300")
      ->check(notNegative())
      ->option_text("MM");
  command
      .add_option("--snap", settings.snapDistance,
                  "move a start or goal that is not free by up to M metres")
      ->check(notNegative())
      ->option_text("M");
}

void addObstacleOptions(CLI::App& command, PlanOptions& options) {
  PlanSettings& settings = options.settings;
  command.add_flag("--explored-only", settings.exploredOnly, "unknown cells block too");
  command
      .add_option_function<std::string>(
          "--dilate",
          [&options](const std::string& kind) {
            options.dilation = kind;
            options.kindIsGiven = true;
          },
          "grow obstacles: linear, inverse, smooth or none (the default; linear with --radius or "
          "--fade)")
      ->check(oneOf({"linear", "inverse", "smooth", "none"}))
      ->option_text("KIND");
  const auto sizes = [&options](float& size) {
    return [&options, &size](float metres) {
      size = metres;
      options.growthIsSized = true;
    };
  };
  command
      .add_option_function<float>("--radius", sizes(settings.radius),
                                  "grown obstacles block this far, metres; 0.2. Without --dilate "
                                  "the growth is linear")
      ->check(notNegative())
      ->option_text("M");
  command
      .add_option_function<float>(
          "--fade", sizes(settings.fade),
          "and cost more this far (linear: at least the radius; smooth: blur of this width), "
          "metres; 0.4. Without --dilate the growth is linear")
      ->check(notNegative())
      ->option_text("M");
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
      "  korrin plan demo/floorplan.yaml --from 1.2,8 --to 18,1.6 --dilate linear --png plan.png");
  command->callback([options] { runPlan(*options); });
}

}  // namespace korrin_tool
