// The path planner, rule by rule in the plainest form: the nearest obstacle of a cell is looked for
// among all obstacles, the lowest value among all cells of a window, and the search and the
// simplification are those of the other literal models.
#pragma once

#include <opencv2/core/core_c.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <queue>
#include <utility>
#include <vector>

#include "korrin/path_planner.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "models/safepathsimplifier_model.hpp"

namespace korrin_model {

class PathPlannerModel {
 public:
  PathPlannerModel(const Brin::OccupancyMap& map, const Brin::PlannerSettings& settings)
      : settings_(settings), fine_(grown(map)), searched_(reduced()) {
    finder_.obstacleThreshold = settings.obstacleThreshold;
    finder_.hWeight = settings.weight;
    finder_.angleCostFactor = settings.angleCostFactor;
    finder_.setNeighborhoodType(settings.neighborhood);
    finder_.coarseMap = searched_;
    finder_.countsEvents = false;
  }

  const Brin::OccupancyMap& fineMap() const { return fine_; }
  const Brin::OccupancyMap& grownMap() const { return searched_; }

  Brin::Plan plan(const Brin::Pose2D& start, const Brin::Pose2D& goal) {
    Brin::Pose2Di from = searched_.getPixelFromPose(start);
    Brin::Pose2Di to = searched_.getPixelFromPose(goal);
    from.theta = to.theta = 0.0f;
    const bool isFromNumber = std::isfinite(start.x) && std::isfinite(start.y);
    const bool isToNumber = std::isfinite(goal.x) && std::isfinite(goal.y);
    return planBetween(from, isFromNumber, to, isToNumber);
  }

  Brin::Plan plan(const Brin::Pose2Di& start, const Brin::Pose2Di& goal) {
    return planBetween(start, std::isfinite(start.theta), goal, std::isfinite(goal.theta));
  }

  // Poses or cells.
  template <typename Place>
  Brin::Plan planToNearest(const Place& start, const std::vector<Place>& goals) {
    Brin::Plan cheapest;
    Brin::Plan firstFailure;
    int blocked = 0;
    for (std::size_t i = 0; i < goals.size(); ++i) {
      Brin::Plan next = plan(start, goals[i]);
      if (next.outcome == Brin::PlanOutcome::StartBlocked) return next;
      if (i == 0) firstFailure = next;
      if (next.outcome == Brin::PlanOutcome::GoalBlocked) ++blocked;
      if (next.outcome != Brin::PlanOutcome::Found) continue;
      if (cheapest.outcome == Brin::PlanOutcome::Found && cheapest.cost <= next.cost) continue;
      cheapest = next;
      cheapest.goal = static_cast<std::int32_t>(i);
    }
    if (goals.empty()) {
      const Brin::Plan toItself = plan(start, start);
      return toItself.outcome == Brin::PlanOutcome::StartBlocked ? toItself : Brin::Plan();
    }
    return blocked == static_cast<int>(goals.size()) ? firstFailure : cheapest;
  }

  // Dijkstra's algorithm with a binary heap, from the goal backwards; outdated entries are skipped.
  std::vector<float> costField(const Brin::Pose2Di& goal) const {
    const float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> costs(static_cast<std::size_t>(width()) * static_cast<std::size_t>(height()),
                             infinity);
    using Entry = std::pair<float, std::pair<int, int>>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<Entry>> open;
    const auto begin = [&](int x, int y) {
      if (!isFree(x, y)) return;
      costs[indexOf(x, y)] = 0.0f;
      open.push({0.0f, {x, y}});
    };
    if (isFree(goal.x, goal.y) && std::isfinite(goal.theta)) {
      begin(goal.x, goal.y);
      if (settings_.neighborhood == Brin::OccMapPathFinder::Double) {
        begin(goal.x - 1, goal.y);
        begin(goal.x + 1, goal.y);
        begin(goal.x, goal.y - 1);
        begin(goal.x, goal.y + 1);
      }
    }
    while (!open.empty()) {
      const float cost = open.top().first;
      const int x = open.top().second.first;
      const int y = open.top().second.second;
      open.pop();
      if (costs[indexOf(x, y)] < cost) continue;
      const float p = searched_.getCell(x, y);
      for (const Brin::Pose2Di& delta : finder_.neighborDeltas) {
        const int fromX = x - delta.x;
        const int fromY = y - delta.y;
        if (!isFree(fromX, fromY)) continue;
        const float length = Brin::computeNorm(delta.x, delta.y) * searched_.params.resolution;
        const float offer = cost + length * (1.0f + 2.0f * (1.0f - p));
        if (!(offer < costs[indexOf(fromX, fromY)])) continue;
        costs[indexOf(fromX, fromY)] = offer;
        open.push({offer, {fromX, fromY}});
      }
    }
    return costs;
  }

