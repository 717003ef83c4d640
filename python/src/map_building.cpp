#include <memory>
#include <utility>

#include "korrin/occupancy_mapper.hpp"
#include "korrin/range_simulation.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapper;
using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::Scan;
using Brin::ScanModel;

// A mapper is no more than its map. Each call makes a fresh one, so that another thread may give
// this one another map meanwhile.
struct Mapper {
  std::shared_ptr<OccupancyMap> map;

  template <typename Work>
  void with(const Work& work) const {
    const std::shared_ptr<OccupancyMap> held = map;
    unlocked([&] {
      OccupancyMapper mapper(held.get());
      work(mapper);
    });
  }
};

constexpr const char* kMapperDoc = R"(Brings laser readings into a map, and casts rays through it.

Every write is clamped into [0, 1]; cells outside the map are skipped. Without a map (None) nothing
changes and results are empty, with one log record.

>>> map = korrin.OccupancyMap(100, 100, 0.05)
>>> mapper = korrin.OccupancyMapper(map)
>>> scan = korrin.Scan([2.0], angle_min=0, angle_increment=0)
>>> mapper.update_map(scan, (1, 1, 0), 0.25, 0.5)
>>> map.get_cell(30, 20), map.get_cell(60, 20)
(0.75, 0.25)
)";

void bindUpdates(py::class_<Mapper>& type) {
  type.def(
          "update_map",
          [](const Mapper& self, const Scan& readings, const Pose2D& pose, float freeInc,
             float occInc) {
            self.with([&](OccupancyMapper& mapper) {
              mapper.updateMap(readings.readings, pose, freeInc, occInc);
            });
          },
          py::arg("readings"), py::arg("robot_pose"), py::arg("free_inc"), py::arg("occ_inc"),
          R"(Brings in a scan taken at a world pose (metres, radians), beam by beam.

Cells crossed get `free_inc`; the last cell of a hit also gets -`occ_inc`, of a no-hit `free_inc`
once more, all times the reading's weight.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> scan = korrin.Scan([3], angle_min=0, angle_increment=0)
>>> korrin.OccupancyMapper(map).update_map(scan, (0, 0, 0), 0.25, 0.5)
>>> map.image[0, :5].tolist()
[0.75, 0.75, 0.75, 0.25, 0.5]
)")
      .def(
          "update_map2",
          [](const Mapper& self, const Scan& readings, const Pose2D& pose, float freeInc,
             float occInc) {
            self.with([&](OccupancyMapper& mapper) {
              mapper.updateMap2(readings.readings, pose, freeInc, occInc);
            });
          },
          py::arg("readings"), py::arg("robot_pose"), py::arg("free_inc"), py::arg("occ_inc"),
          R"(The same beams, but only the last cells of hits change, by -`occ_inc`.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> scan = korrin.Scan([3], angle_min=0, angle_increment=0)
>>> korrin.OccupancyMapper(map).update_map2(scan, (0, 0, 0), 0.25, 0.5)
>>> map.image[0, :5].tolist()
[0.5, 0.5, 0.5, 0.0, 0.5]
)")
      .def(
          "x_line_bres",
          [](const Mapper& self, int x0, int y0, int x1, int y1, float freeInc, float endInc) {
            self.with([&](OccupancyMapper& m) { m.xLineBres(x0, y0, x1, y1, freeInc, endInc); });
          },
          py::arg("x0"), py::arg("y0"), py::arg("x1"), py::arg("y1"), py::arg("free_inc"),
          py::arg("end_inc"), R"(One beam between two cells; the end cell gets both increments.

>>> map = korrin.OccupancyMap(3, 1, 1)
>>> korrin.OccupancyMapper(map).x_line_bres(0, 0, 2, 0, 0.25, -0.5)
>>> map.image.tolist()
[[0.75, 0.75, 0.25]]
)")
      .def(
          "x_line_bres2",
          [](const Mapper& self, int x0, int y0, int x1, int y1, float freeInc, float endInc) {
            self.with([&](OccupancyMapper& m) { m.xLineBres2(x0, y0, x1, y1, freeInc, endInc); });
          },
          py::arg("x0"), py::arg("y0"), py::arg("x1"), py::arg("y1"), py::arg("free_inc"),
          py::arg("end_inc"), R"(Only the end cell of a beam changes, by `end_inc`.

>>> map = korrin.OccupancyMap(3, 1, 1)
>>> korrin.OccupancyMapper(map).x_line_bres2(0, 0, 2, 0, 0.25, -0.5)
>>> map.image.tolist()
[[0.5, 0.5, 0.0]]
)");
}

