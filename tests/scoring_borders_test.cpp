// Points and readings whose offset in pixels is exactly a whole or a half number, or the next float
// to either side, at every place of a block and for every lane of poses: the scores and counts are
// the model's all the same.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/batch_scoring.hpp"
#include "korrin/scan_matching.hpp"
#include "models/batch_scoring_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using korrin_test::besideBorder;
using korrin_test::firstPast;
using korrin_test::hasBorder;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

// A square in which every pixel has another distance, so that no two are mistaken for each other;
// some are exactly at the cut-off.
ImagePtr squareOf(RandomInputs& random, int side, float cutOff) {
  ImagePtr map = korrin_test::uniformFloatImage(side, side, 0.0f);
  for (int i = 0; i < side * side; ++i) {
    float distance = static_cast<float>(i) * 0.01f;
    if (random.chance(0.2)) distance = besideBorder(random, cutOff);
    reinterpret_cast<float*>(map->imageData)[i] = distance;
  }
  return map;
}

struct Setting {
  int side = 1;
  float resolution = 1.0f;
  float maxDist = 1.0f;
  ImagePtr map;

  float inv() const { return 1.0f / resolution; }
};

Setting someSetting(RandomInputs& random) {
  Setting setting;
  setting.side = random.between(1, 9);
  setting.resolution = random.pick<float>({1.0f, 1.0f, 0.5f, 0.25f, 0.05f, 0.3f});
  setting.maxDist = random.pick<float>({0.2f, 0.5f, 1.0f}) * setting.resolution;
  setting.map = squareOf(random, setting.side, setting.maxDist * setting.inv());
  return setting;
}

// A border that offsets can have: those of pixels, inside the image, at its edges and just outside,
// and what lies halfway between.
double someBorder(RandomInputs& random, int side) {
  return 0.5 * random.between(-side - 2, side + 2);
}

// How often a value was exactly on its border, by the place of what it belongs to.
struct OnBorder {
  std::array<int, 8> at{};

  void count(std::size_t place, bool isOn) { at[place % at.size()] += isOn ? 1 : 0; }
  int fewest() const { return *std::min_element(at.begin(), at.end()); }
};

struct Pixels {
  float x;
  float y;
};

// What the scorers of points compute before they cut.
Pixels offsetsOf(const Point2D& p, const Pose2D& pose, float inv) {
  const float sine = std::sin(pose.theta);
  const float cosine = std::cos(pose.theta);
  return {(p.x * cosine - p.y * sine + pose.x) * inv + 0.5f,
          (p.x * sine + p.y * cosine + pose.y) * inv + 0.5f};
}

// A point somewhere on the image that lies, seen from `pose`, at a border in one of the axes.
Point2D pointAtBorder(RandomInputs& random, const Setting& setting, const Pose2D& pose,
                      bool& isOn) {
  const float reach = 2.0f * static_cast<float>(setting.side + 2) * setting.resolution;
  const auto border = static_cast<float>(someBorder(random, setting.side));
  const bool alongX = random.chance(0.5);
  Point2D p(random.between(-0.4f, 0.4f) * reach / 2, random.between(-0.4f, 0.4f) * reach / 2);
  float& moving = alongX ? p.x : p.y;
  const auto offset = [&](float v) {
    moving = v;
    const Pixels pixels = offsetsOf(p, pose, setting.inv());
    return alongX ? pixels.x : pixels.y;
  };
  const auto isPast = [&](float v) { return offset(v) >= border; };
  if (hasBorder(-reach, reach, isPast)) moving = firstPast(-reach, reach, isPast);
  moving = besideBorder(random, moving);
  isOn = offset(moving) == border;
  return p;
}

struct Points {
  std::vector<Pose2D> poses;
  std::vector<Point2D> points;
};

