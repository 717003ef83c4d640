// Searches for the pose of a scan, beside scoring every pose in batches. Items are poses of the
// grid, whether they are looked at or not, so the ratio of items per second is how much sooner the
// answer is there.
//
// Where a scan was taken on a whole floor: 181 beams, all headings in degrees, 0.05 m. Trying all
// of these takes minutes, so every twelfth heading is tried. Where it was taken near another scan,
// in windows of a few hundred poses to some ten thousand. And what preparing costs.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/batch_scoring.hpp"
#include "korrin/pose_search.hpp"
#include "korrin/range_simulation.hpp"
#include "korrin/scan_matching.hpp"
#include "scan_inputs.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::PoseGrid;
using Brin::PoseSearch;
using korrin_bench::Floor;
using korrin_bench::kThreshold;

constexpr float kDegree = 0.017453293f;
constexpr float kStep = 0.05f;
constexpr float kMaxDist = 0.3f;

// A scan of 181 beams over half a circle with two centimetres of noise: the points that hit.
std::vector<Point2D> scanAt(const OccupancyMap& map, const Pose2D& pose) {
  const Brin::ScanModel scanner(181, 30.0f, Brin::kPi);
  std::vector<Brin::RangeReading> readings;
  Brin::occMapSimulateScan(map, scanner, pose, readings, kThreshold);
  korrin_test::RandomInputs random(7);
  std::vector<Point2D> points;
  for (Brin::RangeReading& reading : readings) {
    reading.range += random.between(-0.02f, 0.02f);
    if (reading.status == 0) points.push_back(reading.toPoint2D());
  }
  return points;
}

// Scans from all over a floor, a little off the grid.
struct Places {
  OccupancyMap map;
  PoseGrid grid;
  std::vector<std::vector<Point2D>> scans;

  explicit Places(const OccupancyMap& floor)
      : map(floor), grid(PoseGrid::around(map, kStep, kDegree)) {
    for (Pose2D pose : korrin_bench::freePoses(map, 40)) {
      pose.x += 0.013f;
      pose.y -= 0.021f;
      std::vector<Point2D> points = scanAt(map, pose);
      if (points.size() > 150 && scans.size() < 8) scans.push_back(std::move(points));
    }
  }
};

const Places* placesOn(Floor floor) {
  static std::map<Floor, std::optional<Places>> all;
  if (all.count(floor) == 0) {
    const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
    if (map) all[floor].emplace(*map);
  }
  return all[floor] ? &*all[floor] : nullptr;
}

// What one of so many poses costs, whether it is looked at or left out.
benchmark::Counter nanosecondsOf(std::int64_t poses) {
  return {1e-9 * static_cast<double>(poses),
          benchmark::Counter::kIsRate | benchmark::Counter::kInvert};
}

void locate(benchmark::State& state, Floor floor, int count) {
  const Places* places = placesOn(floor);
  if (places == nullptr) return state.SkipWithError(korrin_bench::kNoMap);
  const PoseSearch search(places->map, kThreshold, kMaxDist);
  std::size_t next = 0;
  double score = 0.0;
  for (auto _ : state) {
    const auto found =
        search.best(places->scans[next++ % places->scans.size()], places->grid, count, 1.0f);
    score += static_cast<double>(found.back().score);
  }
  state.counters["score"] = score / static_cast<double>(next);
  state.counters["ns_per_pose"] = nanosecondsOf(state.iterations() * places->grid.poses());
}

// The picture that scores of a map are told by, as pose_search.hpp says.
Brin::ImagePtr distancesOf(const OccupancyMap& map) {
  const int half = std::max(map.params.width, map.params.height);
  const Brin::ImagePtr picture = Brin::makeImage(cvSize(2 * half, 2 * half), IPL_DEPTH_8U, 1);
  for (int row = 0; row < 2 * half; ++row) {
    for (int col = 0; col < 2 * half; ++col) {
      const bool isHit =
          map.isInside(col - half, row - half) && map.getCell(col - half, row - half) < kThreshold;
      picture->imageData[row * picture->widthStep + col] = isHit ? '\0' : '\xff';
    }
  }
  IplImage* drawn = picture.get();
  IplImage* distances = nullptr;
  Brin::buildLaserDistance({}, {}, &drawn, &distances, map.params.resolution);
  return Brin::ImagePtr(distances);
}

// All places of one heading, in the picture's frame.
std::vector<Pose2D> posesOf(const PoseGrid& grid, const Pose2D& origin, int k) {
  std::vector<Pose2D> poses;
  for (int j = -grid.shiftsY(); j <= grid.shiftsY(); ++j) {
    for (int i = -grid.shiftsX(); i <= grid.shiftsX(); ++i) {
      poses.push_back(origin.relProject(grid.pose(i, j, k)));
    }
  }
  return poses;
}

