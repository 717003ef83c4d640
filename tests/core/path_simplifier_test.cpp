// A simplified path is a few of the path's own poses, and no dropped pose is far from it.
#include "korrin/core/path_simplifier.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "models/core/path_simplifier_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::PathSimplifier;
using Brin::Pose2D;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using Path = std::vector<Pose2D>;
using Limits = std::numeric_limits<float>;

Path simplified(const Path& path, float accuracyInMillimetres) {
  PathSimplifier simplifier;
  simplifier.samplingAccuracy = accuracyInMillimetres;
  return simplifier.sample(path);
}

// Metres from `p` to the segment from `a` to `b`, in double precision and by another road than the
// simplifier's: the height of the triangle, unless an end is nearer.
double segmentDistance(const Pose2D& p, const Pose2D& a, const Pose2D& b) {
  const double abx = double{b.x} - a.x;
  const double aby = double{b.y} - a.y;
  const double apx = double{p.x} - a.x;
  const double apy = double{p.y} - a.y;
  const double bpx = double{p.x} - b.x;
  const double bpy = double{p.y} - b.y;
  if (apx * abx + apy * aby <= 0.0) return std::hypot(apx, apy);
  if (bpx * abx + bpy * aby >= 0.0) return std::hypot(bpx, bpy);
  return std::fabs(abx * apy - aby * apx) / std::hypot(abx, aby);
}

// Whether `few` is a subsequence of `path` with its ends, and every pose between two kept ones lies
// within `tolerance` metres of the segment between them. Poses must be distinct.
::testing::AssertionResult isGoodSimplification(const Path& few, const Path& path,
                                                double tolerance) {
  if (few.empty() || !sameBits(few.front(), path.front()) || !sameBits(few.back(), path.back())) {
    return ::testing::AssertionFailure() << "an end is missing";
  }
  std::size_t next = 1;  // of few
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (next < few.size() && sameBits(path[i], few[next])) {
      ++next;
    } else if (next == few.size()) {
      return ::testing::AssertionFailure() << "the result ends before the path";
    } else if (segmentDistance(path[i], few[next - 1], few[next]) > tolerance) {
      return ::testing::AssertionFailure()
             << "pose " << i << " is off by " << segmentDistance(path[i], few[next - 1], few[next]);
    }
  }
  if (next != few.size()) return ::testing::AssertionFailure() << "not a subsequence";
  return ::testing::AssertionSuccess();
}

// A walk of strides of at most 0.3 m; distinct poses, since each carries its index as heading.
Path randomWalk(RandomInputs& random, int maxCount) {
  Path path(static_cast<std::size_t>(random.between(0, maxCount)));
  Pose2D at;
  for (std::size_t i = 0; i < path.size(); ++i) {
    at.x += random.between(-0.1f, 0.3f);
    at.y += random.between(-0.2f, 0.2f);
    at.theta = static_cast<float>(i);
    path[i] = at;
  }
  return path;
}

TEST(PathSimplifier, isAPlainRecordThatBeginsWithItsAccuracy) {
  static_assert(std::is_trivially_destructible_v<PathSimplifier>);
  static_assert(std::is_standard_layout_v<PathSimplifier>);
  static_assert(std::is_same_v<decltype(PathSimplifier::samplingAccuracy), float>);
  EXPECT_EQ(offsetof(PathSimplifier, samplingAccuracy), 0u);
  EXPECT_EQ(PathSimplifier().samplingAccuracy, 50.0f);
}

TEST(PathSimplifier, givesAPathOfFewerThanThreePosesBackAsItIs) {
  EXPECT_TRUE(simplified({}, 1000.0f).empty());
  EXPECT_TRUE(sameBits(simplified({{1, 2, 3}}, 1000.0f), Path{{1, 2, 3}}));
  const Path two{{1, 1, 1}, {1, 1, 1}};
  EXPECT_TRUE(sameBits(simplified(two, 1000.0f), two));
}

TEST(PathSimplifier, reducesAStraightLineToItsEnds) {
  const Path line{{0, 0, 0.1f}, {1, 1, 0.2f}, {2, 2, 0.3f}, {3, 3, 0.4f}};
  EXPECT_TRUE(sameBits(simplified(line, 1.0f), Path{{0, 0, 0.1f}, {3, 3, 0.4f}}));
}

