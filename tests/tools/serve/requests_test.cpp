// What clients may ask for: every field, and the sentence about each thing that is wrong.
#include "tools/serve/requests.hpp"

#include <gtest/gtest.h>

#include "tools/serve/fields.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;

// What a parser says of a body; empty when it takes it.
template <typename Parser>
std::string complaintOf(Parser parse, const std::string& body) {
  try {
    parse(body);
  } catch (const Refusal& refusal) {
    EXPECT_EQ(refusal.status(), 400);
    return refusal.what();
  }
  return "";
}

std::string planComplaint(const std::string& more) {
  return complaintOf(parsePlanRequest, R"({"start": [1, 2], "goal": [3, 4])" + more + "}");
}

TEST(PlanRequests, HaveDefaultsForAllButTheEnds) {
  const PlanRequest request = parsePlanRequest(R"({"start": [1, 2, 0.5], "goal": [3, -4]})");
  EXPECT_EQ(request.start.x, 1.0f);
  EXPECT_EQ(request.start.y, 2.0f);
  EXPECT_EQ(request.start.theta, 0.5f);
  EXPECT_EQ(request.goal.x, 3.0f);
  EXPECT_EQ(request.goal.y, -4.0f);
  EXPECT_EQ(request.goal.theta, 0.0f);
  EXPECT_FALSE(request.searched);
  EXPECT_EQ(request.settings.robotRadius, 0.25f);
  EXPECT_EQ(request.settings.fadeDistance, 0.65f);
  EXPECT_EQ(request.settings.obstacleThreshold, 0.2f);
}

TEST(PlanRequests, TakeEverySetting) {
  const Brin::PlannerSettings settings =
      parsePlanRequest(R"({"start": [0, 0], "goal": [1, 1], "searched": true, "settings": {
        "robotRadius": 0.3, "fadeDistance": 0.8, "unknownIsFree": true, "obstacleThreshold": 0.1,
        "weight": 0.75, "neighborhood": "triple", "coarseFactor": 2, "angleCostFactor": 0.4,
        "accuracy": 0.05}})")
          .settings;
  EXPECT_EQ(settings.robotRadius, 0.3f);
  EXPECT_EQ(settings.fadeDistance, 0.8f);
  EXPECT_TRUE(settings.unknownIsFree);
  EXPECT_EQ(settings.obstacleThreshold, 0.1f);
  EXPECT_EQ(settings.weight, 0.75f);
  EXPECT_EQ(settings.neighborhood, Brin::OccMapPathFinder::Triple);
  EXPECT_EQ(settings.coarseFactor, 2);
  EXPECT_EQ(settings.angleCostFactor, 0.4f);
  EXPECT_EQ(settings.accuracy, 0.05f);
}

TEST(PlanRequests, AreRefusedWithTheFieldAndWhatItMustBe) {
  EXPECT_EQ(planComplaint(""), "");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": [1, 2]})"), "goal: is missing");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": "here", "goal": [1, 2]})"),
            "start: must be [x, y] or [x, y, theta], found \"here\"");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": [1], "goal": [1, 2]})"),
            "start: must be [x, y] or [x, y, theta], found a list of 1");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": [1, null], "goal": [1, 2]})"),
            "start: must be [x, y] or [x, y, theta] of numbers from -1e+06 to 1e+06, found null");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": [1, 1e7], "goal": [1, 2]})"),
            "start: must be [x, y] or [x, y, theta] of numbers from -1e+06 to 1e+06, "
            "found 10000000.0");
  EXPECT_EQ(complaintOf(parsePlanRequest, R"({"start": [1, 2, 2000], "goal": [1, 2]})"),
            "start: must be [x, y, theta] with theta from -1000 to 1000, found 2000");
  EXPECT_EQ(planComplaint(R"(, "searched": 1)"), "searched: must be true or false, found 1");
  EXPECT_EQ(planComplaint(R"(, "seached": true)"), "no field is called \"seached\"");
  EXPECT_EQ(planComplaint(R"(, "settings": [])"), "settings: must be an object, found a list of 0");
}

