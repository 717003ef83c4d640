// korrin query: statuses and answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class QueryCommand : public ::testing::Test {
 protected:
  QueryCommand() {
    writeMap({"###########",  //
              "###########",  //
              "#........??",  //
              "#........??",  //
              "#........??",  //
              "###########"});
  }
  void writeMap(const std::vector<std::string>& rows) const {
    Brin::io::writeMapFile(drawMap(rows), map_);
  }
  ToolRun query(const std::string& pose, const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {"query", map_, "--pose", pose};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json queryJson(const std::string& pose, std::vector<std::string> more) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = query(pose, more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return json::parse(run.output);
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "map.yaml";
};

TEST_F(QueryCommand, FreeIsTheNearestFreeCell) {
  const json result = queryJson("4,0", {"--free"});
  EXPECT_EQ(result["cell"], json({4, 2}));
  EXPECT_EQ(result["point"], json({4, 2}));
  EXPECT_EQ(result["value"], 1.0);
  EXPECT_EQ(result["distance"], 2.0);
  EXPECT_EQ(result["poseValue"], 0.0);
  EXPECT_EQ(queryJson("4,3", {"--free"})["distance"], 0.0);
}

TEST_F(QueryCommand, GrayIsTheNearestUnknownCellInSight) {
  const json result = queryJson("5,3", {"--gray"});
  EXPECT_EQ(result["cell"], json({9, 3}));
  EXPECT_EQ(result["value"], 0.5);
  EXPECT_EQ(result["distance"], 4.0);
}

TEST_F(QueryCommand, ObstaclesAreOnTheSideWhereTheyAre) {
  writeMap(std::vector<std::string>(11, "......#####"));
  const json result = queryJson("4,5", {"--obstacles", "--range", "2.5"});
  EXPECT_NEAR(result["direction"], 0.0, 0.2);
  EXPECT_EQ(result["range"], 2.5);
}

TEST_F(QueryCommand, WarningsOfTheLibraryArePassedOn) {
  const ToolRun run = query("4,1", {"--obstacles", "--range", "3"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, HasSubstr("warning     "));
  EXPECT_TRUE(queryJson("4,1", {"--obstacles", "--range", "3"}).contains("warning"));
}

TEST_F(QueryCommand, SaysWhatItFound) {
  const ToolRun run = query("4,0", {"--free"});
  EXPECT_THAT(run.output, HasSubstr("pose        (4.00, 0.00), cell (4, 0) of value 0.00\n"));
  EXPECT_THAT(run.output, HasSubstr("free        cell (4, 2) at (4.00, 2.00), value 1.00\n"));
  EXPECT_THAT(run.output, HasSubstr("distance    2.0 m\n"));
}

TEST_F(QueryCommand, NoAnswerIsStatus1) {
  EXPECT_TRUE(
      failedWith(query("5,0", {"--gray"}), 1, "no unknown cell in sight from (5.00, 0.00)"));
  writeMap({"...", "..."});
  EXPECT_TRUE(
      failedWith(query("1,1", {"--obstacles"}), 1, "no obstacles within 1.0 m from (1.00, 1.00)"));
  writeMap({"##", "##"});
  EXPECT_TRUE(failedWith(query("1,1", {"--free"}), 1, "no free cell in sight from (1.00, 1.00)"));
}

TEST_F(QueryCommand, ThresholdsSayWhatIsFreeAndWhatBlocks) {
  EXPECT_EQ(queryJson("4,0", {"--free", "--free-above", "0.4"})["cell"], json({4, 2}));
  EXPECT_EQ(query("4,0", {"--free", "--free-above", "1"}).status, 1);
  EXPECT_EQ(queryJson("5,0", {"--gray", "--threshold", "0"})["value"], 0.5);
  EXPECT_EQ(query("5,3", {"--gray", "--tolerance", "0"}).status, 1);
}

TEST_F(QueryCommand, DrawsTheAnswer) {
  for (const std::string question : {"--free", "--gray", "--obstacles"}) {
    const std::string path = directory_ / ("answer" + question + ".png");
    ASSERT_EQ(query("5,3", {question, "--range", "3", "--png", path}).status, 0) << question;
    EXPECT_GE(cv::imread(path).cols, 1200);
  }
}

TEST_F(QueryCommand, BadUsageIsStatus2AndNamed) {
  const std::string one = "query: one of --free, --gray and --obstacles is required";
  EXPECT_TRUE(failedWith(query("5,3", {}), 2, one));
  EXPECT_TRUE(failedWith(query("5,3", {"--free", "--gray"}), 2, one));
  EXPECT_TRUE(failedWith(query("5", {"--free"}), 2, "--pose: must be X,Y or X,Y,THETA, found '5'"));
  EXPECT_TRUE(failedWith(query("5,3", {"--free", "--free-above", "2"}), 2,
                         "--free-above: must be a number from 0 to 1, found 2" + kHint));
  EXPECT_TRUE(failedWith(runTool({"query", "no.yaml", "--pose", "1,1", "--free"}), 2,
                         "no.yaml: cannot be read"));
}

TEST_F(QueryCommand, ExamplesOfTheHelpRunAsTheyStand) {
  const WorkIn here(directory_.path());
  const auto examples = helpExamples("query");
  ASSERT_EQ(examples.size(), 2u);
  for (const auto& example : examples) EXPECT_EQ(runTool(example).status, 0);
  EXPECT_TRUE(std::filesystem::exists("unknown.png"));
}

}  // namespace
}  // namespace korrin_test
