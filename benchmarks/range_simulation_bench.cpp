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
KORRIN_COMPARE_ON_FLOORS(beams, Brin::occMapGetRange, korrin_model::occMapGetRange);

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
KORRIN_COMPARE_ON_FLOORS(simulatedScans, Brin::occMapSimulateScan,
                         korrin_model::occMapSimulateScan);

}  // namespace
