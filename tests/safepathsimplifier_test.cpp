#include "korrin/safepathsimplifier.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"

namespace {

using Brin::findClosestInVect;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::SafePathSimplifier;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::sameBits;
using ::testing::ElementsAre;

using Path = std::vector<Pose2D>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Pose2D at(float x, float y) { return {x, y, 0.0f}; }

std::vector<std::string> messagesOf(const LogCapture& log) {
  std::vector<std::string> messages;
  for (const Brin::LogRecord& record : log.records()) messages.push_back(record.message);
  return messages;
}

// Every 0.1 m a cell, an obstacle in the way from (0, 0.2) to (0.4, 0.2), and the way around it.
OccupancyMap mapWithObstacle() { return drawMap({".....", ".....", "..#.."}, 0.1f); }
const Path kAround = {at(0.0f, 0.2f), at(0.1f, 0.1f), at(0.2f, 0.1f), at(0.3f, 0.1f),
                      at(0.4f, 0.2f)};
const Path kThrough = {at(0.0f, 0.2f), at(0.1f, 0.2f), at(0.2f, 0.2f), at(0.3f, 0.2f),
                       at(0.4f, 0.2f)};

TEST(SafePathSimplifier, startsWithItsDefaults) {
  const SafePathSimplifier simplifier;
  EXPECT_NE(simplifier.pathSimplifier, nullptr);
  EXPECT_EQ(simplifier.initialSamplingAccuracy, 300.0f);
  EXPECT_EQ(simplifier.minSamplingAccuracy, 5.0f);
  EXPECT_EQ(simplifier.accuracyDivisor, 2.0f);
  EXPECT_EQ(simplifier.obstacleThreshold, 0.1f);
}

TEST(SafePathSimplifier, settersAndGettersMeetWithoutAnyCheck) {
  SafePathSimplifier simplifier;
  for (const float value : {0.0f, -3.0f, 1e30f}) {
    simplifier.setInitialSamplingAccuracy(value);
    simplifier.setObstacleThreshold(value + 1.0f);
    EXPECT_EQ(simplifier.initialSamplingAccuracy, value);
    EXPECT_EQ(simplifier.getInitialSamplingAccuracy(), value);
    EXPECT_EQ(simplifier.obstacleThreshold, value + 1.0f);
    EXPECT_EQ(simplifier.getObstacleThreshold(), value + 1.0f);
  }
}

TEST(SafePathSimplifier, cannotBeCopied) {
  EXPECT_FALSE(std::is_copy_constructible<SafePathSimplifier>::value);
  EXPECT_FALSE(std::is_copy_assignable<SafePathSimplifier>::value);
}

TEST(SafePathSimplifier, freePathIsSimplifiedAsFarAsTheAccuracyAllows) {
  const LogCapture log;
  const OccupancyMap map = drawMap({".....", ".....", "....."}, 0.1f);
  EXPECT_TRUE(
      sameBits(SafePathSimplifier().sample(kAround, map), Path{kAround.front(), kAround.back()}));
  EXPECT_THAT(messagesOf(log), ElementsAre("path size before 5", "path size after 2"));
}

TEST(SafePathSimplifier, blockedSegmentIsTakenAgainTwiceAsFinelyUntilItIsFree) {
  const LogCapture log;
  // 300 and 150 mm give the straight way through the obstacle, 75 mm goes around it.
  const Path result = SafePathSimplifier().sample(kAround, mapWithObstacle());
  EXPECT_TRUE(sameBits(result, Path{kAround[0], kAround[1], kAround[4]}));
  EXPECT_THAT(messagesOf(log),
              ElementsAre("path size before 5", "path size after 2", "subPath size 5",
                          "path size before 5", "path size after 2", "subPath size 5",
                          "path size before 5", "path size after 3"));
}

TEST(SafePathSimplifier, stretchBlockedAtTheFinestLevelStaysAsDenseAsItCame) {
  const LogCapture log;
  EXPECT_TRUE(sameBits(SafePathSimplifier().sample(kThrough, mapWithObstacle()), kThrough));
  // 300, 150, 75, 37.5, 18.75 and 9.375 mm each give the straight segment.
  std::vector<std::string> expected;
  for (int level = 0; level < 6; ++level) {
    expected.insert(expected.end(), {"path size before 5", "path size after 2", "subPath size 5"});
  }
  expected.emplace_back("Limit reached !!!!");
  EXPECT_EQ(messagesOf(log), expected);
}

TEST(SafePathSimplifier, recordsNameTheirSourceAndTheirLines) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.accuracyDivisor = 100.0f;
  simplifier.sample(kThrough, mapWithObstacle());
  std::vector<int> lines;
  for (const Brin::LogRecord& record : log.records()) {
    EXPECT_EQ(record.level, Brin::NavLogLevel::Info);
    EXPECT_EQ(record.file, "src/safepathsimplifier");
    EXPECT_EQ(record.function, "xRecursiveSample");
    lines.push_back(record.line);
  }
  EXPECT_THAT(lines, ElementsAre(88, 96, 129, 76));
  EXPECT_THAT(messagesOf(log), ElementsAre("path size before 5", "path size after 2",
                                           "subPath size 5", "Limit reached !!!!"));
}

