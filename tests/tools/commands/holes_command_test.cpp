// korrin holes: statuses, what it says, and the doorway of the two rooms.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/laser_log.hpp"
#include "korrin/scan_holes.hpp"
#include "tests/tools/log_files.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class HolesCommand : public ::testing::Test {
 protected:
  ToolRun holes(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"holes", log_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json holesJson(std::vector<std::string> more) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = holes(more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return json::parse(run.output);
  }
  // A log with one scan, taken at `pose`.
  void writeScanAt(const Brin::Pose2D& pose) const {
    writeFile(log_, LaserWorld::twoRooms().carmenLog({pose}, 360));
  }

  TemporaryDirectory directory_;
  std::string log_ = writeTwoRoomsLog(directory_, 20, 360);
};

// Whether the hole has a border at one of the doorway's posts, (4, 2) and (4, 3).
bool isAtDoorway(const json& hole, const Brin::Pose2D& scanner) {
  for (const char* const name : {"beginPoint", "endPoint"}) {
    const auto border =
        scanner.absProject({hole[name][0].get<float>(), hole[name][1].get<float>(), 0.0f});
    for (const float post : {2.0f, 3.0f}) {
      if (std::hypot(border.x - 4.0f, border.y - post) < 0.15f) return true;
    }
  }
  return false;
}

TEST_F(HolesCommand, FindsTheDoorwayFromWhereverItIsSeen) {
  for (const Brin::Pose2D& pose : {Brin::Pose2D(2.0f, 2.5f, 0.0f), Brin::Pose2D(3.0f, 1.2f, 0.8f),
                                   Brin::Pose2D(2.2f, 4.0f, -0.6f), Brin::Pose2D(6.0f, 2.5f, 3.1f),
                                   Brin::Pose2D(5.0f, 4.2f, -2.3f)}) {
    writeScanAt(pose);
    const json result = holesJson({"--scan", "0", "--width", "0.8"});
    bool found = false;
    for (const json& hole : result["holes"]) found = found || isAtDoorway(hole, pose);
    EXPECT_TRUE(found) << pose.x << ' ' << pose.y << ": " << result["holes"].dump();
  }
}

TEST_F(HolesCommand, JsonHoldsWhatTheDetectorFinds) {
  const Brin::Pose2D pose(2.0f, 2.5f, 0.3f);
  writeScanAt(pose);
  std::vector<Brin::ScanHole> expected;
  const auto log = Brin::io::readLaserLog(log_);
  Brin::findScanHoles(log.scans.at(0).scan, expected, 0.8f);
  const json result = holesJson({"--scan", "0", "--width", "0.8"});
  EXPECT_EQ(result["scan"], 0);
  EXPECT_EQ(result["pose"], json({2, 2.5, 0.3}));
  EXPECT_EQ(result["line"], log.scans[0].line);
  ASSERT_EQ(result["holes"].size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const json& hole = result["holes"][i];
    EXPECT_EQ(hole["beginIndex"], expected[i].beginIndex);
    EXPECT_EQ(hole["endIndex"], expected[i].endIndex);
    EXPECT_EQ(hole["heading"].get<float>(), expected[i].heading);
    EXPECT_EQ(hole["normalAngle"].get<float>(), expected[i].normalAngle);
    EXPECT_EQ(hole["approachPoint"][1].get<float>(), expected[i].approachPoint.y);
    EXPECT_GT(hole["width"], 0.8);
  }
}

TEST_F(HolesCommand, TheEarlierDetectorIsThereToo) {
  std::vector<Brin::ScanHole> expected;
  const auto log = Brin::io::readLaserLog(log_);
  Brin::findScanHoles_old(log.scans.at(5).scan, expected, 0.5f, 3);
  const json result = holesJson({"--scan", "5", "--width", "0.5", "--old", "--max-run", "3"});
  ASSERT_EQ(result["holes"].size(), expected.size());
  EXPECT_EQ(result["holes"][0]["beginIndex"], expected[0].beginIndex);
  const ToolRun alone = holes({"--scan", "5", "--width", "0.5", "--max-run", "3"});
  EXPECT_TRUE(failedWith(alone, 2, "--max-run requires --old" + kHint));
}

TEST_F(HolesCommand, ListsTheHolesInOrder) {
  const ToolRun run = holes({"--scan", "3", "--width", "0.6"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("scan        3 (line 10), taken at "));
  EXPECT_THAT(run.output, HasSubstr("\nhole "));
  const json result = holesJson({"--scan", "3", "--width", "0.6"});
  double before = 0.0;
  for (const json& hole : result["holes"]) {
    EXPECT_GE(std::abs(hole["heading"].get<double>()), before);
    before = std::abs(hole["heading"].get<double>());
  }
}

TEST_F(HolesCommand, NoHoleIsStatus1) {
  const LaserWorld box({{{0, 0}, {4, 0}}, {{4, 0}, {4, 4}}, {{4, 4}, {0, 4}}, {{0, 4}, {0, 0}}});
  writeFile(log_, box.carmenLog({{2.0f, 2.0f, 0.0f}}, 180));
  const std::string message = log_ + ": scan 0: no hole wider than 0.80 m";
  EXPECT_TRUE(failedWith(holes({"--scan", "0", "--width", "0.8"}), 1, message));
  const ToolRun run = holes({"--scan", "0", "--width", "0.8", "--json", "-"});
  EXPECT_TRUE(failedWith(run, 1, message));
  EXPECT_EQ(json::parse(run.output)["holes"].size(), 0u);
}

TEST_F(HolesCommand, DrawsTheScanAndItsHoles) {
  const std::string path = directory_ / "holes.png";
  ASSERT_EQ(holes({"--scan", "5", "--width", "0.6", "--png", path}).status, 0);
  EXPECT_GE(cv::imread(path).cols, 1200);
}

TEST_F(HolesCommand, BadOptionsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(holes({"--scan", "20", "--width", "1"}), 2,
                         "--scan: the last scan is 19, found 20"));
  EXPECT_TRUE(failedWith(holes({"--scan", "1", "--width", "0"}), 2,
                         "--width: must be a finite number above 0, found 0" + kHint));
  EXPECT_TRUE(failedWith(holes({"--width", "1"}), 2, "--scan is required" + kHint));
  EXPECT_TRUE(failedWith(holes({"--scan", "1"}), 2, "--width is required" + kHint));
  EXPECT_EQ(holes({"--scan", "-1", "--width", "1"}).status, 2);
  EXPECT_EQ(holes({"--scan", "1.5", "--width", "1"}).status, 2);
  expectLogFaults({"holes", "--scan", "0", "--width", "1"});
}

TEST_F(HolesCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  writeTwoRoomsLog(directory_, 30, 180, "office.log.gz");
  const auto examples = helpExamples("holes");
  ASSERT_EQ(examples.size(), 1u);
  const ToolRun run = runTool(examples[0]);
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(std::filesystem::exists("holes.png"));
}

}  // namespace
}  // namespace korrin_test
