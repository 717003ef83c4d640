// Maps, poses and beams that the benchmarks of scans share.
//
// Real maps and logs are read from ../shared/data, relative to the directory that the program is
// started from; without them, or without their readers, benchmarks on them report an error.
#pragma once

#include <cmath>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"
#include "support/office_map.hpp"
#include "support/random_inputs.hpp"
#ifdef KORRIN_BENCH_READS_MAPS
#include "korrin/io/laser_log.hpp"
#include "korrin/io/map_file.hpp"
#include "korrin/mapping/grid_builder.hpp"
#endif

namespace korrin_bench {

// A scanner of 270 degrees in quarter degrees.
constexpr int kBeams = 1081;
constexpr float kFieldOfView = 4.71238898f;
constexpr float kReach = 30.0f;
constexpr int kPoses = 200;
constexpr float kThreshold = 0.45f;

enum class Floor { Office, Willow, Warehouse };

inline std::string fileOf(Floor floor) {
  return std::string("../shared/data/maps/") +
         (floor == Floor::Willow ? "willow-full-0.05" : "nav2_warehouse") + ".yaml";
}

// The map of a floor, or nothing when it is not there.
inline std::optional<Brin::OccupancyMap> mapOf(Floor floor) {
  if (floor == Floor::Office) return korrin_test::officeMap(1000, 7);
#ifdef KORRIN_BENCH_READS_MAPS
  if (std::ifstream(fileOf(floor)).good()) return Brin::io::readMapFile(fileOf(floor));
#endif
  return std::nullopt;
}

constexpr const char* kNoMap = "the real map is not there; run from the project's directory";

// Scans, where each was taken, and an unknown map that has room for them.
struct ScansToMap {
  std::vector<std::vector<Brin::RangeReading>> scans;
  std::vector<Brin::Pose2D> poses;
  Brin::OccupancyMap map;
};

// Those of the Intel research lab, 910 of 180 beams, in cells of 5 cm; nothing when the log is not
// there.
inline std::optional<ScansToMap> intelLog() {
#ifdef KORRIN_BENCH_READS_MAPS
  const std::string file = "../shared/data/logs/intel-corrected.log.gz";
  if (!std::ifstream(file).good()) return std::nullopt;
  const std::vector<Brin::io::LoggedScan> logged = Brin::io::readLaserLog(file).scans;
  ScansToMap input{{}, {}, {*Brin::mapping::gridAround(logged, 0.05f), false}};
  for (const Brin::io::LoggedScan& scan : logged) {
    input.scans.push_back(scan.scan.readings);
    input.poses.push_back(scan.pose);
  }
  return input;
#else
  return std::nullopt;
#endif
}

constexpr const char* kNoLog = "the Intel log is not there; run from the project's directory";

// Robots in free cells of the map, each with a heading of its own.
inline std::vector<Brin::Pose2D> freePoses(const Brin::OccupancyMap& map, int count) {
  korrin_test::RandomInputs random(2026);
  std::vector<Brin::Pose2D> poses;
  while (static_cast<int>(poses.size()) < count) {
    const Brin::Pose2Di cell = random.cellNear(map, 0);
    if (map.getCell(cell.x, cell.y) >= 0.9f) poses.push_back(map.getPoseFromPixel(cell));
  }
  return poses;
}

struct CellPair {
  Brin::Point2Di from;
  Brin::Point2Di to;
};

// The beams of all scans as pairs of cells.
inline std::vector<CellPair> beamCells(const Brin::OccupancyMap& map,
                                       const std::vector<Brin::Pose2D>& poses) {
  std::vector<CellPair> pairs;
  for (const Brin::Pose2D& pose : poses) {
    const Brin::Pose2Di from = map.getPixelFromPose(pose);
    for (int i = 0; i < kBeams; ++i) {
      const float angle = pose.theta + kFieldOfView * (static_cast<float>(i) / (kBeams - 1) - 0.5f);
      const Brin::Pose2Di to = map.getPixelFromPose(
          {pose.x + kReach * std::cos(angle), pose.y + kReach * std::sin(angle), 0.0f});
      pairs.push_back({{from.x, from.y}, {to.x, to.y}});
    }
  }
  return pairs;
}

}  // namespace korrin_bench

// One benchmark with the library and with its model, on every floor.
#define KORRIN_COMPARE_ON_FLOORS(benchmark, library, model)                  \
  BENCHMARK_CAPTURE(benchmark, libraryOffice, Floor::Office, library);       \
  BENCHMARK_CAPTURE(benchmark, modelOffice, Floor::Office, model);           \
  BENCHMARK_CAPTURE(benchmark, libraryWillow, Floor::Willow, library);       \
  BENCHMARK_CAPTURE(benchmark, modelWillow, Floor::Willow, model);           \
  BENCHMARK_CAPTURE(benchmark, libraryWarehouse, Floor::Warehouse, library); \
  BENCHMARK_CAPTURE(benchmark, modelWarehouse, Floor::Warehouse, model)
