// The steps that the detectors are made of, one by one.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "korrin/scan_holes.hpp"
#include "support/bits.hpp"
#include "support/scan_drawing.hpp"

namespace {

using Brin::Point2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanHole;
using korrin_test::fanOf;
using korrin_test::hit;
using korrin_test::noHit;
using korrin_test::reading;
using korrin_test::sameBits;
using korrin_test::scanOf;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

ScanHole headedTo(float heading) {
  ScanHole hole;
  hole.heading = heading;
  return hole;
}

bool comesFirst(float a, float b) { return Brin::headingAmpCompare(headedTo(a), headedTo(b)); }

TEST(HeadingAmpCompare, ordersByTheAbsoluteHeadingWithEqualOnesUnordered) {
  EXPECT_TRUE(comesFirst(-0.1f, 0.2f));
  EXPECT_TRUE(comesFirst(0.1f, -0.2f));
  EXPECT_FALSE(comesFirst(0.2f, -0.1f));
  EXPECT_FALSE(comesFirst(0.2f, -0.2f));
  EXPECT_FALSE(comesFirst(-0.2f, 0.2f));
  EXPECT_FALSE(comesFirst(-0.0f, 0.0f));
}

TEST(HeadingAmpCompare, isFalseWhenEitherHeadingIsNotANumber) {
  EXPECT_TRUE(comesFirst(3.0f, -kInf));
  EXPECT_FALSE(comesFirst(-0.1f, kNan));
  EXPECT_FALSE(comesFirst(kNan, 3.0f));
  EXPECT_FALSE(comesFirst(kNan, kInf));
  EXPECT_FALSE(comesFirst(kInf, kNan));
  EXPECT_FALSE(comesFirst(kNan, kNan));
}

ScanHole zone(Point2D a, int ia, Point2D b, int ib, float dist, bool flag = true) {
  ScanHole hole;
  Brin::xNormalizeZone(a, ia, b, ib, dist, hole, flag);
  return hole;
}

TEST(NormalizeZone, keepsBordersAndHeadsForTheirMiddle) {
  const ScanHole hole = zone({3, -1}, 4, {3, 2}, 9, 0.5f);
  EXPECT_EQ(hole.beginIndex, 4);
  EXPECT_EQ(hole.endIndex, 9);
  EXPECT_TRUE(sameBits(hole.beginPoint, {3, -1}));
  EXPECT_TRUE(sameBits(hole.endPoint, {3, 2}));
  EXPECT_EQ(hole.heading, std::atan2(1.0f, 6.0f));
}

TEST(NormalizeZone, theNormalPointsOutAndTheApproachPointLiesOnTheSensorsSide) {
  const ScanHole hole = zone({3, -1}, 4, {3, 1}, 9, 0.5f);
  EXPECT_EQ(hole.normalAngle, 0.0f);
  EXPECT_TRUE(sameBits(hole.approachPoint, {2.5f, 0}));
  const ScanHole left = zone({1, 3}, 4, {-1, 3}, 9, 0.5f);
  EXPECT_NEAR(left.normalAngle, Brin::kPi / 2, 1e-6f);
  EXPECT_NEAR(left.approachPoint.x, 0.0f, 1e-6f);
  EXPECT_NEAR(left.approachPoint.y, 2.5f, 1e-6f);
}

TEST(NormalizeZone, theNormalIsTheSameWhicheverBorderIsPassedFirst) {
  const ScanHole there = zone({3, -1}, 4, {2, 2}, 9, 0.5f);
  const ScanHole back = zone({2, 2}, 9, {3, -1}, 4, 0.5f);
  EXPECT_TRUE(sameBits(there.normalAngle, back.normalAngle));
  EXPECT_TRUE(sameBits(there.approachPoint, back.approachPoint));
  EXPECT_EQ(back.beginIndex, 9);
  EXPECT_TRUE(sameBits(back.beginPoint, {2, 2}));
}

TEST(NormalizeZone, withEqualIndicesTheFirstBorderIsTheLower) {
  EXPECT_EQ(zone({3, -1}, 4, {3, 1}, 4, 0.5f).normalAngle, 0.0f);
  EXPECT_NEAR(zone({3, 1}, 4, {3, -1}, 4, 0.5f).normalAngle, Brin::kPi, 1e-6f);
}

TEST(NormalizeZone, theFlagIsIgnored) {
  EXPECT_TRUE(
      sameBits(zone({3, -1}, 4, {2, 2}, 9, 0.5f, true), zone({3, -1}, 4, {2, 2}, 9, 0.5f, false)));
}

TEST(NormalizeZone, theApproachPointIsComputedInDoubleAndThenRounded) {
  const ScanHole hole = zone({3, -1}, 0, {2.7f, 2}, 1, 0.3f);
  const double normal = static_cast<double>(hole.normalAngle);
  const double x = static_cast<double>(0.5f * (3.0f + 2.7f));
  EXPECT_EQ(hole.approachPoint.x,
            static_cast<float>(x - static_cast<double>(0.3f) * std::cos(normal)));
}

// A hole between readings `begin` and `end`, with its approach point `far` metres away at `angle`.
bool isVisible(const Scan& scan, int begin, int end, float far, float angle) {
  ScanHole hole;
  hole.beginIndex = begin;
  hole.endIndex = end;
  hole.approachPoint = {far * std::cos(angle), far * std::sin(angle)};
  return Brin::xIsHoleOK(scan, hole);
}

TEST(IsHoleOK, onlyHolesBetweenNeighboursAreTested) {
  const Scan scan = fanOf({1, 1, 1, 1, 1, 1}, 0.1f);
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.45f));
  EXPECT_FALSE(isVisible(scan, 3, 2, 2, 0.05f));
  EXPECT_TRUE(isVisible(scan, 2, 4, 2, 0.45f));
  EXPECT_TRUE(isVisible(scan, 2, 2, 2, 0.45f));
  EXPECT_TRUE(isVisible(scan, 4, 2, 2, 0.45f));
}

