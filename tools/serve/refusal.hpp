// What an answer throws when it is none: a status of HTTP and a sentence for people.
#pragma once

#include <stdexcept>
#include <string>

namespace korrin_tool::serve {

class Refusal : public std::runtime_error {
 public:
  Refusal(int status, const std::string& sentence)
      : std::runtime_error(sentence), status_(status) {}

  int status() const { return status_; }

 private:
  int status_;
};

}  // namespace korrin_tool::serve
