// Readings, scans and holes: records with stated fields and defaults, and their two formulas.
#include "korrin/core/scan.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <type_traits>

#include "models/core/scan_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanHole;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

Scan scanOfAngles(const std::vector<float>& angles) {
  Scan scan;
  for (const float angle : angles) scan.readings.emplace_back(1.0f, angle);
  return scan;
}

TEST(RangeReading, isARecordWithItsFieldsInOrder) {
  static_assert(std::is_standard_layout_v<RangeReading>);
  static_assert(std::is_trivially_copyable_v<RangeReading>);
  EXPECT_EQ(offsetof(RangeReading, range), 0u);
  EXPECT_EQ(offsetof(RangeReading, angle), 4u);
  EXPECT_EQ(offsetof(RangeReading, weight), 8u);
  EXPECT_EQ(offsetof(RangeReading, mark), 12u);
  EXPECT_EQ(offsetof(RangeReading, status), 16u);
  EXPECT_EQ(sizeof(RangeReading), 20u);
}

TEST(RangeReading, isAFullWeightMarkedHitAtTheSensorByDefault) {
  const RangeReading reading;
  EXPECT_EQ(reading.range, 0.0f);
  EXPECT_EQ(reading.angle, 0.0f);
  EXPECT_EQ(reading.weight, 1.0f);
  EXPECT_EQ(reading.mark, 1);
  EXPECT_EQ(reading.status, 0);
}

TEST(RangeReading, takesRangeAndAngleAndKeepsTheOtherDefaults) {
  const RangeReading reading(4.0f, -0.5f);
  EXPECT_EQ(reading.range, 4.0f);
  EXPECT_EQ(reading.angle, -0.5f);
  EXPECT_EQ(reading.weight, 1.0f);
  EXPECT_EQ(reading.mark, 1);
  EXPECT_EQ(reading.status, 0);
}

TEST(RangeReading, takesAllFieldsInTheirOrder) {
  const RangeReading reading{4.0f, -0.5f, 0.25f, 7, 1};
  EXPECT_EQ(reading.range, 4.0f);
  EXPECT_EQ(reading.angle, -0.5f);
  EXPECT_EQ(reading.weight, 0.25f);
  EXPECT_EQ(reading.mark, 7);
  EXPECT_EQ(reading.status, 1);
  static_assert(std::is_convertible_v<const RangeReading&, RangeReading>);
  static_assert(!std::is_convertible_v<float, RangeReading>);
  static_assert(!std::is_constructible_v<RangeReading, float>);
}

TEST(RangeReading, endsAtItsRangeInTheDirectionOfItsAngle) {
  EXPECT_NEAR(RangeReading(2.0f, 0.0f).toPoint2D().x, 2.0f, 1e-6f);
  EXPECT_NEAR(RangeReading(2.0f, 0.0f).toPoint2D().y, 0.0f, 1e-6f);
  EXPECT_NEAR(RangeReading(3.0f, Brin::kPi / 2.0f).toPoint2D().x, 0.0f, 1e-6f);
  EXPECT_NEAR(RangeReading(3.0f, Brin::kPi / 2.0f).toPoint2D().y, 3.0f, 1e-6f);
  EXPECT_NEAR(RangeReading(3.0f, -Brin::kPi / 2.0f).toPoint2D().y, -3.0f, 1e-6f);
}

TEST(RangeReading, endsWhereTheModelSaysToTheBit) {
  RandomInputs random(11);
  for (int i = 0; i < 100000; ++i) {
    const RangeReading reading(random.wildFloat(), random.wildFloat());
    ASSERT_TRUE(sameBits(reading.toPoint2D(), korrin_model::toPoint2D(reading)));
  }
}

TEST(Scan, hasNoResolutionWithFewerThanTwoReadings) {
  EXPECT_EQ(Scan().getResolution(), 0.0f);
  EXPECT_EQ(scanOfAngles({0.7f}).getResolution(), 0.0f);
}

TEST(Scan, resolutionIsTheMeanStepFromTheFirstAngleToTheLast) {
  EXPECT_FLOAT_EQ(scanOfAngles({-0.5f, 0.0f, 0.5f}).getResolution(), 0.5f);
  EXPECT_FLOAT_EQ(scanOfAngles({0.5f, 9.0f, -0.5f}).getResolution(), -0.5f);  // turning clockwise
}

TEST(Scan, resolutionIsTheModelsToTheBit) {
  RandomInputs random(12);
  int several = 0;
  for (int i = 0; i < 20000; ++i) {
    Scan scan;
    scan.readings = random.readings(9, 10.0f, 0.2);
    ASSERT_TRUE(sameBits(scan.getResolution(), korrin_model::getResolution(scan)));
    several += scan.readings.size() > 1 ? 1 : 0;
  }
  EXPECT_GT(several, 10000);
}

TEST(ScanHole, isARecordOfZerosWithItsFieldsInOrder) {
  static_assert(std::is_standard_layout_v<ScanHole>);
  EXPECT_EQ(offsetof(ScanHole, beginIndex), 0u);
  EXPECT_EQ(offsetof(ScanHole, endIndex), 4u);
  EXPECT_EQ(offsetof(ScanHole, heading), 8u);
  EXPECT_EQ(offsetof(ScanHole, normalAngle), 12u);
  EXPECT_EQ(offsetof(ScanHole, beginPoint), 16u);
  EXPECT_EQ(offsetof(ScanHole, endPoint), 24u);
  EXPECT_EQ(offsetof(ScanHole, approachPoint), 32u);
  const ScanHole hole;
  EXPECT_EQ(hole.beginIndex, 0);
  EXPECT_EQ(hole.endIndex, 0);
  EXPECT_EQ(hole.heading, 0.0f);
  EXPECT_EQ(hole.normalAngle, 0.0f);
  EXPECT_TRUE(sameBits(hole.beginPoint, Brin::Point2D()));
  EXPECT_TRUE(sameBits(hole.endPoint, Brin::Point2D()));
  EXPECT_TRUE(sameBits(hole.approachPoint, Brin::Point2D()));
}

}  // namespace
