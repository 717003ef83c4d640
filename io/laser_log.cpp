#include "korrin/io/laser_log.hpp"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#include "io/laser_log_lines.hpp"

namespace Brin::io {

namespace {

// A longer line is passed over in pieces, so that a file without line ends cannot fill the memory.
constexpr std::size_t kMaxLineLength = std::size_t{1} << 20;
constexpr std::size_t kMaxReadings = 50'000'000;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// The words of one line. The first thing wrong is kept as `fault`; from then on all fields read 0.
class Fields {
 public:
  explicit Fields(std::string_view line) : rest_(line) {}

  std::string_view word() {
    const auto begin = std::find_if_not(rest_.begin(), rest_.end(), isBlank);
    const auto end = std::find_if(begin, rest_.end(), isBlank);
    const std::string_view found(rest_.data() + (begin - rest_.begin()),
                                 static_cast<std::size_t>(end - begin));
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
    return found;
  }

  float number(const std::string& name) {
    float value = 0.0f;
    if (!convert(name, value)) return 0.0f;
    if (std::isfinite(value)) return value;
    fault = name + ": not a finite number";
    return 0.0f;
  }

  float range(const std::string& name) {
    const float value = number(name);
    if (value < 0.0f) fault = name + ": negative";
    return value;
  }

  std::size_t count(const std::string& name) {
    std::uint32_t value = 0;
    return convert(name, value) ? value : 0;
  }

  // A finite number, or nothing: for what need not be there.
  template <typename T>
  std::optional<T> optionalNumber() {
    const std::string_view text = word();
    T value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return std::isfinite(value) ? std::optional<T>(value) : std::nullopt;
  }

  std::string fault;

 private:
  template <typename T>
  bool convert(const std::string& name, T& value) {
    if (!fault.empty()) return false;
    std::string_view text = word();
    if (text.empty()) {
      fault = name + ": missing";
      return false;
    }
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && end == text.data() + text.size()) return true;
    fault = name + ": not a number";
    return false;
  }

  std::string_view rest_;
};

Pose2D readPose(Fields& fields, const std::string& whose) {
  Pose2D pose;
  pose.x = fields.number(whose + " x");
  pose.y = fields.number(whose + " y");
  pose.theta = fields.number(whose + " theta");
  return pose;
}

// The robot's pose and, `between` fields later, the time, as far as the line goes on so.
void readRobotAndTime(Fields& fields, int between, LoggedScan& logged) {
  logged.robot = logged.pose;
  const std::optional<float> x = fields.optionalNumber<float>();
  const std::optional<float> y = fields.optionalNumber<float>();
  const std::optional<float> theta = fields.optionalNumber<float>();
  if (!x || !y || !theta) return;
  logged.robot = Pose2D(*x, *y, *theta);
  for (int i = 0; i < between; ++i) fields.word();
  logged.time = fields.optionalNumber<double>().value_or(0.0);
}

// The ranges after their number. Room is made for those that are there, not for those announced.
std::vector<float> readRanges(Fields& fields) {
  std::vector<float> ranges;
  const std::size_t count = fields.count("number of readings");
  if (fields.fault.empty() && count == 0) fields.fault = "number of readings: 0";
  for (std::size_t i = 0; i < count && fields.fault.empty(); ++i) {
    ranges.push_back(fields.range("reading " + std::to_string(i + 1)));
  }
  return ranges;
}

Scan makeScan(const std::vector<float>& ranges, const BeamAngles& angles) {
  Scan scan;
  scan.readings.reserve(ranges.size());
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    scan.readings.emplace_back(ranges[i], angles.at(i));
  }
  return scan;
}

// Turns lines into scans, one at a time.
class LineReader {
 public:
  explicit LineReader(const std::string& name) : name_(name) {}

  void add(std::string_view line) {
    ++lineNumber_;
    Fields fields(line);
    const std::string_view kind = fields.word();
    LoggedScan logged;
    logged.line = lineNumber_;
    if (kind == "FLASER") {
      readFlaser(fields, logged);
    } else if (kind == "ROBOTLASER1" || kind == "RAWLASER1") {
      readLaser1(fields, logged, kind == "ROBOTLASER1");
    } else if (kind == "ODOM") {
      const Pose2D pose = readPose(fields, "robot");
      if (fields.fault.empty()) odometry_ = pose;
    } else if (kind == "PARAM" && fields.word() == kNoReturnParameter) {
      const float range = fields.range("laser_no_return");
      if (fields.fault.empty()) toldNoReturn_ = range;
    }
    if (!fields.fault.empty()) return complain(kind, fields.fault);
    if (!logged.scan.readings.empty()) keep(std::move(logged));
  }

  void addTooLong() {
    ++lineNumber_;
    complain("line", "longer than " + std::to_string(kMaxLineLength) + " bytes");
  }

  LaserLog finish(std::optional<float> maxRange) {
    findNoReturn();
    for (LoggedScan& logged : log_.scans) {
      for (RangeReading& reading : logged.scan.readings) classify(reading, maxRange);
    }
    return std::move(log_);
  }

 private:
  static void readFlaser(Fields& fields, LoggedScan& logged) {
    const std::vector<float> ranges = readRanges(fields);
    logged.pose = readPose(fields, "laser");
    logged.scan = makeScan(ranges, flaserAngles(ranges.size()));
    readRobotAndTime(fields, 0, logged);
  }

