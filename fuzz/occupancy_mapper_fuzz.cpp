// Brings readings and single lines into a map, one update after the other.
#include "fuzz/fuzz_target.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "models/occupancy_mapper_model.hpp"

namespace {

using Brin::OccupancyMap;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::isInReach;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameMap;

const Mark kScan("a scan changes cells");
const Mark kHits("hits alone change cells");
const Mark kLine("a line changes cells");
const Mark kWildReadings("readings that are no numbers or far beyond the map");
const Mark kFarAway("a start too far away for the model");

bool isWild(const Brin::RangeReading& reading) { return !(std::abs(reading.range) < 100.0f); }

void updateFromScan(FuzzInput& in, OccupancyMap& map, bool onlyHits) {
  const OccupancyMap before(map);
  OccupancyMap expected(map);
  const Brin::Pose2D pose = in.pose(map);
  const auto readings = in.readings(12);
  const float freeInc = in.pickOrAny({0.1f, 0.5f, 1.0f, -0.1f});
  const float occInc = in.pickOrAny({0.2f, 0.5f, 1.0f, -0.2f});
  if (onlyHits) {
    Brin::OccupancyMapper(&map).updateMap2(readings, pose, freeInc, occInc);
    korrin_model::updateMap2(expected, readings, pose, occInc);
    kHits.count(!sameMap(map, before));
  } else {
    Brin::OccupancyMapper(&map).updateMap(readings, pose, freeInc, occInc);
    const Brin::Pose2Di start = map.getPixelFromPose(pose);
    kFarAway.count(!isInReach(start));
    if (!isInReach(start)) return;
    korrin_model::updateMap(expected, readings, pose, freeInc, occInc);
    kScan.count(!sameMap(map, before));
    kWildReadings.count(std::any_of(readings.begin(), readings.end(), isWild));
  }
  require(sameMap(map, expected), onlyHits ? "updateMap2" : "updateMap");
}

void drawLine(FuzzInput& in, OccupancyMap& map) {
  const OccupancyMap before(map);
  OccupancyMap expected(map);
  const Brin::Pose2Di from = in.cell(map), to = in.cell(map);
  const float freeInc = in.pickOrAny({0.1f, -0.3f}), endInc = in.pickOrAny({0.2f, -0.5f});
  Brin::OccupancyMapper(&map).xLineBres(from.x, from.y, to.x, to.y, freeInc, endInc);
  kFarAway.count(!isInReach(from));
  if (!isInReach(from)) return;
  korrin_model::xLineBres(expected, from.x, from.y, to.x, to.y, freeInc, endInc);
  require(sameMap(map, expected), "xLineBres");
  Brin::OccupancyMapper(&map).xLineBres2(from.x, from.y, to.x, to.y, freeInc, endInc);
  korrin_model::xLineBres2(expected, to.x, to.y, endInc);
  require(sameMap(map, expected), "xLineBres2");
  kLine.count(!sameMap(map, before));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  OccupancyMap map = in.map(60);
  for (int i = in.between(1, 4); i > 0; --i) {
    const int kind = in.between(0, 2);
    if (kind == 0) drawLine(in, map);
    if (kind == 1) updateFromScan(in, map, true);
    if (kind == 2) updateFromScan(in, map, false);
  }
  return 0;
}