TEST(Settings, AreRefusedByName) {
  const auto complaint = [](const std::string& setting) {
    return planComplaint(", \"settings\": {" + setting + "}");
  };
  EXPECT_EQ(complaint(R"("robotRadius": -1)"),
            "settings.robotRadius: must be a number from 0 to 1000, found -1");
  EXPECT_EQ(complaint(R"("fadeDistance": "wide")"),
            "settings.fadeDistance: must be a number from 0 to 1000, found \"wide\"");
  EXPECT_EQ(complaint(R"("unknownIsFree": {})"),
            "settings.unknownIsFree: must be true or false, found an object");
  EXPECT_EQ(complaint(R"("obstacleThreshold": 0)"),
            "settings.obstacleThreshold: must be a number from 0.001 to 1, found 0");
  EXPECT_EQ(complaint(R"("weight": 1.5)"),
            "settings.weight: must be a number from 0 to 1, found 1.5");
  EXPECT_EQ(complaint(R"("neighborhood": "quadruple")"),
            "settings.neighborhood: must be simple, double or triple, found \"quadruple\"");
  EXPECT_EQ(complaint(R"("coarseFactor": 1.5)"),
            "settings.coarseFactor: must be a whole number from 1 to 1000, found 1.5");
  EXPECT_EQ(complaint(R"("coarseFactor": 0)"),
            "settings.coarseFactor: must be a whole number from 1 to 1000, found 0");
  EXPECT_EQ(complaint(R"("angleCostFactor": 1e30)"),
            "settings.angleCostFactor: must be a number from 0 to 1000, found 1e+30");
  EXPECT_EQ(complaint(R"("accuracy": true)"),
            "settings.accuracy: must be a number from 0 to 1000, found true");
  EXPECT_EQ(complaint(R"("radius": 1)"), "no field is called \"radius\" in settings");
}

