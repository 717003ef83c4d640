// korrin pairs: how far matches of a laser log's scans bear out its poses.
#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <optional>

#include "korrin/io/map_file.hpp"
#include "korrin/mapping/log_alignment.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/log_options.hpp"
#include "tools/commands/search_options.hpp"
#include "tools/negative_answer.hpp"
#include "tools/open_map.hpp"
#include "tools/progress_bar.hpp"
#include "tools/rescan.hpp"
#include "tools/scan_match.hpp"

namespace korrin_tool {
namespace {

constexpr float kGridResolution = 0.05f;  // for the alignment
constexpr float kRangeNoise = 0.02f;      // metres, of simulated scans

struct PairsOptions {
  LogOptions log;
  std::size_t count = 100;
  std::uint32_t seed = 1;
  bool align = false;
  std::string map;
  SearchOptions search;
  CommandOutput output;
};

// What pairs are counted for.
struct Tally {
  int pairs = 0;
  int logged = 0;         // the match agrees with the log's poses
  int noWorse = 0;        // it does not, and fits no worse than they do
  int aligned = 0;        // the match agrees with the aligned poses
  int loggedAligned = 0;  // the log's poses agree with the aligned ones
  int simulated = 0;      // the match of simulated scans agrees with the pose they were taken at
};

std::string apartText(const Brin::Pose2D& a, const Brin::Pose2D& b) {
  return formatNumber(std::hypot(a.x - b.x, a.y - b.y), 3) + " m, " +
         formatDegrees(std::abs(Brin::canonicalAngle(a.theta - b.theta)));
}

class Pairs {
 public:
  Pairs(const PairsOptions& options, const std::vector<Brin::io::LoggedScan>& logged)
      : options_(options), grid_(options.search.grid()), logged_(logged) {
    for (const Brin::io::LoggedScan& scan : logged) checkWork(grid_, scan.scan.readings.size());
    if (!options.map.empty()) map_ = openMap(options.map);
    if (!options.align) return;
    ProgressBar bar("align");
    aligned_ = Brin::mapping::alignLog(logged, {{}, kGridResolution}, bar.progress()).scans;
  }

  void judge(const ScanPair& pair) {
    const ScanMatch match = matched(logged_[pair.reference], logged_[pair.other]);
    const Brin::ScoredPose& found = match.found;
    ++tally_.pairs;
    tally_.logged += agree(found.pose, match.logged) ? 1 : 0;
    tally_.noWorse += !agree(found.pose, match.logged) && found.score >= match.loggedScore ? 1 : 0;
    std::vector<std::string> row = {
        std::to_string(pair.other) + " against " + std::to_string(pair.reference),
        poseText(found.pose), apartText(found.pose, match.logged), formatNumber(found.score, 3),
        formatNumber(match.loggedScore, 3)};
    if (!aligned_.empty()) {
      const Brin::Pose2D aligned = relativePose(aligned_, pair);
      tally_.aligned += agree(found.pose, aligned) ? 1 : 0;
      tally_.loggedAligned += agree(match.logged, aligned) ? 1 : 0;
      row.push_back(apartText(found.pose, aligned));
    }
    if (map_) row.push_back(simulate(pair));
    table_.rows.push_back(std::move(row));
  }

  void describe(CommandOutput& output) {
    const auto of = [&](int count) {
      return std::to_string(count) + " of " + std::to_string(tally_.pairs);
    };
    table_.header = {"pair", "match", "off the log", "score", "at the log's"};
    output.line("as logged", of(tally_.logged) + " within 0.05 m and 1 degree of the log's poses");
    output.line("otherwise", std::to_string(tally_.noWorse) + " fit no worse than at the log's");
    output.json["pairs"] = tally_.pairs;
    output.json["asLogged"] = tally_.logged;
    output.json["otherwiseNoWorse"] = tally_.noWorse;
    if (!aligned_.empty()) {
      table_.header.push_back("off the aligned");
      output.line("as aligned", of(tally_.aligned) + "; of the log's own poses " +
                                    std::to_string(tally_.loggedAligned));
      output.json["asAligned"] = tally_.aligned;
      output.json["loggedAsAligned"] = tally_.loggedAligned;
    }
    if (map_) {
      table_.header.push_back("simulated, off the truth");
      output.line("simulated", of(tally_.simulated) + " as they were taken");
      output.json["simulated"] = tally_.simulated;
    }
    output.table = table_;
  }

 private:
  ScanMatch matched(const Brin::io::LoggedScan& reference,
                    const Brin::io::LoggedScan& other) const {
    return matchScans(reference, other, grid_, options_.search.cutOff);
  }

  std::string simulate(const ScanPair& pair) {
    const std::vector<Brin::io::LoggedScan>& truth = aligned_.empty() ? logged_ : aligned_;
    const ScanMatch match = matched(rescanned(truth[pair.reference], *map_, kRangeNoise),
                                    rescanned(truth[pair.other], *map_, kRangeNoise));
    tally_.simulated += agree(match.found.pose, match.logged) ? 1 : 0;
    return apartText(match.found.pose, match.logged);
  }

  const PairsOptions& options_;
  const Brin::PoseGrid grid_;
  const std::vector<Brin::io::LoggedScan>& logged_;
  std::vector<Brin::io::LoggedScan> aligned_;
  std::optional<Brin::OccupancyMap> map_;
  Tally tally_;
  Table table_;
};

void runPairs(PairsOptions& options) {
  const Brin::io::LaserLog log = openLog(options.log);
  const std::vector<ScanPair> drawn = closePairs(log.scans, options.count, options.seed);
  if (drawn.empty()) {
    throw NegativeAnswer(options.log.path + ": no two scans were taken close together");
  }
  Pairs pairs(options, log.scans);
  {
    ProgressBar bar("match");
    const Brin::mapping::Progress progress = bar.progress();
    for (std::size_t i = 0; i < drawn.size(); ++i) {
      pairs.judge(drawn[i]);
      if (progress) progress(static_cast<double>(i + 1) / static_cast<double>(drawn.size()));
    }
  }
  describeLog(options.log, log, options.output);
  pairs.describe(options.output);
  options.output.deliver();
}

}  // namespace

void addPairsCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "pairs", "Match scans of a laser log that were taken close together, and check its poses");
  const auto options = std::make_shared<PairsOptions>();
  addLogOptions(*command, options->log);
  command->add_option("--count", options->count, "how many pairs; 100")
      ->check(CLI::PositiveNumber)
      ->option_text("N");
  command->add_option("--seed", options->seed, "another seed draws other pairs; 1")
      ->option_text("N");
  command->add_flag("--align", options->align,
                    "compare also with the poses that korrin build --match would give the log");
  command
      ->add_option("--map", options->map,
                   "match also scans simulated in this map, whose poses are known exactly")
      ->option_text("FILE");
  addSearchOptions(*command, options->search);
  command
      ->add_option("--json", options->output.jsonFile,
                   "write the counts as JSON; - is standard output")
      ->option_text("FILE");
  command->footer(
      "A pair is at most 0.45 m and 0.3 radians apart, with at most eight scans in between. "
      "Example:\n"
      "  korrin pairs office.log.gz --count 20 --align");
  command->callback([options] { runPairs(*options); });
}

}  // namespace korrin_tool
