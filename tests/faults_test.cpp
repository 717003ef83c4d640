// Memory that runs out: every allocation of every family is made to fail, one after the other, once
// alone and once with all that follow. What reaches the caller is std::bad_alloc or OpenCV's error,
// nothing leaks, and the objects that were in use work again as soon as there is memory.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <memory>
#include <new>
#include <opencv2/core/mat.hpp>
#include <string>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "support/bits.hpp"
#include "support/failing_memory.hpp"
#include "support/quiet.hpp"
#include "support/workload.hpp"

using namespace korrin_test;
using Brin::OccupancyMap;

// What OpenCV itself loses is counted below; the leak sanitizer need not tell of it as well.
extern "C" KORRIN_EXPORT const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:cv::Mat::create"; }

namespace {

constexpr std::int64_t kTooMany = 20000;

enum class Outcome { Done, Refused, Unexpected };

// What `call` does when the `nth` allocation fails.
Outcome callWithout(std::int64_t nth, FailingMemory::Mode mode, const std::function<void()>& call) {
  Outcome outcome = Outcome::Done;
  const FailingMemory memory(nth, mode);
  try {
    call();
  } catch (const std::bad_alloc&) {
    outcome = Outcome::Refused;
  } catch (const cv::Exception&) {
    outcome = Outcome::Refused;
  } catch (...) {
    outcome = Outcome::Unexpected;
  }
  return outcome;
}

int failures() {
  return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

// OpenCV's filters make matrices of their own, and cv::Mat::create (of 4.6) loses the elements when
// there is no memory for the record about them.
std::int64_t blocksThatOpenCvLoses() {
  return FailingMemory::refused() == sizeof(cv::UMatData) ? 1 : 0;
}

// Makes every allocation of `call` fail in turn; `check` looks around after each failure. Neither
// may leave anything behind. Returns how many allocations there were.
std::int64_t failEach(FailingMemory::Mode mode, const std::function<void()>& call,
                      const std::function<void(Outcome)>& check) {
  const int failuresBefore = failures();
  for (std::int64_t nth = 1; nth < kTooMany; ++nth) {
    const std::int64_t before = blocksInUse;
    const Outcome outcome = callWithout(nth, mode, call);
    if (!FailingMemory::hasFailed()) return nth - 1;
    EXPECT_NE(outcome, Outcome::Unexpected);
    check(outcome);
    const std::int64_t lost = blocksInUse - before;
    EXPECT_GE(lost, 0);
    EXPECT_LE(lost, blocksThatOpenCvLoses());
    if (failures() > failuresBefore) {
      ADD_FAILURE() << "after allocation " << nth << " has failed";
      return nth;
    }
  }
  ADD_FAILURE() << "it never ends";
  return kTooMany;
}

constexpr FailingMemory::Mode kModes[] = {FailingMemory::Once, FailingMemory::FromThenOn};

TEST(Faults, NothingLeaksWhicheverAllocationFails) {
  const korrin_test::Quiet quiet;
  const World world = makeWorld(36, 28, 61);
  std::int64_t total = 0;
  for (const Family& family : families()) {
    SCOPED_TRACE(family.name);
    Words expected;
    family.run(world, expected);
    for (const auto mode : kModes) {
      bool isRight = false;
      const auto call = [&] {
        isRight = false;
        Words words;
        family.run(world, words);
        isRight = words.all() == expected.all();
      };
      const auto check = [&](Outcome outcome) { EXPECT_EQ(isRight, outcome == Outcome::Done); };
      total += failEach(mode, call, check);
      EXPECT_TRUE(isRight);
    }
  }
  RecordProperty("allocations", std::to_string(total));
  EXPECT_GT(total, 2000);
}

// On a map that is large enough for arrays in pages of their own.
TEST(Faults, LargeSearchesLeakNothing) {
  const korrin_test::Quiet quiet;
  OccupancyMap map(400, 300, 0.05f, false);
  map.reset(1.0f);
  std::vector<Brin::Pose2Di> path;
  const auto plan = [&] {
    Brin::OccMapPathFinder finder(&map, 0.0f);
    finder.computePath({3, 3, 0.0f}, {30, 20, 0.0f}, path);
    finder.computePath({3, 3, 0.0f}, {5, 5, 0.0f}, path);
  };
  plan();
  for (const auto mode : kModes) {
    path.clear();
    int done = 0;
    const auto check = [&](Outcome outcome) {
      EXPECT_EQ(path.size(), outcome == Outcome::Done ? 3u : 0u);
      done += outcome == Outcome::Done ? 1 : 0;
      path.clear();
    };
    EXPECT_GT(failEach(mode, plan, check), 10);
    EXPECT_EQ(path.size(), 3u);
    // Where there is less room for nodes than wanted, both kinds of them make do with less.
    EXPECT_EQ(done, mode == FailingMemory::Once ? 2 : 0);
  }
}

// Objects that live through a failure.
struct Robot {
  Robot() = default;
  ~Robot() {
    for (IplImage** image :
         {&merged, &debug, &bytes, &reference.distanceMap, &reference.laserImage}) {
      cvReleaseImage(image);
    }
  }
  Robot(const Robot&) = delete;
  Robot& operator=(const Robot&) = delete;

  World world = makeWorld(36, 28, 61);
  OccupancyMap map{3, 2, 1.0f, true};
  Brin::OccMapPathFinder finder{&world.map, 0.0f};
  Brin::PreparedMap prepared{map, 0.45f};
  Brin::ObstacleDilater dilater{36, 28};
  Brin::SafePathSimplifier simplifier;
  Brin::ScanDistMap reference;
  IplImage* merged = nullptr;
  IplImage* debug = nullptr;
  IplImage* bytes = nullptr;
  std::vector<Brin::Pose2D> path;
  std::vector<Brin::Pose2Di> cells;
  std::vector<Brin::RangeReading> readings;
  std::vector<Brin::ScanHole> holes;
  std::vector<float> scores;
};

struct Call {
  const char* name;
  void (*run)(Robot& robot, Words& words);
};

const Call kCalls[] = {
    {"computePath",
     [](Robot& robot, Words& words) {
       robot.finder.setNeighborhoodType(Brin::OccMapPathFinder::Double);
       robot.finder.setCoarseFactor(2);
       robot.finder.computePath({-0.8f, -0.4f, 0.0f}, {0.5f, 0.5f, 0.0f}, robot.path);
       words.add(robot.path);
       words.add(robot.finder.openList);
       robot.finder.setCoarseFactor(1);
       robot.finder.computePath({0, 27, 0.0f}, {35, 1, 0.0f}, robot.cells);
       words.add(robot.cells);
       words.add(*robot.finder.coarseMap.image);
     }},
    {"pathUpSample",
     [](Robot& robot, Words& words) {
       robot.cells = robot.world.cells;
       Brin::pathUpSample(robot.cells, robot.cells);
       words.add(robot.cells);
     }},
    {"sample",
     [](Robot& robot, Words& words) {
       robot.simplifier.setObstacleThreshold(0.9f);
       robot.path = robot.simplifier.sample(robot.world.path, robot.world.map);
       words.add(robot.path);
     }},
    {"dilate",
     [](Robot& robot, Words& words) {
       robot.map = robot.world.map;
       robot.dilater.dilate(robot.map, Brin::ObstacleDilater::DILATE_LINEAR);
       words.add(*robot.map.image);
     }},
    {"updateMap",
     [](Robot& robot, Words& words) {
       Brin::fillOccMapFromScan(robot.world.scan, {0.0f, 0.0f, 0.0f}, robot.map, 2);
       Brin::computeCoarserMap(robot.world.map, robot.map, 3);
       Brin::OccupancyMapper mapper(&robot.map);
       mapper.updateMap(robot.world.scan.readings, {0.0f, 0.0f, 0.5f}, 0.1f, 0.2f);
       words.add(*robot.map.image);
     }},
    {"simulateScan",
     [](Robot& robot, Words& words) {
       const Brin::OccupancyMapper mapper(&robot.world.map);
       mapper.simulateScan({0.0f, 0.0f, 0.5f}, 3.0f, 0.1f, 5.0f, 40, robot.readings, 0.45f);
       words.add(robot.readings);
       const Brin::ScanModel model(90, 5.0f, 3.0f);
       Brin::occMapSimulateScan(robot.world.map, model, {0.0f, 0.0f, 0.5f}, robot.readings, 0.45f);
       words.add(robot.readings);
     }},
    {"prepare",
     [](Robot& robot, Words& words) {
       robot.map = robot.world.map;
       robot.prepared.refresh();
       robot.prepared.simulateScan({0.0f, 0.0f, 0.5f}, 3.0f, 0.1f, 5.0f, 40, robot.readings);
       words.add(robot.readings);
     }},
    {"mergeImages2",
     [](Robot& robot, Words& words) {
       const OccupancyMap& map = robot.world.map;
       Brin::mergeImages2({{map.image, 0.1f, 0.0f, 0.0f}, {map.secondImage, 0.0f, 0.2f, 0.0f}},
                          &robot.merged, 0.05f, 0.0f);
       words.add(*robot.merged);
     }},
    {"findScanHoles",
     [](Robot& robot, Words& words) {
       Brin::findScanHoles(robot.world.scan, robot.holes, 0.3f);
       words.add(static_cast<std::int32_t>(robot.holes.size()));
       Brin::findScanHoles_old(robot.world.scan, robot.holes, 0.3f, 4);
       words.add(static_cast<std::int32_t>(robot.holes.size()));
     }},
    {"build and score",
     [](Robot& robot, Words& words) {
       robot.reference.build(robot.world.scan, {0.0f, 0.0f, 0.0f}, 0.1f);
       words.add(*robot.reference.distanceMap);
       words.add(Brin::scanScore(robot.reference.distanceMap, robot.world.points, {}, 0.1f, 0.5f,
                                 nullptr, &robot.debug, 1));
       words.add(*robot.debug);
       Brin::scanScores(robot.reference.distanceMap, robot.world.points, robot.world.poses, 0.1f,
                        0.5f, robot.scores, nullptr, 1);
       words.add(robot.scores);
     }},
    {"toCharIplImage",
     [](Robot& robot, Words& words) {
       robot.map.toCharIplImage(&robot.bytes);
       robot.map = robot.world.map;
       robot.map.toCharIplImage(&robot.bytes);
       words.add(*robot.bytes);
     }},
    {"findObstaclesMainDirection",
     [](Robot& robot, Words& words) {
       float direction = 0.0f;
       words.add(Brin::findObstaclesMainDirection(robot.world.map, {10, 10, 0.0f}, 1.0f, direction,
                                                  0.4f));
       words.add(direction);
     }},
};

TEST(Faults, ObjectsWorkAgainOnceThereIsMemory) {
  const korrin_test::Quiet quiet;
  std::int64_t total = 0;
  for (const Call& call : kCalls) {
    SCOPED_TRACE(call.name);
    for (const auto mode : kModes) {
      Robot fresh;
      Words expected;
      call.run(fresh, expected);
      auto robot = std::make_unique<Robot>();
      const auto again = [&](Outcome) {
        Words words;
        call.run(*robot, words);
        EXPECT_EQ(words.all(), expected.all());
        robot = std::make_unique<Robot>();
      };
      total += failEach(
          mode,
          [&] {
            Words words;
            call.run(*robot, words);
          },
          again);
    }
  }
  RecordProperty("allocations", std::to_string(total));
  EXPECT_GT(total, 500);
}

// What was there stays when there is no memory for its successor.
struct Targets {
  Targets() = default;
  ~Targets() {
    cvReleaseImage(&nothing);
    cvReleaseImage(&small);
  }
  Targets(const Targets&) = delete;
  Targets& operator=(const Targets&) = delete;

  OccupancyMap map{3, 2, 0.5f, true};
  IplImage* nothing = nullptr;
  IplImage* small = Brin::makeImage(cvSize(2, 2), IPL_DEPTH_8U, 1).release();
};

TEST(Faults, ATargetStaysAsItWas) {
  const korrin_test::Quiet quiet;
  const World world = makeWorld(36, 28, 61);
  using Replace = void (*)(const OccupancyMap& map, Targets& targets);
  const Replace calls[] = {
      [](const OccupancyMap& map, Targets& targets) { targets.map = map; },
      [](const OccupancyMap& map, Targets& targets) {
        Brin::computeCoarserMap(map, targets.map, 2);
      },
      [](const OccupancyMap& map, Targets& targets) {
        Brin::mergeImages2({{map.image, 0.1f, 0.2f, 0.0f}}, &targets.nothing, 0.05f, 0.0f);
      },
      [](const OccupancyMap& map, Targets& targets) { map.toCharIplImage(&targets.small); },
  };
  for (const Replace call : calls) {
    const Targets before;
    Targets targets;
    const auto stays = [&](Outcome) {
      EXPECT_TRUE(sameMap(targets.map, before.map));
      EXPECT_EQ(targets.nothing, nullptr);
      EXPECT_EQ(targets.small->width, 2);
    };
    EXPECT_GT(failEach(
                  FailingMemory::Once, [&] { call(world.map, targets); }, stays),
              0);
  }
}

}  // namespace