// Each point at a border seen from one of the poses.
Points somePoints(RandomInputs& random, const Setting& setting, OnBorder& byPoint,
                  OnBorder& byPose) {
  Points input;
  const bool oneHeading = random.chance(0.5);
  const float heading = random.pick<float>({0.0f, 0.0f, 0.3f, -1.0f});
  const float room = 0.3f * static_cast<float>(setting.side) * setting.resolution;
  for (int i = random.between(1, 19); i > 0; --i) {
    input.poses.emplace_back(random.between(-room, room), random.between(-room, room), heading);
    if (random.chance(0.3)) input.poses.back().x = input.poses.back().y = 0.0f;
    if (!oneHeading) input.poses.back().theta = random.pick<float>({0.0f, 0.2f, -0.7f});
  }
  for (int i = random.between(1, 70); i > 0; --i) {
    const std::size_t seenFrom = random.bits() % input.poses.size();
    bool isOn = false;
    input.points.push_back(pointAtBorder(random, setting, input.poses[seenFrom], isOn));
    byPoint.count(input.points.size() - 1, isOn);
    byPose.count(seenFrom, isOn);
  }
  return input;
}

::testing::AssertionResult sameScores(const Setting& setting, const Points& input, int step) {
  const IplImage* map = setting.map.get();
  std::vector<float> scores;
  std::vector<int> counts;
  Brin::scanScores(map, input.points, input.poses, setting.resolution, setting.maxDist, scores,
                   &counts, step);
  for (std::size_t i = 0; i < input.poses.size(); ++i) {
    int expectedCount = 0;
    int count = 0;
    const float expected =
        korrin_model::scanScore(map, input.points, input.poses[i], setting.resolution,
                                setting.maxDist, &expectedCount, nullptr, step);
    const float score = Brin::scanScore(map, input.points, input.poses[i], setting.resolution,
                                        setting.maxDist, &count, nullptr, step);
    if (!sameBits(score, expected) || count != expectedCount) {
      return ::testing::AssertionFailure() << "scanScore at pose " << i;
    }
    if (!sameBits(scores[i], expected) || counts[i] != expectedCount) {
      return ::testing::AssertionFailure() << "scanScores at pose " << i;
    }
  }
  return ::testing::AssertionSuccess();
}

TEST(ScoringBorders, pointsAtTheBordersOfPixelsInEveryLane) {
  RandomInputs random(71);
  OnBorder byPoint;
  OnBorder byPose;
  for (int i = 0; i < 6000; ++i) {
    const Setting setting = someSetting(random);
    const Points input = somePoints(random, setting, byPoint, byPose);
    ASSERT_TRUE(sameScores(setting, input, random.pick<int>({1, 1, 1, 3}))) << "case " << i;
  }
  EXPECT_GT(byPoint.fewest(), 5000);
  EXPECT_GT(byPose.fewest(), 3000);
}

// Points in pixels already: the offset is p.x * cos - p.y * sin + x / resolution + 0.5.
TEST(ScoringBorders, pointsInPixelsAtTheirBorders) {
  RandomInputs random(72);
  OnBorder onBorder;
  for (int i = 0; i < 20000; ++i) {
    const Setting setting = someSetting(random);
    const Pose2D pose(setting.resolution * static_cast<float>(random.between(-2, 2)), 0.0f, 0.0f);
    std::vector<Point2D> points;
    for (int k = random.between(1, 40); k > 0; --k) {
      const auto border = static_cast<float>(someBorder(random, setting.side));
      const float x = besideBorder(random, border - 0.5f - pose.x * setting.inv());
      points.emplace_back(x, random.between(-1.0f, 1.0f));
      if (random.chance(0.5)) std::swap(points.back().x, points.back().y);
      onBorder.count(points.size() - 1, x + pose.x * setting.inv() + 0.5f == border);
    }
    int count = 0;
    int expectedCount = 0;
    Brin::ScanDistMap reference;
    reference.distanceMap = setting.map.get();
    reference.resolution = setting.resolution;
    const float score = reference.scorePxlScan(points, pose, setting.maxDist, &count);
    const float expected = korrin_model::scorePxlScan(
        setting.map.get(), points, pose, setting.resolution, setting.maxDist, &expectedCount, 1);
    ASSERT_TRUE(sameBits(score, expected)) << "case " << i;
    ASSERT_EQ(count, expectedCount) << "case " << i;
  }
  EXPECT_GT(onBorder.fewest(), 5000);
}

