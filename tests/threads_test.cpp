// What is safe from several threads at once, done from eight, with the answers compared. The preset
// `tsan` runs this under the thread sanitizer: `scripts/test tsan`.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "korrin/korrin.hpp"
#include "support/workload.hpp"

using namespace korrin_test;

namespace {

constexpr int kThreads = 8;

// Runs `work(i)` for i from 0 to 7, each on a thread of its own, all at the same time.
void onThreads(const std::function<void(int)>& work) {
  std::atomic<int> waiting{kThreads};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

class Threads : public testing::Test {
 protected:
  Threads() : previous_(Brin::setLogSink([](const Brin::LogRecord&) {})) {}
  ~Threads() override { Brin::setLogSink(previous_); }

 private:
  Brin::LogSink previous_;
};

// Each thread begins with another family, so that different ones meet. All read the same maps,
// scans and paths; what they write is their own. Path finders share state, so they take turns.
TEST_F(Threads, GiveTheSameAnswersInEveryFamilyAsOne) {
  const World world = makeWorld(80, 60, 181);
  std::vector<Words> expected(families().size());
  for (std::size_t i = 0; i < expected.size(); ++i) families()[i].run(world, expected[i]);
  std::mutex finders;
  std::atomic<int> agreeing{0};
  onThreads([&](int thread) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const std::size_t k = (i + 3 * static_cast<std::size_t>(thread)) % expected.size();
      std::unique_lock<std::mutex> turn(finders, std::defer_lock);
      if (!families()[k].isThreadSafe) turn.lock();
      Words words;
      families()[k].run(world, words);
      if (words.all() == expected[k].all()) ++agreeing;
    }
  });
  EXPECT_EQ(agreeing, kThreads * static_cast<int>(expected.size()));
}

// One mapper, one path simplifier, one reference scan, shared by all.
TEST_F(Threads, MayReadOneObject) {
  World world = makeWorld(80, 60, 181);
  const Brin::OccupancyMapper mapper(&world.map);
  const Brin::PathSimplifier simplifier;
  Brin::ScanDistMap reference;
  reference.build(world.scan, {0.0f, 0.0f, 0.0f}, 0.05f);
  const auto ask = [&](Words& words) {
    std::vector<Brin::RangeReading> readings;
    for (const Brin::Pose2D& pose : world.poses) {
      words.add(mapper.throwRay(world.poses.front(), pose, 0.45f));
      mapper.simulateScan(pose, 3.0f, 0.1f, 5.0f, 50, readings, 0.45f);
      words.add(readings);
      words.add(reference.score(world.points, pose, 0.5f, nullptr));
      words.add(reference.score(world.scan, pose, 0.5f, nullptr));
    }
    words.add(simplifier.sample(world.path));
  };
  Words expected;
  ask(expected);
  std::atomic<int> agreeing{0};
  onThreads([&](int) {
    Words words;
    ask(words);
    if (words.all() == expected.all()) ++agreeing;
  });
  EXPECT_EQ(agreeing, kThreads);
  cvReleaseImage(&reference.distanceMap);
  cvReleaseImage(&reference.laserImage);
}

// Walls with a gap at either end in turn: planning takes long enough for threads to meet.
Brin::OccupancyMap mazeMap() {
  Brin::OccupancyMap map(90, 70, 0.1f, false);
  map.reset(0.9f);
  for (int x = 8; x < 80; x += 8) {
    for (int y = 0; y < 70; ++y) {
      const bool isWall = x / 8 % 2 == 0 ? y < 60 : y >= 10;
      if (isWall) map.setCell(x, y, 0.0f);
    }
  }
  return map;
}

Brin::PlannerSettings robot() {
  Brin::PlannerSettings settings;
  settings.robotRadius = 0.15f;
  settings.fadeDistance = 0.3f;
  return settings;
}

void addPlans(const Brin::PathPlanner& planner, Words& words) {
  for (int i = 0; i < 6; ++i) {
    const Brin::Pose2D from(0.3f, 0.8f * static_cast<float>(i), 0.0f);
    const Brin::Pose2D to(8.5f, 6.0f - 0.8f * static_cast<float>(i), 0.0f);
    const Brin::Plan plan = planner.plan(from, to);
    words.add(static_cast<std::int32_t>(plan.outcome));
    words.add(plan.path);
    words.add(plan.waypoints);
    words.add(plan.iterations);
    words.add(plan.cost);
    words.add(planner.planToNearest(from, {to, {4.4f, 3.0f, 0.0f}, {-1.0f, 0.0f, 0.0f}}).goal);
  }
  words.add(*planner.costField(Brin::Pose2D(4.4f, 3.0f, 0.0f)).image);
}

