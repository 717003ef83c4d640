// The time since it was made, as answers tell it.
#pragma once

#include "tools/stopwatch.hpp"

namespace korrin_tool::serve {

class Timer {
 public:
  double milliseconds() const { return stopwatch_.seconds() * 1e3; }
  double microseconds() const { return stopwatch_.seconds() * 1e6; }

 private:
  Stopwatch stopwatch_;
};

}  // namespace korrin_tool::serve
