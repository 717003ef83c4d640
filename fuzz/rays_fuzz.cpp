// Casts single rays through a map, and scans of them.
#include "fuzz/fuzz_target.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "models/occupancy_mapper_model.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::RangeReading;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;
using Readings = std::vector<RangeReading>;

const Mark kHit("a ray hits");
const Mark kClear("a ray is clear");
const Mark kOutside("a ray starts outside");
const Mark kScanHits("a scan hits");
const Mark kWildScan("a scan with ranges that are not finite");

void simulateScan(FuzzInput& in, OccupancyMap& map, float threshold) {
  const Brin::Pose2D pose = in.pose(map);
  const float start = in.someFloat(), end = in.someFloat();
  const float nearest = in.pickOrAny({0.0f, 0.1f, 1.0f});
  const float farthest = in.pickOrAny({10.0f, 60.0f, 3.0f});
  const int count = in.between(0, 150);
  Readings actual(3), expected;
  Brin::OccupancyMapper(&map).simulateScan(pose, start, end, nearest, farthest, count, actual,
                                           threshold);
  korrin_model::simulateScan(map, pose, start, end, nearest, farthest, count, expected, threshold);
  require(sameBits(actual, expected), "simulateScan");
  const auto isHit = [](const RangeReading& reading) { return reading.status == 0; };
  kScanHits.count(std::any_of(actual.begin(), actual.end(), isHit));
  kWildScan.count(!actual.empty() && !std::isfinite(actual.back().range));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  OccupancyMap map = in.map(80);
  const float threshold = in.pickOrAny({0.45f, 0.2f, 0.5f, 1.0f});
  const Brin::OccupancyMapper mapper(&map);
  for (int i = in.between(1, 4); i > 0; --i) {
    const Brin::Pose2Di from = in.cell(map), to = in.cell(map);
    const RangeReading ray = mapper.xThrowRay(from.x, from.y, to.x, to.y, threshold);
    require(sameBits(ray, korrin_model::xThrowRay(map, from.x, from.y, to.x, to.y, threshold)),
            "xThrowRay");
    kHit.count(ray.status == 0 && ray.range > 0.0f);
    kClear.count(ray.status == 1 && ray.range > 0.0f);
    kOutside.count(!map.isInside(from.x, from.y));
  }
  const Brin::Pose2D from = in.pose(map), to = in.pose(map);
  require(sameBits(mapper.throwRay(from, to, threshold),
                   korrin_model::throwRay(map, from, to, threshold)),
          "throwRay");
  simulateScan(in, map, threshold);
  return 0;
}
