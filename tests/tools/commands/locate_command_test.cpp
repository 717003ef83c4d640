// korrin locate: statuses, what it says, and places that are known.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "tests/tools/log_files.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// A map of the two rooms, mapped by a robot, and the log of another one that stood at kPlace and
// thinks that it stood elsewhere.
class LocateCommand : public ::testing::Test {
 protected:
  static constexpr Brin::Pose2D kPlace{2.55f, 3.3f, 0.6f};

  void SetUp() override {
    ASSERT_EQ(runTool({"build", writeTwoRoomsLog(directory_, 40), "-o", map_}).status, 0);
    writeScans({kPlace});
  }
  void writeScans(const std::vector<Brin::Pose2D>& places) const {
    std::string lines;
    for (const Brin::Pose2D& place : places) {
      lines += flaserLine(LaserWorld::twoRooms().ranges(place, 180, 81.91f), {50.0f, 60.0f, 2.0f});
    }
    writeFile(log_, lines);
  }
  ToolRun locate(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"locate", map_, log_, "--scan", "0"});
    return runTool(more);
  }
  json locateJson(std::vector<std::string> more = {}, int status = 0) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = locate(more);
    EXPECT_EQ(run.status, status) << run.errors;
    return json::parse(run.output);
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "office.yaml";
  std::string log_ = directory_ / "lost.log";
};

void expectNear(const json& pose, const Brin::Pose2D& place) {
  EXPECT_NEAR(pose[0], place.x, 0.04);  // less than the search's steps
  EXPECT_NEAR(pose[1], place.y, 0.04);
  EXPECT_NEAR(pose[2], place.theta, 0.015);
}

TEST_F(LocateCommand, FindsTheScanOnTheWholeMapWithoutTheLogsPose) {
  const json result = locateJson();
  EXPECT_EQ(result["verdict"], "clear");
  ASSERT_EQ(result["answers"].size(), 2u);
  expectNear(result["answers"][0]["pose"], kPlace);
  EXPECT_GT(result["answers"][0]["score"], 0.8);
  EXPECT_LT(result["answers"][1]["score"], 0.98 * double{result["answers"][0]["score"]});
  EXPECT_EQ(result["map"], map_);
  EXPECT_EQ(result["log"], log_);
  EXPECT_EQ(result["scan"], 0);
}

TEST_F(LocateCommand, SaysWhatItFoundAndTheBestElsewhere) {
  const ToolRun run = locate();
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("map         " + map_ + ", "));
  EXPECT_THAT(run.output, HasSubstr("scan        0, 180 hits\n"));
  EXPECT_THAT(run.output, HasSubstr("best        (2.5"));
  EXPECT_THAT(run.output, HasSubstr("elsewhere   ("));
}

TEST_F(LocateCommand, SearchesAroundAPlaceAndAHeading) {
  const json near = locateJson({"--near", "2.3,3.2,0.5", "--window", "0.5", "--angle", "20"});
  expectNear(near["answers"][0]["pose"], kPlace);
  EXPECT_EQ(near["poses"], 21 * 21 * 41);
  const json away =  // no place there is the right one, and several are as bad
      locateJson({"--near", "6,1,0", "--window", "0.5", "--angle", "20", "--min-score", "0"}, 1);
  EXPECT_GE(away["answers"][0]["pose"][0], 5.4);
}

TEST_F(LocateCommand, TellsAsManyAnswersAsAreWanted) {
  EXPECT_EQ(locateJson({"--count", "4"})["answers"].size(), 4u);
}

TEST_F(LocateCommand, APoorFitIsStatus1AndSaysTheBest) {
  const ToolRun run = locate({"--near", "6,1,0", "--window", "0.2", "--angle", "5"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("korrin: " + log_ + ": scan 0 fits nowhere: the best is ("));
  EXPECT_THAT(run.errors, HasSubstr(", and --min-score is 0.5\n"));
  EXPECT_THAT(run.output, HasSubstr("best        ("));
}

// A square room looks the same from four headings in its middle.
TEST_F(LocateCommand, TwinPlacesAreStatus1AndBothAreSaid) {
  const LaserWorld room({{{0, 0}, {4, 0}}, {{4, 0}, {4, 4}}, {{4, 4}, {0, 4}}, {{0, 4}, {0, 0}}});
  const std::string mapping = directory_ / "room.log";
  writeFile(mapping, room.carmenLog({{2, 2, 0}, {2, 2, 1.5f}, {2, 2, 3}, {2, 2, -1.5f}}, 180));
  ASSERT_EQ(runTool({"build", mapping, "-o", map_}).status, 0);
  writeFile(log_, flaserLine(room.ranges({2, 2, 0}, 180, 81.91f), {}));
  const ToolRun run = locate({"--png", directory_ / "twins.png"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("korrin: " + log_ + ": scan 0 fits in two places: ("));
  EXPECT_THAT(run.errors, HasSubstr("; ("));
  EXPECT_FALSE(cv::imread(directory_ / "twins.png").empty());
  EXPECT_EQ(locateJson({}, 1)["verdict"], "ambiguous");
}

TEST_F(LocateCommand, AScanThatHitNothingIsStatus1) {
  writeFile(log_, flaserLine({81.91f, 81.91f}, {}));
  EXPECT_TRUE(failedWith(locate({"--max-range", "20"}), 1, log_ + ": scan 0 hit nothing"));
}

TEST_F(LocateCommand, DrawsTheScanAndTheScores) {
  const std::string file = directory_ / "where.png";
  ASSERT_EQ(locate({"--png", file, "--near", "2.3,3.2", "--window", "1"}).status, 0);
  EXPECT_GE(cv::imread(file).cols, 1200);
  EXPECT_TRUE(failedWith(locate({"--png", directory_ / "no/file"}), 2,
                         directory_ / "no/file" + ": cannot be written"));
}

TEST_F(LocateCommand, BadOptionsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(runTool({"locate", map_, log_}), 2, "--scan is required" + kHint));
  EXPECT_TRUE(failedWith(runTool({"locate", map_, log_, "--scan", "1"}), 2,
                         "--scan: the last scan is 0, found 1"));
  EXPECT_TRUE(failedWith(locate({"--window", "1"}), 2, "--window requires --near" + kHint));
  EXPECT_TRUE(failedWith(locate({"--angle", "1"}), 2, "--angle requires --near" + kHint));
  EXPECT_TRUE(
      failedWith(locate({"--near", "1"}), 2, "--near: must be X,Y or X,Y,THETA, found '1'"));
  EXPECT_TRUE(failedWith(locate({"--min-score", "2"}), 2,
                         "--min-score: must be a number from 0 to 1, found 2" + kHint));
  EXPECT_EQ(runTool({"locate", "no/such.yaml", log_, "--scan", "0"}).status, 2);
}

TEST_F(LocateCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  const std::string log = writeTwoRoomsLog(directory_, 60, 180, "office.log.gz");
  ASSERT_EQ(runTool({"build", log, "-o", "office.yaml"}).status, 0);
  const auto examples = helpExamples("locate");
  ASSERT_EQ(examples.size(), 1u);
  const ToolRun run = runTool(examples[0]);
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(std::filesystem::exists("where.png"));
}

}  // namespace
}  // namespace korrin_test
