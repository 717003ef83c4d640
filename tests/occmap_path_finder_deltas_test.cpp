// Searches by the caller's own offsets: any number of them, in any order, some several times, some
// that lead nowhere. The literal model says what comes out, for the fast search and for the loop
// that goes step by step.
#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/padded_images.hpp"
#include "support/path_searches.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_model::PathFinderModel;
using korrin_test::LogCapture;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameSearch;
using Deltas = std::vector<Pose2Di>;

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

int hugeOffset(RandomInputs& random) {
  return random.pick<int>({kMin, kMin + 1, kMax, -(1 << 28), 1 << 28, 1000000, -1000, 41, 0, 1});
}

// Up to 90 offsets, of which only a few make a search that gets on.
Deltas someDeltas(RandomInputs& random) {
  const int count = random.chance(0.3) ? random.between(30, 90) : random.between(0, 12);
  const int reach = random.pick<int>({1, 1, 2, 4});
  const double hugeShare = random.pick<double>({0.0, 0.1, 0.5});
  Deltas deltas;
  for (int i = 0; i < count; ++i) {
    if (!deltas.empty() && random.chance(0.2)) {
      deltas.push_back(random.pick(deltas));
    } else if (random.chance(hugeShare)) {
      deltas.emplace_back(hugeOffset(random), hugeOffset(random), 0.0f);
    } else {
      // The heading of an offset means nothing.
      deltas.emplace_back(random.between(-reach, reach), random.between(-reach, reach),
                          random.chance(0.1) ? random.wildFloat() : 0.0f);
    }
  }
  return deltas;
}

// A row of the table that is swept from left to right, as the fast search likes it.
void appendRow(RandomInputs& random, Deltas& deltas) {
  const int dy = random.between(-3, 3);
  int dx = random.between(-6, 0);
  for (int i = random.between(1, 9); i > 0; --i) {
    deltas.emplace_back(dx, dy, 0.0f);
    dx += random.between(1, 3);
  }
}

struct Tally {
  int paths = 0;
  int longPaths = 0;
  int withoutOffsets = 0;
  int many = 0;
  int repeated = 0;
  int huge = 0;
  int endedNextToTheGoal = 0;
};

void count(const PathFinderModel& model, const std::vector<Pose2Di>& path, Tally& tally) {
  const Deltas& deltas = model.neighborDeltas;
  tally.paths += path.empty() ? 0 : 1;
  tally.longPaths += path.size() > 4 ? 1 : 0;
  tally.withoutOffsets += deltas.empty() ? 1 : 0;
  if (path.size() < 3) return;
  tally.many += deltas.size() > 64 ? 1 : 0;
  tally.endedNextToTheGoal += path.back().x != model.end.x || path.back().y != model.end.y ? 1 : 0;
  for (std::size_t i = 0; i < deltas.size(); ++i) {
    if (deltas[i].x < -500 || deltas[i].x > 500) {
      ++tally.huge;
      break;
    }
  }
  for (std::size_t i = 1; i < deltas.size(); ++i) {
    if (deltas[i].x == deltas[i - 1].x && deltas[i].y == deltas[i - 1].y) {
      ++tally.repeated;
      break;
    }
  }
}

void applySettings(RandomInputs& random, OccMapPathFinder& finder, PathFinderModel& model) {
  model.hWeight = random.pick<float>({0.0f, 0.5f, 0.5f, 1.0f});
  model.angleCostFactor = random.pick<float>({0.0f, 0.7f});
  model.neighborhoodType = random.pick<int>({0, 1, 2});
  model.neighborDeltas = someDeltas(random);
  for (int rows = random.pick<int>({0, 0, 3, 8}); rows > 0; --rows) {
    appendRow(random, model.neighborDeltas);
  }
  if (model.neighborDeltas.size() > 90) model.neighborDeltas.resize(90);
  finder.setHWeight(model.hWeight);
  finder.setAngleCostFactor(model.angleCostFactor);
  finder.setNeighborhoodType(
      static_cast<OccMapPathFinder::NeighborhoodType>(model.neighborhoodType));
  finder.neighborDeltas = model.neighborDeltas;
}

