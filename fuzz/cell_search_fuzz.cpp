// Looks for the nearest free cell, the nearest unknown one, and by a condition of its own.
#include "fuzz/ray_reach.hpp"
#include "korrin/occupancymap_utils.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_fuzz::Mark;

const Mark kFree("a free cell found off the start");
const Mark kGray("an unknown cell found off the start");
const Mark kOwn("a condition of its own met off the start");
const Mark kInLine("a free cell found on a line");
const Mark kFar("rays too long for the model");

// Accepts from the (skip + 1)th value below `limit` on.
struct BelowAfter {
  float limit;
  int skip;
  bool operator()(float value) { return value < limit && skip-- <= 0; }
};

// Both searches answer the same; tells whether they find a cell other than the start.
template <typename Library, typename Model>
bool agree(const Pose2Di& start, Library library, Model model, const char* what) {
  Pose2Di out(-77, -78, 7.5f), expected(out);
  const bool found = library(out);
  korrin_fuzz::require(found == model(expected) && korrin_test::sameBits(out, expected), what);
  return found && (out.x != start.x || out.y != start.y);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  korrin_fuzz::FuzzInput in(data, size);
  const OccupancyMap map = in.map(60);
  const Pose2Di start = in.cell(map), to = in.cell(map);
  const float threshold = in.pickOrAny({0.45f, 0.2f, 0.5f, 0.7f, 1.0f, -1.0f});
  const float tolerance = in.pickOrAny({0.1f, 0.5f, 2.0f});
  const BelowAfter own = {threshold, in.between(0, 6)};

  Pose2Di ignored;
  Brin::findFirstFreeCell(map, start, ignored, threshold);
  Brin::findFirstGrayCell(map, start, ignored, threshold, tolerance);
  Brin::findFirstFreeCellInLine(map, start, to, ignored, threshold);
  const bool inReach = korrin_fuzz::raysAreInReach(map, start) && korrin_fuzz::isInReach(to);
  kFar.count(!inReach);
  if (!inReach) return 0;

  const auto free = [&](auto search) {
    return [=, &map](Pose2Di& out) { return search(map, start, out, threshold); };
  };
  kFree.count(agree(start, free(Brin::findFirstFreeCell), free(korrin_model::findFirstFreeCell),
                    "findFirstFreeCell"));
  const auto gray = [&](auto search) {
    return [=, &map](Pose2Di& out) { return search(map, start, out, threshold, tolerance); };
  };
  kGray.count(agree(start, gray(Brin::findFirstGrayCell), gray(korrin_model::findFirstGrayCell),
                    "findFirstGrayCell"));
  kOwn.count(agree(
      start, [&](Pose2Di& out) { return Brin::findFirstCellWithCond(map, start, out, own); },
      [&](Pose2Di& out) { return korrin_model::findFirstCellWithCond(map, start, out, own); },
      "findFirstCellWithCond"));
  const auto line = [&](auto search) {
    return [=, &map](Pose2Di& out) { return search(map, start, to, out, threshold); };
  };
  kInLine.count(agree(start, line(Brin::findFirstFreeCellInLine),
                      line(korrin_model::findFirstFreeCellInLine), "findFirstFreeCellInLine"));
  return 0;
}
