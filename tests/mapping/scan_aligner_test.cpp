#include "korrin/mapping/scan_aligner.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/mapping/drives.hpp"
#include "tests/support/bits.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::mapping::AlignerSettings;
using Brin::mapping::ScanAligner;

constexpr float kQuarter = 1.57079633f;

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

}  // namespace
}  // namespace korrin_test
