#include "tools/serve/requests.hpp"

#include "tools/serve/refusal.hpp"
#include "tools/serve/shared_fields.hpp"

namespace korrin_tool::serve {
namespace {

constexpr std::size_t kMostStrokes = 1000;
constexpr std::size_t kMostPoints = 20000;  // of all strokes of a request
constexpr float kMostWidth = 100.0f;        // metres
constexpr float kStrokeValues[] = {0.0f, 1.0f, 0.5f};

Stroke strokeFrom(const Json& json, const std::string& name) {
  Fields fields(json, name);
  Stroke stroke;
  std::size_t value = 0;
  fields.word("value", Need::Must, {"wall", "free", "unknown"}, value);
  stroke.value = kStrokeValues[value];
  fields.number("width", 0.0f, kMostWidth, stroke.width);
  const Json& points = *fields.list("points", Need::Must);
  if (points.empty()) throw Refusal(400, fields.nameOf("points") + ": must not be empty");
  for (const Json& point : points) {
    stroke.points.emplace_back(poseFrom(point, fields.nameOf("points")));
  }
  fields.done();
  return stroke;
}

SessionRequest parseSession(const std::string& body, bool hasGoal) {
  const Json json = parseBody(body);
  Fields fields(json);
  SessionRequest request;
  request.settings = defaultSettings();
  fields.pose("start", Need::Must, request.start);
  if (hasGoal) fields.pose("goal", Need::Must, request.goal);
  readSettings(fields, request.settings);
  readSensor(fields, request.sensor);
  fields.number("noise", 0.0f, kMostNoise, request.noise);
  fields.number("speed", kLeastSpeed, kMostSpeed, request.speed);
  fields.done();
  return request;
}

}  // namespace

PlanRequest parsePlanRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  PlanRequest request;
  request.settings = defaultSettings();
  fields.pose("start", Need::Must, request.start);
  fields.pose("goal", Need::Must, request.goal);
  readSettings(fields, request.settings);
  fields.flag("searched", request.searched);
  fields.done();
  return request;
}

LayerRequest parseLayerRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  LayerRequest request;
  request.settings = defaultSettings();
  std::size_t kind = 0;
  fields.word("kind", Need::Must, {"grown", "cost", "distance", "searched"}, kind);
  request.kind = static_cast<LayerKind>(kind);
  const bool hasGoal = request.kind == LayerKind::Cost || request.kind == LayerKind::Searched;
  if (request.kind == LayerKind::Searched) fields.pose("start", Need::Must, request.start);
  if (hasGoal) fields.pose("goal", Need::Must, request.goal);
  readSettings(fields, request.settings);
  fields.done();
  return request;
}

CellRequest parseCellRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  CellRequest request;
  fields.pose("at", Need::Must, request.at);
  fields.text("layer", Need::May, request.layer);
  fields.done();
  return request;
}

ScanRequest parseScanRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  ScanRequest request;
  readSimulatedScan(fields, request.scan);
  fields.number("minWidth", 0.0f, 1000.0f, request.minWidth);
  fields.number("obstacleRange", 0.001f, 1000.0f, request.obstacleRange);
  fields.done();
  return request;
}

LocateRequest parseLocateRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  LocateRequest request;
  if (fields.has("scan")) {
    std::int64_t number = 0;
    fields.integer("scan", 0, 100'000'000, number);
    request.number = static_cast<std::size_t>(number);
  } else {
    request.scan.emplace();
    readSimulatedScan(fields, *request.scan);
  }
  if (fields.has("near")) fields.pose("near", Need::Must, request.near.emplace());
  fields.number("window", 0.0f, 1000.0f, request.window);
  fields.number("turn", 0.0f, 3.1416f, request.turn);
  if (fields.has("step")) fields.number("step", 0.001f, 100.0f, request.step.emplace());
  fields.number("turnStep", 0.0005f, 3.1416f, request.turnStep);
  fields.number("maxDist", 0.001f, 100.0f, request.maxDist);
  fields.number("threshold", 0.0f, 1.0f, request.threshold);
  std::int64_t count = request.count;
  fields.integer("count", 1, 10, count);
  request.count = static_cast<int>(count);
  fields.flag("heat", request.heat);
  fields.done();
  return request;
}

SessionRequest parseDriveRequest(const std::string& body) { return parseSession(body, true); }

SessionRequest parseExploreRequest(const std::string& body) { return parseSession(body, false); }

ControlRequest parseControlRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  ControlRequest request;
  if (fields.has("speed")) {
    fields.number("speed", kLeastSpeed, kMostSpeed, request.speed.emplace());
  }
  if (fields.has("paused")) fields.flag("paused", request.paused.emplace());
  if (fields.has("goal")) fields.pose("goal", Need::Must, request.goal.emplace());
  fields.done();
  return request;
}

std::vector<Stroke> parseDrawRequest(const std::string& body) {
  const Json json = parseBody(body);
  Fields fields(json);
  const Json& list = *fields.list("strokes", Need::Must);
  fields.done();
  if (list.size() > kMostStrokes) {
    throw Refusal(400, "strokes: must be at most " + std::to_string(kMostStrokes));
  }
  std::vector<Stroke> strokes;
  std::size_t points = 0;
  for (const Json& stroke : list) {
    strokes.push_back(strokeFrom(stroke, "strokes[" + std::to_string(strokes.size()) + "]"));
    points += strokes.back().points.size();
  }
  if (points > kMostPoints) {
    throw Refusal(400, "strokes: must have at most " + std::to_string(kMostPoints) + " points");
  }
  return strokes;
}

void parseEmptyRequest(const std::string& body) {
  if (body.empty()) return;
  const Json json = parseBody(body);
  Fields(json).done();
}

}  // namespace korrin_tool::serve
