// Both hole detectors beside the literal model, on scans of two rooms with a doorway between them.
#include <benchmark/benchmark.h>

#include <vector>

#include "korrin/scan_holes.hpp"
#include "models/scan_holes_model.hpp"
#include "support/laser_world.hpp"

namespace {

using Brin::Scan;
using Brin::ScanHole;
using Holes = std::vector<ScanHole>;

constexpr float kMinWidth = 0.6f;
constexpr int kMaxNoHitRun = 3;

// From one room through the doorway; what is farther than 4.5 m away is not seen.
Scan roomScan(std::int64_t beams) {
  const auto world = korrin_test::LaserWorld::twoRooms();
  return world.scan({1.2f, 2.3f, 0.1f}, static_cast<int>(beams), 4.5f);
}

using FindHoles = void (*)(const Scan&, Holes&, float);
using FindHolesOld = void (*)(const Scan&, Holes&, float, int);

void readings(benchmark::internal::Benchmark* b) {
  b->Arg(361)->Arg(1081)->Arg(8192)->Unit(benchmark::kMicrosecond);
}

void findHoles(benchmark::State& state, FindHoles find) {
  const Scan scan = roomScan(state.range(0));
  Holes holes;
  for (auto _ : state) {
    find(scan, holes, kMinWidth);
    benchmark::DoNotOptimize(holes.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["holes"] = static_cast<double>(holes.size());
}
BENCHMARK_CAPTURE(findHoles, library, Brin::findScanHoles)->Apply(readings);
BENCHMARK_CAPTURE(findHoles, model, korrin_model::findScanHoles)->Apply(readings);

void findHolesOld(benchmark::State& state, FindHolesOld find) {
  const Scan scan = roomScan(state.range(0));
  Holes holes;
  for (auto _ : state) {
    find(scan, holes, kMinWidth, kMaxNoHitRun);
    benchmark::DoNotOptimize(holes.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.counters["holes"] = static_cast<double>(holes.size());
}
BENCHMARK_CAPTURE(findHolesOld, library, Brin::findScanHoles_old)->Apply(readings);
BENCHMARK_CAPTURE(findHolesOld, model, korrin_model::findScanHolesOld)->Apply(readings);

}  // namespace
