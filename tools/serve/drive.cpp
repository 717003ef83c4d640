#include "tools/serve/plan_json.hpp"
#include "tools/serve/robot.hpp"
#include "tools/serve/simulation.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

class Drive : public Simulation {
 public:
  Drive(World& world, const SessionRequest& request)
      : world_(world), settings_(request.settings), goal_(request.goal), robot_(request) {
    world.plannerOn(*world.maps.current(), settings_);  // refuses settings that make no sense
  }

  std::vector<Event> step(float speed) override {
    const auto state = world_.maps.current();
    std::vector<Event> events;
    Json times;
    if (state->revision != plannedOn_) {
      if (!plan(*state, events, times)) return events;
    } else {
      const Timer moving;
      robot_.move(double{speed} * kStepSeconds);
      times["move"] = moving.microseconds();
    }
    const Timer scanning;
    const auto readings = robot_.scan(state->map, kBeamThreshold);
    times["scan"] = scanning.microseconds();
    Json json = robot_.stepJson(readings);
    json["microseconds"] = times;
    events.push_back({"step", std::move(json)});
    if (robot_.hasArrived()) finish(events, "arrived", "the robot is at its goal");
    return events;
  }

  void setGoal(const Brin::Pose2D& goal) override {
    goal_ = goal;
    plannedOn_ = kNever;
    reason_ = "goal";
  }

  Event ended(const std::string& reason, const std::string& sentence) const override {
    return robot_.ended(reason, sentence);
  }

  bool isDone() const override { return isDone_; }

 private:
  static constexpr std::int64_t kNever = -1;

  // Plans from where the robot is; false when that was the end.
  bool plan(const MapState& state, std::vector<Event>& events, Json& times) {
    const Timer planning;
    const Planners::Pointer planner = world_.plannerOn(state, settings_).value;
    const Brin::OccupancyMap& searched = planner->grownMap();
    const Brin::Plan plan =
        planner->plan(searched.getPixelFromPose(robot_.pose()), searched.getPixelFromPose(goal_));
    times["plan"] = planning.microseconds();
    events.push_back(planEvent(plan, goal_, reason_));
    plannedOn_ = state.revision;
    reason_ = "mapChanged";
    if (plan.outcome == Brin::PlanOutcome::Found) {
      robot_.follow(plan.waypoints);
      return true;
    }
    const bool isBlocked = plan.outcome != Brin::PlanOutcome::NoPath;
    finish(events, isBlocked ? "blocked" : "noPath",
           isBlocked ? Brin::describe(plan.blocked) : "no way leads to the goal");
    return false;
  }

  void finish(std::vector<Event>& events, const std::string& reason, const std::string& sentence) {
    events.push_back(ended(reason, sentence));
    isDone_ = true;
  }

  World& world_;
  Brin::PlannerSettings settings_;
  Brin::Pose2D goal_;
  Robot robot_;
  std::int64_t plannedOn_ = kNever;  // the revision of the map
  std::string reason_ = "start";
  bool isDone_ = false;
};

}  // namespace

std::unique_ptr<Simulation> makeDrive(World& world, const SessionRequest& request) {
  return std::make_unique<Drive>(world, request);
}

}  // namespace korrin_tool::serve