TEST(IsHoleOK, aShorterReadingBetweenTheBorderAndThePointHidesIt) {
  const Scan scan = fanOf({9, 9, 9, 9, 1, 9, 9}, 0.1f);
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.45f));
  EXPECT_TRUE(isVisible(scan, 2, 3, 2, 0.35f));
  EXPECT_TRUE(isVisible(scan, 2, 3, 0.5f, 0.45f));
  const Scan before = fanOf({9, 1, 9, 9, 9, 9, 9}, 0.1f);
  EXPECT_FALSE(isVisible(before, 2, 3, 2, 0.05f));
  EXPECT_TRUE(isVisible(before, 2, 3, 2, 0.15f));
}

TEST(IsHoleOK, theReadingInThePointsOwnDirectionNoLongerCounts) {
  const Scan scan = fanOf({1, 1, 1, 1, 1, 1, 1}, 0.1f);
  const float direction = std::atan2(2.0f * std::sin(0.4f), 2.0f * std::cos(0.4f));
  Scan exact = scan;
  exact.readings[4].angle = direction;
  EXPECT_TRUE(isVisible(exact, 2, 3, 2, 0.4f));
  exact.readings[1].angle = direction;
  exact.readings[2].range = 9;
  exact.readings[2].angle = exact.readings[3].angle = 0.5f;
  EXPECT_TRUE(isVisible(exact, 2, 3, 2, 0.4f));
}

TEST(IsHoleOK, aReadingJustAsLongHidesNothing) {
  const Scan scan = fanOf({2, 2, 2, 2, 2, 2}, 0.1f);
  EXPECT_TRUE(isVisible(scan, 2, 3, 2, 0.0f));
  EXPECT_FALSE(isVisible(scan, 2, 3, std::nextafter(2.0f, 3.0f), 0.0f));
}

// With growing angles the walk starts at the end border when the direction is not below the begin
// border's angle; which border it starts at shows in whether the other one is looked at.
TEST(IsHoleOK, withGrowingAnglesItStartsAtTheEndFromTheBeginsAngleOn) {
  const Scan shortEnd = fanOf({9, 9, 9, 1, 9, 9}, 0.1f);
  EXPECT_TRUE(isVisible(shortEnd, 2, 3, 2, 0.45f)) << "the end border itself is not looked at";
  const Scan shortBegin = fanOf({9, 9, 1, 9, 9, 9}, 0.1f);
  EXPECT_TRUE(isVisible(shortBegin, 2, 3, 2, 0.05f)) << "the begin border itself is not looked at";
  EXPECT_TRUE(isVisible(shortBegin, 2, 3, 2, 0.25f)) << "backwards from the end, past it at once";
}

TEST(IsHoleOK, withFallingAnglesItStartsAtTheEndBelowTheBeginsAngle) {
  // Bearings 0.5, 0.4, ... 0: at 0.05 the walk begins at the end border, reading 3 (bearing 0.2),
  // and as the direction is below it goes backwards, onto reading 2.
  Scan scan = fanOf({9, 9, 9, 9, 9, 9}, 0.1f);
  for (std::size_t i = 0; i < 6; ++i) scan.readings[i].angle = 0.1f * static_cast<float>(5 - i);
  EXPECT_TRUE(isVisible(scan, 2, 3, 2, 0.05f));
  scan.readings[2].range = 1;
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.05f));
  // From the begin border's angle (0.3) on it begins there and goes forward, onto reading 3.
  EXPECT_TRUE(isVisible(scan, 2, 3, 2, 0.45f));
  scan.readings[3].range = 1;
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.45f));
}

