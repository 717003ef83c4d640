// The planner and its literal model agree in every bit: on the maps that are searched, on plans, on
// cost fields, now and after every refresh.
#include "models/path_planner_model.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <vector>

#include "korrin/path_planner.hpp"
#include "support/bits.hpp"
#include "support/plans.hpp"
#include "support/quiet.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::BlockedReason;
using Brin::OccupancyMap;
using Brin::PathPlanner;
using Brin::Plan;
using Brin::PlannerSettings;
using Brin::PlanOutcome;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_model::PathPlannerModel;
using korrin_test::anySettings;
using korrin_test::holds;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameMap;
using korrin_test::samePlan;

OccupancyMap anyMap(RandomInputs& random) {
  MapBounds bounds;
  bounds.maxSide = random.chance(0.2) ? 40 : 16;
  bounds.levels = std::vector<float>(static_cast<std::size_t>(random.between(6, 60)), 1.0f);
  bounds.levels[0] = 0.0f;
  bounds.levels[1] = random.pick<float>({0.2f, 0.45f, 0.5f});
  bounds.levels[2] = random.pick<float>({0.4f, 0.6f, 0.6000001f, 0.3999999f, 0.55f});
  bounds.levels[3] = 0.8f;
  bounds.anyValueShare = random.chance(0.2) ? 0.2 : 0.0;
  bounds.wildShare = random.chance(0.2) ? 0.05 : 0.0;
  return random.map(bounds);
}

Pose2D anyPose(RandomInputs& random, const OccupancyMap& map) {
  return random.chance(0.03) ? random.wildPose() : random.poseNear(map);
}

struct Counts {
  int found = 0;
  int foundReduced = 0;
  int simplified = 0;
  int noPath = 0;
  int reasons[6] = {};

  void add(const Plan& plan, const PlannerSettings& settings) {
    const bool isLong = plan.outcome == PlanOutcome::Found && plan.path.size() > 2;
    found += isLong ? 1 : 0;
    foundReduced += isLong && (settings.coarseFactor > 1 || settings.neighborhood > 0) ? 1 : 0;
    simplified += plan.waypoints.size() < plan.path.size() ? 1 : 0;
    noPath += plan.outcome == PlanOutcome::NoPath ? 1 : 0;
    ++reasons[static_cast<int>(plan.blocked.reason)];
  }
};

void expectSameAnswers(const PathPlanner& planner, const OccupancyMap& map, RandomInputs& random,
                       Counts& counts) {
  PathPlannerModel model(map, planner.settings());
  ASSERT_TRUE(sameMap(planner.fineMap(), model.fineMap()));
  ASSERT_TRUE(sameMap(planner.grownMap(), model.grownMap()));
  for (int i = 0; i < 4; ++i) {
    const Pose2D from = anyPose(random, map), to = anyPose(random, map);
    const Plan plan = planner.plan(from, to);
    ASSERT_TRUE(samePlan(plan, model.plan(from, to)));
    counts.add(plan, planner.settings());
    const Pose2Di a = random.cellNear(model.grownMap(), 1),
                  b = random.cellNear(model.grownMap(), 1);
    const Plan cells = planner.plan(a, b);
    ASSERT_TRUE(samePlan(cells, model.plan(a, b)));
    counts.add(cells, planner.settings());
  }
  std::vector<Pose2D> goals;
  for (int i = random.between(0, 4); i > 0; --i) goals.push_back(anyPose(random, map));
  if (goals.size() > 2) goals.push_back(goals[0]);
  const Pose2D from = anyPose(random, map);
  ASSERT_TRUE(samePlan(planner.planToNearest(from, goals), model.planToNearest(from, goals)));
  const Pose2Di goal = random.cellNear(model.grownMap(), 1);
  const OccupancyMap field = planner.costField(goal);
  ASSERT_TRUE(holds(*field.image, model.costField(goal)));
}

