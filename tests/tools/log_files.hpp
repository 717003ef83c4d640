// Logs on disk for the tests of the commands.
#pragma once

#include <string>

#include "tests/support/laser_world.hpp"
#include "tests/tools/tool_run.hpp"

namespace korrin_test {

// A log of the two rooms in `directory`: `scans` scans of `beams` beams on the way through both.
inline std::string writeTwoRoomsLog(const TemporaryDirectory& directory, int scans, int beams = 180,
                                    const std::string& name = "office.log") {
  const std::string path = directory / name;
  writeFile(path, LaserWorld::twoRooms().carmenLog(LaserWorld::tourOfTwoRooms(scans), beams));
  return path;
}

// The faults that every command on a log shares: `arguments` are the command's own, without the
// log, which stands after the command's name.
inline void expectLogFaults(const std::vector<std::string>& arguments) {
  const TemporaryDirectory directory;
  const auto run = [&](const std::string& log) {
    std::vector<std::string> all = arguments;
    all.insert(all.begin() + 1, log);
    return runTool(all);
  };
  EXPECT_TRUE(failedWith(run("no/such.log"), 2, "no/such.log: No such file or directory"));
  const std::string empty = directory / "empty.log";
  writeFile(empty, "PARAM nothing here\n");
  EXPECT_TRUE(failedWith(run(empty), 2, empty + ": no laser scans"));
  writeFile(empty, "FLASER 2 1\nFLASER 2 1 x\n");
  EXPECT_TRUE(failedWith(run(empty), 2,
                         empty +
                             ": no laser scans; 2 lines could not be read, the first is line 1: "
                             "FLASER: reading 2: missing"));
}

}  // namespace korrin_test
