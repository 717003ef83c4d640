// Pairs of scans, and matches beside what the log says.
#include "tools/scan_match.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "tests/support/laser_world.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using korrin_tool::closePairs;
using korrin_tool::ScanPair;

std::vector<LoggedScan> scansAt(const std::vector<Pose2D>& poses) {
  return Brin::io::parseLaserLog(LaserWorld::twoRooms().carmenLog(poses, 180)).scans;
}

std::vector<LoggedScan> scansAlong(int count, float step) {
  std::vector<Pose2D> poses;
  for (int i = 0; i < count; ++i)
    poses.emplace_back(1.0f + static_cast<float>(i) * step, 2.5f, 0.0f);
  return scansAt(poses);
}

Brin::PoseGrid halfAMetre() {
  Brin::PoseGrid grid;
  grid.step = 0.025f;
  grid.turnStep = 0.0043633f;
  return grid;
}

TEST(MatchScans, FindsThePoseWhateverTheLogSays) {
  const LaserWorld world = LaserWorld::twoRooms();
  std::vector<LoggedScan> scans = scansAt({{2.0f, 2.4f, 0.4f}, {2.2f, 2.5f, 0.5f}});
  const Pose2D truth = korrin_tool::relativePose(scans, {0, 1});
  const auto apart = korrin_tool::matchScans(scans[0], scans[1], halfAMetre(), 0.2f);
  EXPECT_TRUE(korrin_tool::agree(apart.found.pose, truth));
  EXPECT_EQ(apart.logged.x, truth.x);
  scans[1].pose.x += 1.0f;
  const auto again = korrin_tool::matchScans(scans[0], scans[1], halfAMetre(), 0.2f);
  EXPECT_EQ(again.found.pose.x, apart.found.pose.x);
  EXPECT_LT(again.loggedScore, apart.loggedScore);
  EXPECT_LE(again.loggedScore, again.found.score);
}

TEST(ClosePairs, AreCloseInPlaceAndInTheLogButNotAtTheSamePlace) {
  const std::vector<LoggedScan> scans = scansAlong(30, 0.04f);
  const std::vector<ScanPair> pairs = closePairs(scans, 1000, 1);
  std::set<std::pair<std::size_t, std::size_t>> different;
  for (const ScanPair& pair : pairs) {
    const std::size_t steps = pair.other - pair.reference;
    EXPECT_GE(steps, 3u);  // 0.12 m
    EXPECT_LE(steps, 9u);
    different.insert({pair.reference, pair.other});
  }
  EXPECT_EQ(different.size(), pairs.size());
  EXPECT_EQ(pairs.size(), 27u + 26 + 25 + 24 + 23 + 22 + 21);
  EXPECT_TRUE(closePairs(scansAlong(10, 0.5f), 10, 1).empty());
  EXPECT_TRUE(closePairs(scansAt({{2, 2, 0}, {2.2f, 2, 0.4f}}), 10, 1).empty());
  EXPECT_EQ(closePairs(scansAt({{2, 2, 0}, {2, 2, 0.2f}}), 10, 1).size(), 1u);
  EXPECT_TRUE(closePairs({}, 10, 1).empty());
}

TEST(ClosePairs, AreTheSameForTheSameSeed) {
  const std::vector<LoggedScan> scans = scansAlong(30, 0.04f);
  const auto numbers = [&](std::uint32_t seed) {
    std::vector<std::size_t> all;
    for (const ScanPair& pair : closePairs(scans, 20, seed)) {
      all.insert(all.end(), {pair.reference, pair.other});
    }
    return all;
  };
  EXPECT_EQ(numbers(1).size(), 40u);
  EXPECT_EQ(numbers(1), numbers(1));
  EXPECT_NE(numbers(1), numbers(2));
}

TEST(Agree, MeansWithinACellAndADegreeAcrossTheTurn) {
  using korrin_tool::agree;
  EXPECT_TRUE(agree({0, 0, 3.14f}, {0.03f, 0.039f, -3.14f}));
  EXPECT_FALSE(agree({0, 0, 0}, {0.04f, 0.04f, 0}));
  EXPECT_TRUE(agree({0, 0, 0}, {0, 0, 0.0174f}));
  EXPECT_FALSE(agree({0, 0, 0}, {0, 0, 0.0176f}));
}

}  // namespace
}  // namespace korrin_test
