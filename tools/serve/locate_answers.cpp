#include <algorithm>
#include <cmath>

#include "tools/format.hpp"
#include "tools/json_numbers.hpp"
#include "tools/location.hpp"
#include "tools/scan_search.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/base64.hpp"
#include "tools/serve/plan_json.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kMinScore = 0.5f;      // what a fit must score
constexpr double kMostLookups = 2e12;  // poses times points; branch and bound skips most
constexpr float kFullScore = 254.0f;   // of a byte
constexpr char kNoPlace = '\xff';      // where no robot stands

std::vector<Brin::Point2D> pointsOf(const LocateRequest& request, const Brin::OccupancyMap& map,
                                    const World& world) {
  if (request.number) return hitPoints(world.scan(*request.number).scan);
  return hitPoints(Brin::Scan{takeScan(map, *request.scan)});
}

Brin::PoseGrid gridOf(const LocateRequest& request, const Brin::OccupancyMapParams& map) {
  const float step = request.step.value_or(map.resolution);
  Brin::PoseGrid grid = Brin::PoseGrid::around(map, step, request.turnStep);
  if (request.near) {
    grid.centre = *request.near;
    grid.reachX = grid.reachY = request.window;
    grid.turn = request.turn;
  }
  return grid;
}

void checkPoses(const Brin::PoseGrid& grid, std::size_t points) {
  const auto poses = static_cast<double>(grid.poses());
  if (poses > 0.0 && poses * static_cast<double>(points) <= kMostLookups) return;
  throw Refusal(400, "step: the search has too many poses (" + formatShort(poses) +
                         "); make step or turnStep larger, or search near a place");
}

Json answersJson(const std::vector<Brin::ScoredPose>& answers) {
  Json json = Json::array();
  for (const Brin::ScoredPose& answer : answers) {
    json.push_back({{"pose", poseJson(answer.pose)}, {"score", numberJson(answer.score)}});
  }
  return json;
}

Json heatJson(const Brin::OccupancyMap& map, const std::vector<Brin::Point2D>& points,
              const LocateRequest& request) {
  const ScoreMap scores = scoresForPicture(map, points, request.threshold, request.maxDist);
  std::string bytes;
  bytes.reserve(scores.scores.size());
  for (const float score : scores.scores) {
    const float share = std::clamp(score, 0.0f, 1.0f);
    bytes += score < 0.0f ? kNoPlace : static_cast<char>(std::lround(share * kFullScore));
  }
  return {{"side", scores.side},
          {"width", scores.width},
          {"height", scores.height},
          {"scores", base64(bytes)}};
}

Json pointListJson(const std::vector<Brin::Point2D>& points) {
  Json json = Json::array();
  for (const Brin::Point2D& point : points) json.push_back(pointJson(point));
  return json;
}

}  // namespace

Json locateAnswer(const LocateRequest& request, World& world) {
  const auto state = world.maps.current();
  const std::vector<Brin::Point2D> points = pointsOf(request, state->map, world);
  const Brin::PoseGrid grid = gridOf(request, state->map.params);
  checkPoses(grid, points.size());

  Location location;
  Json times = {{"prepare", 0.0}, {"search", 0.0}};
  if (!points.empty()) {
    const auto search = world.searchOn(*state, request.threshold, request.maxDist);
    times["prepare"] = search.milliseconds;
    const Timer stopwatch;
    location = locate(*search.value, points, grid, request.count, kMinScore);
    times["search"] = stopwatch.milliseconds();
  }
  Json json = {{"verdict", nameOf(location.verdict)},
               {"answers", answersJson(location.answers)},
               {"poses", grid.poses()},
               {"hits", points.size()},
               {"points", pointListJson(points)}};
  if (request.heat) {
    const Timer stopwatch;
    json["heat"] = heatJson(state->map, points, request);
    times["heat"] = stopwatch.milliseconds();
  }
  json["milliseconds"] = times;
  json["revision"] = state->revision;
  return json;
}

}  // namespace korrin_tool::serve
