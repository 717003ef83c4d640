// korrin match: where one scan of a laser log was taken, seen from another.
#include <cmath>
#include <memory>
#include <opencv2/core.hpp>

#include "tools/arguments.hpp"
#include "tools/canvas.hpp"
#include "tools/command_output.hpp"
#include "tools/commands.hpp"
#include "tools/log_options.hpp"
#include "tools/match_picture.hpp"
#include "tools/negative_answer.hpp"
#include "tools/pose_search.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

constexpr double kDegrees = 3.14159265358979323846 / 180.0;
constexpr double kMostLookUps = 2e10;  // a minute or two

struct MatchOptions {
  LogOptions log;
  std::size_t reference = 0;
  std::size_t scan = 0;
  float window = 0.5f;
  float angle = 45.0f;
  float resolution = 0.025f;
  float angleStep = 0.5f;
  float cutOff = 0.2f;
  CommandOutput output;
};

SearchWindow windowOf(const MatchOptions& options) {
  SearchWindow window;
  window.reach = options.window;
  window.step = options.resolution;
  window.turn = static_cast<float>(options.angle * kDegrees);
  window.turnStep = static_cast<float>(options.angleStep * kDegrees);
  return window;
}

std::vector<Brin::Point2D> hitsOf(const MatchOptions& options, const LoggedScan& logged,
                                  std::size_t number) {
  std::vector<Brin::Point2D> points = hitPoints(logged.scan);
  if (!points.empty()) return points;
  throw NegativeAnswer(options.log.path + ": scan " + std::to_string(number) + " hit nothing");
}

void checkWork(const SearchWindow& window, std::size_t points) {
  const double lookUps = static_cast<double>(window.poses()) * static_cast<double>(points);
  if (lookUps <= kMostLookUps) return;
  throw UsageError("--window: " + formatCount(window.poses()) +
                   " poses are too many to try; a coarser --resolution or --angle-step helps");
}

// What the log's own poses say.
void describeLogged(const Brin::Pose2D& logged, float score, const Brin::Pose2D& found,
                    CommandOutput& output) {
  const double apart = std::hypot(found.x - logged.x, found.y - logged.y);
  const double turned = std::abs(Brin::canonicalAngle(found.theta - logged.theta));
  output.line("logged", poseText(logged) + ", score " + formatNumber(score, 3));
  output.line("apart", formatMetres(apart) + ", " + formatDegrees(turned));
  output.json["logged"] = poseJson(logged);
  output.json["loggedScore"] = numberJson(score);
}

// Whether a pose is one of the outermost of the window.
bool isAtBorder(const Brin::Pose2D& pose, const SearchWindow& window) {
  const float reach = (static_cast<float>(window.shifts()) - 0.5f) * window.step;
  const float turn = (static_cast<float>(window.turns()) - 0.5f) * window.turnStep;
  return std::abs(pose.x) > reach || std::abs(pose.y) > reach || std::abs(pose.theta) > turn;
}

void describeMatch(const MatchOptions& options, const SearchWindow& window,
                   const SearchResult& result, CommandOutput& output) {
  output.line("scans",
              std::to_string(options.scan) + " against " + std::to_string(options.reference));
  output.line("best", poseText(result.best.pose) + ", score " + formatNumber(result.best.score, 3));
  output.line("searched", formatCount(window.poses()) + " poses");
  const bool atBorder = isAtBorder(result.best.pose, window);
  if (atBorder) {
    output.line("warning", "the best pose is at the window's border; a better one may lie outside");
  }
  output.json["reference"] = options.reference;
  output.json["scan"] = options.scan;
  output.json["pose"] = poseJson(result.best.pose);
  output.json["score"] = numberJson(result.best.score);
  output.json["poses"] = window.poses();
  output.json["atBorder"] = atBorder;
}

void runMatch(MatchOptions& options) {
  const CarmenLog log = openLog(options.log);
  const LoggedScan& reference = scanNumber(log, options.reference, "--reference");
  const LoggedScan& other = scanNumber(log, options.scan, "--scan");
  const std::vector<Brin::Point2D> referencePoints = hitsOf(options, reference, options.reference);
  const std::vector<Brin::Point2D> points = hitsOf(options, other, options.scan);
  const SearchWindow window = windowOf(options);
  checkWork(window, points.size());

  const Stopwatch stopwatch;
  const ReferenceScan distances(reference.scan, options.resolution, options.cutOff);
  const SearchResult result = searchAllPoses(distances, points, {}, window);
  const double seconds = stopwatch.seconds();
  if (result.best.score <= 0.0f) {
    throw NegativeAnswer(options.log.path + ": scan " + std::to_string(options.scan) +
                         " fits scan " + std::to_string(options.reference) +
                         " nowhere in the window");
  }
  CommandOutput& output = options.output;
  describeLog(options.log, log, output);
  describeMatch(options, window, result, output);
  const Brin::Pose2D logged = reference.pose.relProject(other.pose);
  describeLogged(logged, distances.score(points, logged), result.best.pose, output);
  output.line("time", formatSeconds(seconds));
  output.json["time"] = seconds;
  if (output.wantsPicture()) {
    saveMatchPicture(output.png, {referencePoints, points, window, result, logged});
  }
  output.deliver();
}

void addSearchOptions(CLI::App& command, MatchOptions& options) {
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

}  // namespace

void addMatchCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "match", "Find the pose of one scan of a laser log relative to another, by trying all");
  const auto options = std::make_shared<MatchOptions>();
  addLogOptions(*command, options->log);
  command->add_option("--reference", options->reference, "the scan to match against, from 0")
      ->required()
      ->option_text("N");
  command->add_option("--scan", options->scan, "the scan to place, from 0")
      ->required()
      ->option_text("M");
  addSearchOptions(*command, *options);
  addOutputOptions(*command, options->output, "draw both scans and the scores");
  command->footer(
      "The search starts from the reference's own pose and does not use the log's poses. The "
      "status is 0 with a match, 1 when the scans do not meet at all. Example:\n"
      "  korrin match office.log.gz --reference 20 --scan 22 --png match.png");
  command->callback([options] { runMatch(*options); });
}

}  // namespace korrin_tool