// Eight plan on one planner, while another makes finders, whose constructor rewrites what finders
// share, and sets the weight: none of it is the planner's.
TEST_F(Threads, PlanOnOnePlannerWhileAnotherMakesFindersAndSetsWeights) {
  const Brin::OccupancyMap map = mazeMap();
  const Brin::PathPlanner planner(map, robot());
  Words expected;
  addPlans(planner, expected);
  std::atomic<bool> isOver{false};
  std::atomic<int> made{0};
  std::thread other([&] {
    while (!isOver) {
      const Brin::OccMapPathFinder finder(&map, 0.0f);
      Brin::OccMapPathFinder::setHWeight(0.25f * static_cast<float>(made % 5));
      ++made;
      std::this_thread::yield();
    }
  });
  std::atomic<int> agreeing{0};
  onThreads([&](int) {
    for (int i = 0; i < 2; ++i) {
      Words words;
      addPlans(planner, words);
      if (words.all() == expected.all()) ++agreeing;
    }
  });
  isOver = true;
  other.join();
  EXPECT_EQ(agreeing, 2 * kThreads);
  EXPECT_GT(made, 2);
  Brin::OccMapPathFinder::setHWeight(0.5f);
}

// Eight on one planner, which now and then one of them refreshes, alone: every plan is that on the
// map before the change or that after it.
TEST_F(Threads, PlanOnOnePlannerBetweenRefreshesBehindALock) {
  Brin::OccupancyMap map = mazeMap();
  Brin::PathPlanner planner(map, robot());
  const auto plan = [&] {
    return planner.plan(Brin::Pose2D(0.3f, 0.3f, 0.0f), Brin::Pose2D(8.5f, 6.0f, 0.0f));
  };
  const auto change = [&](float value) {
    for (int y = 20; y < 40; ++y) map.setCell(16, y, value);
    planner.refresh(16, 20, 1, 20);
  };
  const float closed = plan().cost;
  change(0.9f);
  const float open = plan().cost;
  ASSERT_NE(open, closed);
  std::shared_mutex refreshing;
  bool isOpen = true;
  std::atomic<int> agreeing{0};
  std::atomic<int> whenOpen{0};
  constexpr int kPlans = 20;
  onThreads([&](int thread) {
    for (int i = 0; i < kPlans; ++i) {
      if (thread == 0 && i % 2 == 0) {
        const std::unique_lock<std::shared_mutex> alone(refreshing);
        isOpen = !isOpen;
        change(isOpen ? 0.9f : 0.0f);
      }
      const std::shared_lock<std::shared_mutex> together(refreshing);
      if (plan().cost == (isOpen ? open : closed)) ++agreeing;
      if (isOpen) ++whenOpen;
    }
  });
  EXPECT_EQ(agreeing, kThreads * kPlans);
  EXPECT_GT(whenOpen, 0);
}

std::atomic<int> heardByOne{0};
std::atomic<int> heardByTheOther{0};
std::atomic<int> garbled{0};

void hear(const Brin::LogRecord& record, std::atomic<int>& heard) {
  if (record.message != "message " + std::to_string(record.line)) ++garbled;
  ++heard;
}
void one(const Brin::LogRecord& record) { hear(record, heardByOne); }
void theOther(const Brin::LogRecord& record) { hear(record, heardByTheOther); }

// While one thread swaps the sinks, every record of the others reaches exactly one of them.
TEST_F(Threads, LoseNoRecordWhileTheSinkIsSwapped) {
  constexpr int kFewest = 2000;
  heardByOne = heardByTheOther = garbled = 0;
  Brin::setLogSink(one);
  std::atomic<int> told{0};
  std::atomic<int> logging{kThreads - 1};
  onThreads([&](int thread) {
    if (thread == 0) {
      for (bool odd = false; logging > 0; odd = !odd) {
        const Brin::LogSink before = Brin::setLogSink(odd ? one : theOther);
        if (before != (odd ? theOther : one)) ++garbled;
        std::this_thread::yield();
      }
      return;
    }
    for (int i = 0; i < kFewest || heardByOne == 0 || heardByTheOther == 0; ++i) {
      const int line = ++told;
      Brin::completeLog(Brin::NavLogLevel::Info, "message " + std::to_string(line), "file", "f",
                        line);
    }
    --logging;
  });
  EXPECT_EQ(heardByOne + heardByTheOther, told);
  EXPECT_EQ(garbled, 0);
}