 private:
  struct Cell {
    int x;
    int y;
  };

  static bool isObstacle(float value, float threshold) {
    return std::isnan(value) || value < threshold;
  }

  // Steps 1 to 4.
  Brin::OccupancyMap grown(const Brin::OccupancyMap& map) const {
    std::vector<Cell> obstacles;
    for (int y = 0; y < map.image->height; ++y) {
      for (int x = 0; x < map.image->width; ++x) {
        if (isObstacle(map.getCell(x, y), settings_.obstacleThreshold)) obstacles.push_back({x, y});
      }
    }
    Brin::OccupancyMap result(map.image->width, map.image->height, map.params.resolution, false);
    result.params.origin = map.params.origin;
    for (int y = 0; y < map.image->height; ++y) {
      for (int x = 0; x < map.image->width; ++x) {
        result.setCell(x, y, grownCell(map, obstacles, x, y));
      }
    }
    return result;
  }

  float grownCell(const Brin::OccupancyMap& map, const std::vector<Cell>& obstacles, int x,
                  int y) const {
    const float value = map.getCell(x, y);
    if (std::isnan(value)) return -3.0f;
    if (value < settings_.obstacleThreshold) return value > 0.0f ? value : 0.0f;
    float limit = 1.0f;
    if (settings_.robotRadius > 0.0f || settings_.fadeDistance > 0.0f) {
      std::int64_t nearest = std::numeric_limits<std::int64_t>::max();
      for (const Cell& cell : obstacles) {
        const std::int64_t dx = x - cell.x;
        const std::int64_t dy = y - cell.y;
        nearest = std::min(nearest, dx * dx + dy * dy);
      }
      if (!obstacles.empty()) limit = limitAt(nearest, map.params.resolution);
    }
    if (limit < 0.0f) return -1.0f;
    if (!settings_.unknownIsFree && value >= 0.4f && value <= 0.6f) return -2.0f;
    return value < limit ? value : limit;
  }

  float limitAt(std::int64_t square, float resolution) const {
    const float perMetre = 1.0f / resolution;
    const float radius = settings_.robotRadius * perMetre;
    const float fade = settings_.fadeDistance * perMetre;
    const auto distance = static_cast<float>(std::sqrt(static_cast<double>(square)));
    if (distance < radius) return -1.0f;
    if (fade == 0.0f) return 1.0f;
    const float share = (distance - radius) / fade;
    if (!(share < 1.0f)) return 1.0f;
    return settings_.obstacleThreshold + (1.0f - settings_.obstacleThreshold) * share;
  }

  // Step 5.
  Brin::OccupancyMap reduced() const {
    const std::int64_t factor = settings_.coarseFactor;
    const std::int64_t half = (settings_.neighborhood + 1) * factor / 2;
    Brin::OccupancyMap result(static_cast<int>(fine_.image->width / factor),
                              static_cast<int>(fine_.image->height / factor),
                              static_cast<float>(factor) * fine_.params.resolution, false);
    result.params.origin = fine_.params.origin;
    for (int y = 0; y < result.image->height; ++y) {
      for (int x = 0; x < result.image->width; ++x) {
        float lowest = std::numeric_limits<float>::infinity();
        for (std::int64_t v = y * factor - half; v <= y * factor + half; ++v) {
          for (std::int64_t u = x * factor - half; u <= x * factor + half; ++u) {
            if (u < 0 || v < 0 || u >= fine_.image->width || v >= fine_.image->height) continue;
            lowest = std::min(lowest, fine_.getCell(static_cast<int>(u), static_cast<int>(v)));
          }
        }
        result.setCell(x, y, lowest);
      }
    }
    return result;
  }

