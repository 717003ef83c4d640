#include "korrin/mapping/track_file.hpp"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/bits.hpp"
#include "tests/support/files.hpp"

namespace korrin_test {
namespace {

using Brin::io::FileError;
using Brin::io::LoggedScan;
using Brin::mapping::writeTrack;

std::vector<LoggedScan> twoScans() {
  std::vector<LoggedScan> scans(2);
  for (LoggedScan& logged : scans) {
    for (int i = 0; i < 180; ++i) {
      logged.scan.readings.emplace_back(2.0f, 0.017453293f * static_cast<float>(i - 90));
    }
  }
  scans[0].time = 1234567890.25;
  scans[0].pose = {1.5f, -2.0f, 0.0f};
  scans[1].time = 1234567891.5;
  scans[1].pose = {0.125f, 3.0f, 3.14159274f};
  scans[1].robot = {0.0f, 3.0f, 3.0f};
  return scans;
}

TEST(WriteTrack, WritesALineForEachScan) {
  const TemporaryDirectory directory;
  const std::string path = directory / "way.tum";
  writeTrack(twoScans(), path);
  EXPECT_EQ(readFile(path),
            "1234567890.250000 1.500000 -2.000000 0 0 0 0.000000000 1.000000000\n"
            "1234567891.500000 0.125000 3.000000 0 0 0 1.000000000 -0.000000044\n");
}

TEST(WriteTrack, WritesALogWhereTheNameSaysSo) {
  const TemporaryDirectory directory;
  for (const char* name : {"way.log", "way.log.gz"}) {
    writeTrack(twoScans(), directory / name, 81.91f);
    const auto read = Brin::io::readLaserLog(directory / name);
    ASSERT_EQ(read.scans.size(), 2u) << name;
    EXPECT_TRUE(sameBits(read.scans[1].pose, twoScans()[1].pose)) << name;
    EXPECT_TRUE(sameBits(read.scans[1].robot, twoScans()[1].robot)) << name;
    EXPECT_EQ(read.scans[0].time, 1234567890.25) << name;
  }
}

TEST(WriteTrack, NamesWhatIsWrong) {
  const TemporaryDirectory directory;
  std::vector<LoggedScan> scans = twoScans();
  scans[1].pose.y = std::numeric_limits<float>::quiet_NaN();
  try {
    writeTrack(scans, directory / "way.tum");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.place(), "scan 1");
    EXPECT_EQ(error.fault(), "a pose or a time that is not finite");
  }
  EXPECT_THROW(readFile(directory / "way.tum"), std::runtime_error);
  EXPECT_THROW(writeTrack(scans, directory / "way.log"), FileError);
  EXPECT_THROW(writeTrack(twoScans(), directory / "none/way.tum"), FileError);
}

}  // namespace
}  // namespace korrin_test
