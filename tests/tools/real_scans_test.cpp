// Scans simulated on real maps are those of the literal walks, to the last bit, on the map as it is
// and on the prepared one.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "korrin/io/map_file.hpp"
#include "korrin/prepared_map.hpp"
#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"
#include "tools/demo/floor_plan.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Readings = std::vector<Brin::RangeReading>;

constexpr float kThreshold = 0.45f;
constexpr int kPoses = 200;
const Brin::ScanModel kScanner(1081, 30.0f, 4.71238898f);

// Counts the hits.
int expectLiteralScans(const OccupancyMap& map) {
  const Brin::PreparedMap prepared(map, kThreshold);
  korrin_test::RandomInputs random(2026);
  int hits = 0;
  for (int i = 0; i < kPoses; ++i) {
    const Pose2D pose = map.getPoseFromPixel(random.cellNear(map, 0));
    Readings expected;
    Readings actual;
    korrin_model::occMapSimulateScan(map, kScanner, pose, expected, kThreshold);
    Brin::occMapSimulateScan(map, kScanner, pose, actual, kThreshold);
    EXPECT_TRUE(korrin_test::sameBits(actual, expected)) << "pose " << i;
    prepared.occMapSimulateScan(kScanner, pose, actual);
    EXPECT_TRUE(korrin_test::sameBits(actual, expected)) << "pose " << i << ", prepared";
    for (const Brin::RangeReading& reading : expected) hits += reading.status == 0 ? 1 : 0;
  }
  return hits;
}

TEST(RealScans, areThoseOfTheLiteralWalks) {
  EXPECT_GT(expectLiteralScans(korrin_tool::makeFloorPlan().map), 10000);
  for (const std::string name : {"willow-full-0.05", "nav2_warehouse", "malaga_campus"}) {
    const std::string file = "../shared/data/maps/" + name + ".yaml";
    if (!std::filesystem::exists(file)) {
      std::cout << file << " is not there: left out\n";
      continue;
    }
    SCOPED_TRACE(name);
    EXPECT_GT(expectLiteralScans(Brin::io::readMapFile(file)), 10000);
  }
}

}  // namespace