TEST(SafePathSimplifier, onlyTheBlockedStretchIsRefined) {
  // Two metres along the first row, then down column 20 and around its obstacle.
  OccupancyMap map(23, 5, 0.1f, false);
  map.reset(1.0f);
  map.setCell(20, 2, 0.0f);
  const Path path = {at(0.0f, 0.0f), at(0.5f, 0.0f), at(1.0f, 0.0f), at(1.5f, 0.0f), at(2.0f, 0.0f),
                     at(2.1f, 0.1f), at(2.1f, 0.2f), at(2.1f, 0.3f), at(2.0f, 0.4f)};
  const LogCapture log;
  const Path result = SafePathSimplifier().sample(path, map);
  EXPECT_TRUE(sameBits(result, Path{path[0], path[4], path[5], path[8]}));
  EXPECT_THAT(messagesOf(log),
              ElementsAre("path size before 9", "path size after 3", "subPath size 5",
                          "path size before 5", "path size after 2", "subPath size 5",
                          "path size before 5", "path size after 3"));
}

TEST(SafePathSimplifier, emptyAndOnePosePathsComeBackSilently) {
  const LogCapture log;
  const OccupancyMap map = drawMap({"#"});
  EXPECT_TRUE(SafePathSimplifier().sample({}, map).empty());
  EXPECT_TRUE(sameBits(SafePathSimplifier().sample({at(1.0f, 2.0f)}, map), Path{at(1.0f, 2.0f)}));
  EXPECT_TRUE(log.records().empty());
}

TEST(SafePathSimplifier, accuracyIsCheckedBeforeTheLengthOfThePath) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(4.0f);
  EXPECT_TRUE(simplifier.sample({}, drawMap({"."})).empty());
  EXPECT_THAT(messagesOf(log), ElementsAre("Limit reached !!!!"));
}

TEST(SafePathSimplifier, initialAccuracyBelowTheLimitGivesThePathBack) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(std::nextafter(5.0f, 0.0f));
  EXPECT_TRUE(sameBits(simplifier.sample(kAround, drawMap({"....."}, 0.1f)), kAround));
  EXPECT_THAT(messagesOf(log), ElementsAre("Limit reached !!!!"));
}

TEST(SafePathSimplifier, accuracyAtTheLimitStillSimplifies) {
  SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(5.0f);
  const LogCapture log;
  EXPECT_EQ(simplifier.sample(kThrough, drawMap({".....", ".....", "....."}, 0.1f)).size(), 2u);
  EXPECT_EQ(simplifier.pathSimplifier->samplingAccuracy, 5.0f);
}

TEST(SafePathSimplifier, cellAtTheThresholdIsFreeAndBelowItBlocks) {
  OccupancyMap map = mapWithObstacle();
  SafePathSimplifier simplifier;
  const LogCapture log;
  map.setCell(2, 2, 0.1f);
  EXPECT_EQ(simplifier.sample(kThrough, map).size(), 2u);
  map.setCell(2, 2, std::nextafter(0.1f, 0.0f));
  EXPECT_EQ(simplifier.sample(kThrough, map).size(), 5u);
  simplifier.setObstacleThreshold(0.05f);
  EXPECT_EQ(simplifier.sample(kThrough, map).size(), 2u);
}

TEST(SafePathSimplifier, headingsTravelWithTheirPoses) {
  Path path = kAround;
  for (Pose2D& pose : path) pose.theta = 10.0f * pose.x;
  const LogCapture log;
  EXPECT_TRUE(sameBits(SafePathSimplifier().sample(path, mapWithObstacle()),
                       Path{path[0], path[1], path[4]}));
}

TEST(SafePathSimplifier, segmentsThatStartOrEndOffTheMapAreFree) {
  const LogCapture log;
  const Path leaving = {at(0.4f, 0.0f), at(0.6f, 0.05f), at(0.9f, 0.0f)};
  const Path arriving(leaving.rbegin(), leaving.rend());
  EXPECT_EQ(SafePathSimplifier().sample(leaving, mapWithObstacle()).size(), 2u);
  EXPECT_EQ(SafePathSimplifier().sample(arriving, mapWithObstacle()).size(), 2u);
}

TEST(SafePathSimplifier, recursiveSampleStartsAtTheAccuracyGiven) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(4.0f);
  const Path result = simplifier.xRecursiveSample(kAround, mapWithObstacle(), 75.0f);
  EXPECT_TRUE(sameBits(result, Path{kAround[0], kAround[1], kAround[4]}));
  EXPECT_THAT(messagesOf(log), ElementsAre("path size before 5", "path size after 3"));
}

