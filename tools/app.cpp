#include "tools/app.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <opencv2/core/utils/logger.hpp>

#include "tools/commands/commands.hpp"
#include "tools/negative_answer.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

constexpr int kDone = 0;
constexpr int kNegative = 1;
constexpr int kBadUsage = 2;
constexpr const char* kHint = " (korrin --help tells more)";

int fail(int status, std::string message) {
  std::replace(message.begin(), message.end(), '\n', ' ');
  std::cerr << "korrin: " << message << '\n';
  return status;
}

int flushedOutput() {
  std::cout.flush();
  return std::cout ? kDone : fail(kBadUsage, "standard output: cannot be written");
}

constexpr void (*kCommands[])(CLI::App&) = {
    addDemoCommand,   addPlanCommand,   addBuildCommand, addSimulateCommand, addHolesCommand,
    addMatchCommand,  addLocateCommand, addPairsCommand, addDilateCommand,   addScaleCommand,
    addScrollCommand, addQueryCommand,  addStatsCommand, addServeCommand,
};

int parseAndRun(std::vector<std::string> arguments) {
  CLI::App app("Plan, map and match on occupancy grids.", "korrin");
  app.set_version_flag("--version", "korrin " KORRIN_VERSION);
  app.require_subcommand(0, 1);  // a wrong command is told as such, not as a missing one
  app.failure_message([](const CLI::App*, const CLI::Error&) { return std::string(); });
  for (const auto addCommand : kCommands) addCommand(app);
  try {
    std::reverse(arguments.begin(), arguments.end());
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error, std::cout, std::cerr);  // help or version, which went to std::cout
      return flushedOutput();
    }
    return fail(kBadUsage, std::string(error.what()) + kHint);
  }
  if (app.get_subcommands().empty()) return fail(kBadUsage, std::string("no command") + kHint);
  return flushedOutput();
}

}  // namespace

int runApp(std::vector<std::string> arguments) {
  // A picture that cannot be read is reported by the command, not by OpenCV as well.
  cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
  try {
    return parseAndRun(std::move(arguments));
  } catch (const NegativeAnswer& answer) {
    return fail(kNegative, answer.what());
  } catch (const std::bad_alloc&) {
    return fail(kBadUsage, "not enough memory for a map of this size");
  } catch (const std::exception& error) {
    return fail(kBadUsage, error.what());
  }
}

}  // namespace korrin_tool
