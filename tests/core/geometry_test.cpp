// Poses compose like rigid motions, angles wrap like a clock, and every formula gives its model's
// bits.
#include "korrin/core/geometry.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#include "models/core/geometry_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::canonicalAngle;
using Brin::kPi;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using Limits = std::numeric_limits<float>;

constexpr float kTurn = 2.0f * kPi;

bool isNear(float a, float b, float tolerance) { return std::fabs(a - b) <= tolerance; }

// Equal up to `tolerance`, in metres and radians; headings are compared around the circle.
bool isNear(const Pose2D& a, const Pose2D& b, float tolerance) {
  return isNear(a.x, b.x, tolerance) && isNear(a.y, b.y, tolerance) &&
         isNear(canonicalAngle(a.theta - b.theta), 0.0f, tolerance);
}

Pose2D ordinaryPose(RandomInputs& random) {
  return {random.between(-50.0f, 50.0f), random.between(-50.0f, 50.0f),
          random.between(-3.14f, 3.14f)};
}

TEST(Poses, areRecordsWithTheirFieldsInOrder) {
  static_assert(std::is_standard_layout_v<Pose2D> && std::is_trivially_copyable_v<Pose2D>);
  static_assert(std::is_standard_layout_v<Pose2Di> && std::is_trivially_copyable_v<Pose2Di>);
  static_assert(std::is_same_v<decltype(Pose2Di::x), std::int32_t>);
  EXPECT_EQ(offsetof(Pose2D, x), 0u);
  EXPECT_EQ(offsetof(Pose2D, y), 4u);
  EXPECT_EQ(offsetof(Pose2D, theta), 8u);
  EXPECT_EQ(offsetof(Pose2Di, x), 0u);
  EXPECT_EQ(offsetof(Pose2Di, y), 4u);
  EXPECT_EQ(offsetof(Pose2Di, theta), 8u);
  EXPECT_EQ(sizeof(Pose2D), 12u);
  EXPECT_EQ(sizeof(Point2D), 8u);
  EXPECT_EQ(sizeof(Point2Di), 8u);
}

TEST(Poses, startAtZeroAndTakeTheirFieldsInOrder) {
  EXPECT_TRUE(sameBits(Pose2D(), Pose2D(0.0f, 0.0f, 0.0f)));
  EXPECT_TRUE(sameBits(Pose2Di(), Pose2Di(0, 0, 0.0f)));
  EXPECT_TRUE(sameBits(Point2D(), Point2D(0.0f, 0.0f)));
  EXPECT_EQ(Point2Di().x, 0);
  EXPECT_EQ(Point2Di().y, 0);
  const Pose2D pose(1.0f, 2.0f, 3.0f);
  EXPECT_EQ(pose.x, 1.0f);
  EXPECT_EQ(pose.y, 2.0f);
  EXPECT_EQ(pose.theta, 3.0f);
  const Pose2Di cell(4, 5, 6.0f);
  EXPECT_EQ(cell.x, 4);
  EXPECT_EQ(cell.y, 5);
  EXPECT_EQ(cell.theta, 6.0f);
  EXPECT_EQ(Point2Di(7, 8).x, 7);
  EXPECT_EQ(Point2Di(7, 8).y, 8);
}

TEST(Point2D, comesFromAPoseWithoutItsHeading) {
  const Point2D point = Pose2D(1.5f, -2.5f, 3.0f);
  EXPECT_EQ(point.x, 1.5f);
  EXPECT_EQ(point.y, -2.5f);
}

TEST(AbsProject, turnsTheRelativePoseAndMovesIt) {
  const Pose2D robot(10.0f, 20.0f, kPi / 2.0f);  // looks along y
  EXPECT_TRUE(
      isNear(robot.absProject({3.0f, 0.0f, 0.5f}), {10.0f, 23.0f, kPi / 2.0f + 0.5f}, 1e-5f));
  EXPECT_TRUE(isNear(robot.absProject({0.0f, 2.0f, 0.0f}), {8.0f, 20.0f, kPi / 2.0f}, 1e-5f));
}

TEST(RelProject, givesThePoseAsSeenFromThisOne) {
  const Pose2D robot(10.0f, 20.0f, kPi / 2.0f);
  EXPECT_TRUE(isNear(robot.relProject({10.0f, 23.0f, 0.0f}), {3.0f, 0.0f, -kPi / 2.0f}, 1e-5f));
  EXPECT_TRUE(isNear(robot.relProject({9.0f, 20.0f, kPi}), {0.0f, 1.0f, kPi / 2.0f}, 1e-5f));
}

