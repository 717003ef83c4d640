// Scores at many poses in one call, beside the literal model. Items are points times poses.
#include <benchmark/benchmark.h>

#include <vector>

#include "korrin/batch_scoring.hpp"
#include "models/batch_scoring_model.hpp"
#include "scoring_input.hpp"

namespace {

using korrin_bench::ScoringInput;

const ScoringInput& search() {
  static const ScoringInput instance;
  return instance;
}

// Poses that vary the heading first, so that no two neighbours share one.
std::vector<Brin::Pose2D> headingsFirst() {
  std::vector<Brin::Pose2D> poses;
  const std::size_t places = 121;
  for (std::size_t place = 0; place < places; ++place) {
    for (std::size_t i = place; i < search().poses.size(); i += places) {
      poses.push_back(search().poses[i]);
    }
  }
  return poses;
}

template <typename Items>
void library(benchmark::State& state, const Items& items, const std::vector<Brin::Pose2D>& poses) {
  const ScoringInput& s = search();
  std::vector<float> scores;
  std::vector<int> counts;
  for (auto _ : state) {
    Brin::scanScores(s.reference.distanceMap, items, poses, s.reference.resolution,
                     ScoringInput::kMaxDist, scores, &counts, 1);
    benchmark::DoNotOptimize(scores.data());
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(poses.size() * s.points.size()));
}

template <typename Items>
void model(benchmark::State& state, const Items& items) {
  const ScoringInput& s = search();
  std::vector<float> scores;
  std::vector<int> counts;
  for (auto _ : state) {
    korrin_model::scanScores(s.reference.distanceMap, items, s.poses, s.reference.resolution,
                             ScoringInput::kMaxDist, scores, counts, 1);
    benchmark::DoNotOptimize(scores.data());
  }
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(s.poses.size() * s.points.size()));
}

void pointsInBatch(benchmark::State& state) { library(state, search().points, search().poses); }
void pointsInBatchHeadingsFirst(benchmark::State& state) {
  library(state, search().points, headingsFirst());
}
void pointsModel(benchmark::State& state) { model(state, search().points); }
void scanInBatch(benchmark::State& state) { library(state, search().scan, search().poses); }
void scanModel(benchmark::State& state) { model(state, search().scan); }

BENCHMARK(pointsInBatch)->Name("scanScores/points/library")->Unit(benchmark::kMillisecond);
BENCHMARK(pointsInBatchHeadingsFirst)
    ->Name("scanScores/points/library/headings-first")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(pointsModel)->Name("scanScores/points/model")->Unit(benchmark::kMillisecond);
BENCHMARK(scanInBatch)->Name("scanScores/scan/library")->Unit(benchmark::kMillisecond);
BENCHMARK(scanModel)->Name("scanScores/scan/model")->Unit(benchmark::kMillisecond);

}  // namespace
