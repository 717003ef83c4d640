#include "python/src/plan.hpp"

#include <tuple>

#include "python/src/bindings.hpp"

namespace korrin_python {
namespace {

using Brin::BlockedEnd;
using Brin::BlockedReason;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;

constexpr const char* kSettingsDoc = R"(How to plan. Lengths are metres.

A planner refuses what makes no sense (a ValueError names it), not these settings themselves. It
takes them as keywords of its own, too.

>>> settings = korrin.PlannerSettings(robot_radius=0.3, neighborhood="double")
>>> settings.fade_distance = 0.5
>>> planner = korrin.PathPlanner(korrin.OccupancyMap(20, 20, 0.1), settings)
>>> planner.settings == settings
True
)";

constexpr const char* kOutcomeDoc = R"(How a request ended.

>>> planner = korrin.PathPlanner(korrin.OccupancyMap(20, 20, 0.1), unknown_is_free=True)
>>> planner.plan((0, 0), (1, 1)).outcome
<PlanOutcome.Found: 0>
)";

constexpr const char* kReasonDoc = R"(Why an end is blocked.

>>> planner = korrin.PathPlanner(korrin.OccupancyMap(20, 20, 0.1))
>>> planner.plan((0, 0), (1, 1)).blocked.reason
<BlockedReason.Unknown: 5>
)";

constexpr const char* kBlockedDoc = R"(The end of a request that is blocked, and why.

`value` is what the map that is searched holds there: the value of an obstacle, from 0 up to the
threshold; otherwise no value but a code: -1 where an obstacle is too near, and off the map, -2 where
the cell is unknown, -3 where it is not a number.

>>> map = korrin.OccupancyMap(20, 20, 0.1)
>>> map.reset(1)
>>> map.image[:, 10] = 0
>>> blocked = korrin.PathPlanner(map, robot_radius=0.25).plan((0.2, 1), (0.8, 1)).blocked
>>> print(blocked)
TooNear: an obstacle is nearer to cell (8, 10) than the robot's radius; the nearest free pose is (0.7, 1, 0)
>>> blocked.cell, blocked.reason.name, blocked.nearest_free
(Pose2Di(x=8, y=10, theta=0), 'TooNear', Pose2D(x=0.7, y=1, theta=0))
)";

constexpr const char* kDescribeDoc = R"(What is wrong with an end, as a sentence without its stop.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> map.image[:, 10] = 0
>>> korrin.describe(korrin.PathPlanner(map).plan((1, 5), (5, 5)).blocked)
'an obstacle is there: cell (10, 10) holds 0, and free is from 0.2; the nearest free pose is (4.5, 5, 0)'
)";

constexpr const char* kPlanDoc = R"(What came of a request. Lengths are metres; arrays are copies.

>>> map = korrin.OccupancyMap(20, 20, 0.5)
>>> map.reset(1)
>>> plan = korrin.PathPlanner(map).plan((1, 1), (3, 1))
>>> print(plan)
Found: 2 m in 5 poses and 2 waypoints, cost 2, 5 iterations
>>> plan.path[:, 0].tolist(), plan.waypoints[:, 0].tolist()
([1.0, 1.5, 2.0, 2.5, 3.0], [1.0, 3.0])
)";

constexpr std::tuple kSettingFields = {
    Field{"robot_radius", &PlannerSettings::robotRadius, "Nothing comes nearer to an obstacle"},
    Field{"fade_distance", &PlannerSettings::fadeDistance,
          "Beyond the radius, where nothing is dearer any more"},
    Field{"unknown_is_free", &PlannerSettings::unknownIsFree,
          "Whether cells that nobody has seen may be entered"},
    Field{"obstacle_threshold", &PlannerSettings::obstacleThreshold,
          "Cells of a lower value are obstacles; above 0, at most 1"},
    Field{"weight", &PlannerSettings::weight, "Of the distance to the goal, from 0 to 1"},
    Field{"neighborhood", &PlannerSettings::neighborhood, "The steps"},
    Field{"coarse_factor", &PlannerSettings::coarseFactor,
          "Cells of the map along one side of a searched cell"},
    Field{"angle_cost_factor", &PlannerSettings::angleCostFactor,
          "What a turn before the first step costs, metres a radian; from the heading of a start "
          "that is a cell, while that of a pose is not looked at"},
    Field{"accuracy", &PlannerSettings::accuracy,
          "Of the waypoints: how far the path may lie from them"}};

