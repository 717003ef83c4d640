// Many poses in one call: the scores and counts of one scanScore each.
#include "korrin/batch_scoring.hpp"

#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/scan_matching.hpp"
#include "models/batch_scoring_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/random_inputs.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::scanScores;
using korrin_test::LogCapture;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::uniformFloatImage;
using Poses = std::vector<Pose2D>;

struct Batch {
  ImagePtr map;
  float resolution = 1.0f;
  float maxDist = 1.0f;
  int step = 1;
  std::vector<Point2D> points;
  Scan scan;
  Poses poses;
};

ImagePtr randomMap(RandomInputs& random) {
  const int side = random.between(0, 12);
  ImagePtr map = uniformFloatImage(side + random.pick<int>({0, 0, 2}), side, 0.0f);
  for (int i = 0; i < map->imageSize / 4; ++i) {
    reinterpret_cast<float*>(map->imageData)[i] =
        random.chance(0.01) ? random.wildFloat()
                            : random.pick<float>({0.0f, 0.955f, 1.0f, 2.0f, 4.0f});
  }
  return map;
}

// Searches as callers make them (a few headings, many places), and lists of any poses.
Poses randomPoses(RandomInputs& random, float reach) {
  Poses poses(static_cast<std::size_t>(random.between(0, 60)));
  const bool headingLast = random.chance(0.5);
  float heading = 0.0f;
  for (Pose2D& pose : poses) {
    if (!headingLast || random.chance(0.1)) heading = random.between(-4.0f, 4.0f);
    pose = {random.between(-reach, reach), random.between(-reach, reach), heading};
    if (random.chance(0.01)) pose = random.wildPose();
    if (random.chance(0.01)) pose.theta = random.pick<float>({-0.0f, 0.0f, 9.0f, 100.0f});
  }
  return poses;
}

Batch randomBatch(RandomInputs& random) {
  Batch batch;
  batch.map = randomMap(random);
  batch.resolution = random.pick<float>({1.0f, 0.5f, 0.05f});
  batch.maxDist = random.pick<float>({1.0f, 2.0f, 0.955f, 0.0f}) * batch.resolution;
  if (random.chance(0.02)) batch.resolution = random.wildFloat();
  if (random.chance(0.02)) batch.maxDist = random.wildFloat();
  batch.step = random.pick<int>({1, 1, 2, 7});
  const float reach = (static_cast<float>(batch.map->height) / 2.0f + 1.0f) * batch.resolution;
  batch.points.resize(static_cast<std::size_t>(random.between(0, 60)));
  for (Point2D& p : batch.points) {
    p = {random.between(-reach, reach), random.between(-reach, reach)};
    if (random.chance(0.01)) p.x = random.wildFloat();
  }
  batch.scan.readings = random.readings(60, reach, 0.01);
  batch.poses = randomPoses(random, reach / 2.0f);
  return batch;
}

// How many poses had matches; checks that all are as the model has them.
template <typename Items>
int comparePoses(const Batch& b, const Items& items) {
  std::vector<float> scores(3, 77.0f);
  std::vector<int> counts(3, 77);
  scanScores(b.map.get(), items, b.poses, b.resolution, b.maxDist, scores, &counts, b.step);
  std::vector<float> modelScores;
  std::vector<int> modelCounts;
  korrin_model::scanScores(b.map.get(), items, b.poses, b.resolution, b.maxDist, modelScores,
                           modelCounts, b.step);
  EXPECT_TRUE(sameBits(scores, modelScores));
  EXPECT_EQ(counts, modelCounts);
  std::vector<float> withoutCounts;
  scanScores(b.map.get(), items, b.poses, b.resolution, b.maxDist, withoutCounts, nullptr, b.step);
  EXPECT_TRUE(sameBits(scores, withoutCounts));
  int matching = 0;
  for (const int count : counts) matching += count > 0 ? 1 : 0;
  return matching;
}

TEST(ScanScores, ofPointsAreTheModels) {
  RandomInputs random(31);
  int matching = 0;
  int byTable = 0;
  for (int i = 0; i < 8000 && !HasFailure(); ++i) {
    const Batch batch = randomBatch(random);
    matching += comparePoses(batch, batch.points);
    const auto lookUps = batch.points.size() * batch.poses.size();
    byTable += lookUps > static_cast<std::size_t>(16 * batch.map->height * batch.map->height);
  }
  EXPECT_GT(matching, 80000);
  EXPECT_GT(byTable, 1500);
}

TEST(ScanScores, ofAScanAreTheModels) {
  RandomInputs random(32);
  int matching = 0;
  for (int i = 0; i < 8000 && !HasFailure(); ++i) {
    const Batch batch = randomBatch(random);
    matching += comparePoses(batch, batch.scan);
  }
  EXPECT_GT(matching, 80000);
}

