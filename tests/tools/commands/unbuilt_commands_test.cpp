// What a program says that is built without korrin::mapping.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <vector>

#include "tools/commands/commands.hpp"
#include "tools/usage_error.hpp"

namespace {

// What is said to a command, with whatever words come after it.
std::string saidTo(std::vector<std::string> words) {
  CLI::App app("", "korrin");
  korrin_tool::addBuildCommand(app);
  korrin_tool::addPairsCommand(app);
  korrin_tool::addServeCommand(app);
  std::reverse(words.begin(), words.end());
  try {
    app.parse(std::move(words));
  } catch (const korrin_tool::UsageError& error) {
    return error.what();
  }
  return "nothing";
}

TEST(UnbuiltCommands, SayThatTheyAreNotThereWhateverTheyAreGiven) {
  EXPECT_EQ(saidTo({"build"}), "build: this program is built without korrin::mapping");
  EXPECT_EQ(saidTo({"serve", "a.log", "--port", "80"}),
            "serve: this program is built without korrin::mapping");
  EXPECT_EQ(saidTo({"pairs", "--json", "-"}),
            "pairs: this program is built without korrin::mapping");
}

}  // namespace
