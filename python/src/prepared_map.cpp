#include "korrin/prepared_map.hpp"

#include <memory>
#include <utility>

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/on_map.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::PreparedMap;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanModel;

class Prepared : public OnMap<PreparedMap> {
 public:
  Prepared(std::shared_ptr<OccupancyMap> map, float threshold)
      : OnMap(std::move(map), threshold), threshold_(threshold) {}

  float threshold() const { return threshold_; }

 private:
  float threshold_;
};

constexpr const char* kPreparedDoc = R"(A map made ready for many rays and simulated scans.

Answers are those of OccupancyMapper and occ_map_simulate_scan, bit for bit, for the one threshold,
in half the time where rays are long; it pays from fifty scans of a thousand beams on. It takes 8
bytes a cell. What changed in the map counts after a refresh. A copy, and what a pickle gives back, is prepared
from the map as it is then.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> prepared = korrin.PreparedMap(map, 0.45)
>>> prepared.throw_ray((1, 0), (9, 0)).range
8.0
>>> map.image[0, 6] = 0
>>> prepared.refresh(x=6, y=0, width=1, height=1)
>>> prepared.throw_ray((1, 0), (9, 0)).range
5.0
)";

void bindRefresh(py::class_<Prepared>& type) {
  type.def(
          "refresh",
          [](Prepared& self) { self.change([](PreparedMap& prepared) { prepared.refresh(); }); },
          R"(Takes in all changes of the map.

>>> korrin.PreparedMap(korrin.OccupancyMap(10, 1, 1), 0.45).refresh()
)")
      .def(
          "refresh",
          [](Prepared& self, int x, int y, int width, int height) {
            self.change([&](PreparedMap& prepared) { prepared.refresh(x, y, width, height); });
          },
          py::arg("x"), py::arg("y"), py::arg("width"), py::arg("height"),
          "The same after a change in columns [x, x + width) and rows [y, y + height) only.");
}

void bindRays(py::class_<Prepared>& type) {
  type.def(
          "throw_ray",
          [](const Prepared& self, const Point2D& from, const Point2D& to) {
            RangeReading ray;
            self.ask([&](const PreparedMap& prepared) { ray = prepared.throwRay(from, to); });
            return ray;
          },
          py::arg("from_"), py::arg("to"), R"(As OccupancyMapper.throw_ray.

>>> korrin.PreparedMap(korrin.OccupancyMap(9, 1, 1), 0.45).throw_ray((0, 0), (4, 0)).range
4.0
)")
      .def(
          "x_throw_ray",
          [](const Prepared& self, int x0, int y0, int x1, int y1) {
            RangeReading ray;
            self.ask([&](const PreparedMap& p) { ray = p.xThrowRay(x0, y0, x1, y1); });
            return ray;
          },
          py::arg("x0"), py::arg("y0"), py::arg("x1"), py::arg("y1"),
          R"(As OccupancyMapper.x_throw_ray.

>>> korrin.PreparedMap(korrin.OccupancyMap(9, 1, 1), 0.45).x_throw_ray(0, 0, 4, 0).range
4.0
)")
      .def(
          "occ_map_get_range",
          [](const Prepared& self, const ScanModel& model, const Point2Di& from,
             const Point2Di& to) {
            RangeReading ray;
            self.ask([&](const PreparedMap& p) { ray = p.occMapGetRange(model, from, to); });
            return ray;
          },
          py::arg("model"), py::arg("from_"), py::arg("to"), R"(As occ_map_get_range.

>>> prepared = korrin.PreparedMap(korrin.OccupancyMap(9, 1, 1), 0.45)
>>> prepared.occ_map_get_range(korrin.ScanModel(1, 9, 0), (0, 0), (4, 0)).range
4.0
)");
}

void bindScans(py::class_<Prepared>& type) {
  type.def(
          "simulate_scan",
          [](const Prepared& self, const Pose2D& pose, float startAngle, float endAngle,
             float minRange, float maxRange, int count) {
            Scan scan;
            self.ask([&](const PreparedMap& prepared) {
              prepared.simulateScan(pose, startAngle, endAngle, minRange, maxRange, count,
                                    scan.readings);
            });
            return scan;
          },
          py::arg("pose"), py::arg("start_angle"), py::arg("end_angle"), py::arg("min_range"),
          py::arg("max_range"), py::arg("count"), R"(As OccupancyMapper.simulate_scan.

>>> prepared = korrin.PreparedMap(korrin.OccupancyMap(9, 9, 1), 0.45)
>>> len(prepared.simulate_scan((4, 4, 0), -1, 1, 0, 3, 11))
11
)")
      .def(
          "simulate_scan",
          [](const Prepared& self, const Pose2D& pose, float fieldOfView, float minRange,
             float maxRange, int count) {
            Scan scan;
            self.ask([&](const PreparedMap& prepared) {
              prepared.simulateScan(pose, fieldOfView, minRange, maxRange, count, scan.readings);
            });
            return scan;
          },
          py::arg("pose"), py::arg("field_of_view"), py::arg("min_range"), py::arg("max_range"),
          py::arg("count"), "The same over `field_of_view` radians centred on the heading.")
      .def(
          "occ_map_simulate_scan",
          [](const Prepared& self, const ScanModel& model, const Pose2D& pose) {
            const ScanModel own = model;
            Scan scan;
            self.ask([&](const PreparedMap& p) { p.occMapSimulateScan(own, pose, scan.readings); });
            return scan;
          },
          py::arg("model"), py::arg("pose"), R"(As occ_map_simulate_scan.

>>> prepared = korrin.PreparedMap(korrin.OccupancyMap(9, 9, 1), 0.45)
>>> len(prepared.occ_map_simulate_scan(korrin.ScanModel(5, 3, 1), (4, 4, 0)))
5
)");
}

}  // namespace

void bindPreparedMap(py::module_& module) {
  py::class_<Prepared> type(module, "PreparedMap", kPreparedDoc);
  const auto make = [](std::shared_ptr<OccupancyMap> map, float threshold) {
    if (!map) throw py::cast_error("no map");
    return std::make_unique<Prepared>(std::move(map), threshold);
  };
  type.def(py::init(make), py::arg("map").none(false), py::arg("threshold"));
  actsAsValue(type, make, Field{"map", &Prepared::map}, Field{"threshold", &Prepared::threshold});
  bindRefresh(type);
  bindRays(type);
  bindScans(type);
}

}  // namespace korrin_python
