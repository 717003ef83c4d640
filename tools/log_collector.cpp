#include "tools/log_collector.hpp"

namespace korrin_tool {
namespace {

// A sink is a plain function, so what it collects lives here.
std::vector<Brin::LogRecord> collected;

}  // namespace

LogCollector::LogCollector()
    : previous_(
          Brin::setLogSink([](const Brin::LogRecord& record) { collected.push_back(record); })) {
  collected.clear();
}

LogCollector::~LogCollector() { Brin::setLogSink(previous_); }

const std::vector<Brin::LogRecord>& LogCollector::records() const { return collected; }

std::string LogCollector::lastMessage() const {
  return collected.empty() ? std::string() : collected.back().message;
}

}  // namespace korrin_tool