// Scores every `stride`-th heading; ends the program unless the search finds nothing better there
// and, with all headings tried, the very score.
void tryAll(benchmark::State& state, Floor floor, int stride) {
  const Places* places = placesOn(floor);
  if (places == nullptr) return state.SkipWithError(korrin_bench::kNoMap);
  const PoseGrid& grid = places->grid;
  const Brin::ImagePtr distances = distancesOf(places->map);
  std::vector<float> scores;
  std::int64_t poses = 0;
  float best = 0.0f;
  for (auto _ : state) {
    for (int k = -grid.turns(); k <= grid.turns(); k += stride) {
      const std::vector<Pose2D> tried = posesOf(grid, places->map.params.origin, k);
      Brin::scanScores(distances.get(), places->scans[0], tried, places->map.params.resolution,
                       kMaxDist, scores, nullptr, 1);
      best = std::max(best, *std::max_element(scores.begin(), scores.end()));
      poses += static_cast<std::int64_t>(tried.size());
    }
  }
  const float found =
      PoseSearch(places->map, kThreshold, kMaxDist).best(places->scans[0], grid)[0].score;
  if (found < best || (stride == 1 && found != best)) std::abort();
  state.counters["ns_per_pose"] = nanosecondsOf(poses);
}

void preparingSearch(benchmark::State& state, Floor floor) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  for (auto _ : state) benchmark::DoNotOptimize(PoseSearch(*map, kThreshold, kMaxDist));
}

BENCHMARK_CAPTURE(locate, willow, Floor::Willow, 1)->Unit(benchmark::kMillisecond)->Iterations(16);
BENCHMARK_CAPTURE(locate, willowRunnerUp, Floor::Willow, 2)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(8);
BENCHMARK_CAPTURE(tryAll, willow, Floor::Willow, 12)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(locate, office, Floor::Office, 1)->Unit(benchmark::kMillisecond)->Iterations(16);
BENCHMARK_CAPTURE(tryAll, office, Floor::Office, 12)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(preparingSearch, willow, Floor::Willow)->Unit(benchmark::kMillisecond);

// Two scans of the office taken some decimetres apart.
struct Pair {
  Brin::ScanDistMap reference;
  std::vector<Point2D> points;

  Pair() {
    const OccupancyMap map = *korrin_bench::mapOf(Floor::Office);
    const Pose2D here = korrin_bench::freePoses(map, 1)[0];
    Brin::Scan scan;
    const Brin::ScanModel scanner(361, 30.0f, 6.28f);
    Brin::occMapSimulateScan(map, scanner, here, scan.readings, kThreshold);
    scan.readings.emplace_back(30.0f, 0.0f);  // makes the picture as large as the scanner sees
    reference.build(scan, {}, kStep);
    points = scanAt(map, here.absProject({0.13f, -0.08f, 0.06f}));
  }
};

const Pair& pair() {
  static const Pair made;
  return made;
}

// `shifts` steps of 0.05 m and `turns` degrees to either side.
PoseGrid window(std::int64_t shifts, std::int64_t turns) {
  PoseGrid grid;
  grid.reachX = grid.reachY = kStep * static_cast<float>(shifts);
  grid.turn = kDegree * static_cast<float>(turns);
  return grid;
}

void matchSearch(benchmark::State& state) {
  const PoseSearch search(pair().reference, kMaxDist);
  const PoseGrid grid = window(state.range(0), state.range(1));
  for (auto _ : state) benchmark::DoNotOptimize(search.best(pair().points, grid));
  state.SetItemsProcessed(state.iterations() * grid.poses());
}

// A new reference for each search, as where loops are closed.
void matchPrepareAndSearch(benchmark::State& state) {
  const PoseGrid grid = window(state.range(0), state.range(1));
  for (auto _ : state) {
    const PoseSearch search(pair().reference, kMaxDist);
    benchmark::DoNotOptimize(search.best(pair().points, grid));
  }
  state.SetItemsProcessed(state.iterations() * grid.poses());
}

void matchTryAll(benchmark::State& state) {
  const PoseGrid grid = window(state.range(0), state.range(1));
  std::vector<float> scores;
  for (auto _ : state) {
    std::vector<Pose2D> poses;
    for (int k = -grid.turns(); k <= grid.turns(); ++k) {
      const std::vector<Pose2D> more = posesOf(grid, {}, k);
      poses.insert(poses.end(), more.begin(), more.end());
    }
    Brin::scanScores(pair().reference.distanceMap, pair().points, poses,
                     pair().reference.resolution, kMaxDist, scores, nullptr, 1);
    benchmark::DoNotOptimize(*std::max_element(scores.begin(), scores.end()));
  }
  state.SetItemsProcessed(state.iterations() * grid.poses());
}

void preparingReference(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(PoseSearch(pair().reference, kMaxDist));
}

void windows(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMicrosecond);
  for (const auto& [shifts, turns] : {std::pair(3, 3), std::pair(10, 10), std::pair(40, 20)}) {
    benchmark->Args({shifts, turns});
  }
}
BENCHMARK(matchSearch)->Apply(windows);
BENCHMARK(matchPrepareAndSearch)->Apply(windows);
BENCHMARK(matchTryAll)->Apply(windows);
BENCHMARK(preparingReference)->Unit(benchmark::kMicrosecond);

}  // namespace
