// scan_holes.hpp, literally: each step as it is told, points computed anew wherever they are used.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_model {

using Readings = std::vector<Brin::RangeReading>;

inline int countOf(const Readings& readings) { return static_cast<int>(readings.size()); }

inline const Brin::RangeReading& at(const Readings& readings, int i) {
  return readings[static_cast<std::size_t>(i)];
}

inline Brin::Point2D pointAt(const Readings& readings, int i) {
  return at(readings, i).toPoint2D();
}

inline bool isNoHit(const Readings& readings, int i) { return at(readings, i).status == 1; }

inline float lengthOf(float x, float y) { return std::sqrt(x * x + y * y); }

inline float distanceBetween(Brin::Point2D p, Brin::Point2D q) {
  return lengthOf(p.x - q.x, p.y - q.y);
}

inline bool headingAmpCompare(const Brin::ScanHole& a, const Brin::ScanHole& b) {
  return std::fabs(a.heading) < std::fabs(b.heading);
}

// The order in which holes are sorted: by the absolute heading, what is not a number last.
inline bool comesBefore(const Brin::ScanHole& a, const Brin::ScanHole& b) {
  if (std::isnan(a.heading)) return false;
  if (std::isnan(b.heading)) return std::isfinite(a.heading);
  return std::fabs(a.heading) < std::fabs(b.heading);
}

inline Brin::ScanHole normalizeZone(Brin::Point2D a, int ia, Brin::Point2D b, int ib, float dist) {
  Brin::ScanHole hole;
  hole.beginPoint = a;
  hole.endPoint = b;
  hole.beginIndex = ia;
  hole.endIndex = ib;
  hole.heading = std::atan2(a.y + b.y, a.x + b.x);
  const Brin::Point2D q = ia > ib ? b : a;
  const Brin::Point2D p = ia > ib ? a : b;
  hole.normalAngle = std::atan2(q.x - p.x, p.y - q.y);
  const float mx = 0.5f * (a.x + b.x);
  const float my = 0.5f * (a.y + b.y);
  const double c = std::cos(static_cast<double>(hole.normalAngle));
  const double s = std::sin(static_cast<double>(hole.normalAngle));
  hole.approachPoint.x = static_cast<float>(mx - dist * c);
  hole.approachPoint.y = static_cast<float>(my - dist * s);
  return hole;
}

inline bool isHoleOK(const Readings& readings, const Brin::ScanHole& hole) {
  const long long begin = hole.beginIndex;
  const long long end = hole.endIndex;
  if (std::llabs(begin - end) != 1) return true;
  const int n = countOf(readings);
  if (begin < 0 || begin >= n || end < 0 || end >= n) return true;
  const float r = lengthOf(hole.approachPoint.x, hole.approachPoint.y);
  const float phi = std::atan2(hole.approachPoint.y, hole.approachPoint.x);
  const float a1 = at(readings, hole.beginIndex).angle;
  const float a2 = at(readings, hole.endIndex).angle;
  int start = hole.beginIndex;
  float startAngle = a1;
  if ((a2 <= a1) == (a1 > phi)) {
    start = hole.endIndex;
    startAngle = a2;
  }
  if (phi > startAngle) {
    for (int k = start + 1; k < n; ++k) {
      if (at(readings, k).angle >= phi) return true;
      if (r > at(readings, k).range) return false;
    }
  } else {
    for (int k = start - 1; k >= 0; --k) {
      if (phi >= at(readings, k).angle) return true;
      if (r > at(readings, k).range) return false;
    }
  }
  return true;
}

inline Readings filterNoHit(const Readings& readings, unsigned int maxRun) {
  Readings out;
  Readings pending;
  for (const Brin::RangeReading& reading : readings) {
    if (reading.status == 1) {
      pending.push_back(reading);
    } else {
      if (pending.size() > maxRun) out.insert(out.end(), pending.begin(), pending.end());
      pending.clear();
      out.push_back(reading);
    }
  }
  if (pending.size() > maxRun) out.insert(out.end(), pending.begin(), pending.end());
  return out;
}

inline int nextStep(const Readings& readings, int i) {
  if (!isNoHit(readings, i)) return i + 1;
  int j = i + 1;
  while (j < countOf(readings) && isNoHit(readings, j)) ++j;
  return j;
}

inline int nextStepNoHit(const Readings& readings, int i) {
  int j = i + 1;
  while (j < countOf(readings) - 1 && isNoHit(readings, j)) ++j;
  return j;
}

