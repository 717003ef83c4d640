// korrin demo: what it writes, and that it can be trusted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <opencv2/imgcodecs.hpp>

#include "korrin/io/map_file.hpp"
#include "tests/support/bits.hpp"
#include "tests/tools/tool_run.hpp"
#include "tools/demo/demo.hpp"
#include "tools/pictures/report.hpp"

namespace korrin_test {
namespace {

const std::vector<std::string> kPictures = {"01-floorplan.png", "02-grid.png",  "03-dilated.png",
                                            "04-plan.png",      "05-holes.png", "06-match.png",
                                            "07-scroll.png",    "08-costs.png", "09-obstacles.png"};

int countOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

class DemoCommand : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory_ = new TemporaryDirectory();
    run_ = new ToolRun(runTool({"demo", "--out", *directory_ / "new/demo"}));
  }
  static void TearDownTestSuite() {
    delete directory_;
    delete run_;
  }

  static std::string made(const std::string& name) { return *directory_ / ("new/demo/" + name); }

  static TemporaryDirectory* directory_;
  static ToolRun* run_;
};

TemporaryDirectory* DemoCommand::directory_ = nullptr;
ToolRun* DemoCommand::run_ = nullptr;

TEST_F(DemoCommand, PrintsATableOfItsSteps) {
  EXPECT_EQ(run_->status, 0) << run_->errors;
  EXPECT_EQ(run_->errors, "");
  for (const std::string part :
       {"step ", "drive through the building", "simulate the laser", "build the grid",
        "grow the obstacles", "plan to the far room", " iterations", " waypoints",
        "find openings in a scan", "match two scans", "scroll a map along", "judge the path",
        "find the obstacles' side", "report.html"}) {
    EXPECT_NE(run_->output.find(part), std::string::npos) << part << " in\n" << run_->output;
  }
}

TEST_F(DemoCommand, WritesEveryPictureInAHandySize) {
  for (const std::string& name : kPictures) {
    const cv::Mat picture = cv::imread(made(name));
    EXPECT_GE(picture.cols, 1200) << name;
    EXPECT_LE(picture.cols, 1440) << name;
    EXPECT_GT(picture.rows, 800) << name;
    EXPECT_LT(std::filesystem::file_size(made(name)), 200'000u) << name;
  }
}

TEST_F(DemoCommand, ReportHoldsEveryPictureWithACaptionAndNeedsNoOtherFile) {
  const std::string html = readFile(made("report.html"));
  int pictures = 0;
  for (const auto& file : std::filesystem::directory_iterator(made(""))) {
    if (file.path().extension() != ".png") continue;
    const std::string png = readFile(file.path().string());
    EXPECT_EQ(countOf(html, korrin_tool::base64({png.begin(), png.end()})), 1) << file.path();
    ++pictures;
  }
  EXPECT_EQ(pictures, static_cast<int>(kPictures.size()));
  EXPECT_EQ(countOf(html, "<img "), pictures);
  EXPECT_EQ(countOf(html, "src=\"data:image/png;base64,"), pictures);
  EXPECT_EQ(countOf(html, "src="), pictures);
  EXPECT_EQ(countOf(html, "href="), 0);
  EXPECT_EQ(countOf(html, "url("), 0);
  EXPECT_EQ(countOf(html, "<section"), pictures);
  EXPECT_NE(html.find("<td>plan to the far room</td>"), std::string::npos);
  EXPECT_NE(html.find("width=device-width"), std::string::npos);
}

TEST_F(DemoCommand, WritesTheFloorPlanAndTheGridAsMaps) {
  const Brin::OccupancyMap floor = Brin::io::readMapFile(made("floorplan.yaml"));
  EXPECT_TRUE(sameImage(floor.image, korrin_tool::makeFloorPlan().map.image));
  EXPECT_TRUE(sameParams(floor.params, korrin_tool::makeFloorPlan().map.params));
  EXPECT_TRUE(sameParams(Brin::io::readMapFile(made("grid.yaml")).params, floor.params));
}

TEST_F(DemoCommand, GivesTheSamePicturesEachTime) {
  ASSERT_EQ(runTool({"demo", "--out", *directory_ / "again"}).status, 0);
  for (const std::string& name : kPictures) {
    EXPECT_EQ(readFile(*directory_ / ("again/" + name)), readFile(made(name))) << name;
  }
}

TEST_F(DemoCommand, DirectoryThatCannotBeMadeIsStatus2AndNamed) {
  writeFile(*directory_ / "file", "in the way");
  const std::string out = *directory_ / "file/demo";
  EXPECT_TRUE(failedWith(runTool({"demo", "--out", out}), 2,
                         "--out: cannot make the directory '" + out + "'"));
}

TEST_F(DemoCommand, ExampleOfTheHelpRunsAsItStands) {
  const WorkIn here(directory_->path());
  const auto examples = helpExamples("demo");
  ASSERT_EQ(examples.size(), 1u);
  EXPECT_EQ(runTool(examples[0]).status, 0);
  EXPECT_TRUE(std::filesystem::exists("demo/report.html"));
}

// What the pictures show is true: these look at the demonstration's own state.
class DemoState : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    state_ = new korrin_tool::DemoState();
    korrin_tool::runSections(*state_);
  }
  static void TearDownTestSuite() { delete state_; }

  static korrin_tool::DemoState* state_;
};

