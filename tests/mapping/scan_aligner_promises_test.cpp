// What an aligner tells of itself, and what it makes of scans, poses and settings that are none.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "korrin/mapping/scan_aligner.hpp"
#include "tests/mapping/drives.hpp"
#include "tests/support/bits.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::Scan;
using Brin::mapping::AlignerSettings;
using Brin::mapping::LinkKind;
using Brin::mapping::PoseGraph;
using Brin::mapping::ScanAligner;
using Brin::mapping::ScanLink;

constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Tour {
  std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(100);
  ScanAligner aligner = aligned(LaserWorld::twoRooms(), truth, truth);
};

TEST(ScanAligner, MakesKeyScansOfThoseThatAreSomewhereElse) {
  const Tour tour;
  const std::vector<std::size_t> keys = tour.aligner.keyScans();
  EXPECT_EQ(tour.aligner.summary().scans, tour.truth.size());
  EXPECT_EQ(tour.aligner.summary().keyScans, keys.size());
  EXPECT_EQ(tour.aligner.summary().unmatched, 0u);
  ASSERT_GT(keys.size(), 10u);
  EXPECT_LT(keys.size(), tour.truth.size());
  EXPECT_EQ(keys[0], 0u);
  const std::vector<Pose2D> poses = tour.aligner.poses();
  for (std::size_t i = 1; i < keys.size(); ++i) {
    const Pose2D step = poses[keys[i - 1]].relProject(poses[keys[i]]);
    EXPECT_TRUE(std::hypot(step.x, step.y) > 0.25f || std::fabs(step.theta) > 0.15f) << i;
  }
}

TEST(ScanAligner, TellsOfLinksAndOfTheirGraph) {
  const Tour tour;
  const std::vector<std::size_t> keys = tour.aligner.keyScans();
  const std::vector<ScanLink> links = tour.aligner.links();
  std::size_t loops = 0;
  std::size_t odometry = 0;
  for (const ScanLink& link : links) {
    EXPECT_LT(link.from, link.to);
    loops += link.kind == LinkKind::Loop ? 1 : 0;
    odometry += link.kind == LinkKind::Odometry ? 1 : 0;
  }
  EXPECT_EQ(loops, tour.aligner.summary().loopsAccepted);
  EXPECT_EQ(odometry, keys.size() - 1);
  const PoseGraph graph = tour.aligner.graph();
  ASSERT_EQ(graph.nodes.size(), keys.size());
  EXPECT_EQ(graph.edges.size(), links.size() - tour.aligner.summary().loopsDropped);
  const std::vector<Pose2D> poses = tour.aligner.poses();
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(static_cast<float>(graph.nodes[i].x), poses[keys[i]].x);
  }
}

TEST(ScanAligner, KeepsEqualScansOfARobotAtRest) {
  const Scan scan = scanAt(LaserWorld::twoRooms(), {2.0f, 2.5f, 0.3f});
  ScanAligner aligner;
  for (int i = 0; i < 1000; ++i) aligner.add(scan, {2.0f, 2.5f, 0.3f});
  EXPECT_EQ(aligner.keyScans().size(), 1u);
  const Pose2D last = aligner.poses().back();
  EXPECT_LT(std::hypot(last.x - 2.0f, last.y - 2.5f), 0.001);
}

TEST(ScanAligner, LeavesScansThatTellNothingWhereOdometryHasThem) {
  const Scan hit = scanAt(LaserWorld::twoRooms(), {2.0f, 2.5f, 0.0f});
  Scan nothing = hit;
  for (auto& reading : nothing.readings) reading.status = 1;
  Scan oneBeam;
  oneBeam.readings.emplace_back(2.0f, 0.1f);
  Scan notNumbers = hit;
  for (auto& reading : notNumbers.readings) reading.range = kNotANumber;
  Scan angles = hit;
  for (auto& reading : angles.readings) reading.angle = kInfinity;
  Scan endless = hit;
  for (auto& reading : endless.readings) reading.range = kInfinity;
  ScanAligner aligner;
  aligner.add(hit, {0.0f, 0.0f, 0.0f});
  float x = 0.0f;
  for (const Scan& scan : {Scan(), nothing, oneBeam, notNumbers, angles, endless}) {
    x += 0.7f;
    const Pose2D pose = aligner.add(scan, {x, 0.25f, 0.5f});
    EXPECT_NEAR(pose.x, x, 1e-5);
    EXPECT_NEAR(pose.y, 0.25f, 1e-5);
    EXPECT_NEAR(pose.theta, 0.5f, 1e-5);
  }
  EXPECT_EQ(aligner.summary().unmatched, 6u);
}

TEST(ScanAligner, TakesPosesThatAreNoneForNotHavingMoved) {
  const Scan scan = scanAt(LaserWorld::twoRooms(), {2.0f, 2.5f, 0.0f});
  ScanAligner aligner;
  const Pose2D first = aligner.add(scan, {kNotANumber, 0.0f, 0.0f});
  EXPECT_TRUE(sameBits(first, Pose2D()));
  for (const Pose2D& pose : {Pose2D{kInfinity, 0.0f, 0.0f}, Pose2D{0.0f, -2e7f, 0.0f},
                             Pose2D{0.0f, 0.0f, kNotANumber}}) {
    const Pose2D found = aligner.add(scan, pose);
    EXPECT_LT(std::hypot(found.x, found.y), 0.01);
  }
}

TEST(ScanAligner, NamesASettingThatMakesNoSense) {
  const auto faultOf = [](const AlignerSettings& settings) -> std::string {
    try {
      ScanAligner aligner(settings);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "";
  };
  AlignerSettings settings;
  EXPECT_EQ(faultOf(settings), "");
  settings.keyDistance = 0.0f;
  EXPECT_EQ(faultOf(settings), "keyDistance: must be above 0");
  settings = {};
  settings.keyTurn = -1.0f;
  EXPECT_EQ(faultOf(settings), "keyTurn: must be above 0");
  settings = {};
  settings.maxRange = kNotANumber;
  EXPECT_EQ(faultOf(settings), "maxRange: must be above 0");
}

}  // namespace
}  // namespace korrin_test
