// Running the command-line program inside a test, and looking at what it said.
//
//   TemporaryDirectory directory;
//   const ToolRun run = runTool({"plan", directory / "map.yaml", "--from", "1,1", "--to", "2,2"});
//   EXPECT_EQ(run.status, 2);
//   EXPECT_EQ(run.errors, "korrin: ...\n");
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tools/app.hpp"

namespace korrin_test {

// What ends every message about a wrong command line.
inline const std::string kHint = " (korrin --help tells more)";

// A new empty directory that goes with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "korrin-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// Makes a directory the current one for as long as it lives.
class WorkIn {
 public:
  explicit WorkIn(const std::filesystem::path& directory)
      : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~WorkIn() { std::filesystem::current_path(previous_); }
  WorkIn(const WorkIn&) = delete;
  WorkIn& operator=(const WorkIn&) = delete;

 private:
  std::filesystem::path previous_;
};

inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be read");
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::string& path, const std::string& content) {
  std::ofstream file(path, std::ios::binary);
  if (!(file << content)) throw std::runtime_error(path + " cannot be written");
}

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
