// Poses, beams and lengths that end exactly on a border between cells or at a limit, or one float
// beside it: every component takes them to the model's cells.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "models/core/occupancy_map_model.hpp"
#include "models/occupancy_mapper_model.hpp"
#include "models/pathcoststats_model.hpp"
#include "models/prepared_map_model.hpp"
#include "models/range_simulation_model.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using Brin::RangeReading;
using korrin_test::besideBorder;
using korrin_test::firstPast;
using korrin_test::floatAbove;
using korrin_test::floatBelow;
using korrin_test::hasBorder;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

// Cells of which some are exactly at `threshold`, some one float beside it.
OccupancyMap someMap(RandomInputs& random, int maxSide, float threshold) {
  OccupancyMap map(random.between(1, maxSide), random.between(1, maxSide),
                   random.pick<float>({1.0f, 0.5f, 0.25f, 0.05f, 0.1f}), random.chance(0.3));
  map.params.origin = {random.pick<float>({0.0f, 0.0f, 1.5f}), random.between(-2.0f, 2.0f),
                       random.pick<float>({0.0f, 0.0f, 0.7f})};
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      map.setCell(x, y, random.chance(0.15) ? besideBorder(random, threshold) : 1.0f);
      if (map.secondImage == nullptr) continue;
      Brin::imageRow<float>(*map.secondImage, y)[x] = besideBorder(random, 0.45f);
    }
  }
  return map;
}

TEST(GridBorders, posesOnTheBordersOfCells) {
  RandomInputs random(141);
  int changes = 0;
  for (int i = 0; i < 8000; ++i) {
    const OccupancyMap map = someMap(random, 9, 0.5f);
    const float reach = 20.0f * map.params.resolution + 5.0f;
    Pose2D pose(0.0f, random.between(-reach, reach), random.between(-3.0f, 3.0f));
    const int column = random.between(-3, 12);
    const auto isPast = [&](float x) {
      pose.x = x;
      return korrin_model::getPixelFromPose(map.params, pose).x >= column;
    };
    if (!hasBorder(-reach, reach, isPast)) continue;
    const float border = firstPast(-reach, reach, isPast);
    ++changes;
    for (const float x : {floatBelow(border), border, floatAbove(border)}) {
      pose.x = x;
      const Pose2Di cell = map.getPixelFromPose(pose);
      ASSERT_TRUE(sameBits(cell, korrin_model::getPixelFromPose(map.params, pose))) << "case " << i;
      ASSERT_EQ(cell.x >= column, x >= border);
    }
  }
  EXPECT_GT(changes, 4000);
}

// Coordinates around the farthest that there are.
TEST(GridBorders, posesAtTheFarthestCells) {
  const OccupancyMap map(3, 3, 1.0f, false);
  constexpr float kFarthest = 268435456.0f;
  for (const float sign : {1.0f, -1.0f}) {
    for (float x = floatBelow(floatBelow(kFarthest)); x < 1.1f * kFarthest; x = floatAbove(x)) {
      const Pose2D pose(sign * x, -sign * x, 0.0f);
      ASSERT_TRUE(
          sameBits(map.getPixelFromPose(pose), korrin_model::getPixelFromPose(map.params, pose)));
      if (x > kFarthest) x = floatAbove(1.05f * x);
    }
  }
}

// Hits and misses whose offset from the robot's cell is a whole number of cells, at the first float
// of that cell or the last of the one before.
TEST(GridBorders, mapUpdatesWithBeamsThatEndOnBorders) {
  RandomInputs random(142);
  int onBorder = 0;
  for (int i = 0; i < 4000; ++i) {
    OccupancyMap map = someMap(random, 14, 0.5f);
    OccupancyMap expected = map;
    const Pose2D robot(random.between(-1.0f, 6.0f), random.between(-1.0f, 6.0f),
                       random.pick<float>({0.0f, 0.4f}));
    const float inv = 1.0f / map.params.resolution;
    std::vector<RangeReading> readings;
    for (int k = 0; k < 12; ++k) {
      RangeReading reading(0.0f, random.chance(0.3) ? -robot.theta : random.between(-3.1f, 3.1f));
      const float cosine = std::cos(robot.theta + reading.angle);
      const int cells = random.between(1, 9);
      const float far = 60.0f * map.params.resolution;
      const auto isPast = [&](float range) {
        return std::fabs(range * cosine * inv) >= static_cast<float>(cells);
      };
      if (!hasBorder(0.0f, far, isPast)) continue;
      reading.range = besideBorder(random, firstPast(0.0f, far, isPast));
      onBorder += std::fabs(reading.range * cosine * inv) == static_cast<float>(cells) ? 1 : 0;
      reading.status = random.between(0, 1);
      readings.push_back(reading);
    }
    // Increments that reach 0 and 1 exactly, and their neighbours.
    const float freeInc = besideBorder(random, random.pick<float>({0.5f, 0.25f, 1.0f}));
    const float occInc = besideBorder(random, random.pick<float>({0.5f, 0.25f, 1.0f}));
    Brin::OccupancyMapper(&map).updateMap(readings, robot, freeInc, occInc);
    korrin_model::updateMap(expected, readings, robot, freeInc, occInc);
    ASSERT_TRUE(korrin_test::sameMap(map, expected)) << "case " << i;
    Brin::OccupancyMapper(&map).updateMap2(readings, robot, freeInc, occInc);
    korrin_model::updateMap2(expected, readings, robot, occInc);
    ASSERT_TRUE(korrin_test::sameMap(map, expected)) << "case " << i;
  }
  EXPECT_GT(onBorder, 5000);
}

