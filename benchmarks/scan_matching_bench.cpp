// The three scorers, one call a pose, beside the literal model. Items are points times poses.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>

#include <algorithm>

#include "models/scan_matching_model.hpp"
#include "scoring_input.hpp"

namespace {

using korrin_bench::ScoringInput;

// Scores every pose by `score`, which takes the search, a pose and a count.
template <typename Score>
void everyPose(benchmark::State& state, Score score) {
  const ScoringInput search;
  for (auto _ : state) {
    float best = 0.0f;
    for (const Brin::Pose2D& pose : search.poses) {
      int count = 0;
      best = std::max(best, score(search, pose, &count));
      benchmark::DoNotOptimize(count);
    }
    benchmark::DoNotOptimize(best);
  }
  const std::size_t items = search.poses.size() * search.points.size();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
  state.SetLabel("points x poses");
}

void scorePoints(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return s.reference.score(s.points, pose, ScoringInput::kMaxDist, count);
  });
}
void scorePointsModel(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return korrin_model::scanScore(s.reference.distanceMap, s.points, pose, s.reference.resolution,
                                   ScoringInput::kMaxDist, count, nullptr, s.reference.step);
  });
}
BENCHMARK(scorePoints)->Name("scanScore/points/library")->Unit(benchmark::kMillisecond);
BENCHMARK(scorePointsModel)->Name("scanScore/points/model")->Unit(benchmark::kMillisecond);

void scoreScan(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return s.reference.score(s.scan, pose, ScoringInput::kMaxDist, count);
  });
}
void scoreScanModel(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return korrin_model::scanScore(s.reference.distanceMap, s.scan, pose, s.reference.resolution,
                                   ScoringInput::kMaxDist, count, nullptr, s.reference.step);
  });
}
BENCHMARK(scoreScan)->Name("scanScore/scan/library")->Unit(benchmark::kMillisecond);
BENCHMARK(scoreScanModel)->Name("scanScore/scan/model")->Unit(benchmark::kMillisecond);

void scorePixels(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return s.reference.scorePxlScan(s.pixels, pose, ScoringInput::kMaxDist, count);
  });
}
void scorePixelsModel(benchmark::State& state) {
  everyPose(state, [](const ScoringInput& s, const Brin::Pose2D& pose, int* count) {
    return korrin_model::scorePxlScan(s.reference.distanceMap, s.pixels, pose,
                                      s.reference.resolution, ScoringInput::kMaxDist, count,
                                      s.reference.step);
  });
}
BENCHMARK(scorePixels)->Name("scorePxlScan/library")->Unit(benchmark::kMillisecond);
BENCHMARK(scorePixelsModel)->Name("scorePxlScan/model")->Unit(benchmark::kMillisecond);

void buildReference(benchmark::State& state) {
  const ScoringInput search;
  Brin::ScanDistMap map;
  for (auto _ : state) map.build(search.scan, {}, 0.05f);
  cvReleaseImage(&map.distanceMap);
  cvReleaseImage(&map.laserImage);
}
BENCHMARK(buildReference)->Name("ScanDistMap/build")->Unit(benchmark::kMicrosecond);

}  // namespace
