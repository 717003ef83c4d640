// Each query is put to this library and to one other, on every floor, under the name
// peers/<query>/<library>/<floor>. The counters of the two tell how far their answers agree.
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "peers/floors.hpp"

namespace korrin_peers {

void registerScanQueries();      // simulate_scan, update_map
void registerScoreQueries();     // score, score_first
void registerPlanQueries();      // plan, plan_first, plan_short, plan_across
void registerSimplifyQueries();  // reduce_path, simplify_path

// Registers `run(state, floor)` on every floor.
template <typename Run>
void onEveryFloor(const std::string& query, const std::string& library, Run run) {
  for (const Floor& floor : floors()) {
    const std::string name = "peers/" + query + "/" + library + "/" + floor.name;
    benchmark::RegisterBenchmark(name.c_str(), [run, &floor](benchmark::State& state) {
      run(state, floor);
    })->Unit(benchmark::kMicrosecond);
  }
}

}  // namespace korrin_peers