  void readLaser1(Fields& fields, LoggedScan& logged, bool withPoses) const {
    fields.number("laser type");
    const float startAngle = fields.number("start angle");
    fields.number("field of view");
    const float step = fields.number("angular resolution");
    const float maximum = fields.number("maximum range");
    fields.number("accuracy");
    fields.number("remission mode");
    logged.scan = makeScan(readRanges(fields), {double{startAngle}, double{step}});
    for (RangeReading& reading : logged.scan.readings) {
      if (!std::isfinite(reading.angle)) fields.fault = "angular resolution: too large";
      if (maximum > 0.0f && reading.range >= maximum) markNoReturn(reading);
    }
    logged.pose = odometry_;
    logged.robot = odometry_;
    if (withPoses) readPoses(fields, logged);
  }

  static void readPoses(Fields& fields, LoggedScan& logged) {
    const std::size_t remissions = fields.count("number of remissions");
    for (std::size_t i = 0; i < remissions && fields.fault.empty(); ++i) {
      fields.number("remission " + std::to_string(i + 1));
    }
    logged.pose = readPose(fields, "laser");
    readRobotAndTime(fields, kBetweenPoseAndTime, logged);
  }

  static void markNoReturn(RangeReading& reading) {
    reading.status = 1;
    reading.weight = 0.0f;
  }

  void keep(LoggedScan&& logged) {
    readings_ += logged.scan.readings.size();
    if (readings_ > kMaxReadings) throw FileError(name_, "", "more than 50 million readings");
    log_.scans.push_back(std::move(logged));
  }

  void complain(std::string_view kind, const std::string& fault) {
    if (log_.faultyLines++ > 0) return;
    log_.firstFaultyLine = lineNumber_;
    log_.firstFault = std::string(kind) + ": " + fault;
  }

  void findNoReturn() {
    if (toldNoReturn_) {
      log_.noReturn = *toldNoReturn_;
      return;
    }
    float largest = 0.0f;
    std::size_t count = 0;
    for (const LoggedScan& logged : log_.scans) {
      for (const RangeReading& reading : logged.scan.readings) {
        if (reading.range > largest) count = 0;
        largest = std::max(largest, reading.range);
        if (reading.range == largest) ++count;
      }
    }
    if (count >= 2 && count * 1000 >= readings_) log_.noReturn = largest;
  }

  void classify(RangeReading& reading, std::optional<float> maxRange) const {
    if (log_.noReturn > 0.0f && reading.range == log_.noReturn) markNoReturn(reading);
    if (!maxRange || reading.range < *maxRange) return;
    reading.status = 1;
    reading.range = *maxRange;
  }

  const std::string name_;
  LaserLog log_;
  Pose2D odometry_;
  std::optional<float> toldNoReturn_;
  std::size_t lineNumber_ = 0;
  std::size_t readings_ = 0;
};

// Cuts a stream of bytes into lines.
class LineCutter {
 public:
  explicit LineCutter(const std::string& name) : reader_(name) {}

  void add(std::string_view bytes) {
    while (!bytes.empty()) {
      const std::size_t end = std::min(bytes.find('\n'), bytes.size());
      gather(bytes.substr(0, end));
      if (end == bytes.size()) return;
      finishLine();
      bytes.remove_prefix(end + 1);
    }
  }

  LaserLog finish(std::optional<float> maxRange) {
    if (tooLong_ || !line_.empty()) finishLine();
    return reader_.finish(maxRange);
  }

 private:
  void gather(std::string_view piece) {
    tooLong_ = tooLong_ || line_.size() + piece.size() > kMaxLineLength;
    if (!tooLong_) line_.append(piece);
  }

  void finishLine() {
    if (tooLong_) {
      reader_.addTooLong();
    } else {
      reader_.add(line_);
    }
    line_.clear();
    tooLong_ = false;
  }

  LineReader reader_;
  std::string line_;
  bool tooLong_ = false;
};

FileError systemFault(const std::string& path, int error) {
  return {path, "", std::strerror(error), error};
}

struct FileCloser {
  void operator()(gzFile file) const { gzclose(file); }
};

}  // namespace

std::string LaserLog::complaint() const {
  if (faultyLines == 0) return "";
  const std::string line = "line " + std::to_string(firstFaultyLine) + ": " + firstFault;
  if (faultyLines == 1) return "1 line could not be read, " + line;
  return std::to_string(faultyLines) + " lines could not be read, the first is " + line;
}

LaserLog readLaserLog(const std::string& path, const LaserLogOptions& options) {
  errno = 0;
  const std::unique_ptr<gzFile_s, FileCloser> file(gzopen(path.c_str(), "rb"));
  if (!file) throw systemFault(path, errno != 0 ? errno : ENOMEM);
  LineCutter lines(path);
  std::vector<char> buffer(std::size_t{1} << 16);
  for (;;) {
    const int count = gzread(file.get(), buffer.data(), static_cast<unsigned int>(buffer.size()));
    int error = Z_OK;
    gzerror(file.get(), &error);
    if (error == Z_ERRNO) throw systemFault(path, errno != 0 ? errno : EIO);
    if (error != Z_OK) throw FileError(path, "", "damaged gzip data");
    if (count <= 0) return lines.finish(options.maxRange);
    lines.add({buffer.data(), static_cast<std::size_t>(count)});
  }
}

LaserLog parseLaserLog(std::string_view text, const LaserLogOptions& options) {
  LineCutter lines("log");
  lines.add(text);
  return lines.finish(options.maxRange);
}

}  // namespace Brin::io
