#include "korrin/scan_holes.hpp"

#include <pybind11/stl.h>

#include <vector>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"

namespace korrin_python {
namespace {

using Brin::Point2D;
using Brin::Scan;
using Brin::ScanHole;

void bindDetectors(py::module_& module) {
  module.def(
      "find_scan_holes",
      [](const Scan& scan, float minWidth) {
        std::vector<ScanHole> holes;
        unlocked([&] { Brin::findScanHoles(scan, holes, minWidth); });
        return holes;
      },
      py::arg("scan"), py::arg("min_width"),
      R"(The openings of a scan wider than `min_width` metres, the one most straight ahead first.

Indices of jumps count the readings left without short runs of no-hits, one above the border's own.

>>> scan = korrin.Scan([2, 2, 2, 6, 6, 6], angle_min=-0.25, angle_increment=0.1)
>>> [hole] = korrin.find_scan_holes(scan, 1)
>>> round(hole.begin_point.x, 2), round(hole.end_point.x, 2)
(2.0, 5.99)
)");
  module.def(
      "find_scan_holes_old",
      [](const Scan& scan, float minWidth, int maxNoHitRun) {
        std::vector<ScanHole> holes;
        unlocked([&] { Brin::findScanHoles_old(scan, holes, minWidth, maxNoHitRun); });
        return holes;
      },
      py::arg("scan"), py::arg("min_width"), py::arg("max_no_hit_run"),
      R"(The earlier detector, with its own limit for runs of no-hits that are no holes.

>>> scan = korrin.Scan([2, 2, 2, 6, 6, 6], angle_min=-0.25, angle_increment=0.1)
>>> len(korrin.find_scan_holes_old(scan, 1, 800))
1
)");
  module.def("heading_amp_compare", &Brin::headingAmpCompare, py::arg("a"), py::arg("b"),
             R"(Whether hole `a` lies more straight ahead than `b`.

>>> a, b = korrin.ScanHole(), korrin.ScanHole()
>>> b.heading = -1
>>> korrin.heading_amp_compare(a, b)
True
)");
}

void bindSteps(py::module_& module) {
  module.def(
      "x_normalize_zone",
      [](const Point2D& a, int ia, const Point2D& b, int ib, float dist, bool flag) {
        ScanHole hole;
        Brin::xNormalizeZone(a, ia, b, ib, dist, hole, flag);
        return hole;
      },
      py::arg("a"), py::arg("ia"), py::arg("b"), py::arg("ib"), py::arg("dist"), py::arg("flag"),
      R"(The hole between borders `a` and `b` (metres), readings `ia` and `ib`; `flag` is ignored.

>>> hole = korrin.x_normalize_zone((2, -1), 10, (2, 1), 11, 0.5, False)
>>> hole.approach_point
Point2D(x=1.5, y=0)
)");
  module.def("x_is_hole_ok", &Brin::xIsHoleOK, py::arg("scan"), py::arg("hole"),
             R"(Whether the approach point of a hole between neighbouring readings can be seen.

>>> korrin.x_is_hole_ok(korrin.Scan(), korrin.ScanHole())
True
)");
  module.def(
      "x_filter_no_hit",
      [](const Scan& in, unsigned int maxRun) {
        Scan out;
        Brin::xFilterNoHit(in, out, maxRun);
        return out;
      },
      py::arg("in_"), py::arg("max_run"),
      R"(The scan without its runs of at most `max_run` no-hits.

>>> scan = korrin.Scan([2, np.inf, 3], angle_min=0, angle_increment=0.1)
>>> len(korrin.x_filter_no_hit(scan, 1))
2
)");
  module.def("x_next_step_in_scan", &Brin::xNextStepInScan, py::arg("scan"), py::arg("i"),
             py::arg("unused") = 0.0f, R"(The next index after `i`, past a run of no-hits.

>>> korrin.x_next_step_in_scan(korrin.Scan([np.inf, np.inf, 3], 0, 0.1), 0)
2
)");
  module.def(
      "x_next_step_in_scan_no_hit",
      [](const Scan& scan, int i) {
        Brin::xNextStepInScanNoHit(scan, i);
        return i;
      },
      py::arg("scan"), py::arg("i"),
      R"(The next index after `i`, past no-hits but never over the last reading.

>>> korrin.x_next_step_in_scan_no_hit(korrin.Scan([1, np.inf, np.inf], 0, 0.1), 0)
2
)");
  module.def(
      "x_next_step_in_scan_distance_gap",
      [](const Scan& scan, int i, float gap, float refRange) {
        Brin::xNextStepInScanDistanceGap(scan, i, gap, refRange);
        return i;
      },
      py::arg("scan"), py::arg("i"), py::arg("gap"), py::arg("ref_range"),
      R"(The next index after `i`, past hits not within `gap` metres of `ref_range`.

>>> korrin.x_next_step_in_scan_distance_gap(korrin.Scan([1, 9, 2], 0, 0.1), 0, 0.5, 2)
2
)");
}

}  // namespace

void bindScanHoles(py::module_& module) {
  bindDetectors(module);
  bindSteps(module);
}

}  // namespace korrin_python
