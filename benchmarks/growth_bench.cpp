// How cost grows with the side of the map: what the plot of scripts/bench shows beside the search.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <vector>

#include "korrin/map_image_utils.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/prepared_map.hpp"
#include "korrin/range_simulation.hpp"
#include "scan_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::PreparedMap;
using Readings = std::vector<Brin::RangeReading>;
using korrin_bench::kThreshold;

const Brin::ScanModel kScanner(korrin_bench::kBeams, korrin_bench::kReach,
                               korrin_bench::kFieldOfView);

const OccupancyMap& floorOf(const benchmark::State& state) {
  static std::map<std::int64_t, OccupancyMap> floors;
  const auto known = floors.find(state.range(0));
  if (known != floors.end()) return known->second;
  const auto side = static_cast<int>(state.range(0));
  return floors.emplace(side, korrin_test::officeMap(side, 7)).first->second;
}

void sides(benchmark::internal::Benchmark* b) {
  b->ArgName("side")->Arg(250)->Arg(500)->Arg(1000)->Arg(2000)->Arg(4000);
}

// Calls work(pose, readings) with one place and the scan there after the other.
template <typename Work>
void timeScans(benchmark::State& state, const OccupancyMap& map, Work work) {
  const auto poses = korrin_bench::freePoses(map, korrin_bench::kPoses);
  std::vector<Readings> scans(poses.size());
  for (std::size_t i = 0; i < poses.size(); ++i) {
    Brin::occMapSimulateScan(map, kScanner, poses[i], scans[i], kThreshold);
  }
  std::size_t next = 0;
  for (auto _ : state) {
    work(poses[next], scans[next]);
    benchmark::ClobberMemory();
    next = (next + 1) % poses.size();
  }
}

void scan(benchmark::State& state) {
  const OccupancyMap& map = floorOf(state);
  timeScans(state, map, [&](const Pose2D& pose, Readings& out) {
    Brin::occMapSimulateScan(map, kScanner, pose, out, kThreshold);
  });
}
BENCHMARK(scan)->Name("growth/scan")->Apply(sides);

void preparedScan(benchmark::State& state) {
  const OccupancyMap& map = floorOf(state);
  const PreparedMap prepared(map, kThreshold);
  timeScans(state, map, [&](const Pose2D& pose, Readings& out) {
    prepared.occMapSimulateScan(kScanner, pose, out);
  });
}
BENCHMARK(preparedScan)->Name("growth/prepared_scan")->Apply(sides);

void update(benchmark::State& state) {
  OccupancyMap map = floorOf(state);
  Brin::OccupancyMapper mapper(&map);
  timeScans(state, floorOf(state), [&](const Pose2D& pose, const Readings& readings) {
    mapper.updateMap(readings, pose, 0.05f, 0.1f);
  });
}
BENCHMARK(update)->Name("growth/update")->Apply(sides);

void preparing(benchmark::State& state) {
  PreparedMap prepared(floorOf(state), kThreshold);
  for (auto _ : state) prepared.refresh();
}
BENCHMARK(preparing)->Name("growth/preparing")->Apply(sides);

void dilation(benchmark::State& state) {
  OccupancyMap map = floorOf(state);
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  for (auto _ : state) dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
}
BENCHMARK(dilation)->Name("growth/dilation")->Apply(sides);

void scroll(benchmark::State& state) {
  OccupancyMap map(floorOf(state).params, true);
  int shift = 10;
  for (auto _ : state) {
    Brin::scrollOccMapInPlace(map, Brin::Point2Di(shift, shift));
    shift = -shift;
  }
}
BENCHMARK(scroll)->Name("growth/scroll")->Apply(sides);

}  // namespace