TEST(PathSimplifier, keepsACorner) {
  const Path corner{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {2, 2, 0}};
  EXPECT_TRUE(sameBits(simplified(corner, 50.0f), Path{{0, 0, 0}, {2, 0, 0}, {2, 2, 0}}));
}

TEST(PathSimplifier, takesItsAccuracyInMillimetres) {
  const Path bump{{0, 0, 0}, {1, 0.25f, 0}, {2, 0, 0}};
  EXPECT_EQ(simplified(bump, 249.0f).size(), 3u);
  EXPECT_EQ(simplified(bump, 251.0f).size(), 2u);
}

TEST(PathSimplifier, dropsAPoseExactlyAtTheTolerance) {
  const Path bump{{0, 0, 0}, {1, 0.25f, 0}, {2, 0, 0}};
  EXPECT_EQ(simplified(bump, 250.0f).size(), 2u);
}

TEST(PathSimplifier, usesItsDefaultAccuracyOf50Millimetres) {
  EXPECT_EQ(PathSimplifier().sample({{0, 0, 0}, {1, 0.049f, 0}, {2, 0, 0}}).size(), 2u);
  EXPECT_EQ(PathSimplifier().sample({{0, 0, 0}, {1, 0.051f, 0}, {2, 0, 0}}).size(), 3u);
}

TEST(PathSimplifier, measuresToTheSegmentNotToItsLine) {
  // The pose lies on the line through the ends, but a metre past the second one.
  EXPECT_EQ(simplified({{0, 0, 0}, {3, 0, 0}, {2, 0, 0}}, 500.0f).size(), 3u);
  EXPECT_EQ(simplified({{0, 0, 0}, {-1, 0, 0}, {2, 0, 0}}, 500.0f).size(), 3u);
}

TEST(PathSimplifier, keepsTheFarPointOfALoopThatEndsWhereItBegan) {
  const Path loop{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}, {0, 0, 0}};
  EXPECT_TRUE(sameBits(simplified(loop, 10.0f), Path{{0, 0, 0}, {2, 0, 0}, {0, 0, 0}}));
}

TEST(PathSimplifier, keepsTheEarliestOfEquallyFarPoses) {
  // Both are a metre off; with the earlier kept, the later lies on the segment to the end.
  const Path path{{0, 0, 0}, {0, 1, 0.1f}, {4, 1, 0.2f}, {4, 0, 0}};
  EXPECT_TRUE(sameBits(simplified(path, 980.0f), Path{{0, 0, 0}, {0, 1, 0.1f}, {4, 0, 0}}));
}

TEST(PathSimplifier, dropsRepeatedPoses) {
  const Path still(1000, Pose2D(1, 2, 0));
  EXPECT_EQ(simplified(still, 0.0f).size(), 2u);
}

TEST(PathSimplifier, keepsEveryPoseAtANegativeAccuracy) {
  const Path line{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 0, 0}};
  EXPECT_TRUE(sameBits(simplified(line, -1.0f), line));
  EXPECT_TRUE(sameBits(simplified(line, -Limits::denorm_min()), line));
  EXPECT_EQ(simplified(line, -0.0f).size(), 2u);
}

TEST(PathSimplifier, keepsEveryPoseWithoutAPlace) {
  const float nan = Limits::quiet_NaN();
  const float inf = Limits::infinity();
  const Path path{{0, 0, 0}, {1, 0, 0}, {nan, 0, 0}, {3, 0, 0}, {4, -inf, 0}, {5, 0, 0}, {6, 0, 0}};
  const Path few = simplified(path, 1000.0f);
  EXPECT_EQ(std::count_if(few.begin(), few.end(), [](const Pose2D& p) { return std::isnan(p.x); }),
            1);
  EXPECT_EQ(std::count_if(few.begin(), few.end(), [](const Pose2D& p) { return std::isinf(p.y); }),
            1);
}

