// The library and the literal model agree in every bit that a caller can see.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstddef>
#include <limits>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/office_map.hpp"
#include "support/path_searches.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_model::PathFinderModel;
using korrin_test::LogCapture;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameSearch;

const std::vector<float> kWeights = {0.0f, 0.3f, 0.5f, 0.5f, 0.9f, 1.0f};
// Some are exactly values of cells.
const std::vector<float> kThresholds = {
    0.2f, 0.2f, 0.2f, 0.5f, 0.20001f, 0.0f, -2.0f, std::numeric_limits<float>::quiet_NaN()};

struct Outcomes {
  int paths = 0;
  int noPath = 0;
  int startBlocked = 0;
  int goalBlocked = 0;
  int endedNextToTheGoal = 0;
  int turnsPaid = 0;
  std::vector<int> pathsOfType = std::vector<int>(8);
};

void applySettings(RandomInputs& random, OccMapPathFinder& finder, PathFinderModel& model) {
  model.hWeight = random.pick(kWeights);
  model.obstacleThreshold = random.pick(kThresholds);
  model.angleCostFactor = random.pick<float>({0.0f, 0.0f, 0.7f, 3.0f});
  finder.setHWeight(model.hWeight);
  finder.setObstacleThreshold(model.obstacleThreshold);
  finder.setAngleCostFactor(model.angleCostFactor);
  std::vector<int> types = {random.pick<int>({0, 0, 1, 2})};
  if (random.chance(0.2)) types.push_back(7);  // keeps the offsets of the one before
  for (const int type : types) {
    model.setNeighborhoodType(type);
    finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
  }
}

korrin_test::MapBounds searchableMaps(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.minSide = random.chance(0.03) ? 0 : 1;
  bounds.maxSide = random.chance(0.05) ? 40 : 14;
  bounds.levels = random.chance(0.5) ? std::vector<float>{0.0f, 0.2f, 0.5f, 1.0f, 1.0f, 1.0f}
                                     : std::vector<float>{0.2f, 0.5f, 0.9f, 1.0f};
  bounds.wildShare = random.chance(0.1) ? 0.05 : 0.0;
  return bounds;
}

// Mostly a cell with a value above the common thresholds; now and then any, or one outside.
Pose2Di placeOn(RandomInputs& random, const OccupancyMap& map) {
  Pose2Di cell = random.cellNear(map, 1);
  const bool any = random.chance(0.1);
  for (int i = 0; i < 20 && !any && !(map.getCell(cell.x, cell.y) > 0.2f); ++i) {
    cell = random.cellNear(map, 1);
  }
  return cell;
}

void count(Outcomes& outcomes, const PathFinderModel& model, const std::vector<Pose2Di>& path) {
  if (!model.messages.empty()) {
    outcomes.noPath += model.messages[0] == "No path could be found." ? 1 : 0;
    outcomes.startBlocked += model.messages[0] == "Start is not free." ? 1 : 0;
    outcomes.goalBlocked += model.messages[0] == "End is not free." ? 1 : 0;
    return;
  }
  ++outcomes.paths;
  ++outcomes.pathsOfType[static_cast<std::size_t>(model.neighborhoodType)];
  const bool onGoal = path.back().x == model.end.x && path.back().y == model.end.y;
  outcomes.endedNextToTheGoal += onGoal ? 0 : 1;
  outcomes.turnsPaid += model.angleCostFactor > 0.0f && path.size() > 1 ? 1 : 0;
}

