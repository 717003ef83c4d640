// The program itself: exit statuses, and one line on standard error whenever it is not 0.
#include "tools/app.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>

#include "tests/tools/tool_run.hpp"

namespace korrin_test {
namespace {

TEST(App, TellsItsVersion) {
  const ToolRun run = runTool({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "korrin " KORRIN_VERSION "\n");
  EXPECT_EQ(run.errors, "");
}

TEST(App, HelpNamesEveryCommandAndEveryCommandHasHelpWithAnExample) {
  const ToolRun help = runTool({"--help"});
  EXPECT_EQ(help.status, 0);
  int commands = 0;
  std::istringstream lines(help.output.substr(help.output.find("Subcommands:\n")));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
    if (line[2] == ' ') continue;  // a description's second line
    const std::string command = line.substr(2, line.find(' ', 2) - 2);
    EXPECT_EQ(runTool({command, "--help"}).status, 0) << command;
    EXPECT_FALSE(helpExamples(command).empty()) << command;
    ++commands;
  }
  EXPECT_GE(commands, 2);
}

TEST(App, BadUsageIsStatus2WithOneLine) {
  EXPECT_TRUE(failedWith(runTool({}), 2, "no command" + kHint));
  const ToolRun unknown = runTool({"dance"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(std::count(unknown.errors.begin(), unknown.errors.end(), '\n'), 1);
  EXPECT_NE(unknown.errors.find("dance"), std::string::npos);
}

TEST(App, OutputThatCannotBeWrittenIsStatus2) {
  std::ostringstream errors;
  std::streambuf* const errorsBefore = std::cerr.rdbuf(errors.rdbuf());
  std::streambuf* const outputBefore = std::cout.rdbuf(nullptr);
  const int status = korrin_tool::runApp({"--version"});
  std::cout.rdbuf(outputBefore);
  std::cerr.rdbuf(errorsBefore);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(errors.str(), "korrin: standard output: cannot be written\n");
}

// What the built program says on both streams, and its exit status.
ToolRun runProgram(const std::string& arguments) {
  const std::string command = std::string(KORRIN_PROGRAM) + " " + arguments + " 2>&1";
  FILE* const pipe = popen(command.c_str(), "r");
  ToolRun run{-1, "", ""};
  if (pipe == nullptr) return run;
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
    run.output += static_cast<char>(c);
  }
  const int status = pclose(pipe);
  if (WIFEXITED(status)) run.status = WEXITSTATUS(status);
  return run;
}

TEST(Program, PassesArgumentsInAndTheStatusOut) {
  EXPECT_EQ(runProgram("--version").status, 0);
  EXPECT_EQ(runProgram("--version").output, "korrin " KORRIN_VERSION "\n");
  const ToolRun nothing = runProgram("");
  EXPECT_EQ(nothing.status, 2);
  EXPECT_EQ(nothing.output, "korrin: no command" + kHint + "\n");
}

TEST(Program, PictureThatCannotBeDecodedIsToldInOneLine) {
  const TemporaryDirectory directory;
  writeFile(directory / "map.yaml",
            "image: map.png\nresolution: 0.1\norigin: [0, 0, 0]\nnegate: 0\n"
            "occupied_thresh: 0.65\nfree_thresh: 0.196\n");
  // The head of a PNG of 1 x 1 pixels, and then nothing.
  writeFile(
      directory / "map.png",
      std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\10\0\0\0\0\x3a\x7e\x9b\x55", 33));
  const ToolRun run = runProgram("plan " + directory / "map.yaml --from 0,0 --to 1,1");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.output, "korrin: " + directory / "map.yaml: image: damaged or cut short: '" +
                            directory / "map.png'\n");
}

TEST(Program, MapFarFromTheWorldsOriginIsWarnedOf) {
  const TemporaryDirectory directory;
  writeFile(directory / "map.yaml",
            "image: map.pgm\nresolution: 1\norigin: [500000, 0, 0]\nnegate: 0\n"
            "occupied_thresh: 0.65\nfree_thresh: 0.196\n");
  writeFile(directory / "map.pgm", "P2\n2 1\n255\n254 254\n");
  const ToolRun run =
      runTool({"query", directory / "map.yaml", "--pose", "500000.5,0.5", "--free", "--json", "-"});
  EXPECT_EQ(run.errors,
            "korrin: warning: " + directory / "map.yaml" +
                ": the origin is more than 10 km from 0, where positions are rounded to a "
                "millimetre or more; use a local origin.\n");
}

}  // namespace
}  // namespace korrin_test
