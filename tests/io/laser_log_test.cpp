#include "korrin/io/laser_log.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "support/bits.hpp"
#include "support/laser_world.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::io::FileError;
using Brin::io::LaserLog;
using Brin::io::parseLaserLog;
using Brin::io::readLaserLog;
using korrin_test::flaserLine;
using korrin_test::LaserWorld;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr float kDegree = 0.0174532925f;

std::vector<float> rising(int count) {
  std::vector<float> ranges;
  for (int i = 0; i < count; ++i) ranges.push_back(1.0f + 0.01f * static_cast<float>(i));
  return ranges;
}

std::string flaser(int beams) { return flaserLine(rising(beams), {1.0f, 2.0f, 0.5f}); }

std::string temporaryFile(const std::string& name, const std::string& bytes) {
  const std::string path = ::testing::TempDir() + "laser_log_test_" + name;
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

std::string gzipFile(const std::string& name, const std::string& text) {
  const std::string path = ::testing::TempDir() + "laser_log_test_" + name;
  gzFile file = gzopen(path.c_str(), "wb");
  gzwrite(file, text.data(), static_cast<unsigned int>(text.size()));
  gzclose(file);
  return path;
}

TEST(LaserLog, flaserHasItsReadingsAndTheLaserPose) {
  const LaserLog log = parseLaserLog("FLASER 3 1.5 2.25 3 4 5 0.5 9 9 9 12.5 host 12.5\n");
  ASSERT_EQ(log.scans.size(), 1u);
  const Brin::io::LoggedScan& logged = log.scans[0];
  ASSERT_EQ(logged.scan.readings.size(), 3u);
  EXPECT_EQ(logged.scan.readings[1].range, 2.25f);
  EXPECT_EQ(logged.scan.readings[1].status, 0);
  EXPECT_EQ(logged.scan.readings[1].weight, 1.0f);
  EXPECT_EQ(logged.pose.x, 4.0f);
  EXPECT_EQ(logged.pose.y, 5.0f);
  EXPECT_EQ(logged.pose.theta, 0.5f);
  EXPECT_EQ(logged.line, 1u);
  EXPECT_EQ(log.complaint(), "");
}

struct Fan {
  int beams;
  float stepDegrees;
  float lastDegrees;
};

class FlaserFan : public ::testing::TestWithParam<Fan> {};

TEST_P(FlaserFan, runsFromTheRightToTheLeft) {
  const auto [beams, stepDegrees, lastDegrees] = GetParam();
  const Brin::Scan scan = parseLaserLog(flaser(beams)).scans.at(0).scan;
  ASSERT_EQ(scan.readings.size(), static_cast<std::size_t>(beams));
  EXPECT_NEAR(scan.readings.front().angle, -90.0f * kDegree, 1e-6f);
  EXPECT_NEAR(scan.readings[1].angle, (-90.0f + stepDegrees) * kDegree, 1e-6f);
  EXPECT_NEAR(scan.readings.back().angle, lastDegrees * kDegree, 1e-6f);
}

INSTANTIATE_TEST_SUITE_P(BeamCounts, FlaserFan,
                         ::testing::Values(Fan{180, 1.0f, 89.0f}, Fan{181, 1.0f, 90.0f},
                                           Fan{360, 0.5f, 89.5f}, Fan{361, 0.5f, 90.0f},
                                           Fan{5, 45.0f, 90.0f}, Fan{2, 180.0f, 90.0f}));

TEST(LaserLog, aSingleBeamPointsToTheRight) {
  const LaserLog log = parseLaserLog(flaser(1));
  EXPECT_NEAR(log.scans.at(0).scan.readings.at(0).angle, -90.0f * kDegree, 1e-6f);
}

TEST(LaserLog, robotLaserHasItsOwnAnglesAndPose) {
  const LaserLog log = parseLaserLog(
      "ROBOTLASER1 0 -1.5 3.0 0.75 20 0.01 0 5 1 2 3 4 20 2 7 8 10 11 0.25 12 13 0.5 0 0 0 0 0\n");
  ASSERT_EQ(log.scans.size(), 1u) << log.complaint();
  const Brin::io::LoggedScan& logged = log.scans[0];
  ASSERT_EQ(logged.scan.readings.size(), 5u);
  EXPECT_EQ(logged.scan.readings[0].angle, -1.5f);
  EXPECT_EQ(logged.scan.readings[3].angle, 0.75f);
  EXPECT_EQ(logged.pose.x, 10.0f);
  EXPECT_EQ(logged.pose.theta, 0.25f);
}

TEST(LaserLog, robotLaserAtItsOwnMaximumRangeIsNoReturn) {
  const LaserLog log =
      parseLaserLog("ROBOTLASER1 0 -1.5 3.0 0.75 20 0.01 0 3 19.99 20 21 0 1 2 3 1 2 3\n");
  const auto& readings = log.scans.at(0).scan.readings;
  EXPECT_EQ(readings[0].status, 0);
  EXPECT_EQ(readings[1].status, 1);
  EXPECT_EQ(readings[1].weight, 0.0f);
  EXPECT_EQ(readings[2].status, 1);
  EXPECT_EQ(readings[2].range, 21.0f);
}

TEST(LaserLog, rawLaserTakesThePoseOfTheLastOdometryBeforeIt) {
  const std::string laser = "RAWLASER1 0 -1.5 3.0 0.75 80 0.01 0 2 1 2 0 1.0 host 1.0\n";
  const LaserLog log =
      parseLaserLog(laser + "ODOM 1 2 3 0 0 0\n" + laser + "ODOM 4 5 x\nODOM 7 8 9\n" + laser);
  ASSERT_EQ(log.scans.size(), 3u);
  EXPECT_EQ(log.scans[0].pose.x, 0.0f);
  EXPECT_EQ(log.scans[1].pose.x, 1.0f);
  EXPECT_EQ(log.scans[2].pose.x, 7.0f);
  EXPECT_EQ(log.scans[2].pose.theta, 9.0f);
  EXPECT_EQ(log.faultyLines, 1u);
}

TEST(LaserLog, robotPoseAndTimeAreReadWhereTheLineHasThem) {
  const auto first = [](const std::string& line) { return parseLaserLog(line).scans.at(0); };
  const Brin::io::LoggedScan flaser = first("FLASER 1 9 4 5 0.5 1 2 0.25 976052890.25 host 7\n");
  EXPECT_TRUE(korrin_test::sameBits(flaser.robot, {1.0f, 2.0f, 0.25f}));
  EXPECT_EQ(flaser.time, 976052890.25);
  const Brin::io::LoggedScan robotLaser =
      first("ROBOTLASER1 0 0 1 0.1 9 0 0 1 2 0 4 5 0.5 1 2 0.25 0 0 0 0 0 33.5 host 33.5\n");
  EXPECT_TRUE(korrin_test::sameBits(robotLaser.robot, {1.0f, 2.0f, 0.25f}));
  EXPECT_EQ(robotLaser.time, 33.5);
  const Brin::io::LoggedScan raw = first("ODOM 1 2 0.25\nRAWLASER1 0 0 1 0.1 9 0 0 1 2\n");
  EXPECT_TRUE(korrin_test::sameBits(raw.robot, {1.0f, 2.0f, 0.25f}));
}

TEST(LaserLog, withoutThemTheRobotStandsWhereTheLaserIsAtTheTimeZero) {
  for (const char* const rest : {"", " 1 2", " 1 2 x 3", " 1 2 inf 3 host 3", " 1 2 1e99 3"}) {
    const LaserLog log = parseLaserLog(std::string("FLASER 1 9 4 5 0.5") + rest + "\n");
    EXPECT_EQ(log.complaint(), "") << rest;
    EXPECT_TRUE(korrin_test::sameBits(log.scans.at(0).robot, {4.0f, 5.0f, 0.5f})) << rest;
    EXPECT_EQ(log.scans.at(0).time, 0.0) << rest;
  }
  EXPECT_EQ(parseLaserLog("FLASER 1 9 4 5 0.5 1 2 3 nan\n").scans.at(0).time, 0.0);
}

TEST(LaserLog, aParameterTellsWhatStandsForNoReturn) {
  const std::string scan = flaserLine({9.0f, 9.0f, 5.0f}, {});
  EXPECT_EQ(parseLaserLog(scan).noReturn, 9.0f);
  const LaserLog told = parseLaserLog(scan + "PARAM laser_no_return 5\n");
  EXPECT_EQ(told.noReturn, 5.0f);
  EXPECT_EQ(told.scans.at(0).scan.readings[0].status, 0);
  EXPECT_EQ(told.scans.at(0).scan.readings[2].status, 1);
  const LaserLog none = parseLaserLog("PARAM laser_no_return 0\n" + scan);
  EXPECT_EQ(none.noReturn, 0.0f);
  EXPECT_EQ(none.scans.at(0).scan.readings[0].status, 0);
  EXPECT_EQ(parseLaserLog(scan + "PARAM laser_no_return soon\n").complaint(),
            "1 line could not be read, line 2: PARAM: laser_no_return: not a number");
}

TEST(LaserLog, otherLinesArePassedOver) {
  const LaserLog log =
      parseLaserLog("# FLASER 3\n\nPARAM laser on\nFLASERS 1\nRLASER 2 1 1\n\r\n" + flaser(3));
  EXPECT_EQ(log.scans.size(), 1u);
  EXPECT_EQ(log.scans[0].line, 7u);
  EXPECT_EQ(log.faultyLines, 0u);
}

TEST(LaserLog, tabsCarriageReturnsSignsAndAMissingLastLineEndAreFine) {
  const LaserLog log = parseLaserLog("FLASER\t2 +1.5  2e0 -1 -2.5 .5\r\nFLASER 1 1 0 0 0");
  ASSERT_EQ(log.scans.size(), 2u) << log.complaint();
  EXPECT_EQ(log.scans[0].scan.readings[0].range, 1.5f);
  EXPECT_EQ(log.scans[0].scan.readings[1].range, 2.0f);
  EXPECT_EQ(log.scans[0].pose.y, -2.5f);
}

struct Faulty {
  const char* line;
  const char* fault;
};

class FaultyLine : public ::testing::TestWithParam<Faulty> {};

TEST_P(FaultyLine, isCountedAndTheRestIsUsed) {
  const LaserLog log = parseLaserLog(flaser(3) + GetParam().line + "\n" + flaser(3));
  EXPECT_EQ(log.scans.size(), 2u);
  EXPECT_EQ(log.faultyLines, 1u);
  EXPECT_EQ(log.firstFaultyLine, 2u);
  EXPECT_EQ(log.complaint(), std::string("1 line could not be read, line 2: ") + GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, FaultyLine,
    ::testing::Values(
        Faulty{"FLASER", "FLASER: number of readings: missing"},
        Faulty{"FLASER x", "FLASER: number of readings: not a number"},
        Faulty{"FLASER -1 0 0 0", "FLASER: number of readings: not a number"},
        Faulty{"FLASER 1.5 1 0 0 0", "FLASER: number of readings: not a number"},
        Faulty{"FLASER 0 0 0 0", "FLASER: number of readings: 0"},
        Faulty{"FLASER 99999999999 1 0 0 0", "FLASER: number of readings: not a number"},
        Faulty{"FLASER 4000000000 1 0 0", "FLASER: reading 4: missing"},
        Faulty{"FLASER 2 1 1m 0 0 0", "FLASER: reading 2: not a number"},
        Faulty{"FLASER 2 1 -0.5 0 0 0", "FLASER: reading 2: negative"},
        Faulty{"FLASER 2 nan 1 0 0 0", "FLASER: reading 1: not a finite number"},
        Faulty{"FLASER 2 1 inf 0 0 0", "FLASER: reading 2: not a finite number"},
        Faulty{"FLASER 2 1 1e99 0 0 0", "FLASER: reading 2: not a number"},
        Faulty{"FLASER 2 1 1 0 0", "FLASER: laser theta: missing"},
        Faulty{"FLASER 2 1 1 0 inf 0", "FLASER: laser y: not a finite number"},
        Faulty{"FLASER 1 +-1 0 0 0", "FLASER: reading 1: not a number"},
        Faulty{"ODOM 1 2", "ODOM: robot theta: missing"},
        Faulty{"RAWLASER1 0 0 0 0 0 0", "RAWLASER1: remission mode: missing"},
        Faulty{"RAWLASER1 0 0 0 3e38 0 0 0 3 1 1 1", "RAWLASER1: angular resolution: too large"},
        Faulty{"ROBOTLASER1 0 0 0 1 0 0 0 1 1 2 5 0 0 0", "ROBOTLASER1: laser theta: missing"}));

TEST(LaserLog, severalFaultsNameTheFirst) {
  const LaserLog log = parseLaserLog("FLASER\nODOM\nFLASER 1 x\n");
  EXPECT_EQ(log.complaint(),
            "3 lines could not be read, the first is line 1: FLASER: number of readings: missing");
}

TEST(LaserLog, aLineWithoutEndIsOneFaultyLine) {
  const std::string endless(3'000'000, 'F');
  const LaserLog log = parseLaserLog(endless + "\n" + flaser(3));
  EXPECT_EQ(log.scans.size(), 1u);
  EXPECT_EQ(log.scans[0].line, 2u);
  EXPECT_EQ(log.faultyLines, 1u);
  EXPECT_THAT(log.complaint(), HasSubstr("line 1: line: longer than 1048576 bytes"));
}

TEST(LaserLog, theLargestRangeIsNoReturnWhenOneReadingInAThousandHasIt) {
  std::vector<float> ranges(2000, 1.0f);
  ranges[7] = ranges[8] = 50.0f;
  ranges[9] = 49.0f;
  const LaserLog log = parseLaserLog(flaserLine(ranges, {}));
  EXPECT_EQ(log.noReturn, 50.0f);
  EXPECT_EQ(log.scans[0].scan.readings[7].status, 1);
  EXPECT_EQ(log.scans[0].scan.readings[7].weight, 0.0f);
  EXPECT_EQ(log.scans[0].scan.readings[9].status, 0);
  EXPECT_EQ(log.scans[0].scan.readings[9].weight, 1.0f);

  ranges.push_back(1.0f);  // now fewer than one in a thousand
  const LaserLog rarer = parseLaserLog(flaserLine(ranges, {}));
  EXPECT_EQ(rarer.noReturn, 0.0f);
  EXPECT_EQ(rarer.scans[0].scan.readings[7].status, 0);
}

TEST(LaserLog, aSingleLargestRangeIsAReading) {
  EXPECT_EQ(parseLaserLog(flaser(3)).noReturn, 0.0f);
}

TEST(LaserLog, theNoReturnRangeIsThatOfTheWholeLog) {
  const LaserLog log =
      parseLaserLog(flaserLine({5.0f, 5.0f, 1.0f}, {}) + flaserLine({9.0f, 9.0f, 5.0f}, {}));
  EXPECT_EQ(log.noReturn, 9.0f);
  EXPECT_EQ(log.scans[0].scan.readings[0].status, 0);
  EXPECT_EQ(log.scans[1].scan.readings[1].status, 1);
}

TEST(LaserLog, readingsAtOrBeyondTheMaximumRangeAreNoHitsCutToIt) {
  const std::string text = flaserLine({3.99f, 4.0f, 4.01f, 80.0f, 80.0f}, {});
  const auto readings = parseLaserLog(text, {4.0f}).scans.at(0).scan.readings;
  EXPECT_EQ(readings[0].status, 0);
  EXPECT_EQ(readings[0].range, 3.99f);
  for (std::size_t i = 1; i < 5; ++i) {
    EXPECT_EQ(readings[i].status, 1);
    EXPECT_EQ(readings[i].range, 4.0f);
  }
  EXPECT_EQ(readings[2].weight, 1.0f);  // the way to 4 m was seen to be free
  EXPECT_EQ(readings[3].weight, 0.0f);  // nothing is known about it
}

TEST(LaserLog, plainAndPackedFilesReadAlike) {
  const std::string text = LaserWorld::twoRooms().carmenLog(LaserWorld::tourOfTwoRooms(30), 180);
  const LaserLog plain = readLaserLog(temporaryFile("plain.log", text));
  const LaserLog packed = readLaserLog(gzipFile("packed.log.gz", text));
  ASSERT_EQ(plain.scans.size(), 30u);
  ASSERT_EQ(packed.scans.size(), 30u);
  for (std::size_t i = 0; i < 30; ++i) {
    EXPECT_EQ(plain.scans[i].pose.x, packed.scans[i].pose.x);
    EXPECT_EQ(plain.scans[i].line, packed.scans[i].line);
    EXPECT_EQ(plain.scans[i].scan.readings.back().range,
              packed.scans[i].scan.readings.back().range);
  }
}

void expectFileError(const std::string& path, const std::string& message) {
  try {
    readLaserLog(path);
    ADD_FAILURE() << path << " was read";
  } catch (const FileError& error) {
    EXPECT_THAT(error.what(), StartsWith(path + ": " + message));
  }
}

TEST(LaserLog, aFileThatCannotBeReadIsAFileErrorThatNamesIt) {
  expectFileError("no/such.log", "No such file");
  expectFileError(::testing::TempDir(), "Is a directory");
}

TEST(LaserLog, aDamagedPackingIsAFileErrorThatNamesTheFile) {
  const std::string path = gzipFile("whole.gz", flaser(180) + flaser(180));
  std::string bytes(static_cast<std::size_t>(std::filesystem::file_size(path)), '\0');
  std::ifstream(path, std::ios::binary)
      .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  expectFileError(temporaryFile("cut.gz", bytes.substr(0, bytes.size() / 2)), "damaged gzip data");
  bytes[bytes.size() - 6] = static_cast<char>(~bytes[bytes.size() - 6]);  // the checksum
  expectFileError(temporaryFile("bad.gz", bytes), "damaged gzip data");
}

// Good lines with bytes knocked out, doubled and inserted: whatever comes of it is finite.
TEST(LaserLog, anyBytesAreRead) {
  korrin_test::RandomInputs random(20261121);
  const std::string good = flaser(20) + "ODOM 1 2 3 4 5 6\n" +
                           "ROBOTLASER1 0 -1.5 3 0.5 20 0.1 0 3 1 2 3 1 9 4 5 6 7 8 9\n" +
                           "RAWLASER1 0 -1.5 3 0.5 20 0.1 0 3 1 2 3 0 4 5 6\n";
  int scans = 0;
  int faults = 0;
  for (int round = 0; round < 5000; ++round) {
    std::string bytes = good;
    for (int i = random.between(0, 8); i > 0; --i) {
      const auto at =
          static_cast<std::size_t>(random.between(0, static_cast<int>(bytes.size()) - 1));
      if (random.chance(0.4)) bytes[at] = static_cast<char>(random.bits());
      if (random.chance(0.2)) bytes.erase(at, random.bits() % 30);
      if (random.chance(0.2)) bytes.insert(at, bytes.substr(0, random.bits() % 60));
      if (bytes.empty()) bytes = good;
    }
    const LaserLog log = parseLaserLog(bytes);
    scans += static_cast<int>(log.scans.size());
    faults += log.faultyLines > 0 ? 1 : 0;
    for (const Brin::io::LoggedScan& logged : log.scans) {
      ASSERT_TRUE(std::isfinite(logged.pose.x + logged.pose.y + logged.pose.theta));
      ASSERT_FALSE(logged.scan.readings.empty());
      for (const Brin::RangeReading& reading : logged.scan.readings) {
        ASSERT_TRUE(std::isfinite(reading.range) && std::isfinite(reading.angle));
      }
    }
  }
  EXPECT_GT(scans, 5000);
  EXPECT_GT(faults, 1000);
}

struct RealLog {
  const char* name;
  std::size_t scans;
  std::size_t beams;
  float noReturn;
};

class RealLogs : public ::testing::TestWithParam<RealLog> {};

TEST_P(RealLogs, readWholly) {
  const std::string path = std::string("../shared/data/logs/") + GetParam().name + ".log.gz";
  RealLog expected = GetParam();
  LaserLog log;
  if (std::filesystem::exists(path)) {
    log = readLaserLog(path);
  } else {
    std::cout << path << " is not there; a generated log stands in for it.\n";
    expected = {"generated", 50, 180, 81.91f};
    const LaserWorld halfOpen({{{4.0f, 0.0f}, {4.0f, 5.0f}}});
    log = parseLaserLog(halfOpen.carmenLog(LaserWorld::tourOfTwoRooms(50), 180));
  }
  EXPECT_EQ(log.complaint(), "");
  EXPECT_EQ(log.scans.size(), expected.scans);
  EXPECT_EQ(log.noReturn, expected.noReturn);
  for (const Brin::io::LoggedScan& logged : log.scans) {
    ASSERT_EQ(logged.scan.readings.size(), expected.beams);
  }
}

INSTANTIATE_TEST_SUITE_P(Logs, RealLogs,
                         ::testing::Values(RealLog{"intel-corrected", 910, 180, 81.83f},
                                           RealLog{"aces-corrected", 440, 180, 50.0f},
                                           RealLog{"freiburg-079-corrected", 4791, 360, 81.91f},
                                           RealLog{"telecom_faculty_loop", 225, 361, 81.91f}));

}  // namespace