// Cells that an increment brings to exactly 0 or 1, or to the next float inside or outside.
TEST(GridBorders, clampsHitExactly) {
  RandomInputs random(143);
  int exactly = 0;
  for (int i = 0; i < 30000; ++i) {
    const float value = random.between(0.0f, 1.0f);
    const float limit = random.pick<float>({0.0f, 1.0f});
    const float increment = besideBorder(random, limit - value);
    OccupancyMap map(2, 1, 1.0f, false);
    map.reset(value);
    OccupancyMap expected = map;
    Brin::OccupancyMapper(&map).xLineBres(0, 0, 1, 0, increment, -increment);
    korrin_model::xLineBres(expected, 0, 0, 1, 0, increment, -increment);
    ASSERT_TRUE(korrin_test::sameMap(map, expected)) << value << " and " << increment;
    exactly += value + increment == limit ? 1 : 0;
  }
  EXPECT_GT(exactly, 10000);
}

// A range at which the end of a beam at `angle` steps into another cell.
float rangeAtBorder(RandomInputs& random, const OccupancyMap& map, const Pose2D& pose,
                    float angle) {
  const float far = 30.0f * map.params.resolution;
  const auto cellAt = [&](float range) {
    return map.getPixelFromPose({pose.x + range * std::cos(angle + pose.theta),
                                 pose.y + range * std::sin(angle + pose.theta), 0.0f});
  };
  const Pose2Di target = cellAt(random.between(0.0f, far));
  const auto isPast = [&](float range) {
    const Pose2Di cell = cellAt(range);
    const Pose2Di from = cellAt(0.0f);
    return std::abs(cell.x - from.x) >= std::abs(target.x - from.x) &&
           std::abs(cell.y - from.y) >= std::abs(target.y - from.y);
  };
  return hasBorder(0.0f, far, isPast) ? besideBorder(random, firstPast(0.0f, far, isPast)) : far;
}

// Scans of any count around the batches in which they are worked out, whose first beams start and
// end on borders, at thresholds that are values of cells.
TEST(GridBorders, simulatedScansWithBeamsThatEndOnBorders) {
  RandomInputs random(144);
  int hits = 0;
  int misses = 0;
  for (int i = 0; i < 3000; ++i) {
    const float threshold = random.pick<float>({0.45f, 0.2f, 0.5f});
    const OccupancyMap map = someMap(random, 20, threshold);
    const Pose2D pose = random.poseNear(map);
    Brin::ScanModel scanner(random.pick<int>({1, 2, 9, 63, 64, 65, 127, 128, 129}), 1.0f,
                            random.between(0.1f, 6.3f));
    scanner.startAngle = random.pick<float>({0.0f, -pose.theta, -1.0f});
    scanner.maxRange = rangeAtBorder(random, map, pose, scanner.startAngle);
    if (random.chance(0.5)) scanner.minRange = rangeAtBorder(random, map, pose, scanner.startAngle);
    scanner.lowThreshold = besideBorder(random, 0.45f);
    std::vector<RangeReading> expected;
    std::vector<RangeReading> found;
    korrin_model::occMapSimulateScan(map, scanner, pose, expected, threshold);
    Brin::occMapSimulateScan(map, scanner, pose, found, threshold);
    ASSERT_TRUE(sameBits(found, expected)) << "case " << i;
    const Brin::PreparedMap prepared(map, threshold);
    prepared.occMapSimulateScan(scanner, pose, found);
    ASSERT_TRUE(sameBits(found, expected)) << "prepared, case " << i;
    for (const RangeReading& reading : found) (reading.status == 0 ? hits : misses) += 1;
    OccupancyMap copy = map;
    const float end = scanner.startAngle + scanner.fieldOfView;
    korrin_model::simulateScan(map, pose, scanner.startAngle, end, scanner.minRange,
                               scanner.maxRange, scanner.count, expected, threshold);
    Brin::OccupancyMapper(&copy).simulateScan(pose, scanner.startAngle, end, scanner.minRange,
                                              scanner.maxRange, scanner.count, found, threshold);
    ASSERT_TRUE(sameBits(found, expected)) << "the mapper's, case " << i;
  }
  EXPECT_GT(hits, 5000);
  EXPECT_GT(misses, 20000);
}

