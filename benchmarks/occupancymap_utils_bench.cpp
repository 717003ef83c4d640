// Looking for free and unknown cells, beside the literal model.
#include <benchmark/benchmark.h>

#include "korrin/occupancymap_utils.hpp"
#include "models/occupancymap_utils_model.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;

// A square of `value`, `side` cells wide, in the middle of a map of ones with 200 cells around it.
OccupancyMap mapWithSquare(int side, float value) {
  OccupancyMap map(side + 400, side + 400, 0.05f, false);
  map.reset(1.0f);
  for (int y = 200; y < 200 + side; ++y) {
    for (int x = 200; x < 200 + side; ++x) map.setCell(x, y, value);
  }
  return map;
}

Pose2Di middleOf(const OccupancyMap& map) {
  return {map.params.width / 2, map.params.height / 2, 0.0f};
}

// A cell of the square with free space on one side.
Pose2Di edgeOf(const OccupancyMap& map) { return {map.params.width / 2, 200, 0.0f}; }

using Search = bool (*)(const OccupancyMap&, const Pose2Di&, Pose2Di&);

bool freeLibrary(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out) {
  return Brin::findFirstFreeCell(map, start, out, 0.7f);
}
bool freeModel(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out) {
  return korrin_model::findFirstFreeCell(map, start, out, 0.7f);
}
bool grayLibrary(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out) {
  return Brin::findFirstGrayCell(map, start, out, 0.3f, 0.1f);
}
bool grayModel(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out) {
  return korrin_model::findFirstGrayCell(map, start, out, 0.3f, 0.1f);
}
struct Above {
  float threshold;
  bool operator()(float value) const { return value > threshold; }
};
bool ownLibrary(const OccupancyMap& map, const Pose2Di& start, Pose2Di& out) {
  return Brin::findFirstCellWithCond(map, start, out, Above{0.7f});
}

void run(benchmark::State& state, const OccupancyMap& map, const Pose2Di& start, Search search) {
  Pose2Di out;
  for (auto _ : state) {
    bool found = search(map, start, out);
    benchmark::DoNotOptimize(found);
    benchmark::DoNotOptimize(out);
  }
}

void deepInside(benchmark::State& state, Search search) {
  const OccupancyMap map = mapWithSquare(static_cast<int>(state.range(0)), 0.0f);
  run(state, map, middleOf(map), search);
}
BENCHMARK_CAPTURE(deepInside, freeLibrary, freeLibrary)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(deepInside, freeModel, freeModel)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(deepInside, ownLibrary, ownLibrary)->Arg(100)->Arg(1000);

void atTheEdge(benchmark::State& state, Search search) {
  const OccupancyMap map = mapWithSquare(static_cast<int>(state.range(0)), 0.0f);
  run(state, map, edgeOf(map), search);
}
BENCHMARK_CAPTURE(atTheEdge, freeLibrary, freeLibrary)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(atTheEdge, freeModel, freeModel)->Arg(100)->Arg(1000);
BENCHMARK_CAPTURE(atTheEdge, ownLibrary, ownLibrary)->Arg(100)->Arg(1000);

// The same picture for the unknown cells: free space in the middle, unknown around it.
OccupancyMap clearing(int side) {
  OccupancyMap map = mapWithSquare(side, 0.0f);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(x, y, map.getCell(x, y) == 0.0f ? 1.0f : 0.5f);
    }
  }
  return map;
}

void deepInClearing(benchmark::State& state, Search search) {
  const OccupancyMap map = clearing(static_cast<int>(state.range(0)));
  run(state, map, middleOf(map), search);
}
BENCHMARK_CAPTURE(deepInClearing, grayLibrary, grayLibrary)->Arg(1000);
BENCHMARK_CAPTURE(deepInClearing, grayModel, grayModel)->Arg(1000);

void atTheClearingsEdge(benchmark::State& state, Search search) {
  const OccupancyMap map = clearing(static_cast<int>(state.range(0)));
  run(state, map, edgeOf(map), search);
}
BENCHMARK_CAPTURE(atTheClearingsEdge, grayLibrary, grayLibrary)->Arg(1000);
BENCHMARK_CAPTURE(atTheClearingsEdge, grayModel, grayModel)->Arg(1000);

}  // namespace
