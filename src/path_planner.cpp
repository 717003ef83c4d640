#include "korrin/path_planner.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

#include "core/image_ptr.hpp"
#include "core/norm.hpp"
#include "src/cost_field.hpp"
#include "src/nearest_free.hpp"
#include "src/number_text.hpp"
#include "src/plan_rooms.hpp"
#include "src/plan_search.hpp"
#include "src/planned_map.hpp"
#include "src/safe_simplification.hpp"

namespace Brin {
namespace {

constexpr float kMostMetres = 1e6f;
constexpr float kLeastResolution = 1e-6f;
constexpr std::int32_t kNearestFreeReach = 256;  // cells
constexpr float kMillimetres = 1000.0f;          // in a metre

// Not for a number outside the range, nor for what is none.
void requireWithin(float value, float least, float most, const char* field) {
  if (value >= least && value <= most) return;
  throw std::invalid_argument(std::string("PlannerSettings: ") + field + " is " + shortest(value) +
                              ", which is not from " + shortest(least) + " to " + shortest(most));
}

const PlannerSettings& checked(const PlannerSettings& settings) {
  requireWithin(settings.robotRadius, 0.0f, kMostMetres, "robotRadius");
  requireWithin(settings.fadeDistance, 0.0f, kMostMetres, "fadeDistance");
  requireWithin(settings.obstacleThreshold, 0.0f, 1.0f, "obstacleThreshold");
  if (settings.obstacleThreshold == 0.0f) {
    throw std::invalid_argument("PlannerSettings: obstacleThreshold is 0, below which is no cell");
  }
  requireWithin(settings.weight, 0.0f, 1.0f, "weight");
  requireWithin(settings.angleCostFactor, 0.0f, kMostMetres, "angleCostFactor");
  requireWithin(settings.accuracy, 0.0f, kMostMetres, "accuracy");
  if (settings.neighborhood < OccMapPathFinder::Simple ||
      settings.neighborhood > OccMapPathFinder::Triple) {
    throw std::invalid_argument("PlannerSettings: neighborhood is none of the three");
  }
  if (settings.coarseFactor < 1) {
    throw std::invalid_argument("PlannerSettings: coarseFactor is below 1");
  }
  return settings;
}

const OccupancyMap& checked(const OccupancyMap& map) {
  requireKind(map.image, IPL_DEPTH_32F, 1, "PathPlanner");
  const float resolution = map.params.resolution;
  if (!(resolution >= kLeastResolution && resolution <= kMostMetres)) {
    throw std::invalid_argument("PathPlanner: the map's resolution is " + shortest(resolution) +
                                " metres");
  }
  return map;
}

bool isPlace(const Pose2D& pose) { return std::isfinite(pose.x) && std::isfinite(pose.y); }

BlockedReason reasonOf(float value) {
  if (value == kNotANumber) return BlockedReason::NotANumber;
  if (value == kUnknownCell) return BlockedReason::Unknown;
  if (value == kTooNear) return BlockedReason::TooNear;
  return BlockedReason::Obstacle;
}

// The lengths of the steps from cell to cell.
float lengthOf(const std::vector<Point2Di>& cells, float resolution) {
  double length = 0.0;
  for (std::size_t i = 1; i < cells.size(); ++i) {
    length += normOf(cells[i].x - cells[i - 1].x, cells[i].y - cells[i - 1].y) * resolution;
  }
  return static_cast<float>(length);
}

// An end of a request, by its cell.
struct PlanEnd {
  Pose2Di cell;
  bool isNumber;  // the pose was, and the heading is
};

// For cells of a map.
double cellsBetween(const PlanEnd& a, const PlanEnd& b) {
  return std::hypot(static_cast<double>(a.cell.x) - b.cell.x,
                    static_cast<double>(a.cell.y) - b.cell.y);
}

}  // namespace

class PlannerState {
 public:
  PlannerState(const OccupancyMap& map, const PlannerSettings& settings)
      : settings_(checked(settings)), planned_(checked(map), settings_) {
    rooms_.makeFirst(planned_.grid());
  }

  const PlannerSettings& settings() const { return settings_; }
  const PlannedMap& planned() const { return planned_; }
  PlannedMap& planned() { return planned_; }

  // The heading of a pose does not matter, if it is a number.
  PlanEnd endAt(const Pose2D& pose) const {
    const Pose2Di cell = planned_.searched().getPixelFromPose(pose);
    return {{cell.x, cell.y, 0.0f}, isPlace(pose)};
  }
  static PlanEnd endAt(const Pose2Di& cell) { return {cell, std::isfinite(cell.theta)}; }

