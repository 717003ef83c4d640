// korrin match: where one scan of a laser log was taken, seen from another.
#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <opencv2/core.hpp>

#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/log_options.hpp"
#include "tools/commands/search_options.hpp"
#include "tools/negative_answer.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/pictures/match_picture.hpp"
#include "tools/scan_match.hpp"
#include "tools/scan_search.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct MatchOptions {
  LogOptions log;
  std::size_t reference = 0;
  std::size_t scan = 0;
  SearchOptions search;
  CommandOutput output;
};

// What the log's own poses say.
void describeLogged(const ScanMatch& match, CommandOutput& output) {
  const Brin::Pose2D& found = match.found.pose;
  const Brin::Pose2D& logged = match.logged;
  const double apart = std::hypot(found.x - logged.x, found.y - logged.y);
  const double turned = std::abs(Brin::canonicalAngle(found.theta - logged.theta));
  output.line("logged", poseText(logged) + ", score " + formatNumber(match.loggedScore, 3));
  output.line("apart", formatMetres(apart) + ", " + formatDegrees(turned));
  output.json["logged"] = poseJson(logged);
  output.json["loggedScore"] = numberJson(match.loggedScore);
}

// Whether a pose is one of the outermost of the grid.
bool isAtBorder(const Brin::Pose2D& pose, const Brin::PoseGrid& grid) {
  const float reach = (static_cast<float>(grid.shiftsX()) - 0.5f) * grid.step;
  const float turn = (static_cast<float>(grid.turns()) - 0.5f) * grid.turnStep;
  return std::abs(pose.x) > reach || std::abs(pose.y) > reach || std::abs(pose.theta) > turn;
}

void describeMatch(const MatchOptions& options, const Brin::PoseGrid& grid,
                   const Brin::ScoredPose& best, CommandOutput& output) {
  output.line("scans",
              std::to_string(options.scan) + " against " + std::to_string(options.reference));
  output.line("best", poseText(best.pose) + ", score " + formatNumber(best.score, 3));
  output.line("searched", formatCount(grid.poses()) + " poses");
  const bool atBorder = isAtBorder(best.pose, grid);
  if (atBorder) {
    output.line("warning", "the best pose is at the window's border; a better one may lie outside");
  }
  output.json["reference"] = options.reference;
  output.json["scan"] = options.scan;
  output.json["pose"] = poseJson(best.pose);
  output.json["score"] = numberJson(best.score);
  output.json["poses"] = grid.poses();
  output.json["atBorder"] = atBorder;
}

void runMatch(MatchOptions& options) {
  const Brin::io::LaserLog log = openLog(options.log);
  const Brin::io::LoggedScan& reference = scanNumber(log, options.reference, "--reference");
  const Brin::io::LoggedScan& other = scanNumber(log, options.scan, "--scan");
  const std::vector<Brin::Point2D> referencePoints =
      hitsOf(options.log, reference, options.reference);
  const std::vector<Brin::Point2D> points = hitsOf(options.log, other, options.scan);
  const Brin::PoseGrid grid = options.search.grid();
  checkWork(grid, points.size());

  const Stopwatch stopwatch;
  const ScanMatch match = matchScans(reference, other, grid, options.search.cutOff);
  const double seconds = stopwatch.seconds();
  if (match.found.score <= 0.0f) {
    throw NegativeAnswer(options.log.path + ": scan " + std::to_string(options.scan) +
                         " fits scan " + std::to_string(options.reference) +
                         " nowhere in the window");
  }
  CommandOutput& output = options.output;
  describeLog(options.log, log, output);
  describeMatch(options, grid, match.found, output);
  describeLogged(match, output);
  output.line("time", formatSeconds(seconds));
  output.json["time"] = seconds;
  if (output.wantsPicture()) {
    const auto search = searchOn(reference.scan, grid.step, options.search.cutOff);
    saveMatchPicture(output.png, {referencePoints, points, grid, match.found,
                                  scoresByPlace(search, points, grid), match.logged});
  }
  output.deliver();
}

}  // namespace

void addMatchCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("match", "Find the pose of one scan of a laser log relative to another");
  const auto options = std::make_shared<MatchOptions>();
  addLogOptions(*command, options->log);
  command->add_option("--reference", options->reference, "the scan to match against, from 0")
      ->required()
      ->option_text("N");
  command->add_option("--scan", options->scan, "the scan to place, from 0")
      ->required()
      ->option_text("M");
  addSearchOptions(*command, options->search);
  addOutputOptions(*command, options->output, "draw both scans and the scores");
  command->footer(
      "The search starts from the reference's own pose and does not use the log's poses. The "
      "status is 0 with a match, 1 when the scans do not meet at all. Example:\n"
      "  korrin match office.log.gz --reference 20 --scan 22 --png match.png");
  command->callback([options] { runMatch(*options); });
}

}  // namespace korrin_tool
