// Settings, paths and maps that callers must not pass: the recursion ends all the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/core/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "korrin/safepathsimplifier.hpp"
#include "support/allocation_limit.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::SafePathSimplifier;
using korrin_test::drawMap;
using korrin_test::LogCapture;
using korrin_test::sameBits;

using Path = std::vector<Pose2D>;

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// Straight through an obstacle, so that every level finds it blocked.
OccupancyMap blockedMap() { return drawMap({"..#.."}, 0.1f); }
const Path kThrough = {{0.0f, 0.0f, 0.0f},
                       {0.1f, 0.0f, 0.0f},
                       {0.2f, 0.0f, 0.0f},
                       {0.3f, 0.0f, 0.0f},
                       {0.4f, 0.0f, 0.0f}};

std::size_t countOf(const LogCapture& log, const std::string& start) {
  const auto records = log.records();
  return static_cast<std::size_t>(
      std::count_if(records.begin(), records.end(), [&](const Brin::LogRecord& record) {
        return record.message.compare(0, start.size(), start) == 0;
      }));
}

TEST(SafePathSimplifierBadInput, accuracyThatIsNotFiniteGivesThePathBackWithOneRecord) {
  for (const float accuracy : {kInf, kNaN}) {
    const LogCapture log;
    SafePathSimplifier simplifier;
    simplifier.setInitialSamplingAccuracy(accuracy);
    EXPECT_TRUE(sameBits(simplifier.sample(kThrough, blockedMap()), kThrough));
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
    EXPECT_NE(log.records()[0].message.find("accuracy"), std::string::npos);
    EXPECT_EQ(log.records()[0].file, "src/safepathsimplifier");
    EXPECT_EQ(log.records()[0].function, "xRecursiveSample");
  }
}

TEST(SafePathSimplifierBadInput, accuracyOfMinusInfinityIsBelowTheLimit) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(-kInf);
  EXPECT_TRUE(sameBits(simplifier.sample(kThrough, blockedMap()), kThrough));
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].message, "Limit reached !!!!");
}

TEST(SafePathSimplifierBadInput, recursionEndsWhereTheAccuracyGetsNoFiner) {
  for (const float divisor : {1.0f, 0.5f, 0.0f, -0.0f, 1e-40f, -1.0f, -1e30f, kNaN}) {
    const LogCapture log;
    SafePathSimplifier simplifier;
    simplifier.accuracyDivisor = divisor;
    EXPECT_TRUE(sameBits(simplifier.sample(kThrough, blockedMap()), kThrough)) << divisor;
    EXPECT_EQ(countOf(log, "path size before"), 1u) << divisor;
    EXPECT_EQ(countOf(log, "Limit reached"), 1u) << divisor;
  }
}

TEST(SafePathSimplifierBadInput, recursionEndsAtAThousandLevels) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  simplifier.accuracyDivisor = std::nextafter(1.0f, 2.0f);
  EXPECT_TRUE(sameBits(simplifier.sample(kThrough, blockedMap()), kThrough));
  EXPECT_EQ(countOf(log, "path size before"), 1000u);
  EXPECT_EQ(countOf(log, "Limit reached"), 1u);
}

TEST(SafePathSimplifierBadInput, recursionEndsWithoutALimitOfItsOwn) {
  for (const float limit : {0.0f, -1.0f, -kInf, kNaN}) {
    const LogCapture log;
    SafePathSimplifier simplifier;
    simplifier.minSamplingAccuracy = limit;
    EXPECT_TRUE(sameBits(simplifier.sample(kThrough, blockedMap()), kThrough)) << limit;
    // 300 halves to 0 in 158 steps, and 0 halves no further.
    EXPECT_EQ(countOf(log, "path size before"), 159u) << limit;
  }
}

TEST(SafePathSimplifierBadInput, placeVisitedManyTimesDoesNotMultiplyThePath) {
  // A home behind a wall, left for a new place and returned to three hundred times over. Each way
  // out is blocked, and by nearness stands for all that was before it.
  OccupancyMap map = drawMap({".#......", ".#......"});
  Path path;
  for (int i = 0; i < 300; ++i) {
    path.emplace_back(0.0f, 0.0f, 0.0f);
    path.emplace_back(3.0f + 0.01f * static_cast<float>(i), 1.0f, 0.0f);
  }
  const LogCapture log;
  const korrin_test::AllocationLimit memory(std::size_t{256}
                                            << 20);  // should it multiply all the same
  const Path result = SafePathSimplifier().sample(path, map);
  EXPECT_GE(result.size(), path.size());
  EXPECT_LT(result.size(), std::size_t{3} << 20);
  EXPECT_TRUE(sameBits(result.back(), path.back()));
}

TEST(SafePathSimplifierBadInput, mapWithoutImageIsRefused) {
  OccupancyMap map(5, 1, 0.1f, false);
  const OccupancyMap taken = std::move(map);
  const LogCapture log;
  EXPECT_THROW(SafePathSimplifier().sample(kThrough, map), cv::Exception);
  EXPECT_TRUE(SafePathSimplifier().sample({}, map).empty());
  EXPECT_EQ(SafePathSimplifier().sample({kThrough[0]}, map).size(), 1u);
}

TEST(SafePathSimplifierBadInput, mapOfNoCellsBlocksNothing) {
  const LogCapture log;
  EXPECT_EQ(SafePathSimplifier().sample(kThrough, OccupancyMap(0, 0, 0.1f, false)).size(), 2u);
}

TEST(SafePathSimplifierBadInput, anyThresholdIsSafe) {
  const LogCapture log;
  SafePathSimplifier simplifier;
  for (const float threshold : {-kInf, -1.0f, 0.0f, kNaN}) {
    simplifier.setObstacleThreshold(threshold);
    EXPECT_EQ(simplifier.sample(kThrough, blockedMap()).size(), 2u) << threshold;
  }
  for (const float threshold : {2.0f, kInf}) {
    simplifier.setObstacleThreshold(threshold);
    EXPECT_EQ(simplifier.sample(kThrough, blockedMap()).size(), 5u) << threshold;
  }
}

TEST(SafePathSimplifierBadInput, wildPathsMapsAndSettingsAreSafe) {
  const LogCapture log;
  korrin_test::RandomInputs random(61);
  int kept = 0;
  for (int i = 0; i < 3000; ++i) {
    korrin_test::MapBounds bounds;
    bounds.wildShare = 0.1;
    OccupancyMap map = random.map(bounds);
    map.params.resolution = random.wildFloat();
    Path path(static_cast<std::size_t>(random.between(0, 12)));
    for (Pose2D& pose : path) pose = random.chance(0.5) ? random.wildPose() : random.poseNear(map);
    if (path.size() > 3) path[2] = path[0];
    SafePathSimplifier simplifier;
    if (random.chance(0.5)) simplifier.initialSamplingAccuracy = random.wildFloat();
    if (random.chance(0.5)) simplifier.minSamplingAccuracy = random.wildFloat();
    simplifier.accuracyDivisor = random.wildFloat();
    simplifier.obstacleThreshold = random.chance(0.5) ? random.wildFloat() : 0.6f;
    const Path result = simplifier.sample(path, map);
    ASSERT_EQ(result.empty(), path.empty());
    if (!path.empty()) {
      ASSERT_TRUE(sameBits(result.back(), path.back()));
      ++kept;
    }
  }
  EXPECT_GT(kept, 2500);
}

}  // namespace
