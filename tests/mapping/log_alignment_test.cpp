#include "korrin/mapping/log_alignment.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "korrin/mapping/grid_builder.hpp"
#include "tests/support/laser_world.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using Brin::mapping::alignLog;
using Brin::mapping::Alignment;
using Brin::mapping::AlignmentKind;

constexpr float kResolution = 0.05f;

// There and back through both rooms.
std::vector<Pose2D> roundTrip(int count) {
  std::vector<Pose2D> way = LaserWorld::tourOfTwoRooms(count);
  std::vector<Pose2D> back(way.rbegin(), way.rend());
  way.insert(way.end(), back.begin(), back.end());
  return way;
}

// Odometry that counts each metre as 1.05 and turns `drift` radians a step.
std::vector<Pose2D> slipping(const std::vector<Pose2D>& truth, float drift) {
  std::vector<Pose2D> odometry = {truth.front()};
  for (std::size_t i = 1; i < truth.size(); ++i) {
    const Pose2D step = truth[i - 1].relProject(truth[i]);
    odometry.push_back(
        odometry.back().absProject({1.05f * step.x, 1.05f * step.y, step.theta + drift}));
  }
  return odometry;
}

// Scans taken at `truth` and logged at `logged`.
std::vector<LoggedScan> scansAt(const std::vector<Pose2D>& truth,
                                const std::vector<Pose2D>& logged) {
  std::vector<LoggedScan> scans;
  for (std::size_t i = 0; i < truth.size(); ++i) {
    LoggedScan one;
    one.scan = LaserWorld::twoRooms().scan(truth[i], 180, 81.91f);
    one.pose = logged[i];
    scans.push_back(one);
  }
  return scans;
}

// The largest distance of a scan from where it was taken, seen from the first one.
double worstError(const std::vector<LoggedScan>& scans, const std::vector<Pose2D>& truth) {
  double worst = 0.0;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const Pose2D is = scans.front().pose.relProject(scans[i].pose);
    const Pose2D was = truth.front().relProject(truth[i]);
    worst = std::max(worst, std::hypot(double{is.x} - was.x, double{is.y} - was.y));
  }
  return worst;
}

double likelihoodOf(const std::vector<LoggedScan>& scans) {
  const auto frame = Brin::mapping::gridAround(scans, kResolution);
  return Brin::mapping::judgeGrid(Brin::mapping::buildGrid(scans, *frame), scans).likelihood;
}

TEST(AlignLog, MendsSlippingOdometry) {
  const std::vector<Pose2D> truth = roundTrip(50);
  const std::vector<LoggedScan> logged = scansAt(truth, slipping(truth, 0.008f));
  const Alignment aligned = alignLog(logged);
  EXPECT_EQ(aligned.kind, AlignmentKind::Aligned);
  EXPECT_GT(worstError(logged, truth), 1.0);
  EXPECT_LT(worstError(aligned.scans, truth), 0.15);
  EXPECT_GT(likelihoodOf(aligned.scans), likelihoodOf(logged) + 0.1);
}

TEST(AlignLog, SettlesPosesThatAreGoodButForNoise) {
  const std::vector<Pose2D> truth = roundTrip(50);
  std::vector<Pose2D> noisy = truth;
  for (std::size_t i = 0; i < noisy.size(); ++i) {
    const float t = static_cast<float>(i);
    noisy[i].x += 0.04f * std::sin(7.0f * t);
    noisy[i].y += 0.04f * std::cos(5.0f * t);
    noisy[i].theta += 0.02f * std::sin(3.0f * t);
  }
  const std::vector<LoggedScan> logged = scansAt(truth, noisy);
  const Alignment aligned = alignLog(logged);
  EXPECT_NE(aligned.kind, AlignmentKind::Logged);
  EXPECT_LT(worstError(aligned.scans, truth), worstError(logged, truth));
  EXPECT_GT(likelihoodOf(aligned.scans), likelihoodOf(logged));
}

TEST(AlignLog, NeverMakesAMapLessLikely) {
  const std::vector<Pose2D> truth = roundTrip(25);
  const std::vector<LoggedScan> exact = scansAt(truth, truth);
  const Alignment aligned = alignLog(exact);
  EXPECT_GE(likelihoodOf(aligned.scans), likelihoodOf(exact));
  EXPECT_LT(worstError(aligned.scans, truth), 0.1);
}

TEST(AlignLog, KeepsThePosesWhenNothingBetterIsFound) {
  std::vector<LoggedScan> scans(1);  // one scan, nothing to match it with
  scans[0].scan = LaserWorld::twoRooms().scan({2.0f, 2.5f, 0.3f}, 180, 81.91f);
  scans[0].pose = {2.0f, 2.5f, 0.3f};
  const Alignment aligned = alignLog(scans);
  EXPECT_EQ(aligned.kind, AlignmentKind::Logged);
  EXPECT_EQ(aligned.scans[0].pose.x, 2.0f);
  EXPECT_EQ(aligned.scans[0].pose.theta, 0.3f);
}

TEST(AlignLog, TakesScansThatHitNothingAndPosesFarApart) {
  std::vector<LoggedScan> scans(4);
  scans[1].pose = {1000.0f, 0.0f, 0.0f};
  scans[2].scan.readings.emplace_back(5.0f, 0.0f);
  scans[2].scan.readings[0].status = 1;
  scans[3].scan.readings.emplace_back(2.0f, 0.0f);
  EXPECT_EQ(alignLog(scans).scans.size(), 4u);
}

TEST(AlignLog, TellsOfItsProgress) {
  const std::vector<Pose2D> truth = roundTrip(5);
  double last = 0.0;
  alignLog(scansAt(truth, truth), {}, [&](double share) {
    EXPECT_GE(share, last);
    last = share;
  });
  EXPECT_DOUBLE_EQ(last, 1.0);
}

}  // namespace
}  // namespace korrin_test
