// korrin plan: results, exit statuses, and one clear line for every fault.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/map_file.hpp"
#include "tests/support/map_drawing.hpp"
#include "tests/tools/tool_run.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_test {
namespace {

using nlohmann::json;

class PlanCommand : public ::testing::Test {
 protected:
  // A map whose row 0 is the drawing's first, 1 m a cell, the centre of cell (0, 0) at (10, 20).
  void writeMap(const std::vector<std::string>& rows, float heading = 0.0f) {
    Brin::OccupancyMap map = drawMap(rows);
    map.params.origin = {10.0f, 20.0f, heading};
    Brin::io::MapFileFormat format;
    format.mode = Brin::io::MapMode::Raw;
    Brin::io::writeMapFile(map, map_, format);
  }

  ToolRun plan(const std::string& from, const std::string& to,
               const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"plan", map_, "--from", from, "--to", to};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
  }

  json planJson(const std::string& from, const std::string& to,
                std::vector<std::string> more = {}) {
    more.insert(more.end(), {"--json", "-"});
    const ToolRun run = plan(from, to, more);
    EXPECT_EQ(run.status, 0) << run.errors;
    return run.status == 0 ? json::parse(run.output) : json();
  }

  TemporaryDirectory directory_;
  std::string map_ = directory_ / "map.yaml";
};

const std::vector<std::string> kWallWithGap = {"......",  //
                                               ".####.",  //
                                               "......"};

TEST_F(PlanCommand, PrintsMapEndsPathAndWaypoints) {
  writeMap(kWallWithGap);
  const ToolRun run = plan("11,20", "12.2,21.9");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  for (const std::string part :
       {"map.yaml, 6 x 3 cells of 1 m\n", "start       (11.00, 20.00)\n",
        "goal        (12.20, 21.90)\n", "growth      radius 0 m, fade 0 m; unknown cells block\n",
        "path        3.8 m, 4 cells\n", "iterations  ", "time        read ",
        "waypoint  x [m]  y [m]\n1         11.00  20.00\n"}) {
    EXPECT_NE(run.output.find(part), std::string::npos) << part << "in\n" << run.output;
  }
}

TEST_F(PlanCommand, JsonHoldsThePathInTheWorldOfTheMapFile) {
  writeMap(kWallWithGap);
  const json plan = planJson("11,20", "12.2,21.9");
  EXPECT_EQ(plan["map"], map_);
  EXPECT_EQ(plan["path"], json({{11.0, 20.0}, {10.0, 21.0}, {11.0, 22.0}, {12.0, 22.0}}));
  EXPECT_EQ(plan["start"], json({11.0, 20.0}));
  EXPECT_EQ(plan["goal"], json({12.2, 21.9}));
  EXPECT_EQ(plan["startMoved"], 0.0);
  EXPECT_EQ(plan["goalMoved"], 0.0);
  EXPECT_EQ(plan["blockedCells"], 0);
  EXPECT_NEAR(plan["length"], 1.0 + 2.0 * std::sqrt(2.0), 1e-6);
  EXPECT_NEAR(plan["cost"], 1.0 + 2.0 * std::sqrt(2.0), 1e-6);
  EXPECT_GE(plan["iterations"], 4);
  EXPECT_EQ(plan["waypoints"].front(), plan["path"].front());
  EXPECT_EQ(plan["waypoints"].back(), plan["path"].back());
  EXPECT_EQ(plan["timings"].size(), 3u);
  for (const std::string step : {"read", "grow", "plan"}) {
    EXPECT_GE(plan["timings"][step], 0.0);
  }
}

TEST_F(PlanCommand, JsonFileHoldsWhatStandardOutputWouldAndTheTableIsPrinted) {
  writeMap(kWallWithGap);
  const ToolRun run = plan("11,20", "12,22", {"--json", directory_ / "plan.json"});
  EXPECT_EQ(run.output.rfind("map  ", 0), 0u);
  EXPECT_EQ(json::parse(readFile(directory_ / "plan.json"))["path"],
            planJson("11,20", "12,22")["path"]);
}

