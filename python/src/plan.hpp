// The settings of a planner in Python: keywords, and what errors call them.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <deque>
#include <string>

#include "korrin/path_planner.hpp"
#include "python/src/values.hpp"

namespace korrin_python {

template <>
struct Kind<Brin::PlannerSettings> : CastKind<Brin::PlannerSettings> {
  static bool same(const Brin::PlannerSettings& a, const Brin::PlannerSettings& b);
};

Brin::PlannerSettings settingsFrom(float robotRadius, float fadeDistance, bool unknownIsFree,
                                   float obstacleThreshold, float weight,
                                   Brin::OccMapPathFinder::NeighborhoodType neighborhood,
                                   std::int32_t coarseFactor, float angleCostFactor,
                                   float accuracy);

// Calls `define` with what names the parameters of settingsFrom: keywords with their defaults.
template <typename Define>
void withSettingKeywords(const Define& define) {
  const Brin::PlannerSettings usual;
  std::deque<std::string> texts;  // which the keywords point to until `define` is done
  const auto number = [&](const char* name, float value) {
    return py::arg_v(name, value, texts.emplace_back(shortest(value)).c_str());
  };
  define(
      py::kw_only(), number("robot_radius", usual.robotRadius),
      number("fade_distance", usual.fadeDistance), py::arg("unknown_is_free") = usual.unknownIsFree,
      number("obstacle_threshold", usual.obstacleThreshold), number("weight", usual.weight),
      py::arg("neighborhood") = usual.neighborhood, py::arg("coarse_factor") = usual.coarseFactor,
      number("angle_cost_factor", usual.angleCostFactor), number("accuracy", usual.accuracy));
}

// A message of the library about settings, with the fields' names as they are in Python.
std::string withPythonNames(std::string message);

}  // namespace korrin_python
