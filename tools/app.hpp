// The program as a function, so that tests can call it.
#pragma once

#include <string>
#include <vector>

namespace korrin_tool {

// Runs the program with these arguments (without the program's name) and returns its exit status:
//   0  done
//   1  the answer is no: no plan, nothing found
//   2  bad usage, or a file that cannot be read or written
// Results go to std::cout; whenever the status is not 0, std::cerr gets exactly one line, after
// lines that begin with "korrin: warning: " when there was something to warn of.
int runApp(std::vector<std::string> arguments);

}  // namespace korrin_tool
