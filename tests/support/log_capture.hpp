// Collects the log records of a test instead of printing them.
//
//   LogCapture log;
//   finder.computePath(...);
//   EXPECT_EQ(log.records().at(0).message, "Start is not free.");
#pragma once

#include <vector>

#include "korrin/core/log.hpp"

namespace korrin_test {

// At most one exists at a time. While it lives, it is the process's sink.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<Brin::LogRecord> records() const;
  void clear();

 private:
  Brin::LogSink previous_;
};

}  // namespace korrin_test
