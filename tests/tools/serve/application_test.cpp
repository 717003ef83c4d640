// The answers: those of the library to the last bit, and a sentence for all that is wrong.
#include "tools/serve/application.hpp"

#include <gtest/gtest.h>

#include "korrin/occupancy_mapper.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "korrin/pathcoststats.hpp"
#include "korrin/scan_holes.hpp"
#include "support/bits.hpp"
#include "support/files.hpp"
#include "tools/demo/floor_plan.hpp"
#include "tools/location.hpp"
#include "tools/open_map.hpp"
#include "tools/scan_search.hpp"
#include "tools/serve/brush.hpp"
#include "tools/serve/page_files.hpp"
#include "tools/serve/requests.hpp"
#include "tools/serve/source.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;
using korrin_tool::makeFloorPlan;

// A server's answers on the demonstration's building, and the building itself.
class Answers : public ::testing::Test {
 protected:
  Json get(const std::string& path, int status = 200) {
    const Reply reply = application_.reply({"GET", path, ""});
    EXPECT_EQ(reply.status, status) << path << ": " << reply.body;
    return Json::parse(reply.body);
  }
  Json post(const std::string& path, const std::string& body, int status = 200) {
    const Reply reply = application_.reply({"POST", path, body});
    EXPECT_EQ(reply.status, status) << path << ": " << reply.body;
    return Json::parse(reply.body);
  }
  std::string tile(const std::string& path) {
    const Reply reply = application_.reply({"GET", "/api/tiles/" + path, ""});
    EXPECT_EQ(reply.status, 200) << reply.body;
    return reply.body;
  }

  const Brin::OccupancyMap map_ = makeFloorPlan().map;
  Application application_{demoSource()};
};

float number(const Json& json) { return json.get<float>(); }

// Whether [[x, y], ...] are these places, to the last bit.
template <typename Poses>
void expectPoints(const Json& json, const Poses& poses) {
  ASSERT_EQ(json.size(), poses.size());
  for (std::size_t i = 0; i < poses.size(); ++i) {
    ASSERT_TRUE(sameBits(number(json[i][0]), poses[i].x)) << i;
    ASSERT_TRUE(sameBits(number(json[i][1]), poses[i].y)) << i;
  }
}

TEST_F(Answers, TellOfTheMap) {
  const Json json = get("/api/map");
  EXPECT_EQ(json["kind"], "demo");
  EXPECT_EQ(json["width"], 480);
  EXPECT_EQ(json["height"], 320);
  EXPECT_EQ(json["levels"], 2);
  EXPECT_EQ(json["revision"], 0);
  EXPECT_EQ(json["scans"], 0);
  EXPECT_EQ(json["rooms"].size(), 8u);
  EXPECT_EQ(json["settings"]["neighborhood"], "simple");
  EXPECT_EQ(json["version"], KORRIN_VERSION);
  EXPECT_TRUE(sameBits(number(json["origin"][0]), map_.params.origin.x));
}

