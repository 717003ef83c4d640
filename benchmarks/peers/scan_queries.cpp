// simulate_scan: the scans that a laser would return at all places of a floor.
// update_map: the beams of these scans that hit something, brought into a map that starts unknown.
// What a beam without a hit tells, the libraries judge too differently to compare.
#include <mrpt/poses/CPose3D.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "korrin/occupancy_mapper.hpp"
#include "peers/agreement.hpp"
#include "peers/mrpt_inputs.hpp"
#include "peers/queries.hpp"

namespace korrin_peers {
namespace {

using Brin::OccupancyMap;
using Brin::RangeReading;
using mrpt::maps::COccupancyGridMap2D;
using mrpt::obs::CObservation2DRangeScan;

constexpr float kFieldOfView = 3.14159274f;
constexpr float kMaxRange = 10.0f;
constexpr int kBeams = 361;

using Readings = std::vector<RangeReading>;

void countBeams(benchmark::State& state, const Floor& floor) {
  const auto beams = static_cast<std::int64_t>(floor.places.size()) * kBeams;
  state.SetItemsProcessed(state.iterations() * beams);
}

std::vector<Readings> simulateAll(Floor& floor) {
  const Brin::OccupancyMapper mapper(&floor.map);
  std::vector<Readings> scans(floor.places.size());
  for (std::size_t i = 0; i < scans.size(); ++i) {
    mapper.simulateScan(floor.places[i], kFieldOfView, 0.0f, kMaxRange, kBeams, scans[i],
                        kObstacleThreshold);
  }
  return scans;
}

void simulateWithKorrin(benchmark::State& state, const Floor& given) {
  Floor floor = given;  // a mapper wants a map that it may write to
  const Brin::OccupancyMapper mapper(&floor.map);
  Readings readings;
  for (auto _ : state) {
    for (const Brin::Pose2D& place : floor.places) {
      mapper.simulateScan(place, kFieldOfView, 0.0f, kMaxRange, kBeams, readings,
                          kObstacleThreshold);
      benchmark::DoNotOptimize(readings.data());
    }
  }
  countBeams(state, floor);
}

void simulateWithMrpt(benchmark::State& state, const Floor& given) {
  const COccupancyGridMap2D grid = mrptGrid(given.map);
  std::vector<mrpt::poses::CPose2D> places;
  for (const Brin::Pose2D& place : given.places) places.push_back(mrptPose(place));
  std::vector<CObservation2DRangeScan> scans(places.size(), mrptScanner(kFieldOfView, kMaxRange));
  for (auto _ : state) {
    for (std::size_t i = 0; i < places.size(); ++i) {
      grid.laserScanSimulator(scans[i], places[i], 1.0f - kObstacleThreshold, kBeams);
    }
    benchmark::DoNotOptimize(scans.data());
  }
  countBeams(state, given);

  Floor floor = given;
  const std::vector<Readings> ours = simulateAll(floor);
  std::vector<double> differences;
  std::size_t sameVerdicts = 0;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    for (std::size_t beam = 0; beam < ours[i].size(); ++beam) {
      const bool isHit = ours[i][beam].status == 0;
      if (isHit == scans[i].getScanRangeValidity(beam)) ++sameVerdicts;
      if (!isHit || !scans[i].getScanRangeValidity(beam)) continue;
      differences.push_back(
          std::fabs(static_cast<double>(ours[i][beam].range) - scans[i].getScanRange(beam)));
    }
  }
  const double beams = static_cast<double>(scans.size()) * kBeams;
  state.counters["median_difference_m"] = quantile(differences, 0.5);
  state.counters["p95_difference_m"] = quantile(differences, 0.95);
  state.counters["same_verdict_share"] = static_cast<double>(sameVerdicts) / beams;
}

// One pass of all scans over `map`.
void updateAll(Brin::OccupancyMapper& mapper, const Floor& floor,
               const std::vector<Readings>& scans) {
  for (std::size_t i = 0; i < scans.size(); ++i) {
    mapper.updateMap(scans[i], floor.places[i], 0.05f, 0.2f);
  }
}

OccupancyMap unknownMap(const Floor& floor) {
  OccupancyMap map = floor.map;
  map.reset(0.5f);
  return map;
}

std::vector<Readings> onlyHits(std::vector<Readings> scans) {
  for (Readings& scan : scans) {
    const auto isMiss = [](const RangeReading& reading) { return reading.status != 0; };
    scan.erase(std::remove_if(scan.begin(), scan.end(), isMiss), scan.end());
  }
  return scans;
}

void countReadings(benchmark::State& state, const std::vector<Readings>& scans) {
  std::int64_t readings = 0;
  for (const Readings& scan : scans) readings += static_cast<std::int64_t>(scan.size());
  state.SetItemsProcessed(state.iterations() * readings);
}

void updateWithKorrin(benchmark::State& state, const Floor& given) {
  Floor floor = given;
  const std::vector<Readings> scans = onlyHits(simulateAll(floor));
  OccupancyMap map = unknownMap(floor);
  Brin::OccupancyMapper mapper(&map);
  for (auto _ : state) updateAll(mapper, floor, scans);
  countReadings(state, scans);
}

int verdict(float value) { return value > 0.5f ? 1 : (value < 0.5f ? -1 : 0); }

// How far two maps that started unknown agree.
void compareMaps(benchmark::State& state, const OccupancyMap& ours,
                 const COccupancyGridMap2D& theirs) {
  std::int64_t touchedByOne = 0;
  std::int64_t touchedByBoth = 0;
  std::int64_t same = 0;
  for (int y = 0; y < ours.params.height; ++y) {
    for (int x = 0; x < ours.params.width; ++x) {
      // By place, not by cell: their grid has grown.
      const Brin::Pose2D place = ours.params.getPoseFromPixel({x, y, 0.0f});
      const int our = verdict(ours.getCell(x, y));
      const int their = verdict(theirs.getPos(place.x, place.y));
      if (our == 0 && their == 0) continue;
      ++(our == 0 || their == 0 ? touchedByOne : touchedByBoth);
      if (our == their) ++same;
    }
  }
  const auto both = static_cast<double>(touchedByBoth);
  state.counters["touched_by_both_share"] = both / (both + static_cast<double>(touchedByOne));
  state.counters["same_verdict_share"] = static_cast<double>(same) / both;
}

void updateWithMrpt(benchmark::State& state, const Floor& given) {
  Floor floor = given;
  const std::vector<Readings> readings = simulateAll(floor);
  const std::vector<Readings> hits = onlyHits(readings);
  std::vector<CObservation2DRangeScan> scans;
  std::vector<mrpt::poses::CPose3D> places;
  for (std::size_t i = 0; i < readings.size(); ++i) {
    scans.push_back(mrptScan(readings[i], kFieldOfView, kMaxRange));
    places.emplace_back(mrptPose(floor.places[i]));
  }
  OccupancyMap ours = unknownMap(floor);
  COccupancyGridMap2D unknown = mrptGrid(ours);
  unknown.insertionOptions.considerInvalidRangesAsFreeSpace = false;
  COccupancyGridMap2D grid = unknown;
  const auto insertAll = [&](COccupancyGridMap2D& into) {
    for (std::size_t i = 0; i < scans.size(); ++i) into.insertObservation(scans[i], places[i]);
  };
  insertAll(grid);  // it grows beyond its rim first, by all that a scanner might reach
  for (auto _ : state) insertAll(grid);
  countReadings(state, hits);

  Brin::OccupancyMapper mapper(&ours);
  updateAll(mapper, floor, hits);
  COccupancyGridMap2D theirs = unknown;
  insertAll(theirs);
  compareMaps(state, ours, theirs);
}

}  // namespace

void registerScanQueries() {
  onEveryFloor("simulate_scan", "korrin", simulateWithKorrin);
  onEveryFloor("simulate_scan", "mrpt", simulateWithMrpt);
  onEveryFloor("update_map", "korrin", updateWithKorrin);
  onEveryFloor("update_map", "mrpt", updateWithMrpt);
}

}  // namespace korrin_peers
