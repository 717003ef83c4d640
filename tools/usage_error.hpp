// What a command throws when it was used wrongly: bad arguments, or a file that cannot be read or
// written. The program then ends with status 2 and prints the message as one line.
#pragma once

#include <stdexcept>

namespace korrin_tool {

// The message names the file or option, the key in it, and what is wrong, in that order:
// "map.yaml: resolution: must be positive, found -0.05".
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace korrin_tool
