#include "korrin/mapping/scan_aligner.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/support/bits.hpp"
#include "tests/support/laser_world.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::Scan;
using Brin::mapping::AlignerSettings;
using Brin::mapping::LinkKind;
using Brin::mapping::PoseGraph;
using Brin::mapping::ScanAligner;
using Brin::mapping::ScanLink;

constexpr float kQuarter = 1.57079633f;
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A corridor around a block, 24 by 16 metres outside, with niches and boxes that tell its places
// apart.
LaserWorld ring() {
  std::vector<Wall> walls;
  const auto box = [&walls](float left, float bottom, float right, float top) {
    walls.push_back({{left, bottom}, {right, bottom}});
    walls.push_back({{right, bottom}, {right, top}});
    walls.push_back({{right, top}, {left, top}});
    walls.push_back({{left, top}, {left, bottom}});
  };
  box(0.0f, 0.0f, 24.0f, 16.0f);
  box(3.0f, 3.0f, 21.0f, 13.0f);
  const float boxes[][4] = {
      {4.0f, 0.0f, 5.2f, 0.5f},     {9.3f, 2.4f, 10.0f, 3.0f},    {13.0f, 0.0f, 13.4f, 0.9f},
      {17.5f, 2.5f, 19.0f, 3.0f},   {23.2f, 5.0f, 24.0f, 5.7f},   {21.0f, 8.0f, 21.4f, 9.1f},
      {23.5f, 11.0f, 24.0f, 12.6f}, {15.0f, 15.3f, 16.6f, 16.0f}, {11.0f, 13.0f, 11.5f, 13.8f},
      {6.0f, 15.5f, 7.1f, 16.0f},   {0.0f, 10.2f, 0.7f, 11.0f},   {2.5f, 6.0f, 3.0f, 7.4f}};
  for (const auto& b : boxes) box(b[0], b[1], b[2], b[3]);
  return LaserWorld(walls);
}

// Poses every `step` metres along the middle of that corridor, `metres` far.
std::vector<Pose2D> aroundTheRing(float metres, float step) {
  const Pose2D corners[] = {{1.5f, 1.5f, 0.0f},
                            {22.5f, 1.5f, kQuarter},
                            {22.5f, 14.5f, 2.0f * kQuarter},
                            {1.5f, 14.5f, -kQuarter}};
  const float lengths[] = {21.0f, 13.0f, 21.0f, 13.0f};
  std::vector<Pose2D> poses;
  int side = 0;
  float along = 0.0f;
  for (float driven = 0.0f; driven < metres; driven += step, along += step) {
    if (along > lengths[side]) {
      along -= lengths[side];
      const Pose2D& corner = corners[(side + 1) % 4];
      for (const float turned : {0.35f, 0.7f, 1.05f, 1.4f}) {
        poses.push_back({corner.x, corner.y, corner.theta - kQuarter + turned});
      }
      side = (side + 1) % 4;
    }
    poses.push_back(corners[side].absProject({along, 0.0f, 0.0f}));
  }
  return poses;
}

// Odometry that counts each metre as 1.02 and turns `drift` radians for each.
std::vector<Pose2D> drifting(const std::vector<Pose2D>& truth, float drift) {
  std::vector<Pose2D> odometry = {truth.front()};
  for (std::size_t i = 1; i < truth.size(); ++i) {
    const Pose2D step = truth[i - 1].relProject(truth[i]);
    const float metres = std::hypot(step.x, step.y);
    odometry.push_back(
        odometry.back().absProject({1.02f * step.x, 1.02f * step.y, step.theta + drift * metres}));
  }
  return odometry;
}

Scan scanAt(const LaserWorld& world, const Pose2D& pose) { return world.scan(pose, 180, 81.91f); }

ScanAligner aligned(const LaserWorld& world, const std::vector<Pose2D>& truth,
                    const std::vector<Pose2D>& odometry, const AlignerSettings& settings = {}) {
  ScanAligner aligner(settings);
  for (std::size_t i = 0; i < truth.size(); ++i) aligner.add(scanAt(world, truth[i]), odometry[i]);
  return aligner;
}

// The largest distance of a pose from the truth, both seen from the first.
double worstError(const std::vector<Pose2D>& poses, const std::vector<Pose2D>& truth) {
  double worst = 0.0;
  for (std::size_t i = 0; i < poses.size(); ++i) {
    const Pose2D is = poses.front().relProject(poses[i]);
    const Pose2D was = truth.front().relProject(truth[i]);
    worst = std::max(worst, std::hypot(double{is.x} - was.x, double{is.y} - was.y));
  }
  return worst;
}

// Loops that count, and how many of them are not what was driven.
struct Loops {
  int all = 0;
  int wrong = 0;
};

