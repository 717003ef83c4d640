// korrin stats: statuses, figures, and the files that paths come in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "korrin/io/path_file.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"
#include "tools/commands/map_output.hpp"
#include "tools/usage_error.hpp"

namespace korrin_test {
namespace {

using Brin::io::readPathFile;
using nlohmann::json;
using ::testing::HasSubstr;

class StatsCommand : public ::testing::Test {
 protected:
  StatsCommand() {
    Brin::io::writeMapFile(drawMap({"..?#.", "....."}), map_, korrin_tool::greyFormat());
    writeFile(path_, "x,y\n0,0\n4,0\n");
  }
  ToolRun stats(const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"stats", map_, "--path", path_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json statsJson(std::vector<std::string> more = {}) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = stats(more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return json::parse(run.output);
  }
  void expectFault(const std::string& content, const std::string& fault) const {
    writeFile(path_, content);
    EXPECT_TRUE(failedWith(stats(), 2, path_ + ": " + fault)) << content;
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "map.yaml";
  std::string path_ = directory_ / "path.csv";
};

TEST_F(StatsCommand, SumsUpThePath) {
  const json result = statsJson();
  EXPECT_EQ(result["poses"], 2);
  EXPECT_EQ(result["minCost"], 0.0);
  EXPECT_EQ(result["maxCost"], 1.0);
  EXPECT_NEAR(result["avgCost"], 3.5 / 5.0, 1e-6);
  EXPECT_EQ(result["length"], 5.0);
  const ToolRun run = stats();
  EXPECT_THAT(run.output, HasSubstr("path        " + path_ + ", 2 poses\n"));
  EXPECT_THAT(run.output, HasSubstr("length      5.0 m of cells\n"));
  EXPECT_THAT(run.output, HasSubstr("values      lowest 0.000, mean 0.700, highest 1.000\n"));
}

TEST_F(StatsCommand, TakesOnlyTheFirstMetresWhenAsked) {
  const json result = statsJson({"--max-length", "3"});
  EXPECT_EQ(result["minCost"], 0.5);
  EXPECT_EQ(result["length"], 3.0);
  EXPECT_EQ(stats({"--max-length", "-1"}).status, 2);
}

TEST_F(StatsCommand, WarnsOfAPathOfOnePose) {
  writeFile(path_, "1,1\n");
  const ToolRun run = stats();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(run.output, HasSubstr("warning     Path with one cell, stats won't be reliable.\n"));
  EXPECT_EQ(statsJson()["warning"], "Path with one cell, stats won't be reliable.");
}

TEST_F(StatsCommand, CountsCellsOutsideTheMapAsMinusOne) {
  writeFile(path_, "0,0\n-3,0\n");
  EXPECT_EQ(statsJson()["minCost"], -1.0);
}

TEST_F(StatsCommand, DrawsThePath) {
  ASSERT_EQ(stats({"--png", directory_ / "stats.png"}).status, 0);
  EXPECT_GE(cv::imread(directory_ / "stats.png").cols, 1200);
}

TEST_F(StatsCommand, ReadsPathsWithHeadersHeadingsCommentsAndBlanks) {
  writeFile(path_, "# a path\r\n\r\nx, y, theta\r\n 1.5 ,\t2,0.25\r\n# more\n-3,4e-1\n");
  const auto path = readPathFile(path_);
  ASSERT_EQ(path.size(), 2u);
  EXPECT_EQ(path[0].x, 1.5f);
  EXPECT_EQ(path[0].theta, 0.25f);
  EXPECT_EQ(path[1].x, -3.0f);
  EXPECT_EQ(path[1].y, 0.4f);
  EXPECT_EQ(path[1].theta, 0.0f);
}

TEST_F(StatsCommand, AFirstLineOfNumbersIsNoHeader) {
  writeFile(path_, "1,2\n3,4");
  EXPECT_EQ(readPathFile(path_).size(), 2u);
}

TEST_F(StatsCommand, PathFaultsAreStatus2AndNameFileAndLine) {
  const std::string fault = "must be x,y or x,y,theta";
  expectFault("", "no poses");
  expectFault("x,y\n", "no poses");
  expectFault("x,y\nx,y\n", "line 2: " + fault);
  expectFault("1,2\n\n3\n", "line 3: " + fault);
  expectFault("1,2\n3,4,5,6\n", "line 2: " + fault);
  expectFault("1,2\n3,nan\n", "line 2: " + fault);
  expectFault("1,2\n3,inf\n", "line 2: " + fault);
  expectFault("1,2\n3,4x\n", "line 2: " + fault);
  expectFault("1,2\n3,,4\n", "line 2: " + fault);
  expectFault("1,2\n3,1e99\n", "line 2: " + fault);
  expectFault(std::string("1,2\n\0\xff\n", 7), "line 2: " + fault);
}

TEST_F(StatsCommand, FilesThatCannotBeReadOrWrittenAreStatus2AndNamed) {
  EXPECT_TRUE(
      failedWith(runTool({"stats", map_, "--path", "no.csv"}), 2, "no.csv: cannot be read"));
  EXPECT_TRUE(
      failedWith(runTool({"stats", "no.yaml", "--path", path_}), 2, "no.yaml: cannot be read"));
  EXPECT_TRUE(failedWith(runTool({"stats", map_, "--path", directory_.path().string()}), 2,
                         directory_.path().string() + ": no poses"));
  EXPECT_TRUE(failedWith(runTool({"stats", map_}), 2, "--path is required" + kHint));
}

TEST_F(StatsCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_.path());
  Brin::io::writeMapFile(drawMap({".....", "....."}), "office.yaml");
  const auto examples = helpExamples("stats");
  ASSERT_EQ(examples.size(), 1u);
  EXPECT_EQ(runTool(examples[0]).status, 0);
  EXPECT_TRUE(std::filesystem::exists("stats.png"));
}

}  // namespace
}  // namespace korrin_test
