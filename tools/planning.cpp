#include "tools/planning.hpp"

#include <cmath>
#include <string>

#include "korrin/occmap_path_finder.hpp"
#include "korrin/path_upsample.hpp"
#include "tools/format.hpp"
#include "tools/log_collector.hpp"
#include "tools/negative_answer.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::BlockedEnd;
using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::PlanOutcome;
using Brin::Pose2D;
using Brin::Pose2Di;

float distanceBetween(const Pose2D& a, const Pose2D& b) {
  return Brin::computeNorm(Brin::Point2D(b.x - a.x, b.y - a.y));
}

// Between cells, so that the heading of the start counts.
Brin::Plan ask(const PathPlanner& planner, const Plan& plan) {
  const OccupancyMap& searched = planner.grownMap();
  return planner.plan(searched.getPixelFromPose(plan.start), searched.getPixelFromPose(plan.goal));
}

// Whether a blocked end may be moved to a free cell that near, and is.
bool snapped(const BlockedEnd& blocked, std::optional<float> snapDistance, Pose2D& end,
             float& moved) {
  if (!blocked.hasNearestFree || !snapDistance) return false;
  const float distance = distanceBetween(end, blocked.nearestFree);
  if (!(distance <= *snapDistance)) return false;
  end = {blocked.nearestFree.x, blocked.nearestFree.y, end.theta};
  moved = distance;
  return true;
}

// Why an end is blocked, and how far it would have to move.
std::string blockedText(const BlockedEnd& blocked, const Pose2D& end) {
  const std::string text = Brin::describe(blocked);
  if (!blocked.hasNearestFree) return text;
  return text + ", " + formatNumber(distanceBetween(end, blocked.nearestFree), 2) + " m away";
}

std::string failureText(const PathPlanner& planner, const Brin::Plan& made, const Plan& plan) {
  const std::string text =
      "no plan from " + formatPoint(plan.start) + " to " + formatPoint(plan.goal) + ": ";
  if (made.outcome == PlanOutcome::NoPath) {
    return text + "no way leads from one to the other" +
           (planner.settings().unknownIsFree ? "" : "; unknown cells block");
  }
  const bool isStart = made.outcome == PlanOutcome::StartBlocked;
  return text + (isStart ? "the start is blocked: " : "the goal is blocked: ") +
         blockedText(made.blocked, isStart ? plan.start : plan.goal);
}

// Steps of two or three cells become steps of one.
std::vector<Pose2D> withEveryCell(const OccupancyMap& map, const std::vector<Pose2D>& path) {
  std::vector<Pose2Di> cells;
  cells.reserve(path.size());
  for (const Pose2D& pose : path) cells.push_back(map.getPixelFromPose(pose));
  std::vector<Pose2Di> dense;
  Brin::pathUpSample(cells, dense);
  if (path.size() == 1) dense = cells;  // which pathUpSample answers with no cell
  std::vector<Pose2D> poses;
  poses.reserve(dense.size());
  for (const Pose2Di& cell : dense) poses.push_back(map.getPoseFromPixel({cell.x, cell.y, 0.0f}));
  return poses;
}

int countBlocked(const PathPlanner& planner, const std::vector<Pose2D>& path) {
  const OccupancyMap& map = planner.fineMap();
  int blocked = 0;
  for (const Pose2D& pose : path) {
    const Pose2Di cell = map.getPixelFromPose(pose);
    if (planner.settings().obstacleThreshold > map.getCell(cell.x, cell.y)) ++blocked;
  }
  return blocked;
}

}  // namespace

Plan planPath(const PathPlanner& planner, const Pose2D& start, const Pose2D& goal,
              std::optional<float> snapDistance) {
  Plan plan;
  plan.start = start;
  plan.goal = goal;
  const Stopwatch stopwatch;
  Brin::Plan made = ask(planner, plan);
  if (made.outcome == PlanOutcome::StartBlocked &&
      snapped(made.blocked, snapDistance, plan.start, plan.startMoved)) {
    made = ask(planner, plan);
  }
  if (made.outcome == PlanOutcome::GoalBlocked &&
      snapped(made.blocked, snapDistance, plan.goal, plan.goalMoved)) {
    made = ask(planner, plan);
  }
  plan.seconds = stopwatch.seconds();
  if (made.outcome != PlanOutcome::Found) throw NegativeAnswer(failureText(planner, made, plan));
  plan.path = withEveryCell(planner.grownMap(), made.path);
  plan.waypoints = made.waypoints;
  plan.length = made.length;
  plan.cost = made.cost;
  plan.iterations = made.iterations;
  plan.blockedCells = countBlocked(planner, plan.path);
  return plan;
}

Search searchBetween(const PathPlanner& planner, const Pose2Di& start, const Pose2Di& goal) {
  const Brin::PlannerSettings& settings = planner.settings();
  const OccupancyMap& searched = planner.grownMap();
  Brin::OccMapPathFinder finder(&searched, 0.0f);
  finder.setNeighborhoodType(settings.neighborhood);
  finder.setObstacleThreshold(settings.obstacleThreshold);
  finder.setAngleCostFactor(settings.angleCostFactor);
  finder.setHWeight(settings.weight);
  std::vector<Pose2Di> path;
  finder.computePath(start, goal, path);
  Search search;
  search.grid = searched.params;
  search.explored.reserve(finder.closedNodes.size());
  for (const Brin::OccMapPathFinder::Node& node : finder.closedNodes) {
    search.explored.push_back({node.x, node.y, 0.0f});
  }
  return search;
}

Search searchBehind(const PathPlanner& planner, const Plan& plan) {
  const LogCollector log;  // its remarks on the way are not the user's business
  const OccupancyMap& searched = planner.grownMap();
  return searchBetween(planner, searched.getPixelFromPose(plan.start),
                       searched.getPixelFromPose(plan.goal));
}

double lengthOf(const std::vector<Pose2D>& path) {
  double length = 0.0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    length += std::hypot(double{path[i].x} - path[i - 1].x, double{path[i].y} - path[i - 1].y);
  }
  return length;
}

}  // namespace korrin_tool
