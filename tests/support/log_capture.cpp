#include "support/log_capture.hpp"

#include <mutex>

namespace korrin_test {
namespace {

std::mutex mutex;
std::vector<Brin::LogRecord> captured;

void capture(const Brin::LogRecord& record) {
  const std::lock_guard<std::mutex> lock(mutex);
  captured.push_back(record);
}

}  // namespace

LogCapture::LogCapture() : previous_(Brin::setLogSink(capture)) { clear(); }

LogCapture::~LogCapture() { Brin::setLogSink(previous_); }

std::vector<Brin::LogRecord> LogCapture::records() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return captured;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> lock(mutex);
  captured.clear();
}

}  // namespace korrin_test
