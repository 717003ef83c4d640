// Reads bytes as a laser log: as text, from a file, from a packed file, and as packed data.
#include <zlib.h>

#include <algorithm>
#include <cmath>

#include "fuzz/fuzz_target.hpp"
#include "korrin/io/laser_log.hpp"
#include "tests/support/files.hpp"

namespace {

using Brin::io::LaserLog;
using korrin_fuzz::Mark;
using korrin_fuzz::require;

const Mark kFlaser("a FLASER line");
const Mark kPosed("a line with its own pose and beams");
const Mark kNoReturn("a range that stands for no return");
const Mark kFaulty("a faulty line");
const Mark kPacked("packed data with a scan");
const Mark kDamaged("damaged packed data");
const Mark kWritten("a log that was written");

bool sameLogs(const LaserLog& a, const LaserLog& b) {
  return korrin_test::sameBits(a.noReturn, b.noReturn) && a.complaint() == b.complaint() &&
         std::equal(a.scans.begin(), a.scans.end(), b.scans.begin(), b.scans.end(),
                    [](const auto& p, const auto& q) {
                      return p.line == q.line && korrin_test::sameBits(p.pose, q.pose) &&
                             korrin_test::sameBits(p.scan.readings, q.scan.readings);
                    });
}

// What the reader promises about every log.
void requireSound(const LaserLog& log) {
  require((log.faultyLines == 0) == log.complaint().empty(), "complaint");
  for (const Brin::io::LoggedScan& logged : log.scans) {
    const Brin::Pose2D& pose = logged.pose;
    require(std::isfinite(pose.x) && std::isfinite(pose.y) && std::isfinite(pose.theta), "pose");
    require(!logged.scan.readings.empty() && logged.line > 0, "scan");
    for (const Brin::RangeReading& reading : logged.scan.readings) {
      require(std::isfinite(reading.range) && reading.range >= 0.0f, "range");
      require(std::isfinite(reading.angle) && (reading.status & ~1) == 0, "angle or status");
    }
  }
}

// What was read can be written and comes back, unless the beams are not evenly spaced; of beams
// that met nothing only that they did.
void writeAndReturn(const std::string& path, const LaserLog& log) {
  try {
    Brin::io::writeLaserLog(log, path);
  } catch (const Brin::io::FileError& error) {
    return require(error.fault().find("not evenly spaced") != std::string::npos, error.what());
  }
  const LaserLog back = Brin::io::readLaserLog(path);
  require(back.complaint().empty() && back.scans.size() == log.scans.size(), "written log");
  for (std::size_t i = 0; i < log.scans.size(); ++i) {
    const Brin::io::LoggedScan& was = log.scans[i];
    const Brin::io::LoggedScan& is = back.scans[i];
    require(korrin_test::sameBits(was.pose, is.pose), "written pose");
    require(korrin_test::sameBits(was.robot, is.robot) && was.time == is.time, "written robot");
    require(std::equal(was.scan.readings.begin(), was.scan.readings.end(), is.scan.readings.begin(),
                       is.scan.readings.end(),
                       [](const Brin::RangeReading& a, const Brin::RangeReading& b) {
                         return a.status == b.status &&
                                (a.status != 0 || korrin_test::sameBits(a.range, b.range));
                       }),
            "written ranges");
  }
  kWritten.count(!log.scans.empty());
}

void readAsFile(const std::string& path, const std::string& bytes, std::optional<float> maxRange) {
  korrin_test::writeFile(path, bytes);
  try {
    const LaserLog log = Brin::io::readLaserLog(path, {maxRange});
    requireSound(log);
    const bool isPacked = bytes.substr(0, 2) == "\x1f\x8b";
    kPacked.count(isPacked && !log.scans.empty());
    if (!isPacked) require(sameLogs(log, Brin::io::parseLaserLog(bytes, {maxRange})), "file");
  } catch (const Brin::io::FileError&) {
    kDamaged.count(true);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const korrin_test::TemporaryDirectory directory;
  // The first byte chooses a maximum range; the rest is the log.
  std::optional<float> maxRange;
  if (size > 0 && data[0] % 4 == 1) maxRange = static_cast<float>(data[0]) / 16.0f;
  const std::string bytes(data + (size > 0 ? 1 : 0), data + size);
  const LaserLog log = Brin::io::parseLaserLog(bytes, {maxRange});
  requireSound(log);
  readAsFile(directory / "plain.log", bytes, {maxRange});
  const std::string packed = directory / "packed.log.gz";
  const gzFile file = gzopen(packed.c_str(), "wb1");
  gzwrite(file, bytes.data(), static_cast<unsigned int>(bytes.size()));
  gzclose(file);
  require(sameLogs(log, Brin::io::readLaserLog(packed, {maxRange})), "packed file");

  writeAndReturn(directory / "written.log", log);

  kFlaser.count(bytes.find("FLASER") != std::string::npos && !log.scans.empty());
  kPosed.count(bytes.find("ROBOTLASER1") != std::string::npos && !log.scans.empty());
  kNoReturn.count(log.noReturn > 0.0f);
  kFaulty.count(log.faultyLines > 0);
  return 0;
}
