// Plans between cells and between poses, several with one finder.
#include "fuzz/fuzz_target.hpp"
#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/log_capture.hpp"
#include "support/path_searches.hpp"

namespace {

using Brin::OccMapPathFinder;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;
using korrin_model::PathFinderModel;
using korrin_test::sameBits;

const Mark kFound("a plan of several cells");
const Mark kPosePlan("a plan between poses");
const Mark kNoPath("no path");
const Mark kWide("300 open nodes");
const Mark kDisordered("an open list out of order");
const Mark kNotANumber("a priority that is not a number");
const Mark kCoarse("a plan on a coarser map");

void applySettings(FuzzInput& in, OccMapPathFinder& finder, PathFinderModel& model) {
  model.hWeight = in.pickOrAny({0.5f, 0.0f, 1.0f, 0.3f, 0.9f});
  model.obstacleThreshold = in.pickOrAny({0.2f, 0.45f, 0.5f, 0.0f, -2.0f});
  model.angleCostFactor = in.pickOrAny({0.0f, 0.7f, 3.0f});
  finder.setHWeight(model.hWeight);
  finder.setObstacleThreshold(model.obstacleThreshold);
  finder.setAngleCostFactor(model.angleCostFactor);
  const int type = in.pick({0, 1, 2, 7});  // 7 keeps the offsets
  model.setNeighborhoodType(type);
  finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
}

void plan(FuzzInput& in, OccMapPathFinder& finder, PathFinderModel& model) {
  const korrin_test::LogCapture log;
  const bool isLarge = in.rarely(16);
  model.countsEvents = !isLarge;  // it takes time
  const Brin::OccupancyMap map = in.map(isLarge ? 120 : 24);
  const int factor = in.pick({1, 1, 1, 2, 3, 30});
  finder.setOccMap(&map);
  finder.setCoarseFactor(factor);
  applySettings(in, finder, model);
  model.messages.clear();
  std::size_t length = 0;
  if (in.flag()) {
    const Brin::Pose2D from = in.pose(map), to = in.pose(map);
    std::vector<Brin::Pose2D> path;
    finder.computePath(from, to, path);
    require(sameBits(path, model.planPoses(map, factor, from, to)), "path of poses");
    kPosePlan.count((length = path.size()) > 1);
  } else {
    model.coarseMap = korrin_model::coarserMap(map, factor);
    const Brin::Pose2Di from = in.cell(model.coarseMap), to = in.cell(model.coarseMap);
    std::vector<Brin::Pose2Di> path;
    finder.computePath(from, to, path);
    require(sameBits(path, model.search(from, to)), "path of cells");
    length = path.size();
  }
  const std::string message = log.records().empty() ? "" : log.records()[0].message;
  require(message == (model.messages.empty() ? "" : model.messages[0]), "log record");
  require(korrin_test::sameSearch(finder, model), "search");
  kFound.count(length > 1);
  kWide.count(finder.openList.size() >= 300);
  kCoarse.count(length > 1 && factor > 1);
  kNoPath.count(message == "No path could be found.");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzInput in(data, size);
  OccMapPathFinder finder(nullptr, 0.0f);
  PathFinderModel model;
  for (int i = in.between(1, 3); i > 0; --i) plan(in, finder, model);
  kDisordered.count(model.events.disordered > 0);
  kNotANumber.count(model.events.notNumbers > 0);
  return 0;
}
