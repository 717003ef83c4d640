// Drawing on the map, and taking it back.
#include "tools/serve/map_store.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "support/bits.hpp"
#include "support/map_drawing.hpp"
#include "tools/serve/brush.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;
using Rows = std::vector<std::string>;

Stroke wall(float width, std::vector<Brin::Point2D> points) {
  return {0.0f, width, std::move(points)};
}

TEST(Brush, FillsACellEvenWhenItHasNoWidth) {
  Brin::OccupancyMap map = drawMap({"...", "...", "..."});
  paint(map, wall(0.0f, {{1.0f, 1.0f}}));
  EXPECT_EQ(drawingOf(map), Rows({"...", ".#.", "..."}));
}

TEST(Brush, LeavesNoGapsAlongALine) {
  Brin::OccupancyMap map = drawMap({".....", ".....", "....."});
  paint(map, wall(0.0f, {{0.0f, 0.0f}, {4.0f, 2.0f}}));
  EXPECT_EQ(drawingOf(map), Rows({"##...", ".###.", "...##"}));
}

TEST(Brush, IsRoundAndAsWideAsItIsSaid) {
  Brin::OccupancyMap map = drawMap(Rows(5, "......."));
  paint(map, wall(4.0f, {{3.0f, 2.0f}}));
  EXPECT_EQ(drawingOf(map), Rows({"...#...", "..###..", ".#####.", "..###..", "...#..."}));
}

// The rule itself, cell by cell, on random strokes that leave the map and are turned with it.
TEST(Brush, FillsJustTheCellsThatAreNearEnough) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> place(-2.0f, 5.0f);
  std::uniform_real_distribution<float> width(0.0f, 1.5f);
  int filled = 0;
  for (int i = 0; i < 200; ++i) {
    Brin::OccupancyMapParams params(40, 30, 0.1f);
    params.origin = {0.3f, -0.2f, i % 2 == 0 ? 0.0f : 0.7f};
    Brin::OccupancyMap map(params, false);
    const Stroke stroke =
        wall(width(random), {{place(random), place(random)}, {place(random), place(random)}});
    paint(map, stroke);
    const Brin::Pose2D a = params.origin.relProject({stroke.points[0].x, stroke.points[0].y, 0});
    const Brin::Pose2D b = params.origin.relProject({stroke.points[1].x, stroke.points[1].y, 0});
    const double ax = a.x / 0.1, ay = a.y / 0.1, dx = b.x / 0.1 - ax, dy = b.y / 0.1 - ay;
    const double radius = std::max(0.7071, 0.5 * stroke.width / 0.1);
    for (int y = 0; y < 30; ++y) {
      for (int x = 0; x < 40; ++x) {
        const double along = ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy);
        const double t = std::clamp(along, 0.0, 1.0);
        const double distance = std::hypot(x - ax - t * dx, y - ay - t * dy);
        if (std::abs(distance - radius) < 1e-3) continue;  // rounding decides
        ASSERT_EQ(map.getCell(x, y) == 0.0f, distance < radius) << i << ": " << x << ' ' << y;
        filled += distance < radius ? 1 : 0;
      }
    }
  }
  EXPECT_GT(filled, 5000);
}

TEST(MapStore, TellsWhatChangedAndCountsRevisions) {
  MapStore store(drawMap({".....", ".....", "....."}));
  const MapChange change = store.draw({wall(0.0f, {{1.0f, 1.0f}, {3.0f, 1.0f}})});
  EXPECT_EQ(change.revision, 1);
  EXPECT_EQ(change.undoSteps, 1u);
  EXPECT_EQ(change.changedCells, 3);
  EXPECT_LE(change.changed.x, 1);
  EXPECT_GE(change.changed.x + change.changed.width, 4);
  EXPECT_EQ(drawingOf(store.current()->map), Rows({".....", ".###.", "....."}));
}

TEST(MapStore, HasNothingToUndoWhereNothingChanged) {
  MapStore store(drawMap({"#.", ".."}));
  EXPECT_EQ(store.draw({wall(0.0f, {{0.0f, 0.0f}})}).changedCells, 0);
  EXPECT_EQ(store.draw({wall(0.0f, {{50.0f, 0.0f}})}).changedCells, 0);
  EXPECT_EQ(store.draw({}).revision, 0);
  EXPECT_EQ(store.undoSteps(), 0u);
  EXPECT_THROW(store.undo(), Refusal);
}

TEST(MapStore, UndoesStepByStepToTheLastBit) {
  Brin::OccupancyMap map = drawMap(Rows(20, std::string(30, '7')));
  map.setCell(3, 4, std::numeric_limits<float>::quiet_NaN());
  const Brin::OccupancyMap before = map;
  MapStore store(map);
  store.draw({wall(3.0f, {{2.0f, 2.0f}, {20.0f, 15.0f}})});
  const Brin::OccupancyMap between = store.current()->map;
  store.draw({{1.0f, 2.0f, {{2.0f, 2.0f}}}, {0.5f, 9.0f, {{9.0f, 9.0f}}}});
  EXPECT_FALSE(sameImage(store.current()->map.image, between.image));
  EXPECT_EQ(store.undo().undoSteps, 1u);
  EXPECT_TRUE(sameImage(store.current()->map.image, between.image));
  const MapChange last = store.undo();
  EXPECT_EQ(last.revision, 4);
  EXPECT_GT(last.changedCells, 0);
  EXPECT_TRUE(sameImage(store.current()->map.image, before.image));
}

TEST(MapStore, LeavesAloneWhatOthersLookAt) {
  MapStore store(drawMap({"..", ".."}));
  const auto seen = store.current();
  store.draw({wall(9.0f, {{0.0f, 0.0f}})});
  EXPECT_EQ(drawingOf(seen->map), Rows({"..", ".."}));
  EXPECT_EQ(seen->revision, 0);
  EXPECT_EQ(drawingOf(store.current()->map), Rows({"##", "##"}));
}

TEST(MapStore, RefusesStrokesThatWouldTakeLong) {
  MapStore store(Brin::OccupancyMap(2000, 2000, 0.05f, false));
  std::vector<Brin::Point2D> points;
  for (int i = 0; i < 20000; ++i) points.emplace_back(i % 2 == 0 ? 0.0f : 99.0f, 50.0f);
  EXPECT_THROW(store.draw({wall(0.0f, points)}), Refusal);
  EXPECT_EQ(store.current()->revision, 0);
}

}  // namespace
}  // namespace korrin_test
