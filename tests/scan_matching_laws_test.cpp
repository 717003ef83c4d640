// On any input the scorers give the literal model's score, count and debug image, bit for bit.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/core/image.hpp"
#include "korrin/scan_matching.hpp"
#include "models/scan_matching_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanDistMap;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameImage;
using korrin_test::uniformByteImage;

// Everything but the points: a map, a scale and a place.
struct Setting {
  ImagePtr map;
  float resolution = 1.0f;
  float maxDist = 1.0f;
  Pose2D pose;
  int step = 1;

  float reach() const { return (static_cast<float>(map->height) / 2.0f + 2.0f) * resolution; }
};

Setting randomSetting(RandomInputs& random) {
  // Distances at and around the cut-offs, so that ties are common.
  const std::vector<float> distances{0.0f, 0.955f, 1.0f, 1.5f, 2.0f, 2.0f, 4.0f, 8.0f};
  Setting setting;
  const int side = random.between(0, 24);
  setting.map = korrin_test::uniformFloatImage(side + random.pick<int>({0, 0, 3}), side, 0.0f);
  for (int i = 0; i < setting.map->imageSize / 4; ++i) {
    reinterpret_cast<float*>(setting.map->imageData)[i] =
        random.chance(0.02) ? random.wildFloat() : random.pick(distances);
  }
  setting.resolution = random.pick<float>({1.0f, 0.5f, 0.05f, 0.1f, 0.3f});
  setting.maxDist = random.pick<float>({1.0f, 2.0f, 0.955f, 4.0f, 0.0f, 1e6f}) * setting.resolution;
  if (random.chance(0.03)) setting.resolution = random.wildFloat();
  if (random.chance(0.03)) setting.maxDist = random.wildFloat();
  const float far = setting.reach() / 2.0f;
  if (random.chance(0.8) && std::isfinite(far)) {
    setting.pose = {random.between(-far, far), random.between(-far, far),
                    random.pick<float>({0.0f, 1.57079633f, random.between(-7.0f, 7.0f)})};
  }
  if (random.chance(0.03)) setting.pose = random.wildPose();
  setting.step = random.pick<int>({1, 1, 2, 3, 7, std::numeric_limits<int>::max()});
  return setting;
}

// Metres on or around the map, often just where one pixel ends and the next begins.
float coordinate(RandomInputs& random, const Setting& setting) {
  if (random.chance(0.02)) return random.wildFloat();
  const int half = setting.map->height / 2 + 2;
  const float pixels = static_cast<float>(random.between(-half, half));
  if (random.chance(0.2)) return (pixels + 0.5f) * setting.resolution;
  if (random.chance(0.1)) return std::nextafter((pixels + 0.5f) * setting.resolution, 0.0f);
  return (pixels + random.between(-0.5f, 0.5f)) * setting.resolution;
}

std::vector<Point2D> randomPoints(RandomInputs& random, const Setting& setting) {
  std::vector<Point2D> points(static_cast<std::size_t>(random.between(0, 40)));
  for (Point2D& p : points) p = {coordinate(random, setting), coordinate(random, setting)};
  return points;
}

Scan randomScan(RandomInputs& random, const Setting& setting) {
  Scan scan;
  scan.readings = random.readings(40, setting.reach(), 0.02);
  for (RangeReading& reading : scan.readings) {
    if (random.chance(0.2)) reading.angle = -setting.pose.theta;
    if (random.chance(0.3)) reading.range = coordinate(random, setting);
  }
  return scan;
}

struct Outcome {
  float score = 0.0f;
  int count = -77;
  ImagePtr debug;

  void expectSame(const Outcome& other) const {
    EXPECT_TRUE(sameBits(score, other.score)) << score << " and " << other.score;
    EXPECT_EQ(count, other.count);
    EXPECT_TRUE(sameImage(debug.get(), other.debug.get()));
  }
};

// The library's and the model's outcome, `items` being points or a scan.
template <typename Items>
Outcome compare(const Setting& s, const Items& items) {
  Outcome library;
  library.debug = uniformByteImage(s.map->width, s.map->height, 255);
  IplImage* slot = library.debug.get();
  library.score = Brin::scanScore(s.map.get(), items, s.pose, s.resolution, s.maxDist,
                                  &library.count, &slot, s.step);
  Outcome model;
  model.debug = uniformByteImage(s.map->width, s.map->height, 255);
  model.score = korrin_model::scanScore(s.map.get(), items, s.pose, s.resolution, s.maxDist,
                                        &model.count, model.debug.get(), s.step);
  library.expectSame(model);
  Outcome plain;
  plain.score = Brin::scanScore(s.map.get(), items, s.pose, s.resolution, s.maxDist, &plain.count,
                                nullptr, s.step);
  EXPECT_TRUE(sameBits(plain.score, library.score)) << "a debug image changes nothing";
  EXPECT_EQ(plain.count, library.count);
  return library;
}

