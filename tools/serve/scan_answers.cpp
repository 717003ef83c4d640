#include "korrin/occupancymap_utils.hpp"
#include "korrin/scan_holes.hpp"
#include "tools/json_numbers.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/scan_json.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kUnknownTolerance = 0.1f;  // unknown is nearer to 0.5 than this

Json holeJson(const Brin::ScanHole& hole, const Brin::Pose2D& sensor) {
  const auto inWorld = [&](const Brin::Point2D& point, float theta) {
    return sensor.absProject({point.x, point.y, theta});
  };
  const Brin::Point2D across(hole.endPoint.x - hole.beginPoint.x,
                             hole.endPoint.y - hole.beginPoint.y);
  return {{"begin", pointJson(inWorld(hole.beginPoint, 0.0f))},
          {"end", pointJson(inWorld(hole.endPoint, 0.0f))},
          {"approach", poseJson(inWorld(hole.approachPoint, hole.normalAngle))},
          {"width", numberJson(Brin::computeNorm(across))},
          {"heading", numberJson(hole.heading)}};
}

Json holesJson(const Brin::Scan& scan, float minWidth, const Brin::Pose2D& sensor) {
  std::vector<Brin::ScanHole> holes;
  Brin::findScanHoles(scan, holes, minWidth);
  Json json = Json::array();
  for (const Brin::ScanHole& hole : holes) json.push_back(holeJson(hole, sensor));
  return json;
}

// The side that near obstacles are on, as a bearing in the world; null without any.
Json obstaclesJson(const Brin::OccupancyMap& map, const Brin::Pose2Di& cell, float range) {
  float direction = 0.0f;
  if (!Brin::findObstaclesMainDirection(map, cell, range, direction, kBeamThreshold)) {
    return nullptr;
  }
  const float bearing = Brin::canonicalAngle(map.params.origin.theta + direction);
  return {{"direction", numberJson(bearing)}};
}

Json placeJson(const Brin::OccupancyMap& map, bool isFound, const Brin::Pose2Di& cell) {
  return isFound ? pointJson(map.getPoseFromPixel({cell.x, cell.y, 0.0f})) : Json(nullptr);
}

}  // namespace

Json scanAnswer(const ScanRequest& request, World& world) {
  const auto state = world.maps.current();
  const Brin::OccupancyMap& map = state->map;
  const Brin::Pose2Di cell = map.getPixelFromPose(request.scan.pose);
  Json json;
  Json times;
  Timer stopwatch;
  const auto timed = [&](const char* stage) {
    times[stage] = stopwatch.microseconds();
    stopwatch = Timer();
  };
  const Brin::Scan scan{takeScan(map, request.scan)};
  timed("scan");
  addBeams(scan.readings, json);
  stopwatch = Timer();
  json["holes"] = holesJson(scan, request.minWidth, request.scan.pose);
  timed("holes");
  json["obstacles"] = obstaclesJson(map, cell, request.obstacleRange);
  timed("obstacles");
  Brin::Pose2Di found;
  const bool isFree = Brin::findFirstFreeCell(map, cell, found, kSurelyFree);
  json["nearestFree"] = placeJson(map, isFree, found);
  const bool isUnknown =
      Brin::findFirstGrayCell(map, cell, found, kBeamThreshold, kUnknownTolerance);
  json["nearestUnknown"] = placeJson(map, isUnknown, found);
  timed("nearest");
  json["microseconds"] = times;
  json["revision"] = state->revision;
  return json;
}

}  // namespace korrin_tool::serve
