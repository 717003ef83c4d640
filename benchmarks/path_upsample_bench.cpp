// Filling paths, beside the literal model and beside a bare write of as many cells.
#include <benchmark/benchmark.h>

#include "korrin/path_upsample.hpp"
#include "models/path_upsample_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Path = std::vector<Brin::Pose2Di>;

// A path of `count` steps of at most `stride` cells, as a planner gives it.
Path stridingPath(std::int64_t count, int stride) {
  korrin_test::RandomInputs random(24);
  Path path = {{0, 0, 0.0f}};
  for (std::int64_t i = 0; i < count; ++i) {
    const Brin::Pose2Di& last = path.back();
    path.emplace_back(last.x + random.between(-stride, stride),
                      last.y + random.between(-stride, stride), 0.0f);
  }
  return path;
}

void arguments(benchmark::internal::Benchmark* b) {
  b->Args({1000, 3})->Args({1000, 30})->Args({100000, 3})->Args({100000, 30});
}

void upSample(benchmark::State& state) {
  const Path path = stridingPath(state.range(0), static_cast<int>(state.range(1)));
  Path out;
  for (auto _ : state) {
    Brin::pathUpSample(path, out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}
BENCHMARK(upSample)->Name("pathUpSample/library")->Apply(arguments);

void upSampleModel(benchmark::State& state) {
  const Path path = stridingPath(state.range(0), static_cast<int>(state.range(1)));
  Path out;
  for (auto _ : state) {
    out = korrin_model::pathUpSample(path);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}
BENCHMARK(upSampleModel)->Name("pathUpSample/model")->Apply(arguments);

// What no filling can undercut by much: the cells written one after the other, as they are.
void barePass(benchmark::State& state) {
  const Path path = stridingPath(state.range(0), static_cast<int>(state.range(1)));
  Path out;
  Brin::pathUpSample(path, out);
  const std::size_t count = out.size();
  for (auto _ : state) {
    out.clear();
    for (std::size_t i = 0; i < count; ++i) {
      out.emplace_back(static_cast<std::int32_t>(i), static_cast<std::int32_t>(i), 0.0f);
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(barePass)->Name("pathUpSample/barePass")->Apply(arguments);

}  // namespace
