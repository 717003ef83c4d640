// On any scan the detectors and their steps give what the literal model gives, bit for bit. Only
// the order of holes equally far from straight ahead is left open.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

#include "korrin/scan_holes.hpp"
#include "models/scan_holes_model.hpp"
#include "support/bits.hpp"
#include "support/random_scans.hpp"
#include "support/scan_drawing.hpp"

namespace {

using Brin::Point2D;
using Brin::Scan;
using Brin::ScanHole;
using korrin_test::Beams;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::ScanBounds;
using Holes = std::vector<ScanHole>;

std::uint32_t bitsOf(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

bool byContent(const ScanHole& a, const ScanHole& b) {
  const auto key = [](const ScanHole& h) {
    return std::make_tuple(h.beginIndex, h.endIndex, bitsOf(h.beginPoint.x), bitsOf(h.beginPoint.y),
                           bitsOf(h.endPoint.x), bitsOf(h.endPoint.y));
  };
  return key(a) < key(b);
}

::testing::AssertionResult sameButForTies(Holes library, Holes model) {
  if (!std::is_sorted(library.begin(), library.end(), korrin_model::comesBefore)) {
    return ::testing::AssertionFailure() << "not sorted";
  }
  std::sort(library.begin(), library.end(), byContent);
  std::sort(model.begin(), model.end(), byContent);
  if (!sameBits(library, model)) {
    return ::testing::AssertionFailure()
           << "other holes: " << library.size() << " against " << model.size();
  }
  return ::testing::AssertionSuccess();
}

Holes newHoles(const Scan& scan, float minWidth) {
  Holes holes;
  Brin::findScanHoles(scan, holes, minWidth);
  return holes;
}

Holes newHolesModel(const Scan& scan, float minWidth) {
  Holes holes;
  korrin_model::findScanHoles(scan, holes, minWidth);
  return holes;
}

Holes oldHoles(const Scan& scan, float minWidth, int maxNoHitRun) {
  Holes holes;
  Brin::findScanHoles_old(scan, holes, minWidth, maxNoHitRun);
  return holes;
}

Holes oldHolesModel(const Scan& scan, float minWidth, int maxNoHitRun) {
  Holes holes;
  korrin_model::findScanHolesOld(scan, holes, minWidth, maxNoHitRun);
  return holes;
}

// A width that some comparison of the scan may meet exactly, or just miss, or any other.
float widthFor(RandomInputs& random, const Scan& scan) {
  if (random.chance(0.02)) return random.wildFloat();
  const int n = static_cast<int>(scan.readings.size());
  if (n < 2 || random.chance(0.4)) return random.between(0.05f, 3.0f);
  const int i = random.between(1, n - 1);
  const auto& readings = scan.readings;
  const Point2D p = korrin_model::pointAt(readings, i);
  const int j = random.chance(0.7) ? i - 1 : random.between(0, n - 1);
  const Point2D q = korrin_model::pointAt(readings, j);
  float width = korrin_model::distanceBetween(p, q);
  if (random.chance(0.2)) {
    const auto count = static_cast<float>(random.pick<int>({1, 2, 3, 5, 9}));
    width = korrin_model::lengthOf(p.x, p.y) * count * (6.2831855f / static_cast<float>(n));
  }
  return random.chance(0.2) ? std::nextafter(width, 0.0f) : width;
}

struct Seen {
  int holes = 0;
  int runs = 0;    // holes of more than two readings
  int ties = 0;    // a jump just as wide as the width
  int hidden = 0;  // a jump that made no hole
};

void countFeatures(const Scan& scan, float minWidth, const Holes& holes, Seen& seen) {
  int jumps = 0;
  for (int i = 1; i < static_cast<int>(scan.readings.size()); ++i) {
    const float d = korrin_model::distanceBetween(korrin_model::pointAt(scan.readings, i - 1),
                                                  korrin_model::pointAt(scan.readings, i));
    seen.ties += d == minWidth ? 1 : 0;
    jumps += d > minWidth ? 1 : 0;
  }
  for (const ScanHole& hole : holes) {
    ++seen.holes;
    seen.runs += std::abs(hole.beginIndex - hole.endIndex) > 1 ? 1 : 0;
  }
  seen.hidden += jumps > static_cast<int>(holes.size()) ? 1 : 0;
}

ScanBounds someBounds(RandomInputs& random) {
  ScanBounds bounds;
  bounds.beams = random.pick<Beams>(
      {Beams::Growing, Beams::Growing, Beams::Falling, Beams::Straight, Beams::Anywhere});
  bounds.wildShare = random.pick<double>({0.0, 0.0, 0.0, 0.03, 0.5});
  return bounds;
}

TEST(ScanHolesLaws, bothDetectorsFindTheModelsHoles) {
  RandomInputs random(81);
  Seen seen;
  for (int i = 0; i < 40000 && !HasFailure(); ++i) {
    const Scan scan = korrin_test::randomScan(random, someBounds(random));
    const float minWidth = widthFor(random, scan);
    const int maxRun = random.pick<int>({0, 1, 2, 3, 4, 5, 8, 100, -1, -5});
    const Holes holes = newHoles(scan, minWidth);
    EXPECT_TRUE(sameButForTies(holes, newHolesModel(scan, minWidth)));
    EXPECT_TRUE(
        sameButForTies(oldHoles(scan, minWidth, maxRun), oldHolesModel(scan, minWidth, maxRun)));
    countFeatures(scan, minWidth, holes, seen);
  }
  EXPECT_GT(seen.holes, 80000);
  EXPECT_GT(seen.runs, 6000);
  EXPECT_GT(seen.ties, 15000);
  EXPECT_GT(seen.hidden, 8000);
}

TEST(ScanHolesLaws, runsAroundTheLengthThatIsFilteredGiveTheModelsHoles) {
  RandomInputs random(82);
  int longScans = 0;
  int holesFound = 0;
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    ScanBounds bounds = someBounds(random);
    bounds.maxSegments = 5;
    bounds.runLengths = {1, 799, 800, 801, 802, 1600};
    const Scan scan = korrin_test::randomScan(random, bounds);
    const float minWidth = widthFor(random, scan);
    const int maxRun = random.pick<int>({798, 799, 800, 801, 802});
    const Holes holes = newHoles(scan, minWidth);
    EXPECT_TRUE(sameButForTies(holes, newHolesModel(scan, minWidth)));
    EXPECT_TRUE(
        sameButForTies(oldHoles(scan, minWidth, maxRun), oldHolesModel(scan, minWidth, maxRun)));
    longScans += scan.readings.size() > 800 ? 1 : 0;
    holesFound += static_cast<int>(holes.size());
  }
  EXPECT_GT(longScans, 700);
  EXPECT_GT(holesFound, 3000);
}

TEST(ScanHolesLaws, theSmallestScansOfAllGiveTheModelsHoles) {
  // Every scan of up to four readings with two ranges and two states, with every width that ties.
  int scans = 0;
  for (int n = 0; n <= 4; ++n) {
    for (int code = 0; code < 1 << (2 * n); ++code, ++scans) {
      Scan scan;
      for (int i = 0; i < n; ++i) {
        const int bits = code >> (2 * i);
        scan.readings.push_back(
            korrin_test::reading((bits & 1) != 0 ? 1.0f : 3.0f, 0.0f, bits >> 1 & 1));
      }
      for (const float minWidth : {-1.0f, 0.0f, 1.0f, 2.0f}) {
        ASSERT_TRUE(sameButForTies(newHoles(scan, minWidth), newHolesModel(scan, minWidth)));
        for (int maxRun = -1; maxRun < 4; ++maxRun) {
          ASSERT_TRUE(sameButForTies(oldHoles(scan, minWidth, maxRun),
                                     oldHolesModel(scan, minWidth, maxRun)));
        }
      }
    }
  }
  EXPECT_EQ(scans, 1 + 4 + 16 + 64 + 256);
}

RC_GTEST_PROP(ScanHolesLaws, smallScansGiveTheModelsHoles,
              (const std::vector<std::pair<int, int>>& drawn, int width)) {
  Scan scan;
  for (const auto& [range, status] : drawn) {
    const auto index = static_cast<float>(scan.readings.size());
    scan.readings.push_back(
        korrin_test::reading(static_cast<float>(range & 7), 0.1f * index, status & 1));
  }
  const auto minWidth = static_cast<float>(width & 3);
  RC_ASSERT(sameButForTies(newHoles(scan, minWidth), newHolesModel(scan, minWidth)));
  RC_ASSERT(sameButForTies(oldHoles(scan, minWidth, 1), oldHolesModel(scan, minWidth, 1)));
}

TEST(ScanHolesLaws, theFilterIsTheModels) {
  RandomInputs random(83);
  int shortened = 0;
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    Scan scan = korrin_test::randomScan(random, someBounds(random));
    const auto maxRun = static_cast<unsigned int>(random.between(0, 10));
    Scan out;
    Brin::xFilterNoHit(scan, out, maxRun);
    EXPECT_TRUE(sameBits(out.readings, korrin_model::filterNoHit(scan.readings, maxRun)));
    shortened += out.readings.size() < scan.readings.size() ? 1 : 0;
    Brin::xFilterNoHit(scan, scan, maxRun);
    EXPECT_TRUE(sameBits(out.readings, scan.readings));
  }
  EXPECT_GT(shortened, 5000);
}

