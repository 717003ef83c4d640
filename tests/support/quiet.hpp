// For tests that make the library and OpenCV complain by the thousand.
#pragma once

#include <opencv2/core/core_c.h>

#include "korrin/core/log.hpp"

namespace korrin_test {

// Drops all records and keeps OpenCV from printing its errors.
class Quiet {
 public:
  Quiet() : sink_(Brin::setLogSink([](const Brin::LogRecord&) {})) {
    cvRedirectError(cvNulDevReport, nullptr, nullptr);
  }
  ~Quiet() {
    cvRedirectError(cvStdErrReport, nullptr, nullptr);
    Brin::setLogSink(sink_);
  }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

 private:
  Brin::LogSink sink_;
};

}  // namespace korrin_test