TEST(Projection, wrapsTheHeading) {
  EXPECT_TRUE(isNear(Pose2D(0, 0, 3.0f).absProject({0, 0, 3.0f}).theta, 6.0f - kTurn, 1e-6f));
  EXPECT_TRUE(isNear(Pose2D(0, 0, -3.0f).relProject({0, 0, 3.0f}).theta, 6.0f - kTurn, 1e-6f));
  EXPECT_EQ(Pose2D(0, 0, 0).absProject({0, 0, -kPi}).theta, kPi);
}

TEST(Projection, ofAPoseThatIsNotANumberIsNotANumber) {
  const float nan = Limits::quiet_NaN();
  EXPECT_TRUE(std::isnan(Pose2D(0, 0, nan).absProject({1, 1, 0}).x));
  EXPECT_TRUE(std::isnan(Pose2D(0, 0, Limits::infinity()).relProject({1, 1, 0}).y));
  EXPECT_TRUE(std::isnan(Pose2D(0, 0, 0).absProject({1, 1, nan}).theta));
}

// The laws of rigid motions, at one trio of poses.
void expectGroupLaws(const Pose2D& a, const Pose2D& b, const Pose2D& c, float tolerance) {
  const Pose2D identity;
  ASSERT_TRUE(isNear(identity.absProject(a), a, tolerance));
  ASSERT_TRUE(isNear(a.absProject(identity), a, tolerance));
  ASSERT_TRUE(isNear(identity.relProject(a), a, tolerance));
  ASSERT_TRUE(isNear(a.relProject(a), identity, tolerance));
  ASSERT_TRUE(isNear(a.absProject(a.relProject(b)), b, tolerance));
  ASSERT_TRUE(isNear(a.relProject(a.absProject(b)), b, tolerance));
  ASSERT_TRUE(isNear(a.absProject(b).absProject(c), a.absProject(b.absProject(c)), tolerance));
  const Pose2D inverse = a.relProject(identity);
  ASSERT_TRUE(isNear(inverse.absProject(b), a.relProject(b), tolerance));
}

TEST(Projection, obeysTheLawsOfRigidMotionsAtTheIdentity) { expectGroupLaws({}, {}, {}, 0.0f); }

TEST(Projection, obeysTheLawsOfRigidMotionsOnTheSmallestScale) {
  const Pose2D a(1e-8f, -1e-8f, 1e-8f);
  const Pose2D b(-1e-8f, 1e-8f, -1e-8f);
  expectGroupLaws(a, b, {1e-8f, 1e-8f, 1e-8f}, 1e-14f);
}

TEST(Projection, obeysTheLawsOfRigidMotionsAnywhere) {
  RandomInputs random(3);
  for (int i = 0; i < 20000; ++i) {
    expectGroupLaws(ordinaryPose(random), ordinaryPose(random), ordinaryPose(random), 1e-4f);
  }
}

TEST(Projection, givesTheModelsBitsForAnyFloats) {
  RandomInputs random(4);
  int finite = 0;
  for (int i = 0; i < 200000; ++i) {
    const Pose2D a = random.chance(0.5) ? random.wildPose() : ordinaryPose(random);
    const Pose2D b = random.chance(0.5) ? random.wildPose() : ordinaryPose(random);
    ASSERT_TRUE(sameBits(a.absProject(b), korrin_model::absProject(a, b)));
    ASSERT_TRUE(sameBits(a.relProject(b), korrin_model::relProject(a, b)));
    finite += std::isfinite(a.relProject(b).x) ? 1 : 0;
  }
  EXPECT_GT(finite, 50000);
}

TEST(CanonicalAngle, excludesMinusPiAndIncludesPi) {
  EXPECT_EQ(canonicalAngle(kPi), kPi);
  EXPECT_EQ(canonicalAngle(-kPi), kPi);
  EXPECT_EQ(canonicalAngle(3.0f * kPi), korrin_model::canonicalAngle(3.0f * kPi));
  EXPECT_EQ(canonicalAngle(std::nextafter(-kPi, 0.0f)), std::nextafter(-kPi, 0.0f));
  EXPECT_EQ(canonicalAngle(std::nextafter(kPi, 4.0f)), std::nextafter(kPi, 4.0f) - kTurn);
}

TEST(CanonicalAngle, leavesAnAngleOfTheFirstTurnAsItIs) {
  for (float angle = -3.14f; angle < 3.14f; angle += 0.001f) {
    ASSERT_TRUE(sameBits(canonicalAngle(angle), angle));
  }
  EXPECT_TRUE(sameBits(canonicalAngle(-0.0f), -0.0f));
}

