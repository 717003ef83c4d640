#include "korrin/scan_holes.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "src/gap_screen.hpp"

namespace Brin {
namespace {

using Readings = std::vector<RangeReading>;

constexpr std::int32_t kNoHit = 1;
constexpr int kLargest = std::numeric_limits<int>::max();

int countOf(const Readings& readings) {
  return static_cast<int>(std::min(readings.size(), static_cast<std::size_t>(kLargest)));
}

bool exists(const Readings& readings, int i) { return i >= 0 && i < countOf(readings); }

const RangeReading& at(const Readings& readings, int i) {
  return readings[static_cast<std::size_t>(i)];
}

bool isNoHit(const RangeReading& reading) { return reading.status == kNoHit; }

// The first index from `i` on whose reading is a no-hit, or `end`.
int nextNoHit(const Readings& readings, int i, int end) {
  while (i < end && !isNoHit(at(readings, i))) ++i;
  return i;
}

// The first index from `i` on whose reading is not a no-hit, or `end`.
int pastNoHits(const Readings& readings, int i, int end) {
  while (i < end && isNoHit(at(readings, i))) ++i;
  return i;
}

Point2D pointAt(const Readings& readings, int i) { return at(readings, i).toPoint2D(); }

float distanceBetween(const Point2D& p, const Point2D& q) {
  return computeNorm(Point2D(p.x - q.x, p.y - q.y));
}

int following(int i) { return i < kLargest ? i + 1 : i; }

// Appends holes that can be seen in the scan that their indices refer to.
class HoleCollector {
 public:
  HoleCollector(const Scan& scan, float minWidth, std::vector<ScanHole>& holes)
      : scan_(scan), minWidth_(minWidth), holes_(holes) {}

  void add(const Point2D& a, int ia, const Point2D& b, int ib, bool isRun) {
    ScanHole hole;
    xNormalizeZone(a, ia, b, ib, minWidth_, hole, isRun);
    if (xIsHoleOK(scan_, hole)) holes_.push_back(hole);
  }

