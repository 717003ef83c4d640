// Finds the openings of scans, with both detectors.
#include "fuzz/fuzz_target.hpp"
#include "fuzz/scan_input.hpp"
#include "korrin/scan_holes.hpp"
#include "models/scan_holes_model.hpp"

namespace {

using Brin::Scan;
using Brin::ScanHole;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using Holes = std::vector<ScanHole>;

const Mark kJump("a jump is a hole");
const Mark kRun("a run of no-hits is a hole");
const Mark kOldRun("the earlier detector finds a run");
const Mark kLongRun("a run longer than 800 readings");
const Mark kInfinite("a hole with a border at infinity");

// Which of two equally far from straight ahead comes first is left open.
bool sameButForTies(const Holes& library, const Holes& model) {
  return std::is_sorted(library.begin(), library.end(), korrin_model::comesBefore) &&
         std::is_permutation(
             library.begin(), library.end(), model.begin(), model.end(),
             [](const ScanHole& a, const ScanHole& b) { return korrin_test::sameBits(a, b); });
}

bool isRun(const ScanHole& hole) { return std::abs(hole.beginIndex - hole.endIndex) > 1; }

bool isLongRun(const ScanHole& hole) { return hole.endIndex - hole.beginIndex >= 800; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const float minWidth = in.pickOrAny({0.5f, 1.0f, 0.2f, 2.0f, 0.0f});
  const int maxRun = in.pick({0, 1, 2, 3, 5, 800, -1});
  const Scan scan = korrin_fuzz::scanOfStretches(in);

  Holes holes, expected;
  Brin::findScanHoles(scan, holes, minWidth);
  korrin_model::findScanHoles(scan, expected, minWidth);
  require(sameButForTies(holes, expected), "findScanHoles");
  Holes oldHoles, oldExpected;
  Brin::findScanHoles_old(scan, oldHoles, minWidth, maxRun);
  korrin_model::findScanHolesOld(scan, oldExpected, minWidth, maxRun);
  require(sameButForTies(oldHoles, oldExpected), "findScanHoles_old");

  const int runs = static_cast<int>(std::count_if(holes.begin(), holes.end(), isRun));
  kRun.count(runs > 0);
  kJump.count(static_cast<int>(holes.size()) > runs);
  kOldRun.count(std::any_of(oldHoles.begin(), oldHoles.end(), isRun));
  kLongRun.count(std::any_of(holes.begin(), holes.end(), isLongRun));
  kInfinite.count(std::any_of(holes.begin(), holes.end(), [](const ScanHole& hole) {
    return std::isinf(hole.beginPoint.x) || std::isinf(hole.endPoint.x);
  }));
  return 0;
}
