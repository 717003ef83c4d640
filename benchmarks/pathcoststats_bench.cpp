// The cost of paths, beside the literal model and beside a bare walk that adds the same cells up.
// Items are cells.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/grid_frame.hpp"
#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "korrin/pathcoststats.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "models/pathcoststats_model.hpp"
#include "planned_paths.hpp"
#include "src/cell_line.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Path = std::vector<Brin::Pose2D>;

struct Way {
  OccupancyMap map;
  Path path;
};

// Each pose in the cell next to the one before.
Way plannedWay() {
  OccupancyMap map = korrin_test::officeMap(500, 7);
  Path path = korrin_bench::plannedPath(map);
  return {std::move(map), std::move(path)};
}

Way simplifiedWay() {
  Way way = plannedWay();
  const Brin::LogSink before = Brin::setLogSink([](const Brin::LogRecord&) {});
  way.path = Brin::SafePathSimplifier().sample(way.path, way.map);
  Brin::setLogSink(before);
  return way;
}

// Straight across a map that no cache holds.
Way longWay() {
  Way way{korrin_test::officeMap(4000, 7), {}};
  korrin_test::RandomInputs random(52);
  for (int i = 0; i < 30; ++i) {
    way.path.push_back(way.map.getPoseFromPixel(random.cellNear(way.map, 0)));
  }
  return way;
}

struct BareWalk {
  float sum = 0.0f;
  std::int64_t cells = 0;
};

BareWalk walkBare(const OccupancyMap& map, const Path& path) {
  const Brin::GridFrame frame(map);
  const Brin::CellRect rect{map.image->width, map.image->height};
  BareWalk walk;
  Brin::Point2Di here = frame.cellOf(path.front());
  for (std::size_t i = 1; i < path.size(); ++i) {
    const Brin::Point2Di next = frame.cellOf(path[i]);
    for (Brin::CellLine line(here.x, here.y, next.x, next.y, rect); !line.done(); line.next()) {
      walk.sum += Brin::imageRow<float>(*map.image, line.y())[line.x()];
      ++walk.cells;
    }
    here = next;
  }
  return walk;
}

template <typename Summarise>
void summarisePath(benchmark::State& state, Way (*makeWay)(), Summarise summarise) {
  const Way way = makeWay();
  for (auto _ : state) {
    auto summary = summarise(way.map, way.path);
    benchmark::DoNotOptimize(summary);
  }
  state.SetItemsProcessed(state.iterations() * walkBare(way.map, way.path).cells);
}

void add(const std::string& name, Way (*makeWay)()) {
  const auto addOne = [&](const char* which, auto summarise) {
    benchmark::RegisterBenchmark(
        ("pathcoststats/" + name + "/" + which).c_str(),
        [=](benchmark::State& state) { summarisePath(state, makeWay, summarise); });
  };
  addOne("library", [](const OccupancyMap& map, const Path& path) {
    return Brin::computePathCostStat(map, path);
  });
  addOne("model", [](const OccupancyMap& map, const Path& path) {
    return korrin_model::computePathCostStat(map, path, nullptr);
  });
  addOne("bare_walk", walkBare);
}

const bool kAreAdded = [] {
  add("planned", plannedWay);
  add("simplified", simplifiedWay);
  add("long", longWay);
  return true;
}();

}  // namespace
