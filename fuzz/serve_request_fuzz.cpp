// Reads bytes as the bodies of requests to the server. There is no model: whatever is read must be
// in the bounds that answers rely on, and whatever is refused must be told in one line.
#include <cmath>

#include "fuzz/fuzz_target.hpp"
#include "tools/serve/fields.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/requests.hpp"

namespace {

using namespace korrin_tool::serve;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kPlan("a plan");
const Mark kLayer("a layer");
const Mark kCell("a cell");
const Mark kScan("a scan");
const Mark kLocate("a place");
const Mark kSession("a session");
const Mark kControl("a control");
const Mark kDraw("strokes");
const Mark kRefused("a refusal");

bool within(float value, float low, float high) { return value >= low && value <= high; }

bool isSound(const Brin::Pose2D& pose) {
  return within(pose.x, -1e6f, 1e6f) && within(pose.y, -1e6f, 1e6f) &&
         within(pose.theta, -1000.0f, 1000.0f);
}

bool isSound(const Brin::PlannerSettings& settings) {
  return within(settings.robotRadius, 0.0f, 1000.0f) &&
         within(settings.fadeDistance, 0.0f, 1000.0f) &&
         within(settings.obstacleThreshold, 0.001f, 1.0f) && within(settings.weight, 0.0f, 1.0f) &&
         settings.neighborhood >= 0 && settings.neighborhood <= 2 && settings.coarseFactor >= 1 &&
         settings.coarseFactor <= 1000 && within(settings.angleCostFactor, 0.0f, 1000.0f) &&
         within(settings.accuracy, 0.0f, 1000.0f);
}

bool isSound(const Sensor& sensor) {
  return sensor.beams >= 2 && sensor.beams <= 4000 && sensor.minRange >= 0.0f &&
         sensor.minRange < sensor.maxRange && sensor.maxRange <= 1000.0f &&
         within(sensor.fieldOfView, 0.01f, 6.2832f);
}

bool isSound(const SimulatedScan& scan) {
  return isSound(scan.pose) && isSound(scan.sensor) && within(scan.noise, 0.0f, 10.0f);
}

bool isSound(const SessionRequest& request) {
  return isSound(request.start) && isSound(request.goal) && isSound(request.settings) &&
         isSound(request.sensor) && within(request.noise, 0.0f, 10.0f) &&
         within(request.speed, 0.1f, 20.0f);
}

bool isSound(const LocateRequest& request) {
  return (request.scan || request.number) && (!request.scan || isSound(*request.scan)) &&
         (!request.near || isSound(*request.near)) && within(request.window, 0.0f, 1000.0f) &&
         within(request.turn, 0.0f, 3.1416f) &&
         (!request.step || within(*request.step, 0.001f, 100.0f)) &&
         within(request.turnStep, 0.0005f, 3.1416f) && within(request.maxDist, 0.001f, 100.0f) &&
         within(request.threshold, 0.0f, 1.0f) && request.count >= 1 && request.count <= 10;
}

bool isSound(const std::vector<Stroke>& strokes) {
  for (const Stroke& stroke : strokes) {
    if (!within(stroke.width, 0.0f, 100.0f) || stroke.points.empty()) return false;
    if (stroke.value != 0.0f && stroke.value != 0.5f && stroke.value != 1.0f) return false;
    for (const Brin::Point2D& point : stroke.points) {
      if (!isSound(Brin::Pose2D(point.x, point.y, 0.0f))) return false;
    }
  }
  return strokes.size() <= 1000;
}

void parse(int kind, const std::string& body) {
  if (kind == 0) {
    const PlanRequest request = parsePlanRequest(body);
    require(isSound(request.start) && isSound(request.goal) && isSound(request.settings), "plan");
    kPlan.count(true);
  } else if (kind == 1) {
    const LayerRequest request = parseLayerRequest(body);
    require(isSound(request.start) && isSound(request.goal) && isSound(request.settings), "layer");
    kLayer.count(true);
  } else if (kind == 2) {
    require(isSound(parseCellRequest(body).at), "cell");
    kCell.count(true);
  } else if (kind == 3) {
    const ScanRequest request = parseScanRequest(body);
    require(isSound(request.scan) && within(request.minWidth, 0.0f, 1000.0f) &&
                within(request.obstacleRange, 0.001f, 1000.0f),
            "scan");
    kScan.count(true);
  } else if (kind == 4) {
    require(isSound(parseLocateRequest(body)), "locate");
    kLocate.count(true);
  } else if (kind == 5) {
    require(isSound(parseDriveRequest(body)), "drive");
    kSession.count(true);
  } else if (kind == 6) {
    const ControlRequest request = parseControlRequest(body);
    require(!request.speed || within(*request.speed, 0.1f, 20.0f), "speed");
    require(!request.goal || isSound(*request.goal), "goal");
    kControl.count(true);
  } else {
    const std::vector<Stroke> strokes = parseDrawRequest(body);
    require(isSound(strokes), "strokes");
    kDraw.count(!strokes.empty());
  }
}

}  // namespace

// The first byte says what is asked for; the rest is the body.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  try {
    parse(data[0] % 8, std::string(data + 1, data + size));
  } catch (const Refusal& refusal) {
    const std::string sentence = refusal.what();
    require(refusal.status() == 400 && !sentence.empty(), "refusal");
    require(sentence.find('\n') == std::string::npos, "a refusal of one line");
    require(sentence.size() < 1000, "a refusal that is short");
    kRefused.count(true);
  }
  return 0;
}
