// On which side of a cell the near obstacles are.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "korrin/occupancymap_utils.hpp"
#include "models/occupancymap_utils_direction_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kUntouched = 77.5f;

// What a call gave and what it reported, each record as "level line message".
struct Look {
  bool found = false;
  float direction = kUntouched;
  std::vector<std::string> log;
};

std::string textOf(int level, int line, const std::string& message) {
  return std::to_string(level) + " " + std::to_string(line) + " " + message;
}

Look look(const OccupancyMap& map, const Pose2Di& start, float range, float threshold = 0.4f) {
  const LogCapture log;
  Look result;
  result.found = Brin::findObstaclesMainDirection(map, start, range, result.direction, threshold);
  for (const Brin::LogRecord& record : log.records()) {
    EXPECT_EQ(record.file, "src/occupancymap_utils");
    EXPECT_EQ(record.function, "findObstaclesMainDirection");
    result.log.push_back(textOf(static_cast<int>(record.level), record.line, record.message));
  }
  return result;
}

const std::string kInside = "1 78 Start is inside obstacles.";
const std::string kNoFreeCell = "1 84 Could not find free cell.";
const std::string kNoObstacles = "1 113 No obstacles.";
const std::string kSpread = "0 120 stdDevObstRay ";
const std::string kTooBig = "1 123 var dir too big!";

// A wall along the right side of free space.
OccupancyMap wallOnTheRight() {
  return drawMap({
      ".........#",
      ".........#",
      ".........#",
      ".........#",
      ".........#",
      ".........#",
      ".........#",
  });
}

TEST(FindObstaclesMainDirection, aWallOnTheRightIsInDirectionZero) {
  const Look result = look(wallOnTheRight(), {7, 3, 0.0f}, 3.0f);
  EXPECT_TRUE(result.found);
  EXPECT_NEAR(result.direction, 0.0f, 0.05f);
  EXPECT_THAT(result.log, ElementsAre(StartsWith(kSpread)));
}

TEST(FindObstaclesMainDirection, anglesCountFromTheGridsRowsWhateverTheWorldAndTheHeading) {
  OccupancyMap map = drawMap({"....", "....", "....", "####"});
  map.params.origin = {-4.0f, 8.0f, 2.5f};
  const Look result = look(map, {1, 2, -1.0f}, 2.0f);
  EXPECT_TRUE(result.found);
  EXPECT_NEAR(result.direction, 1.5707964f, 0.3f);
}

TEST(FindObstaclesMainDirection, aWallBehindIsNearPiAndNotTheMeanOfItsTwoSigns) {
  const OccupancyMap map = drawMap({
      "#.....",
      "#.....",
      "#.....",
      "#.....",
      "#.....",
  });
  const Look result = look(map, {1, 2, 0.0f}, 1.8f);
  EXPECT_TRUE(result.found);
  EXPECT_GT(std::abs(result.direction), 3.0f);
}

TEST(FindObstaclesMainDirection, theSpreadIsReportedAsAStreamWritesIt) {
  const OccupancyMap map = wallOnTheRight();
  std::vector<korrin_model::DirectionRecord> expected;
  float direction = 0.0f;
  ASSERT_TRUE(
      korrin_model::findObstaclesMainDirection(map, {7, 3, 0.0f}, 3.0f, direction, 0.4f, expected));
  EXPECT_THAT(look(map, {7, 3, 0.0f}, 3.0f).log, ElementsAre("0 120 " + expected.at(0).message));
  EXPECT_GT(expected.at(0).message.size(), std::string("stdDevObstRay 0.").size());
}

TEST(FindObstaclesMainDirection, obstaclesAllAroundGiveAWarningAndStillTheMean) {
  const OccupancyMap map = drawMap({
      "#######",
      "#.....#",
      "#.....#",
      "#.....#",
      "#.....#",
      "#.....#",
      "#######",
  });
  const Look result = look(map, {3, 3, 0.0f}, 9.0f);
  EXPECT_TRUE(result.found);
  EXPECT_NE(result.direction, kUntouched);
  EXPECT_THAT(result.log, ElementsAre(StartsWith(kSpread), kTooBig));
}

TEST(FindObstaclesMainDirection, openSpaceHasNoObstacles) {
  const Look result = look(wallOnTheRight(), {1, 3, 0.0f}, 3.0f);
  EXPECT_FALSE(result.found);
  EXPECT_EQ(result.direction, kUntouched);
  EXPECT_THAT(result.log, ElementsAre(kNoObstacles));
}

