// korrin match: statuses, what it says, and displacements that are known.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "tests/tools/log_files.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class MatchCommand : public ::testing::Test {
 protected:
  ToolRun match(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"match", log_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json matchJson(std::vector<std::string> more) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = match(more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return json::parse(run.output);
  }
  // Two scans, the second one `moved` from the first, logged as if it had not moved.
  void writePair(const Brin::Pose2D& moved) const {
    const Brin::Pose2D first(2.0f, 2.4f, 0.4f);
    const LaserWorld world = LaserWorld::twoRooms();
    writeFile(log_, flaserLine(world.ranges(first, 180, 81.91f), first) +
                        flaserLine(world.ranges(first.absProject(moved), 180, 81.91f), first));
  }

  TemporaryDirectory directory_;
  std::string log_ = directory_ / "office.log";
};

const std::vector<std::string> kPair = {"--reference", "0",   "--scan",  "1",
                                        "--window",    "0.3", "--angle", "10"};

TEST_F(MatchCommand, FindsTheDisplacementWithoutTheLogsPoses) {
  writePair({0.2f, -0.1f, 0.1f});
  const json result = matchJson(kPair);
  EXPECT_NEAR(result["pose"][0], 0.2, 0.03);
  EXPECT_NEAR(result["pose"][1], -0.1, 0.03);
  EXPECT_NEAR(result["pose"][2], 0.1, 0.01);
  EXPECT_EQ(result["logged"], json({0, 0, 0}));
  EXPECT_GT(result["score"], 0.8);
  EXPECT_LT(result["loggedScore"], result["score"]);
  EXPECT_EQ(result["reference"], 0);
  EXPECT_EQ(result["scan"], 1);
  EXPECT_EQ(result["poses"], 25 * 25 * 41);
  EXPECT_EQ(result["atBorder"], false);
}

TEST_F(MatchCommand, SaysWhatItFoundAndWhatTheLogSays) {
  writePair({0.2f, 0.0f, 0.0f});
  const ToolRun run = match(kPair);
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("scans       1 against 0\nbest        (0.2"));
  EXPECT_THAT(run.output, HasSubstr("searched    25,625 poses\n"));
  EXPECT_THAT(run.output, HasSubstr("logged      (0.00, 0.00), heading 0.0 deg, score 0."));
  EXPECT_THAT(run.output, HasSubstr("apart       0.2"));
}

TEST_F(MatchCommand, WarnsWhenTheBestPoseIsAtTheWindowsBorder) {
  writePair({0.4f, 0.0f, 0.0f});
  const ToolRun run = match(kPair);
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("warning     the best pose is at the window's border"));
  EXPECT_EQ(matchJson(kPair)["atBorder"], true);
}

TEST_F(MatchCommand, ScansThatDoNotMeetAreStatus1) {
  writeFile(log_, flaserLine({1.0f, 1.0f, 1.0f}, {}) + flaserLine({40.0f, 40.0f, 41.0f}, {}));
  EXPECT_TRUE(failedWith(match(kPair), 1, log_ + ": scan 1 fits scan 0 nowhere in the window"));
}

TEST_F(MatchCommand, AScanThatHitNothingIsStatus1) {
  writeFile(log_, flaserLine({1.0f, 1.0f, 1.0f}, {}) + flaserLine({9.0f, 9.0f}, {}));
  EXPECT_TRUE(failedWith(match(kPair), 1, log_ + ": scan 1 hit nothing"));
}

TEST_F(MatchCommand, DrawsBothScansAndTheScores) {
  writePair({0.1f, 0.0f, 0.0f});
  std::vector<std::string> arguments = kPair;
  arguments.insert(arguments.end(), {"--png", directory_ / "match.png"});
  ASSERT_EQ(match(arguments).status, 0);
  const cv::Mat picture = cv::imread(directory_ / "match.png");
  EXPECT_GE(picture.cols, 2000);
  arguments.back() = directory_ / "no/file";
  EXPECT_TRUE(failedWith(match(arguments), 2, directory_ / "no/file" + ": cannot be written"));
}

TEST_F(MatchCommand, BadOptionsAreStatus2AndNamed) {
  writePair({});
  EXPECT_TRUE(failedWith(match({"--reference", "2", "--scan", "0"}), 2,
                         "--reference: the last scan is 1, found 2"));
  EXPECT_TRUE(failedWith(match({"--reference", "0", "--scan", "9"}), 2,
                         "--scan: the last scan is 1, found 9"));
  EXPECT_TRUE(failedWith(match({"--scan", "0"}), 2, "--reference is required" + kHint));
  EXPECT_TRUE(failedWith(match({"--reference", "0"}), 2, "--scan is required" + kHint));
  EXPECT_TRUE(failedWith(match({"--reference", "0", "--scan", "1", "--angle", "200"}), 2,
                         "--angle: must be a number from 0 to 180, found 200" + kHint));
  EXPECT_TRUE(failedWith(match({"--reference", "0", "--scan", "1", "--window", "100"}), 2,
                         "--window: 11,586,896,181 poses are too many to try; a coarser "
                         "--resolution or --angle-step helps"));
  expectLogFaults({"match", "--reference", "0", "--scan", "1"});
}

TEST_F(MatchCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  writeTwoRoomsLog(directory_, 60, 60, "office.log.gz");
  const auto examples = helpExamples("match");
  ASSERT_EQ(examples.size(), 1u);
  const ToolRun run = runTool(examples[0]);
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(std::filesystem::exists("match.png"));
}

}  // namespace
}  // namespace korrin_test