TEST_F(Answers, PlanAsTheLibraryDoes) {
  for (const char* steps : {"simple", "double", "triple"}) {
    const std::string body = std::string(R"({"start": [1.2, 8, 1], "goal": [18, 1.6],
        "searched": true, "settings": {"angleCostFactor": 0.3, "neighborhood": ")") +
                             steps + "\"}}";
    const Json json = post("/api/plan", body);
    const Brin::PathPlanner planner(map_, parsePlanRequest(body).settings);
    const Brin::OccupancyMap& searched = planner.grownMap();
    const Brin::Plan plan = planner.plan(searched.getPixelFromPose({1.2f, 8.0f, 1.0f}),
                                         searched.getPixelFromPose({18.0f, 1.6f, 0.0f}));
    ASSERT_EQ(plan.outcome, Brin::PlanOutcome::Found);
    EXPECT_EQ(json["outcome"], "found");
    expectPoints(json["path"], plan.path);
    expectPoints(json["waypoints"], plan.waypoints);
    EXPECT_TRUE(sameBits(number(json["length"]), plan.length));
    EXPECT_TRUE(sameBits(number(json["cost"]), plan.cost));
    EXPECT_EQ(json["iterations"], plan.iterations);
    EXPECT_TRUE(json["blocked"].is_null());
    const Brin::PathCostStats stats = Brin::computePathCostStat(searched, plan.path);
    EXPECT_TRUE(sameBits(number(json["stats"]["min"]), stats.minCost));
    EXPECT_TRUE(sameBits(number(json["stats"]["mean"]), stats.avgCost));
    EXPECT_EQ(json["layer"]["scale"], plan.iterations - 1);
  }
}

TEST_F(Answers, SayWhyAnEndIsBlocked) {
  const Json json = post("/api/plan", R"({"start": [1.2, 8], "goal": [14.65, 8]})");
  EXPECT_EQ(json["outcome"], "goalBlocked");
  EXPECT_EQ(json["blocked"]["end"], "goal");
  EXPECT_EQ(json["blocked"]["reason"], "obstacle");
  EXPECT_TRUE(json["path"].empty());
  EXPECT_TRUE(json["stats"].is_null());
  const Brin::PathPlanner planner(map_, defaultSettings());
  const Brin::OccupancyMap& searched = planner.grownMap();
  const Brin::BlockedEnd blocked = planner
                                       .plan(searched.getPixelFromPose({1.2f, 8.0f, 0.0f}),
                                             searched.getPixelFromPose({14.65f, 8.0f, 0.0f}))
                                       .blocked;
  EXPECT_EQ(json["blocked"]["sentence"], describe(blocked));
  EXPECT_TRUE(sameBits(number(json["blocked"]["nearestFree"][0]), blocked.nearestFree.x));
  EXPECT_EQ(post("/api/plan", R"({"start": [-9, 8], "goal": [14, 8]})")["blocked"]["reason"],
            "offTheMap");
}

TEST_F(Answers, KeepAPlannerForTheNextRequest) {
  const std::string body = R"({"start": [1.2, 8], "goal": [18, 1.6]})";
  EXPECT_GT(post("/api/plan", body)["milliseconds"]["prepare"], 0.0);
  EXPECT_EQ(post("/api/plan", body)["milliseconds"]["prepare"], 0.0);
  post("/api/draw", R"({"strokes": [{"value": "wall", "points": [[3, 8]]}]})");
  EXPECT_GT(post("/api/plan", body)["milliseconds"]["prepare"], 0.0);
}

TEST_F(Answers, RefuseSettingsAsTheLibraryDoes) {
  const Json json = post(
      "/api/plan", R"({"start": [1, 8], "goal": [2, 8], "settings": {"robotRadius": 60}})", 400);
  EXPECT_NE(json["error"].get<std::string>().find("robotRadius"), std::string::npos) << json;
}

TEST_F(Answers, ShowTheMapAndLayersAsTiles) {
  const std::string whole = tile("map/1/0/0");
  ASSERT_EQ(whole.size(), 65536u);
  EXPECT_EQ(tile("map/0/1/1"), tileOf(map_, {}, 0, 1, 1));
  const Json grown = post("/api/layers", R"({"kind": "grown"})")["layer"];
  const Brin::PathPlanner planner(map_, defaultSettings());
  EXPECT_EQ(tile(grown["id"].get<std::string>() + "/0/1/0"),
            tileOf(planner.grownMap(), {TileRule::Grown, 1.0f, 0.2f}, 0, 1, 0));
  const Json cost = post("/api/layers", R"({"kind": "cost", "goal": [18, 1.6]})")["layer"];
  const Brin::OccupancyMap field = planner.costField(Brin::Pose2D{18.0f, 1.6f, 0.0f});
  EXPECT_EQ(tile(cost["id"].get<std::string>() + "/0/0/0"),
            tileOf(field, {TileRule::Lowest, number(cost["scale"]), 0.0f}, 0, 0, 0));
  EXPECT_EQ(get("/api/tiles/map/2/0/0", 404)["error"], "there is no such tile");
  EXPECT_EQ(get("/api/tiles/l99/0/0/0", 404)["error"], "there is no such layer, or not any more");
  EXPECT_EQ(get("/api/tiles/map/0/-1/0", 404)["error"], "there is nothing at this address");
}

TEST_F(Answers, MeasureHowFarObstaclesAre) {
  const Json layer = post("/api/layers", R"({"kind": "distance"})")["layer"];
  const std::string id = layer["id"];
  const auto valueAt = [&](const std::string& at) {
    return post("/api/cell", "{\"at\": " + at + ", \"layer\": \"" + id + "\"}")["value"];
  };
  // Ten cells east of the fire door, and on it.
  EXPECT_NEAR(number(valueAt("[15.225, 8.025]")), 0.5f, 0.026f);
  EXPECT_EQ(valueAt("[14.65, 8]"), 0.0);
}

TEST_F(Answers, TellTheValueOfACell) {
  const Json wall = post("/api/cell", R"({"at": [14.65, 8]})");
  EXPECT_EQ(wall["value"], 0.0);
  EXPECT_EQ(wall["inside"], true);
  EXPECT_EQ(wall["code"], "");
  const Json outside = post("/api/cell", R"({"at": [-1, 8]})");
  EXPECT_TRUE(outside["value"].is_null());
  EXPECT_EQ(outside["code"], "outside");
  const std::string grown = post("/api/layers", R"({"kind": "grown"})")["layer"]["id"];
  EXPECT_EQ(post("/api/cell", R"({"at": [14.9, 8], "layer": ")" + grown + "\"}")["code"],
            "tooNear");
  EXPECT_EQ(post("/api/cell", R"({"at": [0.1, 0.1], "layer": ")" + grown + "\"}")["code"],
            "unknown");
}