  int width() const { return searched_.image->width; }
  int height() const { return searched_.image->height; }
  std::size_t indexOf(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width()) +
           static_cast<std::size_t>(x);
  }
  bool isInside(int x, int y) const { return x >= 0 && y >= 0 && x < width() && y < height(); }
  bool isFree(int x, int y) const {
    return isInside(x, y) && searched_.getCell(x, y) >= settings_.obstacleThreshold;
  }

  Brin::Plan planBetween(const Brin::Pose2Di& start, bool isStartNumber, const Brin::Pose2Di& goal,
                         bool isGoalNumber) {
    Brin::Plan plan;
    if (!isStartNumber || !isFree(start.x, start.y)) {
      plan.outcome = Brin::PlanOutcome::StartBlocked;
      plan.blocked = blockedEnd(start, isStartNumber);
      return plan;
    }
    if (!isGoalNumber || !isFree(goal.x, goal.y)) {
      plan.outcome = Brin::PlanOutcome::GoalBlocked;
      plan.blocked = blockedEnd(goal, isGoalNumber);
      return plan;
    }
    const std::vector<Brin::Pose2Di> cells = finder_.search(start, goal);
    plan.iterations = finder_.numIterations;
    if (cells.empty()) return plan;
    plan.outcome = Brin::PlanOutcome::Found;
    plan.goal = 0;
    plan.cost = finder_.closedNodes.back().g;
    double length = 0.0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      plan.path.push_back(searched_.getPoseFromPixel(cells[i]));
      if (i == 0) continue;
      length += Brin::computeNorm(cells[i].x - cells[i - 1].x, cells[i].y - cells[i - 1].y) *
                searched_.params.resolution;
    }
    plan.length = static_cast<float>(length);
    SafeSampleSettings simplify;
    simplify.obstacleThreshold = settings_.obstacleThreshold;
    SafeSampleState state;
    plan.waypoints = safeSample(plan.path, fine_, simplify, settings_.accuracy * 1000.0f, 1, state);
    return plan;
  }

  Brin::BlockedEnd blockedEnd(const Brin::Pose2Di& cell, bool isNumber) const {
    Brin::BlockedEnd end;
    end.cell = cell;
    end.value = searched_.getCell(cell.x, cell.y);
    end.threshold = settings_.obstacleThreshold;
    end.reason = Brin::BlockedReason::Obstacle;
    if (end.value == -1.0f) end.reason = Brin::BlockedReason::TooNear;
    if (end.value == -2.0f) end.reason = Brin::BlockedReason::Unknown;
    if (end.value == -3.0f) end.reason = Brin::BlockedReason::NotANumber;
    if (!isInside(cell.x, cell.y)) end.reason = Brin::BlockedReason::OffTheMap;
    if (!isNumber) end.reason = Brin::BlockedReason::NotANumber;
    std::int64_t nearest = 256 * 256 + 1;
    for (int y = 0; y < height(); ++y) {
      for (int x = 0; x < width(); ++x) {
        const std::int64_t dx = std::int64_t{x} - cell.x;
        const std::int64_t dy = std::int64_t{y} - cell.y;
        if (std::abs(dx) > 256 || std::abs(dy) > 256) continue;
        if (!isFree(x, y) || dx * dx + dy * dy >= nearest) continue;
        nearest = dx * dx + dy * dy;
        end.hasNearestFree = true;
        end.nearestFree = searched_.getPoseFromPixel({x, y, 0.0f});
      }
    }
    return end;
  }

  Brin::PlannerSettings settings_;
  Brin::OccupancyMap fine_;
  Brin::OccupancyMap searched_;
  PathFinderModel finder_;
};

}  // namespace korrin_model
