// The clipped walk visits exactly the cells that the plain walk, step by step, visits inside.
#include "src/cell_line.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "support/random_inputs.hpp"

namespace {

using Brin::CellLine;
using Brin::CellRect;
using Cells = std::vector<std::pair<int, int>>;

Cells walk(CellLine line) {
  Cells cells;
  for (; !line.done(); line.next()) cells.emplace_back(line.x(), line.y());
  return cells;
}

// The textbook integer walk, one step after the other, in 64 bits.
Cells literalWalk(std::int64_t x, std::int64_t y, std::int64_t x1, std::int64_t y1) {
  Cells cells;
  const std::int64_t ax = 2 * std::abs(x1 - x);
  const std::int64_t ay = 2 * std::abs(y1 - y);
  const int sx = x1 > x ? 1 : -1;
  const int sy = y1 > y ? 1 : -1;
  if (ax > ay) {
    for (std::int64_t e = ay - ax / 2; x != x1; e += ay) {
      cells.emplace_back(x, y);
      if (e >= 0) {
        y += sy;
        e -= ax;
      }
      x += sx;
    }
  } else {
    for (std::int64_t e = ax - ay / 2; y != y1; e += ax) {
      cells.emplace_back(x, y);
      if (e >= 0) {
        x += sx;
        e -= ay;
      }
      y += sy;
    }
  }
  return cells;
}

Cells inside(const Cells& cells, CellRect rect) {
  Cells kept;
  for (auto [x, y] : cells) {
    if (rect.contains(x, y)) kept.emplace_back(x, y);
  }
  return kept;
}

TEST(CellLine, visitsTheStartAndAllBetweenButNotTheEnd) {
  // 0 1 . .
  // . . 2 e
  EXPECT_EQ(walk(CellLine(0, 0, 3, 1)), (Cells{{0, 0}, {1, 0}, {2, 1}}));
}

TEST(CellLine, exactDiagonalStepsBothWaysAtOnce) {
  EXPECT_EQ(walk(CellLine(0, 0, -3, 3)), (Cells{{0, 0}, {-1, 1}, {-2, 2}}));
}

TEST(CellLine, lineWithoutExtentVisitsNothing) {
  EXPECT_TRUE(CellLine(5, 5, 5, 5).isEmpty());
  EXPECT_TRUE(walk(CellLine(5, 5, 5, 5)).empty());
}

TEST(CellLine, agreesWithTheLiteralWalkOnEveryShortLine) {
  int lines = 0;
  for (int x = -13; x <= 13; ++x) {
    for (int y = -13; y <= 13; ++y, ++lines) {
      ASSERT_EQ(walk(CellLine(2, -3, 2 + x, -3 + y)), literalWalk(2, -3, 2 + x, -3 + y));
    }
  }
  EXPECT_EQ(lines, 27 * 27);
}

TEST(CellLine, clippedWalkVisitsTheInsideCellsOfTheWholeWalk) {
  korrin_test::RandomInputs random(1);
  int crossing = 0;
  for (int i = 0; i < 20000; ++i) {
    const CellRect rect{random.between(0, 9), random.between(0, 9)};
    const int reach = random.chance(0.5) ? 14 : 300;
    const int x0 = random.between(-reach, reach);
    const int y0 = random.between(-reach, reach);
    const int x1 = random.chance(0.1) ? x0 : random.between(-reach, reach);
    const int y1 = random.chance(0.1) ? y0 : random.between(-reach, reach);
    const Cells expected = inside(literalWalk(x0, y0, x1, y1), rect);
    ASSERT_EQ(walk(CellLine(x0, y0, x1, y1, rect)), expected)
        << x0 << "," << y0 << " to " << x1 << "," << y1 << " in " << rect.width << "x"
        << rect.height;
    crossing += expected.empty() ? 0 : 1;
  }
  EXPECT_GT(crossing, 1500);
}

TEST(CellLine, aClippedWalkStandsOnTheFirstOutsideCellAfterItsLastStep) {
  korrin_test::RandomInputs random(2);
  const CellRect rect{7, 5};
  int leaving = 0;
  for (int i = 0; i < 5000; ++i) {
    const int x0 = random.between(0, 6);
    const int y0 = random.between(0, 4);
    const int x1 = random.between(-40, 40);
    const int y1 = random.between(-40, 40);
    const Cells all = literalWalk(x0, y0, x1, y1);
    CellLine line(x0, y0, x1, y1, rect);
    while (!line.done()) line.next();
    const std::size_t visited = inside(all, rect).size();
    if (visited == all.size()) {
      EXPECT_TRUE(line.reachesEnd());
      EXPECT_EQ(line.x(), x1);
      EXPECT_EQ(line.y(), y1);
    } else {
      EXPECT_FALSE(line.reachesEnd());
      EXPECT_EQ(line.x(), all[visited].first);
      EXPECT_EQ(line.y(), all[visited].second);
      ++leaving;
    }
  }
  EXPECT_GT(leaving, 1000);
}

TEST(CellLine, theLongestLinesOfAllStayInside64Bits) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  // A diagonal of the whole plane: after 2^31 steps it is at the origin.
  EXPECT_EQ(walk(CellLine(kMin, kMin, kMax, kMax, {3, 3})), (Cells{{0, 0}, {1, 1}, {2, 2}}));
  // Half a cell down over the whole width: the step falls in the exact middle.
  EXPECT_EQ(walk(CellLine(kMin, 0, kMax, 1, {2, 2})), (Cells{{0, 1}, {1, 1}}));
  EXPECT_EQ(walk(CellLine(0, 0, kMax, 1, {4, 4})), (Cells{{0, 0}, {1, 0}, {2, 0}, {3, 0}}));
}

}  // namespace
