#include <algorithm>
#include <cmath>

#include "tools/serve/frontier.hpp"
#include "tools/serve/known_grid.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/robot.hpp"
#include "tools/serve/simulation.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

constexpr int kMostTries = 20;     // places that are tried in one step
constexpr int kGivenUpAround = 2;  // cells around one that stays unseen

// Exploring looks at every cell of the grid, so that is what it plans on.
Brin::PlannerSettings exploringSettings(Brin::PlannerSettings settings) {
  settings.coarseFactor = 1;
  settings.neighborhood = Brin::OccMapPathFinder::Simple;
  settings.unknownIsFree = false;
  return settings;
}

// What the stages of a step took, in microseconds.
class StageTimes {
 public:
  void mark(const char* stage) {
    const double before = json_.value(stage, 0.0);
    json_[stage] = before + stopwatch_.microseconds();
    stopwatch_ = Timer();
  }
  const Json& json() const { return json_; }

 private:
  Json json_ = Json::object();
  Timer stopwatch_;
};

class Exploration : public Simulation {
 public:
  Exploration(World& world, const SessionRequest& request)
      : world_(world),
        robot_(request),
        grid_(std::make_shared<KnownGrid>(world.maps.current()->map.params)),
        planner_(makePlanner(grid_->map(), exploringSettings(request.settings))) {}

  std::vector<Event> step(float speed) override {
    StageTimes times;
    robot_.move(double{speed} * kStepSeconds);
    if (target_ && robot_.hasArrived()) robot_.lookAt(placeOf(target_->unseen));
    times.mark("move");
    // What the map does not know stops beams as a wall does: there is nothing to explore there.
    const auto readings = robot_.scan(world_.maps.current()->map, kSurelyFree);
    times.mark("scan");
    const CellRectangle changed = grid_->add(readings, robot_.pose());
    times.mark("map");
    planner_->refresh(changed.x, changed.y, changed.width, changed.height);
    times.mark("plan");

    std::vector<Event> events;
    if (const char* const reason = reasonToPlan()) plan(reason, events, times);
    Json json = robot_.stepJson(readings);
    json["microseconds"] = times.json();
    json["changed"] = changed.isEmpty() ? Json(nullptr)
                                        : Json{changed.x, changed.y, changed.width, changed.height};
    json["gridRevision"] = grid_->revision();
    json["knownCells"] = grid_->knownCells();
    // The step comes before an end, and after a plan.
    const bool isLast = !events.empty() && events.back().name == "end";
    events.insert(events.end() - (isLast ? 1 : 0), {"step", std::move(json)});
    isDone_ = isLast;
    return events;
  }

  void setGoal(const Brin::Pose2D&) override {
    throw Refusal(400, "goal: a robot that explores chooses its own goals");
  }

  Event ended(const std::string& reason, const std::string& sentence) const override {
    return robot_.ended(reason, sentence);
  }

  bool isDone() const override { return isDone_; }

  std::shared_ptr<const LayerGrid> grid() const override { return grid_; }

 private:
  Brin::Pose2D placeOf(const Brin::Pose2Di& cell) const {
    return grid_->map().getPoseFromPixel({cell.x, cell.y, 0.0f});
  }

  // Why the robot needs another plan; null when it goes on.
  const char* reasonToPlan() {
    if (!target_) return "start";
    const bool isSeen = !isUnseen(grid_->map().getCell(target_->unseen.x, target_->unseen.y));
    if (robot_.hasArrived()) {
      if (!isSeen) giveUp(target_->unseen, kGivenUpAround);
      return "arrived";
    }
    if (isSeen) return "mapChanged";
    return isWayClear() ? nullptr : "blocked";
  }

  // Whether what is left of the way is still free to the planner, at every half cell of it.
  bool isWayClear() const {
    const Brin::OccupancyMap& map = planner_->fineMap();
    Brin::Pose2D at = robot_.pose();
    for (std::size_t i = robot_.waypoint(); i < robot_.way().size(); ++i) {
      const Brin::Pose2D& to = robot_.way()[i];
      const float length = std::hypot(to.x - at.x, to.y - at.y);
      const int parts = 1 + static_cast<int>(2.0f * length / map.params.resolution);
      for (int k = 1; k <= parts; ++k) {
        const float share = static_cast<float>(k) / static_cast<float>(parts);
        const Brin::Pose2Di cell = map.getPixelFromPose(
            {at.x + share * (to.x - at.x), at.y + share * (to.y - at.y), 0.0f});
        if (!(map.getCell(cell.x, cell.y) >= planner_->settings().obstacleThreshold)) return false;
      }
      at = to;
    }
    return true;
  }

  // Goes there no more, nor to cells that far around.
  void giveUp(const Brin::Pose2Di& cell, int around) {
    for (int y = cell.y - around; y <= cell.y + around; ++y) {
      for (int x = cell.x - around; x <= cell.x + around; ++x) {
        givenUp_.insert(std::int64_t{y} * grid_->map().params.width + x);
      }
    }
  }

  void plan(const char* reason, std::vector<Event>& events, StageTimes& times) {
    target_.reset();
    robot_.follow({});
    Brin::Pose2Di start = grid_->map().getPixelFromPose(robot_.pose());
    const Brin::Plan standing = planner_->plan(start, start);
    const bool isStuck = standing.outcome == Brin::PlanOutcome::StartBlocked;
    if (isStuck && !standing.blocked.hasNearestFree) {
      events.push_back(ended("blocked", Brin::describe(standing.blocked)));
      return;
    }
    if (isStuck) start = grid_->map().getPixelFromPose(standing.blocked.nearestFree);
    for (int i = 0; i < kMostTries && !target_; ++i) {
      times.mark("plan");
      const auto frontier = nearestFrontier(grid_->map(), *planner_, start, givenUp_);
      times.mark("frontier");
      if (!frontier) {
        events.push_back(ended("complete", "every place that the robot can reach is known"));
        return;
      }
      Brin::Plan plan = planner_->plan(start, frontier->goal);
      if (plan.outcome != Brin::PlanOutcome::Found) {
        giveUp(frontier->unseen, kGivenUpAround);
        continue;
      }
      // Out of where it is blocked first, in a straight line.
      if (isStuck) plan.waypoints.insert(plan.waypoints.begin(), standing.blocked.nearestFree);
      target_ = frontier;
      events.push_back(planEvent(plan, placeOf(frontier->unseen), reason));
      robot_.follow(std::move(plan.waypoints));
    }
    times.mark("plan");
  }

  World& world_;
  Robot robot_;
  std::shared_ptr<KnownGrid> grid_;
  std::unique_ptr<Brin::PathPlanner> planner_;
  std::optional<Frontier> target_;
  CellSet givenUp_;
  bool isDone_ = false;
};

}  // namespace

std::unique_ptr<Simulation> makeExploration(World& world, const SessionRequest& request) {
  return std::make_unique<Exploration>(world, request);
}

}  // namespace korrin_tool::serve