TEST(CanonicalAngle, takesWholeTurnsAway) {
  for (const float turns : {-64.0f, -2.0f, -1.0f, 1.0f, 2.0f, 64.0f, 1e6f}) {
    EXPECT_EQ(canonicalAngle(turns * kTurn), korrin_model::canonicalAngle(turns * kTurn)) << turns;
  }
  EXPECT_EQ(canonicalAngle(kTurn), 0.0f);
  EXPECT_EQ(canonicalAngle(-64.0f * kTurn), 0.0f);
  EXPECT_FLOAT_EQ(canonicalAngle(1.0f + kTurn), 1.0f);
  EXPECT_FLOAT_EQ(canonicalAngle(-1.0f - 2.0f * kTurn), -1.0f);
}

TEST(CanonicalAngle, ofWhatIsNoFiniteAngleIsNotANumber) {
  EXPECT_TRUE(std::isnan(canonicalAngle(Limits::quiet_NaN())));
  EXPECT_TRUE(std::isnan(canonicalAngle(Limits::infinity())));
  EXPECT_TRUE(std::isnan(canonicalAngle(-Limits::infinity())));
}

TEST(CanonicalAngle, takesConstantTimeForAnyAngle) {
  const auto begin = std::chrono::steady_clock::now();
  float sum = 0.0f;
  for (int i = 0; i < 100000; ++i) {
    sum += canonicalAngle(1e30f) + canonicalAngle(-Limits::max());
    sum += std::isnan(canonicalAngle(Limits::infinity())) ? 1.0f : 0.0f;
  }
  EXPECT_TRUE(std::isfinite(sum));
  // A loop over the turns would not come back at all.
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(CanonicalAngle, givesTheModelsBitsForAnyFloat) {
  RandomInputs random(5);
  int wrapped = 0;
  for (int i = 0; i < 300000; ++i) {
    const float angle = random.chance(0.5) ? random.wildFloat() : random.between(-100.0f, 100.0f);
    const float result = canonicalAngle(angle);
    ASSERT_TRUE(sameBits(result, korrin_model::canonicalAngle(angle))) << angle;
    ASSERT_TRUE(std::isnan(result) || (result > -kPi && result <= kPi)) << angle;
    wrapped += std::fabs(angle) > kPi ? 1 : 0;
  }
  EXPECT_GT(wrapped, 100000);
}

TEST(CanonicalAngle, givesTheModelsBitsAroundEveryHalfTurn) {
  for (int halfTurns = -2000; halfTurns <= 2000; ++halfTurns) {
    float angle = static_cast<float>(halfTurns) * kPi;
    for (int i = 0; i < 3; ++i) angle = std::nextafter(angle, -Limits::max());
    for (int i = 0; i < 7; ++i, angle = std::nextafter(angle, Limits::max())) {
      ASSERT_TRUE(sameBits(canonicalAngle(angle), korrin_model::canonicalAngle(angle))) << angle;
    }
  }
}

RC_GTEST_PROP(CanonicalAngle, isIdempotent, (float angle)) {
  RC_ASSERT(sameBits(canonicalAngle(canonicalAngle(angle)), canonicalAngle(angle)));
}

TEST(ComputeNorm, isTheLengthOfACellOffset) {
  EXPECT_EQ(Brin::computeNorm(0, 0), 0.0f);
  EXPECT_EQ(Brin::computeNorm(3, -4), 5.0f);
  EXPECT_EQ(Brin::computeNorm(-1, 1), std::sqrt(2.0f));
  EXPECT_EQ(Brin::computeNorm(0, -7), 7.0f);
}

TEST(ComputeNorm, isTheNearestFloatToTheTrueLengthOfAnOffsetBelow2ToThe25) {
  RandomInputs random(6);
  for (int i = 0; i < 200000; ++i) {
    const int reach = 1 << random.between(1, 25);
    const int x = random.between(-reach + 1, reach - 1);
    const int y = random.between(-reach + 1, reach - 1);
    ASSERT_TRUE(sameBits(Brin::computeNorm(x, y), korrin_model::computeNorm(x, y)))
        << x << " " << y;
  }
}

TEST(ComputeNorm, doesNotOverflowOnTheLongestOffsets) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  EXPECT_FLOAT_EQ(Brin::computeNorm(kMin, kMin), 3037000499.97605f);
  EXPECT_FLOAT_EQ(Brin::computeNorm(kMax, 0), 2147483648.0f);
}

TEST(ComputeNorm, ofAPointIsRoundedAfterEveryOperation) {
  EXPECT_EQ(Brin::computeNorm(Point2D(0.3f, 0.4f)), korrin_model::computeNorm(Point2D(0.3f, 0.4f)));
  EXPECT_EQ(Brin::computeNorm(Point2D(1e30f, 0.0f)), Limits::infinity());  // the square overflows
  RandomInputs random(7);
  for (int i = 0; i < 100000; ++i) {
    const Point2D point(random.wildFloat(), random.wildFloat());
    ASSERT_TRUE(sameBits(Brin::computeNorm(point), korrin_model::computeNorm(point)));
  }
}

