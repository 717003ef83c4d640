// Running the command-line program inside a test, and looking at what it said.
//
//   TemporaryDirectory directory;
//   const ToolRun run = runTool({"plan", directory / "map.yaml", "--from", "1,1", "--to", "2,2"});
//   EXPECT_EQ(run.status, 2);
//   EXPECT_EQ(run.errors, "korrin: ...\n");
#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/files.hpp"
#include "tools/app.hpp"

namespace korrin_test {

// What ends every message about a wrong command line.
inline const std::string kHint = " (korrin --help tells more)";

struct ToolRun {
  int status;
  std::string output;
  std::string errors;
};

inline ToolRun runTool(const std::vector<std::string>& arguments) {
  std::ostringstream output;
  std::ostringstream errors;
  std::streambuf* const outputBefore = std::cout.rdbuf(output.rdbuf());
  std::streambuf* const errorsBefore = std::cerr.rdbuf(errors.rdbuf());
  const int status = korrin_tool::runApp(arguments);
  std::cout.rdbuf(outputBefore);
  std::cerr.rdbuf(errorsBefore);
  return {status, output.str(), errors.str()};
}

// Whether the run ended with `status` and said just one line, with `message` after the name.
inline ::testing::AssertionResult failedWith(const ToolRun& run, int status,
                                             const std::string& message) {
  if (run.status == status && run.errors == "korrin: " + message + "\n") {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "status " << run.status << ", said '" << run.errors
                                       << "', wanted 'korrin: " << message << "'";
}

// The examples in a command's help: its lines that begin with two blanks and "korrin", each split
// into arguments, without the program's name.
inline std::vector<std::vector<std::string>> helpExamples(const std::string& command) {
  std::istringstream help(runTool({command, "--help"}).output);
  std::vector<std::vector<std::string>> examples;
  for (std::string line; std::getline(help, line);) {
    std::istringstream words(line);
    std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
    if (line.rfind("  korrin ", 0) != 0) continue;
    arguments.erase(arguments.begin());
    examples.push_back(arguments);
  }
  return examples;
}

}  // namespace korrin_test
