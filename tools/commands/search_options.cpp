#include "tools/commands/search_options.hpp"

#include <CLI/CLI.hpp>

#include "tools/commands/arguments.hpp"
#include "tools/format.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

constexpr double kMostLookUps = 2e10;  // a minute or two

}  // namespace

Brin::PoseGrid SearchOptions::grid() const {
  Brin::PoseGrid result;
  result.reachX = result.reachY = window;
  result.step = resolution;
  result.turn = static_cast<float>(angle * kDegrees);
  result.turnStep = static_cast<float>(angleStep * kDegrees);
  return result;
}

void addSearchOptions(CLI::App& command, SearchOptions& options) {
  command.add_option("--window", options.window, "how far to search each way, metres; 0.5")
      ->check(between(0.0f, 100.0f))
      ->option_text("M");
  command.add_option("--angle", options.angle, "how far to search each way, degrees; 45")
      ->check(between(0.0f, 180.0f))
      ->option_text("DEG");
  command
      .add_option("--resolution", options.resolution,
                  "step of the search and of the distance map, metres; 0.025")
      ->check(between(0.005f, 10.0f))
      ->option_text("M");
  command.add_option("--angle-step", options.angleStep, "step of the search, degrees; 0.5")
      ->check(between(0.01f, 90.0f))
      ->option_text("DEG");
  command
      .add_option("--cut-off", options.cutOff,
                  "points farther than this from the reference match nothing, metres; 0.2")
      ->check(positive())
      ->option_text("M");
}

void checkWork(const Brin::PoseGrid& grid, std::size_t points) {
  const double lookUps = static_cast<double>(grid.poses()) * static_cast<double>(points);
  if (lookUps <= kMostLookUps) return;
  throw UsageError("--window: " + formatCount(grid.poses()) +
                   " poses are too many to try; a coarser --resolution or --angle-step helps");
}

}  // namespace korrin_tool