void bindRays(py::class_<Mapper>& type) {
  type.def(
          "throw_ray",
          [](const Mapper& self, const Point2D& from, const Point2D& to, float threshold) {
            RangeReading ray;
            self.with([&](OccupancyMapper& mapper) { ray = mapper.throwRay(from, to, threshold); });
            return ray;
          },
          py::arg("from_"), py::arg("to"), py::arg("threshold"),
          R"(A ray between two world points (metres), up to the first cell below `threshold`.

Status 0 and the distance to that cell, or status 1 and the distance to the end or to the map's.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> map.image[0, 6] = 0
>>> ray = korrin.OccupancyMapper(map).throw_ray((1, 0), (9, 0), 0.45)
>>> ray.range, ray.status
(5.0, 0)
)")
      .def(
          "x_throw_ray",
          [](const Mapper& self, int x0, int y0, int x1, int y1, float threshold) {
            RangeReading ray;
            self.with([&](OccupancyMapper& m) { ray = m.xThrowRay(x0, y0, x1, y1, threshold); });
            return ray;
          },
          py::arg("x0"), py::arg("y0"), py::arg("x1"), py::arg("y1"), py::arg("threshold"),
          R"(The same between two cells.

>>> korrin.OccupancyMapper(korrin.OccupancyMap(10, 1, 1)).x_throw_ray(1, 0, 9, 0, 0.45).range
8.0
)")
      .def(
          "simulate_scan",
          [](const Mapper& self, const Pose2D& pose, float startAngle, float endAngle,
             float minRange, float maxRange, int count, float threshold) {
            Scan scan;
            self.with([&](OccupancyMapper& mapper) {
              mapper.simulateScan(pose, startAngle, endAngle, minRange, maxRange, count,
                                  scan.readings, threshold);
            });
            return scan;
          },
          py::arg("pose"), py::arg("start_angle"), py::arg("end_angle"), py::arg("min_range"),
          py::arg("max_range"), py::arg("count"), py::arg("threshold"),
          R"(The scan of a scanner at a world pose: `count` beams from `start_angle` to `end_angle`
(radians off the heading, both included), between two ranges in metres.

>>> map = korrin.OccupancyMap(10, 10, 1)
>>> map.image[:, 6] = 0
>>> mapper = korrin.OccupancyMapper(map)
>>> mapper.simulate_scan((1, 5, 0), 0, 0.05, 0, 8, 2, 0.45).readings["range"].tolist()
[5.0, 5.0]
)")
      .def(
          "simulate_scan",
          [](const Mapper& self, const Pose2D& pose, float fieldOfView, float minRange,
             float maxRange, int count, float threshold) {
            Scan scan;
            self.with([&](OccupancyMapper& mapper) {
              mapper.simulateScan(pose, fieldOfView, minRange, maxRange, count, scan.readings,
                                  threshold);
            });
            return scan;
          },
          py::arg("pose"), py::arg("field_of_view"), py::arg("min_range"), py::arg("max_range"),
          py::arg("count"), py::arg("threshold"),
          "The same over `field_of_view` radians centred on the heading.");
}

