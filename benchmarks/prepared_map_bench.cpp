// Rays and scans through a prepared map beside the literal walks, and what preparing costs.
#include <benchmark/benchmark.h>

#include <optional>
#include <vector>

#include "korrin/prepared_map.hpp"
#include "models/range_simulation_model.hpp"
#include "scan_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::PreparedMap;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_bench::CellPair;
using korrin_bench::Floor;
using korrin_bench::kThreshold;
using Readings = std::vector<RangeReading>;

const ScanModel kScanner(korrin_bench::kBeams, korrin_bench::kReach, korrin_bench::kFieldOfView);

RangeReading libraryRay(const OccupancyMap& /*map*/, const PreparedMap& prepared,
                        const CellPair& ends) {
  return prepared.xThrowRay(ends.from.x, ends.from.y, ends.to.x, ends.to.y);
}
RangeReading modelRay(const OccupancyMap& map, const PreparedMap& /*prepared*/,
                      const CellPair& ends) {
  return korrin_model::xThrowRay(map, ends.from.x, ends.from.y, ends.to.x, ends.to.y, kThreshold);
}

template <typename CastRay>
void preparedRays(benchmark::State& state, Floor floor, CastRay castRay) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const PreparedMap prepared(*map, kThreshold);
  const auto pairs =
      korrin_bench::beamCells(*map, korrin_bench::freePoses(*map, korrin_bench::kPoses));
  for (auto _ : state) {
    for (const CellPair& ends : pairs) {
      RangeReading ray = castRay(*map, prepared, ends);
      benchmark::DoNotOptimize(ray);
    }
  }
}
KORRIN_COMPARE_ON_FLOORS(preparedRays, libraryRay, modelRay);

void libraryScan(const OccupancyMap& /*map*/, const PreparedMap& prepared, const Pose2D& pose,
                 Readings& out) {
  prepared.occMapSimulateScan(kScanner, pose, out);
}
void modelScan(const OccupancyMap& map, const PreparedMap& /*prepared*/, const Pose2D& pose,
               Readings& out) {
  korrin_model::occMapSimulateScan(map, kScanner, pose, out, kThreshold);
}

template <typename Simulate>
void preparedScans(benchmark::State& state, Floor floor, Simulate simulate) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const PreparedMap prepared(*map, kThreshold);
  const auto poses = korrin_bench::freePoses(*map, korrin_bench::kPoses);
  Readings out;
  for (auto _ : state) {
    for (const Pose2D& pose : poses) {
      simulate(*map, prepared, pose, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
}
KORRIN_COMPARE_ON_FLOORS(preparedScans, libraryScan, modelScan);

void preparing(benchmark::State& state, Floor floor) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  PreparedMap prepared(*map, kThreshold);
  for (auto _ : state) prepared.refresh();
}
BENCHMARK_CAPTURE(preparing, office, Floor::Office);
BENCHMARK_CAPTURE(preparing, willow, Floor::Willow);
BENCHMARK_CAPTURE(preparing, warehouse, Floor::Warehouse);

// After a change of `side` x `side` cells in the middle.
void preparingPart(benchmark::State& state) {
  const OccupancyMap map = *korrin_bench::mapOf(Floor::Office);
  PreparedMap prepared(map, kThreshold);
  const int side = static_cast<int>(state.range(0));
  const int start = (map.params.width - side) / 2;
  for (auto _ : state) prepared.refresh(start, start, side, side);
}
BENCHMARK(preparingPart)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

}  // namespace