TEST_F(Answers, ScanAsTheLibraryDoes) {
  const Json json = post("/api/scan", R"({"pose": [6.4, 10.2, 1.5], "minWidth": 0.7})");
  const Brin::Pose2D pose{6.4f, 10.2f, 1.5f};
  Brin::OccupancyMap map = map_;
  Brin::Scan scan;
  Brin::OccupancyMapper(&map).simulateScan(pose, 4.71238898f, 0.05f, 12.0f, 541, scan.readings,
                                           0.4f);
  ASSERT_EQ(json["ranges"].size(), 541u);
  for (std::size_t i = 0; i < 541; ++i) {
    ASSERT_TRUE(sameBits(number(json["ranges"][i]), scan.readings[i].range));
    ASSERT_TRUE(sameBits(number(json["angles"][i]), scan.readings[i].angle));
    ASSERT_EQ(json["hits"][i], scan.readings[i].status == 0 ? 1 : 0);
  }
  std::vector<Brin::ScanHole> holes;
  Brin::findScanHoles(scan, holes, 0.7f);
  ASSERT_GT(holes.size(), 0u);
  ASSERT_EQ(json["holes"].size(), holes.size());
  const Brin::Pose2D begin = pose.absProject({holes[0].beginPoint.x, holes[0].beginPoint.y, 0.0f});
  EXPECT_TRUE(sameBits(number(json["holes"][0]["begin"][0]), begin.x));
  float direction = 0.0f;
  const bool isNear =
      Brin::findObstaclesMainDirection(map, map.getPixelFromPose(pose), 1.0f, direction, 0.4f);
  ASSERT_TRUE(isNear);
  EXPECT_TRUE(sameBits(number(json["obstacles"]["direction"]), Brin::canonicalAngle(direction)));
}

TEST_F(Answers, HaveTheSameNoiseForTheSameSeed) {
  const auto ranges = [&](const std::string& seed) {
    return post("/api/scan",
                R"({"pose": [6.4, 10.2], "noise": 0.05, "seed": )" + seed + "}")["ranges"];
  };
  EXPECT_EQ(ranges("3"), ranges("3"));
  EXPECT_NE(ranges("3"), ranges("4"));
}

TEST_F(Answers, LocateAsTheCommandDoes) {
  const std::string body =
      R"({"pose": [10.3, 13.6, 0.4], "noise": 0.02, "near": [10, 13.5, 0.5], "window": 1,
          "turn": 0.5, "count": 2, "heat": true})";
  const Json json = post("/api/locate", body);
  EXPECT_EQ(json["verdict"], "clear");
  EXPECT_NEAR(number(json["answers"][0]["pose"][0]), 10.3f, 0.06f);
  EXPECT_NEAR(number(json["answers"][0]["pose"][1]), 13.6f, 0.06f);
  const Brin::Scan scan{takeScan(map_, *parseLocateRequest(body).scan)};
  const std::vector<Brin::Point2D> points = korrin_tool::hitPoints(scan);
  expectPoints(json["points"], points);
  Brin::PoseGrid grid = Brin::PoseGrid::around(map_.params, 0.05f, 0.0174532925f);
  grid.centre = {10.0f, 13.5f, 0.5f};
  grid.reachX = grid.reachY = 1.0f;
  grid.turn = 0.5f;
  const Brin::PoseSearch search(map_, 0.45f, 0.3f);
  const auto expected = korrin_tool::locate(search, points, grid, 2, 0.5f).answers;
  ASSERT_EQ(json["answers"].size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_TRUE(sameBits(number(json["answers"][i]["score"]), expected[i].score));
    EXPECT_TRUE(sameBits(number(json["answers"][i]["pose"][2]), expected[i].pose.theta));
  }
  const std::size_t squares =
      json["heat"]["width"].get<std::size_t>() * json["heat"]["height"].get<std::size_t>();
  EXPECT_EQ(json["heat"]["scores"].get<std::string>().size(), (squares + 2) / 3 * 4);
}