TEST(ScanScores, ofALargeSearchAreThoseOfOneCallEach) {
  // A scan of 200 hits on its own map, at 1,000 poses around the truth.
  RandomInputs random(33);
  Scan scan;
  for (int i = 0; i < 200; ++i) {
    scan.readings.emplace_back(random.between(1.0f, 4.0f), -1.5f + 0.015f * static_cast<float>(i));
  }
  Brin::ScanDistMap reference;
  reference.build(scan, {0.0f, 0.0f, 0.0f}, 0.1f);
  const ImagePtr laser(reference.laserImage);
  const ImagePtr map(reference.distanceMap);
  std::vector<Point2D> points;
  for (const RangeReading& reading : scan.readings) points.push_back(reading.toPoint2D());
  Poses poses;
  for (int i = 0; i < 1000; ++i) {
    poses.emplace_back(0.1f * static_cast<float>(i % 10 - 5),
                       0.1f * static_cast<float>(i / 10 % 10),
                       0.02f * static_cast<float>(i / 100 - 5));
  }
  std::vector<float> ofPoints;
  std::vector<int> pointCounts;
  scanScores(map.get(), points, poses, 0.1f, 0.4f, ofPoints, &pointCounts, 1);
  std::vector<float> ofScan;
  std::vector<int> scanCounts;
  scanScores(map.get(), scan, poses, 0.1f, 0.4f, ofScan, &scanCounts, 1);
  ASSERT_EQ(ofPoints.size(), poses.size());
  ASSERT_EQ(ofScan.size(), poses.size());
  for (std::size_t i = 0; i < poses.size(); ++i) {
    int count = -1;
    ASSERT_TRUE(sameBits(ofPoints[i], reference.score(points, poses[i], 0.4f, &count)));
    ASSERT_EQ(pointCounts[i], count);
    ASSERT_TRUE(sameBits(ofScan[i], reference.score(scan, poses[i], 0.4f, &count)));
    ASSERT_EQ(scanCounts[i], count);
  }
  EXPECT_NEAR(ofScan[505], 1.0f, 1e-5f) << "at the pose (0, 0, 0)";
}

TEST(ScanScores, countsAreZeroWhereNothingIsVisited) {
  const ImagePtr map = uniformFloatImage(2, 2, 0.0f);
  std::vector<float> scores;
  std::vector<int> counts(1, 77);
  const Poses poses(3);
  scanScores(map.get(), std::vector<Point2D>{}, poses, 1.0f, 1.0f, scores, &counts, 1);
  EXPECT_EQ(scores, std::vector<float>(3, 0.0f));
  EXPECT_EQ(counts, std::vector<int>(3, 0));
  counts.assign(1, 77);
  Scan noHits;
  noHits.readings.resize(5, RangeReading(0.0f, 0.0f));
  for (RangeReading& reading : noHits.readings) reading.status = 1;
  scanScores(map.get(), noHits, poses, 1.0f, 1.0f, scores, &counts, 1);
  EXPECT_EQ(scores, std::vector<float>(3, 0.0f));
  EXPECT_EQ(counts, std::vector<int>(3, 0));
}

TEST(ScanScores, noPosesHaveNone) {
  const ImagePtr map = uniformFloatImage(2, 2, 0.0f);
  std::vector<float> scores(4, 1.0f);
  std::vector<int> counts(4, 1);
  scanScores(map.get(), std::vector<Point2D>(9), {}, 1.0f, 1.0f, scores, &counts, 1);
  EXPECT_TRUE(scores.empty());
  EXPECT_TRUE(counts.empty());
}

TEST(ScanScores, aStepBelowOneEmptiesBothAndSaysSo) {
  const ImagePtr map = uniformFloatImage(2, 2, 0.0f);
  for (const int step : {0, -3}) {
    LogCapture log;
    std::vector<float> scores(4, 1.0f);
    std::vector<int> counts(4, 1);
    scanScores(map.get(), std::vector<Point2D>(9), Poses(2), 1.0f, 1.0f, scores, &counts, step);
    EXPECT_TRUE(scores.empty());
    EXPECT_TRUE(counts.empty());
    scores.resize(4);
    scanScores(map.get(), Scan{}, Poses(2), 1.0f, 1.0f, scores, nullptr, step);
    EXPECT_TRUE(scores.empty());
    const std::vector<Brin::LogRecord> records = log.records();
    ASSERT_EQ(records.size(), 2U);
    for (const Brin::LogRecord& record : records) {
      EXPECT_EQ(record.level, Brin::NavLogLevel::Warning);
      EXPECT_NE(record.message.find("step"), std::string::npos);
      EXPECT_EQ(record.file, "src/batch_scoring");
      EXPECT_EQ(record.function, "scanScores");
    }
  }
}

TEST(ScanScores, aMapThatIsNoneIsRefusedWithNothingTouched) {
  const ImagePtr bytes = korrin_test::uniformByteImage(4, 4, 0);
  const ImagePtr narrow = uniformFloatImage(3, 4, 0.0f);
  const IplImage* const maps[] = {nullptr, bytes.get(), narrow.get()};
  for (const IplImage* map : maps) {
    std::vector<float> scores(4, 1.0f);
    std::vector<int> counts(4, 1);
    EXPECT_THROW(scanScores(map, std::vector<Point2D>(9), Poses(2), 1.0f, 1.0f, scores, &counts, 1),
                 cv::Exception);
    EXPECT_THROW(scanScores(map, Scan{}, Poses(2), 1.0f, 1.0f, scores, &counts, 1), cv::Exception);
    EXPECT_EQ(scores.size(), 4U);
    EXPECT_EQ(counts.size(), 4U);
  }
}

}  // namespace
