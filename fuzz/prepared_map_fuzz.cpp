// Casts rays, beams and scans through a prepared map, which changes and is refreshed now and then.
#include "fuzz/fuzz_target.hpp"
#include "korrin/prepared_map.hpp"
#include "models/prepared_map_model.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::RangeReading;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;
using Readings = std::vector<RangeReading>;

const Mark kRayHit("a ray hits");
const Mark kBeamHit("a beam hits");
const Mark kFarHit("a hit more than 20 cells away");
const Mark kScanHit("a simulated scan hits");
const Mark kChanged("a changed part refreshed");

void castOne(FuzzInput& in, const OccupancyMap& map, const Brin::PreparedMap& prepared,
             const korrin_model::PreparedMap& expected) {
  const Brin::Pose2Di a = in.cell(map), b = in.cell(map);
  const RangeReading ray = prepared.xThrowRay(a.x, a.y, b.x, b.y);
  require(sameBits(ray, expected.xThrowRay(a.x, a.y, b.x, b.y)), "xThrowRay");
  kRayHit.count(ray.status == 0 && ray.range > 0.0f);
  kFarHit.count(ray.status == 0 && ray.range > 20.0f * map.params.resolution);
  Brin::ScanModel model(1, 1.0f, 1.0f);
  model.lowThreshold = in.pickOrAny({0.45f, 0.5f});
  const RangeReading beam = prepared.occMapGetRange(model, {a.x, a.y}, {b.x, b.y});
  require(sameBits(beam, expected.occMapGetRange(model, {a.x, a.y}, {b.x, b.y})), "occMapGetRange");
  kBeamHit.count(beam.status == 0);
}

void castScan(FuzzInput& in, const OccupancyMap& map, const Brin::PreparedMap& prepared,
              const korrin_model::PreparedMap& model) {
  const Brin::Pose2D pose = in.pose(map);
  const float start = in.someFloat(), end = in.someFloat();
  const float farthest = in.pickOrAny({10.0f, 60.0f, 3.0f});
  const int count = in.between(0, 100);
  Readings actual(2), expected;
  prepared.simulateScan(pose, start, end, 0.0f, farthest, count, actual);
  model.simulateScan(pose, start, end, 0.0f, farthest, count, expected);
  require(sameBits(actual, expected), "simulateScan");
  kScanHit.count(std::any_of(actual.begin(), actual.end(),
                             [](const RangeReading& reading) { return reading.status == 0; }));
  const Brin::ScanModel scanner(count, farthest, end);
  prepared.occMapSimulateScan(scanner, pose, actual);
  model.occMapSimulateScan(scanner, pose, expected);
  require(sameBits(actual, expected), "occMapSimulateScan");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  OccupancyMap map = in.map(90);
  const float threshold = in.pickOrAny({0.45f, 0.2f, 0.5f, 1.0f});
  Brin::PreparedMap prepared(map, threshold);
  const korrin_model::PreparedMap model{map, threshold};
  for (int i = in.between(1, 4); i > 0; --i) {
    const Brin::Pose2Di corner = in.cell(map);
    const int width = in.between(0, 3), height = in.between(0, 3);
    const float value = in.pickOrAny({0.0f, 1.0f});
    for (int k = 0; k < width * height; ++k) {
      if (!map.isInside(corner.x, corner.y)) continue;
      map.setCell(corner.x + k % width, corner.y + k / width, value);
      kChanged.count(true);
    }
    prepared.refresh(corner.x, corner.y, width, height);
    castOne(in, map, prepared, model);
    castScan(in, map, prepared, model);
  }
  return 0;
}
