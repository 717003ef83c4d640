// Openings in a laser scan through which a robot could pass.
//
//   std::vector<Brin::ScanHole> holes;
//   Brin::findScanHoles(scan, holes, 0.8f);          // openings wider than 0.8 m
//   if (!holes.empty()) {
//     driveTo(holes.front().approachPoint);          // in front of the one most straight ahead
//   }
//
// An opening is a run of readings that met nothing, or a jump between two neighbouring readings
// whose ends lie farther apart than the given width. Openings whose approach point is hidden behind
// other readings are left out. Two detectors exist: findScanHoles, and findScanHoles_old, an
// earlier one that is kept beside it.
//
// Units and frames: metres and radians in the sensor frame; indices count readings from 0 in beam
// order. A reading's point is RangeReading::toPoint2D(), also for one that met nothing (its stored
// range then counts). A reading is a no-hit when its status is 1, and a hit when it is 0; any other
// status is neither. Distances, directions and widths are computed in float.
//
// Readings that are not numbers are harmless: a comparison with a width that is not a number never
// makes a hole. An index that the scan does not have is never read; each function says what it does
// instead.
//
// No function keeps state, logs or fails; only the standard library's exceptions (memory) leave
// them. All are safe from any thread on distinct outputs.
#pragma once

#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/scan.hpp"

namespace Brin {

// Finds the openings of `scan` wider than `minWidth` (metres), the one most straight ahead first.
//
//   1. Each run of no-hits in the scan, with the readings around it: a hole if the readings before
//      and after the run, its own first and last reading, and the arc that its readings span at the
//      nearer of the two readings around it are each wider than minWidth. The arc takes the scan's
//      readings to span a full turn, whatever its field of view. A run that begins with the scan
//      has its own first reading for the one before it; one that reaches the end of the scan has
//      the scan's last reading for the one after it.
//   2. Each jump between neighbours that is wider than minWidth, once the no-hit runs of at most
//      800 readings are taken out of the scan.
//   3. Of all these, those that xIsHoleOK accepts, sorted by headingAmpCompare; a heading that is
//      infinite or not a number comes last. Which of two equal ones comes first is not promised.
//
// A width equal to minWidth is no hole. Each hole is filled by xNormalizeZone with minWidth for the
// distance of its approach point. Indices of holes of step 1 count the readings of the scan itself.
// Those of step 2 count the readings left by the filter, and are one above their border points' own
// (deliberately; the last of them may be the number of readings left): the two kinds do not share
// one index space.
//
// `holes` is emptied first, but an empty scan leaves it untouched. Holes at directions that are no
// numbers come last. Linear in the readings, plus the walks of xIsHoleOK and O(h log h) for h
// holes.
KORRIN_EXPORT void findScanHoles(const Scan& scan, std::vector<ScanHole>& holes, float minWidth);

// The earlier detector, one pass over the scan without its no-hit runs of at most `maxNoHitRun`
// readings. It differs from findScanHoles on purpose in this:
//
//   - the limit of runs is the caller's instead of 800, and holds for holes of both kinds, so that
//     only longer runs are holes; a negative limit counts as a huge one, which takes out all runs;
//   - a run needs only its own two ends apart, whatever the readings around it and its arc;
//   - a width equal to `minWidth` is a hole;
//   - a jump's indices are those of its border points; all indices count the filtered readings;
//   - the first filtered reading never begins a run;
//   - an empty scan empties `holes` too.
KORRIN_EXPORT void findScanHoles_old(const Scan& scan, std::vector<ScanHole>& holes, float minWidth,
                                     int maxNoHitRun);

// The order of holes: true when the absolute heading of `a` is smaller than that of `b`, so that
// the hole most straight ahead comes first. False when either heading is not a number: among such
// ones this is no order to sort by (the detectors above have one of their own).
KORRIN_EXPORT bool headingAmpCompare(const ScanHole& a, const ScanHole& b);

// Fills `hole` from its borders `a` and `b`, the readings `ia` and `ib`:
//
//   beginPoint, endPoint, beginIndex, endIndex   a, b, ia, ib
//   heading        the direction of a + b, in [-pi, pi]
//   normalAngle    the direction, turned by -90 degrees, from the border of lower index to the
//                  other (from `a` when the indices are equal): out of the hole, away from the
//                  sensor, for a scan that turns counter-clockwise
//   approachPoint  the middle of a and b, moved by `dist` metres against normalAngle
//
// Values that are not numbers go through as floats do. `flag` is ignored on purpose: the detectors
// pass true for a run of no-hits and false for a jump, and the result is the same. Constant time.
KORRIN_EXPORT void xNormalizeZone(const Point2D& a, int ia, const Point2D& b, int ib, float dist,
                                  ScanHole& hole, bool flag);

// Whether the approach point of `hole` can be seen: no reading between its direction and the hole's
// border ends before it. Only holes between neighbours (indices that differ by 1) are tested; any
// other is fine.
//
// The walk goes from one border of the hole, reading by reading, towards the direction of the
// approach point, and ends with true when it has passed that direction or the scan ends, and with
// false at a reading shorter than the approach point is far. The status of readings is not looked
// at. A border that the scan does not have ends the walk before it starts: true.
KORRIN_EXPORT bool xIsHoleOK(const Scan& scan, const ScanHole& hole);

// Copies to `out` the readings of `in` without its runs of consecutive no-hits of length at most
// `maxRun`; longer runs are kept whole. Only the readings of `out` are replaced. `in` and `out` may
// be the same scan. Linear.
KORRIN_EXPORT void xFilterNoHit(const Scan& in, Scan& out, unsigned int maxRun);

// The next index after `i`, past a run of no-hits: when reading i is a no-hit, the first index
// above i whose reading is not one, or the number of readings if there is none; else i + 1. So also
// where the scan has no reading i; the largest int stays as it is. The float is ignored.
KORRIN_EXPORT int xNextStepInScan(const Scan& scan, int i, float);

// Moves `i` to the next index, and on while that is a no-hit but not the scan's last reading: the
// walk never steps over the last reading, deliberately, so that a run which reaches the end of the
// scan stops on it. From the last reading, and where the scan has none, i becomes i + 1; the
// largest int stays as it is.
KORRIN_EXPORT void xNextStepInScanNoHit(const Scan& scan, int& i);

// Moves `i` to the next index, and on past readings that are hits and not within `gap` metres
// (exclusive) of `refRange`, at most to the number of readings. Outside the scan i becomes i + 1;
// the largest int stays as it is. No detector uses it.
KORRIN_EXPORT void xNextStepInScanDistanceGap(const Scan& scan, int& i, float gap, float refRange);

}  // namespace Brin
