#include <pybind11/stl.h>

#include <functional>
#include <optional>

#include "korrin/occupancymap_utils.hpp"
#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/log.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::CellCondition;
using Brin::FreeCellCondition;
using Brin::GrayCellCondition;
using Brin::OccupancyMap;
using Brin::Pose2Di;

using MaybeCell = std::optional<Pose2Di>;

MaybeCell cellOrNone(bool found, const Pose2Di& cell) {
  return found ? MaybeCell(cell) : std::nullopt;
}

// A Python callable as a condition: any truth value is an answer.
CellCondition conditionFrom(const py::object& callable) {
  if (PyCallable_Check(callable.ptr()) == 0) throw py::type_error("condition must be callable");
  return [callable](float value) {
    const int answer = PyObject_IsTrue(callable(value).ptr());
    if (answer < 0) throw py::error_already_set();
    return answer == 1;
  };
}

MaybeCell findWithCallable(const OccupancyMap& map, const Pose2Di& start,
                           const py::object& condition) {
  const py::object copy = py::module_::import("copy").attr("copy");
  Pose2Di cell;
  const bool found = Brin::xFindFirstCell(map, start, cell, conditionFrom(condition),
                                          [&] { return conditionFrom(copy(condition)); });
  return cellOrNone(found, cell);
}

MaybeCell findWithCallables(const OccupancyMap& map, const Pose2Di& start,
                            const py::object& atStart, const py::object& onRay) {
  Pose2Di cell;
  const bool found = Brin::xFindFirstCell(map, start, cell, conditionFrom(atStart),
                                          [&] { return conditionFrom(onRay()); });
  return cellOrNone(found, cell);
}

template <typename Condition>
MaybeCell findWith(const OccupancyMap& map, const Pose2Di& start, const Condition& condition) {
  const Condition own = condition;
  Pose2Di cell;
  bool found = false;
  unlocked([&] { found = Brin::findFirstCellWithCond(map, start, cell, own); });
  return cellOrNone(found, cell);
}

void bindFreeCondition(py::module_& module) {
  using Free = FreeCellCondition;
  py::class_<Free> free(module, "FreeCellCondition", R"(True for values above `threshold`.

>>> korrin.FreeCellCondition(0.7)(0.8)
True
)");
  free.def(py::init([](float threshold) { return Free{threshold}; }), py::arg("threshold"))
      .def("__call__", &Free::operator(), py::arg("value"));
  actsAsRecord(free, Free{}, Field{"threshold", &Free::threshold});
}

void bindGrayCondition(py::module_& module) {
  using Gray = GrayCellCondition;
  py::class_<Gray> gray(module, "GrayCellCondition",
                        R"(True for values nearer to 0.5 than `tolerance` (unknown ones),
until a value below `threshold` has blocked the way.

>>> condition = korrin.GrayCellCondition(0.2, 0.1)
>>> condition(0.55), condition(0.1), condition(0.55), condition.blocked
(True, False, False, True)
)");
  gray.def(py::init([](float threshold, float tolerance, bool blocked) {
             return Gray{threshold, tolerance, blocked};
           }),
           py::arg("threshold"), py::arg("tolerance"), py::arg("blocked") = false)
      .def("__call__", &Gray::operator(), py::arg("value"));
  actsAsRecord(gray, Gray{}, Field{"threshold", &Gray::threshold},
               Field{"tolerance", &Gray::tolerance}, Field{"blocked", &Gray::blocked});
}

