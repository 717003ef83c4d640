// How many records each failure gives: exactly as many as its header promises, at the promised
// level, from the component that failed. Successes say nothing.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "support/log_capture.hpp"
#include "support/map_drawing.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::NavLogLevel;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::Pose2Di;
using Brin::RangeReading;
using korrin_test::drawMap;
using Levels = std::vector<NavLogLevel>;

constexpr NavLogLevel kInfo = NavLogLevel::Info;
constexpr NavLogLevel kWarning = NavLogLevel::Warning;
constexpr NavLogLevel kError = NavLogLevel::Error;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct Case {
  std::string name;
  std::string file;  // of every record
  Levels levels;
  std::function<void()> call;
};

void expectRecords(const std::vector<Case>& cases) {
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    const korrin_test::LogCapture log;
    each.call();
    Levels levels;
    for (const Brin::LogRecord& record : log.records()) {
      levels.push_back(record.level);
      EXPECT_EQ(record.file, each.file);
      EXPECT_FALSE(record.message.empty());
    }
    EXPECT_EQ(levels, each.levels);
  }
}

TEST(RecordsPerFailure, ofPlanning) {
  const OccupancyMap map = drawMap({"..#.", "..#."});
  std::vector<Pose2Di> cells;
  std::vector<Pose2D> poses;
  Brin::OccMapPathFinder finder(&map, 0.0f);
  const auto plan = [&](int fromX, int toX) {
    finder.computePath(Pose2Di(fromX, 0, 0.0f), Pose2Di(toX, 0, 0.0f), cells);
  };
  const std::string file = "src/occmap_path_finder";
  expectRecords({
      {"a plan", file, {}, [&] { plan(0, 1); }},
      {"start blocked", file, {kWarning}, [&] { plan(2, 1); }},
      {"goal blocked", file, {kWarning}, [&] { plan(1, 2); }},
      {"both blocked", file, {kWarning}, [&] { plan(2, 2); }},
      {"start outside", file, {kWarning}, [&] { plan(-1, 9); }},
      {"no way", file, {kError}, [&] { plan(0, 3); }},
      {"no way between poses",
       file,
       {kError},
       [&] { finder.computePath(Pose2D(0, 0, 0), Pose2D(3, 0, 0), poses); }},
      {"a node outside",
       file,
       {kWarning},
       [&] {
         finder.xAddInOpenNodes({9, 9, 0.0f, -1, 0.0f, 0.0f, 0.0f});
       }},
      {"a node inside",
       file,
       {},
       [&] {
         finder.xAddInOpenNodes({1, 1, 0.0f, -1, 0.0f, 0.0f, 0.0f});
       }},
      {"no factor", file, {kWarning}, [&] { finder.setCoarseFactor(0), plan(0, 1); }},
      {"no map, no factor", file, {kWarning}, [&] { finder.setOccMap(nullptr), plan(0, 1); }},
      {"no map between poses",
       file,
       {kWarning},
       [&] { finder.computePath(Pose2D(0, 0, 0), Pose2D(1, 0, 0), poses); }},
      {"no map to look at",
       file,
       {},
       [&] {
         finder.xFindNode({0, 0, 0.0f}), finder.xBuildPath(cells), finder.xFindPath();
       }},
  });
}