// What the library calls the same fields, in the same order.
constexpr const char* kSettingNames[] = {"robotRadius",       "fadeDistance",    "unknownIsFree",
                                         "obstacleThreshold", "weight",          "neighborhood",
                                         "coarseFactor",      "angleCostFactor", "accuracy"};

std::string nameOf(BlockedReason reason) {
  return py::cast(reason).attr("name").cast<std::string>();
}

std::string textOf(const BlockedEnd& end) {
  return nameOf(end.reason) + ": " + Brin::describe(end);
}

std::string foundText(const Plan& plan) {
  return shortest(plan.length) + " m in " + std::to_string(plan.path.size()) + " poses and " +
         std::to_string(plan.waypoints.size()) + " waypoints, cost " + shortest(plan.cost) + ", " +
         std::to_string(plan.iterations) + " iterations";
}

std::string textOf(const Plan& plan) {
  const auto outcome = py::cast(plan.outcome).attr("name").cast<std::string>();
  if (plan.outcome == PlanOutcome::Found) return outcome + ": " + foundText(plan);
  if (plan.outcome == PlanOutcome::NoPath) {
    return outcome + ": start and goal are free, and no way leads from one to the other, " +
           std::to_string(plan.iterations) + " iterations";
  }
  return outcome + ", " + textOf(plan.blocked);
}

void bindOutcomes(py::module_& module) {
  py::enum_<PlanOutcome> outcome(module, "PlanOutcome", kOutcomeDoc);
  picklesNumber(outcome);
  outcome.value("Found", PlanOutcome::Found)
      .value("StartBlocked", PlanOutcome::StartBlocked)
      .value("GoalBlocked", PlanOutcome::GoalBlocked)
      .value("NoPath", PlanOutcome::NoPath);
  py::enum_<BlockedReason> reason(module, "BlockedReason", kReasonDoc);
  picklesNumber(reason);
  reason.value("None_", BlockedReason::None)
      .value("OffTheMap", BlockedReason::OffTheMap)
      .value("NotANumber", BlockedReason::NotANumber)
      .value("Obstacle", BlockedReason::Obstacle)
      .value("TooNear", BlockedReason::TooNear)
      .value("Unknown", BlockedReason::Unknown);
}

void bindSettings(py::module_& module) {
  py::class_<PlannerSettings> type(module, "PlannerSettings", kSettingsDoc);
  withSettingKeywords(
      [&](const auto&... keywords) { type.def(py::init(&settingsFrom), keywords...); });
  std::apply([&](const auto&... fields) { actsAsRecord(type, PlannerSettings(), fields...); },
             kSettingFields);
}

// Gives a class of results its fields, to be read alone, and makes it a value.
template <typename Class, typename... Members>
void actsAsResult(Class& type, const Field<Members>&... fields) {
  const auto define = [&](const auto& field) {
    if (!py::hasattr(type, field.name)) type.def_readonly(field.name, field.read, field.doc);
  };
  (define(fields), ...);
  using Value = typename Class::type;
  actsAsValue(type, recordMaker(Value(), fields...), fields...);
  type.def("__str__", [](const Value& self) { return textOf(self); });
}

