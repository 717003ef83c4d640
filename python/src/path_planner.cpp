#include "korrin/path_planner.hpp"

#include <memory>
#include <stdexcept>
#include <utility>

#include "python/src/bindings.hpp"
#include "python/src/on_map.hpp"
#include "python/src/plan.hpp"

namespace korrin_python {
namespace {

using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::Pose2D;
using Brin::Pose2Di;

// Does `work`, and has errors about settings name them as Python does.
template <typename Work>
auto namingSettings(const Work& work) {
  try {
    return work();
  } catch (const std::invalid_argument& error) {
    throw py::value_error(withPythonNames(error.what()));
  }
}

class Planner : public OnMap<PathPlanner> {
 public:
  Planner(std::shared_ptr<OccupancyMap> map, const PlannerSettings& settings)
      : OnMap(std::move(map), settings), settings_(settings) {}

  const PlannerSettings& settings() const { return settings_; }

 private:
  PlannerSettings settings_;
};

constexpr const char* kPlannerDoc =
    R"(Plans paths for a robot with a radius on a map that is prepared once, from any thread.

Made of a map and of PlannerSettings or its fields as keywords. Obstacles are grown by the robot's
radius, cells that nobody has seen block unless `unknown_is_free`, and what blocks an end is told:
nothing is raised and nothing is logged. What changed in the map counts after a refresh. Threads may
plan on one planner at the same time; a refresh waits for them, and they for it. It takes 8 to 12
bytes a cell. A copy, and what a pickle gives back, is prepared from the map as it is then.

>>> map = korrin.OccupancyMap(200, 100, 0.05)     # 10 m x 5 m
>>> map.reset(1)
>>> map.image[:80, 100] = 0                       # a wall with a way round
>>> planner = korrin.PathPlanner(map, robot_radius=0.3)
>>> plan = planner.plan((1, 1), (9, 1))
>>> plan.outcome.name, len(plan.waypoints), bool(plan.path[:, 1].max() > 4.2)
('Found', 6, True)
>>> planner.plan((1, 1), (5.2, 1)).blocked.reason
<BlockedReason.TooNear: 4>
)";

constexpr const char* kPlanPosesDoc = R"(Plans between two world poses (metres), whose headings do
not matter, not to `angle_cost_factor` either: it counts the turn from the grid's own direction.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> korrin.PathPlanner(map).plan((1, 1), (2, 1)).path.tolist()
[[1.0, 1.0, 0.0], [1.5, 1.0, 0.0], [2.0, 1.0, 0.0]]
)";

constexpr const char* kPlanCellsDoc = R"(The same between two cells of grown_map(), given as Pose2Di
or by keyword. The first step's turn is measured from the heading of the start.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> korrin.PathPlanner(map).plan(start_cell=(2, 2), goal_cell=(4, 2)).length
1.0
)";

constexpr const char* kNearestDoc = R"(The plan to whichever of N x 3 poses is the cheapest to plan
to; its index is `goal`. Goals that are blocked or out of reach do not matter unless all are.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> plan = korrin.PathPlanner(map).plan_to_nearest((1, 1), [(9, 1, 0), (1, 3, 0), (-5, 1, 0)])
>>> plan.goal, plan.length
(1, 2.0)
)";

constexpr const char* kCostDoc = R"(What the cheapest way from each cell of grown_map() to a goal
costs: a map of metres, infinite where there is no way.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> map.image[:, 10] = 0
>>> field = korrin.PathPlanner(map).cost_field((1, 1))
>>> field.image[2, 2:5].tolist(), float(field.image[2, 15])
([0.0, 0.5, 1.0], inf)
)";

constexpr const char* kRefreshDoc = R"(Takes in all changes of the map: answers are those of a new
planner.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> planner = korrin.PathPlanner(map)
>>> map.reset(1)
>>> planner.plan((1, 1), (2, 1)).outcome.name
'StartBlocked'
>>> planner.refresh()
>>> planner.plan((1, 1), (2, 1)).outcome.name
'Found'
)";

template <typename Place>
Plan plan(const Planner& self, const Place& start, const Place& goal) {
  Plan plan;
  self.ask([&](const PathPlanner& planner) { plan = planner.plan(start, goal); });
  return plan;
}

template <typename Place>
Plan planToNearest(const Planner& self, const Place& start, const std::vector<Place>& goals) {
  Plan plan;
  self.ask([&](const PathPlanner& planner) { plan = planner.planToNearest(start, goals); });
  return plan;
}