Loops loopsOf(const ScanAligner& aligner, const std::vector<Pose2D>& truth) {
  Loops loops;
  for (const ScanLink& link : aligner.links()) {
    if (link.kind != LinkKind::Loop || link.dropped) continue;
    const Pose2D was = truth[link.from].relProject(truth[link.to]);
    ++loops.all;
    if (std::hypot(link.motion.x - was.x, link.motion.y - was.y) > 0.3 ||
        std::fabs(std::remainder(link.motion.theta - was.theta, 4.0 * kQuarter)) > 0.05) {
      ++loops.wrong;
    }
  }
  return loops;
}

TEST(ScanAligner, ClosesALoopThatOdometryLeavesOpen) {
  const LaserWorld world = ring();
  const std::vector<Pose2D> truth = aroundTheRing(82.0f, 0.5f);
  const std::vector<Pose2D> odometry = drifting(truth, 0.01f);
  const ScanAligner aligner = aligned(world, truth, odometry);
  EXPECT_GT(worstError(odometry, truth), 4.0);
  EXPECT_LT(worstError(aligner.poses(), truth), 0.15);
  const Loops loops = loopsOf(aligner, truth);
  EXPECT_GE(loops.all, 10);
  EXPECT_EQ(loops.wrong, 0);
}

TEST(ScanAligner, FindsAPlaceAgainThatItsOwnDriftHasLeftBehind) {
  const LaserWorld world = ring();
  const std::vector<Pose2D> truth = aroundTheRing(82.0f, 0.5f);
  AlignerSettings open;
  open.closesLoops = false;
  const std::vector<Pose2D> odometry = drifting(truth, 0.01f);
  const ScanAligner without = aligned(world, truth, odometry, open);
  const ScanAligner with = aligned(world, truth, odometry);
  EXPECT_EQ(without.summary().loopsFound, 0u);
  EXPECT_LT(worstError(with.poses(), truth), worstError(without.poses(), truth));
}

TEST(ScanAligner, GivesTheSameBitsAgain) {
  const LaserWorld world = ring();
  const std::vector<Pose2D> truth = aroundTheRing(76.0f, 0.7f);
  const std::vector<Pose2D> odometry = drifting(truth, 0.008f);
  const std::vector<Pose2D> once = aligned(world, truth, odometry).poses();
  const std::vector<Pose2D> again = aligned(world, truth, odometry).poses();
  for (std::size_t i = 0; i < once.size(); ++i) EXPECT_TRUE(sameBits(once[i], again[i])) << i;
}

TEST(ScanAligner, ReturnsThePoseOfTheScanJustAdded) {
  const LaserWorld world = LaserWorld::twoRooms();
  const std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(20);
  ScanAligner aligner;
  EXPECT_TRUE(sameBits(aligner.add(scanAt(world, truth[0]), truth[0]), truth[0]));
  for (std::size_t i = 1; i < truth.size(); ++i) {
    const Pose2D pose = aligner.add(scanAt(world, truth[i]), truth[i]);
    EXPECT_TRUE(sameBits(pose, aligner.poses().back()));
    EXPECT_LT(std::hypot(pose.x - truth[i].x, pose.y - truth[i].y), 0.1) << i;
  }
}

TEST(ScanAligner, MendsOdometryThatTurnsByFarTooMuchAtOnce) {
  const LaserWorld world = LaserWorld::twoRooms();
  const std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(40);
  std::vector<Pose2D> odometry = {truth[0]};
  for (std::size_t i = 1; i < truth.size(); ++i) {
    Pose2D step = truth[i - 1].relProject(truth[i]);
    if (i == 12) step.theta += 1.1f;
    if (i == 25) step.theta -= 1.1f;
    odometry.push_back(odometry.back().absProject(step));
  }
  EXPECT_GT(worstError(odometry, truth), 1.0);
  EXPECT_LT(worstError(aligned(world, truth, odometry).poses(), truth), 0.1);
}

TEST(ScanAligner, NeedsNoOdometryWhereScansOverlap) {
  const LaserWorld world = LaserWorld::twoRooms();
  const std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(60);
  const std::vector<Pose2D> none(truth.size(), truth[0]);
  EXPECT_LT(worstError(aligned(world, truth, none).poses(), truth), 0.15);
}

TEST(ScanAligner, StaysWhereItIsThoughOdometryJumps) {
  const LaserWorld world = LaserWorld::twoRooms();
  const std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(40);
  std::vector<Pose2D> odometry = truth;
  for (std::size_t i = 20; i < odometry.size(); ++i) odometry[i].x += 100.0f;
  EXPECT_LT(worstError(aligned(world, truth, odometry).poses(), truth), 0.15);
}

