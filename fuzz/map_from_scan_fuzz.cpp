// Makes a map the picture of one scan.
#include "fuzz/fuzz_target.hpp"
#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"

namespace {

using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kCrossed("crossed cells");
const Mark kHit("hit cells");
const Mark kEmpty("nothing to draw");
const Mark kFarAway("a start too far away for the model");

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  Brin::OccupancyMap map = in.map(60);
  Brin::OccupancyMap expected(map);
  const Brin::Pose2D pose = in.pose(map);
  const int subdivisions = in.between(-1, 6);
  Brin::Scan scan;
  scan.readings = in.readings(20);
  Brin::fillOccMapFromScan(scan, pose, map, subdivisions);
  const bool isInReach = korrin_fuzz::isInReach(map.getPixelFromPose(pose));
  kFarAway.count(!isInReach);
  if (!isInReach) return 0;
  korrin_model::fillOccMapFromScan(scan, pose, expected, subdivisions);
  require(korrin_test::sameMap(map, expected), "fillOccMapFromScan");

  int crossed = 0, hit = 0;
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      crossed += map.getCell(x, y) == 1.0f ? 1 : 0;
      hit += map.getCell(x, y) < 1.0f && map.getCell(x, y) != 0.5f ? 1 : 0;
    }
  }
  kCrossed.count(crossed > 20);
  kHit.count(hit > 2);
  kEmpty.count(subdivisions <= 0 || scan.readings.empty());
  return 0;
}
