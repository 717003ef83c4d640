// plan: 40 ways between places anywhere on the floor, by a planner that has planned before.
// plan_first: the same ways, each the first request of its planner.
// plan_short: the first 20 steps of these ways.
// plan_across: one way, from one end of the floor to the other.
#include <mrpt/nav/planners/PlannerSimple2D.h>

#include <cstddef>
#include <ctime>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "peers/agreement.hpp"
#include "peers/mrpt_inputs.hpp"
#include "peers/queries.hpp"
#include "support/office_map.hpp"
#include "support/random_inputs.hpp"

namespace korrin_peers {
namespace {

using Brin::Pose2D;

struct Way {
  Pose2D from, to;
};

class KorrinPlanner {
 public:
  explicit KorrinPlanner(const Floor& floor) : finder_(&floor.map, 0.0f) {
    finder_.setObstacleThreshold(kObstacleThreshold);
  }
  void plan(const Way& way) { finder_.computePath(way.from, way.to, path_); }
  // Of the last plan; empty when there is none.
  std::vector<Pose2D> path() const { return path_; }

 private:
  Brin::OccMapPathFinder finder_;
  std::vector<Pose2D> path_;
};

// What `make` makes of a floor, made once.
template <typename Made>
const Made& madeOnce(const Floor& floor, Made (*make)(const Floor& floor)) {
  static std::map<std::pair<Made (*)(const Floor&), std::string>, Made> all;
  const auto known = all.find({make, floor.name});
  if (known != all.end()) return known->second;
  return all.emplace(std::pair(make, floor.name), make(floor)).first->second;
}

mrpt::maps::COccupancyGridMap2D gridOf(const Floor& floor) { return mrptGrid(floor.map); }

class MrptPlanner {
 public:
  explicit MrptPlanner(const Floor& floor) : grid_(madeOnce(floor, gridOf)) {
    planner_.occupancyThreshold = kObstacleThreshold;
    planner_.robotRadius = 0.0f;
    planner_.minStepInReturnedPath = 0.0f;  // every cell, as ours
  }
  void plan(const Way& way) {
    from_ = way.from;
    planner_.computePath(grid_, mrptPose(way.from), mrptPose(way.to), points_, isMissing_);
  }
  // With the pose that it starts from, which the planner leaves out.
  std::vector<Pose2D> path() const {
    if (isMissing_ || points_.empty()) return {};
    std::vector<Pose2D> path = {from_};
    for (const mrpt::math::TPoint2D& p : points_) {
      path.emplace_back(static_cast<float>(p.x), static_cast<float>(p.y), 0.0f);
    }
    return path;
  }

 private:
  const mrpt::maps::COccupancyGridMap2D& grid_;
  mrpt::nav::PlannerSimple2D planner_;
  Pose2D from_;
  std::deque<mrpt::math::TPoint2D> points_;
  bool isMissing_ = true;
};

// Between free cells that a path joins, more than 20 steps apart.
std::vector<Way> waysAnywhere(const Floor& floor) {
  constexpr std::size_t kCount = 40;
  korrin_test::RandomInputs random(40);
  const auto somePlace = [&] {
    const int column = random.between(0, floor.map.params.width - 1);
    const int row = random.between(0, floor.map.params.height - 1);
    return floor.map.getPoseFromPixel(korrin_test::nearestFreeCell(floor.map, column, row));
  };
  KorrinPlanner planner(floor);
  std::vector<Way> ways;
  while (ways.size() < kCount) {
    const Pose2D from = somePlace();
    const Way way{from, somePlace()};
    planner.plan(way);
    if (planner.path().size() > 21) ways.push_back(way);
  }
  return ways;
}

std::vector<Way> firstSteps(const Floor& floor) {
  KorrinPlanner planner(floor);
  std::vector<Way> starts;
  for (const Way& way : madeOnce(floor, waysAnywhere)) {
    planner.plan(way);
    starts.push_back({way.from, planner.path().at(20)});
  }
  return starts;
}

std::vector<Way> wayAcross(const Floor& floor) { return {{floor.from, floor.to}}; }

double processorMilliseconds() {
  std::timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

enum class Planners { OneForAll, OneEach };

// The counters ms_<i>, length_<i> and poses_<i> tell of way i.
template <typename Planner>
void planAll(benchmark::State& state, const Floor& floor, const std::vector<Way>& ways,
             Planners planners) {
  std::optional<Planner> planner(std::in_place, floor);
  planner->plan(ways.front());  // the first request of all makes what later ones find
  std::vector<double> times(ways.size());
  for (auto _ : state) {
    for (std::size_t i = 0; i < ways.size(); ++i) {
      if (planners == Planners::OneEach) planner.emplace(floor);
      const double before = processorMilliseconds();
      planner->plan(ways[i]);
      times[i] += processorMilliseconds() - before;
    }
  }
  for (std::size_t i = 0; i < ways.size(); ++i) {
    planner->plan(ways[i]);
    const std::vector<Pose2D> path = planner->path();
    if (path.empty()) state.SkipWithError("no path");
    const std::string number = std::to_string(i);
    state.counters["ms_" + number] = times[i] / static_cast<double>(state.iterations());
    state.counters["length_" + number] = pathLength(path);
    state.counters["poses_" + number] = static_cast<double>(path.size());
  }
}

void registerPlans(const std::string& query, std::vector<Way> (*waysOn)(const Floor& floor),
                   Planners planners) {
  onEveryFloor(query, "korrin", [=](benchmark::State& state, const Floor& floor) {
    planAll<KorrinPlanner>(state, floor, madeOnce(floor, waysOn), planners);
  });
  onEveryFloor(query, "mrpt", [=](benchmark::State& state, const Floor& floor) {
    planAll<MrptPlanner>(state, floor, madeOnce(floor, waysOn), planners);
  });
}

}  // namespace

void registerPlanQueries() {
  registerPlans("plan", waysAnywhere, Planners::OneForAll);
  registerPlans("plan_first", waysAnywhere, Planners::OneEach);
  registerPlans("plan_short", firstSteps, Planners::OneForAll);
  registerPlans("plan_across", wayAcross, Planners::OneForAll);
}

}  // namespace korrin_peers