 private:
  const Scan& scan_;
  float minWidth_;
  std::vector<ScanHole>& holes_;
};

// Whether the no-hit run of readings `first` to `next` - 1 is wide enough in all three ways:
// between the readings around it, from end to end, and along the arc.
bool isWideRun(const Readings& readings, int first, int next, float minWidth) {
  const Point2D before = pointAt(readings, std::max(first - 1, 0));
  const Point2D after = pointAt(readings, next);
  if (!(distanceBetween(before, after) > minWidth)) return false;
  const Point2D begin = pointAt(readings, first);
  const Point2D end = pointAt(readings, next - 1);
  if (!(distanceBetween(begin, end) > minWidth)) return false;
  // The scan's readings are taken to span a full turn, whatever its field of view; intended.
  const float step = 6.2831855f / static_cast<float>(countOf(readings));
  const float nearer = std::min(computeNorm(before), computeNorm(after));
  return nearer * static_cast<float>(next - first) * step > minWidth;
}

void findNoHitRuns(const Scan& scan, float minWidth, std::vector<ScanHole>& holes) {
  HoleCollector collector(scan, minWidth, holes);
  const Readings& readings = scan.readings;
  const int n = countOf(readings);
  for (int i = nextNoHit(readings, 0, n); i < n; i = nextNoHit(readings, i, n)) {
    const int first = i;
    xNextStepInScanNoHit(scan, i);
    // A no-hit that is the scan's last reading has none after it, and makes no hole.
    if (i < n && isWideRun(readings, first, i, minWidth)) {
      collector.add(pointAt(readings, first), first, pointAt(readings, i - 1), i - 1, true);
    }
  }
}

void findDistanceGaps(const Scan& filtered, float minWidth, std::vector<ScanHole>& holes) {
  HoleCollector collector(filtered, minWidth, holes);
  const GapScreen screen(minWidth);
  const Readings& readings = filtered.readings;
  const int m = countOf(readings);
  // The first step compares the first reading with itself.
  for (int i = 0; i < m; i = screen.firstApart(readings, i + 1, m)) {
    const Point2D before = pointAt(readings, std::max(i - 1, 0));
    const Point2D here = pointAt(readings, i);
    if (!(distanceBetween(before, here) > minWidth)) continue;
    // The indices are one above those of the two points, and count the filtered readings: both
    // are intended.
    collector.add(before, i, here, i + 1, false);
  }
}

// As headingAmpCompare on numbers. What is not a number lies as far aside as infinity, so that any
// headings have an order.
bool liesMoreAhead(const ScanHole& a, const ScanHole& b) {
  const auto amplitude = [](const ScanHole& hole) {
    return std::isnan(hole.heading) ? std::numeric_limits<float>::infinity()
                                    : std::fabs(hole.heading);
  };
  return amplitude(a) < amplitude(b);
}

void sortHoles(std::vector<ScanHole>& holes) {
  // Stable, so that the result is the same with every standard library.
  std::stable_sort(holes.begin(), holes.end(), liesMoreAhead);
}

}  // namespace

bool headingAmpCompare(const ScanHole& a, const ScanHole& b) {
  return std::fabs(a.heading) < std::fabs(b.heading);
}

void xNormalizeZone(const Point2D& a, int ia, const Point2D& b, int ib, float dist, ScanHole& hole,
                    bool /*flag*/) {  // ignored on purpose
  hole.beginPoint = a;
  hole.endPoint = b;
  hole.beginIndex = ia;
  hole.endIndex = ib;
  hole.heading = std::atan2(a.y + b.y, a.x + b.x);
  const Point2D& lower = ia > ib ? b : a;
  const Point2D& upper = ia > ib ? a : b;
  hole.normalAngle = std::atan2(lower.x - upper.x, upper.y - lower.y);
  const Point2D middle(0.5f * (a.x + b.x), 0.5f * (a.y + b.y));
  const double normal = hole.normalAngle;
  hole.approachPoint = Point2D(static_cast<float>(middle.x - dist * std::cos(normal)),
                               static_cast<float>(middle.y - dist * std::sin(normal)));
}

bool xIsHoleOK(const Scan& scan, const ScanHole& hole) {
  const Readings& readings = scan.readings;
  const std::int64_t apart = std::int64_t{hole.beginIndex} - hole.endIndex;
  if (apart != 1 && apart != -1) return true;
  if (!exists(readings, hole.beginIndex) || !exists(readings, hole.endIndex)) return true;

  const float far = computeNorm(hole.approachPoint);
  const float direction = std::atan2(hole.approachPoint.y, hole.approachPoint.x);
  const float beginAngle = at(readings, hole.beginIndex).angle;
  const float endAngle = at(readings, hole.endIndex).angle;
  // Comparing the outcomes of the two tests is intended. With growing angles it means: start at
  // the end border if `direction` is not below the begin border's angle.
  const bool fromEnd = (endAngle <= beginAngle) == (beginAngle > direction);
  const int start = fromEnd ? hole.endIndex : hole.beginIndex;

  if (direction > at(readings, start).angle) {
    for (int k = start + 1; k < countOf(readings); ++k) {
      if (at(readings, k).angle >= direction) return true;
      if (far > at(readings, k).range) return false;
    }
  } else {
    for (int k = start - 1; k >= 0; --k) {
      if (direction >= at(readings, k).angle) return true;
      if (far > at(readings, k).range) return false;
    }
  }
  return true;
}

void xFilterNoHit(const Scan& in, Scan& out, unsigned int maxRun) {
  const Readings& readings = in.readings;
  const int n = countOf(readings);
  Readings kept;
  kept.reserve(readings.size());
  int notCopied = 0;
  const auto copyUpTo = [&](int end) {
    kept.insert(kept.end(), readings.begin() + notCopied, readings.begin() + end);
  };
  for (int run = nextNoHit(readings, 0, n); run < n;) {
    const int runEnd = pastNoHits(readings, run, n);
    if (static_cast<unsigned int>(runEnd - run) <= maxRun) {
      copyUpTo(run);
      notCopied = runEnd;
    }
    run = nextNoHit(readings, runEnd, n);
  }
  copyUpTo(n);
  out.readings = std::move(kept);
}

int xNextStepInScan(const Scan& scan, int i, float /*ignored on purpose*/) {
  const int n = countOf(scan.readings);
  const bool onNoHit = exists(scan.readings, i) && isNoHit(at(scan.readings, i));
  return onNoHit ? pastNoHits(scan.readings, i, n) : following(i);
}

void xNextStepInScanNoHit(const Scan& scan, int& i) {
  i = following(i);
  if (!exists(scan.readings, i)) return;
  // Never past the last reading, so that a run which reaches the scan's end is closed by it;
  // intended.
  i = pastNoHits(scan.readings, i, countOf(scan.readings) - 1);
}

void xNextStepInScanDistanceGap(const Scan& scan, int& i, float gap, float refRange) {
  i = following(i);
  while (exists(scan.readings, i)) {
    const RangeReading& reading = at(scan.readings, i);
    if (std::fabs(reading.range - refRange) < gap || reading.status != 0) return;
    ++i;
  }
}

void findScanHoles(const Scan& scan, std::vector<ScanHole>& holes, float minWidth) {
  // Nothing to look at leaves even old holes in place, unlike in findScanHoles_old; both intended.
  if (scan.readings.empty()) return;
  holes.clear();
  findNoHitRuns(scan, minWidth, holes);
  constexpr unsigned int kLongestDroppedRun = 800;
  Scan filtered;
  xFilterNoHit(scan, filtered, kLongestDroppedRun);
  findDistanceGaps(filtered, minWidth, holes);
  sortHoles(holes);
}

void findScanHoles_old(const Scan& scan, std::vector<ScanHole>& holes, float minWidth,
                       int maxNoHitRun) {
  holes.clear();
  Scan filtered;
  xFilterNoHit(scan, filtered, static_cast<unsigned int>(maxNoHitRun));
  const Readings& readings = filtered.readings;
  const int m = countOf(readings);
  HoleCollector collector(filtered, minWidth, holes);
  const GapScreen screen(minWidth);
  // A width equal to minWidth is a hole here; intended.
  const auto addIfWide = [&](int begin, int end, bool isRun) {
    const Point2D a = pointAt(readings, begin);
    const Point2D b = pointAt(readings, end);
    if (distanceBetween(b, a) >= minWidth) collector.add(a, begin, b, end, isRun);
  };
  int run = m;  // where the run before reading i began; none yet
  // From the second reading on, so the first never begins a run; intended.
  for (int i = 1; i < m; i = pastNoHits(readings, run, m)) {
    if (run < m) addIfWide(run, i - 1, true);
    run = nextNoHit(readings, i, m);
    // Jumps between readings of any status, up to the next run's first; intended.
    const int end = std::min(run + 1, m);
    for (int k = screen.firstApart(readings, i, end); k < end;
         k = screen.firstApart(readings, k + 1, end)) {
      addIfWide(k - 1, k, false);
    }
  }
  if (run < m) addIfWide(run, m - 1, true);
  sortHoles(holes);
}

}  // namespace Brin