TEST_F(Answers, RefuseSearchesThatWouldTakeTooLong) {
  const Json json =
      post("/api/locate", R"({"pose": [1.2, 8], "step": 0.001, "turnStep": 0.001})", 400);
  EXPECT_EQ(json["error"].get<std::string>().rfind("step: the search has too many poses", 0), 0u);
}

TEST_F(Answers, DrawUndoAndHandTheMapOut) {
  const Json drawn =
      post("/api/draw",
           R"({"strokes": [{"value": "wall", "width": 0.2, "points": [[3, 7.5], [3, 8.5]]}]})");
  EXPECT_EQ(drawn["revision"], 1);
  EXPECT_EQ(drawn["undo"], 1);
  EXPECT_GT(drawn["changedCells"], 80);
  EXPECT_EQ(post("/api/cell", R"({"at": [3, 8]})")["value"], 0.0);

  const TemporaryDirectory directory;
  for (const char* file : {"map.yaml", "map.pgm"}) {
    const Reply reply = application_.reply({"GET", std::string("/api/download/") + file, ""});
    ASSERT_EQ(reply.status, 200);
    writeFile(directory / file, reply.body);
  }
  const Brin::OccupancyMap copy = korrin_tool::openMap(directory / "map.yaml");
  Brin::OccupancyMap expected = map_;
  paint(expected, {0.0f, 0.2f, {{3.0f, 7.5f}, {3.0f, 8.5f}}});
  EXPECT_TRUE(sameImage(copy.image, expected.image));

  const Json undone = post("/api/undo", "{}");
  EXPECT_EQ(undone["revision"], 2);
  EXPECT_EQ(undone["undo"], 0);
  EXPECT_EQ(post("/api/cell", R"({"at": [3, 8]})")["value"], 1.0);
  EXPECT_EQ(post("/api/undo", "", 409)["error"], "there is nothing to undo");
}

TEST_F(Answers, HaveNoScansWithoutALog) {
  EXPECT_EQ(get("/api/scans", 409)["error"], "there is no log: the server was started without one");
  get("/api/scans/0", 409);
  post("/api/locate", R"({"scan": 0})", 409);
}

TEST_F(Answers, AreNoneWhereThereIsNothing) {
  for (const char* path : {"/api", "/api/", "/api/maps", "/api/map/1", "/api/tiles/map", "/nothing",
                           "/../etc/passwd", "/./index.html", "/api/download/../map.yaml",
                           "/api/download/passwd", "//etc/passwd", "/index.html/", ""}) {
    EXPECT_EQ(application_.reply({"GET", path, ""}).status, 404) << path;
  }
  EXPECT_EQ(application_.reply({"POST", "/api/plans", "{}"}).status, 404);
  EXPECT_EQ(application_.reply({"PUT", "/api/map", ""}).status, 405);
  EXPECT_EQ(application_.reply({"POST", "/", ""}).status, 405);
  EXPECT_EQ(application_.reply({"DELETE", "/api/map", ""}).status, 405);
}

TEST_F(Answers, AreThePagesFilesByTheirNames) {
  for (const PageFile& file : pageFiles()) {
    const Reply reply = application_.reply({"GET", file.path, ""});
    EXPECT_EQ(reply.status, 200) << file.path;
    EXPECT_EQ(reply.type, file.type);
    EXPECT_EQ(reply.body, readFile(std::string("tools/serve/page") + file.path));
  }
  EXPECT_EQ(application_.reply({"GET", "/", ""}).body,
            application_.reply({"GET", "/index.html", ""}).body);
  EXPECT_EQ(partsOf("/a//b/"), std::vector<std::string>({"a", "", "b"}));
  EXPECT_TRUE(partsOf("/").empty());
}

}  // namespace
}  // namespace korrin_test
