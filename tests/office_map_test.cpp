// The generated floors are what tests and benchmarks take them for.
#include "support/office_map.hpp"

#include <gtest/gtest.h>

#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "support/bits.hpp"

namespace {

using korrin_test::nearestFreeCell;
using korrin_test::officeCorridorRow;
using korrin_test::officeMap;

TEST(OfficeMap, sideAndSeedDecideEveryCell) {
  EXPECT_TRUE(korrin_test::sameMap(officeMap(300, 5), officeMap(300, 5)));
  EXPECT_FALSE(korrin_test::sameMap(officeMap(300, 5), officeMap(300, 6)));
}

TEST(OfficeMap, theOutermostCellsAreWall) {
  for (int side : {1, 7, 300, 512}) {
    const Brin::OccupancyMap map = officeMap(side, 1);
    for (int i = 0; i < side; ++i) {
      EXPECT_EQ(map.getCell(i, 0), 0.0f);
      EXPECT_EQ(map.getCell(0, i), 0.0f);
      EXPECT_EQ(map.getCell(i, side - 1), 0.0f);
      EXPECT_EQ(map.getCell(side - 1, i), 0.0f);
    }
  }
}

TEST(OfficeMap, theFirstCorridorLeadsToTheLast) {
  for (int side : {100, 250, 500, 777, 1000}) {
    const Brin::OccupancyMap map = officeMap(side, 7);
    Brin::OccMapPathFinder finder(&map, 0.0f);
    std::vector<Brin::Pose2Di> path;
    finder.computePath(nearestFreeCell(map, side / 20, officeCorridorRow(side, 0.0)),
                       nearestFreeCell(map, side * 19 / 20, officeCorridorRow(side, 1.0)), path);
    EXPECT_GT(path.size(), static_cast<std::size_t>(side) / 2) << side;
  }
}

TEST(OfficeMap, theNearestFreeCellIsTheCellItselfWhereThatIsFree) {
  const Brin::OccupancyMap map = officeMap(200, 1);
  const int row = officeCorridorRow(200, 0.0);
  EXPECT_EQ(nearestFreeCell(map, 50, row).x, 50);
  const Brin::Pose2Di fromTheCorner = nearestFreeCell(map, 0, 0);
  EXPECT_EQ(fromTheCorner.x, 3);
  EXPECT_EQ(fromTheCorner.y, 3);
}

}  // namespace
