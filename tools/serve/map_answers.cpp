#include <cmath>

#include "tools/json_numbers.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

Json settingsJson(const Brin::PlannerSettings& settings) {
  constexpr const char* kSteps[] = {"simple", "double", "triple"};
  return {{"robotRadius", numberJson(settings.robotRadius)},
          {"fadeDistance", numberJson(settings.fadeDistance)},
          {"unknownIsFree", settings.unknownIsFree},
          {"obstacleThreshold", numberJson(settings.obstacleThreshold)},
          {"weight", numberJson(settings.weight)},
          {"neighborhood", kSteps[static_cast<std::size_t>(settings.neighborhood)]},
          {"coarseFactor", settings.coarseFactor},
          {"angleCostFactor", numberJson(settings.angleCostFactor)},
          {"accuracy", numberJson(settings.accuracy)}};
}

Json sensorJson(const Sensor& sensor) {
  return {{"beams", sensor.beams},
          {"fieldOfView", numberJson(sensor.fieldOfView)},
          {"minRange", numberJson(sensor.minRange)},
          {"maxRange", numberJson(sensor.maxRange)}};
}

// What a byte that is no value says of a cell.
const char* codeOf(std::uint8_t byte) {
  switch (byte) {
    case kTooNear:
      return "tooNear";
    case kUnknownByte:
      return "unknown";
    case kNotANumber:
      return "notANumber";
    case kNoValue:
      return "none";
    default:
      return "";
  }
}

Json cellJson(const Brin::OccupancyMap& map, std::int64_t revision, const TileStyle& style,
              const Brin::Pose2D& at) {
  const Brin::Pose2Di cell = map.getPixelFromPose(at);
  const bool isInside = map.isInside(cell.x, cell.y);
  const float value = map.getCell(cell.x, cell.y);
  const std::string code = isInside ? codeOf(tileByte(value, style)) : "outside";
  return {{"cell", {cell.x, cell.y}},
          {"inside", isInside},
          {"value", code.empty() ? numberJson(value) : Json(nullptr)},
          {"code", code},
          {"revision", revision}};
}

}  // namespace

Json mapAnswer(World& world) {
  const auto state = world.maps.current();
  Json json = {{"name", world.name}, {"kind", world.kind}, {"revision", state->revision}};
  json.update(gridJson(state->map.params));
  json["undo"] = world.maps.undoSteps();
  json["start"] = poseJson(world.start);
  json["goal"] = pointJson(world.goal);
  json["rooms"] = Json::array();
  for (const NamedPlace& room : world.rooms) {
    json["rooms"].push_back({{"name", room.name}, {"at", pointJson(room.at)}});
  }
  json["scans"] = world.scans.size();
  json["settings"] = settingsJson(defaultSettings());
  json["sensor"] = sensorJson({});
  json["version"] = KORRIN_VERSION;
  return json;
}

Json cellAnswer(const CellRequest& request, World& world) {
  if (request.layer == "map") {
    const auto state = world.maps.current();
    return cellJson(state->map, state->revision, {}, request.at);
  }
  const auto layer = world.layers.find(request.layer);
  if (layer == nullptr) throw Refusal(404, "there is no such layer, or not any more");
  Json json;
  layer->grid->read([&](const Brin::OccupancyMap& map, std::int64_t revision) {
    json = cellJson(map, revision, layer->style, request.at);
  });
  return json;
}

}  // namespace korrin_tool::serve
