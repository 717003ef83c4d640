// Searches for the best poses of a scan on a map, or on a distance map that may hold anything.
#include "fuzz/fuzz_target.hpp"
#include "korrin/pose_search.hpp"
#include "models/pose_search_model.hpp"
#include "support/quiet.hpp"

namespace {

using Brin::PoseGrid;
using Brin::ScoredPose;
using korrin_fuzz::FuzzInput;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kOnMap("found on a map");
const Mark kOnTurnedMap("found on a turned map");
const Mark kOnReference("found on a reference");
const Mark kRunnerUp("a runner-up that matches");
const Mark kWholeSteps("steps of whole pixels over many poses");
const Mark kEqual("all poses are equal");
const Mark kRefused("nothing to search");

// No more poses than a model can try.
constexpr std::int64_t kMostPoses = 4000;

struct Request {
  PoseGrid grid;
  std::vector<Brin::Point2D> points;
  int count;
  float apart;
  float turned;

  Request(FuzzInput& in, const Brin::Pose2D& middle, float resolution) {
    const float wild = in.rarely(16) ? in.anyFloat() : 1.0f;
    grid.step = resolution * in.pick({1.0f, 1.0f, 2.0f, 0.5f, 3.0f, 0.7f, wild});
    grid.turnStep = in.pickOrAny({0.1f, 0.5f, 1.57079637f});
    grid.centre = in.rarely(8) ? in.wildPose() : middle;
    grid.centre.theta += in.someFloat();
    grid.centre.x += in.ordinaryFloat() * resolution;
    grid.reachX = in.rarely(16) ? in.anyFloat() : static_cast<float>(in.between(0, 60)) * grid.step;
    grid.reachY = in.rarely(16) ? in.anyFloat() : static_cast<float>(in.between(0, 12)) * grid.step;
    grid.turn =
        in.rarely(16) ? in.anyFloat() : static_cast<float>(in.between(0, 2)) * grid.turnStep;
    points.resize(static_cast<std::size_t>(in.between(0, 40)));
    for (Brin::Point2D& p : points) {
      p = {in.someFloat() * resolution, in.someFloat() * resolution};
    }
    count = in.pick({1, 1, 2, 5, 0});
    apart = in.pickOrAny({0.0f, 2.5f * resolution, 1.0f});
    turned = in.pickOrAny({0.0f, 0.5f, std::numeric_limits<float>::infinity()});
  }
};

// Whether something is found.
template <typename Where>
bool compare(const Brin::PoseSearch& search, const Request& r, const Where& model) {
  if (r.grid.poses() > kMostPoses) return false;
  const std::vector<ScoredPose> found = search.best(r.points, r.grid, r.count, r.apart, r.turned);
  const bool isRefused =
      r.grid.poses() == 0 || r.count < 1 || !(r.apart >= 0.0f) || !(r.turned >= 0.0f);
  kRefused.count(isRefused);
  require(isRefused == found.empty(), "whether there is an answer");
  if (isRefused) return false;
  const std::vector<ScoredPose> expected =
      model().best(r.points, r.grid, r.count, r.apart, r.turned);
  require(found.size() == expected.size(), "number of answers");
  for (std::size_t i = 0; i < found.size(); ++i) {
    require(korrin_test::sameBits(found[i].pose, expected[i].pose), "pose");
    require(korrin_test::sameBits(found[i].score, expected[i].score), "score");
  }
  require(korrin_test::sameBits(search.score(r.points, found[0].pose), found[0].score),
          "score of the answer");
  const bool matches = found[0].score > 0.0f;
  kEqual.count(!matches && r.grid.poses() > 1);
  kRunnerUp.count(found.size() > 1 && found[1].score > 0.0f);
  return matches;
}

void searchMap(FuzzInput& in) {
  Brin::OccupancyMap map = in.map(24);
  const float resolution = map.params.resolution;
  const float threshold = in.pickOrAny({0.45f, 0.3f, 0.9f});
  const float maxDist = resolution * in.pickOrAny({1.0f, 2.5f, 8.0f});
  const Brin::Pose2D middle =
      map.getPoseFromPixel({map.params.width / 2, map.params.height / 2, 0.0f});
  const Request request(in, middle, resolution);
  const Brin::PoseSearch search(map, threshold, maxDist);
  const auto model = [&] { return korrin_model::PoseSearch(map, threshold, maxDist); };
  const bool matches = compare(search, request, model);
  const bool isTurned = map.params.origin.theta != 0.0f;
  kOnMap.count(matches && !isTurned);
  kOnTurnedMap.count(matches && isTurned);
  kWholeSteps.count(matches && !isTurned && request.grid.step == resolution &&
                    request.grid.poses() > 300);
}

void searchReference(FuzzInput& in) {
  const int side = in.between(0, 24);
  const Brin::ImagePtr distances =
      Brin::makeImage(cvSize(side + in.pick({0, 0, 3}), side), IPL_DEPTH_32F, 1);
  const float values[] = {0.0f, 0.955f, in.someFloat(), 2.0f, in.someFloat()};
  for (int i = 0; i < distances->imageSize / 4; ++i) {
    reinterpret_cast<float*>(distances->imageData)[i] = values[i * 7 % 11 % 5];
  }
  Brin::ScanDistMap reference;
  reference.distanceMap = distances.get();
  reference.resolution = in.pickOrAny({1.0f, 0.5f, 0.05f, 0.3f});
  reference.step = in.pick({1, 1, 2, 7});
  const float maxDist = reference.resolution * in.pickOrAny({1.0f, 2.0f, 0.955f, 0.0f});
  const Request request(in, {}, reference.resolution);
  const Brin::PoseSearch search(reference, maxDist);
  const auto model = [&] { return korrin_model::PoseSearch(reference, maxDist); };
  kOnReference.count(compare(search, request, model));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const korrin_test::Quiet quiet;
  FuzzInput in(data, size);
  in.flag() ? searchMap(in) : searchReference(in);
  return 0;
}