// In double precision, as readings are placed.
double columnOf(const RangeReading& reading, const Pose2D& pose, float inv) {
  const double a = reading.angle + pose.theta;
  return (std::cos(a) * reading.range + pose.x) * inv + 0.5;
}

// A reading straight ahead or at any other angle whose column, seen from `pose`, is at a border.
RangeReading readingAtBorder(RandomInputs& random, const Setting& setting, const Pose2D& pose,
                             bool& isOn) {
  RangeReading reading(0.0f, random.chance(0.4) ? -pose.theta : random.between(-3.1f, 3.1f));
  const double border = someBorder(random, setting.side);
  const float reach = 4.0f * static_cast<float>(setting.side + 2) * setting.resolution;
  const bool growing = std::cos(reading.angle + pose.theta) > 0.0f;
  const auto isPast = [&](float range) {
    reading.range = range;
    const double column = columnOf(reading, pose, setting.inv());
    return growing ? column >= border : column <= border;
  };
  const float found = hasBorder(-reach, reach, isPast) ? firstPast(-reach, reach, isPast) : 0.0f;
  reading.range = besideBorder(random, found);
  isOn = columnOf(reading, pose, setting.inv()) == border;
  return reading;
}

TEST(ScoringBorders, readingsAtTheBordersOfPixelsInEveryLane) {
  RandomInputs random(73);
  OnBorder onBorder;
  for (int i = 0; i < 6000; ++i) {
    const Setting setting = someSetting(random);
    std::vector<Pose2D> poses;
    for (int k = random.between(1, 4); k > 0; --k) {
      const float away = setting.resolution * static_cast<float>(random.between(-2, 2));
      poses.emplace_back(away, away, random.pick<float>({0.0f, 0.5f, -2.0f, 9.0f}));
    }
    Scan scan;
    for (int k = random.between(1, 70); k > 0; --k) {
      bool isOn = false;
      scan.readings.push_back(readingAtBorder(random, setting, random.pick(poses), isOn));
      onBorder.count(scan.readings.size() - 1, isOn);
      if (random.chance(0.1)) scan.readings.back().status = 1;
    }
    std::vector<float> scores;
    std::vector<int> counts;
    Brin::scanScores(setting.map.get(), scan, poses, setting.resolution, setting.maxDist, scores,
                     &counts, 1);
    std::vector<float> expected;
    std::vector<int> expectedCounts;
    korrin_model::scanScores(setting.map.get(), scan, poses, setting.resolution, setting.maxDist,
                             expected, expectedCounts, 1);
    ASSERT_TRUE(sameBits(scores, expected)) << "case " << i;
    ASSERT_EQ(counts, expectedCounts) << "case " << i;
    for (std::size_t k = 0; k < poses.size(); ++k) {
      int count = 0;
      ASSERT_TRUE(sameBits(Brin::scanScore(setting.map.get(), scan, poses[k], setting.resolution,
                                           setting.maxDist, &count, nullptr, 1),
                           expected[k]));
      ASSERT_EQ(count, expectedCounts[k]) << "case " << i;
    }
  }
  EXPECT_GT(onBorder.fewest(), 1000);
}

// The debug picture shows the matches, each in its own pixel, at borders too.
TEST(ScoringBorders, theDebugPictureAtTheBorders) {
  RandomInputs random(74);
  OnBorder byPoint;
  OnBorder byPose;
  for (int i = 0; i < 2000; ++i) {
    const Setting setting = someSetting(random);
    const Points input = somePoints(random, setting, byPoint, byPose);
    const ImagePtr expected = korrin_test::uniformByteImage(setting.side, setting.side, 255);
    IplImage* debug = nullptr;
    korrin_model::scanScore(setting.map.get(), input.points, input.poses[0], setting.resolution,
                            setting.maxDist, nullptr, expected.get(), 1);
    Brin::scanScore(setting.map.get(), input.points, input.poses[0], setting.resolution,
                    setting.maxDist, nullptr, &debug, 1);
    const ImagePtr drawn(debug);
    ASSERT_TRUE(korrin_test::sameImage(drawn.get(), expected.get())) << "case " << i;
  }
  EXPECT_GT(byPoint.fewest(), 1000);
}

}  // namespace
