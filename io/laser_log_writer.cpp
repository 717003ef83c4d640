#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

#include "io/laser_log_lines.hpp"
#include "io/number_text.hpp"
#include "io/write_file.hpp"
#include "korrin/io/laser_log.hpp"

namespace Brin::io {
namespace {

// How far a beam may stand from its evenly spaced place, as a share of the step.
constexpr double kUneven = 0.01;

bool isHit(const RangeReading& reading) {
  return reading.status == 0 && reading.range >= 0.0f &&
         reading.range < std::numeric_limits<float>::max();
}

// The range that stands for "no return": the log's own, or a whole number of metres above all hits.
float noReturnOf(const LaserLog& log) {
  float farthest = 0.0f;
  bool anyMissed = false;
  for (const LoggedScan& logged : log.scans) {
    for (const RangeReading& reading : logged.scan.readings) {
      anyMissed = anyMissed || !isHit(reading);
      if (isHit(reading)) farthest = std::max(farthest, reading.range);
    }
  }
  if (!anyMissed) return 0.0f;
  if (std::isfinite(log.noReturn) && log.noReturn > farthest) return log.noReturn;
  return std::max(std::floor(farthest) + 1.0f, std::nextafter(farthest, INFINITY));
}

// Makes the lines of a log and refuses what they cannot hold.
class LineWriter {
 public:
  LineWriter(const std::string& path, float noReturn) : path_(path), noReturn_(noReturn) {}

  std::string lineOf(const LoggedScan& logged, std::size_t number) {
    scan_ = "scan " + std::to_string(number);
    const std::vector<RangeReading>& readings = logged.scan.readings;
    if (readings.empty()) fail("has no readings");
    requireFinite(logged.pose, "the laser's pose");
    requireFinite(logged.robot, "the robot's pose");
    if (!std::isfinite(logged.time)) fail("the time is not finite");
    return standAsFlaser(readings) ? flaser(logged) : robotLaser(logged);
  }

 private:
  [[noreturn]] void fail(const std::string& fault) const { throw FileError(path_, scan_, fault); }

  void requireFinite(const Pose2D& pose, const std::string& whose) const {
    if (std::isfinite(pose.x) && std::isfinite(pose.y) && std::isfinite(pose.theta)) return;
    fail(whose + " is not finite");
  }

  static bool standAsFlaser(const std::vector<RangeReading>& readings) {
    const BeamAngles angles = flaserAngles(readings.size());
    for (std::size_t i = 0; i < readings.size(); ++i) {
      if (readings[i].angle != angles.at(i)) return false;
    }
    return true;
  }

  std::string ranges(const std::vector<RangeReading>& readings) const {
    std::string text = std::to_string(readings.size());
    for (const RangeReading& reading : readings) {
      text += ' ' + shortText(isHit(reading) ? reading.range : noReturn_);
    }
    return text;
  }

  static std::string poseText(const Pose2D& pose) {
    return ' ' + shortText(pose.x) + ' ' + shortText(pose.y) + ' ' + shortText(pose.theta);
  }

  static std::string timeText(double time) {
    return ' ' + shortText(time) + " korrin " + shortText(time) + '\n';
  }

  std::string flaser(const LoggedScan& logged) const {
    return "FLASER " + ranges(logged.scan.readings) + poseText(logged.pose) +
           poseText(logged.robot) + timeText(logged.time);
  }

  std::string robotLaser(const LoggedScan& logged) const {
    const std::vector<RangeReading>& readings = logged.scan.readings;
    const BeamAngles angles = evenAngles(readings);
    const double span = angles.step * static_cast<double>(readings.size() - 1);
    std::string text = "ROBOTLASER1 0 " + shortText(static_cast<float>(angles.start)) + ' ' +
                       shortText(static_cast<float>(span)) + ' ' +
                       shortText(static_cast<float>(angles.step)) + " 0 0 0 " + ranges(readings) +
                       " 0" + poseText(logged.pose) + poseText(logged.robot);
    for (int i = 0; i < kBetweenPoseAndTime; ++i) text += " 0";
    return text + timeText(logged.time);
  }

  // The first angle and the mean step, as the floats that the line holds.
  BeamAngles evenAngles(const std::vector<RangeReading>& readings) const {
    const double last = static_cast<double>(readings.size() - 1);
    const double start = readings.front().angle;
    const double step = last > 0.0 ? (readings.back().angle - start) / last : 0.0;
    const BeamAngles angles{start, static_cast<double>(static_cast<float>(step))};
    for (std::size_t i = 0; i < readings.size(); ++i) {
      const double off = std::abs(double{readings[i].angle} - double{angles.at(i)});
      if (!(off <= kUneven * std::abs(step) + 1e-6)) {
        fail("beam " + std::to_string(i) + ": the beams are not evenly spaced");
      }
    }
    return angles;
  }

  const std::string& path_;
  const float noReturn_;
  std::string scan_;
};

std::string textOf(const LaserLog& log, const std::string& path) {
  const float noReturn = noReturnOf(log);
  std::string text = "# CARMEN log: laser scans with the laser's and the robot's poses\n";
  text += std::string("PARAM ") + kNoReturnParameter + ' ' + shortText(noReturn) + '\n';
  LineWriter lines(path, noReturn);
  for (std::size_t i = 0; i < log.scans.size(); ++i) text += lines.lineOf(log.scans[i], i);
  return text;
}

void writePacked(const std::string& path, const std::string& text) {
  errno = 0;
  const gzFile file = gzopen(path.c_str(), "wb");
  if (file == nullptr) {
    throw FileError(path, "", "cannot be written", errno != 0 ? errno : ENOMEM);
  }
  const bool written = gzfwrite(text.data(), 1, text.size(), file) == text.size();
  const bool closed = gzclose(file) == Z_OK;
  if (!written || !closed) throw FileError(path, "", "cannot be written", errno != 0 ? errno : EIO);
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

void writeLaserLog(const LaserLog& log, const std::string& path) {
  const std::string text = textOf(log, path);
  if (endsWith(path, ".gz")) return writePacked(path, text);
  writeFile(path, text);
}

}  // namespace Brin::io
