// Maps, matches and doorways on parts of real logs, each result beside what the log itself says.
// Without ../shared/data generated logs stand in, and the test says so. scripts/check-logs does
// the maps on the whole logs.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>

#include "korrin/mapping/grid_builder.hpp"
#include "korrin/mapping/log_alignment.hpp"
#include "tests/support/laser_world.hpp"
#include "tools/format.hpp"
#include "tools/rescan.hpp"
#include "tools/scan_match.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using Brin::mapping::buildGrid;
using Brin::mapping::judgeGrid;
using korrin_tool::agree;
using korrin_tool::formatNumber;
using korrin_tool::matchScans;
using korrin_tool::ScanMatch;
using korrin_tool::ScanPair;
using korrin_tool::Table;

constexpr float kDegree = 0.0174532925f;
constexpr float kCell = 0.05f;
constexpr float kCutOff = 0.2f;

using Scans = std::vector<LoggedScan>;

// The first `count` scans of a real log, or as many of the two rooms, seen twice.
Scans firstScans(const std::string& name, std::size_t count) {
  const std::string path = "../shared/data/logs/" + name + ".log.gz";
  Scans scans;
  if (std::filesystem::exists(path)) {
    scans = Brin::io::readLaserLog(path).scans;
  } else {
    std::cout << path << " is not there; a generated log stands in for it.\n";
    const auto way = LaserWorld::tourOfTwoRooms(static_cast<int>(count) / 2);
    const std::string once = LaserWorld::twoRooms().carmenLog(way, 180);
    scans = Brin::io::parseLaserLog(once + once).scans;
  }
  scans.resize(std::min(scans.size(), count));
  return scans;
}

struct Part {
  const char* log;
  std::size_t scans;
  std::size_t pairs;  // to match, at most
};

constexpr Part kParts[] = {{"intel-corrected", 160, 10},
                           {"freiburg-079-corrected", 150, 20},
                           {"telecom_faculty_loop", 50, 15}};

// Each part as logged and as aligned, aligned once for all tests.
struct Aligned {
  Scans logged;
  Scans aligned;
};

const Aligned& alignedPart(const Part& part) {
  static std::map<std::string, Aligned> parts;
  Aligned& result = parts[part.log];
  if (!result.logged.empty()) return result;
  result.logged = firstScans(part.log, part.scans);
  result.aligned = Brin::mapping::alignLog(result.logged, {{}, kCell}).scans;
  return result;
}

Brin::mapping::GridQuality qualityOf(const Scans& scans) {
  const auto frame = Brin::mapping::gridAround(scans, kCell);
  return judgeGrid(Brin::mapping::croppedToFree(buildGrid(scans, *frame)), scans);
}

TEST(RealLogs, MatchingMakesNoMapWorse) {
  Table table;
  table.header = {"log", "occupied", "matched", "likelihood", "matched"};
  for (const Part& part : kParts) {
    const auto before = qualityOf(alignedPart(part).logged);
    const auto after = qualityOf(alignedPart(part).aligned);
    table.rows.push_back({part.log, std::to_string(before.occupiedCells),
                          std::to_string(after.occupiedCells), formatNumber(before.likelihood, 4),
                          formatNumber(after.likelihood, 4)});
    EXPECT_LE(after.occupiedCells, before.occupiedCells) << part.log;
    EXPECT_GE(after.likelihood, before.likelihood) << part.log;
  }
  table.print(std::cout);
}

Brin::PoseGrid smallGrid() {
  Brin::PoseGrid grid;
  grid.reachX = grid.reachY = 0.475f;
  grid.turn = 18.0f * kDegree;
  grid.step = 0.025f;
  grid.turnStep = kDegree / 2.0f;
  return grid;
}

struct Tally {
  int pairs = 0;
  int withLogged = 0;   // matches that agree with the log's own poses
  int withAligned = 0;  // with the poses of the whole part aligned
  int posesAgree = 0;   // pairs on which these two agree
  int worse = 0;        // matches that disagree with the logged pose and fit the scans worse
};

Tally matchPairs(const Part& part) {
  const Aligned& scans = alignedPart(part);
  Tally tally;
  for (const ScanPair& pair : korrin_tool::closePairs(scans.logged, part.pairs, 20261121)) {
    const ScanMatch match =
        matchScans(scans.logged[pair.reference], scans.logged[pair.other], smallGrid(), kCutOff);
    const Brin::ScoredPose& found = match.found;
    const Pose2D aligned = relativePose(scans.aligned, pair);
    ++tally.pairs;
    tally.withLogged += agree(found.pose, match.logged) ? 1 : 0;
    tally.withAligned += agree(found.pose, aligned) ? 1 : 0;
    tally.posesAgree += agree(match.logged, aligned) ? 1 : 0;
    tally.worse += !agree(found.pose, match.logged) && found.score < match.loggedScore ? 1 : 0;
  }
  return tally;
}

// The log's own poses are the limit: where a match disagrees with them, the scans fit the match no
// worse, and the poses that all scans together agree on are with the match.
TEST(RealLogs, MatchesOfCloseScansAgreeWithTheAlignedPoses) {
  Table table;
  table.header = {"log", "pairs", "as logged", "as aligned", "logged as aligned"};
  Tally all;
  for (const Part& part : kParts) {
    const Tally tally = matchPairs(part);
    table.rows.push_back({part.log, std::to_string(tally.pairs), std::to_string(tally.withLogged),
                          std::to_string(tally.withAligned), std::to_string(tally.posesAgree)});
    EXPECT_EQ(tally.worse, 0) << part.log;
    all.pairs += tally.pairs;
    all.withAligned += tally.withAligned;
  }
  table.print(std::cout);
  EXPECT_GE(all.pairs, 30);
  EXPECT_GE(all.withAligned, 0.95 * all.pairs);
}

// The same pairs, but simulated in the map of the part at its aligned poses: these are the truth.
TEST(RealLogs, MatchesOfSimulatedScansFindWhereTheyWereTaken) {
  int pairs = 0;
  int found = 0;
  for (const Part& part : kParts) {
    const Aligned& scans = alignedPart(part);
    const Brin::OccupancyMap map =
        buildGrid(scans.aligned, *Brin::mapping::gridAround(scans.aligned, kCell));
    for (const ScanPair& pair : korrin_tool::closePairs(scans.logged, part.pairs, 20261121)) {
      const auto again = [&](std::size_t scan) {
        return korrin_tool::rescanned(scans.aligned[scan], map, 0.02f);
      };
      const ScanMatch match =
          matchScans(again(pair.reference), again(pair.other), smallGrid(), kCutOff);
      ++pairs;
      found += agree(match.found.pose, match.logged) ? 1 : 0;
    }
  }
  std::cout << found << " of " << pairs << " simulated pairs found\n";
  EXPECT_GE(pairs, 30);
  EXPECT_GE(found, 0.95 * pairs);
}

}  // namespace
}  // namespace korrin_test