inline int nextStepDistanceGap(const Readings& readings, int i, float gap, float refRange) {
  int j = i + 1;
  while (j < countOf(readings)) {
    if (std::fabs(at(readings, j).range - refRange) < gap) break;
    if (at(readings, j).status != 0) break;
    ++j;
  }
  return j;
}

inline void noHitRuns(const Readings& readings, float minWidth,
                      std::vector<Brin::ScanHole>& holes) {
  const int n = countOf(readings);
  const float s = 6.2831855f / static_cast<float>(n);
  int idx = 0;
  Brin::Point2D prev = pointAt(readings, 0);
  while (idx < n) {
    if (isNoHit(readings, idx)) {
      const Brin::Point2D A = pointAt(readings, idx);
      const Brin::Point2D P = prev;
      const int s0 = idx;
      idx = nextStepNoHit(readings, idx);
      if (idx < n) {
        const Brin::Point2D B = pointAt(readings, idx - 1);
        const Brin::Point2D N = pointAt(readings, idx);
        const float d1 = distanceBetween(P, N);
        const float d2 = distanceBetween(A, B);
        const float nearer = std::min(lengthOf(P.x, P.y), lengthOf(N.x, N.y));
        const float w = nearer * static_cast<float>(std::abs(idx - s0)) * s;
        if (d1 > minWidth && d2 > minWidth && w > minWidth) {
          const Brin::ScanHole hole = normalizeZone(A, s0, B, idx - 1, minWidth);
          if (isHoleOK(readings, hole)) holes.push_back(hole);
        }
      }
    } else {
      idx = idx + 1;
    }
    if (idx < n) prev = pointAt(readings, idx - 1);
  }
}

inline void distanceGaps(const Readings& F, float minWidth, std::vector<Brin::ScanHole>& holes) {
  const int m = countOf(F);
  if (m == 0) return;
  int idx = 0;
  Brin::Point2D prev = pointAt(F, 0);
  Brin::Point2D cur = prev;
  while (idx < m) {
    const float d = distanceBetween(prev, cur);
    if (d > minWidth) {
      idx = idx + 1;
      const Brin::ScanHole hole = normalizeZone(prev, idx - 1, cur, idx, minWidth);
      if (isHoleOK(F, hole)) holes.push_back(hole);
    } else {
      idx = idx + 1;
    }
    if (idx < m) {
      prev = pointAt(F, idx - 1);
      cur = pointAt(F, idx);
    }
  }
}

inline void findScanHoles(const Brin::Scan& scan, std::vector<Brin::ScanHole>& holes,
                          float minWidth) {
  if (scan.readings.empty()) return;
  holes.clear();
  noHitRuns(scan.readings, minWidth, holes);
  distanceGaps(filterNoHit(scan.readings, 800), minWidth, holes);
  std::stable_sort(holes.begin(), holes.end(), comesBefore);
}

inline void findScanHolesOld(const Brin::Scan& scan, std::vector<Brin::ScanHole>& holes,
                             float minWidth, int maxNoHitRun) {
  holes.clear();
  const Readings F = filterNoHit(scan.readings, static_cast<unsigned int>(maxNoHitRun));
  if (F.empty()) return;
  const auto keepIfOK = [&](const Brin::ScanHole& hole) {
    if (isHoleOK(F, hole)) holes.push_back(hole);
  };
  Brin::Point2D prevPt = pointAt(F, 0);
  Brin::Point2D runStartPt;
  bool inRun = false;
  int runStart = -1;
  int i = 1;
  while (i < countOf(F)) {
    const Brin::Point2D pt = pointAt(F, i);
    if (isNoHit(F, i)) {
      if (!inRun) {
        runStartPt = pt;
        runStart = i;
        inRun = true;
      }
    } else if (inRun) {
      const Brin::Point2D lastPt = prevPt;
      if (distanceBetween(lastPt, runStartPt) >= minWidth) {
        keepIfOK(normalizeZone(runStartPt, runStart, lastPt, i - 1, minWidth));
      }
      inRun = false;
    }
    if (distanceBetween(pt, prevPt) >= minWidth) {
      keepIfOK(normalizeZone(prevPt, i - 1, pt, i, minWidth));
    }
    i = nextStep(F, i);
    prevPt = pointAt(F, i - 1);
  }
  if (inRun) {
    const Brin::Point2D lastPt = prevPt;
    if (distanceBetween(lastPt, runStartPt) >= minWidth) {
      keepIfOK(normalizeZone(runStartPt, runStart, lastPt, i - 1, minWidth));
    }
  }
  std::stable_sort(holes.begin(), holes.end(), comesBefore);
}

}  // namespace korrin_model
