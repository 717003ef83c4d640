// What the two detectors find. Most scans here look along x only (bearing 0), where a reading's
// point is (range, 0) and widths are exact.
#include "korrin/scan_holes.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "support/bits.hpp"
#include "support/scan_drawing.hpp"

namespace {

using Brin::Scan;
using Brin::ScanHole;
using korrin_test::fanOf;
using korrin_test::hit;
using korrin_test::noHit;
using korrin_test::reading;
using korrin_test::scanOf;
using Holes = std::vector<ScanHole>;
using Indices = std::vector<std::pair<int, int>>;

Holes holesOf(const Scan& scan, float minWidth) {
  Holes holes(1);
  Brin::findScanHoles(scan, holes, minWidth);
  return holes;
}

Holes oldHolesOf(const Scan& scan, float minWidth, int maxNoHitRun = 0) {
  Holes holes(1);
  Brin::findScanHoles_old(scan, holes, minWidth, maxNoHitRun);
  return holes;
}

Indices indicesOf(const Holes& holes) {
  Indices indices;
  for (const ScanHole& hole : holes) indices.emplace_back(hole.beginIndex, hole.endIndex);
  return indices;
}

// Holes whose borders are not neighbours can only be runs of no-hits.
Holes longRunsOf(const Holes& holes) {
  Holes runs;
  for (const ScanHole& hole : holes) {
    if (std::abs(hole.beginIndex - hole.endIndex) != 1) runs.push_back(hole);
  }
  return runs;
}

// Three no-hits between hits at `before` and `after`; the run's ends are 4 m apart.
Scan runBetween(float before, float after) {
  return scanOf({hit(before), noHit(5), noHit(6), noHit(9), hit(after)});
}

TEST(ScanHoles, aScanWithoutNoHitsOrJumpsHasNone) {
  const Scan scan = fanOf({2, 2.1f, 2.2f, 2.1f, 2}, 0.1f);
  EXPECT_TRUE(holesOf(scan, 0.5f).empty());
  EXPECT_TRUE(oldHolesOf(scan, 0.5f).empty());
}

TEST(ScanHoles, aJumpWiderThanTheWidthIsOneAndOneJustAsWideOnlyForTheOldDetector) {
  const Scan scan = scanOf({hit(1), hit(3)});
  EXPECT_EQ(holesOf(scan, std::nextafter(2.0f, 0.0f)).size(), 1U);
  EXPECT_TRUE(holesOf(scan, 2.0f).empty());
  EXPECT_EQ(oldHolesOf(scan, 2.0f).size(), 1U);
  EXPECT_TRUE(oldHolesOf(scan, std::nextafter(2.0f, 3.0f)).empty());
}

TEST(ScanHoles, aJumpsIndicesAreOneAboveItsBorderPointsButNotInTheOldDetector) {
  const Scan scan = scanOf({hit(1), hit(1), hit(4), hit(4), hit(4)});
  const Holes holes = holesOf(scan, 2.0f);
  ASSERT_EQ(indicesOf(holes), (Indices{{2, 3}}));
  EXPECT_TRUE(korrin_test::sameBits(holes[0].beginPoint, {1, 0}));
  EXPECT_TRUE(korrin_test::sameBits(holes[0].endPoint, {4, 0}));
  const Holes old = oldHolesOf(scan, 2.0f);
  ASSERT_EQ(indicesOf(old), (Indices{{1, 2}}));
  EXPECT_TRUE(korrin_test::sameBits(old[0].beginPoint, {1, 0}));
  EXPECT_TRUE(korrin_test::sameBits(old[0].endPoint, {4, 0}));
}

TEST(ScanHoles, aJumpsIndicesCountTheReadingsLeftByTheFilter) {
  const Scan scan = scanOf({hit(1), noHit(1), noHit(1), hit(1), hit(4), hit(4)});
  EXPECT_EQ(indicesOf(holesOf(scan, 2.0f)), (Indices{{2, 3}}));
  EXPECT_EQ(indicesOf(oldHolesOf(scan, 2.0f, 2)), (Indices{{1, 2}}));
  EXPECT_EQ(indicesOf(oldHolesOf(scan, 2.0f, 1)), (Indices{{3, 4}}));
}

// From 6 m inwards to 3 m, at the scan's left end. Its approach point lies to the right, 5 m away,
// behind readings of 4 m.
Scan hiddenJump() { return fanOf({4, 4, 4, 4, 4, 4, 6, 3}, 0.1f); }

TEST(ScanHoles, aHiddenApproachPointMakesNoHole) {
  Scan scan = hiddenJump();
  scan.readings.push_back(hit(3, 0.8f));
  EXPECT_TRUE(holesOf(scan, 2.5f).empty());
  EXPECT_TRUE(oldHolesOf(scan, 2.5f).empty());
  for (std::size_t i = 0; i < 6; ++i) scan.readings[i].range = 6;
  EXPECT_EQ(indicesOf(holesOf(scan, 2.5f)), (Indices{{7, 8}}));
  EXPECT_EQ(indicesOf(oldHolesOf(scan, 2.5f)), (Indices{{6, 7}}));
}

TEST(ScanHoles, aJumpAtTheLastReadingIsKeptEvenIfHiddenAsItsSecondIndexIsPastTheEnd) {
  EXPECT_EQ(indicesOf(holesOf(hiddenJump(), 2.5f)), (Indices{{7, 8}}));
  EXPECT_TRUE(oldHolesOf(hiddenJump(), 2.5f).empty());
}

TEST(ScanHoles, aRunOfNoHitsIsOneBetweenItsOwnEndsWithIndicesOfTheScanItself) {
  const Holes runs = longRunsOf(holesOf(runBetween(1, 3), 1.5f));
  ASSERT_EQ(indicesOf(runs), (Indices{{1, 3}}));
  EXPECT_TRUE(korrin_test::sameBits(runs[0].beginPoint, {5, 0}));
  EXPECT_TRUE(korrin_test::sameBits(runs[0].endPoint, {9, 0}));
}

TEST(ScanHoles, aRunNeedsTheReadingsAroundItFartherApartThanTheWidth) {
  EXPECT_EQ(longRunsOf(holesOf(runBetween(1, 3), std::nextafter(2.0f, 0.0f))).size(), 1U);
  EXPECT_TRUE(longRunsOf(holesOf(runBetween(1, 3), 2.0f)).empty());
}

TEST(ScanHoles, aRunNeedsItsOwnEndsFartherApartThanTheWidth) {
  EXPECT_EQ(longRunsOf(holesOf(runBetween(2, 20), std::nextafter(4.0f, 0.0f))).size(), 1U);
  EXPECT_TRUE(longRunsOf(holesOf(runBetween(2, 20), 4.0f)).empty());
}

TEST(ScanHoles, aRunNeedsAnArcWiderThanTheWidthAtTheNearerReadingAroundIt) {
  const float arc = 0.5f * 3.0f * (6.2831855f / 5.0f);
  for (const Scan& scan : {runBetween(0.5f, 9), runBetween(9, 0.5f)}) {
    EXPECT_EQ(longRunsOf(holesOf(scan, std::nextafter(arc, 0.0f))).size(), 1U);
    EXPECT_TRUE(longRunsOf(holesOf(scan, arc)).empty());
  }
}

TEST(ScanHoles, theArcTakesTheReadingsToSpanAFullTurnWhateverTheirAngles) {
  // The bearings are all 0, yet five readings count as 72 degrees each, and ten as 36.
  Scan scan = runBetween(0.5f, 9);
  EXPECT_EQ(longRunsOf(holesOf(scan, 1.5f)).size(), 1U);
  scan.readings.resize(10, hit(9));
  EXPECT_TRUE(longRunsOf(holesOf(scan, 1.5f)).empty());
  EXPECT_EQ(longRunsOf(holesOf(scan, 0.9f)).size(), 1U);
}

TEST(ScanHoles, theOldDetectorLooksAtNothingButARunsOwnEnds) {
  EXPECT_EQ(longRunsOf(oldHolesOf(runBetween(2, 2), 4.0f)).size(), 1U);
  EXPECT_EQ(longRunsOf(oldHolesOf(runBetween(0, 0), 4.0f)).size(), 1U);
  EXPECT_TRUE(longRunsOf(oldHolesOf(runBetween(2, 2), std::nextafter(4.0f, 5.0f))).empty());
  EXPECT_TRUE(longRunsOf(holesOf(runBetween(2, 2), 1.0f)).empty());
}

TEST(ScanHoles, aRunThatBeginsTheScanHasItsOwnFirstReadingBeforeIt) {
  const Scan scan = scanOf({noHit(5), noHit(6), noHit(9), hit(1), hit(1)});
  // From 5 m to 1 m around it; with anything else before it the run would not do.
  EXPECT_EQ(indicesOf(longRunsOf(holesOf(scan, 3.5f))), (Indices{{0, 2}}));
  EXPECT_TRUE(longRunsOf(holesOf(scan, 4.0f)).empty());
}

TEST(ScanHoles, theOldDetectorsFirstReadingNeverBeginsARun) {
  const Scan scan = scanOf({noHit(5), noHit(6), noHit(7), noHit(9), hit(9)});
  EXPECT_EQ(indicesOf(longRunsOf(oldHolesOf(scan, 2.5f))), (Indices{{1, 3}}));
}

TEST(ScanHoles, aRunThatReachesTheEndIsClosedByTheLastReading) {
  const Scan scan = scanOf({hit(1), noHit(5), noHit(6), noHit(9), noHit(4)});
  EXPECT_EQ(indicesOf(longRunsOf(holesOf(scan, 2.5f))), (Indices{{1, 3}}));
  // From 1 m to 4 m around the run.
  EXPECT_TRUE(longRunsOf(holesOf(scan, 3.0f)).empty());
  // The old detector keeps the last reading in the run.
  EXPECT_EQ(indicesOf(longRunsOf(oldHolesOf(scan, 1.0f))), (Indices{{1, 4}}));
}

TEST(ScanHoles, aNoHitAsTheLastReadingAloneMakesNone) {
  EXPECT_TRUE(holesOf(scanOf({hit(1), hit(1), noHit(9)}), 0.5f).empty());
  EXPECT_TRUE(holesOf(scanOf({noHit(9)}), 0.5f).empty());
  EXPECT_TRUE(oldHolesOf(scanOf({noHit(9)}), 0.5f).empty());
}

TEST(ScanHoles, readingsOfOtherStatusAreNeitherInARunNorFiltered) {
  const Scan scan =
      scanOf({hit(1), noHit(5), reading(6, 0, 2), reading(6, 0, -1), noHit(9), hit(9)});
  EXPECT_TRUE(longRunsOf(holesOf(scan, 1.5f)).empty());
  // Left by the filter: 1, 6, 6, 9.
  EXPECT_EQ(indicesOf(holesOf(scan, 2.5f)), (Indices{{1, 2}, {3, 4}}));
}

Scan runOf(int length) {
  Scan scan = scanOf({hit(1), hit(1)});
  for (int i = 0; i < length; ++i) scan.readings.push_back(noHit(1));
  scan.readings.push_back(hit(1));
  scan.readings.push_back(hit(9));
  scan.readings.push_back(hit(9));
  return scan;
}

TEST(ScanHoles, runsOf800ReadingsAreFilteredAndRunsOf801AreNot) {
  EXPECT_EQ(indicesOf(holesOf(runOf(800), 2.0f)), (Indices{{3, 4}}));
  EXPECT_EQ(indicesOf(holesOf(runOf(801), 2.0f)), (Indices{{804, 805}}));
}

TEST(ScanHoles, theOldDetectorsLimitIsTheCallers) {
  EXPECT_EQ(indicesOf(oldHolesOf(runOf(5), 2.0f, 5)), (Indices{{2, 3}}));
  EXPECT_EQ(indicesOf(oldHolesOf(runOf(5), 2.0f, 4)), (Indices{{7, 8}}));
}

TEST(ScanHoles, aNegativeLimitFiltersEveryRun) {
  EXPECT_EQ(indicesOf(oldHolesOf(runOf(900), 2.0f, -1)), (Indices{{2, 3}}));
}

TEST(ScanHoles, theOldDetectorSeesJumpsAtNoHitsToo) {
  const Scan scan = scanOf({hit(1), hit(1), noHit(9), noHit(9), hit(9)});
  EXPECT_EQ(indicesOf(oldHolesOf(scan, 2.0f)), (Indices{{1, 2}}));
  // Within a run only the step onto it counts.
  const Scan within = scanOf({hit(1), hit(1), noHit(1), noHit(9), hit(9)});
  EXPECT_TRUE(longRunsOf(oldHolesOf(within, 2.0f)).empty());
  EXPECT_EQ(indicesOf(oldHolesOf(within, 2.0f)), (Indices{{2, 3}})) << "the run itself";
}

TEST(ScanHoles, theMostStraightAheadComesFirst) {
  // A wall at 5 m from 0.35 to the right to 0.05 to the left; beyond it the scan reaches 9 m.
  const Scan scan = scanOf({hit(9, -0.45f), hit(9, -0.4f), hit(5, -0.35f), hit(5, -0.15f),
                            hit(5, 0.05f), hit(9, 0.1f), hit(9, 0.15f), hit(9, 0.2f)});
  for (const Holes& holes : {holesOf(scan, 2.0f), oldHolesOf(scan, 2.0f)}) {
    ASSERT_EQ(holes.size(), 2U);
    EXPECT_NEAR(holes[0].heading, 0.08f, 0.01f);
    EXPECT_NEAR(holes[1].heading, -0.38f, 0.01f);
  }
}

TEST(ScanHoles, resultsOfEarlierCallsAreEmptiedUnlessTheScanIsEmpty) {
  EXPECT_TRUE(holesOf(scanOf({hit(1)}), 1.0f).empty());
  EXPECT_TRUE(oldHolesOf(scanOf({hit(1)}), 1.0f).empty());
  EXPECT_EQ(holesOf(Scan{}, 1.0f).size(), 1U) << "findScanHoles leaves holes untouched";
  EXPECT_TRUE(oldHolesOf(Scan{}, 1.0f).empty());
}

TEST(ScanHoles, nothingButFilteredNoHitsHasNone) {
  const Scan scan = scanOf(std::vector<Brin::RangeReading>(800, noHit(5)));
  EXPECT_TRUE(holesOf(scan, 1.0f).empty());
  EXPECT_TRUE(oldHolesOf(scan, 1.0f, 800).empty());
}

TEST(ScanHoles, aNegativeWidthMakesAHoleOfEveryStepEvenTheFirst) {
  const Scan scan = scanOf({hit(1), hit(1)});
  EXPECT_EQ(indicesOf(holesOf(scan, -1.0f)), (Indices{{0, 1}, {1, 2}}));
  EXPECT_EQ(indicesOf(oldHolesOf(scan, -1.0f)), (Indices{{0, 1}}));
}

TEST(ScanHoles, theApproachPointIsTheWidthAwayFromTheMiddle) {
  const Holes holes = holesOf(fanOf({5, 5, 5, 9, 9, 9}, 0.05f), 2.0f);
  ASSERT_EQ(holes.size(), 1U);
  const ScanHole& hole = holes[0];
  const Brin::Point2D offset(hole.approachPoint.x - 0.5f * (hole.beginPoint.x + hole.endPoint.x),
                             hole.approachPoint.y - 0.5f * (hole.beginPoint.y + hole.endPoint.y));
  EXPECT_NEAR(Brin::computeNorm(offset), 2.0f, 1e-5f);
}

}  // namespace
