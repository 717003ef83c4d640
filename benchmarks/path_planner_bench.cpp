// Planning with PathPlanner, beside what its promises are measured by: a warm OccMapPathFinder on
// the same cells, a new planner, one thread, a literal Dijkstra. Figures are medians over seeded
// requests that a path joins, both sides in turn on each request, and the answers of both are
// compared, too: `ratio` says how many times as fast the planner is, or as the name of a row says.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "korrin/path_planner.hpp"
#include "models/path_planner_model.hpp"
#include "support/bits.hpp"
#include "support/office_map.hpp"
#include "support/random_inputs.hpp"
#ifdef KORRIN_BENCH_READS_MAPS
#include "korrin/io/map_file.hpp"
#endif

namespace {

using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;
using Brin::Pose2D;
using Brin::Pose2Di;

constexpr std::int64_t kRealMap = 0;  // the "side" that stands for the real map
constexpr const char* kRealMapFile = "../shared/data/maps/willow-full-0.05.yaml";

const OccupancyMap& floorOfSide(std::int64_t side) {
  static std::map<std::int64_t, OccupancyMap> maps;
  const auto known = maps.find(side);
  if (known != maps.end()) return known->second;
#ifdef KORRIN_BENCH_READS_MAPS
  if (side == kRealMap && std::ifstream(kRealMapFile).good()) {
    return maps.emplace(side, Brin::io::readMapFile(kRealMapFile)).first->second;
  }
#endif
  return maps.emplace(side, korrin_test::officeMap(static_cast<int>(side), 7)).first->second;
}

bool isMissing(benchmark::State& state, const OccupancyMap& map) {
  if (map.params.width > 0) return false;
  state.SkipWithError("the real map is not there; run from the project's directory");
  return true;
}

// A robot that passes the office's doors.
PlannerSettings robot() {
  PlannerSettings settings;
  settings.robotRadius = 0.25f;
  settings.fadeDistance = 0.6f;
  return settings;
}

struct Request {
  Pose2D from;
  Pose2D to;
};

// Requests anywhere on the map that a path joins.
std::vector<Request> requestsOn(const PathPlanner& planner, std::size_t count) {
  const OccupancyMap& map = planner.grownMap();
  korrin_test::RandomInputs random(5);
  const auto somePose = [&] {
    for (;;) {
      const int x = random.between(0, map.params.width - 1);
      const int y = random.between(0, map.params.height - 1);
      if (map.getCell(x, y) >= 0.2f) return map.getPoseFromPixel({x, y, 0.0f});
    }
  };
  std::vector<Request> requests;
  while (requests.size() < count) {
    const Request request{somePose(), somePose()};
    if (planner.plan(request.from, request.to).outcome == PlanOutcome::Found) {
      requests.push_back(request);
    }
  }
  return requests;
}

std::size_t requestCount(std::int64_t side) { return side == 4000 ? 10 : 40; }

// Of this thread's processor, where other programs do not count.
double processorMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

template <typename Work>
double milliseconds(Work work) {
  const double begin = processorMilliseconds();
  work();
  return processorMilliseconds() - begin;
}

template <typename Work>
double wallMilliseconds(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Times of two sides on the same work, taken in turn.
class Pairs {
 public:
  // The shorter of several times each, as far as other programs disturb.
  template <typename A, typename B>
  void add(A a, B b, int times = 3) {
    double ofA = 1e30, ofB = 1e30;
    for (int i = 0; i < times; ++i) {
      ofA = std::min(ofA, milliseconds(a));
      ofB = std::min(ofB, milliseconds(b));
    }
    add(ofA, ofB);
  }
  void add(double ofA, double ofB) {
    a_.push_back(ofA);
    b_.push_back(ofB);
    ratios_.push_back(ofB / ofA);
  }

  // Medians, milliseconds; `ratio` is how many times as long the second takes.
  void report(benchmark::State& state, const char* a, const char* b) const {
    state.counters[a] = median(a_);
    state.counters[b] = median(b_);
    state.counters["ratio"] = median(ratios_);
  }

 private:
  std::vector<double> a_, b_, ratios_;
};

void planBesideFinder(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const PathPlanner planner(map, robot());
  Brin::OccMapPathFinder finder(&planner.grownMap(), 0.0f);
  const std::vector<Request> requests = requestsOn(planner, requestCount(state.range(0)));
  std::vector<Pose2D> path;
  finder.computePath(requests[0].from, requests[0].to, path);
  Pairs pairs;
  for (auto _ : state) {
    for (const Request& request : requests) {
      Plan plan;
      pairs.add([&] { plan = planner.plan(request.from, request.to); },
                [&] { finder.computePath(request.from, request.to, path); });
      if (!korrin_test::sameBits(plan.path, path) || plan.iterations != finder.numIterations) {
        state.SkipWithError("the paths differ");
      }
    }
  }
  pairs.report(state, "plan_ms", "finder_ms");
}

void floors(benchmark::internal::Benchmark* b) {
  b->ArgName("side")->Iterations(1)->Unit(benchmark::kMillisecond);
  for (const std::int64_t side : {std::int64_t{1000}, kRealMap, std::int64_t{4000}}) b->Arg(side);
}

BENCHMARK(planBesideFinder)->Name("path_planner/plan")->Apply(floors);

// Twenty cells on a large map.
void shortPlan(benchmark::State& state) {
  const PathPlanner planner(floorOfSide(state.range(0)), robot());
  const OccupancyMap& map = planner.grownMap();
  const int row = korrin_test::officeCorridorRow(map.params.height, 0.5);
  const Pose2Di from(map.params.width / 2, row, 0.0f);
  const Pose2Di to(from.x + 20, row, 0.0f);
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  Pairs pairs;
  for (auto _ : state) {
    Plan plan;
    for (int i = 0; i < 40; ++i) {
      pairs.add([&] { plan = planner.plan(from, to); },
                [&] { finder.computePath(from, to, path); });
    }
    if (plan.path.size() != path.size() || path.empty()) state.SkipWithError("the paths differ");
  }
  pairs.report(state, "plan_ms", "finder_ms");
}

BENCHMARK(shortPlan)->Name("path_planner/short_plan")->ArgName("side")->Arg(4000)->Iterations(1);

// The first plan of a new planner beside later ones of the same request; the ratio is what the
// first one takes more.
void firstPlan(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const std::vector<Request> requests =
      requestsOn(PathPlanner(map, robot()), requestCount(state.range(0)));
  Pairs pairs;
  for (auto _ : state) {
    for (const Request& request : requests) {
      double first = 1e30, later = 1e30;
      for (int i = 0; i < 3; ++i) {
        const PathPlanner planner(map, robot());
        const auto plan = [&] { benchmark::DoNotOptimize(planner.plan(request.from, request.to)); };
        first = std::min(first, milliseconds(plan));
        later = std::min(later, milliseconds(plan));
      }
      pairs.add(later, first);
    }
  }
  pairs.report(state, "later_ms", "first_ms");
}

BENCHMARK(firstPlan)->Name("path_planner/first_plan")->Apply(floors);

// All requests by one thread, and by two that share them; the ratio is how many more plans a second
// two threads make.
void twoThreads(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const PathPlanner planner(map, robot());
  const std::vector<Request> requests = requestsOn(planner, requestCount(state.range(0)));
  const auto planAll = [&] {
    for (const Request& request : requests) {
      benchmark::DoNotOptimize(planner.plan(request.from, request.to));
    }
  };
  Pairs pairs;
  const auto onTwo = [&] {
    std::thread other(planAll);
    planAll();
    other.join();
  };
  onTwo();
  for (auto _ : state) {
    for (int i = 0; i < 5; ++i) {
      double one = 1e30, two = 1e30;
      for (int k = 0; k < 3; ++k) {
        one = std::min(one, wallMilliseconds(planAll));
        two = std::min(two, wallMilliseconds(onTwo) / 2.0);
      }
      pairs.add(two, one);
    }
  }
  pairs.report(state, "two_ms", "one_ms");
}

BENCHMARK(twoThreads)->Name("path_planner/two_threads")->Apply(floors);

// Preparing a map whole, beside one pass over its cells; and a part of 200 x 200 cells of it.
void prepare(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const double cells = static_cast<double>(map.params.width) * map.params.height;
  std::vector<double> times, passes;
  for (auto _ : state) {
    for (int i = 0; i < 7; ++i) {
      std::unique_ptr<PathPlanner> planner;
      times.push_back(milliseconds([&] { planner = std::make_unique<PathPlanner>(map, robot()); }));
      passes.push_back(milliseconds([&] { benchmark::DoNotOptimize(cvSum(map.image)); }));
    }
  }
  state.counters["prepare_ms"] = median(times);
  state.counters["pass_ms"] = median(passes);
  state.counters["ns_per_cell"] = 1e6 * median(times) / cells;
}

BENCHMARK(prepare)->Name("path_planner/prepare")->Apply(floors);

void refreshPart(benchmark::State& state) {
  OccupancyMap map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  PathPlanner planner(map, robot());
  Pairs pairs;
  for (auto _ : state) {
    for (int i = 0; i < 10; ++i) {
      const int x = map.params.width / 12 * (i + 1);
      const int y = map.params.height / 2;
      cvSetImageROI(map.image, cvRect(x, y, 200, 200));
      cvSet(map.image, cvRealScalar(i % 2 == 0 ? 0.9 : 0.05), nullptr);
      cvResetImageROI(map.image);
      std::unique_ptr<PathPlanner> anew;
      pairs.add([&] { planner.refresh(x, y, 200, 200); },
                [&] { anew = std::make_unique<PathPlanner>(map, robot()); });
      for (int row = 0; row < map.params.height; row += 7) {
        for (int column = 0; column < map.params.width; column += 3) {
          if (planner.grownMap().getCell(column, row) != anew->grownMap().getCell(column, row)) {
            state.SkipWithError("the maps differ");
          }
        }
      }
    }
  }
  pairs.report(state, "refresh_ms", "new_ms");
}

BENCHMARK(refreshPart)->Name("path_planner/refresh")->ArgName("side")->Arg(4000)->Iterations(1);

void costField(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  const PlannerSettings settings;  // no growth: the model would look at every obstacle
  const PathPlanner planner(map, settings);
  korrin_model::PathPlannerModel model(map, settings);
  const std::vector<Request> requests = requestsOn(planner, 5);
  Pairs pairs;
  for (auto _ : state) {
    for (const Request& request : requests) {
      Pose2Di goal = planner.grownMap().getPixelFromPose(request.to);
      goal.theta = 0.0f;
      OccupancyMap field(0, 0, 1.0f, false);
      std::vector<float> expected;
      pairs.add([&] { field = planner.costField(goal); },
                [&] { expected = model.costField(goal); });
      std::size_t next = 0;
      for (int y = 0; y < map.params.height; ++y) {
        for (int x = 0; x < map.params.width; ++x) {
          if (!korrin_test::sameBits(field.getCell(x, y), expected[next++])) {
            state.SkipWithError("the costs differ");
          }
        }
      }
    }
  }
  pairs.report(state, "field_ms", "model_ms");
}

BENCHMARK(costField)->Name("path_planner/cost_field")->ArgName("side")->Arg(1000)->Iterations(1);

}  // namespace