using MapPtr = std::shared_ptr<OccupancyMap>;

MapPtr noMap() { return std::make_shared<OccupancyMap>(0, 0, 1.0f, false); }

template <typename Place>
MapPtr costField(const Planner& self, const Place& goal) {
  MapPtr field = noMap();
  self.ask([&](const PathPlanner& planner) { *field = planner.costField(goal); });
  return field;
}

// A copy, since a refresh changes the planner's own.
template <const OccupancyMap& (PathPlanner::*Map)() const>
MapPtr copyOf(const Planner& self) {
  MapPtr copy = noMap();
  self.ask([&](const PathPlanner& planner) { *copy = (planner.*Map)(); });
  return copy;
}

void bindPlanning(py::class_<Planner>& type) {
  type.def("plan", &plan<Pose2D>, py::arg("start"), py::arg("goal"), kPlanPosesDoc)
      .def("plan", &plan<Pose2Di>, py::arg("start_cell"), py::arg("goal_cell"), kPlanCellsDoc)
      .def("plan_to_nearest", &planToNearest<Pose2D>, py::arg("start"), py::arg("goals"),
           kNearestDoc)
      .def("plan_to_nearest", &planToNearest<Pose2Di>, py::arg("start_cell"), py::arg("goal_cells"),
           "The same between cells of grown_map().")
      .def("cost_field", &costField<Pose2D>, py::arg("goal"), kCostDoc)
      .def("cost_field", &costField<Pose2Di>, py::arg("goal_cell"),
           "The same for a cell of grown_map().");
}

void bindRefresh(py::class_<Planner>& type) {
  type.def(
          "refresh",
          [](Planner& self) {
            namingSettings([&] { self.change([](PathPlanner& planner) { planner.refresh(); }); });
          },
          kRefreshDoc)
      .def(
          "refresh",
          [](Planner& self, int x, int y, int width, int height) {
            namingSettings([&] {
              self.change([&](PathPlanner& planner) { planner.refresh(x, y, width, height); });
            });
          },
          py::arg("x"), py::arg("y"), py::arg("width"), py::arg("height"),
          "The same after a change in columns [x, x + width) and rows [y, y + height) only.");
}

void bindMaps(py::class_<Planner>& type) {
  type.def_property_readonly("map", &Planner::map, "The map to plan on")
      .def_property_readonly(
          "settings", [](const Planner& self) { return self.settings(); },
          "What the planner was made with; a copy")
      .def("grown_map", &copyOf<&PathPlanner::grownMap>, R"(A copy of the map that is searched.

>>> map = korrin.OccupancyMap(5, 1, 0.1)
>>> map.image[:] = 1, 1, 1, 1, 0
>>> korrin.PathPlanner(map, robot_radius=0.15).grown_map().image.tolist()
[[1.0, 1.0, 1.0, -1.0, 0.0]]
)")
      .def("fine_map", &copyOf<&PathPlanner::fineMap>,
           R"(A copy of the map that waypoints are simplified on: the same unless it is reduced.

>>> map = korrin.OccupancyMap(8, 8, 0.1)
>>> planner = korrin.PathPlanner(map, coarse_factor=4)
>>> planner.fine_map().shape, planner.grown_map().shape
((8, 8), (2, 2))
)");
}

// A constructor that takes the parameters of settingsFrom after the map.
template <typename Make, typename... Values>
auto ofMapAndValues(const Make& make, PlannerSettings (*settings)(Values...)) {
  return [make, settings](MapPtr map, Values... values) {
    return make(std::move(map), settings(values...));
  };
}

}  // namespace

void bindPathPlanner(py::module_& module) {
  py::class_<Planner> type(module, "PathPlanner", kPlannerDoc);
  const auto make = [](MapPtr map, const PlannerSettings& settings) {
    if (!map) throw py::cast_error("no map");
    return namingSettings([&] { return std::make_unique<Planner>(std::move(map), settings); });
  };
  type.def(py::init(make), py::arg("map").none(false), py::arg("settings"));
  withSettingKeywords([&](const auto&... keywords) {
    type.def(py::init(ofMapAndValues(make, &settingsFrom)), py::arg("map").none(false),
             keywords...);
  });
  actsAsValue(type, make, Field{"map", &Planner::map}, Field{"settings", &Planner::settings});
  bindPlanning(type);
  bindRefresh(type);
  bindMaps(type);
}

}  // namespace korrin_python