// Two equal rooms far apart on a way without a sight of either: both may be the same, and odometry
// says that they are not.
TEST(ScanAligner, TakesNoRoomForAnotherThatIsJustLikeIt) {
  std::vector<Wall> walls;
  for (const float left : {0.0f, 30.0f}) {
    walls.push_back({{left, 0.0f}, {left, 5.0f}});
    walls.push_back({{left, 5.0f}, {left + 6.0f, 5.0f}});
    walls.push_back({{left + 6.0f, 5.0f}, {left + 6.0f, 2.0f}});
    walls.push_back({{left, 0.0f}, {left + 2.0f, 0.0f}});
    walls.push_back({{left + 3.2f, 0.0f}, {left + 6.0f, 0.0f}});
    walls.push_back({{left + 1.0f, 3.0f}, {left + 1.8f, 3.4f}});
  }
  walls.push_back({{6.0f, 2.0f}, {30.0f, 2.0f}});
  walls.push_back({{6.0f, 0.0f}, {30.0f, 0.0f}});
  const LaserWorld world(walls);
  std::vector<Pose2D> truth;
  for (const float left : {0.0f, 30.0f}) {
    for (int i = 0; i < 24; ++i) {
      const float angle = 0.2617994f * static_cast<float>(i);
      truth.push_back({left + 3.5f + std::sin(angle), 2.5f - std::cos(angle), angle});
    }
    for (float x = left + 3.5f; left == 0.0f && x < 33.0f; x += 0.5f) {
      truth.push_back({x, 1.0f, 0.0f});
    }
  }
  const ScanAligner aligner = aligned(world, truth, drifting(truth, 0.002f));
  EXPECT_EQ(loopsOf(aligner, truth).wrong, 0);
  EXPECT_LT(worstError(aligner.poses(), truth), 1.5);
}

TEST(ScanAligner, FindsNoLoopOnAWayThatComesBackNowhere) {
  std::vector<Wall> walls = {{{0.0f, 0.0f}, {60.0f, 0.0f}}, {{0.0f, 2.5f}, {60.0f, 2.5f}}};
  for (int i = 0; i < 20; ++i) {
    const float x = 1.0f + 2.9f * static_cast<float>(i) + 0.07f * static_cast<float>(i * i % 13);
    const float deep = 0.3f + 0.02f * static_cast<float>(i * 7 % 11);
    walls.push_back({{x, 0.0f}, {x, deep}});
    walls.push_back({{x, deep}, {x + 0.8f, deep}});
    walls.push_back({{x + 0.8f, deep}, {x + 0.8f, 0.0f}});
  }
  std::vector<Pose2D> truth;
  for (float x = 1.0f; x < 58.0f; x += 0.4f) truth.push_back({x, 1.4f, 0.0f});
  const ScanAligner aligner = aligned(LaserWorld(walls), truth, drifting(truth, 0.002f));
  EXPECT_EQ(loopsOf(aligner, truth).wrong, 0);
  EXPECT_LT(worstError(aligner.poses(), truth), 1.0);
}

TEST(ScanAligner, TellsOfKeyScansAndLinks) {
  const LaserWorld world = LaserWorld::twoRooms();
  const std::vector<Pose2D> truth = LaserWorld::tourOfTwoRooms(100);
  const ScanAligner aligner = aligned(world, truth, truth);
  const std::vector<std::size_t> keys = aligner.keyScans();
  const auto summary = aligner.summary();
  EXPECT_EQ(summary.scans, truth.size());
  EXPECT_EQ(summary.keyScans, keys.size());
  EXPECT_EQ(summary.unmatched, 0u);
  ASSERT_GT(keys.size(), 10u);
  EXPECT_LT(keys.size(), truth.size());
  EXPECT_EQ(keys[0], 0u);
  const std::vector<Pose2D> poses = aligner.poses();
  for (std::size_t i = 1; i < keys.size(); ++i) {
    const Pose2D step = poses[keys[i - 1]].relProject(poses[keys[i]]);
    EXPECT_TRUE(std::hypot(step.x, step.y) > 0.25f || std::fabs(step.theta) > 0.15f) << i;
  }
  std::size_t loops = 0;
  std::size_t odometry = 0;
  for (const ScanLink& link : aligner.links()) {
    EXPECT_LT(link.from, link.to);
    loops += link.kind == LinkKind::Loop ? 1 : 0;
    odometry += link.kind == LinkKind::Odometry ? 1 : 0;
  }
  EXPECT_EQ(loops, summary.loopsAccepted);
  EXPECT_EQ(odometry, keys.size() - 1);
  const PoseGraph graph = aligner.graph();
  ASSERT_EQ(graph.nodes.size(), keys.size());
  EXPECT_EQ(graph.edges.size(), aligner.links().size() - summary.loopsDropped);
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