TEST(Bodies, MustBeJsonObjectsOfASensibleSize) {
  EXPECT_EQ(complaintOf(parseBody, "{}"), "");
  EXPECT_EQ(complaintOf(parseBody, ""), "the body is no JSON: wrong at byte 1");
  EXPECT_EQ(complaintOf(parseBody, "{\"a\": }"), "the body is no JSON: wrong at byte 7");
  EXPECT_EQ(complaintOf(parseBody, "{\"a\": NaN}"), "the body is no JSON: wrong at byte 7");
  EXPECT_EQ(complaintOf(parseBody, "{\"\xff\": 1}"), "the body is no JSON: wrong at byte 3");
  EXPECT_EQ(complaintOf(parseBody, "{\"a\": 1e999}"), "the body has a number that is too large");
  EXPECT_EQ(complaintOf(parseBody, "[1]"), "the body: must be an object, found a list of 1");
  const std::string nested = "{\"a\":" + std::string(16, '[') + std::string(16, ']') + "}";
  EXPECT_EQ(complaintOf(parseBody, nested), "");
  const std::string deeper = "{\"a\":" + std::string(17, '[') + std::string(17, ']') + "}";
  EXPECT_EQ(complaintOf(parseBody, deeper),
            "the body has lists or objects more than 16 deep in each other");
  EXPECT_EQ(complaintOf(parseBody, std::string(500'000, '[')),
            "the body has lists or objects more than 16 deep in each other");
  const std::string most = "{\"a\": \"" + std::string(kMostBodyBytes - 9, 'x') + "\"}";
  ASSERT_EQ(most.size(), kMostBodyBytes);
  EXPECT_EQ(complaintOf(parseBody, most), "");
  EXPECT_EQ(complaintOf(parseBody, most + " "), "the body is larger than 1,000,000 bytes");
}

TEST(Complaints, ShowNoMoreThanTheBeginningOfWhatWasFound) {
  EXPECT_EQ(planComplaint(", \"searched\": \"" + std::string(100, 'x') + "\""),
            "searched: must be true or false, found \"" + std::string(39, 'x') + "...");
  EXPECT_EQ(planComplaint(", \"searched\": \"\\u00e4\\n\""),
            "searched: must be true or false, found \"\\u00e4\\n\"");
}

TEST(LayerRequests, NeedTheEndsThatTheirKindHas) {
  EXPECT_EQ(parseLayerRequest(R"({"kind": "grown"})").kind, LayerKind::Grown);
  EXPECT_EQ(parseLayerRequest(R"({"kind": "distance"})").kind, LayerKind::Distance);
  const LayerRequest cost = parseLayerRequest(R"({"kind": "cost", "goal": [1, 2]})");
  EXPECT_EQ(cost.kind, LayerKind::Cost);
  EXPECT_EQ(cost.goal.y, 2.0f);
  const LayerRequest searched =
      parseLayerRequest(R"({"kind": "searched", "start": [5, 6], "goal": [1, 2]})");
  EXPECT_EQ(searched.kind, LayerKind::Searched);
  EXPECT_EQ(searched.start.x, 5.0f);
  EXPECT_EQ(complaintOf(parseLayerRequest, R"({"kind": "cost"})"), "goal: is missing");
  EXPECT_EQ(complaintOf(parseLayerRequest, R"({"kind": "searched", "goal": [1, 2]})"),
            "start: is missing");
  EXPECT_EQ(complaintOf(parseLayerRequest, R"({"kind": "grown", "goal": [1, 2]})"),
            "no field is called \"goal\"");
  EXPECT_EQ(complaintOf(parseLayerRequest, R"({"kind": 3})"),
            "kind: must be grown, cost, distance or searched, found 3");
  EXPECT_EQ(complaintOf(parseLayerRequest, "{}"), "kind: is missing");
}

TEST(CellRequests, AskTheMapUnlessALayerIsNamed) {
  EXPECT_EQ(parseCellRequest(R"({"at": [1, 2]})").layer, "map");
  EXPECT_EQ(parseCellRequest(R"({"at": [1, 2], "layer": "l7"})").layer, "l7");
  EXPECT_EQ(complaintOf(parseCellRequest, R"({"at": [1, 2], "layer": 7})"),
            "layer: must be a text, found 7");
}

TEST(ScanRequests, TakeSensorNoiseAndWidths) {
  const ScanRequest request = parseScanRequest(R"({"pose": [1, 2, 3], "noise": 0.02, "seed": 9,
      "sensor": {"beams": 181, "fieldOfView": 3.14, "minRange": 0.1, "maxRange": 8},
      "minWidth": 0.7, "obstacleRange": 2})");
  EXPECT_EQ(request.scan.pose.theta, 3.0f);
  EXPECT_EQ(request.scan.noise, 0.02f);
  EXPECT_EQ(request.scan.seed, 9u);
  EXPECT_EQ(request.scan.sensor.beams, 181);
  EXPECT_EQ(request.scan.sensor.fieldOfView, 3.14f);
  EXPECT_EQ(request.scan.sensor.minRange, 0.1f);
  EXPECT_EQ(request.scan.sensor.maxRange, 8.0f);
  EXPECT_EQ(request.minWidth, 0.7f);
  EXPECT_EQ(request.obstacleRange, 2.0f);
}

TEST(ScanRequests, AreRefusedForSensorsThatCannotBe) {
  const auto complaint = [](const std::string& more) {
    return complaintOf(parseScanRequest, "{\"pose\": [0, 0]" + more + "}");
  };
  EXPECT_EQ(complaint(""), "");
  EXPECT_EQ(complaint(R"(, "sensor": {"beams": 1})"),
            "sensor.beams: must be a whole number from 2 to 4000, found 1");
  EXPECT_EQ(complaint(R"(, "sensor": {"beams": 1e18})"),
            "sensor.beams: must be a whole number from 2 to 4000, found 1e+18");
  EXPECT_EQ(complaint(R"(, "sensor": {"fieldOfView": 7})"),
            "sensor.fieldOfView: must be a number from 0.01 to 6.2832, found 7");
  EXPECT_EQ(complaint(R"(, "sensor": {"maxRange": 2000})"),
            "sensor.maxRange: must be a number from 0.01 to 1000, found 2000");
  EXPECT_EQ(complaint(R"(, "sensor": {"minRange": 3, "maxRange": 3})"),
            "sensor.minRange: must be less than maxRange");
  EXPECT_EQ(complaint(R"(, "noise": -0.1)"), "noise: must be a number from 0 to 10, found -0.1");
  EXPECT_EQ(complaint(R"(, "seed": -1)"),
            "seed: must be a whole number from 0 to 4294967295, found -1");
  EXPECT_EQ(complaint(R"(, "minWidth": -1)"),
            "minWidth: must be a number from 0 to 1000, found -1");
  EXPECT_EQ(complaint(R"(, "obstacleRange": 0)"),
            "obstacleRange: must be a number from 0.001 to 1000, found 0");
}

TEST(LocateRequests, PlaceASimulatedScanOrOneOfTheLog) {
  const LocateRequest simulated = parseLocateRequest(R"({"pose": [1, 2, 3], "near": [1, 2],
      "window": 3, "turn": 1, "step": 0.1, "turnStep": 0.02, "maxDist": 0.4, "threshold": 0.3,
      "count": 5, "heat": true})");
  ASSERT_TRUE(simulated.scan && simulated.near && simulated.step);
  EXPECT_FALSE(simulated.number);
  EXPECT_EQ(simulated.scan->pose.x, 1.0f);
  EXPECT_EQ(simulated.near->y, 2.0f);
  EXPECT_EQ(simulated.window, 3.0f);
  EXPECT_EQ(simulated.turn, 1.0f);
  EXPECT_EQ(*simulated.step, 0.1f);
  EXPECT_EQ(simulated.turnStep, 0.02f);
  EXPECT_EQ(simulated.maxDist, 0.4f);
  EXPECT_EQ(simulated.threshold, 0.3f);
  EXPECT_EQ(simulated.count, 5);
  EXPECT_TRUE(simulated.heat);
  const LocateRequest logged = parseLocateRequest(R"({"scan": 17})");
  ASSERT_TRUE(logged.number);
  EXPECT_EQ(*logged.number, 17u);
  EXPECT_FALSE(logged.scan || logged.near || logged.step);
}

TEST(LocateRequests, AreRefusedByField) {
  EXPECT_EQ(complaintOf(parseLocateRequest, "{}"), "pose: is missing");
  EXPECT_EQ(complaintOf(parseLocateRequest, R"({"scan": 1, "pose": [1, 2]})"),
            "no field is called \"pose\"");
  const auto complaint = [](const std::string& more) {
    return complaintOf(parseLocateRequest, "{\"scan\": 1, " + more + "}");
  };
  EXPECT_EQ(complaint(R"("near": 1)"), "near: must be [x, y] or [x, y, theta], found 1");
  EXPECT_EQ(complaint(R"("window": -1)"), "window: must be a number from 0 to 1000, found -1");
  EXPECT_EQ(complaint(R"("turn": 4)"), "turn: must be a number from 0 to 3.1416, found 4");
  EXPECT_EQ(complaint(R"("step": 0)"), "step: must be a number from 0.001 to 100, found 0");
  EXPECT_EQ(complaint(R"("turnStep": 0)"),
            "turnStep: must be a number from 0.0005 to 3.1416, found 0");
  EXPECT_EQ(complaint(R"("maxDist": 0)"), "maxDist: must be a number from 0.001 to 100, found 0");
  EXPECT_EQ(complaint(R"("threshold": 2)"), "threshold: must be a number from 0 to 1, found 2");
  EXPECT_EQ(complaint(R"("count": 11)"), "count: must be a whole number from 1 to 10, found 11");
  EXPECT_EQ(complaint(R"("heat": 0)"), "heat: must be true or false, found 0");
  EXPECT_EQ(complaintOf(parseLocateRequest, R"({"scan": -1})"),
            "scan: must be a whole number from 0 to 100000000, found -1");
}

TEST(SessionRequests, HaveAGoalWhenTheyDriveAndNoneWhenTheyExplore) {
  const SessionRequest drive = parseDriveRequest(
      R"({"start": [1, 2], "goal": [3, 4], "speed": 0.1, "noise": 0.01, "sensor": {"beams": 5},
          "settings": {"weight": 0}})");
  EXPECT_EQ(drive.goal.x, 3.0f);
  EXPECT_EQ(drive.speed, 0.1f);
  EXPECT_EQ(drive.noise, 0.01f);
  EXPECT_EQ(drive.sensor.beams, 5);
  EXPECT_EQ(drive.settings.weight, 0.0f);
  EXPECT_EQ(complaintOf(parseDriveRequest, R"({"start": [1, 2]})"), "goal: is missing");
  EXPECT_EQ(parseExploreRequest(R"({"start": [1, 2]})").speed, 1.0f);
  EXPECT_EQ(complaintOf(parseExploreRequest, R"({"start": [1, 2], "goal": [1, 2]})"),
            "no field is called \"goal\"");
  EXPECT_EQ(complaintOf(parseExploreRequest, R"({"start": [1, 2], "speed": 0})"),
            "speed: must be a number from 0.1 to 20, found 0");
}

