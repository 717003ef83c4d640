// korrin simulate: statuses, what it says, and the library's own scan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "korrin/range_simulation.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class SimulateCommand : public ::testing::Test {
 protected:
  SimulateCommand() {
    Brin::OccupancyMap map = drawMap({"##########",  //
                                      "#........#",  //
                                      "#...#....#",  //
                                      "#........#",  //
                                      "##########"});
    Brin::io::writeMapFile(map, map_);
  }
  ToolRun simulate(const std::string& pose, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"simulate", map_, "--pose", pose};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "map.yaml";
};

TEST_F(SimulateCommand, JsonHoldsTheLibrarysScan) {
  const ToolRun run = simulate("2,2,0.25", {"--beams", "7", "--fov", "90", "--range", "4",
                                            "--min-range", "0.5", "--json", "-"});
  ASSERT_EQ(run.status, 0) << run.errors;
  Brin::ScanModel model(7, 4.0f, 1.57079633f);
  model.minRange = 0.5f;
  std::vector<Brin::RangeReading> expected;
  Brin::occMapSimulateScan(Brin::io::readMapFile(map_), model, {2.0f, 2.0f, 0.25f}, expected,
                           0.45f);
  const json result = json::parse(run.output);
  EXPECT_EQ(result["pose"], json({2, 2, 0.25}));
  ASSERT_EQ(result["readings"].size(), expected.size());
  int hits = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(result["readings"][i]["angle"].get<float>(), expected[i].angle);
    EXPECT_EQ(result["readings"][i]["range"].get<float>(), expected[i].range);
    EXPECT_EQ(result["readings"][i]["hit"], expected[i].status == 0);
    hits += expected[i].status == 0 ? 1 : 0;
  }
  EXPECT_EQ(result["hits"], hits);
  EXPECT_GT(hits, 0);
}

TEST_F(SimulateCommand, TellsOfTheHitsAndTheNearest) {
  const ToolRun run = simulate("2,2");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("map         " + map_ + ", 10 x 5 cells of 1 m\n"));
  EXPECT_THAT(run.output, HasSubstr("pose        (2.00, 2.00), heading 0.0 deg\n"));
  EXPECT_THAT(run.output, HasSubstr("hits        181 of 181 beams\n"));
  EXPECT_THAT(run.output, HasSubstr("nearest     "));
}

TEST_F(SimulateCommand, AScanThatHitsNothingHasNoNearest) {
  const ToolRun run = simulate("2,2", {"--range", "0.5"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("hits        0 of 181 beams\n"));
  EXPECT_EQ(run.output.find("nearest"), std::string::npos);
  const ToolRun asJson = simulate("2,2", {"--range", "0.5", "--json", "-"});
  EXPECT_FALSE(json::parse(asJson.output).contains("nearest"));
}

TEST_F(SimulateCommand, TheThresholdSaysWhatStopsABeam) {
  const auto hits = [&](const std::string& threshold) {
    const ToolRun run = simulate("2,2", {"--threshold", threshold, "--json", "-"});
    return json::parse(run.output)["hits"].get<int>();
  };
  EXPECT_EQ(hits("0"), 0);  // nothing is below 0
  EXPECT_EQ(hits("0.45"), 181);
}

TEST_F(SimulateCommand, DrawsTheScan) {
  const std::string path = directory_ / "scan.png";
  ASSERT_EQ(simulate("2,2,1", {"--png", path}).status, 0);
  EXPECT_GE(cv::imread(path).cols, 1200);
  EXPECT_EQ(simulate("2,2,1", {"--png", path, "--range", "1e30"}).status, 0);
}

TEST_F(SimulateCommand, BadOptionsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(simulate("20,2"), 2, "--pose: (20.00, 2.00) is outside the map"));
  EXPECT_TRUE(failedWith(simulate("a"), 2, "--pose: not a number: 'a' in 'a'"));
  EXPECT_TRUE(failedWith(simulate("2,2", {"--beams", "1"}), 2,
                         "--beams: must be a number from 2 to 100000, found 1" + kHint));
  EXPECT_TRUE(failedWith(simulate("2,2", {"--fov", "361"}), 2,
                         "--fov: must be a number from 0 to 360, found 361" + kHint));
  EXPECT_TRUE(failedWith(simulate("2,2", {"--range", "1", "--min-range", "1"}), 2,
                         "--min-range: must be below --range (1), found 1"));
  EXPECT_TRUE(failedWith(runTool({"simulate", map_}), 2, "--pose is required" + kHint));
  EXPECT_TRUE(
      failedWith(runTool({"simulate", "no.yaml", "--pose", "1,1"}), 2, "no.yaml: cannot be read"));
  EXPECT_TRUE(failedWith(simulate("2,2", {"--json", directory_ / "no/file"}), 2,
                         directory_ / "no/file" + ": cannot be written"));
}

TEST_F(SimulateCommand, ExamplesOfTheHelpRunAsTheyStand) {
  const WorkIn here(directory_.path());
  const auto examples = helpExamples("simulate");
  ASSERT_EQ(examples.size(), 2u);
  for (const auto& example : examples) EXPECT_EQ(runTool(example).status, 0);
  EXPECT_TRUE(std::filesystem::exists("scan.png"));
}

}  // namespace
}  // namespace korrin_test
