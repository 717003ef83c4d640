// Planning across whole floors: the library beside its literal model and beside a textbook A* with
// a binary heap; and short plans on large maps beside the bare copy of the map that each of them
// has to make. Items are expanded nodes.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <vector>

#include "benchmarks/heap_astar.hpp"
#include "core/image_ptr.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/office_map.hpp"
#ifdef KORRIN_BENCH_READS_MAPS
#include "tools/map_file.hpp"
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
    return maps.emplace(side, korrin_tool::readMapFile(kRealMapFile)).first->second;
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
  if (&map == &floorOfSide(kRealMap)) {  // two far ends of its corridors
    return {korrin_test::nearestFreeCell(map, width / 10, height / 2),
            korrin_test::nearestFreeCell(map, width * 9 / 10, height * 3 / 4)};
  }
  return {
      korrin_test::nearestFreeCell(map, width / 20, korrin_test::officeCorridorRow(height, 0.0)),
      korrin_test::nearestFreeCell(map, width * 19 / 20,
                                   korrin_test::officeCorridorRow(height, 1.0))};
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

void searchWithLibrary(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const auto [from, to] = acrossTheFloor(map);
  Brin::OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  if (path.empty()) state.SkipWithError("no path");
  for (auto _ : state) finder.xDoComputePath(from, to, path);
  countIterations(state, finder.getNumIterations());
}

void searchWithModel(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const auto [from, to] = acrossTheFloor(map);
  korrin_model::PathFinderModel model;
  model.countsEvents = false;
  model.coarseMap = map;
  for (auto _ : state) benchmark::DoNotOptimize(model.search(from, to));
  countIterations(state, model.numIterations);
}

void searchWithHeap(benchmark::State& state) {
  const OccupancyMap& map = floorOfSide(state.range(0));
  if (isMissing(state, map)) return;
  const auto [from, to] = acrossTheFloor(map);
  korrin_bench::HeapAStar heap(map);
  for (auto _ : state) benchmark::DoNotOptimize(heap.plan(from, to));
  countIterations(state, heap.iterations);
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

BENCHMARK(shortPlan)->Name("path_finder/short_plan/library")->Apply(shortPlanFloors);
BENCHMARK(bareCopy)->Name("path_finder/short_plan/bare_copy")->Apply(shortPlanFloors);

}  // namespace
