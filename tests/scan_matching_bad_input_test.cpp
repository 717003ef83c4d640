// Input that callers must not pass: nothing is read or written outside an image, and what cannot be
// done is refused before anything is written.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <limits>
#include <vector>

#include "korrin/scan_matching.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::buildLaserDistance;
using Brin::ImagePtr;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanDistMap;
using Brin::scanScore;
using korrin_test::LogCapture;
using korrin_test::sameImage;
using korrin_test::uniformByteImage;
using korrin_test::uniformFloatImage;
using Points = std::vector<Point2D>;

constexpr Pose2D kHere(0.0f, 0.0f, 0.0f);
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
const std::vector<float> kWild{kNan, kInf, -kInf, 1e30f, -1e30f, 2147483648.0f, -2147483648.0f};

Scan scanOf(RangeReading reading) {
  Scan scan;
  scan.readings = {reading};
  return scan;
}

// All three scorers at once, as most rules hold for each of them.
struct Scores {
  float points = -1.0f;
  float scan = -1.0f;
  float pixels = -1.0f;
  int counts[3] = {-1, -1, -1};

  bool allAre(float score, int count) const {
    return points == score && scan == score && pixels == score && counts[0] == count &&
           counts[1] == count && counts[2] == count;
  }
};

struct Question {
  Points points{{0.0f, 0.0f}};
  Scan reading = scanOf({0.0f, 0.0f});
  Pose2D pose = kHere;
  float resolution = 1.0f;
  float maxDist = 2.0f;
  int step = 1;
};

Scores scoresOn(IplImage* map, const Question& ask) {
  Scores scores;
  scores.points = scanScore(map, ask.points, ask.pose, ask.resolution, ask.maxDist,
                            &scores.counts[0], nullptr, ask.step);
  scores.scan = scanScore(map, ask.reading, ask.pose, ask.resolution, ask.maxDist,
                          &scores.counts[1], nullptr, ask.step);
  ScanDistMap matcher;
  matcher.distanceMap = map;
  matcher.resolution = ask.resolution;
  matcher.step = ask.step;
  scores.pixels = matcher.scorePxlScan(ask.points, ask.pose, ask.maxDist, &scores.counts[2]);
  return scores;
}

void expectRefused(IplImage* map) {
  Question ask;
  EXPECT_THROW(scanScore(map, ask.points, kHere, 1.0f, 2.0f, nullptr, nullptr, 1), cv::Exception);
  EXPECT_THROW(scanScore(map, ask.reading, kHere, 1.0f, 2.0f, nullptr, nullptr, 1), cv::Exception);
  ScanDistMap matcher;
  matcher.distanceMap = map;
  EXPECT_THROW(matcher.score(ask.points, kHere, 2.0f, nullptr), cv::Exception);
  EXPECT_THROW(matcher.score(ask.reading, kHere, 2.0f, nullptr), cv::Exception);
  EXPECT_THROW(matcher.scorePxlScan(ask.points, kHere, 2.0f, nullptr), cv::Exception);
}

TEST(BadDistanceMap, noneAtAllIsRefusedAsIsScoringBeforeBuild) { expectRefused(nullptr); }

TEST(BadDistanceMap, anotherKindIsRefused) {
  expectRefused(uniformByteImage(4, 4, 0).get());
  const ImagePtr twoChannels = Brin::makeImage(cvSize(4, 4), IPL_DEPTH_32F, 2);
  expectRefused(twoChannels.get());
  const ImagePtr integers = Brin::makeImage(cvSize(4, 4), static_cast<int>(IPL_DEPTH_32S), 1);
  expectRefused(integers.get());
}

TEST(BadDistanceMap, narrowerThanHighIsRefusedSinceItsSquareWouldEndOutside) {
  expectRefused(uniformFloatImage(3, 4, 0.0f).get());
}

TEST(BadDistanceMap, onlyOneOfNoPixelsHoldsNoPoint) {
  EXPECT_TRUE(scoresOn(uniformFloatImage(0, 0, 0.0f).get(), {}).allAre(0.0f, 0));
}