TEST(PathSimplifier, givesThePathBackWithOneRecordWhenTheAccuracyIsNotFinite) {
  const Path line{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
  for (const float accuracy : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity()}) {
    const korrin_test::LogCapture log;
    EXPECT_TRUE(sameBits(simplified(line, accuracy), line));
    ASSERT_EQ(log.records().size(), 1u);
    EXPECT_EQ(log.records()[0].level, Brin::NavLogLevel::Warning);
    EXPECT_NE(log.records()[0].message.find("samplingAccuracy"), std::string::npos);
    EXPECT_EQ(log.records()[0].file, "core/path_simplifier");
    EXPECT_EQ(log.records()[0].function, "sample");
  }
}

TEST(PathSimplifier, saysNothingAboutOrdinaryPaths) {
  const korrin_test::LogCapture log;
  simplified({{0, 0, 0}, {1, 1, 0}, {2, 0, 0}}, 10.0f);
  EXPECT_TRUE(log.records().empty());
}

TEST(PathSimplifier, leavesNoPoseFartherOffThanItsAccuracy) {
  RandomInputs random(21);
  int reduced = 0;
  for (int i = 0; i < 20000; ++i) {
    const Path path = randomWalk(random, 40);
    const float accuracy = random.between(0.0f, 500.0f);
    const Path few = simplified(path, accuracy);
    if (path.empty()) continue;
    ASSERT_TRUE(isGoodSimplification(few, path, accuracy / 1000.0 + 1e-5));
    reduced += few.size() < path.size() && few.size() > 2 ? 1 : 0;
  }
  EXPECT_GT(reduced, 10000);
}

TEST(PathSimplifier, givesTheModelsPosesToTheBit) {
  RandomInputs random(22);
  int wildOnes = 0;
  for (int i = 0; i < 20000; ++i) {
    Path path = randomWalk(random, 30);
    if (random.chance(0.3)) {
      for (Pose2D& pose : path) {
        if (random.chance(0.2)) pose = random.wildPose();
      }
      ++wildOnes;
    }
    const float accuracy = random.pick<float>({0.0f, 5.0f, 50.0f, 300.0f, 1e30f, -1.0f});
    ASSERT_TRUE(sameBits(simplified(path, accuracy), korrin_model::simplify(path, accuracy)));
  }
  EXPECT_GT(wildOnes, 5000);
}

// Poses on a small grid: ties and duplicates abound, and a failing path shrinks to a readable one.
RC_GTEST_PROP(PathSimplifier, givesTheModelsPosesOnAGrid, ()) {
  const auto cell = rc::gen::inRange(0, 4);
  const auto poses =
      *rc::gen::container<std::vector<std::pair<int, int>>>(rc::gen::pair(cell, cell));
  const auto accuracy = static_cast<float>(*rc::gen::element(0, 250, 500, 1000, 2000));
  Path path;
  for (const auto& [x, y] : poses) {
    path.emplace_back(static_cast<float>(x), static_cast<float>(y),
                      static_cast<float>(path.size()));
  }
  RC_ASSERT(sameBits(simplified(path, accuracy), korrin_model::simplify(path, accuracy)));
}

TEST(PathSimplifier, survivesAHundredThousandPosesThatAllStay) {
  // A spiral inwards: every pose matters, and each split peels one pose off.
  Path path;
  for (int i = 0; i < 100000; ++i) {
    const float angle = static_cast<float>(i) * 0.1f;
    const float radius = 1000.0f / (1.0f + static_cast<float>(i) * 0.001f);
    path.emplace_back(radius * std::cos(angle), radius * std::sin(angle), 0.0f);
  }
  const Path few = simplified(path, 1.0f);
  EXPECT_GT(few.size(), 90000u);
  EXPECT_TRUE(isGoodSimplification(few, path, 0.002));
}

TEST(PathSimplifier, isNotSlowedDownByPosesWithoutAPlace) {
  const float nan = Limits::quiet_NaN();
  const Path nowhere(100000, Pose2D(nan, nan, nan));
  const Path still(100000, Pose2D(1, 1, 0));
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(simplified(nowhere, 1.0f).size(), nowhere.size());
  EXPECT_EQ(simplified(still, -1.0f).size(), still.size());
  // Comparing all pairs would take 10^10 distances.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

}  // namespace