TEST(PathFinderAgreement, onThousandsOfRandomSearchesBetweenCells) {
  RandomInputs random(21);
  LogCapture log;
  Outcomes outcomes;
  korrin_model::PathFinderEvents events;
  OccMapPathFinder finder(nullptr, 0.0f);
  constexpr int kSearches = 25000;
  for (int i = 0; i < kSearches; ++i) {
    const OccupancyMap map = random.map(searchableMaps(random));
    PathFinderModel model;
    applySettings(random, finder, model);
    finder.setOccMap(&map);
    const int factor = random.pick<int>({1, 1, 1, 2, 3});
    finder.setCoarseFactor(factor);
    model.coarseMap = korrin_model::coarserMap(map, factor);
    Pose2Di from = placeOn(random, model.coarseMap);
    const Pose2Di to = placeOn(random, model.coarseMap);
    if (random.chance(0.02)) from.theta = random.wildFloat();

    log.clear();
    std::vector<Pose2Di> path;
    finder.computePath(from, to, path);
    const std::vector<Pose2Di> expected = model.search(from, to);
    ASSERT_TRUE(sameBits(path, expected)) << "search " << i;
    ASSERT_EQ(log.records().size(), model.messages.size());
    if (!model.messages.empty()) {
      ASSERT_EQ(log.records()[0].message, model.messages[0]);
    }
    const bool accepted = model.messages.empty() || model.messages[0].front() == 'N';
    if (accepted) {
      ASSERT_TRUE(sameSearch(finder, model)) << "search " << i;
    }
    count(outcomes, model, expected);
    events += model.events;
  }
  EXPECT_GT(outcomes.paths, 8000);
  EXPECT_GT(outcomes.noPath, 1500);
  EXPECT_GT(outcomes.startBlocked, 3000);
  EXPECT_GT(outcomes.goalBlocked, 1000);
  EXPECT_GT(outcomes.endedNextToTheGoal, 200);
  EXPECT_GT(outcomes.turnsPaid, 3000);
  for (int type : {0, 1, 2, 7})
    EXPECT_GT(outcomes.pathsOfType[static_cast<std::size_t>(type)], 500);
  EXPECT_GT(events.lowered, 50000);
  EXPECT_GT(events.equalOffers, 5000);
  EXPECT_GT(events.cheaperButClosed, 5000);
  EXPECT_GT(events.filedBeforeEquals, 20000);
  EXPECT_GT(events.filedBehindLowered, 1000);
  EXPECT_GT(events.disordered, 5000);
  EXPECT_GT(events.notNumbers, 500);
}

// Long open lists, and cells far from the map's edge.
TEST(PathFinderAgreement, acrossAnOfficeFloor) {
  const OccupancyMap map = korrin_test::officeMap(220, 7);
  const int last = map.params.height - 1;
  const Pose2Di from =
      korrin_test::nearestFreeCell(map, 10, korrin_test::officeCorridorRow(last + 1, 0.0));
  const Pose2Di to =
      korrin_test::nearestFreeCell(map, last - 10, korrin_test::officeCorridorRow(last + 1, 1.0));
  OccMapPathFinder finder(&map, 0.0f);
  for (const int type : {0, 1, 2}) {
    for (const float weight : {0.5f, 0.0f, 0.9f, 1.7f, -0.5f}) {
      PathFinderModel model;
      model.countsEvents = false;
      model.coarseMap = map;
      model.hWeight = weight;
      model.setNeighborhoodType(type);
      finder.setHWeight(weight);
      finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
      std::vector<Pose2Di> path;
      finder.computePath(from, to, path);
      EXPECT_TRUE(sameBits(path, model.search(from, to))) << type << ", weight " << weight;
      EXPECT_TRUE(sameSearch(finder, model)) << type << ", weight " << weight;
      EXPECT_FALSE(path.empty());
    }
  }
}

// Beyond 4096 cells the square of the distance need not be a float.
TEST(PathFinderAgreement, alongACorridorOfThousandsOfCells) {
  constexpr int kLength = 9000;
  constexpr int kRows = 40;
  RandomInputs random(25);
  OccupancyMap map(kLength, kRows, 0.05f, false);
  for (int y = 0; y < kRows; ++y) {
    for (int x = 0; x < kLength; ++x) {
      map.setCell(x, y, random.chance(0.05) ? 0.0f : random.pick<float>({0.5f, 0.9f, 1.0f}));
    }
  }
  const Pose2Di from = korrin_test::nearestFreeCell(map, 3, 3);
  const Pose2Di to = korrin_test::nearestFreeCell(map, kLength - 4, kRows - 4);
  PathFinderModel model;
  model.countsEvents = false;
  model.coarseMap = map;
  OccMapPathFinder finder(&map, 0.0f);
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  EXPECT_TRUE(sameBits(path, model.search(from, to)));
  EXPECT_TRUE(sameSearch(finder, model));
  EXPECT_FALSE(path.empty());
}

