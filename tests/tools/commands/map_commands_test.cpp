// korrin dilate, scale and scroll: a map in, a map out.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "korrin/map_image_utils.hpp"
#include "korrin/obstacle_dilater.hpp"
#include "tests/support/bits.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"
#include "tools/commands/map_output.hpp"

namespace korrin_test {
namespace {

using Brin::io::readMapFile;
using nlohmann::json;
using ::testing::HasSubstr;

class MapCommands : public ::testing::Test {
 protected:
  MapCommands() {
    Brin::OccupancyMap map = drawMap({"..........",  //
                                      "..........",  //
                                      "....#.....",  //
                                      "........??",  //
                                      "........??"},
                                     0.1f);
    map.params.origin = {1.05f, 2.05f, 0.0f};
    Brin::io::writeMapFile(map, map_);
  }
  ToolRun run(const std::string& command, const std::vector<std::string>& more) const {
    std::vector<std::string> arguments = {command, map_, "-o", out_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }
  json runJson(const std::string& command, std::vector<std::string> more) const {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun result = run(command, more);
    EXPECT_EQ(result.status, 0) << result.errors;
    return json::parse(result.output);
  }
  // The map as a command of greys writes it: 255 levels, unknown exactly.
  void expectCells(const Brin::OccupancyMap& expected) const {
    const Brin::OccupancyMap map = readMapFile(out_);
    EXPECT_EQ(map.params.width, expected.params.width);
    EXPECT_NEAR(map.params.origin.x, expected.params.origin.x, 1e-5f);
    for (int y = 0; y < expected.params.height; ++y) {
      for (int x = 0; x < expected.params.width; ++x) {
        EXPECT_NEAR(map.getCell(x, y), expected.getCell(x, y), 0.5f / 255.0f + 1e-5f)
            << x << ' ' << y;
      }
    }
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "map.yaml";
  std::string out_ = directory_ / "out.yaml";
};

using Type = Brin::ObstacleDilater::DilateType;

Brin::OccupancyMap dilated(Brin::OccupancyMap map, Type type) {
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setParams(0.15f, 0.35f);
  dilater.dilate(map, type);
  return map;
}

TEST_F(MapCommands, DilateWritesWhatTheDilaterMakes) {
  const std::vector<std::pair<std::string, Type>> kinds = {
      {"linear", Brin::ObstacleDilater::DILATE_LINEAR},
      {"inverse", Brin::ObstacleDilater::DILATE_INVERSE},
      {"smooth", Brin::ObstacleDilater::DILATE_ERODE_SMOOTH}};
  for (const auto& [kind, type] : kinds) {
    const json result = runJson("dilate", {"--kind", kind, "--radius", "0.15", "--fade", "0.35"});
    expectCells(dilated(readMapFile(map_), type));
    EXPECT_EQ(result["cells"], 50);
    EXPECT_GT(result["changedCells"], 0);
    EXPECT_LT(result["meanAfter"], result["meanBefore"]);
  }
}

TEST_F(MapCommands, DilateKeepsUnknownCellsWhenAsked) {
  run("dilate", {"--radius", "0.15", "--fade", "0.35"});
  EXPECT_EQ(readMapFile(out_).getCell(9, 4), 1.0f);
  run("dilate", {"--radius", "0.15", "--fade", "0.35", "--keep-unknown"});
  EXPECT_EQ(readMapFile(out_).getCell(9, 4), 0.5f);
  EXPECT_EQ(readMapFile(out_).getCell(5, 2), 0.0f);
}

TEST_F(MapCommands, DilateTakesTheThresholdOfObstacles) {
  ASSERT_EQ(run("dilate", {"--threshold", "0.4"}).status, 0);
  EXPECT_EQ(readMapFile(out_).getCell(9, 4), 1.0f);
  ASSERT_EQ(run("dilate", {"--threshold", "0.6"}).status, 0);
  EXPECT_EQ(readMapFile(out_).getCell(9, 4), 0.0f);
}

TEST_F(MapCommands, DilateFaultsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(run("dilate", {"--kind", "big"}), 2,
                         "--kind: must be one of linear, inverse, smooth, found big" + kHint));
  EXPECT_TRUE(failedWith(run("dilate", {"--radius", "0.5"}), 2,
                         "--fade: must be at least the radius (0.5 m) with --kind linear, found "
                         "0.4 m"));
  EXPECT_EQ(run("dilate", {"--radius", "0.4"}).status, 0);
  EXPECT_EQ(run("dilate", {"--radius", "0.5", "--kind", "inverse"}).status, 0);
  EXPECT_TRUE(failedWith(runTool({"dilate", map_}), 2, "--out is required" + kHint));
  EXPECT_TRUE(failedWith(runTool({"dilate", "no.yaml", "-o", out_}), 2, "no.yaml: cannot be read"));
}

TEST_F(MapCommands, APictureNeverGoesOverTheCellsOfTheMap) {
  const std::string cells = directory_ / "out.png";
  for (const std::string command : {"dilate", "scale"}) {
    std::vector<std::string> more = {"--png", cells};
    if (command == "scale") more.insert(more.end(), {"--factor", "0.5"});
    EXPECT_TRUE(failedWith(run(command, more), 2,
                           "--png: '" + cells + "' is where the cells of the map go"));
  }
  EXPECT_EQ(run("dilate", {"--png", directory_ / "picture.png"}).status, 0);
  EXPECT_GE(cv::imread(directory_ / "picture.png").cols, 1200);
  EXPECT_EQ(cv::imread(cells).cols, 10);
}

TEST_F(MapCommands, ScaleWritesWhatTheLibraryMakes) {
  for (const float factor : {0.5f, 1.0f, 3.0f, -1.0f, 0.0f}) {
    const json result = runJson("scale", {"--factor", std::to_string(factor)});
    Brin::OccupancyMap expected = readMapFile(map_);
    Brin::occMapMultiplyProb(expected, factor);
    expectCells(expected);
    EXPECT_EQ(result["factor"].get<float>(), factor);
    EXPECT_EQ(result["changedCells"], factor == 1.0f || factor == 3.0f ? 0 : 46);
  }
}

TEST_F(MapCommands, ScaleFaultsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(run("scale", {}), 2, "--factor is required" + kHint));
  EXPECT_TRUE(failedWith(run("scale", {"--factor", "nan"}), 2,
                         "--factor: must be a number from -1e+06 to 1e+06, found nan" + kHint));
  EXPECT_TRUE(failedWith(runTool({"scale", map_, "--factor", "1", "-o", directory_ / "no/m.yaml"}),
                         2, directory_ / "no/m.png" + ": cannot be written"));
}

TEST_F(MapCommands, ScrollMovesTheCellsAndKeepsTheirPlaceInTheWorld) {
  const json result = runJson("scroll", {"--by", "3,-1"});
  const Brin::OccupancyMap before = readMapFile(map_);
  const Brin::OccupancyMap after = readMapFile(out_);
  EXPECT_EQ(result["by"], json({3, -1}));
  EXPECT_EQ(after.getCell(7, 1), 0.0f);  // the obstacle
  EXPECT_EQ(after.getCell(0, 0), 0.5f);  // new
  EXPECT_EQ(after.getCell(9, 4), 0.5f);  // new
  const Brin::Pose2D was = before.getPoseFromPixel({4, 2, 0.0f});
  const Brin::Pose2D is = after.getPoseFromPixel({7, 1, 0.0f});
  EXPECT_NEAR(was.x, is.x, 1e-5f);
  EXPECT_NEAR(was.y, is.y, 1e-5f);
  EXPECT_NEAR(result["origin"][0], 0.75, 1e-5);
  EXPECT_NEAR(result["originBefore"][0], 1.05, 1e-5);
}

TEST_F(MapCommands, ScrollKeepsTheFormOfTheFile) {
  Brin::io::MapFileFormat format;
  format.mode = Brin::io::MapMode::Raw;
  Brin::io::writeMapFile(readMapFile(map_), map_, format);
  ASSERT_EQ(run("scroll", {"--by", "0,0"}).status, 0);
  Brin::io::MapFileFormat written;
  EXPECT_TRUE(sameMap(readMapFile(out_, &written), readMapFile(map_)));
  EXPECT_EQ(written.mode, Brin::io::MapMode::Raw);
}

TEST_F(MapCommands, ScrollTakesShiftsOfAnySize) {
  ASSERT_EQ(run("scroll", {"--by", "2147483647,-2147483648"}).status, 0);
  const Brin::OccupancyMap map = readMapFile(out_);
  EXPECT_EQ(map.getCell(4, 2), 0.5f);
}

TEST_F(MapCommands, ScrollDrawsTheNewCells) {
  ASSERT_EQ(run("scroll", {"--by", "3,1", "--png", directory_ / "scrolled.png"}).status, 0);
  EXPECT_GE(cv::imread(directory_ / "scrolled.png").cols, 1200);
}

TEST_F(MapCommands, ScrollFaultsAreStatus2AndNamed) {
  for (const std::string by : {"1", "1,", "1.5,2", "a,b", "1,2,3", "99999999999,0"}) {
    EXPECT_TRUE(failedWith(run("scroll", {"--by=" + by}), 2,
                           "--by: must be DX,DY in whole cells, found '" + by + "'"));
  }
  EXPECT_TRUE(failedWith(run("scroll", {}), 2, "--by is required" + kHint));
}

// The demonstration, which the three examples begin with, runs but once.
TEST_F(MapCommands, ExamplesOfTheHelpRunAsTheyStand) {
  const WorkIn here(directory_.path());
  const std::vector<std::string> demo = helpExamples("dilate").at(0);
  ASSERT_EQ(runTool(demo).status, 0);
  for (const std::string command : {"dilate", "scale", "scroll"}) {
    const auto examples = helpExamples(command);
    ASSERT_EQ(examples.size(), 2u);
    EXPECT_EQ(examples[0], demo);
    EXPECT_EQ(runTool(examples[1]).status, 0);
  }
}

}  // namespace
}  // namespace korrin_test
