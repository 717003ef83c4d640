// Keeps the library's log records instead of printing them, so that a command can tell the user
// in one line what went wrong.
//
//   LogCollector log;
//   finder.computePath(start, goal, path);
//   if (path.empty()) throw NegativeAnswer(log.lastMessage());
#pragma once

#include <string>
#include <vector>

#include "korrin/core/log.hpp"

namespace korrin_tool {

// At most one lives at a time, on one thread; the sink before it returns when it goes.
class LogCollector {
 public:
  LogCollector();
  ~LogCollector();
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  const std::vector<Brin::LogRecord>& records() const;
  std::string lastMessage() const;  // empty when there is none

 private:
  Brin::LogSink previous_;
};

}  // namespace korrin_tool