TEST(PathPlannerLaw, answersAreThoseOfTheModelNowAndAfterEveryRefresh) {
  const korrin_test::Quiet quiet;
  RandomInputs random(141);
  Counts counts;
  for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
    OccupancyMap map = anyMap(random);
    PathPlanner planner(map, anySettings(random, map.params.resolution));
    expectSameAnswers(planner, map, random, counts);
    const int x = random.between(-3, map.params.width);
    const int y = random.between(-3, map.params.height);
    const int width = random.between(0, 6);
    const int height = random.between(0, 6);
    const float value = random.pick<float>({0.0f, 1.0f, 0.5f});
    for (int v = y; v < y + height; ++v) {
      for (int u = x; u < x + width; ++u) map.setCell(u, v, value);
    }
    planner.refresh(x, y, width, height);
    expectSameAnswers(planner, map, random, counts);
  }
  EXPECT_GT(counts.found, 2000);
  EXPECT_GT(counts.foundReduced, 500);
  EXPECT_GT(counts.simplified, 2000);
  EXPECT_GT(counts.noPath, 200);
  for (const int reason : counts.reasons) EXPECT_GT(reason, 100);
}

// Taller than what is worked out at once, with obstacles far apart.
TEST(PathPlannerLaw, tallMapsAreGrownAsTheModelGrowsThem) {
  RandomInputs random(142);
  int near = 0;
  for (int i = 0; i < 60 && !HasFatalFailure(); ++i) {
    OccupancyMap map(random.between(1, 20), random.between(90, 400), 1.0f, false);
    map.reset(1.0f);
    for (int k = random.between(0, 5); k > 0; --k) {
      map.setCell(random.between(0, 19), random.between(0, 399), 0.0f);
    }
    PlannerSettings settings;
    settings.robotRadius = random.pick<float>({0.0f, 2.0f, 30.0f, 99.5f});
    settings.fadeDistance = random.pick<float>({0.5f, 10.0f, 90.0f, 200.0f});
    PathPlanner planner(map, settings);
    ASSERT_TRUE(sameMap(planner.fineMap(), PathPlannerModel(map, settings).fineMap()));
    near += planner.fineMap().getCell(0, 90) < 1.0f ? 1 : 0;
    const int y = random.between(0, map.params.height - 1);
    map.setCell(0, y, 0.0f);
    planner.refresh(0, y, 1, 1);
    ASSERT_TRUE(sameMap(planner.fineMap(), PathPlannerModel(map, settings).fineMap()));
  }
  EXPECT_GT(near, 10);
}

// Wider than what is worked out at once, which ends after every whole number of eight columns. One
// or two obstacles stand at such a border, or beside it, with a reach that crosses it.
TEST(PathPlannerLaw, wideMapsAreGrownAsTheModelGrowsThem) {
  RandomInputs random(143);
  int crossed = 0, untouched = 0;
  for (int i = 0; i < 400 && !HasFatalFailure(); ++i) {
    OccupancyMap map(random.between(1, 300), random.between(1, 4), 1.0f, false);
    map.reset(1.0f);
    const int border = 8 * random.between(0, map.params.width / 8);
    for (int k = random.between(1, 2); k > 0; --k) {
      const int x = border + random.between(-1, 1) + (k == 2 ? random.between(-200, 200) : 0);
      map.setCell(x, random.between(0, map.params.height - 1), 0.0f);
    }
    PlannerSettings settings;
    settings.robotRadius = random.pick<float>({0.0f, 1.0f, 7.0f, 15.5f, 40.0f});
    settings.fadeDistance = random.pick<float>({0.5f, 1.0f, 9.0f, 30.0f, 86.0f, 87.0f});
    PathPlanner planner(map, settings);
    ASSERT_TRUE(sameMap(planner.fineMap(), PathPlannerModel(map, settings).fineMap()));
    crossed += planner.fineMap().getCell(border - 2, 0) < 1.0f &&
                       planner.fineMap().getCell(border + 2, 0) < 1.0f
                   ? 1
                   : 0;
    untouched += planner.fineMap().getCell(border + 50, 0) == 1.0f ? 1 : 0;
    const int x = random.between(0, map.params.width - 1);
    map.setCell(x, 0, 0.0f);
    planner.refresh(x, 0, 1, 1);
    ASSERT_TRUE(sameMap(planner.fineMap(), PathPlannerModel(map, settings).fineMap()));
  }
  EXPECT_GT(crossed, 100);
  EXPECT_GT(untouched, 50);
}