TEST(IsHoleOK, equalAnglesCountAsFalling) {
  Scan scan = fanOf({9, 9, 9, 9, 9, 9}, 0.0f);
  scan.readings[2].range = 1;
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, -0.3f)) << "from the end backwards, onto reading 2";
}

TEST(IsHoleOK, theStatusOfReadingsIsNotLookedAt) {
  Scan scan = fanOf({9, 9, 9, 9, 1, 9}, 0.1f);
  scan.readings[4].status = 1;
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.45f));
}

TEST(IsHoleOK, runningOutOfReadingsIsFine) {
  const Scan scan = fanOf({9, 9, 9, 9}, 0.1f);
  EXPECT_TRUE(isVisible(scan, 1, 2, 2, 1.0f));
  EXPECT_TRUE(isVisible(scan, 1, 2, 2, -1.0f));
}

TEST(FilterNoHit, dropsRunsUpToTheLimitAndKeepsLongerOnesWhole) {
  const Scan scan = scanOf({noHit(1), hit(2), noHit(3), noHit(4), reading(5, 0, 2), noHit(6),
                            noHit(7), noHit(8), hit(9), noHit(10), noHit(11)});
  const auto left = [&](unsigned int maxRun) {
    Scan out = scanOf({hit(77)});
    Brin::xFilterNoHit(scan, out, maxRun);
    std::vector<int> ranges;
    for (const RangeReading& r : out.readings) ranges.push_back(static_cast<int>(r.range));
    return ranges;
  };
  EXPECT_EQ(left(0), (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(left(1), (std::vector<int>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  EXPECT_EQ(left(2), (std::vector<int>{2, 5, 6, 7, 8, 9}));
  EXPECT_EQ(left(3), (std::vector<int>{2, 5, 9}));
  EXPECT_EQ(left(4294967295U), (std::vector<int>{2, 5, 9}));
}

TEST(FilterNoHit, copiesReadingsWhole) {
  RangeReading odd(1.5f, -0.5f);
  odd.weight = 0.25f;
  odd.mark = 42;
  odd.status = -1;
  Scan out;
  Brin::xFilterNoHit(scanOf({odd}), out, 3);
  ASSERT_EQ(out.readings.size(), 1U);
  EXPECT_TRUE(sameBits(out.readings[0], odd));
}

TEST(FilterNoHit, filtersAScanIntoItself) {
  Scan scan = scanOf({hit(1), noHit(2), hit(3), noHit(4), noHit(5)});
  Scan out;
  Brin::xFilterNoHit(scan, out, 1);
  Brin::xFilterNoHit(scan, scan, 1);
  EXPECT_TRUE(sameBits(scan.readings, out.readings));
  EXPECT_EQ(scan.readings.size(), 4U);
}

TEST(FilterNoHit, anEmptyScanOrNothingButShortRunsLeavesNothing) {
  Scan out = scanOf({hit(77)});
  Brin::xFilterNoHit(Scan{}, out, 1);
  EXPECT_TRUE(out.readings.empty());
  out = scanOf({hit(77)});
  Brin::xFilterNoHit(scanOf({noHit(1)}), out, 1);
  EXPECT_TRUE(out.readings.empty());
}

const Scan kRuns = scanOf({hit(1), noHit(1), noHit(1), reading(1, 0, 2), noHit(1), noHit(1)});

TEST(NextStepInScan, leavesARunOfNoHitsButGoesOnByOneFromAnythingElse) {
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 0, 0.0f), 1);
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 1, 0.0f), 3);
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 2, 0.0f), 3);
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 3, 0.0f), 4);
}

TEST(NextStepInScan, aRunAtTheEndLeadsToTheNumberOfReadings) {
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 4, 0.0f), 6);
  EXPECT_EQ(Brin::xNextStepInScan(kRuns, 5, 0.0f), 6);
}

TEST(NextStepInScan, theFloatIsIgnored) {
  for (const float ignored : {0.0f, -1.0f, 100.0f, kNan}) {
    EXPECT_EQ(Brin::xNextStepInScan(kRuns, 1, ignored), 3);
  }
}

int afterNoHits(const Scan& scan, int i) {
  Brin::xNextStepInScanNoHit(scan, i);
  return i;
}

