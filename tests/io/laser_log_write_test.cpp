// Laser logs, written and read back.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "korrin/io/laser_log.hpp"
#include "support/laser_world.hpp"
#include "tests/support/bits.hpp"
#include "tests/support/files.hpp"
#include "tests/support/random_inputs.hpp"

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::RangeReading;
using Brin::io::FileError;
using Brin::io::LaserLog;
using Brin::io::LoggedScan;
using Brin::io::parseLaserLog;
using Brin::io::readLaserLog;
using Brin::io::writeLaserLog;

constexpr float kHalfTurn = 3.14159265f;

RangeReading missed(float range, float angle) {
  RangeReading reading(range, angle);
  reading.status = 1;
  return reading;
}

// A log of one scan whose beams stand as those of a FLASER line do.
LaserLog fanOf(const std::vector<float>& ranges) {
  std::string line = "FLASER " + std::to_string(ranges.size());
  for (const float range : ranges) line += ' ' + std::to_string(range);
  return parseLaserLog("PARAM laser_no_return 0\n" + line + " 1 2 0.5 1.5 2.5 0.25 12.5 host 0\n");
}

class LaserLogWrite : public ::testing::Test {
 protected:
  LaserLog returned(const LaserLog& log, const std::string& name = "copy.log") {
    writeLaserLog(log, directory_ / name);
    LaserLog back = readLaserLog(directory_ / name);
    EXPECT_EQ(back.complaint(), "");
    EXPECT_EQ(back.scans.size(), log.scans.size());
    return back;
  }

  std::string faultOf(const LaserLog& log) {
    const std::string file = directory_ / "faulty.log";
    writeFile(file, "before");
    try {
      writeLaserLog(log, file);
    } catch (const FileError& error) {
      EXPECT_EQ(error.file(), file);
      EXPECT_EQ(readFile(file), "before");
      return error.place() + ": " + error.fault();
    }
    return "no fault";
  }

  TemporaryDirectory directory_;
};

void expectSameScans(const LaserLog& a, const LaserLog& b) {
  ASSERT_EQ(a.scans.size(), b.scans.size());
  EXPECT_TRUE(sameBits(a.noReturn, b.noReturn));
  for (std::size_t i = 0; i < a.scans.size(); ++i) {
    EXPECT_TRUE(sameBits(a.scans[i].scan.readings, b.scans[i].scan.readings)) << "scan " << i;
    EXPECT_TRUE(sameBits(a.scans[i].pose, b.scans[i].pose)) << "scan " << i;
    EXPECT_TRUE(sameBits(a.scans[i].robot, b.scans[i].robot)) << "scan " << i;
    EXPECT_EQ(a.scans[i].time, b.scans[i].time) << "scan " << i;
  }
}

TEST_F(LaserLogWrite, aScanBecomesALineOfTheFormat) {
  writeLaserLog(fanOf({1.5f, 2.25f, 3.0f}), directory_ / "one.log");
  EXPECT_EQ(readFile(directory_ / "one.log"),
            "# CARMEN log: laser scans with the laser's and the robot's poses\n"
            "PARAM laser_no_return 0\n"
            "FLASER 3 1.5 2.25 3 1 2 0.5 1.5 2.5 0.25 12.5 korrin 12.5\n");
}

TEST_F(LaserLogWrite, beamsOfTheirOwnAnglesBecomeALineThatHasThem) {
  LaserLog log = fanOf({1.0f, 2.0f});
  log.scans[0].scan.readings = {{1.0f, -0.5f}, {2.0f, 0.0f}, {3.0f, 0.5f}};
  writeLaserLog(log, directory_ / "one.log");
  const std::string text = readFile(directory_ / "one.log");
  EXPECT_EQ(text.substr(text.find("ROBOTLASER1")),
            "ROBOTLASER1 0 -0.5 1 0.5 0 0 0 3 1 2 3 0 1 2 0.5 1.5 2.5 0.25 0 0 0 0 0 12.5 korrin "
            "12.5\n");
  expectSameScans(returned(log), log);
}

TEST_F(LaserLogWrite, whatWasReadFromFlaserLinesComesBackBitForBit) {
  const LaserWorld halfOpen({{{4.0f, 0.0f}, {4.0f, 5.0f}}});
  const LaserLog log =
      parseLaserLog(halfOpen.carmenLog(LaserWorld::tourOfTwoRooms(30), 180, 81.83f));
  ASSERT_EQ(log.noReturn, 81.83f);
  expectSameScans(returned(log), log);
  expectSameScans(returned(log, "packed.log.gz"), log);
  EXPECT_EQ(readFile(directory_ / "packed.log.gz").substr(0, 2), "\x1f\x8b");
}

