// What all commands on a laser log share: which log, and what of it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "korrin/io/laser_log.hpp"
#include "tools/commands/command_output.hpp"

namespace CLI {
class App;
}

namespace korrin_tool {

struct LogOptions {
  std::string path;
  std::optional<float> maxRange;
};

// Adds the log itself and --max-range.
void addLogOptions(CLI::App& command, LogOptions& options);

// Reads the log. One without scans is a UsageError that names it.
Brin::io::LaserLog openLog(const LogOptions& options);

// The scan of this number, counted from 0; one that the log does not have is a UsageError that
// names `option`.
const Brin::io::LoggedScan& scanNumber(const Brin::io::LaserLog& log, std::size_t number,
                                       const char* option);

// The ends of its beams that hit something, in the sensor's frame. A scan that hit nothing is a
// NegativeAnswer that names log and number.
std::vector<Brin::Point2D> hitsOf(const LogOptions& options, const Brin::io::LoggedScan& scan,
                                  std::size_t number);

// The scans of "A..B", both ends included and counted from 0; without A from the first, without B
// to the last one. Anything else is a UsageError that names --scans.
std::vector<Brin::io::LoggedScan> scansOfRange(const Brin::io::LaserLog& log,
                                               const std::string& range);

// Tells of the log in a command's output, and of lines in it that could not be read.
void describeLog(const LogOptions& options, const Brin::io::LaserLog& log, CommandOutput& output);

}  // namespace korrin_tool
