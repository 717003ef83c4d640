// Maps, matches and doorways on parts of real logs, each result beside what the log itself says.
// Without ../shared/data generated logs stand in, and the test says so. scripts/check-logs does
// the maps on the whole logs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>

#include "korrin/scan_holes.hpp"
#include "tests/support/laser_world.hpp"
#include "tools/format.hpp"
#include "tools/grid_builder.hpp"
#include "tools/log_alignment.hpp"
#include "tools/pose_search.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using korrin_tool::AlignmentKind;
using korrin_tool::formatNumber;
using korrin_tool::LoggedScan;
using korrin_tool::Table;

constexpr float kDegree = 0.0174532925f;
constexpr float kCell = 0.05f;

using Scans = std::vector<LoggedScan>;

// The first `count` scans of a real log, or as many of the two rooms, seen twice.
Scans firstScans(const std::string& name, std::size_t count) {
  const std::string path = "../shared/data/logs/" + name + ".log.gz";
  Scans scans;
  if (std::filesystem::exists(path)) {
    scans = korrin_tool::readCarmenLog(path).scans;
  } else {
    std::cout << path << " is not there; a generated log stands in for it.\n";
    const auto way = LaserWorld::tourOfTwoRooms(static_cast<int>(count) / 2);
    const std::string once = LaserWorld::twoRooms().carmenLog(way, 180);
    scans = korrin_tool::parseCarmenLog(once + once).scans;
  }
  scans.resize(std::min(scans.size(), count));
  return scans;
}

struct Part {
  const char* log;
  std::size_t scans;
  int pairs;  // to match; the scans of the first log are too far apart for any
};

constexpr Part kParts[] = {{"intel-corrected", 120, 0},
                           {"freiburg-079-corrected", 250, 70},
                           {"telecom_faculty_loop", 70, 30}};

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
  result.aligned = korrin_tool::alignLog(result.logged, kCell).scans;
  return result;
}

korrin_tool::GridQuality qualityOf(const Scans& scans) {
  const auto frame = korrin_tool::gridAround(scans, kCell);
  return judgeGrid(korrin_tool::croppedToFree(buildGrid(scans, *frame)), scans);
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

struct Pair {
  std::size_t reference;
  std::size_t other;
};

// Pairs of scans taken close together, though not at the same place.
std::vector<Pair> closePairs(const Scans& scans, int count) {
  std::vector<Pair> pairs;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    for (std::size_t j = i + 1; j < std::min(scans.size(), i + 9); ++j) {
      const Pose2D apart = scans[i].pose.relProject(scans[j].pose);
      const float distance = std::hypot(apart.x, apart.y);
      const float turn = std::abs(apart.theta);
      if (distance > 0.45f || turn > 0.3f || (distance < 0.1f && turn < 0.1f)) continue;
      pairs.push_back({i, j});
    }
  }
  std::shuffle(pairs.begin(), pairs.end(), std::mt19937(20261121));
  pairs.resize(std::min(pairs.size(), static_cast<std::size_t>(count)));
  return pairs;
}

// Within one cell and one degree, and what the steps of the search cannot tell apart.
bool agree(const Pose2D& a, const Pose2D& b) {
  const float cell = kCell + 0.0005f;
  return std::abs(a.x - b.x) <= cell && std::abs(a.y - b.y) <= cell &&
         std::abs(Brin::canonicalAngle(a.theta - b.theta)) <= kDegree;
}

struct Tally {
  int pairs = 0;
  int withLogged = 0;   // matches that agree with the log's own poses
  int withAligned = 0;  // with the poses of the whole log aligned
  int posesAgree = 0;   // pairs on which these two agree
  int worse = 0;        // matches that disagree with the logged pose and fit the scans no better
};

Tally matchPairs(const Part& part) {
  const Aligned& scans = alignedPart(part);
  korrin_tool::SearchWindow window;
  window.reach = 0.45f;
  window.step = kCell;
  window.turnStep = kDegree / 2.0f;
  Tally tally;
  for (const Pair& pair : closePairs(scans.logged, part.pairs)) {
    const korrin_tool::ReferenceScan reference(scans.logged[pair.reference].scan, 0.025f, 0.2f);
    const auto points = korrin_tool::hitPoints(scans.logged[pair.other].scan);
    const auto found = searchAllPoses(reference, points, {}, window).best;
    const auto apart = [&](const Scans& placed) {
      return placed[pair.reference].pose.relProject(placed[pair.other].pose);
    };
    const Pose2D logged = apart(scans.logged);
    const Pose2D aligned = apart(scans.aligned);
    ++tally.pairs;
    tally.withLogged += agree(found.pose, logged) ? 1 : 0;
    tally.withAligned += agree(found.pose, aligned) ? 1 : 0;
    tally.posesAgree += agree(logged, aligned) ? 1 : 0;
    const bool fitsBetter = found.score > reference.score(points, logged);
    tally.worse += !agree(found.pose, logged) && !fitsBetter ? 1 : 0;
  }
  return tally;
}

// The log's own poses are the limit: where a match disagrees with them, the scans fit the match
// better, and the poses that all scans together agree on are with the match.
TEST(RealLogs, MatchesOfCloseScansAgreeWithTheirPoses) {
  Table table;
  table.header = {"log", "pairs", "as logged", "as aligned", "logged as aligned"};
  Tally all;
  for (const Part& part : kParts) {
    if (part.pairs == 0) continue;
    const Tally tally = matchPairs(part);
    table.rows.push_back({part.log, std::to_string(tally.pairs), std::to_string(tally.withLogged),
                          std::to_string(tally.withAligned), std::to_string(tally.posesAgree)});
    EXPECT_EQ(tally.worse, 0) << part.log;
    all.pairs += tally.pairs;
    all.withAligned += tally.withAligned;
  }
  table.print(std::cout);
  EXPECT_EQ(all.pairs, 100);
  EXPECT_GE(all.withAligned, 95);
}

}  // namespace
}  // namespace korrin_test