TEST_F(LaserLogWrite, anyEvenFanComesBackWithItsRangesPosesAndTimes) {
  RandomInputs random(5);
  LaserLog log;
  for (int i = 0; i < 200; ++i) {
    LoggedScan logged;
    const int beams = random.between(1, 400);
    const float start = random.between(-kHalfTurn, kHalfTurn);
    const float step = random.between(-0.05f, 0.05f);
    for (int k = 0; k < beams; ++k) {
      const double angle = double{start} + double{step} * k;
      logged.scan.readings.emplace_back(random.between(0.0f, 90.0f), static_cast<float>(angle));
      if (random.between(0, 9) == 0) logged.scan.readings.back().status = 1;
    }
    logged.pose = Pose2D(random.between(-1e6f, 1e6f), random.between(-1.0f, 1.0f), start);
    logged.robot = Pose2D(random.between(-1e-6f, 1e-6f), random.between(-1.0f, 1.0f), step);
    logged.time = 976052890.244111 + i / 7.0;
    log.scans.push_back(logged);
  }
  const LaserLog back = returned(log);
  for (std::size_t i = 0; i < log.scans.size(); ++i) {
    const LoggedScan& wanted = log.scans[i];
    const LoggedScan& found = back.scans[i];
    EXPECT_TRUE(sameBits(found.pose, wanted.pose));
    EXPECT_TRUE(sameBits(found.robot, wanted.robot));
    EXPECT_EQ(found.time, wanted.time);
    ASSERT_EQ(found.scan.readings.size(), wanted.scan.readings.size());
    for (std::size_t k = 0; k < wanted.scan.readings.size(); ++k) {
      const RangeReading& reading = found.scan.readings[k];
      EXPECT_EQ(reading.status, wanted.scan.readings[k].status);
      EXPECT_NEAR(reading.angle, wanted.scan.readings[k].angle, 1e-5f);
      const float written = wanted.scan.readings[k].range;
      EXPECT_TRUE(reading.status != 0 || sameBits(reading.range, written));
    }
  }
}

TEST_F(LaserLogWrite, beamsThatMetNothingBecomeNoReturn) {
  LaserLog log = fanOf({1.0f, 2.0f, 3.0f});
  log.noReturn = 50.0f;
  std::vector<RangeReading>& readings = log.scans[0].scan.readings;
  readings[0] = missed(2.5f, readings[0].angle);
  const LaserLog back = returned(log);
  EXPECT_EQ(back.noReturn, 50.0f);
  EXPECT_EQ(back.scans[0].scan.readings[0].range, 50.0f);
  EXPECT_EQ(back.scans[0].scan.readings[0].status, 1);
  EXPECT_EQ(back.scans[0].scan.readings[0].weight, 0.0f);
  EXPECT_EQ(back.scans[0].scan.readings[1].status, 0);
}

TEST_F(LaserLogWrite, rangesThatAreNoneBecomeNoReturn) {
  for (const float bad : {NAN, INFINITY, -INFINITY, -1.0f, std::numeric_limits<float>::max()}) {
    LaserLog log = fanOf({1.0f, 2.0f, 3.0f});
    log.scans[0].scan.readings[1].range = bad;
    const LaserLog back = returned(log);
    EXPECT_EQ(back.scans[0].scan.readings[1].status, 1) << bad;
    EXPECT_EQ(back.scans[0].scan.readings[1].range, 4.0f) << bad;  // above the farthest hit
  }
}

TEST_F(LaserLogWrite, noHitIsEverTakenForNoReturn) {
  // The farthest range stands twice among six readings: a reader that guessed would take it so.
  LaserLog log = fanOf({3.0f, 3.0f, 1.0f, 1.0f, 1.0f, 2.0f});
  EXPECT_EQ(returned(log).noReturn, 0.0f);
  EXPECT_EQ(returned(log).scans[0].scan.readings[0].status, 0);
  // The log's own range for it is that of a hit, and so another one is taken.
  log.noReturn = 3.0f;
  log.scans[0].scan.readings[5].status = 1;
  const LaserLog back = returned(log);
  EXPECT_EQ(back.noReturn, 4.0f);
  EXPECT_EQ(back.scans[0].scan.readings[0].status, 0);
  EXPECT_EQ(back.scans[0].scan.readings[5].status, 1);
}

TEST_F(LaserLogWrite, aHitTooFarForWholeMetresStillLiesBelowNoReturn) {
  LaserLog log = fanOf({1.0f, 2.0f});
  log.scans[0].scan.readings[0].range = 1e20f;
  log.scans[0].scan.readings[1].status = 1;
  const LaserLog back = returned(log);
  EXPECT_EQ(back.scans[0].scan.readings[0].status, 0);
  EXPECT_EQ(back.scans[0].scan.readings[1].status, 1);
}

TEST_F(LaserLogWrite, whatTheFormatCannotHoldIsRefusedWithTheNumberOfItsScan) {
  const LaserLog good = fanOf({1.0f, 2.0f, 3.0f});
  LaserLog log = good;
  log.scans.emplace_back();
  EXPECT_EQ(faultOf(log), "scan 1: has no readings");
  log = good;
  log.scans[0].scan.readings = {{1.0f, 0.0f}, {1.0f, 0.1f}, {1.0f, 0.3f}};
  EXPECT_EQ(faultOf(log), "scan 0: beam 1: the beams are not evenly spaced");
  log.scans[0].scan.readings[1].angle = NAN;
  EXPECT_EQ(faultOf(log), "scan 0: beam 1: the beams are not evenly spaced");
  log = good;
  log.scans[0].pose.theta = NAN;
  EXPECT_EQ(faultOf(log), "scan 0: the laser's pose is not finite");
  log = good;
  log.scans[0].robot.x = INFINITY;
  EXPECT_EQ(faultOf(log), "scan 0: the robot's pose is not finite");
  log = good;
  log.scans[0].time = NAN;
  EXPECT_EQ(faultOf(log), "scan 0: the time is not finite");
}

TEST_F(LaserLogWrite, aFileThatCannotBeWrittenIsNamed) {
  for (const char* const name : {"no/such.log", "no/such.log.gz"}) {
    try {
      writeLaserLog(fanOf({1.0f}), directory_ / name);
      FAIL() << "written";
    } catch (const FileError& error) {
      EXPECT_EQ(error.what(), directory_ / name + ": cannot be written");
      EXPECT_EQ(error.systemError(), ENOENT);
    }
  }
}

TEST_F(LaserLogWrite, aLogWithoutScansIsOneToo) { EXPECT_TRUE(returned(LaserLog()).scans.empty()); }

}  // namespace
}  // namespace korrin_test
