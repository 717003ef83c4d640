// Planning across whole floors: the library beside its literal model and beside a textbook A* with
// a binary heap; and short plans on large maps beside the bare copy of the map that each of them
// has to make. Items are expanded nodes.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <optional>
#include <vector>

#include "benchmarks/heap_astar.hpp"
#include "core/image_ptr.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/office_map.hpp"
#include "support/random_inputs.hpp"
#ifdef KORRIN_BENCH_READS_MAPS
#include "korrin/io/map_file.hpp"
#endif

namespace {

using Brin::OccupancyMap;
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

struct Request {
  Pose2Di from;
  Pose2Di to;
};

Request acrossTheFloor(const OccupancyMap& map) {
  const int width = map.params.width;
  const int height = map.params.height;
  return {
      korrin_test::nearestFreeCell(map, width / 20, korrin_test::officeCorridorRow(height, 0.0)),
      korrin_test::nearestFreeCell(map, width * 19 / 20,
                                   korrin_test::officeCorridorRow(height, 1.0))};
}

// Free cells anywhere that a path joins. One request would be luck: how much more the finder has to
// expand than the heap depends on the way.
std::vector<Request> anywhere(const OccupancyMap& map) {
  constexpr std::size_t kCount = 30;
  korrin_test::RandomInputs random(5);
  const auto someCell = [&] {
    return korrin_test::nearestFreeCell(map, random.between(0, map.params.width - 1),
                                        random.between(0, map.params.height - 1));
  };
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Request> requests;
  std::vector<Pose2Di> path;
  while (requests.size() < kCount) {
    const Request request{someCell(), someCell()};
    finder.computePath(request.from, request.to, path);
    if (!path.empty()) requests.push_back(request);
  }
  return requests;
}

const std::vector<Request>& requestsOn(std::int64_t side) {
  static std::map<std::int64_t, std::vector<Request>> requests;
  const OccupancyMap& map = floorOfSide(side);
  const auto known = requests.find(side);
  if (known != requests.end()) return known->second;
  return requests.emplace(side, side == kRealMap ? anywhere(map) : std::vector{acrossTheFloor(map)})
      .first->second;
}

bool isMissing(benchmark::State& state, const OccupancyMap& map) {
  if (map.params.width > 0) return false;
  state.SkipWithError("the real map is not there; run from the project's directory");
  return true;
}

void countIterations(benchmark::State& state, std::int64_t perPlan) {
  state.SetItemsProcessed(state.iterations() * perPlan);
  state.counters["nodes"] = static_cast<double>(perPlan);
  state.counters["ns_per_node"] = benchmark::Counter(
      1e-9 * static_cast<double>(perPlan),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Searches for all requests with `search`, which returns how many nodes it has expanded.
template <typename Search>
void searchForAll(benchmark::State& state, Search search) {
  std::int64_t nodes = 0;
  for (auto _ : state) {
    nodes = 0;
    for (const auto& [from, to] : requestsOn(state.range(0))) nodes += search(from, to);
  }
  countIterations(state, nodes);
}

void searchWithLibrary(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  // Once in advance, which makes the coarse map and the room that finders keep for later requests.
  for (const auto& [from, to] : requestsOn(state.range(0))) {
    finder.computePath(from, to, path);
    if (path.empty()) state.SkipWithError("no path");
  }
  searchForAll(state, [&](const Pose2Di& from, const Pose2Di& to) {
    finder.xDoComputePath(from, to, path);
    return finder.getNumIterations();
  });
}

void searchWithModel(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  korrin_model::PathFinderModel model;
  model.countsEvents = false;
  model.coarseMap = map;
  searchForAll(state, [&](const Pose2Di& from, const Pose2Di& to) {
    benchmark::DoNotOptimize(model.search(from, to));
    return model.numIterations;
  });
}

void searchWithHeap(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  korrin_bench::HeapAStar heap(map);
  searchForAll(state, [&](const Pose2Di& from, const Pose2Di& to) {
    benchmark::DoNotOptimize(heap.plan(from, to));
    return heap.iterations;
  });
}

void floors(benchmark::internal::Benchmark* b) {
  b->ArgName("side")->Unit(benchmark::kMillisecond);
  for (const std::int64_t side : std::vector<std::int64_t>{kRealMap, 250, 500, 1000, 2000, 4000})
    b->Arg(side);
}

BENCHMARK(searchWithLibrary)->Name("path_finder/search/library")->Apply(floors);
BENCHMARK(searchWithHeap)->Name("path_finder/search/heap")->Apply(floors);
BENCHMARK(searchWithModel)->Name("path_finder/search/model")->Apply(floors);

// Twenty cells on a map of any size: what remains is the copy of the map. The images for it are
// made by the first request and kept.
void shortPlan(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  const int row = korrin_test::officeCorridorRow(map.params.height, 0.5);
  const Pose2Di from(map.params.width / 2, row, 0.0f);
  const Pose2Di to(from.x + 20, row, 0.0f);
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  for (auto _ : state) finder.computePath(from, to, path);
  if (path.empty()) state.SkipWithError("no path");
  state.counters["nodes"] = finder.getNumIterations();
}

void bareCopy(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  const Brin::ImagePtr copy = Brin::makeImage(cvGetSize(map.image), IPL_DEPTH_32F, 1);
  cvResize(map.image, copy.get(), CV_INTER_LINEAR);  // its pages are there from now on
  for (auto _ : state) cvResize(map.image, copy.get(), CV_INTER_LINEAR);
}

void shortPlanFloors(benchmark::internal::Benchmark* b) {
  b->ArgName("side")->Unit(benchmark::kMicrosecond)->Arg(500)->Arg(1000)->Arg(4000);
}

// A search of every cell that can be reached, as a finder's first one, which makes the coarse map
// and the memory for the nodes, and as a later one.
constexpr std::int64_t kSideOfMillions = 2080;

void expandAll(Brin::OccMapPathFinder& finder, std::vector<Pose2Di>& path) {
  Brin::OccMapPathFinder::setHWeight(0.0f);
  const auto& [from, to] = requestsOn(kSideOfMillions).front();
  finder.computePath(from, to, path);
}

void firstSearch(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(kSideOfMillions);
  requestsOn(kSideOfMillions);
  std::vector<Pose2Di> path;
  std::optional<Brin::OccMapPathFinder> finder;
  for (auto _ : state) {
    state.PauseTiming();
    // One that comes and goes before: a virtual machine has to get memory that has been idle for
    // seconds from its host, which costs either more than the search.
    expandAll(finder.emplace(&map, 0.0f), path);
    finder.emplace(&map, 0.0f);
    state.ResumeTiming();
    expandAll(*finder, path);
  }
  if (path.empty()) state.SkipWithError("no path");
  state.counters["nodes"] = static_cast<double>(finder->nodes.size());
}

void laterSearch(benchmark::State& state) {
  Brin::OccMapPathFinder finder(&floorOfSide(kSideOfMillions), 0.0f);
  std::vector<Pose2Di> path;
  expandAll(finder, path);
  for (auto _ : state) expandAll(finder, path);
  if (path.empty()) state.SkipWithError("no path");
  state.counters["nodes"] = static_cast<double>(finder.nodes.size());
}

BENCHMARK(firstSearch)->Name("path_finder/first_search")->Unit(benchmark::kMillisecond);
BENCHMARK(laterSearch)->Name("path_finder/later_search")->Unit(benchmark::kMillisecond);

BENCHMARK(shortPlan)->Name("path_finder/short_plan/library")->Apply(shortPlanFloors);
BENCHMARK(bareCopy)->Name("path_finder/short_plan/bare_copy")->Apply(shortPlanFloors);

}  // namespace