TEST(PathFinderAgreement, onRandomRequestsBetweenPoses) {
  RandomInputs random(22);
  LogCapture log;
  OccMapPathFinder finder(nullptr, 0.0f);
  int paths = 0;
  int failures = 0;
  for (int i = 0; i < 3000; ++i) {
    const OccupancyMap map = random.map(searchableMaps(random));
    PathFinderModel model;
    applySettings(random, finder, model);
    finder.setOccMap(&map);
    const int factor = random.pick<int>({1, 1, 2});
    finder.setCoarseFactor(factor);
    const Pose2D from = random.chance(0.05) ? random.wildPose() : random.poseNear(map);
    const Pose2D to =
        random.chance(0.9) ? map.getPoseFromPixel(placeOn(random, map)) : random.wildPose();
    log.clear();
    std::vector<Pose2D> path = {{9.0f, 9.0f, 9.0f}};
    finder.computePath(from, to, path);
    ASSERT_TRUE(sameBits(path, model.planPoses(map, factor, from, to))) << "request " << i;
    ASSERT_EQ(log.records().size(), model.messages.size());
    (path.empty() ? failures : paths) += 1;
  }
  EXPECT_GT(paths, 500);
  EXPECT_GT(failures, 700);
}

TEST(PathFinderAgreement, onASearchThatIsContinuedAfterItsGoal) {
  RandomInputs random(23);
  LogCapture log;
  OccMapPathFinder finder(nullptr, 0.0f);
  int continued = 0;
  for (int i = 0; i < 2000; ++i) {
    korrin_test::MapBounds bounds = searchableMaps(random);
    bounds.minSide = 1;
    const OccupancyMap map = random.map(bounds);
    PathFinderModel model;
    applySettings(random, finder, model);
    finder.setOccMap(&map);
    finder.setCoarseFactor(1);
    model.coarseMap = map;
    std::vector<Pose2Di> path;
    const Pose2Di from = placeOn(random, map);
    finder.computePath(from, from, path);
    model.search(from, from);
    if (!model.messages.empty()) continue;
    // Another goal, and nodes filed by hand: the fields are all that the loop goes by.
    finder.end = model.end = random.cellNear(map, 0);
    for (int k = random.between(0, 5); k > 0; --k) {
      const Pose2Di cell = random.cellNear(map, 0);
      const float f = random.pick<float>({0.0f, 0.5f, 1.0f, 1.0f, 2.0f});
      finder.xAddInOpenNodes({cell.x, cell.y, 0.0f, 0, f, 3.0f * f, f});
      model.file({cell.x, cell.y, 0.0f, 0, f, 3.0f * f, f});
      finder.xGetCellState(cell) = 1;
      model.cellStates[static_cast<std::size_t>(cell.y * map.image->width + cell.x)] = 1;
    }
    ASSERT_TRUE(sameSearch(finder, model)) << "before going on, search " << i;
    ASSERT_EQ(finder.xFindPath(), model.findPath());
    ASSERT_TRUE(sameSearch(finder, model)) << "search " << i;
    ++continued;
  }
  EXPECT_GT(continued, 700);
}

// Small maps, so that a disagreement shrinks to a drawing one can follow by hand.
RC_GTEST_PROP(PathFinderAgreement, onShrinkableMaps, ()) {
  const int width = *rc::gen::inRange(1, 6);
  const int height = *rc::gen::inRange(1, 6);
  OccupancyMap map(width, height, 1.0f, false);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) map.setCell(x, y, *rc::gen::element(1.0f, 0.5f, 0.2f, 0.0f));
  }
  const Pose2Di from(*rc::gen::inRange(0, width), *rc::gen::inRange(0, height), 0.0f);
  const Pose2Di to(*rc::gen::inRange(0, width), *rc::gen::inRange(0, height), 0.0f);
  const int type = *rc::gen::inRange(0, 3);
  OccMapPathFinder finder(&map, 0.0f);
  PathFinderModel model;
  model.coarseMap = map;
  model.hWeight = *rc::gen::element(0.5f, 0.0f, 1.0f);
  model.setNeighborhoodType(type);
  finder.setHWeight(model.hWeight);
  finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
  LogCapture log;
  std::vector<Pose2Di> path;
  finder.computePath(from, to, path);
  RC_ASSERT(sameBits(path, model.search(from, to)));
  const bool accepted = model.messages.empty() || model.messages[0].front() == 'N';
  if (accepted) RC_ASSERT(sameSearch(finder, model));
}

}  // namespace
