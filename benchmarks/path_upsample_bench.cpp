// Filling paths, beside the literal model and beside a bare pass that writes as many cells.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>

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
  b->Args({1000, 2})->Args({1000, 3})->Args({100000, 2})->Args({100000, 3})->Args({100000, 30});
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

// What no filling can undercut: for each pair as many cells written as its line has, all the same.
void barePass(benchmark::State& state) {
  const Path path = stridingPath(state.range(0), static_cast<int>(state.range(1)));
  Path out;
  Brin::pathUpSample(path, out);
  for (auto _ : state) {
    Brin::Pose2Di* next = out.data();
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
      const int dx = std::abs(path[i + 1].x - path[i].x);
      const int dy = std::abs(path[i + 1].y - path[i].y);
      for (int left = std::max(dx, dy); left > 0; --left) {
        *next++ = Brin::Pose2Di(path[i].x, path[i].y, 0.0f);
      }
    }
    *next = path.back();
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(out.size()));
}
BENCHMARK(barePass)->Name("pathUpSample/barePass")->Apply(arguments);

}  // namespace
