// korrin build: statuses, what it says, what it writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/laser_log.hpp"
#include "korrin/io/map_file.hpp"
#include "tests/tools/log_files.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class BuildCommand : public ::testing::Test {
 protected:
  ToolRun build(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"build", log_, "-o", map_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json buildJson(std::vector<std::string> more = {}) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = build(more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return json::parse(run.output);
  }

  TemporaryDirectory directory_;
  std::string log_ = writeTwoRoomsLog(directory_, 40);
  std::string map_ = directory_ / "office.yaml";
};

TEST_F(BuildCommand, WritesAMapWithTheWallsAndTheDoorway) {
  const ToolRun run = build();
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, HasSubstr("log         " + log_ + ", 40 scans\n"));
  EXPECT_THAT(run.output, HasSubstr("map         " + map_ + ", "));
  const Brin::OccupancyMap map = Brin::io::readMapFile(map_);
  const auto valueAt = [&](float x, float y) {
    const Brin::Pose2Di cell = map.getPixelFromPose({x, y, 0.0f});
    return map.getCell(cell.x, cell.y);
  };
  EXPECT_EQ(valueAt(4.0f, 2.5f), 1.0f);
  EXPECT_EQ(valueAt(2.0f, 2.5f), 1.0f);
  EXPECT_TRUE(valueAt(3.975f, 1.0f) == 0.0f || valueAt(4.025f, 1.0f) == 0.0f);
  EXPECT_EQ(valueAt(1.25f, 3.85f), 0.5f);
}

TEST_F(BuildCommand, JsonTellsOfTheMapAndHowWellItFits) {
  const json result = buildJson();
  EXPECT_EQ(result["log"], log_);
  EXPECT_EQ(result["map"], map_);
  EXPECT_EQ(result["scansInLog"], 40);
  EXPECT_EQ(result["scans"], 40);
  EXPECT_EQ(result["faultyLines"], 0);
  EXPECT_EQ(result["resolution"], 0.05);
  EXPECT_FALSE(result.contains("noReturn"));
  const Brin::OccupancyMap map = Brin::io::readMapFile(map_);
  EXPECT_EQ(result["width"], map.params.width);
  EXPECT_EQ(result["height"], map.params.height);
  int occupied = 0;
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) occupied += map.getCell(x, y) == 0.0f ? 1 : 0;
  }
  EXPECT_EQ(result["occupiedCells"], occupied);
  EXPECT_GT(result["likelihood"], 0.95);
  EXPECT_FALSE(result.contains("poses"));
}