void bindBlockedEnd(py::module_& module) {
  py::class_<BlockedEnd> type(module, "BlockedEnd", kBlockedDoc);
  type.def_property_readonly(
      "nearest_free",
      [](const BlockedEnd& self) -> py::object {
        return self.hasNearestFree ? py::cast(self.nearestFree) : py::none();
      },
      "The centre of the nearest free cell; None where none is near");
  actsAsResult(type, Field{"cell", &BlockedEnd::cell, "Of the map that is searched"},
               Field{"value", &BlockedEnd::value,
                     "Of that cell in the map that is searched; a code where it is below 0"},
               Field{"threshold", &BlockedEnd::threshold, "The planner's"},
               Field{"reason", &BlockedEnd::reason, "Why it is blocked"},
               Field{"has_nearest_free", &BlockedEnd::hasNearestFree,
                     "Whether a free cell lies at most 256 cells away"},
               Field{"nearest_free", &BlockedEnd::nearestFree});
}

}  // namespace

bool Kind<PlannerSettings>::same(const PlannerSettings& a, const PlannerSettings& b) {
  return std::apply([&](const auto&... fields) { return sameFields(a, b, fields...); },
                    kSettingFields);
}

// Part of a plan, where one that is not blocked shows as None.
template <>
struct Kind<BlockedEnd> : CastKind<BlockedEnd> {
  static bool same(const BlockedEnd& a, const BlockedEnd& b) {
    return py::cast(a).equal(py::cast(b));
  }
  static std::string text(const BlockedEnd& end) {
    return end.reason == BlockedReason::None ? py::str(py::none()) : py::repr(py::cast(end));
  }
};

namespace {

void bindPlanClass(py::module_& module) {
  py::class_<Plan> type(module, "Plan", kPlanDoc);
  type.def_property_readonly(
      "blocked",
      [](const Plan& self) -> py::object {
        return self.blocked.reason == BlockedReason::None ? py::none() : py::cast(self.blocked);
      },
      "The end that is blocked; None unless one is");
  actsAsResult(
      type, Field{"outcome", &Plan::outcome, "How the request ended"},
      Field{"path", &Plan::path, "Cells' centres from start to goal, N x 3; empty unless Found"},
      Field{"waypoints", &Plan::waypoints, "Few poses, joined by straight lines that are clear"},
      Field{"cost", &Plan::cost,
            "Of the path: the sum of length * (1 + 2 * (1 - p)) over its steps, p the value of the "
            "cell stepped into, and of the first turn's cost"},
      Field{"length", &Plan::length, "Of the path"},
      Field{"iterations", &Plan::iterations, "Nodes that the search took from its open list"},
      Field{"blocked", &Plan::blocked},
      Field{"goal", &Plan::goal,
            "Index of the goal reached among those asked for, from 0; -1 unless Found"});
}

}  // namespace

PlannerSettings settingsFrom(float robotRadius, float fadeDistance, bool unknownIsFree,
                             float obstacleThreshold, float weight,
                             Brin::OccMapPathFinder::NeighborhoodType neighborhood,
                             std::int32_t coarseFactor, float angleCostFactor, float accuracy) {
  PlannerSettings settings;
  settings.robotRadius = robotRadius;
  settings.fadeDistance = fadeDistance;
  settings.unknownIsFree = unknownIsFree;
  settings.obstacleThreshold = obstacleThreshold;
  settings.weight = weight;
  settings.neighborhood = neighborhood;
  settings.coarseFactor = coarseFactor;
  settings.angleCostFactor = angleCostFactor;
  settings.accuracy = accuracy;
  return settings;
}

std::string withPythonNames(std::string message) {
  const auto rename = [&](const std::string& name, const std::string& pythonName) {
    const std::size_t at = message.find(name);
    if (at != std::string::npos) message.replace(at, name.size(), pythonName);
  };
  std::apply(
      [&](const auto&... fields) {
        const char* const* name = kSettingNames;
        (rename(*name++, fields.name), ...);
      },
      kSettingFields);
  return message;
}

void bindPlan(py::module_& module) {
  bindOutcomes(module);
  bindSettings(module);
  bindBlockedEnd(module);
  bindPlanClass(module);
  module.def("describe", &Brin::describe, py::arg("end"), kDescribeDoc);
}

}  // namespace korrin_python
