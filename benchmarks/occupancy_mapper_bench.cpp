// Rays and map updates beside their literal models, on the same inputs. Times are per cell that the
// literal walk visits, so that maps compare.
#include <benchmark/benchmark.h>

#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "korrin/occupancy_mapper.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "scan_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapper;
using Brin::Pose2D;
using Brin::RangeReading;
using korrin_bench::CellPair;
using korrin_bench::Floor;
using Readings = std::vector<RangeReading>;

constexpr float kThreshold = korrin_bench::kThreshold;

// Cells between the ends of what `ray` walked.
double cellsOf(const RangeReading& ray, const OccupancyMap& map) {
  return 1.0 + static_cast<double>(ray.range / map.params.resolution);
}

void setCellRate(benchmark::State& state, double cellsPerIteration) {
  state.counters["perCell"] =
      benchmark::Counter(cellsPerIteration, benchmark::Counter::kIsIterationInvariantRate |
                                                benchmark::Counter::kInvert);
}

RangeReading libraryRay(const OccupancyMapper& mapper, const CellPair& ends) {
  return mapper.xThrowRay(ends.from.x, ends.from.y, ends.to.x, ends.to.y, kThreshold);
}

RangeReading modelRay(const OccupancyMapper& mapper, const CellPair& ends) {
  return korrin_model::xThrowRay(*mapper.map, ends.from.x, ends.from.y, ends.to.x, ends.to.y,
                                 kThreshold);
}

template <typename CastRay>
void rays(benchmark::State& state, Floor floor, CastRay castRay) {
  std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const OccupancyMapper mapper(&*map);
  const auto pairs =
      korrin_bench::beamCells(*map, korrin_bench::freePoses(*map, korrin_bench::kPoses));
  double cells = 0.0;
  for (const CellPair& ends : pairs) cells += cellsOf(libraryRay(mapper, ends), *map);
  for (auto _ : state) {
    for (const CellPair& ends : pairs) {
      RangeReading ray = castRay(mapper, ends);
      benchmark::DoNotOptimize(ray);
    }
  }
  setCellRate(state, cells);
}
KORRIN_COMPARE_ON_FLOORS(rays, libraryRay, modelRay);

RangeReading libraryPoints(const OccupancyMapper& mapper, const Pose2D& from, const Pose2D& to) {
  return mapper.throwRay(from, to, kThreshold);
}

RangeReading modelPoints(const OccupancyMapper& mapper, const Pose2D& from, const Pose2D& to) {
  return korrin_model::throwRay(*mapper.map, from, to, kThreshold);
}

template <typename CastRay>
void raysBetweenPoints(benchmark::State& state, Floor floor, CastRay castRay) {
  std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const OccupancyMapper mapper(&*map);
  struct Ends {
    Pose2D from;
    Pose2D to;
  };
  std::vector<Ends> ends;
  for (const CellPair& pair :
       korrin_bench::beamCells(*map, korrin_bench::freePoses(*map, korrin_bench::kPoses))) {
    ends.push_back({map->getPoseFromPixel({pair.from.x, pair.from.y, 0.0f}),
                    map->getPoseFromPixel({pair.to.x, pair.to.y, 0.0f})});
  }
  for (auto _ : state) {
    for (const Ends& pair : ends) {
      RangeReading ray = castRay(mapper, pair.from, pair.to);
      benchmark::DoNotOptimize(ray);
    }
  }
}
KORRIN_COMPARE_ON_FLOORS(raysBetweenPoints, libraryPoints, modelPoints);

void libraryScan(const OccupancyMapper& mapper, const Pose2D& pose, Readings& out) {
  mapper.simulateScan(pose, korrin_bench::kFieldOfView, 0.1f, korrin_bench::kReach,
                      korrin_bench::kBeams, out, kThreshold);
}

void modelScan(const OccupancyMapper& mapper, const Pose2D& pose, Readings& out) {
  korrin_model::simulateScan(*mapper.map, pose, -0.5f * korrin_bench::kFieldOfView,
                             0.5f * korrin_bench::kFieldOfView, 0.1f, korrin_bench::kReach,
                             korrin_bench::kBeams, out, kThreshold);
}

template <typename Simulate>
void scans(benchmark::State& state, Floor floor, Simulate simulate) {
  std::optional<OccupancyMap> map = korrin_bench::mapOf(floor);
  if (!map) return state.SkipWithError(korrin_bench::kNoMap);
  const OccupancyMapper mapper(&*map);
  const auto poses = korrin_bench::freePoses(*map, korrin_bench::kPoses);
  Readings out;
  for (auto _ : state) {
    for (const Pose2D& pose : poses) {
      simulate(mapper, pose, out);
      benchmark::DoNotOptimize(out.data());
    }
  }
}
KORRIN_COMPARE_ON_FLOORS(scans, libraryScan, modelScan);

void libraryUpdate(OccupancyMap& map, const Readings& readings, const Pose2D& pose) {
  OccupancyMapper(&map).updateMap(readings, pose, 0.05f, 0.1f);
}

// Sums in float, as a plain implementation would have them.
void modelUpdate(OccupancyMap& map, const Readings& readings, const Pose2D& pose) {
  korrin_model::updateMap<float>(map, readings, pose, 0.05f, 0.1f);
}

void modelUpdateWide(OccupancyMap& map, const Readings& readings, const Pose2D& pose) {
  korrin_model::updateMap<long double>(map, readings, pose, 0.05f, 0.1f);
}

using korrin_bench::ScansToMap;

// Scans as a scanner in the real map would return them, and an unknown one to bring them into.
std::optional<ScansToMap> scansOn(Floor floor) {
  std::optional<OccupancyMap> world = korrin_bench::mapOf(floor);
  if (!world) return std::nullopt;
  const auto poses = korrin_bench::freePoses(*world, korrin_bench::kPoses);
  ScansToMap input{std::vector<Readings>(poses.size()), poses, {world->params, false}};
  for (std::size_t i = 0; i < poses.size(); ++i) {
    libraryScan(OccupancyMapper(&*world), poses[i], input.scans[i]);
  }
  return input;
}

template <typename Update>
void timeUpdates(benchmark::State& state, ScansToMap input, Update update) {
  double cells = 0.0;
  for (const Readings& scan : input.scans) {
    for (const RangeReading& reading : scan) cells += cellsOf(reading, input.map);
  }
  for (auto _ : state) {
    input.map.reset(0.5f);
    for (std::size_t i = 0; i < input.poses.size(); ++i) {
      update(input.map, input.scans[i], input.poses[i]);
    }
    benchmark::DoNotOptimize(input.map.image->imageData);
  }
  setCellRate(state, cells);
}

template <typename Update>
void updates(benchmark::State& state, Floor floor, Update update) {
  std::optional<ScansToMap> input = scansOn(floor);
  if (!input) return state.SkipWithError(korrin_bench::kNoMap);
  timeUpdates(state, *std::move(input), update);
}
KORRIN_COMPARE_ON_FLOORS(updates, libraryUpdate, modelUpdate);
BENCHMARK_CAPTURE(updates, wideModelWillow, Floor::Willow, modelUpdateWide);

template <typename Update>
void updatesOfLog(benchmark::State& state, Update update) {
  std::optional<ScansToMap> input = korrin_bench::intelLog();
  if (!input) return state.SkipWithError(korrin_bench::kNoLog);
  timeUpdates(state, *std::move(input), update);
}
BENCHMARK_CAPTURE(updatesOfLog, libraryIntel, libraryUpdate);
BENCHMARK_CAPTURE(updatesOfLog, modelIntel, modelUpdate);

}  // namespace