TEST_F(PlanCommand, TurnedMapsArePlannedInWorldCoordinates) {
  writeMap(kWallWithGap, 1.5707963267948966f);  // columns run up, rows to the left
  const json path = planJson("10,21", "8,22")["path"];
  const std::vector<std::vector<double>> expected = {{10, 21}, {9, 20}, {8, 21}, {8, 22}};
  ASSERT_EQ(path.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_NEAR(path[i][0], expected[i][0], 1e-5);
    EXPECT_NEAR(path[i][1], expected[i][1], 1e-5);
  }
}

TEST_F(PlanCommand, NegativeCoordinatesAreNoOptions) {
  writeMap(kWallWithGap);
  EXPECT_TRUE(failedWith(
      plan("-1,-2.5", "11,20"), 1,
      "no plan from (-1.00, -2.50) to (11.00, 20.00): the start is blocked: "
      "cell (-11, -22) lies outside the map; the nearest free pose is (10, 20, 0), 25.04 m "
      "away"));
}

TEST_F(PlanCommand, StatusIs1AndTheReasonIsToldWithoutAPlan) {
  writeMap({"..#..",  //
            "..#..",  //
            "..#.."});
  EXPECT_TRUE(
      failedWith(plan("12,21", "10,20"), 1,
                 "no plan from (12.00, 21.00) to (10.00, 20.00): the start is blocked: an "
                 "obstacle is there: cell (2, 1) holds 0, and free is from 0.2; the nearest "
                 "free pose is (11, 21, 0), 1.00 m away"));
  EXPECT_TRUE(
      failedWith(plan("10,20", "12,21"), 1,
                 "no plan from (10.00, 20.00) to (12.00, 21.00): the goal is blocked: an "
                 "obstacle is there: cell (2, 1) holds 0, and free is from 0.2; the nearest "
                 "free pose is (11, 21, 0), 1.00 m away"));
  EXPECT_TRUE(
      failedWith(plan("10,20", "14.6,20"), 1,
                 "no plan from (10.00, 20.00) to (14.60, 20.00): the goal is blocked: cell "
                 "(5, 0) lies outside the map; the nearest free pose is (14, 20, 0), 0.60 m "
                 "away"));
  EXPECT_TRUE(failedWith(plan("10,20", "14,20"), 1,
                         "no plan from (10.00, 20.00) to (14.00, 20.00): no way leads from one to "
                         "the other; unknown cells block"));
  EXPECT_TRUE(failedWith(plan("10,20", "14,20", {"--unknown-free"}), 1,
                         "no plan from (10.00, 20.00) to (14.00, 20.00): no way leads from one to "
                         "the other"));
  EXPECT_TRUE(failedWith(plan("10,20", "1e30,20"), 1,
                         "no plan from (10.00, 20.00) to (1e+30, 20.00): the goal is blocked: cell "
                         "(268435456, 0) lies outside the map; no free cell is near"));
}

TEST_F(PlanCommand, EndsTooNearToAnObstacleOrUnknownAreToldAsSuch) {
  writeMap({"#....?"});
  EXPECT_TRUE(failedWith(plan("11,20", "13,20", {"--radius", "1.5"}), 1,
                         "no plan from (11.00, 20.00) to (13.00, 20.00): the start is blocked: an "
                         "obstacle is nearer to cell (1, 0) than the robot's radius; the nearest "
                         "free pose is (12, 20, 0), 1.00 m away"));
  EXPECT_TRUE(
      failedWith(plan("11,20", "15.3,20"), 1,
                 "no plan from (11.00, 20.00) to (15.30, 20.00): the goal is blocked: nobody "
                 "has seen cell (5, 0), and unknown cells block; the nearest free pose is "
                 "(14, 20, 0), 1.30 m away"));
}

