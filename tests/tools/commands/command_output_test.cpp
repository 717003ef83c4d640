#include "tools/commands/command_output.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "tests/tools/tool_run.hpp"
#include "tools/progress_bar.hpp"

namespace korrin_test {
namespace {

using korrin_tool::CommandOutput;
using korrin_tool::numberJson;
using korrin_tool::ProgressBar;

std::string delivered(const CommandOutput& output) {
  std::ostringstream text;
  std::streambuf* const before = std::cout.rdbuf(text.rdbuf());
  output.deliver();
  std::cout.rdbuf(before);
  return text.str();
}

TEST(CommandOutput, PrintsLinesAndThenTheTable) {
  CommandOutput output;
  output.line("map", "a.yaml");
  output.line("twelve chars", "x");
  output.table.header = {"n", "v"};
  output.table.rows = {{"1", "22"}};
  const std::string text = delivered(output);
  EXPECT_EQ(text.substr(0, text.find("\n\n") + 2), "map         a.yaml\ntwelve chars x\n\n");
}

TEST(CommandOutput, JsonOnStandardOutputStandsAlone) {
  CommandOutput output;
  output.line("map", "a.yaml");
  output.json["map"] = "a.yaml";
  output.jsonFile = "-";
  EXPECT_EQ(delivered(output), "{\n \"map\": \"a.yaml\"\n}\n");
}

TEST(CommandOutput, NamesOfAnyBytesMakeValidJson) {
  CommandOutput output;
  output.json["map"] = "\xff.yaml";
  output.jsonFile = "-";
  EXPECT_TRUE(nlohmann::json::accept(delivered(output)));
}

TEST(CommandOutput, SavesAPictureAndTellsWhenCellsShareItsPixels) {
  const TemporaryDirectory directory;
  CommandOutput output;
  output.png = directory / "a.png";
  output.savePicture(korrin_tool::Canvas({600, 10, 0.1f}));
  EXPECT_TRUE(std::filesystem::exists(output.png));
  EXPECT_EQ(output.json["picture"].dump(),
            "{\"file\":\"" + output.png + "\",\"pixelsPerCell\":2.0}");
  EXPECT_EQ(delivered(output), "") << "nothing that a reader ought to know";
  output.savePicture(korrin_tool::Canvas({16000, 10, 0.1f}));
  EXPECT_EQ(output.json["picture"]["pixelsPerCell"], 0.25);
  EXPECT_EQ(delivered(output), "picture     drawn at 1/4 of the map's cells\n");
}

TEST(NumberJson, IsAsShortAsTheFloatNeeds) {
  EXPECT_EQ(numberJson(0.1f).dump(), "0.1");
  EXPECT_EQ(numberJson(-81.91f).dump(), "-81.91");
  EXPECT_EQ(numberJson(0.0f).dump(), "0.0");
  EXPECT_EQ(numberJson(16777216.0f).get<float>(), 16777216.0f);
  EXPECT_EQ(numberJson(std::numeric_limits<float>::max()).get<float>(),
            std::numeric_limits<float>::max());
}

TEST(NumberJson, IsNullForWhatIsNoNumber) {
  EXPECT_TRUE(numberJson(std::numeric_limits<float>::quiet_NaN()).is_null());
  EXPECT_TRUE(numberJson(std::numeric_limits<float>::infinity()).is_null());
}

TEST(ProgressBar, FillsFromLeftToRight) {
  EXPECT_EQ(ProgressBar::line("match", 0.0), "match [" + std::string(40, '.') + "]   0 %");
  EXPECT_EQ(ProgressBar::line("match", 0.5),
            "match [" + std::string(20, '#') + std::string(20, '.') + "]  50 %");
  EXPECT_EQ(ProgressBar::line("match", 1.0), "match [" + std::string(40, '#') + "] 100 %");
  EXPECT_EQ(ProgressBar::line("match", 7.0), ProgressBar::line("match", 1.0));
  EXPECT_EQ(ProgressBar::line("match", -1.0), ProgressBar::line("match", 0.0));
}

}  // namespace
}  // namespace korrin_test
