#include "tools/commands/log_options.hpp"

#include <CLI/CLI.hpp>
#include <charconv>

#include "tools/commands/arguments.hpp"
#include "tools/negative_answer.hpp"
#include "tools/scan_search.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

std::size_t parseBound(const std::string& text, std::size_t whenEmpty, const std::string& range) {
  if (text.empty()) return whenEmpty;
  std::size_t number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end) {
    throw UsageError("--scans: must be A..B, found '" + range + "'");
  }
  return number;
}

std::string lastScanText(const Brin::io::LaserLog& log) {
  return "the last scan is " + std::to_string(log.scans.size() - 1);
}

}  // namespace

void addLogOptions(CLI::App& command, LogOptions& options) {
  command.add_option("log", options.path, "a CARMEN laser log, plain or packed with gzip")
      ->required();
  command
      .add_option("--max-range", options.maxRange,
                  "readings at or beyond this range, in metres, met nothing")
      ->check(positive())
      ->option_text("M");
}

Brin::io::LaserLog openLog(const LogOptions& options) {
  Brin::io::LaserLog log = Brin::io::readLaserLog(options.path, {options.maxRange});
  if (!log.scans.empty()) return log;
  const std::string complaint = log.complaint();
  throw UsageError(options.path + ": no laser scans" + (complaint.empty() ? "" : "; " + complaint));
}

const Brin::io::LoggedScan& scanNumber(const Brin::io::LaserLog& log, std::size_t number,
                                       const char* option) {
  if (number < log.scans.size()) return log.scans[number];
  throw UsageError(std::string(option) + ": " + lastScanText(log) + ", found " +
                   std::to_string(number));
}

std::vector<Brin::Point2D> hitsOf(const LogOptions& options, const Brin::io::LoggedScan& scan,
                                  std::size_t number) {
  std::vector<Brin::Point2D> points = hitPoints(scan.scan);
  if (!points.empty()) return points;
  throw NegativeAnswer(options.path + ": scan " + std::to_string(number) + " hit nothing");
}

std::vector<Brin::io::LoggedScan> scansOfRange(const Brin::io::LaserLog& log,
                                               const std::string& range) {
  const std::size_t dots = range.find("..");
  if (dots == std::string::npos) {
    throw UsageError("--scans: must be A..B, found '" + range + "'");
  }
  const std::size_t first = parseBound(range.substr(0, dots), 0, range);
  const std::size_t last = parseBound(range.substr(dots + 2), log.scans.size() - 1, range);
  if (last >= log.scans.size()) {
    throw UsageError("--scans: " + lastScanText(log) + ", found '" + range + "'");
  }
  if (first > last) throw UsageError("--scans: no scans in '" + range + "'");
  const auto begin = log.scans.begin();
  return {begin + static_cast<std::ptrdiff_t>(first),
          begin + static_cast<std::ptrdiff_t>(last) + 1};
}

void describeLog(const LogOptions& options, const Brin::io::LaserLog& log, CommandOutput& output) {
  const auto scans = static_cast<std::int64_t>(log.scans.size());
  std::string text = options.path + ", " + formatCount(scans) + (scans == 1 ? " scan" : " scans");
  if (log.noReturn > 0.0f) {
    text += ", \"no return\" is " + formatShort(log.noReturn) + " m";
  }
  output.line("log", text);
  output.json["log"] = options.path;
  output.json["scansInLog"] = log.scans.size();
  if (log.noReturn > 0.0f) output.json["noReturn"] = numberJson(log.noReturn);
  output.json["faultyLines"] = log.faultyLines;
  if (log.faultyLines == 0) return;
  output.json["firstFault"] = {{"line", log.firstFaultyLine}, {"fault", log.firstFault}};
  output.line("warning", log.complaint());
}

}  // namespace korrin_tool