TEST(FindObstaclesMainDirection, beamsThatMeetNothingDoNotCount) {
  // The map's edge is near, but no obstacle is.
  EXPECT_THAT(look(drawMap({"...", "...", "..."}), {1, 1, 0.0f}, 9.0f).log,
              ElementsAre(kNoObstacles));
}

TEST(FindObstaclesMainDirection, anObstacleExactlyAtTheRangeDoesNotCount) {
  // The only obstacle is one cell away, in the row, where beams measure a millimetre more.
  const OccupancyMap map = drawMap({".#"});
  const float distance = 1.0f + 0.001f;
  EXPECT_THAT(look(map, {0, 0, 0.0f}, distance).log, ElementsAre(kNoObstacles));
  EXPECT_TRUE(look(map, {0, 0, 0.0f}, std::nextafter(distance, 2.0f)).found);
}

TEST(FindObstaclesMainDirection, beamsReachFiveTimesTheRangeSoOneBehindItIsSeenButNotCounted) {
  const OccupancyMap map = drawMap({"....#"});
  EXPECT_THAT(look(map, {0, 0, 0.0f}, 1.0f).log, ElementsAre(kNoObstacles));
}

TEST(FindObstaclesMainDirection, aStartInsideAnObstacleLooksFromTheNearestFreeCell) {
  const OccupancyMap map = drawMap({
      "#######.",
      "#######.",
      "###....#",
  });
  const Look inside = look(map, {3, 1, 0.0f}, 1.2f);
  const Look outside = look(map, {3, 2, 0.0f}, 1.2f);
  EXPECT_TRUE(inside.found);
  EXPECT_TRUE(sameBits(inside.direction, outside.direction));
  EXPECT_THAT(inside.log, ElementsAre(kInside, StartsWith(kSpread)));
}

TEST(FindObstaclesMainDirection, aStartOutsideTheMapLooksFromTheNearestFreeCell) {
  const Look result = look(drawMap({".....", "#####"}), {2, -3, 0.0f}, 1.5f);
  EXPECT_TRUE(result.found);
  EXPECT_NEAR(result.direction, 1.5707964f, 0.2f);
  EXPECT_THAT(result.log, ElementsAre(kInside, StartsWith(kSpread)));
}

TEST(FindObstaclesMainDirection, withoutAFreeCellThereIsNoAnswer) {
  const Look result = look(drawMap({"###", "###"}), {1, 1, 0.0f}, 3.0f);
  EXPECT_FALSE(result.found);
  EXPECT_EQ(result.direction, kUntouched);
  EXPECT_THAT(result.log, ElementsAre(kInside, kNoFreeCell));
}

TEST(FindObstaclesMainDirection, aStartThatEqualsTheThresholdIsGoodEnough) {
  // The search would go on to the free cells below.
  const OccupancyMap map = drawMap({"5#", ".."});
  const Look result = look(map, {0, 0, 0.0f}, 1.2f, 0.5f);
  EXPECT_TRUE(result.found);
  EXPECT_NEAR(result.direction, 0.0f, 0.1f);
  EXPECT_THAT(result.log, ElementsAre(StartsWith(kSpread)));
}

TEST(FindObstaclesMainDirection, aCellThatEqualsTheThresholdIsNotAWayOut) {
  // From the obstacle on the left: the 5 is nearer, the free cell is taken.
  const OccupancyMap map = drawMap({"45.#"});
  const Look result = look(map, {0, 0, 0.0f}, 1.2f, 0.5f);
  EXPECT_TRUE(result.found);
  EXPECT_NEAR(result.direction, 0.0f, 0.1f);
  EXPECT_THAT(look(drawMap({"455"}), {0, 0, 0.0f}, 1.2f, 0.5f).log,
              ElementsAre(kInside, kNoFreeCell));
}

TEST(FindObstaclesMainDirection, rangesThatAreNoneSeeNothing) {
  for (const float range : {0.0f, -0.0f, -1.0f, -1e30f, -kInf, kNaN}) {
    const Look result = look(wallOnTheRight(), {8, 3, 0.0f}, range);
    EXPECT_FALSE(result.found) << range;
    EXPECT_EQ(result.direction, kUntouched) << range;
    EXPECT_THAT(result.log, ElementsAre(kNoObstacles)) << range;
  }
}