TEST(ScanHolesLaws, theStepsAreTheModels) {
  RandomInputs random(84);
  int steps = 0;
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    const Scan scan = korrin_test::randomScan(random, someBounds(random));
    for (int at = 0; at < static_cast<int>(scan.readings.size()); ++at, ++steps) {
      EXPECT_EQ(Brin::xNextStepInScan(scan, at, 0.3f), korrin_model::nextStep(scan.readings, at));
      int noHit = at;
      Brin::xNextStepInScanNoHit(scan, noHit);
      EXPECT_EQ(noHit, korrin_model::nextStepNoHit(scan.readings, at));
      const float gap = random.pick<float>({0.0f, 1.0f, 2.0f, random.wildFloat()});
      const float reference = random.pick<float>({1.0f, 3.0f, random.wildFloat()});
      int next = at;
      Brin::xNextStepInScanDistanceGap(scan, next, gap, reference);
      EXPECT_EQ(next, korrin_model::nextStepDistanceGap(scan.readings, at, gap, reference));
    }
  }
  EXPECT_GT(steps, 100000);
}

TEST(ScanHolesLaws, zonesAreTheModels) {
  RandomInputs random(85);
  const auto someFloat = [&] {
    return random.chance(0.3) ? random.wildFloat() : random.between(-5.0f, 5.0f);
  };
  for (int i = 0; i < 100000 && !HasFailure(); ++i) {
    const Point2D a(someFloat(), someFloat());
    const Point2D b(someFloat(), someFloat());
    const int ia = random.between(-2, 2);
    const int ib = random.between(-2, 2);
    const float dist = someFloat();
    ScanHole hole;
    Brin::xNormalizeZone(a, ia, b, ib, dist, hole, random.chance(0.5));
    EXPECT_TRUE(sameBits(hole, korrin_model::normalizeZone(a, ia, b, ib, dist)));
  }
}