TEST(NextStepInScanNoHit, passesNoHitsWhateverTheReadingItLeaves) {
  EXPECT_EQ(afterNoHits(kRuns, 0), 3);
  EXPECT_EQ(afterNoHits(kRuns, 1), 3);
  EXPECT_EQ(afterNoHits(kRuns, 2), 3);
}

TEST(NextStepInScanNoHit, neverPassesTheLastReadingEvenIfThatIsANoHit) {
  EXPECT_EQ(afterNoHits(kRuns, 3), 5);
  EXPECT_EQ(afterNoHits(kRuns, 4), 5);
  EXPECT_EQ(afterNoHits(scanOf({noHit(1), noHit(1)}), 0), 1);
}

TEST(NextStepInScanNoHit, fromTheLastReadingItLeavesTheScan) {
  EXPECT_EQ(afterNoHits(kRuns, 5), 6);
}

int afterGap(const Scan& scan, int i, float gap, float refRange) {
  Brin::xNextStepInScanDistanceGap(scan, i, gap, refRange);
  return i;
}

TEST(NextStepInScanDistanceGap, stopsAtAReadingWithinTheGapOfTheReference) {
  const Scan scan = scanOf({hit(1), hit(5), hit(3), hit(2), hit(1)});
  EXPECT_EQ(afterGap(scan, 0, 1.0f, 1.0f), 4) << "2 is just a gap away, which is not within it";
  EXPECT_EQ(afterGap(scan, 0, 1.5f, 1.0f), 3);
  EXPECT_EQ(afterGap(scan, 0, 5.0f, 1.0f), 1);
  EXPECT_EQ(afterGap(scan, 0, 0.5f, 9.0f), 5);
}

TEST(NextStepInScanDistanceGap, stopsAtAnythingThatIsNoHit) {
  const Scan scan = scanOf({hit(1), hit(5), noHit(5), hit(5), reading(5, 0, 2), hit(5)});
  EXPECT_EQ(afterGap(scan, 0, 1.0f, 1.0f), 2);
  EXPECT_EQ(afterGap(scan, 2, 1.0f, 1.0f), 4);
  EXPECT_EQ(afterGap(scan, 4, 1.0f, 1.0f), 6);
}

TEST(NextStepInScanDistanceGap, aRangeThatIsNoNumberIsNeverWithinTheGap) {
  EXPECT_EQ(afterGap(scanOf({hit(1), hit(kNan), hit(kInf)}), 0, 1.0f, 1.0f), 3);
}

TEST(Steps, indicesThatTheScanDoesNotHaveAreNotReadAndLeadToTheNext) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  const Scan empty;
  for (const Scan* scan : {&kRuns, &empty}) {
    for (const int i : {kMin, -7, -2, 6, 7, 1000000, kMax - 1}) {
      EXPECT_EQ(Brin::xNextStepInScan(*scan, i, 0.0f), i + 1);
      EXPECT_EQ(afterNoHits(*scan, i), i + 1);
      EXPECT_EQ(afterGap(*scan, i, 1.0f, 9.0f), i + 1);
    }
    EXPECT_EQ(Brin::xNextStepInScan(*scan, kMax, 0.0f), kMax);
    EXPECT_EQ(afterNoHits(*scan, kMax), kMax);
    EXPECT_EQ(afterGap(*scan, kMax, 1.0f, 9.0f), kMax);
  }
  EXPECT_EQ(afterNoHits(kRuns, -1), 0);
  EXPECT_EQ(afterNoHits(scanOf({noHit(1), noHit(1), hit(1)}), -1), 2);
}

TEST(IsHoleOK, bordersThatTheScanDoesNotHaveEndTheWalkBeforeItStarts) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  const Scan scan = fanOf({1, 1, 1, 1}, 0.1f);
  EXPECT_TRUE(isVisible(scan, 3, 4, 2, 0.0f));
  EXPECT_FALSE(isVisible(scan, 2, 3, 2, 0.0f)) << "while inside it would be hidden";
  for (const int i : {-1, 4, 5, kMin, kMax - 1}) {
    EXPECT_TRUE(isVisible(scan, i, i + 1, 2, 0.0f));
    EXPECT_TRUE(isVisible(scan, i + 1, i, 2, 0.0f));
  }
  EXPECT_TRUE(isVisible(scan, kMin, kMax, 2, 0.0f));
  EXPECT_TRUE(isVisible(scan, kMax, kMin, 2, 0.0f));
  EXPECT_TRUE(isVisible(Scan{}, 0, 1, 2, 0.0f));
}

}  // namespace