Tally searchByOwnOffsets(std::uint64_t seed, int searches, bool withPaddedRows) {
  RandomInputs random(seed);
  const LogCapture log;
  Tally tally;
  for (int i = 0; i < searches && !testing::Test::HasFailure(); ++i) {
    korrin_test::MapBounds bounds;
    bounds.minSide = 1;
    bounds.maxSide = random.chance(0.3) ? 40 : 12;
    bounds.levels = {0.0f, 0.5f, 1.0f, 1.0f, 1.0f};
    PathFinderModel model;
    model.coarseMap = random.map(bounds);
    OccMapPathFinder finder(nullptr, 0.0f);
    applySettings(random, finder, model);
    finder.coarseMap = model.coarseMap;
    if (withPaddedRows) korrin_test::padRows(finder.coarseMap.image, 8);
    const Pose2Di from = random.cellNear(model.coarseMap, 0);
    const Pose2Di to = random.cellNear(model.coarseMap, 0);
    std::vector<Pose2Di> path;
    finder.xDoComputePath(from, to, path);
    const std::vector<Pose2Di> expected = model.search(from, to);
    EXPECT_TRUE(sameBits(path, expected)) << "search " << i;
    if (model.numIterations > 0) {
      EXPECT_TRUE(sameSearch(finder, model)) << "search " << i;
    }
    count(model, expected, tally);
  }
  return tally;
}

TEST(PathFinderDeltas, anyOffsetsGiveTheModelsSearch) {
  const Tally tally = searchByOwnOffsets(91, 12000, false);
  EXPECT_GT(tally.paths, 2000);
  EXPECT_GT(tally.longPaths, 600);
  EXPECT_GT(tally.withoutOffsets, 100);
  EXPECT_GT(tally.many, 100);
  EXPECT_GT(tally.repeated, 300);
  EXPECT_GT(tally.huge, 300);
  EXPECT_GT(tally.endedNextToTheGoal, 100);
}

TEST(PathFinderDeltas, anyOffsetsGiveTheModelsSearchStepByStepToo) {
  const Tally tally = searchByOwnOffsets(92, 3000, true);
  EXPECT_GT(tally.paths, 500);
  EXPECT_GT(tally.many, 25);
  EXPECT_GT(tally.huge, 75);
}

TEST(PathFinderDeltas, withoutOffsetsOnlyTheStartIsReached) {
  OccupancyMap map(3, 3, 1.0f, false);
  map.reset(1.0f);
  OccMapPathFinder finder(&map, 0.0f);
  finder.neighborDeltas.clear();
  const LogCapture log;
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(1, 1, 0.5f), Pose2Di(1, 1, 0.0f), path);
  ASSERT_EQ(path.size(), 1u);
  EXPECT_EQ(path[0].theta, 0.5f);
  finder.computePath(Pose2Di(1, 1, 0.0f), Pose2Di(1, 2, 0.0f), path);
  EXPECT_TRUE(path.empty());
  EXPECT_EQ(finder.getNumIterations(), 1);
}

// 9 by 9 cells around: more than fit into one look.
TEST(PathFinderDeltas, eightyOffsetsReachFourCellsFar) {
  OccupancyMap map(60, 1, 1.0f, false);
  map.reset(1.0f);
  OccMapPathFinder finder(&map, 0.0f);
  finder.neighborDeltas.clear();
  for (int dy = -4; dy <= 4; ++dy) {
    for (int dx = -4; dx <= 4; ++dx) {
      if (dx != 0 || dy != 0) finder.neighborDeltas.emplace_back(dx, dy, 0.0f);
    }
  }
  finder.setHWeight(1.0f);
  std::vector<Pose2Di> path;
  finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(56, 0, 0.0f), path);
  EXPECT_EQ(path.size(), 15u);
}

}  // namespace
