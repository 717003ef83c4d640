// Simulated beams and scans beside their literal models, on the same inputs.
#include <benchmark/benchmark.h>

#include <optional>
#include <vector>

#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"
#include "scan_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_bench::Floor;
using Readings = std::vector<RangeReading>;

const ScanModel kScanner(korrin_bench::kBeams, korrin_bench::kReach, korrin_bench::kFieldOfView);

template <typename GetRange>
void beams(benchmark::State& state, Floor floor, GetRange getRange) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const auto pairs =
      korrin_bench::beamCells(*map, korrin_bench::freePoses(*map, korrin_bench::kPoses));
  for (auto _ : state) {
    for (const korrin_bench::CellPair& ends : pairs) {
      RangeReading beam = getRange(*map, kScanner, ends.from, ends.to, korrin_bench::kThreshold);
      benchmark::DoNotOptimize(beam);
    }
  }
}
BENCHMARK_CAPTURE(beams, libraryOffice, Floor::Office, Brin::occMapGetRange);
BENCHMARK_CAPTURE(beams, libraryWillow, Floor::Willow, Brin::occMapGetRange);
BENCHMARK_CAPTURE(beams, modelOffice, Floor::Office, korrin_model::occMapGetRange);
BENCHMARK_CAPTURE(beams, modelWillow, Floor::Willow, korrin_model::occMapGetRange);
BENCHMARK_CAPTURE(beams, libraryWarehouse, Floor::Warehouse, Brin::occMapGetRange);
BENCHMARK_CAPTURE(beams, modelWarehouse, Floor::Warehouse, korrin_model::occMapGetRange);

template <typename Simulate>
void simulatedScans(benchmark::State& state, Floor floor, Simulate simulate) {
  const std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const auto poses = korrin_bench::freePoses(*map, korrin_bench::kPoses);
  Readings out;
  for (auto _ : state) {
    for (const Pose2D& pose : poses) {
      simulate(*map, kScanner, pose, out, korrin_bench::kThreshold);
      benchmark::DoNotOptimize(out.data());
    }
  }
}
BENCHMARK_CAPTURE(simulatedScans, libraryOffice, Floor::Office, Brin::occMapSimulateScan);
BENCHMARK_CAPTURE(simulatedScans, libraryWillow, Floor::Willow, Brin::occMapSimulateScan);
BENCHMARK_CAPTURE(simulatedScans, modelOffice, Floor::Office, korrin_model::occMapSimulateScan);
BENCHMARK_CAPTURE(simulatedScans, modelWillow, Floor::Willow, korrin_model::occMapSimulateScan);
BENCHMARK_CAPTURE(simulatedScans, libraryWarehouse, Floor::Warehouse, Brin::occMapSimulateScan);
BENCHMARK_CAPTURE(simulatedScans, modelWarehouse, Floor::Warehouse,
                  korrin_model::occMapSimulateScan);

}  // namespace
