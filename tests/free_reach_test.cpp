// Reaches are what a look at every cell of their wedges says, and walks by leaps end where walks by
// steps do.
#include "src/free_reach.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/map_drawing.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::FreeReach;
using Brin::InsideLine;
using Brin::OccupancyMap;
using Brin::Point2Di;
using Brin::ReachWalk;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;

constexpr float kThreshold = 0.5f;
constexpr int kAlongX = 4;
constexpr int kMajorAscends = 2;
constexpr int kMinorAscends = 1;

FreeReach reachOf(const OccupancyMap& map, float threshold = kThreshold) {
  FreeReach reach;
  reach.refresh(*map.image, threshold);
  return reach;
}

bool isBlocked(const OccupancyMap& map, int x, int y, float threshold) {
  return map.isInside(x, y) && threshold > map.getCell(x, y);
}

// The reach of a cell, cell by cell of the wedge.
int literalReach(const OccupancyMap& map, int octant, int x, int y, float threshold) {
  const int majorSign = (octant & kMajorAscends) != 0 ? 1 : -1;
  const int minorSign = (octant & kMinorAscends) != 0 ? 1 : -1;
  for (int i = 0; i < 255; ++i) {
    for (int j = 0; j <= i; ++j) {
      const int dx = (octant & kAlongX) != 0 ? majorSign * i : minorSign * j;
      const int dy = (octant & kAlongX) != 0 ? minorSign * j : majorSign * i;
      if (isBlocked(map, x + dx, y + dy, threshold)) return i;
    }
  }
  return 255;
}

int reachAt(const FreeReach& reach, int octant, int x, int y) {
  const FreeReach::Plane& plane = reach.plane(octant);
  const bool alongX = (octant & kAlongX) != 0;
  return plane.reaches[static_cast<std::size_t>(alongX ? plane.place(x, y) : plane.place(y, x))];
}

::testing::AssertionResult sameReaches(const FreeReach& a, const FreeReach& b) {
  for (int octant = 0; octant < 8; ++octant) {
    if (a.plane(octant).reaches != b.plane(octant).reaches) {
      return ::testing::AssertionFailure() << "octant " << octant;
    }
  }
  return ::testing::AssertionSuccess();
}

TEST(FreeReach, endsAtBlockedCellsOfItsOwnWedgeOnly) {
  // Along x to the right and downwards, from the upper left cell, the wedge is
  //   0 1 2 3 4 5
  //   . 1 2 3 4 5
  //   . . 2 3 4 5
  const OccupancyMap map = korrin_test::drawMap({"......",  //
                                                 "#.....",  //
                                                 "##...#"});
  const FreeReach reach = reachOf(map);
  EXPECT_EQ(reachAt(reach, kAlongX + kMajorAscends + kMinorAscends, 0, 0), 5);
  EXPECT_EQ(reachAt(reach, kMajorAscends + kMinorAscends, 0, 0), 1);
  EXPECT_EQ(reachAt(reach, kAlongX + kMajorAscends, 0, 0), 255);
  EXPECT_EQ(reachAt(reach, kAlongX + kMajorAscends, 0, 1), 0);
  EXPECT_EQ(reachAt(reach, kAlongX, 4, 2), 3);
}

TEST(FreeReach, isWhatEveryCellOfTheWedgeSays) {
  RandomInputs random(51);
  int partial = 0;
  for (int i = 0; i < 60; ++i) {
    MapBounds bounds;
    bounds.maxSide = 24;
    bounds.levels = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.5f, 0.0f};
    bounds.wildShare = random.chance(0.2) ? 0.1 : 0.0;
    const OccupancyMap map = random.map(bounds);
    const float threshold = random.chance(0.2) ? random.wildFloat() : kThreshold;
    const FreeReach reach = reachOf(map, threshold);
    for (int octant = 0; octant < 8; ++octant) {
      for (int y = 0; y < map.params.height; ++y) {
        for (int x = 0; x < map.params.width; ++x) {
          const int expected = literalReach(map, octant, x, y, threshold);
          ASSERT_EQ(reachAt(reach, octant, x, y), expected) << octant << " at " << x << "," << y;
          partial += expected > 0 && expected < 255 ? 1 : 0;
        }
      }
    }
  }
  EXPECT_GT(partial, 10000);
}

TEST(FreeReach, isCutAt255) {
  OccupancyMap map(600, 1, 1.0f, false);
  map.setCell(599, 0, 0.0f);
  const FreeReach reach = reachOf(map);
  const int right = kAlongX + kMajorAscends;
  EXPECT_EQ(reachAt(reach, right, 598, 0), 1);
  EXPECT_EQ(reachAt(reach, right, 599 - 254, 0), 254);
  EXPECT_EQ(reachAt(reach, right, 599 - 255, 0), 255);
  EXPECT_EQ(reachAt(reach, right, 0, 0), 255);
}

TEST(FreeReach, ofAnAreaRefreshedIsThatOfTheWholeMapRefreshed) {
  RandomInputs random(52);
  for (int i = 0; i < 60; ++i) {
    OccupancyMap map(random.between(1, 700), random.between(1, 90), 1.0f, false);
    if (random.chance(0.5)) map = OccupancyMap(map.params.height, map.params.width, 1.0f, false);
    const int width = map.params.width;
    const int height = map.params.height;
    for (int j = 0; j < width * height / 500; ++j) {
      map.setCell(random.between(0, width - 1), random.between(0, height - 1), 0.0f);
    }
    FreeReach reach = reachOf(map);
    for (int change = 0; change < 5; ++change) {
      const int left = random.between(0, width - 1);
      const int top = random.between(0, height - 1);
      const FreeReach::Area area{left, top, random.between(left + 1, std::min(left + 70, width)),
                                 random.between(top + 1, std::min(top + 70, height))};
      for (int y = area.top; y < area.bottom; ++y) {
        for (int x = area.left; x < area.right; ++x) {
          map.setCell(x, y, random.chance(0.01) ? 0.0f : 1.0f);
        }
      }
      reach.refresh(*map.image, kThreshold, area);
      ASSERT_TRUE(sameReaches(reach, reachOf(map)));
    }
  }
}

TEST(ReachWalk, endsAtTheFirstBlockedCellOfTheLineOrAtItsEnd) {
  RandomInputs random(53);
  int blocked = 0;
  for (int i = 0; i < 400; ++i) {
    MapBounds bounds;
    bounds.minSide = 1;
    bounds.maxSide = random.chance(0.3) ? 400 : 20;
    bounds.anyValueShare = 0.0;
    bounds.levels = std::vector<float>(200, 1.0f);
    bounds.levels[0] = 0.0f;
    const OccupancyMap map = random.map(bounds);
    const FreeReach reach = reachOf(map);
    for (int j = 0; j < 50; ++j) {
      const Point2Di from(random.between(0, map.params.width - 1),
                          random.between(0, map.params.height - 1));
      InsideLine line;
      line.aim(*map.image, from, {random.between(-200, 600), random.between(-200, 600)});
      ReachWalk walk;
      walk.aim(reach, line);
      while (!walk.isAtEnd() && walk.leap()) {
      }
      const std::int64_t expected =
          line.walk<const float>(*map.image, 0, [](float cell) { return kThreshold > cell; });
      ASSERT_EQ(walk.step(), expected);
      ASSERT_EQ(walk.isAtEnd(), expected == line.length());
      blocked += walk.isAtEnd() ? 0 : 1;
    }
  }
  EXPECT_GT(blocked, 1500);
}

}  // namespace