TEST_F(PlanCommand, WithoutAPlanNoFileIsWritten) {
  writeMap({".#."});
  EXPECT_EQ(plan("10,20", "12,20", {"--json", directory_ / "p.json", "--png", directory_ / "p.png"})
                .status,
            1);
  EXPECT_FALSE(std::filesystem::exists(directory_ / "p.json"));
  EXPECT_FALSE(std::filesystem::exists(directory_ / "p.png"));
}

TEST_F(PlanCommand, StridesAreFilledCellByCellAndJumpNoWall) {
  writeMap({"...#....",  //
            "...#....",  //
            "...#....",  //
            "........",  //
            "........",  //
            "........"});
  for (const std::string steps : {"simple", "double", "triple"}) {
    const json plan = planJson("11,21", "16,21", {"--neighborhood", steps});
    const json& path = plan["path"];
    bool isRound = false;
    for (std::size_t i = 1; i < path.size(); ++i) {
      EXPECT_LE(std::abs(double(path[i][0]) - double(path[i - 1][0])), 1.0);
      EXPECT_LE(std::abs(double(path[i][1]) - double(path[i - 1][1])), 1.0);
      isRound = isRound || path[i][1] > 22.0;
    }
    EXPECT_TRUE(isRound) << steps;
    EXPECT_EQ(plan["blockedCells"], 0);
  }
  writeMap({"...#....",  //
            "...#....",  //
            "...#...."});
  EXPECT_EQ(plan("10,21", "16,21", {"--neighborhood", "triple"}).status, 1);
}

TEST_F(PlanCommand, TurnCostCountsFromTheHeadingOfTheStart) {
  writeMap({".....",  //
            "..#..",  //
            "....."});
  const auto rowOfTheWay = [&](const std::string& from) {
    return double(planJson(from, "14,21", {"--turn-cost", "5"})["path"][1][1]);
  };
  EXPECT_EQ(rowOfTheWay("11,21,0.8"), 22.0);
  EXPECT_EQ(rowOfTheWay("11,21,-0.8"), 20.0);
}

TEST_F(PlanCommand, StartThatIsTheGoalIsAPathOfOneCell) {
  writeMap(kWallWithGap);
  const json plan = planJson("11,20", "11.2,20.3");
  EXPECT_EQ(plan["path"], json({{11.0, 20.0}}));
  EXPECT_EQ(plan["waypoints"], plan["path"]);
  EXPECT_EQ(plan["iterations"], 1);
  EXPECT_EQ(plan["length"], 0.0);
}

TEST_F(PlanCommand, WeightOneLooksAtFewerCellsThanWeightZero) {
  writeMap(std::vector<std::string>(30, std::string(30, '.')));
  const int greedy = planJson("25,35", "35,35", {"--weight", "1"})["iterations"];
  const int thorough = planJson("25,35", "35,35", {"--weight", "0"})["iterations"];
  EXPECT_EQ(greedy, 11);
  EXPECT_GT(thorough, 200);
}

TEST_F(PlanCommand, ThresholdDecidesWhatBlocks) {
  writeMap({"..3.."});
  EXPECT_EQ(plan("10,20", "14,20").status, 0);
  EXPECT_EQ(plan("10,20", "14,20", {"--threshold", "0.4"}).status, 1);
}

