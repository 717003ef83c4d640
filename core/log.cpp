#include "korrin/core/log.hpp"

#include <atomic>
#include <cstdio>

namespace Brin {
namespace {

std::atomic<LogSink> currentSink{nullptr};
static_assert(std::atomic<LogSink>::is_always_lock_free, "logging promises never to block");

const char* levelName(NavLogLevel level) {
  switch (level) {
    case NavLogLevel::Warning:
      return "warning";
    case NavLogLevel::Error:
      return "error";
    case NavLogLevel::Info:
      break;  // never printed
  }
  return "log";
}

void writeToStandardError(const LogRecord& record) {
  if (record.level == NavLogLevel::Info) return;
  // One call a record, so that lines of several threads do not mix.
  std::fprintf(stderr, "korrin %s: %s (%s, %s, line %d)\n", levelName(record.level),
               record.message.c_str(), record.file.c_str(), record.function.c_str(), record.line);
}

}  // namespace

LogSink setLogSink(LogSink sink) { return currentSink.exchange(sink); }

void completeLog(NavLogLevel level, const std::string& message, const std::string& file,
                 const std::string& function, int line) {
  const LogSink sink = currentSink.load();
  const LogRecord record{level, message, file, function, line};
  sink != nullptr ? sink(record) : writeToStandardError(record);
}

}  // namespace Brin