TEST(ControlRequests, LeaveAsItIsWhatTheyDoNotName) {
  const ControlRequest nothing = parseControlRequest("{}");
  EXPECT_FALSE(nothing.speed || nothing.paused || nothing.goal);
  const ControlRequest all =
      parseControlRequest(R"({"speed": 20, "paused": false, "goal": [1, 2]})");
  EXPECT_EQ(all.speed.value(), 20.0f);
  EXPECT_FALSE(all.paused.value());
  EXPECT_EQ(all.goal.value().y, 2.0f);
  EXPECT_EQ(complaintOf(parseControlRequest, R"({"speed": 21})"),
            "speed: must be a number from 0.1 to 20, found 21");
}

TEST(DrawRequests, HaveStrokesOfThreeKinds) {
  const std::vector<Stroke> strokes = parseDrawRequest(R"({"strokes": [
      {"value": "wall", "width": 0.3, "points": [[1, 2], [3, 4]]},
      {"value": "free", "points": [[1, 2]]}, {"value": "unknown", "points": [[5, 6]]}]})");
  ASSERT_EQ(strokes.size(), 3u);
  EXPECT_EQ(strokes[0].value, 0.0f);
  EXPECT_EQ(strokes[0].width, 0.3f);
  ASSERT_EQ(strokes[0].points.size(), 2u);
  EXPECT_EQ(strokes[0].points[1].y, 4.0f);
  EXPECT_EQ(strokes[1].value, 1.0f);
  EXPECT_EQ(strokes[1].width, 0.0f);
  EXPECT_EQ(strokes[2].value, 0.5f);
}

