#include "korrin/mapping/track_file.hpp"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "io/write_file.hpp"

namespace Brin::mapping {
namespace {

bool endsIn(const std::string& path, std::string_view end) {
  return path.size() >= end.size() && path.compare(path.size() - end.size(), end.size(), end) == 0;
}

// With so many digits after the point.
std::string fixedText(double value, int digits) {
  std::array<char, 400> text;  // the largest double has 309 digits before it
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, digits);
  return {text.data(), end.ptr};
}

bool isFinite(const io::LoggedScan& logged) {
  return std::isfinite(logged.time) && std::isfinite(logged.pose.x) &&
         std::isfinite(logged.pose.y) && std::isfinite(logged.pose.theta);
}

std::string tumLine(const io::LoggedScan& logged) {
  const double half = 0.5 * double{logged.pose.theta};
  return fixedText(logged.time, 6) + ' ' + fixedText(logged.pose.x, 6) + ' ' +
         fixedText(logged.pose.y, 6) + " 0 0 0 " + fixedText(std::sin(half), 9) + ' ' +
         fixedText(std::cos(half), 9) + '\n';
}

}  // namespace

void writeTrack(const std::vector<io::LoggedScan>& scans, const std::string& path, float noReturn) {
  if (endsIn(path, ".log") || endsIn(path, ".log.gz")) {
    io::LaserLog log;
    log.scans = scans;
    log.noReturn = noReturn;
    return io::writeLaserLog(log, path);
  }
  std::string text;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    if (!isFinite(scans[i])) {
      throw io::FileError(path, "scan " + std::to_string(i), "a pose or a time that is not finite");
    }
    text += tumLine(scans[i]);
  }
  io::writeFile(path, text);
}

}  // namespace Brin::mapping