TEST(ScanMatchingLaws, pointScoresAreTheModels) {
  RandomInputs random(71);
  int matching = 0;
  int halfway = 0;
  int without = 0;
  for (int i = 0; i < 30000 && !HasFailure(); ++i) {
    const Setting setting = randomSetting(random);
    const std::vector<Point2D> points = randomPoints(random, setting);
    const Outcome outcome = compare(setting, points);
    matching += outcome.count > 0 ? 1 : 0;
    halfway += outcome.score > 0.0f && outcome.score < 1.0f ? 1 : 0;
    without += outcome.count == -77 ? 1 : 0;
  }
  EXPECT_GT(matching, 15000);
  EXPECT_GT(halfway, 10000);
  EXPECT_GT(without, 300);
}

TEST(ScanMatchingLaws, scanScoresAreTheModels) {
  RandomInputs random(72);
  int matching = 0;
  int halfway = 0;
  int without = 0;
  for (int i = 0; i < 30000 && !HasFailure(); ++i) {
    const Setting setting = randomSetting(random);
    const Outcome outcome = compare(setting, randomScan(random, setting));
    matching += outcome.count > 0 ? 1 : 0;
    halfway += outcome.score > 0.0f && outcome.score < 1.0f ? 1 : 0;
    without += outcome.count == -77 ? 1 : 0;
  }
  EXPECT_GT(matching, 12000);
  EXPECT_GT(halfway, 10000);
  EXPECT_GT(without, 300);
}

TEST(ScanMatchingLaws, pixelScoresAreTheModels) {
  RandomInputs random(73);
  int matching = 0;
  int halfway = 0;
  for (int i = 0; i < 30000 && !HasFailure(); ++i) {
    const Setting setting = randomSetting(random);
    std::vector<Point2D> points = randomPoints(random, setting);
    for (Point2D& p : points) p = {p.x / setting.resolution, p.y / setting.resolution};
    ScanDistMap matcher;
    matcher.distanceMap = setting.map.get();
    matcher.resolution = setting.resolution;
    matcher.step = setting.step;
    Outcome library;
    library.score = matcher.scorePxlScan(points, setting.pose, setting.maxDist, &library.count);
    Outcome model;
    model.score =
        korrin_model::scorePxlScan(setting.map.get(), points, setting.pose, setting.resolution,
                                   setting.maxDist, &model.count, setting.step);
    library.expectSame(model);
    matching += library.count > 0 ? 1 : 0;
    halfway += library.score > 0.0f && library.score < 1.0f ? 1 : 0;
  }
  EXPECT_GT(matching, 13000);
  EXPECT_GT(halfway, 10000);
}

TEST(ScanMatchingLaws, aScanScoresOneOnItsOwnDistanceMap) {
  RandomInputs random(74);
  int scored = 0;
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    Scan scan;
    scan.readings = random.readings(60, random.pick<float>({0.5f, 3.0f, 20.0f}), 0.0);
    for (RangeReading& reading : scan.readings) reading.status = random.chance(0.2) ? 1 : 0;
    const Pose2D turned(0.0f, 0.0f, random.between(-4.0f, 4.0f));
    ScanDistMap reference;
    reference.build(scan, {random.between(-9.0f, 9.0f), 3.0f, turned.theta},
                    random.pick<float>({0.05f, 0.1f, 0.3f}));
    int count = -1;
    // A perfect fit is 1 but for the rounding of a sum of many cut-offs.
    const float score = reference.score(scan, turned, 0.25f, &count);
    if (count > 0) {
      int hits = 0;
      for (const RangeReading& reading : scan.readings) hits += reading.status == 0 ? 1 : 0;
      EXPECT_EQ(count, hits);
      EXPECT_NEAR(score, 1.0f, 1e-5f);
      ++scored;
    }
    cvReleaseImage(&reference.distanceMap);
    cvReleaseImage(&reference.laserImage);
  }
  EXPECT_GT(scored, 1400);
}

}  // namespace