void bindSearches(py::module_& module) {
  module.def(
      "find_first_free_cell",
      [](const OccupancyMap& map, const Pose2Di& start, float threshold) {
        Pose2Di cell;
        bool found = false;
        unlocked([&] { found = Brin::findFirstFreeCell(map, start, cell, threshold); });
        return cellOrNone(found, cell);
      },
      py::arg("map"), py::arg("start"), py::arg("threshold"),
      R"(The nearest cell on 50 rays around `start` whose value is above `threshold`, or None.

>>> map = korrin.OccupancyMap(9, 9, 1)
>>> map.reset(0)
>>> map.image[4, 6] = 1
>>> korrin.find_first_free_cell(map, (4, 4, 0), 0.7)
Pose2Di(x=6, y=4, theta=0)
)");
  module.def(
      "find_first_gray_cell",
      [](const OccupancyMap& map, const Pose2Di& start, float threshold, float tolerance) {
        Pose2Di cell;
        bool found = false;
        unlocked([&] { found = Brin::findFirstGrayCell(map, start, cell, threshold, tolerance); });
        return cellOrNone(found, cell);
      },
      py::arg("map"), py::arg("start"), py::arg("threshold"), py::arg("tolerance"),
      R"(The nearest cell nearer to 0.5 than `tolerance` that no cell below `threshold` hides.

>>> map = korrin.OccupancyMap(9, 9, 1)
>>> map.reset(1)
>>> map.image[4, 6] = 0.5
>>> korrin.find_first_gray_cell(map, (4, 4, 0), 0.2, 0.1)
Pose2Di(x=6, y=4, theta=0)
)");
  module.def(
      "find_first_free_cell_in_line",
      [](const OccupancyMap& map, const Pose2Di& from, const Pose2Di& to, float threshold) {
        Pose2Di cell;
        bool found = false;
        unlocked([&] { found = Brin::findFirstFreeCellInLine(map, from, to, cell, threshold); });
        return cellOrNone(found, cell);
      },
      py::arg("map"), py::arg("from_"), py::arg("to"), py::arg("threshold"),
      R"(The first cell on a line, both ends included, above `threshold`, or None.

>>> map = korrin.OccupancyMap(9, 9, 1)
>>> map.image[4, 6] = 1
>>> korrin.find_first_free_cell_in_line(map, (0, 4, 0), (8, 4, 0), 0.7)
Pose2Di(x=6, y=4, theta=0)
)");
  module.def("find_first_cell_with_cond", &findWith<FreeCellCondition>, py::arg("map"),
             py::arg("start"), py::arg("condition"),
             R"(The nearest cell on 50 rays that meets a condition, or None.

The condition is a FreeCellCondition, a GrayCellCondition or any callable that takes a cell's value.
It sees the start first; each ray then gets a copy (copy.copy) of it as that left it, which sees the
ray's cells in order until it answers true.

>>> map = korrin.OccupancyMap(9, 9, 1)
>>> map.image[4, 6] = 0.25
>>> korrin.find_first_cell_with_cond(map, (4, 4, 0), lambda value: value == 0.25)
Pose2Di(x=6, y=4, theta=0)
)");
  module.def("find_first_cell_with_cond", &findWith<GrayCellCondition>, py::arg("map"),
             py::arg("start"), py::arg("condition"));
  module.def("find_first_cell_with_cond", &findWithCallable, py::arg("map"), py::arg("start"),
             py::arg("condition"));
  module.def(
      "x_find_first_cell", &findWithCallables, py::arg("map"), py::arg("start"),
      py::arg("at_start"), py::arg("on_ray"),
      R"(What find_first_cell_with_cond does: `at_start` is asked about the start's value, and
`on_ray()` gives each ray its own condition.

>>> map = korrin.OccupancyMap(9, 9, 1)
>>> map.image[4, 6] = 1
>>> korrin.x_find_first_cell(map, (4, 4, 0), lambda v: v == 1, lambda: lambda v: v == 1)
Pose2Di(x=6, y=4, theta=0)
)");
}

}  // namespace

void bindMapQueries(py::module_& module) {
  bindFreeCondition(module);
  bindGrayCondition(module);
  bindSearches(module);
  module.def(
      "find_obstacles_main_direction",
      [](const OccupancyMap& map, const Pose2Di& start, float range,
         float threshold) -> std::optional<float> {
        float direction = 0.0f;
        bool found = false;
        unlocked([&] {
          found = Brin::findObstaclesMainDirection(map, start, range, direction, threshold);
        });
        return found ? std::optional<float>(direction) : std::nullopt;
      },
      py::arg("map"), py::arg("start"), py::arg("range"), py::arg("threshold"),
      R"(The mean bearing (radians off the grid's rows) of obstacles nearer than `range` metres.

None, with one log record, when there are none near.

>>> map = korrin.OccupancyMap(100, 100, 0.05)
>>> map.reset(1)
>>> map.image[45:56, 60] = 0
>>> abs(korrin.find_obstacles_main_direction(map, (50, 50, 0), 1, 0.4)) < 0.1
True
)");
}

}  // namespace korrin_python
