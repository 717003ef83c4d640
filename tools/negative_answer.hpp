// What a command throws when it did its work and the answer is no: no plan, no match, nothing
// found. The program then ends with status 1 and prints the message as one line.
#pragma once

#include <stdexcept>

namespace korrin_tool {

class NegativeAnswer : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace korrin_tool
