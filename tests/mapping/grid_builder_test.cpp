#include "korrin/mapping/grid_builder.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/bits.hpp"
#include "tests/support/laser_world.hpp"
#include "tests/support/map_drawing.hpp"

namespace korrin_test {
namespace {

using Brin::OccupancyMap;
using Brin::OccupancyMapParams;
using Brin::Pose2D;
using Brin::io::LaserLog;
using Brin::io::LoggedScan;
using Brin::mapping::buildGrid;
using Brin::mapping::croppedToFree;
using Brin::mapping::gridAround;
using Brin::mapping::judgeGrid;

LoggedScan oneBeam(const Pose2D& pose, float range, float angle) {
  LoggedScan logged;
  logged.pose = pose;
  logged.scan.readings.emplace_back(range, angle);
  return logged;
}

std::vector<LoggedScan> twoRooms(int scans, int beams = 360) {
  return Brin::io::parseLaserLog(
             LaserWorld::twoRooms().carmenLog(LaserWorld::tourOfTwoRooms(scans), beams))
      .scans;
}

// The value of the cell that holds a point of the world.
float valueAt(const OccupancyMap& map, float x, float y) {
  const Brin::Pose2Di cell = map.getPixelFromPose({x, y, 0.0f});
  return map.getCell(cell.x, cell.y);
}

TEST(GridAround, HoldsPosesAndHitsWithHalfAMetreAround) {
  const auto frame = gridAround({oneBeam({1.0f, 2.0f, 0.0f}, 3.0f, 0.0f)}, 0.1f);
  ASSERT_TRUE(frame);
  const Brin::Pose2Di robot = frame->getPixelFromPose({1.0f, 2.0f, 0.0f});
  const Brin::Pose2Di hit = frame->getPixelFromPose({4.0f, 2.0f, 0.0f});
  EXPECT_EQ(robot.x, 5);
  EXPECT_EQ(robot.y, 5);
  EXPECT_NEAR(frame->width - hit.x, 5, 1);
  EXPECT_NEAR(frame->height - hit.y, 5, 1);
  EXPECT_EQ(frame->origin.theta, 0.0f);
}

TEST(GridAround, PutsCellBordersAtMultiplesOfTheResolution) {
  const auto frame = gridAround({oneBeam({-7.33f, 2.01f, 0.0f}, 1.0f, 0.0f)}, 0.25f);
  ASSERT_TRUE(frame);
  EXPECT_NEAR(std::remainder(frame->origin.x - 0.125f, 0.25f), 0.0f, 1e-5f);
  EXPECT_NEAR(std::remainder(frame->origin.y - 0.125f, 0.25f), 0.0f, 1e-5f);
}

TEST(GridAround, TakesNoNoticeOfBeamsOfWeightZero) {
  LoggedScan logged = oneBeam({}, 1.0f, 0.0f);
  const auto frame = gridAround({logged}, 0.1f);
  logged.scan.readings.emplace_back(80.0f, 0.0f);
  logged.scan.readings.back().status = 1;
  logged.scan.readings.back().weight = 0.0f;
  EXPECT_TRUE(sameParams(*frame, *gridAround({logged}, 0.1f)));
}

TEST(GridAround, RefusesNoScansAndTooManyCells) {
  EXPECT_FALSE(gridAround({}, 0.05f));
  EXPECT_FALSE(gridAround({oneBeam({}, 10000.0f, 0.7f)}, 0.05f));
  EXPECT_FALSE(gridAround({oneBeam({1e38f, -1e38f, 0.0f}, 3e38f, 0.0f)}, 0.05f));
  EXPECT_TRUE(gridAround({oneBeam({}, 10000.0f, 0.0f)}, 0.05f));  // long, but narrow
}

TEST(BuildGrid, EndsEachBeamInTheCellThatHoldsItsEnd) {
  // Poses anywhere in their cells, beams in all directions.
  for (int i = 0; i < 200; ++i) {
    const float turn = 0.37f * static_cast<float>(i);
    const Pose2D pose(0.013f * static_cast<float>(i), -0.017f * static_cast<float>(i), turn);
    const std::vector<LoggedScan> scans = {
        oneBeam(pose, 1.0f + 0.011f * static_cast<float>(i), 0.2f)};
    const OccupancyMap map = buildGrid(scans, *gridAround(scans, 0.1f));
    const Brin::Point2D end = scans[0].scan.readings[0].toPoint2D();
    const Pose2D hit = pose.absProject({end.x, end.y, 0.0f});
    EXPECT_EQ(valueAt(map, hit.x, hit.y), 0.0f) << i;
    EXPECT_EQ(judgeGrid(map, scans).occupiedCells, 1u) << i;
  }
}

TEST(BuildGrid, KeepsWhatALoneBeamCrossedUnknownAndFreesWhatManyCrossed) {
  const LoggedScan beam = oneBeam({0.05f, 0.05f, 0.0f}, 2.0f, 0.0f);
  EXPECT_EQ(valueAt(buildGrid({beam}, *gridAround({beam}, 0.1f)), 1.05f, 0.05f), 0.5f);

  std::vector<LoggedScan> wide;  // three rows of cells, each crossed three times
  for (int i = 0; i < 9; ++i) {
    const float y = 0.05f + 0.1f * static_cast<float>(i % 3);
    wide.push_back(oneBeam({0.05f, y, 0.0f}, 2.0f, 0.0f));
  }
  const OccupancyMap map = buildGrid(wide, *gridAround(wide, 0.1f));
  EXPECT_EQ(valueAt(map, 1.05f, 0.15f), 1.0f);
  EXPECT_EQ(valueAt(map, 2.05f, 0.15f), 0.0f);
  EXPECT_EQ(valueAt(map, 2.25f, 0.15f), 0.5f);
}

TEST(BuildGrid, BeamsOfWeightZeroLeaveNoTrace) {
  std::vector<LoggedScan> scans(5, oneBeam({0.05f, 0.05f, 0.0f}, 2.0f, 0.0f));
  for (LoggedScan& logged : scans) logged.scan.readings[0].weight = 0.0f;
  const OccupancyMap map = buildGrid(scans, *gridAround({oneBeam({}, 3.0f, 0.0f)}, 0.1f));
  const auto quality = judgeGrid(map, scans);
  EXPECT_EQ(quality.occupiedCells, 0u);
  EXPECT_EQ(quality.freeCells, 0u);
}

// What becomes of a cell when one beam in `every` ends there and the others go on past it.
float grazedCell(int every) {
  std::vector<LoggedScan> scans;
  for (int i = 0; i < 60; ++i) {
    scans.push_back(oneBeam({0.05f, 0.05f, 0.0f}, i % every == 0 ? 1.0f : 2.0f, 0.0f));
  }
  return valueAt(buildGrid(scans, *gridAround(scans, 0.1f)), 1.05f, 0.05f);
}

TEST(BuildGrid, AWallStaysWhenMoreThanOneBeamInFiveEndsThere) {
  EXPECT_EQ(grazedCell(4), 0.0f);
  EXPECT_NE(grazedCell(6), 0.0f);
}

TEST(BuildGrid, DrawsTheTwoRoomsWithThinWalls) {
  const std::vector<LoggedScan> scans = twoRooms(60);
  const OccupancyMap map = croppedToFree(buildGrid(scans, *gridAround(scans, 0.05f)));
  // Walls: near their line there is an occupied cell, a little beside it there is none.
  int onWall = 0;
  int besideWall = 0;
  for (int i = 0; i < 40; ++i) {
    const float y = 0.5f + 0.1f * static_cast<float>(i);
    const bool hasWall = valueAt(map, 7.975f, y) == 0.0f || valueAt(map, 8.025f, y) == 0.0f;
    onWall += hasWall ? 1 : 0;
    besideWall += valueAt(map, 7.875f, y) == 0.0f || valueAt(map, 8.125f, y) == 0.0f ? 1 : 0;
  }
  EXPECT_GE(onWall, 38);
  EXPECT_EQ(besideWall, 0);
  EXPECT_EQ(valueAt(map, 4.0f, 2.5f), 1.0f);    // the doorway
  EXPECT_EQ(valueAt(map, 1.25f, 3.85f), 0.5f);  // inside the pillar
}

TEST(BuildGrid, TellsOfItsProgress) {
  std::vector<double> shares;
  const std::vector<LoggedScan> scans = twoRooms(4, 20);
  buildGrid(scans, *gridAround(scans, 0.1f), [&](double share) { shares.push_back(share); });
  EXPECT_EQ(shares, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));
}

TEST(CroppedToFree, KeepsTheFreeCellsAndAMetreAround) {
  OccupancyMap map(OccupancyMapParams(100, 80, 0.5f), false);
  map.params.origin = {10.0f, 20.0f, 0.0f};
  map.setCell(30, 40, 1.0f);
  map.setCell(31, 42, 1.0f);
  map.setCell(33, 44, 0.0f);
  map.setCell(90, 5, 0.0f);
  const OccupancyMap cropped = croppedToFree(map);
  EXPECT_EQ(cropped.params.width, 6);
  EXPECT_EQ(cropped.params.height, 7);
  EXPECT_EQ(cropped.getCell(2, 2), 1.0f);
  EXPECT_EQ(cropped.getCell(3, 4), 1.0f);
  EXPECT_EQ(cropped.getCell(5, 6), 0.0f);
  EXPECT_EQ(cropped.params.origin.x, 24.0f);
  EXPECT_EQ(cropped.params.origin.y, 39.0f);
}

TEST(CroppedToFree, StaysWithinTheMapAndLeavesAMapWithoutFreeCellsWhole) {
  OccupancyMap map(OccupancyMapParams(5, 4, 0.1f), false);
  EXPECT_TRUE(sameMap(croppedToFree(map), map));
  map.setCell(0, 0, 1.0f);
  map.setCell(4, 3, 1.0f);
  EXPECT_TRUE(sameMap(croppedToFree(map), map));
}

TEST(JudgeGrid, LikesTheGridOfTheScansBetterThanAShiftedOne) {
  const std::vector<LoggedScan> scans = twoRooms(40);
  const OccupancyMap map = buildGrid(scans, *gridAround(scans, 0.05f));
  OccupancyMap shifted(map);
  shifted.params.origin.x += 0.1f;
  const auto right = judgeGrid(map, scans);
  const auto wrong = judgeGrid(shifted, scans);
  EXPECT_EQ(right.scansCompared, 40u);
  EXPECT_GT(right.likelihood, 0.95);
  EXPECT_LE(right.likelihood, 1.0);
  EXPECT_LT(wrong.likelihood, right.likelihood - 0.05);
  EXPECT_EQ(wrong.occupiedCells, right.occupiedCells);
}

TEST(JudgeGrid, ComparesNoMoreScansThanAskedForBySampling) {
  const std::vector<LoggedScan> scans = twoRooms(50, 20);
  const OccupancyMap map = buildGrid(scans, *gridAround(scans, 0.1f));
  EXPECT_EQ(judgeGrid(map, scans, 10).scansCompared, 10u);
  EXPECT_EQ(judgeGrid(map, scans, 0).scansCompared, 1u);
  EXPECT_EQ(judgeGrid(map, {}, 10).scansCompared, 0u);
}

TEST(JudgeGrid, LeavesOutScansThatHitNothing) {
  const OccupancyMap map = drawMap({"...", "..."});
  LoggedScan nothing = oneBeam({}, 5.0f, 0.0f);
  nothing.scan.readings.emplace_back(5.0f, 1.0f);
  for (Brin::RangeReading& reading : nothing.scan.readings) reading.status = 1;
  EXPECT_EQ(judgeGrid(map, {nothing, oneBeam({}, 1.0f, 0.0f)}).scansCompared, 0u);
}

}  // namespace
}  // namespace korrin_test
