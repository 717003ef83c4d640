// Sums up what paths cost, and merges such sums.
#include "fuzz/fuzz_target.hpp"
#include "korrin/pathcoststats.hpp"
#include "models/pathcoststats_model.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::PathCostStats;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_test::sameBits;

const Mark kCut("a path cut by its limit");
const Mark kLeaves("a path that leaves the map");
const Mark kNotANumber("a mean that is not a number");
const Mark kFar("a path too long for the model");

bool same(const PathCostStats& a, const PathCostStats& b) {
  return sameBits(a.minCost, b.minCost) && sameBits(a.maxCost, b.maxCost) &&
         sameBits(a.avgCost, b.avgCost) && sameBits(a.length, b.length);
}

bool isShort(const OccupancyMap& map, const std::vector<Brin::Pose2D>& path) {
  return std::all_of(path.begin(), path.end(), [&](const Brin::Pose2D& pose) {
    return korrin_fuzz::isInReach(map.getPixelFromPose(pose));
  });
}

void computeCosts(FuzzInput& in) {
  const OccupancyMap map = in.map(30);
  const auto path = in.path(map, 12);
  const float limit = in.rarely(128) ? in.anyFloat() : static_cast<float>(in.byte()) / 16.0f;
  const PathCostStats whole = Brin::computePathCostStat(map, path, nullptr);
  const PathCostStats limited = Brin::computePathCostStat(map, path, &limit);
  kFar.count(!isShort(map, path));
  if (!isShort(map, path)) return;
  require(same(whole, korrin_model::computePathCostStat(map, path, nullptr)), "whole path");
  require(same(limited, korrin_model::computePathCostStat(map, path, &limit)), "limited path");
  kCut.count(limited.length > 0.0f && limited.length < whole.length);
  kLeaves.count(path.size() > 2 && whole.minCost == -1.0f && whole.maxCost > 0.0f);
  kNotANumber.count(std::isnan(whole.avgCost));
}

PathCostStats anyStats(FuzzInput& in) {
  PathCostStats stats;
  for (float* field : {&stats.minCost, &stats.maxCost, &stats.avgCost, &stats.length}) {
    *field = in.anyFloat();
  }
  return stats;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  const korrin_test::LogCapture log;
  const PathCostStats a = anyStats(in), b = anyStats(in);
  require(same(Brin::mergePathCostStats(a, b), korrin_model::mergeStats(a, b)), "merged");
  computeCosts(in);
  return 0;
}