TEST(RecordsPerFailure, ofTheMapper) {
  Brin::OccupancyMapper nothing(nullptr);
  std::vector<RangeReading> out;
  const std::vector<RangeReading> readings = {{1.0f, 0.0f}, {2.0f, 0.5f}};
  const std::string file = "src/occupancy_mapper";
  const Levels one = {kWarning};
  expectRecords({
      {"updateMap", file, one, [&] { nothing.updateMap(readings, {}, 0.1f, 0.1f); }},
      {"updateMap2", file, one, [&] { nothing.updateMap2(readings, {}, 0.1f, 0.1f); }},
      {"throwRay", file, one,
       [&] {
         nothing.throwRay({}, {1.0f, 1.0f}, 0.5f);
       }},
      {"simulateScan", file, one,
       [&] { nothing.simulateScan({}, 0.0f, 1.0f, 0.0f, 5.0f, 9, out, 0.5f); }},
      {"its other form", file, one,
       [&] { nothing.simulateScan({}, 1.0f, 0.0f, 5.0f, 9, out, 0.5f); }},
      {"xLineBres", file, one, [&] { nothing.xLineBres(0, 0, 5, 5, 0.1f, 0.1f); }},
      {"xLineBres2", file, one, [&] { nothing.xLineBres2(0, 0, 5, 5, 0.1f, 0.1f); }},
      {"xThrowRay", file, one, [&] { nothing.xThrowRay(0, 0, 5, 5, 0.5f); }},
  });
  OccupancyMap map = drawMap({"....", ".#.."});
  Brin::OccupancyMapper mapper(&map);
  expectRecords({{"all of it with a map", file, {}, [&] {
                    mapper.updateMap(readings, {}, 0.1f, 0.1f);
                    mapper.updateMap2(readings, {}, 0.1f, 0.1f);
                    mapper.throwRay({}, {1.0f, 1.0f}, 0.5f);
                    mapper.simulateScan({}, 1.0f, 0.0f, 5.0f, 9, out, 0.5f);
                    mapper.xLineBres(0, 0, 5, 5, 0.1f, 0.1f);
                    mapper.xThrowRay(0, 0, 5, 5, 0.5f);
                  }}});
}

TEST(RecordsPerFailure, ofScoring) {
  const Brin::ImagePtr map = korrin_test::uniformFloatImage(5, 5, 0.0f);
  Brin::ScanDistMap reference;
  reference.distanceMap = map.get();
  reference.resolution = 1.0f;
  Brin::Scan scan;
  scan.readings.emplace_back(1.0f, 0.0f);
  const std::vector<Point2D> points = {{0.0f, 0.0f}};
  std::vector<float> scores;
  const auto scoreAll = [&](int step) {
    return std::vector<Case>{
        {"points",
         "src/scan_matching",
         {kWarning},
         [&, step] { Brin::scanScore(map.get(), points, {}, 1.0f, 1.0f, nullptr, nullptr, step); }},
        {"a scan",
         "src/scan_matching",
         {kWarning},
         [&, step] { Brin::scanScore(map.get(), scan, {}, 1.0f, 1.0f, nullptr, nullptr, step); }},
        {"points in pixels",
         "src/scan_matching",
         {kWarning},
         [&, step] {
           reference.step = step;
           reference.scorePxlScan(points, {}, 1.0f, nullptr);
         }},
        {"points on a reference",
         "src/scan_matching",
         {kWarning},
         [&, step] {
           reference.step = step;
           reference.score(points, {}, 1.0f, nullptr);
         }},
        {"many poses of points",
         "src/batch_scoring",
         {kWarning},
         [&, step] {
           Brin::scanScores(map.get(), points, {{}, {}}, 1.0f, 1.0f, scores, nullptr, step);
         }},
        {"many poses of a scan",
         "src/batch_scoring",
         {kWarning},
         [&, step] {
           Brin::scanScores(map.get(), scan, {{}, {}}, 1.0f, 1.0f, scores, nullptr, step);
         }},
    };
  };
  expectRecords(scoreAll(0));
  expectRecords(scoreAll(-3));
  std::vector<Case> good = scoreAll(1);
  for (Case& each : good) each.levels.clear();
  expectRecords(good);
}