korrin_tool::DemoState* DemoState::state_ = nullptr;

TEST_F(DemoState, RobotDrivesOnFreeFloorOnly) {
  ASSERT_GT(state_->drive.size(), 100u);
  for (const Brin::Pose2D& pose : state_->drive) {
    const Brin::Pose2Di cell = state_->floor.map.getPixelFromPose(pose);
    EXPECT_EQ(state_->floor.map.getCell(cell.x, cell.y), 1.0f);
  }
}

TEST_F(DemoState, GridAgreesWithTheBuildingWhereItIsSure) {
  const Brin::OccupancyMap& building = state_->floor.map;
  int sure = 0;
  int wrong = 0;
  for (int y = 0; y < building.params.height; ++y) {
    for (int x = 0; x < building.params.width; ++x) {
      const float value = state_->grid.getCell(x, y);
      if (value > 0.1f && value < 0.9f) continue;
      ++sure;
      // A wall next to the cell is the same within the precision of a beam.
      bool wallNear = false;
      bool freeNear = false;
      for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
          wallNear = wallNear || building.getCell(x + dx, y + dy) == 0.0f;
          freeNear = freeNear || building.getCell(x + dx, y + dy) >= 0.5f;
        }
      }
      wrong += (value < 0.5f ? wallNear : freeNear) ? 0 : 1;
    }
  }
  EXPECT_GT(sure, 90'000);
  EXPECT_LE(wrong, sure / 10'000);
}

TEST_F(DemoState, PathKeepsTheRobotClearOfWhatIsReallyThere) {
  const korrin_tool::Plan& plan = state_->plan;
  ASSERT_GT(plan.path.size(), 100u);
  EXPECT_EQ(plan.blockedCells, 0);
  EXPECT_LT(plan.waypoints.size(), 30u);
  const Brin::OccupancyMap& building = state_->floor.map;
  const int reach = static_cast<int>(state_->settings.robotRadius / building.params.resolution) - 1;
  for (const Brin::Pose2D& pose : plan.path) {
    const Brin::Pose2Di cell = building.getPixelFromPose(pose);
    for (int dy = -reach; dy <= reach; ++dy) {
      for (int dx = -reach; dx <= reach; ++dx) {
        if (dx * dx + dy * dy > reach * reach) continue;
        ASSERT_GT(building.getCell(cell.x + dx, cell.y + dy), 0.0f) << pose.x << ", " << pose.y;
      }
    }
  }
}

// The result of a step in the table.
std::string resultOf(const korrin_tool::DemoState& state, const std::string& step) {
  for (const auto& row : state.table.rows) {
    if (row.at(0) == step) return row.at(1);
  }
  return "no such step";
}

TEST_F(DemoState, ScansMatchWithinAStepOfTheSearch) {
  int tried = 0;
  int thousands = 0;
  float centimetres = 0.0f;
  float degrees = 0.0f;
  const std::string result = resultOf(*state_, "match two scans");
  ASSERT_EQ(std::sscanf(result.c_str(), "%d,%d poses tried, %f cm and %f deg off", &thousands,
                        &tried, &centimetres, &degrees),
            4)
      << result;
  EXPECT_LT(centimetres, 5.0f);
  EXPECT_LT(degrees, 1.0f);
}

TEST_F(DemoState, LowestValueOnThePathIsTold) {
  const Brin::OccupancyMap& grown = state_->planner->grownMap();
  float lowest = 1.0f;
  for (const Brin::Pose2D& pose : state_->plan.path) {
    const Brin::Pose2Di cell = grown.getPixelFromPose(pose);
    lowest = std::min(lowest, grown.getCell(cell.x, cell.y));
  }
  EXPECT_EQ(resultOf(*state_, "judge the path")
                .find("lowest value " + korrin_tool::formatNumber(lowest, 2) + ", mean "),
            0u);
}

TEST_F(DemoState, EverySpotHasItsObstacles) {
  EXPECT_EQ(resultOf(*state_, "find the obstacles' side"), "10 spots");
}

}  // namespace
}  // namespace korrin_test
