// Casts beams of a scanner model, simulates its scans and compares scans.
#include "fuzz/fuzz_target.hpp"
#include "korrin/range_simulation.hpp"
#include "models/range_simulation_model.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::RangeReading;
using Brin::ScanModel;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;
using Readings = std::vector<RangeReading>;

const Mark kHit("a beam hits");
const Mark kClear("a beam is clear");
const Mark kVetoed("the second image vetoes a hit");
const Mark kScanHits("a simulated scan hits");
const Mark kLikely("a likelihood of several readings");

ScanModel anyModel(FuzzInput& in) {
  const int count = in.between(0, 150);
  const float maxRange = in.pickOrAny({10.0f, 60.0f, 3.0f});
  ScanModel model(count, maxRange, in.someFloat());
  model.minRange = in.pickOrAny({0.1f, 0.0f, 1.0f});
  model.lowThreshold = in.pickOrAny({0.45f, 0.5f});
  model.rangeSigma = in.pickOrAny({0.3f, 1.0f});
  return model;
}

void castBeam(FuzzInput& in, OccupancyMap& map, const ScanModel& model, float threshold) {
  const Brin::Pose2Di a = in.cell(map), b = in.cell(map);
  const Brin::Point2Di from(a.x, a.y), to(b.x, b.y);
  const RangeReading beam = Brin::occMapGetRange(map, model, from, to, threshold);
  require(sameBits(beam, korrin_model::occMapGetRange(map, model, from, to, threshold)),
          "occMapGetRange");
  kHit.count(beam.status == 0);
  kClear.count(beam.status == 1 && beam.range > 0.0f);
  IplImage* second = std::exchange(map.secondImage, nullptr);
  kVetoed.count(!sameBits(beam, Brin::occMapGetRange(map, model, from, to, threshold)));
  map.secondImage = second;
}

void compareScans(FuzzInput& in, const ScanModel& model) {
  const Readings a = in.readings(12);
  Readings b = in.readings(20);
  b.resize(std::max(a.size(), b.size()));  // one that is too short is refused
  const int step = in.between(1, 5);
  const float likelihood = model.scanLikelihood(a, b, step);
  require(sameBits(likelihood, korrin_model::scanLikelihood(model, a, b, step)), "likelihood");
  kLikely.count(a.size() > 3 && likelihood > 0.3f);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  OccupancyMap map = in.map(80);
  const float threshold = in.pickOrAny({0.45f, 0.2f, 0.5f, 1.0f});
  const ScanModel model = anyModel(in);
  for (int i = in.between(1, 4); i > 0; --i) castBeam(in, map, model, threshold);
  const Brin::Pose2D pose = in.pose(map);
  Readings actual(3), expected;
  Brin::occMapSimulateScan(map, model, pose, actual, threshold);
  korrin_model::occMapSimulateScan(map, model, pose, expected, threshold);
  require(sameBits(actual, expected), "occMapSimulateScan");
  kScanHits.count(std::any_of(actual.begin(), actual.end(),
                              [](const RangeReading& reading) { return reading.status == 0; }));
  compareScans(in, model);
  return 0;
}