TEST(GaussianValueAt, isTheNormalDensity) {
  EXPECT_FLOAT_EQ(Brin::gaussianValueAt(1.0f, 0.0f), 0.39894228f);
  EXPECT_FLOAT_EQ(Brin::gaussianValueAt(2.0f, 0.0f), 0.19947114f);
  EXPECT_FLOAT_EQ(Brin::gaussianValueAt(1.0f, 1.0f), 0.24197072f);
  EXPECT_EQ(Brin::gaussianValueAt(0.5f, -1.25f), Brin::gaussianValueAt(0.5f, 1.25f));
  EXPECT_EQ(Brin::gaussianValueAt(1.0f, 1e30f), 0.0f);
  EXPECT_TRUE(std::isnan(Brin::gaussianValueAt(0.0f, 0.0f)));
  EXPECT_TRUE(std::isnan(Brin::gaussianValueAt(0.0f, 1.0f)));
}

TEST(GaussianValueAt, agreesWithTheDensityInDoublePrecision) {
  RandomInputs random(8);
  for (int i = 0; i < 100000; ++i) {
    const float sigma = random.between(0.01f, 10.0f);
    const float x = random.between(-5.0f, 5.0f) * sigma;
    const double expected = korrin_model::gaussianValueAt(sigma, x);
    ASSERT_NEAR(Brin::gaussianValueAt(sigma, x), expected, 5e-6 * expected) << sigma << " " << x;
  }
}

TEST(GaussianValueAt, sumsToOne) {
  for (const float sigma : {0.1f, 1.0f, 7.0f}) {
    double sum = 0.0;
    const float step = sigma / 100.0f;
    for (int i = -800; i <= 800; ++i) {
      sum += Brin::gaussianValueAt(sigma, static_cast<float>(i) * step) * step;
    }
    EXPECT_NEAR(sum, 1.0, 1e-5);
  }
}

TEST(AvgPose2D, averagesPositionsAndHeadingsAroundTheCircle) {
  EXPECT_TRUE(sameBits(Brin::avgPose2D({}), Pose2D()));
  EXPECT_TRUE(isNear(Brin::avgPose2D({{1, 2, 0.5f}}), {1, 2, 0.5f}, 1e-6f));
  EXPECT_TRUE(isNear(Brin::avgPose2D({{1, 2, 0.2f}, {3, -4, 0.4f}}), {2, -1, 0.3f}, 1e-6f));
  // Headings on both sides of the cut: their mean points backwards, not forwards.
  const float mean = Brin::avgPose2D({{0, 0, 3.0f}, {0, 0, -3.0f}}).theta;
  EXPECT_TRUE(isNear(std::fabs(mean), kPi, 1e-6f)) << mean;
}

TEST(RelStdDevPose2D, isTheRootOfTheMeanSquaredDifferencePerField) {
  EXPECT_TRUE(sameBits(Brin::relStdDevPose2D({}, {1, 2, 3}), Pose2D()));
  const Pose2D deviation =
      Brin::relStdDevPose2D({{1, 5, 0.5f}, {3, 5, 0.5f}, {1, 5, 0.5f}, {3, 5, 0.5f}}, {2, 2, 0});
  EXPECT_TRUE(isNear(deviation, {1, 3, 0.5f}, 1e-6f));
}

TEST(RelStdDevPose2D, takesHeadingDifferencesTheShortWayRound) {
  const Pose2D deviation = Brin::relStdDevPose2D({{0, 0, 3.1f}}, {0, 0, -3.1f});
  EXPECT_NEAR(deviation.theta, kTurn - 6.2f, 1e-5f);
}

TEST(PoseStatistics, giveTheModelsBitsForAnyPoses) {
  RandomInputs random(9);
  int many = 0;
  for (int i = 0; i < 20000; ++i) {
    std::vector<Pose2D> poses(static_cast<std::size_t>(random.between(0, 12)));
    const bool wild = random.chance(0.2);
    for (Pose2D& pose : poses) pose = wild ? random.wildPose() : ordinaryPose(random);
    const Pose2D reference = wild ? random.wildPose() : ordinaryPose(random);
    ASSERT_TRUE(sameBits(Brin::avgPose2D(poses), korrin_model::avgPose2D(poses)));
    ASSERT_TRUE(sameBits(Brin::relStdDevPose2D(poses, reference),
                         korrin_model::relStdDevPose2D(poses, reference)));
    many += poses.size() > 1 && !wild ? 1 : 0;
  }
  EXPECT_GT(many, 10000);
}

}  // namespace
