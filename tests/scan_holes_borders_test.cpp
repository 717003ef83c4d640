// Widths, ranges, angles and lengths of runs exactly at the limits that make a hole, or the next
// float beside them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "korrin/scan_holes.hpp"
#include "models/scan_holes_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/random_scans.hpp"

namespace {

using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanHole;
using korrin_test::Beams;
using korrin_test::besideBorder;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::ScanBounds;
using Holes = std::vector<ScanHole>;

// The widths that decide about holes of a scan: distances between neighbours, and for each run of
// no-hits the three that it is judged by.
std::vector<float> widthsOf(const Scan& scan) {
  const std::vector<RangeReading>& readings = scan.readings;
  const auto n = static_cast<int>(readings.size());
  const auto point = [&](int i) { return korrin_model::pointAt(readings, i); };
  std::vector<float> widths;
  for (int i = 1; i < n; ++i) {
    widths.push_back(korrin_model::distanceBetween(point(i), point(i - 1)));
    if (!korrin_model::isNoHit(readings, i) || korrin_model::isNoHit(readings, i - 1)) continue;
    const int next = korrin_model::nextStepNoHit(readings, i);
    if (next >= n) continue;
    const Brin::Point2D before = point(i - 1);
    const Brin::Point2D after = point(next);
    widths.push_back(korrin_model::distanceBetween(before, after));
    widths.push_back(korrin_model::distanceBetween(point(i), point(next - 1)));
    const float nearer = std::min(korrin_model::lengthOf(before.x, before.y),
                                  korrin_model::lengthOf(after.x, after.y));
    widths.push_back(nearer * static_cast<float>(next - i) * 6.2831855f / static_cast<float>(n));
    widths.push_back(nearer * static_cast<float>(next - i) * (6.2831855f / static_cast<float>(n)));
  }
  return widths;
}

// In any order, since that of holes equally far from straight ahead is open.
Holes sorted(Holes holes) {
  std::sort(holes.begin(), holes.end(), [](const ScanHole& a, const ScanHole& b) {
    return std::make_pair(a.beginIndex, a.endIndex) < std::make_pair(b.beginIndex, b.endIndex);
  });
  return holes;
}

TEST(ScanHolesBorders, aMinimumWidthThatIsAWidthOfTheScan) {
  RandomInputs random(111);
  int atLimit = 0;
  int holes = 0;
  for (int i = 0; i < 30000; ++i) {
    ScanBounds bounds;
    bounds.beams = random.pick<Beams>({Beams::Growing, Beams::Falling, Beams::Anywhere});
    const Scan scan = korrin_test::randomScan(random, bounds);
    const std::vector<float> widths = widthsOf(scan);
    if (widths.empty()) continue;
    const float width = random.pick(widths);
    const float minWidth = besideBorder(random, width);
    atLimit += minWidth == width ? 1 : 0;
    Holes found;
    Holes expected;
    Brin::findScanHoles(scan, found, minWidth);
    korrin_model::findScanHoles(scan, expected, minWidth);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "case " << i;
    holes += static_cast<int>(found.size());
    const int maxRun = random.pick<int>({0, 1, 2, 3, 5, 9});
    Brin::findScanHoles_old(scan, found, minWidth, maxRun);
    korrin_model::findScanHolesOld(scan, expected, minWidth, maxRun);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "the old way, case " << i;
    holes += static_cast<int>(found.size());
  }
  EXPECT_GT(atLimit, 8000);
  EXPECT_GT(holes, 30000);
}

// A hole seen past readings whose range is its own distance and whose angle its own direction.
TEST(ScanHolesBorders, readingsExactlyInTheWayOfAHole) {
  RandomInputs random(112);
  int atRange = 0;
  int atAngle = 0;
  int seen = 0;
  int hidden = 0;
  for (int i = 0; i < 60000; ++i) {
    ScanHole hole;
    hole.approachPoint = {random.between(-3.0f, 3.0f), random.between(-3.0f, 3.0f)};
    const float far = korrin_model::lengthOf(hole.approachPoint.x, hole.approachPoint.y);
    const float direction = std::atan2(hole.approachPoint.y, hole.approachPoint.x);
    Scan scan;
    const float step = random.pick<float>({0.1f, -0.1f});
    const int n = random.between(2, 9);
    for (int k = 0; k < n; ++k) {
      float range = far + random.between(-0.1f, 0.3f);
      float angle = direction + step * static_cast<float>(k - n / 2) + random.between(0.0f, 0.05f);
      if (random.chance(0.4)) range = besideBorder(random, far), atRange += range == far;
      if (random.chance(0.3))
        angle = besideBorder(random, direction), atAngle += angle == direction;
      scan.readings.emplace_back(range, angle);
    }
    hole.beginIndex = random.between(-1, n);
    hole.endIndex = hole.beginIndex + random.pick<int>({1, -1, 1, -1, 0, 2});
    const bool isOK = Brin::xIsHoleOK(scan, hole);
    ASSERT_EQ(isOK, korrin_model::isHoleOK(scan.readings, hole)) << "case " << i;
    (isOK ? seen : hidden) += 1;
  }
  EXPECT_GT(atRange, 20000);
  EXPECT_GT(atAngle, 20000);
  EXPECT_GT(seen, 10000);
  EXPECT_GT(hidden, 3000);
}

// Neighbours whose distance is that of a gap's border, or far off it, at every place of a block.
TEST(ScanHolesBorders, aGapAtAnyPlaceOfAScan) {
  RandomInputs random(113);
  int gaps = 0;
  for (int i = 0; i < 20000; ++i) {
    Scan scan;
    const float minWidth = random.pick<float>({0.25f, 0.5f, 1.0f, 0.3f});
    float range = random.between(2.0f, 8.0f);
    for (int k = random.between(2, 24); k > 0; --k) {
      const float jump =
          random.chance(0.15) ? besideBorder(random, range + minWidth) - range : 0.0f;
      range += random.chance(0.5) && range > 2.0f ? -jump : jump;
      scan.readings.emplace_back(range, random.pick<float>({0.0f, 0.0f, 0.001f}));
    }
    Holes found;
    Holes expected;
    Brin::findScanHoles(scan, found, minWidth);
    korrin_model::findScanHoles(scan, expected, minWidth);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "case " << i;
    gaps += static_cast<int>(found.size());
    Brin::findScanHoles_old(scan, found, minWidth, 3);
    korrin_model::findScanHolesOld(scan, expected, minWidth, 3);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "the old way, case " << i;
  }
  EXPECT_GT(gaps, 5000);
}

// Far away, where points are rounded by as much as they are apart: the width is the distance that
// this leaves, however near the readings are to each other.
TEST(ScanHolesBorders, aGapThatRoundingMakes) {
  RandomInputs random(115);
  int widened = 0;
  for (int i = 0; i < 20000; ++i) {
    Scan scan;
    const float far = random.pick<float>({1.0f, 100.0f, 1000.0f, 10000.0f});
    const float angle = random.between(-3.0f, 3.0f);
    for (int k = random.between(2, 12); k > 0; --k) {
      scan.readings.emplace_back(far + far * random.between(0.0f, 2e-6f), angle);
    }
    const float width = random.pick(widthsOf(scan));
    const float minWidth = besideBorder(random, width);
    Holes found;
    Holes expected;
    Brin::findScanHoles(scan, found, minWidth);
    korrin_model::findScanHoles(scan, expected, minWidth);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "case " << i;
    Brin::findScanHoles_old(scan, found, minWidth, 3);
    korrin_model::findScanHolesOld(scan, expected, minWidth, 3);
    ASSERT_TRUE(sameBits(sorted(found), sorted(expected))) << "the old way, case " << i;
    const float apart = std::fabs(scan.readings[0].range - scan.readings[1].range);
    widened += width > 1.01f * apart ? 1 : 0;
  }
  EXPECT_GT(widened, 3000);
}

// Steps whose range differs from the reference by exactly the gap.
TEST(ScanHolesBorders, stepsOverADistanceOfExactlyTheGap) {
  RandomInputs random(114);
  int atGap = 0;
  for (int i = 0; i < 20000; ++i) {
    const float reference = random.between(0.0f, 4.0f);
    const float gap = random.between(0.0f, 2.0f);
    Scan scan;
    for (int k = random.between(0, 8); k > 0; --k) {
      const float border = random.chance(0.5) ? reference + gap : reference - gap;
      scan.readings.emplace_back(besideBorder(random, border), 0.0f);
      atGap += std::fabs(scan.readings.back().range - reference) == gap ? 1 : 0;
    }
    int next = random.between(-1, 8);
    const int expected = korrin_model::nextStepDistanceGap(scan.readings, next, gap, reference);
    Brin::xNextStepInScanDistanceGap(scan, next, gap, reference);
    ASSERT_EQ(next, expected) << "case " << i;
  }
  EXPECT_GT(atGap, 10000);
}

// Runs of exactly the longest dropped length, one more and one less; both for the caller's own
// length and for the 800 of findScanHoles.
TEST(ScanHolesBorders, runsOfExactlyTheLongestDroppedLength) {
  for (const int longest : {0, 1, 2, 7, 800}) {
    for (const int length : {longest - 1, longest, longest + 1}) {
      if (length < 0) continue;
      Scan scan;
      const auto add = [&](float range, int status) {
        scan.readings.emplace_back(range, 0.001f * static_cast<float>(scan.readings.size()));
        scan.readings.back().status = status;
      };
      for (int i = 0; i < 5; ++i) add(3.0f, 0);
      for (int i = 0; i < length; ++i) add(9.0f, 1);
      for (int i = 0; i < 5; ++i) add(3.0f, 0);
      Scan kept;
      Brin::xFilterNoHit(scan, kept, static_cast<unsigned int>(longest));
      EXPECT_EQ(kept.readings.size(), length > longest ? scan.readings.size() : 10u)
          << length << " of " << longest;
      Holes found;
      Holes expected;
      Brin::findScanHoles(scan, found, 0.5f);
      korrin_model::findScanHoles(scan, expected, 0.5f);
      EXPECT_TRUE(sameBits(sorted(found), sorted(expected))) << length << " of " << longest;
    }
  }
}

}  // namespace