TEST(ScanHolesLaws, visibilityIsTheModels) {
  RandomInputs random(86);
  int hidden = 0;
  int visible = 0;
  for (int i = 0; i < 100000 && !HasFailure(); ++i) {
    const Scan scan = korrin_test::randomScan(random, someBounds(random));
    const int n = static_cast<int>(scan.readings.size());
    ScanHole hole;
    hole.beginIndex = random.between(-2, n + 1);
    hole.endIndex = hole.beginIndex + random.pick<int>({1, 1, -1, -1, 0, 2});
    hole.approachPoint = {random.between(-5.0f, 5.0f), random.between(-5.0f, 5.0f)};
    // Now and then just in a reading's direction.
    if (n > 0 && random.chance(0.3)) {
      hole.approachPoint = korrin_model::pointAt(scan.readings, random.between(0, n - 1));
    }
    if (random.chance(0.02)) hole.approachPoint.x = random.wildFloat();
    const bool expected = korrin_model::isHoleOK(scan.readings, hole);
    EXPECT_EQ(Brin::xIsHoleOK(scan, hole), expected);
    ++(expected ? visible : hidden);
  }
  EXPECT_GT(hidden, 10000);
  EXPECT_GT(visible, 30000);
}

TEST(ScanHolesLaws, theComparisonOfHeadingsIsTheModels) {
  RandomInputs random(87);
  int before = 0;
  int unordered = 0;
  for (int i = 0; i < 100000 && !HasFailure(); ++i) {
    ScanHole a;
    ScanHole b;
    a.heading = random.chance(0.5) ? random.wildFloat() : random.between(-3.0f, 3.0f);
    b.heading = random.chance(0.2) ? -a.heading : random.wildFloat();
    const bool expected = korrin_model::headingAmpCompare(a, b);
    EXPECT_EQ(Brin::headingAmpCompare(a, b), expected) << a.heading << " and " << b.heading;
    before += expected ? 1 : 0;
    unordered += std::isnan(a.heading) || std::isnan(b.heading) ? 1 : 0;
  }
  EXPECT_GT(before, 20000);
  EXPECT_GT(unordered, 2000);
}

}  // namespace
