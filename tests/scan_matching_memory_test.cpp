// Scoring is the inner loop of a search for a pose: it asks for no memory, and many poses at a time
// ask for what they need once, however many they are.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/batch_scoring.hpp"
#include "korrin/scan_matching.hpp"
#include "support/failing_memory.hpp"
#include "support/workload.hpp"

using namespace korrin_test;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::int64_t allocationsOf(const std::function<void()>& call) {
  const std::int64_t before = allocationCount;
  call();
  return allocationCount - before;
}

class ScoringMemory : public testing::Test {
 protected:
  ScoringMemory() : world_(makeWorld(80, 60, 361)) {
    reference_.build(world_.scan, {0.0f, 0.0f, 0.0f}, 0.05f);
    distances_ = reference_.distanceMap;
    poses_ = world_.poses;
    poses_.emplace_back(0.0f, 0.0f, 0.0f);
    poses_.emplace_back(1e30f, kNan, kNan);
    poses_.emplace_back(0.1f, 0.1f, 1e9f);
    world_.points.emplace_back(kNan, 1e38f);
  }
  ~ScoringMemory() override {
    cvReleaseImage(&reference_.distanceMap);
    cvReleaseImage(&reference_.laserImage);
  }

  World world_;
  Brin::ScanDistMap reference_;
  const IplImage* distances_;
  std::vector<Brin::Pose2D> poses_;
};

TEST_F(ScoringMemory, aCountIsMadeOfEveryKindOfAllocation) {
  EXPECT_EQ(allocationsOf([] { const std::vector<int> one(1); }), 1);
  EXPECT_GE(allocationsOf([] { Brin::makeImage(cvSize(2, 2), IPL_DEPTH_32F, 1); }), 2);
}

TEST_F(ScoringMemory, noScoreAsksForAny) {
  IplImage* debug = nullptr;
  int count = 0;
  Brin::scanScore(distances_, world_.points, {}, 0.05f, 0.5f, nullptr, &debug, 1);
  const Brin::ImagePtr owner(debug);
  float sum = 0.0f;
  for (const int step : {1, 3}) {
    reference_.step = step;
    const std::int64_t asked = allocationsOf([&] {
      for (const Brin::Pose2D& pose : poses_) {
        sum += Brin::scanScore(distances_, world_.points, pose, 0.05f, 0.5f, &count, nullptr, step);
        sum += Brin::scanScore(distances_, world_.points, pose, 0.05f, 0.5f, &count, &debug, step);
        sum += Brin::scanScore(distances_, world_.scan, pose, 0.05f, 0.5f, &count, nullptr, step);
        sum += Brin::scanScore(distances_, world_.scan, pose, 0.05f, 0.5f, &count, &debug, step);
        sum += reference_.score(world_.points, pose, 0.5f, &count);
        sum += reference_.score(world_.scan, pose, 0.5f, &count);
        sum += reference_.scorePxlScan(world_.points, pose, 0.5f, &count);
      }
    });
    EXPECT_EQ(asked, 0) << "step " << step;
  }
  EXPECT_GT(sum, 1.0f);
}

TEST_F(ScoringMemory, aScanOfManyReadingsAsksForNoneEither) {
  Brin::Scan scan;
  std::vector<Brin::Point2D> points;
  for (int i = 0; i < 20000; ++i) {
    scan.readings.emplace_back(1.0f, 0.001f * static_cast<float>(i));
    points.push_back(scan.readings.back().toPoint2D());
  }
  EXPECT_EQ(allocationsOf([&] {
              reference_.score(scan, {}, 0.5f, nullptr);
              reference_.score(points, {}, 0.5f, nullptr);
              reference_.scorePxlScan(points, {}, 0.5f, nullptr);
            }),
            0);
}

std::vector<Brin::Pose2D> posesOf(int count) {
  std::vector<Brin::Pose2D> poses;
  for (int i = 0; i < count; ++i) {
    const auto k = static_cast<float>(i);
    poses.emplace_back(0.001f * k, -0.002f * k, 0.1f * static_cast<float>(i / 7));
  }
  return poses;
}

class BatchMemory : public ScoringMemory {
 protected:
  // What one call asks for, with room for the results.
  template <typename Points>
  std::int64_t askedFor(const Points& points, int count) {
    const std::vector<Brin::Pose2D> poses = posesOf(count);
    std::vector<float> scores(poses.size());
    std::vector<int> counts(poses.size());
    const std::int64_t asked = allocationsOf(
        [&] { Brin::scanScores(distances_, points, poses, 0.05f, 0.5f, scores, &counts, 1); });
    EXPECT_EQ(scores.size(), poses.size());
    return asked;
  }
};

TEST_F(BatchMemory, fewPosesOfPointsAskForNone) { EXPECT_EQ(askedFor(world_.points, 3), 0); }

TEST_F(BatchMemory, manyPosesOfPointsAskForATableOnce) {
  // Enough of them for a table of the whole map.
  const std::int64_t asked = askedFor(world_.points, 20000);
  EXPECT_GT(asked, 0);
  EXPECT_EQ(askedFor(world_.points, 40000), asked);
}

TEST_F(BatchMemory, posesOfAScanAskForItsDirectionsOnce) {
  const std::int64_t asked = askedFor(world_.scan, 2);
  EXPECT_EQ(askedFor(world_.scan, 500), asked);
}

}  // namespace