TEST(DrawRequests, AreRefusedByStroke) {
  const auto complaint = [](const std::string& stroke) {
    return complaintOf(parseDrawRequest, "{\"strokes\": [" + stroke + "]}");
  };
  EXPECT_EQ(complaintOf(parseDrawRequest, "{}"), "strokes: is missing");
  EXPECT_EQ(complaint(""), "");
  EXPECT_EQ(complaint("3"), "strokes[0]: must be an object, found 3");
  EXPECT_EQ(complaint(R"({"value": "door", "points": [[1, 2]]})"),
            "strokes[0].value: must be wall, free or unknown, found \"door\"");
  EXPECT_EQ(complaint(R"({"value": "wall", "points": []})"),
            "strokes[0].points: must not be empty");
  EXPECT_EQ(complaint(R"({"value": "wall", "points": [[1, "x"]]})"),
            "strokes[0].points: must be [x, y] or [x, y, theta] of numbers from -1e+06 to 1e+06, "
            "found \"x\"");
  EXPECT_EQ(complaint(R"({"value": "wall", "width": 101, "points": [[1, 2]]})"),
            "strokes[0].width: must be a number from 0 to 100, found 101");
  std::string many = "{\"value\": \"wall\", \"points\": [[1, 2]";
  for (int i = 0; i < 20000; ++i) many += ",[1,2]";
  EXPECT_EQ(complaint(many + "]}"), "strokes: must have at most 20000 points");
  std::string strokes = "1";
  for (int i = 0; i < 1000; ++i) strokes += ",1";
  EXPECT_EQ(complaint(strokes), "strokes: must be at most 1000");
}

}  // namespace
}  // namespace korrin_test
