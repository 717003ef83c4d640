// korrin pairs: statuses, and what it counts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/tools/log_files.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

const std::vector<std::string> kFew = {"--count", "6", "--angle", "20", "--resolution", "0.04"};

class PairsCommand : public ::testing::Test {
 protected:
  ToolRun pairs(const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"pairs", log_};
    arguments.insert(arguments.end(), kFew.begin(), kFew.end());
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }

  TemporaryDirectory directory_;
  std::string log_ = writeTwoRoomsLog(directory_, 60);
};

TEST_F(PairsCommand, FindsThePosesOfATrueLog) {
  const ToolRun run = pairs({});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("as logged   6 of 6 within 0.05 m and 1 degree of the log's"));
  EXPECT_THAT(run.output, HasSubstr("otherwise   0 fit no worse"));
  EXPECT_THAT(run.output, ::testing::Not(HasSubstr("aligned")));
}

TEST_F(PairsCommand, ComparesWithAlignedPosesAndWithSimulatedScans) {
  const std::string map = directory_ / "office.yaml";
  ASSERT_EQ(runTool({"build", log_, "-o", map}).status, 0);
  const ToolRun run = pairs({"--align", "--map", map, "--json", "-"});
  EXPECT_EQ(run.status, 0) << run.errors;
  const json result = json::parse(run.output);
  for (const char* count : {"pairs", "asLogged", "asAligned", "loggedAsAligned", "simulated"}) {
    EXPECT_EQ(result[count], 6) << count;
  }
  EXPECT_EQ(result["otherwiseNoWorse"], 0);
}

TEST_F(PairsCommand, SeesPosesThatTheScansContradict) {
  const LaserWorld world = LaserWorld::twoRooms();
  std::string text;
  for (int i = 0; i < 8; ++i) {  // logged 0.2 m apart, taken 0.1 m apart
    const Brin::Pose2D taken(1.0f + 0.1f * static_cast<float>(i), 2.5f, 0.0f);
    text += flaserLine(world.ranges(taken, 180, 81.91f), {2.0f * taken.x, 2.5f, 0.0f});
  }
  writeFile(log_, text);
  const ToolRun run = pairs({});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("as logged   0 of 6"));
  EXPECT_THAT(run.output, HasSubstr("otherwise   6 fit no worse"));
}

TEST_F(PairsCommand, ALogWithoutClosePairsIsStatus1) {
  writeFile(log_, flaserLine({1.0f, 1.0f}, {}) + flaserLine({1.0f, 1.0f}, {5.0f, 0.0f, 0.0f}));
  EXPECT_TRUE(failedWith(pairs({}), 1, log_ + ": no two scans were taken close together"));
}

TEST_F(PairsCommand, BadOptionsAreStatus2AndNamed) {
  const ToolRun noMap = pairs({"--map", "no.yaml"});
  EXPECT_EQ(noMap.status, 2);
  EXPECT_THAT(noMap.errors, HasSubstr("no.yaml"));
  EXPECT_EQ(runTool({"pairs", log_, "--count", "0"}).status, 2);
  EXPECT_EQ(pairs({"--window", "100"}).status, 2);
  expectLogFaults({"pairs"});
}

TEST_F(PairsCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  writeTwoRoomsLog(directory_, 60, 60, "office.log.gz");
  const auto examples = helpExamples("pairs");
  ASSERT_EQ(examples.size(), 1u);
  EXPECT_EQ(runTool(examples[0]).status, 0);
}

}  // namespace
}  // namespace korrin_test