TEST_F(BuildCommand, JsonGoesToAFileBesidesTheText) {
  const ToolRun run = build({"--json", directory_ / "result.json"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, HasSubstr("likelihood"));
  EXPECT_EQ(json::parse(readFile(directory_ / "result.json"))["scans"], 40);
}

TEST_F(BuildCommand, UsesOnlyTheScansAskedFor) {
  EXPECT_EQ(buildJson({"--scans", "5..14"})["scans"], 10);
  EXPECT_EQ(buildJson({"--scans", "..14"})["scans"], 15);
  EXPECT_EQ(buildJson({"--scans", "30.."})["scans"], 10);
  EXPECT_EQ(buildJson({"--scans", "39..39"})["scans"], 1);
  EXPECT_EQ(build({"--scans", "5"}).status, 2);
  EXPECT_TRUE(failedWith(build({"--scans", "5"}), 2, "--scans: must be A..B, found '5'"));
  EXPECT_TRUE(failedWith(build({"--scans", "a..5"}), 2, "--scans: must be A..B, found 'a..5'"));
  EXPECT_TRUE(failedWith(build({"--scans", "-1..5"}), 2, "--scans: must be A..B, found '-1..5'"));
  EXPECT_TRUE(failedWith(build({"--scans", "6..5"}), 2, "--scans: no scans in '6..5'"));
  EXPECT_TRUE(
      failedWith(build({"--scans", "0..40"}), 2, "--scans: the last scan is 39, found '0..40'"));
}

TEST_F(BuildCommand, TakesCellsOfAnySize) {
  EXPECT_EQ(buildJson({"--resolution", "0.2"})["resolution"], 0.2);
  EXPECT_TRUE(failedWith(build({"--resolution", "0"}), 2,
                         "--resolution: must be a number from 0.001 to 100, found 0" + kHint));
}

TEST_F(BuildCommand, ReadingsBeyondTheMaximumRangeAreNoHits) {
  const json all = buildJson();
  const json near = buildJson({"--max-range", "1.5"});
  EXPECT_LT(near["occupiedCells"], all["occupiedCells"]);
  EXPECT_GT(near["freeCells"], 0);
  EXPECT_EQ(build({"--max-range", "0"}).status, 2);
}

TEST_F(BuildCommand, MatchingMendsSlippingPoses) {
  std::string text;
  const std::vector<Brin::Pose2D> truth = LaserWorld::tourOfTwoRooms(60);
  for (std::size_t i = 0; i < truth.size(); ++i) {
    Brin::Pose2D slipped = truth[i];
    slipped.y += 0.01f * static_cast<float>(i);  // sixty centimetres in the end
    text += flaserLine(LaserWorld::twoRooms().ranges(truth[i], 180, 81.91f), slipped);
  }
  writeFile(log_, text);
  const json asLogged = buildJson();
  const json matched = buildJson({"--match"});
  EXPECT_EQ(matched["poses"], "aligned");
  EXPECT_GT(matched["largestShift"], 0.4);
  EXPECT_LT(matched["occupiedCells"], asLogged["occupiedCells"]);
  EXPECT_GT(matched["likelihood"], asLogged["likelihood"]);
  EXPECT_THAT(build({"--match"}).output, HasSubstr("poses       aligned scan by scan, then"));
}

TEST_F(BuildCommand, MatchingTellsOfKeyScansLoopsAndDrift) {
  const json matched = buildJson({"--match"});
  EXPECT_GT(matched["keyScans"], 10);
  EXPECT_EQ(matched["loops"].size(), matched["loopsAccepted"]);
  EXPECT_GE(matched["loopsFound"], matched["loopsAccepted"]);
  EXPECT_GT(matched["way"], 5.0);
  EXPECT_LT(matched["drift"], 0.2);  // the log's own poses are the true ones
  const std::string output = build({"--match"}).output;
  EXPECT_THAT(output, HasSubstr("\nkey scans "));
  EXPECT_THAT(output, HasSubstr("\nloops "));
  EXPECT_THAT(output, HasSubstr("\ndrift "));
}

TEST_F(BuildCommand, WritesTheTrackAndTheGraph) {
  const ToolRun run = build({"--match", "--poses", directory_ / "way.log.gz", "--g2o",
                             directory_ / "way.g2o", "--graph", directory_ / "way.png"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(Brin::io::readLaserLog(directory_ / "way.log.gz").scans.size(), 40u);
  EXPECT_THAT(readFile(directory_ / "way.g2o"), testing::StartsWith("VERTEX_SE2 0 "));
  EXPECT_THAT(readFile(directory_ / "way.png"), testing::StartsWith("\x89PNG"));
}

TEST_F(BuildCommand, AGraphNeedsMatching) {
  EXPECT_EQ(build({"--graph", "way.png"}).status, 2);
  EXPECT_EQ(build({"--g2o", "way.g2o"}).status, 2);
}

TEST_F(BuildCommand, MatchingSaysWhenItFoundNothingBetter) {
  const ToolRun run = build({"--match", "--scans", "3..3"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("poses       as logged; matching found none better\n"));
}

TEST_F(BuildCommand, LinesThatCannotBeReadAreToldOf) {
  writeFile(log_, "FLASER 3 1 1\n" + readFile(log_));
  const ToolRun run = build();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, HasSubstr("warning     1 line could not be read, line 1: FLASER: "
                                    "reading 3: missing\n"));
  const json result = buildJson();
  EXPECT_EQ(result["faultyLines"], 1);
  EXPECT_EQ(result["firstFault"]["line"], 1);
}

TEST_F(BuildCommand, NamesTheNoReturnRange) {
  const LaserWorld halfOpen({{{6.0f, 0.0f}, {6.0f, 5.0f}}});
  writeFile(log_, halfOpen.carmenLog(LaserWorld::tourOfTwoRooms(5), 90));
  EXPECT_EQ(buildJson()["noReturn"], 81.91);
  EXPECT_THAT(build().output, HasSubstr("5 scans, \"no return\" is 81.91 m\n"));
}

TEST_F(BuildCommand, DrawsTheMapAndTheWay) {
  ASSERT_EQ(build({"--png", directory_ / "office.png"}).status, 0);
  const cv::Mat picture = cv::imread(directory_ / "office.png");
  EXPECT_GE(picture.cols, 1200);
}

TEST_F(BuildCommand, ScansThatReachTooFarAreStatus2) {
  writeFile(log_,
            flaserLine({1.0f, 2.0f, 1.0f}, {}) + flaserLine({1.0f, 2.0f}, {1e7f, 1e7f, 0.0f}));
  EXPECT_TRUE(failedWith(build(), 2,
                         log_ + ": the scans reach too far for cells of 0.05 m; a larger "
                                "--resolution or a --max-range may help"));
}

TEST_F(BuildCommand, FilesThatCannotBeReadOrWrittenAreStatus2AndNamed) {
  expectLogFaults({"build", "-o", map_});
  const std::string path = directory_ / "no/file";
  EXPECT_EQ(runTool({"build", log_, "-o", directory_ / "no/map.yaml"}).status, 2);
  EXPECT_TRUE(failedWith(build({"--json", path}), 2, path + ": cannot be written"));
  EXPECT_TRUE(failedWith(build({"--png", path}), 2, path + ": cannot be written"));
  EXPECT_TRUE(failedWith(build({"--png", directory_ / "office.pgm"}), 2,
                         "--png: '" + directory_ / "office.pgm' is where the cells of the map go"));
}

TEST_F(BuildCommand, MissingArgumentsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(runTool({"build"}), 2, "log is required" + kHint));
  EXPECT_TRUE(failedWith(runTool({"build", log_}), 2, "--out is required" + kHint));
}

TEST_F(BuildCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  const auto examples = helpExamples("build");
  ASSERT_EQ(examples.size(), 1u);
  std::filesystem::rename("office.log", "office.log.gz");  // a plain log under that name will do
  EXPECT_EQ(runTool(examples[0]).status, 0);
  EXPECT_TRUE(std::filesystem::exists("office.yaml"));
  EXPECT_TRUE(std::filesystem::exists("office.png"));
}

}  // namespace
}  // namespace korrin_test
