// Log records: how the library says what its results alone do not.
//
//   Brin::setLogSink([](const Brin::LogRecord& record) { myLogger(record.message); });
//
// Until a sink is set, a warning or an error becomes one line on standard error, and what is at
// level Info is left out: a success prints nothing. Nothing else in the library prints.
#pragma once

#include <cstdint>
#include <string>

#include "korrin/core/export.hpp"

namespace Brin {

// How much a record matters.
enum class NavLogLevel : std::int32_t { Info = 0, Warning = 1, Error = 2 };

// One record: what happened, and which place in the library says so.
struct LogRecord {
  NavLogLevel level;     // Info: nothing went wrong
  std::string message;   // one line, English
  std::string file;      // the component, such as src/occmap_path_finder
  std::string function;  // the function that reports
  int line;              // tells that function's records apart
};

// A receiver of records. It is called on the thread that reports, possibly on several at once.
using LogSink = void (*)(const LogRecord&);

// Routes all records of the process to `sink` from now on and returns the sink before it; null
// stands for the default sink, both ways: one line on standard error for a Warning, an Error or a
// level that has no name, nothing for an Info. Lock-free; safe from any thread. A record that is
// being delivered meanwhile may still reach the old sink.
KORRIN_EXPORT LogSink setLogSink(LogSink sink);

// Delivers one record to the sink. Any level value is passed on as it is. Takes no lock, but for
// what standard error itself takes under the default sink; safe from any thread; what the sink
// throws reaches the caller.
KORRIN_EXPORT void completeLog(NavLogLevel level, const std::string& message,
                               const std::string& file, const std::string& function, int line);

}  // namespace Brin