TEST(FindObstaclesMainDirection, anEndlessRangeSeesEveryObstacleInSight) {
  const Look far = look(wallOnTheRight(), {1, 3, 0.0f}, 1e3f);
  for (const float range : {kInf, 1e30f, std::numeric_limits<float>::max()}) {
    const Look result = look(wallOnTheRight(), {1, 3, 0.0f}, range);
    EXPECT_TRUE(result.found);
    EXPECT_NEAR(result.direction, far.direction, 0.05f);
  }
}

TEST(FindObstaclesMainDirection, thresholdsThatAreNoneSeeNothing) {
  EXPECT_THAT(look(wallOnTheRight(), {8, 3, 0.0f}, 3.0f, kNaN).log, ElementsAre(kNoObstacles));
  EXPECT_THAT(look(wallOnTheRight(), {8, 3, 0.0f}, 3.0f, kInf).log,
              ElementsAre(kInside, kNoFreeCell));
}

TEST(FindObstaclesMainDirection, aStartThatIsNotANumberIsLookedFrom) {
  OccupancyMap map = wallOnTheRight();
  map.setCell(8, 3, kNaN);
  EXPECT_THAT(look(map, {8, 3, 0.0f}, 3.0f).log, ElementsAre(StartsWith(kSpread)));
}

TEST(FindObstaclesMainDirection, theSecondImageVetoesObstacles) {
  OccupancyMap map = drawMap({"...#"}, 1.0f, true);
  auto* second = reinterpret_cast<float*>(map.secondImage->imageData);
  second[3] = 0.44f;
  EXPECT_THAT(look(map, {1, 0, 0.0f}, 4.0f).log, ElementsAre(kNoObstacles));
  second[3] = 0.45f;
  EXPECT_TRUE(look(map, {1, 0, 0.0f}, 4.0f).found);
}

TEST(FindObstaclesMainDirection, aMapWithoutAUsableImageIsRefused) {
  OccupancyMap map = wallOnTheRight();
  const OccupancyMap taken = std::move(map);
  float direction = kUntouched;
  const LogCapture log;
  EXPECT_THROW(Brin::findObstaclesMainDirection(map, {1, 1, 0.0f}, 1.0f, direction, 0.4f),
               cv::Exception);
  EXPECT_EQ(direction, kUntouched);
  EXPECT_TRUE(log.records().empty());
}

TEST(FindObstaclesMainDirection, aMapOfNoCellsHasNoFreeCell) {
  EXPECT_THAT(look(OccupancyMap(0, 0, 1.0f, false), {0, 0, 0.0f}, 1.0f).log,
              ElementsAre(kInside, kNoFreeCell));
}

OccupancyMap obstacleMap(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.maxSide = 25;
  bounds.levels = random.pick<std::vector<float>>(
      {{0.0f, 0.4f, 0.5f, 1.0f}, {0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f}, {1.0f}});
  bounds.anyValueShare = random.pick<double>({0.0, 0.1});
  bounds.wildShare = random.pick<double>({0.0, 0.02});
  bounds.secondImageShare = 0.3;
  return random.map(bounds);
}

TEST(FindObstaclesMainDirectionLaw, agreesWithTheModelRecordsIncluded) {
  RandomInputs random(65);
  int found = 0;
  int moved = 0;
  int warned = 0;
  for (int i = 0; i < 4000; ++i) {
    const OccupancyMap map = obstacleMap(random);
    const Pose2Di start = random.cellNear(map, 2);
    const float range = random.chance(0.1) ? random.wildFloat() : random.between(0.0f, 5.0f);
    const float threshold = random.pick<float>({0.2f, 0.4f, 0.5f, 0.9f, 1.0f});
    const Look result = look(map, start, range, threshold);
    Look expected;
    std::vector<korrin_model::DirectionRecord> records;
    expected.found = korrin_model::findObstaclesMainDirection(map, start, range, expected.direction,
                                                              threshold, records);
    for (const auto& each : records) {
      expected.log.push_back(textOf(each.level, each.line, each.message));
    }
    ASSERT_EQ(result.found, expected.found) << "case " << i;
    ASSERT_TRUE(sameBits(result.direction, expected.direction)) << "case " << i;
    ASSERT_EQ(result.log, expected.log) << "case " << i;
    found += result.found ? 1 : 0;
    moved += result.found && result.log.front() == kInside ? 1 : 0;
    warned += result.log.back() == kTooBig ? 1 : 0;
  }
  EXPECT_GT(found, 1000);
  EXPECT_GT(moved, 300);
  EXPECT_GT(warned, 100);
  EXPECT_LT(warned, found);
}

}  // namespace