// All that a finder shows of a search but its arrays.
void addSearch(Words& words, const Brin::OccMapPathFinder& finder) {
  words.add(finder.getNumIterations());
  words.add(finder.openList);
  for (const auto* nodes : {&finder.nodes, &finder.closedNodes}) {
    for (const Brin::OccMapPathFinder::Node& node : *nodes) {
      for (const std::int32_t number : {node.x, node.y, node.parent}) words.add(number);
      for (const float number : {node.theta, node.f, node.g, node.h}) words.add(number);
    }
  }
}

// Finders made beforehand search at the same time, one to a thread, on one map: in all
// neighbourhoods, with coarse maps, and for goals that are blocked or out of reach.
TEST_F(Threads, SearchWithFindersMadeBeforehand) {
  using Brin::OccMapPathFinder;
  const World world = makeWorld(80, 60, 181);
  std::vector<std::unique_ptr<OccMapPathFinder>> finders;
  for (int i = 0; i <= kThreads; ++i) {
    finders.push_back(std::make_unique<OccMapPathFinder>(&world.map, 0.0f));
  }
  OccMapPathFinder::setHWeight(0.4f);
  // Returns how many paths it has found.
  const auto ask = [&](OccMapPathFinder& finder, Words& words) {
    int found = 0;
    std::vector<Brin::Pose2D> path;
    finder.setObstacleThreshold(0.45f);
    finder.setAngleCostFactor(0.1f);
    for (const int factor : {1, 2, 1}) {
      finder.setCoarseFactor(factor);
      for (const auto type :
           {OccMapPathFinder::Simple, OccMapPathFinder::Double, OccMapPathFinder::Triple}) {
        finder.setNeighborhoodType(type);
        for (const Brin::Pose2D& goal : world.poses) {
          finder.computePath(world.poses.front(), goal, path);
          words.add(path);
          addSearch(words, finder);
          found += path.empty() ? 0 : 1;
        }
      }
    }
    return found;
  };
  Words expected;
  const int found = ask(*finders.back(), expected);
  const int asked = 9 * static_cast<int>(world.poses.size());
  EXPECT_GT(found, asked / 4);
  EXPECT_LT(found, asked * 3 / 4);
  std::atomic<int> agreeing{0};
  onThreads([&](int thread) {
    Words words;
    ask(*finders[static_cast<std::size_t>(thread)], words);
    if (words.all() == expected.all()) ++agreeing;
  });
  EXPECT_EQ(agreeing, kThreads);
}

// What the whole process shares, and why finders belong to one thread: the weight and the three
// tables are one object each, whichever thread looks, and making a finder rewrites them all.
TEST_F(Threads, ShareTheWeightAndTheNeighbourTables) {
  using Brin::OccMapPathFinder;
  const OccMapPathFinder here(nullptr, 0.0f);
  OccMapPathFinder::setHWeight(0.25f);
  Brin::kSimpleNeighborDeltas.clear();
  float weightThere = 0.0f;
  std::size_t offsetsThere = 1;
  std::thread([&] {
    weightThere = OccMapPathFinder::Node::hWeight;
    offsetsThere = Brin::kSimpleNeighborDeltas.size();
    const OccMapPathFinder there(nullptr, 0.0f);
    OccMapPathFinder::setHWeight(0.75f);
  }).join();
  EXPECT_EQ(weightThere, 0.25f);
  EXPECT_EQ(offsetsThere, 0u);
  EXPECT_EQ(OccMapPathFinder::Node::hWeight, 0.75f);
  EXPECT_EQ(Brin::kSimpleNeighborDeltas.size(), 8u);
  const OccMapPathFinder next(nullptr, 0.0f);
  EXPECT_EQ(OccMapPathFinder::Node::hWeight, 0.5f);
}

}  // namespace