void bindModel(py::module_& module) {
  using M = ScanModel;
  py::class_<M> type(module, "ScanModel", R"(A scanner: its beams, centred on the heading.

>>> scanner = korrin.ScanModel(181, 10, korrin.k_pi)      # beams, metres, radians
>>> round(scanner.start_angle, 4)
-1.5708
)");
  actsAsRecord(type, M(0, 0.0f, 0.0f), Field{"max_range", &M::maxRange, "Metres, each beam's end"},
               Field{"min_range", &M::minRange, "Metres, where every beam starts"},
               Field{"field_of_view", &M::fieldOfView, "Radians, first beam to last"},
               Field{"start_angle", &M::startAngle, "Of the first beam, radians"},
               Field{"count", &M::count, "Beams"},
               Field{"low_threshold", &M::lowThreshold,
                     "Second-image value from which a dark cell stops a beam"},
               Field{"high_threshold", &M::highThreshold, "Not read by the library"},
               Field{"range_sigma", &M::rangeSigma, "Deviation of a range, metres"},
               Field{"unit_factor", &M::unitFactor, "Not read by the library"},
               Field{"reserved", &M::reserved, "Not read by the library"});
  type.def(py::init<int, float, float>(), py::arg("count"), py::arg("max_range"),
           py::arg("field_of_view"))
      .def(
          "scan_likelihood",
          [](const ScanModel& self, const Scan& a, const Scan& b, int step) {
            const ScanModel model = self;
            float likelihood = 0.0f;
            unlocked([&] { likelihood = model.scanLikelihood(a.readings, b.readings, step); });
            return likelihood;
          },
          py::arg("scan_a"), py::arg("scan_b"), py::arg("step"),
          R"(How well the ranges of two scans agree, over every `step`-th reading; 1 when equal.

>>> scan = korrin.Scan([1, 2, 3], angle_min=0, angle_increment=0.1)
>>> korrin.ScanModel(3, 10, 0.2).scan_likelihood(scan, scan, 1)
1.0
)");
}

void bindSimulation(py::module_& module) {
  module.def(
      "occ_map_get_range",
      [](const OccupancyMap& map, const ScanModel& model, const Point2Di& from, const Point2Di& to,
         float threshold) { return Brin::occMapGetRange(map, model, from, to, threshold); },
      py::arg("map"), py::arg("model"), py::arg("from_"), py::arg("to"), py::arg("threshold"),
      R"(The beam between two cells, both tested.

>>> map = korrin.OccupancyMap(10, 1, 1)
>>> map.image[0, 9] = 0
>>> beam = korrin.occ_map_get_range(map, korrin.ScanModel(1, 9, 0), (1, 0), (9, 0), 0.45)
>>> beam.range, beam.status
(8.0, 0)
)");
  module.def(
      "occ_map_simulate_scan",
      [](const OccupancyMap& map, const ScanModel& model, const Pose2D& pose, float threshold) {
        const ScanModel own = model;
        Scan scan;
        unlocked([&] { Brin::occMapSimulateScan(map, own, pose, scan.readings, threshold); });
        return scan;
      },
      py::arg("map"), py::arg("model"), py::arg("pose"), py::arg("threshold"),
      R"(The scan that `model` would return at a world pose; cells below `threshold` stop beams.

>>> map = korrin.OccupancyMap(10, 10, 1)
>>> map.image[:, 6] = 0
>>> scanner = korrin.ScanModel(3, 20, 0.2)
>>> scan = korrin.occ_map_simulate_scan(map, scanner, (1, 5, 0), 0.45)
>>> scan.readings["status"].tolist()
[0, 0, 0]
)");
  module.def(
      "fill_occ_map_from_scan",
      [](const Scan& scan, const Pose2D& pose, OccupancyMap& map, int subdivisions) {
        unlocked([&] { Brin::fillOccMapFromScan(scan, pose, map, subdivisions); });
      },
      py::arg("scan"), py::arg("pose"), py::arg("map"), py::arg("subdivisions"),
      R"(Makes `map` the picture of one scan taken at a world pose: unknown all over, then the
scan brought in `subdivisions` times, so that no gaps stay between the beams.

>>> map = korrin.OccupancyMap(5, 1, 1)
>>> scan = korrin.Scan([3.5, 3.5], angle_min=0, angle_increment=0.01)
>>> korrin.fill_occ_map_from_scan(scan, (0, 0, 0), map, 1)
>>> map.image[0, :3].tolist(), bool(map.image[0, 3] < 1)
([1.0, 1.0, 1.0], True)
)");
}

}  // namespace

void bindMapBuilding(py::module_& module) {
  py::class_<Mapper> type(module, "OccupancyMapper", kMapperDoc);
  type.def(py::init([](std::shared_ptr<OccupancyMap> map) { return Mapper{std::move(map)}; }),
           py::arg("map"))
      .def_readwrite("map", &Mapper::map, "The map, or None");
  const auto make = [](std::shared_ptr<OccupancyMap> map) { return Mapper{std::move(map)}; };
  actsAsValue(type, make, Field{"map", &Mapper::map});
  bindUpdates(type);
  bindRays(type);
  bindModel(module);
  bindSimulation(module);
}

}  // namespace korrin_python