  template <typename Ends>
  std::vector<PlanEnd> endsAt(const Ends& places) const {
    std::vector<PlanEnd> ends;
    ends.reserve(places.size());
    for (const auto& place : places) ends.push_back(endAt(place));
    return ends;
  }

  Plan plan(const PlanEnd& start, const PlanEnd& goal) const {
    Plan plan;
    if (isBlocked(start)) {
      plan.outcome = PlanOutcome::StartBlocked;
      plan.blocked = tell(start);
    } else if (isBlocked(goal)) {
      plan.outcome = PlanOutcome::GoalBlocked;
      plan.blocked = tell(goal);
    } else {
      search(start.cell, goal.cell, plan);
    }
    return plan;
  }

  Plan planToNearest(const PlanEnd& start, const std::vector<PlanEnd>& goals) const;

  OccupancyMap costField(const PlanEnd& goal) const {
    OccupancyMap field(0, 0, 1.0f, false);
    const OccupancyMap& searched = planned_.searched();
    fitImage(&field.image, cvSize(searched.image->width, searched.image->height), IPL_DEPTH_32F, 1,
             "costField");
    field.params = searched.params;
    const Point2Di cell = goal.isNumber ? Point2Di(goal.cell.x, goal.cell.y) : Point2Di(-1, -1);
    writeCostField(planned_.grid(), searched.params.resolution, settings_.neighborhood, cell,
                   *field.image);
    return field;
  }

 private:
  bool isBlocked(const PlanEnd& end) const {
    const CostGrid& grid = planned_.grid();
    return !end.isNumber || !grid.contains(end.cell.x, end.cell.y) ||
           !(grid.costs()[grid.cellAt(end.cell.x, end.cell.y)] < CostGrid::kBlocked);
  }

  std::vector<std::size_t> freeGoals(const PlanEnd& start, const std::vector<PlanEnd>& goals) const;
  bool isClearlyDearer(const PlanEnd& start, const PlanEnd& goal, float cost) const;
  BlockedEnd tell(const PlanEnd& end) const;
  void search(const Pose2Di& start, const Pose2Di& goal, Plan& plan) const;
  void fillIn(const PlanSearchBase& search, float heading, Plan& plan) const;

  PlannerSettings settings_;
  PlannedMap planned_;
  mutable PlanRooms rooms_;
};

BlockedEnd PlannerState::tell(const PlanEnd& end) const {
  const OccupancyMap& searched = planned_.searched();
  BlockedEnd blocked;
  blocked.cell = end.cell;
  blocked.value = searched.getCell(end.cell.x, end.cell.y);
  blocked.threshold = settings_.obstacleThreshold;
  if (!end.isNumber) {
    blocked.reason = BlockedReason::NotANumber;
  } else if (!searched.isInside(end.cell.x, end.cell.y)) {
    blocked.reason = BlockedReason::OffTheMap;
  } else {
    blocked.reason = reasonOf(blocked.value);
  }
  const auto nearest =
      NearestFree(planned_.grid(), {end.cell.x, end.cell.y}, kNearestFreeReach).find();
  blocked.hasNearestFree = nearest.has_value();
  if (nearest) blocked.nearestFree = searched.getPoseFromPixel({nearest->x, nearest->y, 0.0f});
  return blocked;
}

void PlannerState::search(const Pose2Di& start, const Pose2Di& goal, Plan& plan) const {
  PlanRooms::Lease room(rooms_, planned_.grid());
  const PlanRequest request{start, goal, settings_.weight, settings_.angleCostFactor,
                            planned_.searched().params.resolution};
  searchPlan(settings_.neighborhood, request, planned_.grid(), *room,
             [&](const PlanSearchBase& done, bool isFound) {
               plan.iterations = done.iterations();
               if (isFound) fillIn(done, start.theta, plan);
             });
  room.giveBack();
}

void PlannerState::fillIn(const PlanSearchBase& search, float heading, Plan& plan) const {
  const OccupancyMap& searched = planned_.searched();
  const std::vector<Point2Di> cells = search.path();
  plan.path.reserve(cells.size());
  for (const Point2Di& cell : cells) {
    plan.path.push_back(searched.getPoseFromPixel({cell.x, cell.y, heading}));
    heading = 0.0f;
  }
  SafeSimplifySettings simplify;
  simplify.obstacleThreshold = settings_.obstacleThreshold;
  NoRecords records;
  plan.waypoints = SafeSimplification<NoRecords>(simplify, planned_.fine(), records)
                       .run(plan.path, settings_.accuracy * kMillimetres);
  plan.cost = search.cost();
  plan.length = lengthOf(cells, searched.params.resolution);
  plan.outcome = PlanOutcome::Found;
  plan.goal = 0;
}

Plan PlannerState::planToNearest(const PlanEnd& start, const std::vector<PlanEnd>& goals) const {
  Plan best;
  if (isBlocked(start)) {
    best.outcome = PlanOutcome::StartBlocked;
    best.blocked = tell(start);
    return best;
  }
  const std::vector<std::size_t> inReach = freeGoals(start, goals);
  for (const std::size_t i : inReach) {
    if (best.outcome == PlanOutcome::Found && isClearlyDearer(start, goals[i], best.cost)) break;
    Plan next = plan(start, goals[i]);
    if (next.outcome != PlanOutcome::Found) continue;
    next.goal = static_cast<std::int32_t>(i);
    const bool isBetter = best.outcome != PlanOutcome::Found || next.cost < best.cost ||
                          (next.cost == best.cost && next.goal < best.goal);
    if (isBetter) best = std::move(next);
  }
  if (inReach.empty() && !goals.empty()) {
    best.outcome = PlanOutcome::GoalBlocked;
    best.blocked = tell(goals.front());
  }
  return best;
}

// The places of those that are free, by their distance from the start.
std::vector<std::size_t> PlannerState::freeGoals(const PlanEnd& start,
                                                 const std::vector<PlanEnd>& goals) const {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i < goals.size(); ++i) {
    if (!isBlocked(goals[i])) places.push_back(i);
  }
  std::sort(places.begin(), places.end(), [&](std::size_t a, std::size_t b) {
    return cellsBetween(start, goals[a]) < cellsBetween(start, goals[b]);
  });
  return places;
}