// Radius and fading whose sum rounds down to whole cells: a cell just there is not quite free yet.
TEST(PathPlannerLaw, aRampThatEndsARoundingErrorBeyondACellLimitsThatCell) {
  OccupancyMap map(9, 5, 1.0f, false);
  map.reset(1.0f);
  map.setCell(0, 2, 0.0f);
  int limited = 0;
  for (const float fade : {1.0f, 1.5f, 2.0f, 3.0f}) {
    for (const float threshold : {0.1f, 0.2f, 0.3f, 0.5f}) {
      PlannerSettings settings;
      settings.obstacleThreshold = threshold;
      settings.fadeDistance = fade;
      settings.robotRadius = std::nextafter(4.0f - fade, 5.0f);
      const PathPlanner planner(map, settings);
      ASSERT_TRUE(sameMap(planner.fineMap(), PathPlannerModel(map, settings).fineMap()));
      limited += planner.fineMap().getCell(4, 2) < 1.0f ? 1 : 0;
    }
  }
  EXPECT_GT(limited, 0);
}

// Beyond this many cells a distance's square is not a float in each case.
TEST(PathPlannerLaw, farGoalsAreSearchedForAsTheModelDoes) {
  const korrin_test::Quiet quiet;
  RandomInputs random(143);
  for (const int width : {4200, 9000}) {
    OccupancyMap map(width, 3, 0.05f, false);
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < width; ++x) {
        map.setCell(x, y, y != 1 && random.chance(0.1) ? 0.0f : random.between(0.61f, 1.0f));
      }
    }
    const PathPlanner planner(map);
    PathPlannerModel model(map, planner.settings());
    const Pose2Di from(1, 1, 0.0f), to(width - 2, 1, 0.0f);
    const Plan plan = planner.plan(from, to);
    EXPECT_EQ(plan.outcome, PlanOutcome::Found);
    EXPECT_TRUE(samePlan(plan, model.plan(from, to)));
  }
}

// Shrinks to the smallest map and request that disagree.
RC_GTEST_PROP(PathPlannerLaw, smallestPlans, ()) {
  const korrin_test::Quiet quiet;
  const int width = *rc::gen::inRange(1, 9);
  const int height = *rc::gen::inRange(1, 9);
  OccupancyMap map(width, height, 1.0f, false);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      map.setCell(x, y, *rc::gen::element(1.0f, 1.0f, 1.0f, 0.7f, 0.5f, 0.0f));
    }
  }
  PlannerSettings settings;
  settings.robotRadius = *rc::gen::element(0.0f, 1.0f, 1.2f);
  settings.fadeDistance = *rc::gen::element(0.0f, 2.0f);
  settings.weight = *rc::gen::element(0.5f, 0.0f, 1.0f);
  settings.neighborhood =
      *rc::gen::element(Brin::OccMapPathFinder::Simple, Brin::OccMapPathFinder::Double,
                        Brin::OccMapPathFinder::Triple);
  settings.coarseFactor = *rc::gen::element(1, 1, 2);
  const PathPlanner planner(map, settings);
  PathPlannerModel model(map, settings);
  const auto column = rc::gen::inRange(-1, width + 1);
  const auto row = rc::gen::inRange(-1, height + 1);
  const Pose2Di from(*column, *row, 0.0f), to(*column, *row, 0.0f);
  RC_ASSERT(samePlan(planner.plan(from, to), model.plan(from, to)));
  RC_ASSERT(holds(*planner.costField(to).image, model.costField(to)));
}

}  // namespace