// Out and back again with a wall in the way of the last leg: a, b, a, c.
TEST(SafePathSimplifier, stretchByNearnessMayBeginAtAnEarlierVisit) {
  const OccupancyMap map = drawMap({"...", "#..", "..."});
  const Path path = {at(0.0f, 0.0f), at(2.0f, 0.0f), at(0.0f, 0.0f), at(0.0f, 2.0f)};
  SafePathSimplifier simplifier;
  simplifier.accuracyDivisor = 100.0f;
  const LogCapture log;
  const Path result = simplifier.sample(path, map);
  EXPECT_TRUE(sameBits(result, Path{path[0], path[1], path[0], path[1], path[2], path[3]}));
  EXPECT_THAT(messagesOf(log), ::testing::Contains("subPath size 4"));
}

TEST(SafePathSimplifier, stretchInTheWrongOrderRunsBetweenTheOwnPlaces) {
  // There and back through a wall: on the way back the end's first visit is before the start.
  const OccupancyMap map = drawMap({".#."});
  const Path path = {at(0.0f, 0.0f), at(2.0f, 0.0f), at(0.0f, 0.0f)};
  SafePathSimplifier simplifier;
  simplifier.accuracyDivisor = 100.0f;
  const LogCapture log;
  EXPECT_TRUE(sameBits(simplifier.sample(path, map), path));
  EXPECT_THAT(messagesOf(log),
              ElementsAre("path size before 3", "path size after 3", "subPath size 2",
                          "Limit reached !!!!", "subPath size 2", "Limit reached !!!!"));
}

TEST(SafePathSimplifier, posesTooCloseForADistanceAreOneStretchPose) {
  // Three cells apart, but the square of 3e-30 metres is 0 in float: the first pose is nearest to
  // both ends of the blocked segment, and its stretch is that pose alone.
  const OccupancyMap map = drawMap({".#.."}, 1e-30f);
  const Path path = {at(0.0f, 0.0f), at(3e-30f, 0.0f)};
  const LogCapture log;
  EXPECT_TRUE(sameBits(SafePathSimplifier().sample(path, map), Path{path[1]}));
  EXPECT_THAT(messagesOf(log),
              ElementsAre("path size before 2", "path size after 2", "subPath size 1"));
}

TEST(SafePathSimplifier, stretchToAPoseThatIsNotANumberRunsToItsOwnPlace) {
  // A pose that is no number lies far off, beyond the upper left corner.
  const OccupancyMap map = drawMap({"#..", "...", "..."});
  const Path path = {at(1.0f, 1.0f), at(kNaN, 1.0f), at(2.0f, 2.0f)};
  SafePathSimplifier simplifier;
  simplifier.accuracyDivisor = 100.0f;
  const LogCapture log;
  EXPECT_TRUE(sameBits(simplifier.sample(path, map), path));
  EXPECT_THAT(messagesOf(log), ElementsAre("path size before 3", "path size after 3",
                                           "subPath size 2", "Limit reached !!!!"));
}

TEST(FindClosestInVect, findsTheNearestPoseWhateverItsHeading) {
  const Path path = {at(0.0f, 0.0f), {3.0f, 4.0f, 2.0f}, at(9.0f, 9.0f)};
  EXPECT_EQ(findClosestInVect(path, at(3.5f, 4.0f), 100.0f), path.begin() + 1);
}

TEST(FindClosestInVect, takesTheEarlierOfTwoEquallyNear) {
  const Path path = {at(7.0f, 0.0f), at(1.0f, 0.0f), at(-1.0f, 0.0f), at(1.0f, 0.0f)};
  EXPECT_EQ(findClosestInVect(path, at(0.0f, 0.0f), 100.0f), path.begin() + 1);
}

TEST(FindClosestInVect, findsNothingAtTheMaximalDistanceOrBeyond) {
  const Path path = {at(3.0f, 4.0f)};
  EXPECT_EQ(findClosestInVect(path, at(0.0f, 0.0f), 5.0f), path.end());
  EXPECT_EQ(findClosestInVect(path, at(0.0f, 0.0f), std::nextafter(5.0f, 9.0f)), path.begin());
  EXPECT_EQ(findClosestInVect(path, at(3.0f, 4.0f), 0.0f), path.end());
  EXPECT_EQ(findClosestInVect(path, at(3.0f, 4.0f), -1.0f), path.end());
}

TEST(FindClosestInVect, findsNothingAmongNothingOrWithoutNumbers) {
  const Path none;
  const Path path = {at(kNaN, 0.0f)};
  EXPECT_EQ(findClosestInVect(none, at(0.0f, 0.0f), 100.0f), none.end());
  EXPECT_EQ(findClosestInVect(path, at(0.0f, 0.0f), 100.0f), path.end());
  EXPECT_EQ(findClosestInVect(kAround, at(kNaN, 0.0f), 100.0f), kAround.end());
  EXPECT_EQ(findClosestInVect(kAround, at(0.0f, 0.0f), kNaN), kAround.end());
}

}  // namespace