TEST(RecordsPerFailure, ofSearchesForPoses) {
  const Brin::ImagePtr map = korrin_test::uniformFloatImage(5, 5, 0.0f);
  Brin::ScanDistMap reference;
  reference.distanceMap = map.get();
  reference.resolution = 1.0f;
  const std::vector<Point2D> points = {{0.0f, 0.0f}};
  const Brin::PoseSearch search(reference, 1.0f);
  reference.step = 0;
  const Brin::PoseSearch unvisited(reference, 1.0f);
  Brin::PoseGrid none;
  none.step = 0.0f;
  const char* file = "src/pose_search";
  expectRecords({
      {"no grid", file, {kWarning}, [&] { search.best(points, none); }},
      {"no grid and no count", file, {kWarning}, [&] { search.best(points, none, 0, -1.0f); }},
      {"no count", file, {kWarning}, [&] { search.best(points, {}, 0); }},
      {"no distance", file, {kWarning}, [&] { search.best(points, {}, 1, -1.0f, -1.0f); }},
      {"no stride", file, {kWarning}, [&] { unvisited.best(points, none, 0); }},
      {"no stride for a score", file, {kWarning}, [&] { unvisited.score(points, {}); }},
      {"no points", file, {}, [&] { search.best({}, {}); }},
      {"found", file, {}, [&] { search.best(points, {}, 3); }},
      {"scored", file, {}, [&] { search.score(points, {}); }},
  });
}

TEST(RecordsPerFailure, ofTheRest) {
  const OccupancyMap map = drawMap({"....", ".##.", "...."});
  const OccupancyMap blocked = drawMap({"##", "##"});
  const OccupancyMap open = drawMap({"...", "...", "..."});
  OccupancyMap coarse(1, 1, 1.0f, true);
  float direction = 0.0f;
  const auto look = [&](const OccupancyMap& at, int x, int y) {
    Brin::findObstaclesMainDirection(at, {x, y, 0.0f}, 2.0f, direction, 0.4f);
  };
  const std::vector<RangeReading> three(3);
  const std::vector<RangeReading> two(2);
  const Brin::ScanModel model(3, 1.0f, 1.0f);
  Brin::PathSimplifier simplifier;
  const std::vector<Pose2D> path = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
  const auto simplify = [&](float accuracy) {
    simplifier.samplingAccuracy = accuracy;
    simplifier.sample(path);
  };
  const std::string utils = "src/occupancymap_utils";
  const std::string images = "src/map_image_utils";
  const std::string ranges = "src/range_simulation";
  const std::string stats = "src/pathcoststats";
  expectRecords({
      {"no factor", images, {kWarning}, [&] { Brin::computeCoarserMap(map, coarse, 0); }},
      {"a factor", images, {}, [&] { Brin::computeCoarserMap(map, coarse, 2); }},
      {"a direction", utils, {kInfo}, [&] { look(map, 0, 1); }},
      {"from inside an obstacle", utils, {kWarning, kInfo}, [&] { look(map, 1, 1); }},
      {"no free cell", utils, {kWarning, kWarning}, [&] { look(blocked, 0, 0); }},
      {"no obstacle", utils, {kWarning}, [&] { look(open, 1, 1); }},
      {"no step", ranges, {kWarning}, [&] { model.scanLikelihood(two, two, 0); }},
      {"too short", ranges, {kWarning}, [&] { model.scanLikelihood(three, two, 1); }},
      {"both at once", ranges, {kWarning}, [&] { model.scanLikelihood(three, two, 0); }},
      {"likely", ranges, {}, [&] { model.scanLikelihood(two, three, 1); }},
      {"no accuracy", "core/path_simplifier", {kWarning}, [&] { simplify(kNan); }},
      {"an accuracy", "core/path_simplifier", {}, [&] { simplify(50.0f); }},
      {"no path", stats, {kInfo}, [&] { Brin::computePathCostStat(map, {}, nullptr); }},
      {"one pose", stats, {kInfo}, [&] { Brin::computePathCostStat(map, {{}}, nullptr); }},
      {"a path", stats, {}, [&] { Brin::computePathCostStat(map, path, nullptr); }},
  });
}

}  // namespace
