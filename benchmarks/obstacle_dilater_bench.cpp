// Growing the obstacles of real and generated maps, beside the plain chain of OpenCV calls and
// beside the one call of them that takes longest. Items are cells.
#include <benchmark/benchmark.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "korrin/obstacle_dilater.hpp"
#include "models/obstacle_dilater_model.hpp"
#include "scan_inputs.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;

struct Input {
  const char* name;
  std::optional<OccupancyMap> (*make)();
};

const Input kInputs[] = {
    {"willow", [] { return korrin_bench::mapOf(korrin_bench::Floor::Willow); }},
    {"warehouse", [] { return korrin_bench::mapOf(korrin_bench::Floor::Warehouse); }},
    {"office4000", [] { return std::make_optional(korrin_test::officeMap(4000, 7)); }},
};

const std::optional<OccupancyMap>& mapOf(const Input& input) {
  static std::map<const Input*, std::optional<OccupancyMap>> maps;
  const auto known = maps.find(&input);
  return known != maps.end() ? known->second : maps.emplace(&input, input.make()).first->second;
}

// Times `work` on the map as it was; its return to that state is not timed.
template <typename Work>
void timeOnFreshMap(benchmark::State& state, const Input& input, Work work) {
  const std::optional<OccupancyMap>& original = mapOf(input);
  if (!original) return state.SkipWithError(korrin_bench::kNoMap);
  OccupancyMap map(*original);
  for (auto _ : state) {
    state.PauseTiming();
    cvCopy(original->image, map.image);
    state.ResumeTiming();
    work(map);
    benchmark::ClobberMemory();
  }
  const std::int64_t cells = std::int64_t{map.image->width} * map.image->height;
  state.SetItemsProcessed(state.iterations() * cells);
}

void library(benchmark::State& state, ObstacleDilater::DilateType type, const Input& input) {
  if (!mapOf(input)) return state.SkipWithError(korrin_bench::kNoMap);
  ObstacleDilater dilater(mapOf(input)->image->width, mapOf(input)->image->height);
  timeOnFreshMap(state, input, [&](OccupancyMap& map) { dilater.dilate(map, type); });
}

void model(benchmark::State& state, ObstacleDilater::DilateType type, const Input& input) {
  if (!mapOf(input)) return state.SkipWithError(korrin_bench::kNoMap);
  korrin_model::DilateImages images(cvGetSize(mapOf(input)->image));
  timeOnFreshMap(state, input,
                 [&](OccupancyMap& map) { korrin_model::dilate(map, images, {}, type); });
}

// cvDistTransform alone, on the bytes that a dilation makes of the map.
void distTransform(benchmark::State& state, const Input& input) {
  if (!mapOf(input)) return state.SkipWithError(korrin_bench::kNoMap);
  OccupancyMap map(*mapOf(input));
  ObstacleDilater dilater(map.image->width, map.image->height);
  dilater.dilate(map, ObstacleDilater::DILATE_LINEAR);
  for (auto _ : state) {
    cvDistTransform(dilater.charImage, dilater.distImage, CV_DIST_L2, 3);
    benchmark::ClobberMemory();
  }
}

struct Method {
  const char* name;
  ObstacleDilater::DilateType type;
};

const Method kMethods[] = {
    {"linear", ObstacleDilater::DILATE_LINEAR},
    {"inverse", ObstacleDilater::DILATE_INVERSE},
    {"erode_smooth", ObstacleDilater::DILATE_ERODE_SMOOTH},
};

// obstacle_dilater/<method>/<map>/<library or model>
template <typename Run>
void add(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(("obstacle_dilater/" + name).c_str(), run)
      ->Unit(benchmark::kMillisecond);
}

const bool kAreAdded = [] {
  for (const Input& input : kInputs) {
    for (const Method& method : kMethods) {
      const std::string name = std::string(method.name) + "/" + input.name;
      add(name + "/library", [&](benchmark::State& state) { library(state, method.type, input); });
      add(name + "/model", [&](benchmark::State& state) { model(state, method.type, input); });
    }
    add(std::string("cvDistTransform/") + input.name,
        [&](benchmark::State& state) { distTransform(state, input); });
  }
  return true;
}();

}  // namespace