TEST_F(PlanCommand, UnknownCellsBlockUnlessTheyAreFree) {
  writeMap({"..?.."});
  EXPECT_TRUE(failedWith(plan("10,20", "14,20"), 1,
                         "no plan from (10.00, 20.00) to (14.00, 20.00): no way leads from one to "
                         "the other; unknown cells block"));
  const ToolRun run = plan("10,20", "14,20", {"--unknown-free"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_NE(run.output.find("growth      radius 0 m, fade 0 m; unknown cells are free\n"),
            std::string::npos);
}

TEST_F(PlanCommand, AccuracyIsInMillimetres) {
  writeMap(std::vector<std::string>(6, std::string(12, '.')));
  const auto waypoints = [&](const std::string& accuracy) {
    return planJson("10,20", "20,25", {"--accuracy", accuracy})["waypoints"].size();
  };
  EXPECT_GT(waypoints("300"), 2u);
  EXPECT_EQ(waypoints("5000"), 2u);
}

TEST_F(PlanCommand, CoarseSearchesLargerCells) {
  writeMap(std::vector<std::string>(8, std::string(8, '.')));
  const json path = planJson("10,20", "16,26", {"--coarse", "2"})["path"];
  EXPECT_EQ(path, json({{10.0, 20.0}, {12.0, 22.0}, {14.0, 24.0}, {16.0, 26.0}}));
}

TEST_F(PlanCommand, CoarserThanTheMapHasNoFreeStart) {
  writeMap(kWallWithGap);
  EXPECT_EQ(plan("10,20", "11,20", {"--coarse", "50", "--snap", "9"}).status, 1);
}

TEST_F(PlanCommand, RadiusAndFadeKeepThePathOffTheWall) {
  std::vector<std::string> rows(7, ".........###.........");
  rows.insert(rows.end(), 8, ".....................");
  writeMap(rows);
  const auto rowAboveTheBlock = [&](const std::vector<std::string>& more) {
    const json plan = planJson("10,24", "30,24", more);
    for (const json& point : plan["path"]) {
      if (point[0] == 20.0) return double(point[1]) - 20.0;
    }
    return -1.0;
  };
  EXPECT_EQ(rowAboveTheBlock({}), 7.0);
  EXPECT_EQ(rowAboveTheBlock({"--radius", "3"}), 9.0);
  EXPECT_EQ(rowAboveTheBlock({"--radius", "1", "--fade", "4"}), 11.0);
  EXPECT_EQ(rowAboveTheBlock({"--radius", "3", "--fade", "4"}), 13.0);
}

TEST_F(PlanCommand, SnapMovesEndsThatAreNotFreeAndSaysSo) {
  writeMap({"##....",  //
            "##....",  //
            "....##"});
  const ToolRun run = plan("10,21", "15,22", {"--snap", "1.5"});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_NE(run.output.find("start       (10.00, 22.00), moved 1.0 m to the nearest free cell\n"),
            std::string::npos)
      << run.output;
  EXPECT_NE(run.output.find("goal        (15.00, 21.00), moved 1.0 m to the nearest free cell\n"),
            std::string::npos)
      << run.output;
  const json plan = planJson("10,21", "15,22", {"--snap", "1.5"});
  EXPECT_EQ(plan["startMoved"], 1.0);
  EXPECT_EQ(plan["path"].front(), json({10.0, 22.0}));
  EXPECT_EQ(plan["path"].back(), json({15.0, 21.0}));
}

TEST_F(PlanCommand, SnapLeavesFreeEndsAlone) {
  writeMap({"2....."});
  const json plan = planJson("10.3,20.2", "14,20", {"--snap", "5"});
  EXPECT_EQ(plan["start"], json({10.3, 20.2}));
  EXPECT_EQ(plan["startMoved"], 0.0);
}

TEST_F(PlanCommand, SnapGoesNoFartherThanAllowed) {
  writeMap({"###..."});
  EXPECT_EQ(plan("10,20", "14,20", {"--snap", "3"}).status, 0);
  EXPECT_TRUE(
      failedWith(plan("10,20", "14,20", {"--snap", "2.9"}), 1,
                 "no plan from (10.00, 20.00) to (14.00, 20.00): the start is blocked: an "
                 "obstacle is there: cell (0, 0) holds 0, and free is from 0.2; the nearest "
                 "free pose is (13, 20, 0), 3.00 m away"));
}

TEST_F(PlanCommand, PictureShowsThePathWhereItIs) {
  writeMap({"...",  //
            "..."});
  ASSERT_EQ(plan("10,20", "12,20", {"--png", directory_ / "plan.png"}).status, 0);
  const cv::Mat picture = cv::imread(directory_ / "plan.png");
  ASSERT_EQ(picture.cols, 1200);  // 400 pixels a cell
  ASSERT_GT(picture.rows, 800);
  const auto isAt = [&](korrin_tool::Colour colour, int x, int y) {
    return picture.at<cv::Vec3b>(y, x) == cv::Vec3b(colour.blue, colour.green, colour.red);
  };
  EXPECT_TRUE(isAt(korrin_tool::palette::kStart, 200, 600));  // row 0 is the lower one
  EXPECT_TRUE(isAt(korrin_tool::palette::kPath, 600, 600));
  EXPECT_TRUE(isAt(korrin_tool::palette::kGoal, 1000, 600));
}

TEST_F(PlanCommand, PictureIsCutToWhatIsKnownAndPlanned) {
  std::vector<std::string> rows(60, std::string(100, '?'));
  rows[30] = std::string(40, '?') + std::string(20, '.') + std::string(40, '?');
  writeMap(rows);
  ASSERT_EQ(plan("50,50", "69,50", {"--png", directory_ / "plan.png"}).status, 0);
  const cv::Mat picture = cv::imread(directory_ / "plan.png");
  EXPECT_EQ(picture.cols, 1200);  // 40 columns of 30 pixels
  EXPECT_EQ(picture.at<cv::Vec3b>(10 * 30 + 15, 20 * 30), cv::Vec3b(178, 114, 0));  // on the path
}

TEST_F(PlanCommand, BadOptionsAreStatus2AndNamed) {
  writeMap(kWallWithGap);
  const std::vector<std::tuple<std::string, std::string, std::string>> faults = {
      {"--neighborhood", "big", "must be one of simple, double, triple, found big" + kHint},
      {"--weight", "1.5", "must be a number from 0 to 1, found 1.5" + kHint},
      {"--weight", "nan", "must be a number from 0 to 1, found nan" + kHint},
      {"--threshold", "-0.1", "must be a number from 0 to 1, found -0.1" + kHint},
      {"--coarse", "0", "must be a number from 1 to 1000, found 0" + kHint},
      {"--radius", "-1", "must be a finite number, at least 0, found -1" + kHint},
      {"--fade", "inf", "must be a finite number, at least 0, found inf" + kHint},
      {"--accuracy", "x", "must be a finite number, at least 0, found x" + kHint},
      {"--turn-cost", "-1", "must be a finite number, at least 0, found -1" + kHint},
      {"--snap", "1e99", "must be a finite number, at least 0, found 1e99" + kHint},
  };
  for (const auto& [option, value, fault] : faults) {
    EXPECT_TRUE(failedWith(plan("11,20", "12,22", {option, value}), 2, option + ": " + fault));
  }
  EXPECT_EQ(plan("11,20", "12,22", {"--coarse", "1.5"}).status, 2);
  EXPECT_TRUE(failedWith(plan("11,20", "12,22", {"--threshold", "0"}), 2,
                         "--threshold is 0, below which is no cell"));
  EXPECT_TRUE(failedWith(plan("11,20", "12,22", {"--radius", "900", "--fade", "200"}), 2,
                         "--radius and --fade are more than 1000 cells of the map"));
}

TEST_F(PlanCommand, GrowthAndSettingsAreTold) {
  writeMap({"......",  //
            ".####.",  //
            "......",  //
            "......"});
  const std::vector<std::string> sizes = {"--radius", "1.1", "--fade", "2.5"};
  const json grown = planJson("10,23", "15,23", sizes);
  EXPECT_EQ(grown["growth"], json({{"kind", "linear"}, {"radius", 1.1}, {"fade", 2.5}}));
  EXPECT_EQ(plan("12,22", "15,23", sizes).status, 1) << "its cell is within the radius";
  EXPECT_NE(plan("10,23", "15,23", sizes)
                .output.find("growth      radius 1.1 m, fade 2.5 m; unknown cells block\n"),
            std::string::npos);
  const json plain = planJson("10,23", "15,23", {"--neighborhood", "double", "--accuracy", "50"});
  EXPECT_EQ(plain["growth"], nullptr);
  EXPECT_EQ(plain["settings"], json({{"radius", 0.0},
                                     {"fade", 0.0},
                                     {"unknownFree", false},
                                     {"threshold", 0.2},
                                     {"weight", 0.5},
                                     {"neighborhood", "double"},
                                     {"coarse", 1},
                                     {"turnCost", 0.0},
                                     {"accuracy", 50.0}}));
}

TEST_F(PlanCommand, PictureOfALargeMapIsReducedAndThatIsTold) {
  writeMap(std::vector<std::string>(3, std::string(4100, '.')));
  const ToolRun run = plan("11,20", "4000,22", {"--png", directory_ / "plan.png"});
  EXPECT_NE(run.output.find("picture     drawn at 1/2 of the map's cells\n"), std::string::npos)
      << run.output << run.errors;
  EXPECT_EQ(cv::imread(directory_ / "plan.png").cols, 2050);
  const json plan = planJson("11,20", "4000,22", {"--png", directory_ / "plan.png"});
  EXPECT_EQ(plan["picture"], json({{"file", directory_ / "plan.png"}, {"pixelsPerCell", 0.5}}));
  EXPECT_FALSE(planJson("11,20", "4000,22").contains("picture"));
}

TEST_F(PlanCommand, EndsThatAreNoPointsAreStatus2AndNamed) {
  writeMap(kWallWithGap);
  const std::vector<std::pair<std::string, std::string>> faults = {
      {"11", "must be X,Y or X,Y,THETA, found '11'"},
      {"1,2,3,4", "must be X,Y or X,Y,THETA, found '1,2,3,4'"},
      {"1,b", "not a number: 'b' in '1,b'"},
      {"1,2x", "not a number: '2x' in '1,2x'"},
      {"1,nan", "not a number: 'nan' in '1,nan'"},
      {"inf,1", "not a number: 'inf' in 'inf,1'"},
      {"1,1e99", "not a number: '1e99' in '1,1e99'"},
  };
  for (const auto& [text, fault] : faults) {
    EXPECT_TRUE(failedWith(plan(text, "11,20"), 2, "--from: " + fault));
    EXPECT_TRUE(failedWith(plan("11,20", text), 2, "--to: " + fault));
  }
  EXPECT_EQ(plan("11,20,0.5", "12,22").status, 0);
}

TEST_F(PlanCommand, MissingArgumentsAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(runTool({"plan"}), 2, "map is required" + kHint));
  EXPECT_TRUE(failedWith(runTool({"plan", "m.yaml"}), 2, "--from is required" + kHint));
  EXPECT_TRUE(
      failedWith(runTool({"plan", "m.yaml", "--from", "1,1"}), 2, "--to is required" + kHint));
}

TEST_F(PlanCommand, FilesThatCannotBeReadOrWrittenAreStatus2AndNamed) {
  EXPECT_TRUE(failedWith(plan("11,20", "12,22"), 2, map_ + ": cannot be read"));
  writeMap(kWallWithGap);
  for (const std::string option : {"--png", "--json"}) {
    const std::string path = directory_ / "no/file";
    EXPECT_TRUE(
        failedWith(plan("11,20", "12,22", {option, path}), 2, path + ": cannot be written"));
  }
}

TEST_F(PlanCommand, ExamplesOfTheHelpRunAsTheyStand) {
  const WorkIn here(directory_.path());
  const auto examples = helpExamples("plan");
  ASSERT_EQ(examples.size(), 2u);
  for (const auto& example : examples) {
    const ToolRun run = runTool(example);
    EXPECT_EQ(run.status, 0) << run.errors;
  }
  EXPECT_TRUE(std::filesystem::exists("plan.png"));
}

}  // namespace
}  // namespace korrin_test
