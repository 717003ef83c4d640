// The steps of hole detection, each from any place of a scan.
#include "fuzz/fuzz_target.hpp"
#include "fuzz/scan_input.hpp"
#include "korrin/scan_holes.hpp"
#include "models/scan_holes_model.hpp"

namespace {

using Brin::Scan;
using Brin::ScanHole;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;

const Mark kSeen("a hole is seen past other readings");
const Mark kHidden("a hole is hidden");
const Mark kFiltered("runs filtered out");
const Mark kSkipped("a step over several readings");

void takeSteps(korrin_fuzz::FuzzInput& in, const Scan& scan, int index) {
  const int next = Brin::xNextStepInScan(scan, index, 0.0f);
  require(next == korrin_model::nextStep(scan.readings, index), "xNextStepInScan");
  kSkipped.count(next > index + 1);
  int noHit = index, gap = index;
  Brin::xNextStepInScanNoHit(scan, noHit);
  require(noHit == korrin_model::nextStepNoHit(scan.readings, index), "xNextStepInScanNoHit");
  const float width = in.someFloat(), reference = in.someFloat();
  Brin::xNextStepInScanDistanceGap(scan, gap, width, reference);
  require(gap == korrin_model::nextStepDistanceGap(scan.readings, index, width, reference),
          "xNextStepInScanDistanceGap");
}

void lookAtHole(korrin_fuzz::FuzzInput& in, const Scan& scan, int index) {
  const int other = in.pick({index + 1, index - 1, index + 2, index});
  if (other < 0 || other >= static_cast<int>(scan.readings.size())) return;
  const float dist = in.pickOrAny({0.5f, 1.0f, -1.0f});
  const Brin::Point2D a = korrin_model::pointAt(scan.readings, index);
  const Brin::Point2D b = korrin_model::pointAt(scan.readings, other);
  ScanHole hole;
  Brin::xNormalizeZone(a, index, b, other, dist, hole, in.flag());
  require(sameBits(hole, korrin_model::normalizeZone(a, index, b, other, dist)), "xNormalizeZone");
  const bool isSeen = Brin::xIsHoleOK(scan, hole);
  require(isSeen == korrin_model::isHoleOK(scan.readings, hole), "xIsHoleOK");
  kHidden.count(!isSeen);
  kSeen.count(isSeen && std::abs(index - other) == 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korrin_fuzz::FuzzInput in(data, size);
  const Scan scan = korrin_fuzz::scanOfStretches(in);
  const auto longest = static_cast<unsigned int>(in.between(0, 10));
  Scan filtered;
  Brin::xFilterNoHit(scan, filtered, longest);
  require(sameBits(filtered.readings, korrin_model::filterNoHit(scan.readings, longest)),
          "xFilterNoHit");
  kFiltered.count(filtered.readings.size() < scan.readings.size());
  for (int i = in.between(0, 5); i > 0 && !scan.readings.empty(); --i) {
    const auto index = static_cast<int>(in.byte() % scan.readings.size());
    takeSteps(in, scan, index);
    lookAtHole(in, scan, index);
  }
  return 0;
}