// Ranges around the longest that count, 2^27 cells.
TEST(GridBorders, rangesAroundTheLongest) {
  RandomInputs random(145);
  for (int i = 0; i < 3000; ++i) {
    const OccupancyMap map = someMap(random, 12, 0.5f);
    const float longest = 134217728.0f * map.params.resolution;
    Brin::ScanModel scanner(5, besideBorder(random, random.chance(0.5) ? longest : -longest), 2.0f);
    if (random.chance(0.3)) scanner.minRange = besideBorder(random, -longest);
    const Pose2D pose = random.poseNear(map);
    std::vector<RangeReading> expected;
    std::vector<RangeReading> found;
    korrin_model::occMapSimulateScan(map, scanner, pose, expected, 0.5f);
    Brin::occMapSimulateScan(map, scanner, pose, found, 0.5f);
    ASSERT_TRUE(sameBits(found, expected)) << "case " << i;
    OccupancyMap updated = map;
    OccupancyMap expectedMap = map;
    const std::vector<RangeReading> readings = {{scanner.maxRange, 0.3f}, {-longest, 0.0f}};
    Brin::OccupancyMapper(&updated).updateMap(readings, pose, 0.1f, 0.2f);
    korrin_model::updateMap(expectedMap, readings, pose, 0.1f, 0.2f);
    ASSERT_TRUE(korrin_test::sameMap(updated, expectedMap)) << "case " << i;
  }
}

// Obstacles as far from a cell as a leap reaches (255 cells), one less, one more; before and after
// a change of single cells at that distance.
TEST(GridBorders, obstaclesAtTheFarEndOfALeap) {
  RandomInputs random(146);
  int hits = 0;
  for (int i = 0; i < 60; ++i) {
    const bool isWide = random.chance(0.5);
    const int length = random.pick<int>({254, 255, 256, 257, 300, 511, 512, 770});
    OccupancyMap map(isWide ? length : 4, isWide ? 4 : length, 1.0f, false);
    map.reset(1.0f);
    Brin::PreparedMap prepared(map, 0.5f);
    const korrin_model::PreparedMap model{map, 0.5f};
    const int start = random.between(0, std::max(0, length - 260));
    for (int change = 0; change < 6; ++change) {
      const int along = start + random.pick<int>({253, 254, 255, 256, 257, 1, 0});
      const int across = random.between(0, 3);
      const Pose2Di cell(isWide ? along : across, isWide ? across : along, 0.0f);
      map.setCell(cell.x, cell.y, random.pick<float>({0.0f, 0.0f, 1.0f}));
      prepared.refresh(cell.x, cell.y, 1, 1);
      for (int row = 0; row < 4; ++row) {
        for (const int from : {start, start + 1, 0, length - 1}) {
          const int to = from == length - 1 ? 0 : length - 1;
          const int otherRow = random.between(0, 3);
          const auto ray = [&](const auto& caster) {
            return isWide ? caster.xThrowRay(from, row, to, otherRow)
                          : caster.xThrowRay(row, from, otherRow, to);
          };
          const RangeReading expected = ray(model);
          ASSERT_TRUE(sameBits(ray(prepared), expected)) << "case " << i << ", row " << row;
          hits += expected.status == 0 ? 1 : 0;
        }
      }
    }
  }
  EXPECT_GT(hits, 500);
}

// A longest length that is exactly that of the path up to one of its cells.
TEST(GridBorders, pathsCutExactlyAtACell) {
  RandomInputs random(147);
  const korrin_test::LogCapture log;
  int cut = 0;
  for (int i = 0; i < 6000; ++i) {
    const OccupancyMap map = someMap(random, 12, 0.5f);
    std::vector<Pose2D> path;
    for (int k = random.between(2, 5); k > 0; --k) path.push_back(random.poseNear(map));
    // What the first cells of the first segment measure, and the whole of it, with the margin that
    // lengths are compared with.
    const Pose2Di p = map.getPixelFromPose(path[0]);
    const Pose2Di q = map.getPixelFromPose(path[1]);
    const int cells = random.between(0, std::max(std::abs(q.x - p.x), std::abs(q.y - p.y)));
    const float cellsLong = (Brin::computeNorm(cells, random.between(0, cells)) + 1.0f);
    const auto isPast = [&](float limit) {
      return limit + 0.000001f >= cellsLong * map.params.resolution;
    };
    float limit = cellsLong * map.params.resolution;
    if (hasBorder(-1.0f, 2.0f * limit, isPast)) limit = firstPast(-1.0f, 2.0f * limit, isPast);
    limit = besideBorder(random, limit);
    const auto found = Brin::computePathCostStat(map, path, &limit);
    const auto expected = korrin_model::computePathCostStat(map, path, &limit);
    ASSERT_TRUE(sameBits(found.length, expected.length)) << "case " << i;
    ASSERT_TRUE(sameBits(found.avgCost, expected.avgCost)) << "case " << i;
    ASSERT_TRUE(sameBits(found.minCost, expected.minCost)) << "case " << i;
    ASSERT_TRUE(sameBits(found.maxCost, expected.maxCost)) << "case " << i;
    const auto whole = Brin::computePathCostStat(map, path, nullptr);
    cut += found.length > 0.0f && found.length < whole.length ? 1 : 0;
  }
  EXPECT_GT(cut, 2000);
}

}  // namespace