TEST(BadStep, belowOneScoresZeroWritesNothingAndSaysSo) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  for (const int step : {0, -1, std::numeric_limits<int>::min()}) {
    LogCapture log;
    Question ask;
    ask.step = step;
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, -1));
    const std::vector<Brin::LogRecord> records = log.records();
    ASSERT_EQ(records.size(), 3U);
    for (const Brin::LogRecord& record : records) {
      EXPECT_EQ(record.level, Brin::NavLogLevel::Warning);
      EXPECT_NE(record.message.find("step"), std::string::npos);
      EXPECT_EQ(record.file, "src/scan_matching");
    }
    EXPECT_EQ(records[0].function, "scanScore");
    EXPECT_EQ(records[2].function, "scorePxlScan");
  }
}

TEST(BadStep, belowOneMakesNoDebugImageAndLeavesOneAlone) {
  LogCapture log;
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  IplImage* none = nullptr;
  scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, nullptr, &none, 0);
  EXPECT_EQ(none, nullptr);
  const ImagePtr debug = uniformByteImage(4, 4, 7);
  IplImage* slot = debug.get();
  scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, nullptr, &slot, 0);
  EXPECT_TRUE(sameImage(slot, uniformByteImage(4, 4, 7).get()));
}

TEST(BadStep, theLargestStrideVisitsTheFirstPointAlone) {
  Question ask;
  ask.step = std::numeric_limits<int>::max();
  ask.points.resize(9, Point2D(77, 77));
  ask.reading.readings.resize(9, RangeReading(77, 0));
  EXPECT_TRUE(scoresOn(uniformFloatImage(4, 4, 0.0f).get(), ask).allAre(1.0f, ask.step));
}

TEST(BadDebugImage, anotherSizeOrKindIsRefusedBeforeAnyByteIsWritten) {
  const ImagePtr map = uniformFloatImage(8, 8, 0.0f);
  const ImagePtr images[] = {uniformByteImage(8, 7, 7), uniformByteImage(7, 8, 7),
                             uniformByteImage(12, 12, 7), uniformByteImage(4, 4, 7)};
  for (const ImagePtr& image : images) {
    const ImagePtr before(cvCloneImage(image.get()));
    IplImage* slot = image.get();
    int count = 77;
    EXPECT_THROW(scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, &count, &slot, 1),
                 cv::Exception);
    EXPECT_THROW(scanScore(map.get(), scanOf({0, 0}), kHere, 1.0f, 2.0f, &count, &slot, 1),
                 cv::Exception);
    EXPECT_TRUE(sameImage(slot, before.get()));
    EXPECT_EQ(count, 77);
  }
  const ImagePtr floats = uniformFloatImage(8, 8, 7.0f);
  IplImage* slot = floats.get();
  EXPECT_THROW(scanScore(map.get(), Points{{0, 0}}, kHere, 1.0f, 2.0f, nullptr, &slot, 1),
               cv::Exception);
  EXPECT_TRUE(sameImage(slot, uniformFloatImage(8, 8, 7.0f).get()));
}

TEST(WildNumbers, aPointPoseOrReadingThatIsNowhereIsOffTheMap) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  for (const float wild : kWild) {
    Question ask;
    ask.points = {{wild, 0.0f}};
    ask.reading = scanOf({wild, 0.3f});
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 0)) << wild;
    ask.points = {{0.0f, wild}};
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 0)) << wild;
    Question moved;
    moved.pose.x = wild;
    EXPECT_TRUE(scoresOn(map.get(), moved).allAre(0.0f, 0)) << wild;
    moved.pose = kHere;
    moved.pose.y = wild;
    EXPECT_TRUE(scoresOn(map.get(), moved).allAre(0.0f, 0)) << wild;
  }
}

TEST(WildNumbers, aHeadingOrBearingThatIsNoAngleIsOffTheMap) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  for (const float wild : {kNan, kInf, -kInf}) {
    Question ask;
    ask.reading = scanOf({1.0f, 0.0f});
    ask.pose.theta = wild;
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 0));
    int count = -1;
    scanScore(map.get(), scanOf({1.0f, wild}), kHere, 1.0f, 2.0f, &count, nullptr, 1);
    EXPECT_EQ(count, 0);
  }
}