// No cell costs less than its length, and no path is shorter than a straight line; but in the
// neighbourhood Double one may end beside its goal. Costs are sums of floats: those of up to
// a million steps are less than a tenth off, and with more nothing is said.
bool PlannerState::isClearlyDearer(const PlanEnd& start, const PlanEnd& goal, float cost) const {
  const double cells = cellsBetween(start, goal);
  const double resolution = planned_.searched().params.resolution;
  return cells < 1e6 && 0.9 * (cells - 1.0) * resolution > static_cast<double>(cost);
}

PathPlanner::PathPlanner(const OccupancyMap& map, const PlannerSettings& settings)
    : map_(&map), state_(std::make_unique<PlannerState>(map, settings)) {}

PathPlanner::~PathPlanner() = default;

const PlannerSettings& PathPlanner::settings() const { return state_->settings(); }

const OccupancyMap& PathPlanner::grownMap() const { return state_->planned().searched(); }

const OccupancyMap& PathPlanner::fineMap() const { return state_->planned().fine(); }

void PathPlanner::refresh() {
  if (!state_->planned().fits(checked(*map_))) {
    state_ = std::make_unique<PlannerState>(*map_, state_->settings());
    return;
  }
  state_->planned().refresh(*map_, {0, 0, map_->image->width, map_->image->height});
}

void PathPlanner::refresh(int x, int y, int width, int height) {
  if (!state_->planned().fits(checked(*map_))) return refresh();
  state_->planned().refresh(
      *map_, CellArea::onMap(x, y, width, height, map_->image->width, map_->image->height));
}

Plan PathPlanner::plan(const Pose2D& start, const Pose2D& goal) const {
  return state_->plan(state_->endAt(start), state_->endAt(goal));
}

Plan PathPlanner::plan(const Pose2Di& start, const Pose2Di& goal) const {
  return state_->plan(state_->endAt(start), state_->endAt(goal));
}

Plan PathPlanner::planToNearest(const Pose2D& start, const std::vector<Pose2D>& goals) const {
  return state_->planToNearest(state_->endAt(start), state_->endsAt(goals));
}

Plan PathPlanner::planToNearest(const Pose2Di& start, const std::vector<Pose2Di>& goals) const {
  return state_->planToNearest(state_->endAt(start), state_->endsAt(goals));
}

OccupancyMap PathPlanner::costField(const Pose2D& goal) const {
  return state_->costField(state_->endAt(goal));
}

OccupancyMap PathPlanner::costField(const Pose2Di& goal) const {
  return state_->costField(state_->endAt(goal));
}

}  // namespace Brin
