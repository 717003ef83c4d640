// Simplifying planned paths across office floors, beside the plain recursion with its plain
// simplifier; log records are made and dropped by both. Items are poses.
#include <benchmark/benchmark.h>

#include <vector>

#include "korrin/core/log.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "models/safepathsimplifier_model.hpp"
#include "planned_paths.hpp"

namespace {

using Brin::OccupancyMap;
using Path = std::vector<Brin::Pose2D>;

constexpr float kThreshold = 0.45f;

template <typename Simplify>
void simplifyPath(benchmark::State& state, Simplify simplify) {
  const OccupancyMap map = korrin_test::officeMap(static_cast<int>(state.range(0)), 7);
  const Path path = korrin_bench::plannedPath(map);
  const Brin::LogSink before = Brin::setLogSink([](const Brin::LogRecord&) {});
  for (auto _ : state) {
    Path simplified = simplify(path, map);
    benchmark::DoNotOptimize(simplified.data());
  }
  Brin::setLogSink(before);
  state.counters["poses"] = static_cast<double>(path.size());
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(path.size()));
}

void library(benchmark::State& state) {
  Brin::SafePathSimplifier simplifier;
  simplifier.setObstacleThreshold(kThreshold);
  simplifyPath(state, [&](const Path& path, const OccupancyMap& map) {
    return simplifier.sample(path, map);
  });
}
BENCHMARK(library)->Name("safepathsimplifier/library")->Arg(300)->Arg(500)->Arg(1000);

void model(benchmark::State& state) {
  simplifyPath(state, [](const Path& path, const OccupancyMap& map) {
    korrin_model::SafeSampleState run;
    return korrin_model::safeSample(path, map, {5.0f, 2.0f, kThreshold}, 300.0f, 1, run);
  });
}
BENCHMARK(model)->Name("safepathsimplifier/model")->Arg(300)->Arg(500)->Arg(1000);

}  // namespace