TEST(WildNumbers, aHugeHeadingIsAnAngleLikeAnyOther) {
  const ImagePtr map = uniformFloatImage(9, 9, 0.0f);
  Question ask;
  ask.points = {{1.0f, 1.0f}};
  ask.reading = scanOf({1.0f, 1.0f});
  ask.pose.theta = 1e30f;
  EXPECT_TRUE(scoresOn(map.get(), ask).allAre(1.0f, 1));
}

TEST(WildNumbers, aCutOffThatIsNoDistanceScoresZero) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  Question ask;
  for (const float cutOff : {kNan, -kInf, -1.0f}) {
    ask.maxDist = cutOff;
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 0)) << cutOff;
  }
  // Everything matches within an infinite distance, but infinity by infinity is no number.
  ask.maxDist = kInf;
  EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 1));
}

TEST(WildNumbers, aResolutionThatIsNoneScoresZero) {
  const ImagePtr map = uniformFloatImage(4, 4, 0.0f);
  Question ask;
  for (const float resolution : {0.0f, -0.0f, kNan}) {
    ask.resolution = resolution;
    EXPECT_TRUE(scoresOn(map.get(), ask).allAre(0.0f, 0)) << resolution;
  }
  // A pixel without end holds every point, and its cut-off is 0.
  ask.resolution = kInf;
  const Scores scores = scoresOn(map.get(), ask);
  EXPECT_EQ(scores.points, 0.0f);
  EXPECT_EQ(scores.counts[0], 1);
  EXPECT_EQ(scores.counts[2], 0);
}

TEST(WildNumbers, aDistanceThatIsNoNumberIsNoMatch) {
  EXPECT_TRUE(scoresOn(uniformFloatImage(4, 4, kNan).get(), {}).allAre(0.0f, 0));
  EXPECT_TRUE(scoresOn(uniformFloatImage(4, 4, kInf).get(), {}).allAre(0.0f, 0));
}

TEST(BadBuild, missingSlotsAreRefused) {
  IplImage* image = nullptr;
  EXPECT_THROW(buildLaserDistance(Scan{}, kHere, nullptr, &image, 1.0f), cv::Exception);
  EXPECT_THROW(buildLaserDistance(Scan{}, kHere, &image, nullptr, 1.0f), cv::Exception);
  EXPECT_EQ(image, nullptr);
}

TEST(BadBuild, imagesOfAnotherKindAreRefused) {
  const ImagePtr floats = uniformFloatImage(4, 4, 1.0f);
  const ImagePtr bytes = uniformByteImage(4, 4, 255);
  IplImage* laser = floats.get();
  IplImage* distance = floats.get();
  EXPECT_THROW(buildLaserDistance(Scan{}, kHere, &laser, &distance, 1.0f), cv::Exception);
  const ImagePtr target = uniformByteImage(4, 4, 9);
  laser = bytes.get();
  distance = target.get();
  EXPECT_THROW(buildLaserDistance(Scan{}, kHere, &laser, &distance, 1.0f), cv::Exception);
  EXPECT_TRUE(sameImage(target.get(), uniformByteImage(4, 4, 9).get()));
}

TEST(BadBuild, aScanWithoutHitsOrWithoutReadingsStillMakesImages) {
  for (const Scan& scan : {Scan{}, scanOf({kNan, kNan}), scanOf({kInf, 0.0f})}) {
    for (const float resolution : {1.0f, 0.0f, kNan, -1.0f, 1e-30f}) {
      ScanDistMap matcher;
      matcher.build(scan, {kNan, kNan, kNan}, resolution);
      EXPECT_NE(matcher.laserImage, nullptr);
      EXPECT_NE(matcher.distanceMap, nullptr);
      matcher.score(scan, kHere, 1.0f, nullptr);
      cvReleaseImage(&matcher.laserImage);
      cvReleaseImage(&matcher.distanceMap);
    }
  }
}

TEST(BadBuild, aPictureWithoutPixelsIsRefusedOrEmptyButNeverACrash) {
  const ImagePtr empty = uniformByteImage(0, 0, 0);
  IplImage* laser = empty.get();
  IplImage* distance = nullptr;
  try {
    buildLaserDistance(Scan{}, kHere, &laser, &distance, 1.0f);
  } catch (const cv::Exception&) {
  }
  const ImagePtr owned(distance);
  ASSERT_NE(distance, nullptr);
  EXPECT_EQ(distance->width, 0);
}

}  // namespace
