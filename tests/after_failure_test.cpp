// What objects answer after memory has run out, without a new request, refresh or build in between:
// each allocation is made to fail in turn, and then the object is asked as it is. It answers as
// before the failure or as its header says for failures; never from a mixture of both.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "models/prepared_map_model.hpp"
#include "src/free_reach.hpp"
#include "support/bits.hpp"
#include "support/failing_memory.hpp"
#include "support/path_searches.hpp"
#include "support/plans.hpp"
#include "support/quiet.hpp"
#include "support/random_inputs.hpp"

using namespace korrin_test;
using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;

// What OpenCV itself loses is counted in faults_test.
extern "C" KORRIN_EXPORT const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:cv::Mat::create"; }

namespace {

constexpr int kTooMany = 5000;

// Whether `call` ended because memory ran out.
bool isRefused(const std::function<void()>& call) {
  try {
    call();
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const cv::Exception&) {
    return true;
  }
  return false;
}

// `prepare` makes an object, `call` uses it while its first, second, ... allocation fails, and
// `check` looks at it afterwards, with memory there again. Returns how many failures there were.
template <typename Object>
int afterEachFailure(const std::function<std::unique_ptr<Object>()>& prepare,
                     const std::function<void(Object&)>& call,
                     const std::function<void(Object&)>& check) {
  int refused = 0;
  for (int nth = 1; nth < kTooMany; ++nth) {
    const std::unique_ptr<Object> object = prepare();
    bool failed = false;
    bool isOver = false;
    {
      const FailingMemory memory(nth, FailingMemory::Once);
      failed = isRefused([&] { call(*object); });
      isOver = !FailingMemory::hasFailed();
    }
    if (isOver) return refused;
    if (failed) {
      ++refused;
      check(*object);
    }
    if (testing::Test::HasFailure()) {
      ADD_FAILURE() << "after allocation " << nth << " has failed";
      return refused;
    }
  }
  ADD_FAILURE() << "it never ends";
  return refused;
}

OccupancyMap freeMap(int width, int height) {
  OccupancyMap map(width, height, 0.05f, false);
  map.reset(1.0f);
  return map;
}

// A finder that has planned on one map and is about to plan on another.
struct Planner {
  OccupancyMap before = freeMap(40, 30);
  OccupancyMap after;
  OccMapPathFinder finder{&before, 0.0f};
  korrin_model::PathFinderModel model;
  std::vector<Pose2Di> cells;
  std::vector<Pose2D> poses;

  explicit Planner(OccupancyMap map) : after(std::move(map)) {
    before.setCell(3, 3, 0.0f);
    finder.computePath(Pose2Di(1, 1, 0.0f), Pose2Di(9, 8, 0.0f), cells);
    model.coarseMap = before;
    model.search({1, 1, 0.0f}, {9, 8, 0.0f});
    poses = {{1.0f, 2.0f, 3.0f}};
    finder.setOccMap(&after);
  }
};

bool isEmptied(const OccMapPathFinder& finder) {
  return finder.nodes.empty() && finder.openList.empty() && finder.closedNodes.empty() &&
         finder.cellStates == nullptr && finder.cellNodes == nullptr;
}

// Everything that may be asked of a finder at any time.
void expectSafeAnswers(Planner& planner, int& kept, int& emptied) {
  OccMapPathFinder& finder = planner.finder;
  EXPECT_TRUE(planner.cells.empty()) << "a path after a failure";
  EXPECT_TRUE(planner.poses.empty()) << "a path after a failure";
  const OccupancyMap& map = finder.coarseMap;
  EXPECT_EQ(map.image->width, map.params.width);
  EXPECT_EQ(map.image->height, map.params.height);
  const bool isAsBefore = static_cast<bool>(sameSearch(finder, planner.model));
  EXPECT_TRUE(isAsBefore || isEmptied(finder)) << "half a search";
  (isAsBefore ? kept : emptied) += 1;
  for (int y = -1; y <= map.image->height; ++y) {
    for (int x = -1; x <= map.image->width; ++x) {
      const OccMapPathFinder::Node* node = finder.xFindNode({x, y, 0.0f});
      EXPECT_TRUE(node == nullptr || (isAsBefore && node->x == x && node->y == y));
    }
  }
  std::vector<Pose2Di> path = {{7, 7, 7.0f}};
  finder.xBuildPath(path);
  EXPECT_EQ(path.empty(), !isAsBefore);
  finder.xAddInOpenNodes({2, 2, 0.0f, -1, 0.0f, 0.0f, 0.0f});
  EXPECT_EQ(finder.nodes.size(), isAsBefore ? planner.model.nodes.size() + 1 : 0u);
  if (!isAsBefore) {
    EXPECT_EQ(finder.getNumIterations(), 0);
    EXPECT_FALSE(finder.xFindPath());
  }
}

TEST(AfterFailure, aFinderShowsTheSearchBeforeOrNone) {
  const Quiet quiet;
  int kept = 0;
  int emptied = 0;
  for (const int side : {25, 300}) {
    const auto prepare = [side] { return std::make_unique<Planner>(freeMap(side + 5, side)); };
    const std::function<void(Planner&)> requests[] = {
        [](Planner& planner) {
          planner.poses.clear();
          planner.finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(20, 19, 0.0f), planner.cells);
        },
        [](Planner& planner) {
          planner.cells.clear();
          planner.finder.computePath(Pose2D(0.1f, 0.1f, 0.0f), Pose2D(1.0f, 1.0f, 0.0f),
                                     planner.poses);
        },
    };
    for (const auto& request : requests) {
      int refused = 0;
      const auto check = [&](Planner& planner) {
        // What fails once the search is done, where the path is built, leaves the whole of it.
        const bool isDone = !planner.finder.closedNodes.empty() &&
                            planner.finder.coarseMap.image->width == side + 5 &&
                            planner.finder.end.x != 9;
        if (isDone) {
          EXPECT_TRUE(planner.cells.empty());
          EXPECT_TRUE(planner.poses.empty());
          planner.model.coarseMap = planner.after;
          planner.model.search(planner.finder.start, planner.finder.end);
          EXPECT_TRUE(sameSearch(planner.finder, planner.model));
          return;
        }
        ++refused;
        expectSafeAnswers(planner, kept, emptied);
      };
      EXPECT_GT(afterEachFailure<Planner>(prepare, request, check), 15);
      EXPECT_GT(refused, 10);
    }
  }
  EXPECT_GT(kept, 5);
  EXPECT_GT(emptied, 30);
}

// A prepared map whose map has changed its size.
struct Prepared {
  OccupancyMap map = freeMap(20, 12);
  Brin::PreparedMap prepared{map, 0.5f};
};

TEST(AfterFailure, aPreparedMapAnswersForTheSizeItKnowsOrNotAtAll) {
  const Quiet quiet;
  const auto raisesError = [](const Brin::PreparedMap& prepared) {
    const Brin::ScanModel scanner(9, 1.0f, 3.0f);
    std::vector<Brin::RangeReading> out;
    return isRefused([&] { prepared.xThrowRay(1, 1, 9, 9); }) && isRefused([&] {
             prepared.throwRay({0.1f, 0.1f}, {0.4f, 0.4f});
           }) &&
           isRefused([&] {
             prepared.occMapGetRange(scanner, {1, 1}, {9, 9});
           }) &&
           isRefused([&] { prepared.simulateScan({}, 3.0f, 0.0f, 1.0f, 9, out); }) &&
           isRefused([&] { prepared.occMapSimulateScan(scanner, {}, out); });
  };
  const std::function<void(Prepared&)> refreshes[] = {
      [](Prepared& p) { p.prepared.refresh(); },
      [](Prepared& p) { p.prepared.refresh(0, 0, 1, 1); },
  };
  for (const auto& refresh : refreshes) {
    const int refused = afterEachFailure<Prepared>(
        [] {
          auto made = std::make_unique<Prepared>();
          made->map = freeMap(60, 50);
          made->map.setCell(9, 0, 0.0f);
          return made;
        },
        refresh,
        [&](Prepared& p) {
          EXPECT_TRUE(raisesError(p.prepared)) << "of the new size";
          // The old size is no better: what was known about it may be gone in part.
          OccupancyMap larger = std::exchange(p.map, freeMap(20, 12));
          EXPECT_TRUE(raisesError(p.prepared)) << "of the old size";
          p.map = std::move(larger);
          p.prepared.refresh(55, 45, 1, 1);  // makes good what failed, all of it
          const korrin_model::PreparedMap model{p.map, 0.5f};
          for (int x = 0; x < 60; x += 7) {
            EXPECT_TRUE(sameBits(p.prepared.xThrowRay(x, 0, 59 - x, 40),
                                 model.xThrowRay(x, 0, 59 - x, 40)));
          }
          EXPECT_EQ(p.prepared.xThrowRay(0, 0, 30, 0).status, 0);
        });
    EXPECT_EQ(refused, 8) << "one for each octant";
  }
}

struct Reach {
  Brin::FreeReach reach;
  OccupancyMap map = freeMap(9, 7);
};

TEST(AfterFailure, aFreeReachFitsNothing) {
  const OccupancyMap larger = freeMap(30, 20);
  const int refused = afterEachFailure<Reach>(
      [] {
        auto made = std::make_unique<Reach>();
        made->reach.refresh(*made->map.image, 0.5f);
        return made;
      },
      [&](Reach& r) { r.reach.refresh(*larger.image, 0.5f); },
      [&](Reach& r) {
        EXPECT_FALSE(r.reach.fits(*larger.image));
        EXPECT_FALSE(r.reach.fits(*r.map.image));
        r.reach.refresh(*r.map.image, 0.5f);
        EXPECT_TRUE(r.reach.fits(*r.map.image));
      });
  EXPECT_EQ(refused, 8);
}

struct Dilater {
  OccupancyMap map = freeMap(17, 13);
  Brin::ObstacleDilater dilater{17, 13};
};

TEST(AfterFailure, aDilaterLeavesTheMapAsItWas) {
  const Quiet quiet;
  for (const auto type :
       {Brin::ObstacleDilater::DILATE_LINEAR, Brin::ObstacleDilater::DILATE_INVERSE}) {
    const auto prepare = [] {
      auto made = std::make_unique<Dilater>();
      made->map.setCell(5, 5, 0.0f);
      made->dilater.setParams(0.1f, 0.3f);
      return made;
    };
    const std::unique_ptr<Dilater> untouched = prepare();
    const std::unique_ptr<Dilater> done = prepare();
    done->dilater.dilate(done->map, type);
    const int refused = afterEachFailure<Dilater>(
        prepare, [&](Dilater& d) { d.dilater.dilate(d.map, type); },
        [&](Dilater& d) {
          EXPECT_TRUE(sameMap(d.map, untouched->map));
          ASSERT_NE(d.dilater.charImage, nullptr);
          ASSERT_NE(d.dilater.distImage, nullptr);
          EXPECT_EQ(d.dilater.charImage->width, 17);
          EXPECT_EQ(d.dilater.distImage->height, 13);
          d.dilater.dilate(d.map, type);
          EXPECT_TRUE(sameMap(d.map, done->map));
          EXPECT_TRUE(sameImage(d.dilater.distImage, done->dilater.distImage));
        });
    EXPECT_GT(refused, 1);
  }
}

struct Reference {
  Brin::Scan scan;
  Brin::ScanDistMap map;
  std::vector<Brin::Point2D> points;

  Reference() {
    for (int i = 0; i < 30; ++i) {
      scan.readings.emplace_back(1.0f, 0.2f * static_cast<float>(i));
      points.push_back(scan.readings.back().toPoint2D());
    }
    map.build(scan, {}, 0.1f);
  }
  ~Reference() {
    cvReleaseImage(&map.distanceMap);
    cvReleaseImage(&map.laserImage);
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;

  float score() const { return map.score(points, {}, 0.5f, nullptr); }
};

TEST(AfterFailure, aReferenceScoresAsBeforeOrNotAtAll) {
  const Quiet quiet;
  const float before = Reference().score();
  int asBefore = 0;
  int notAtAll = 0;
  // Another resolution and size; another resolution and the same size; another heading alone.
  const std::function<void(Reference&)> builds[] = {
      [](Reference& r) {
        r.map.build(r.scan, {0.0f, 0.0f, 1.0f}, 0.02f);
      },
      [](Reference& r) { r.map.build({}, {}, 0.3f); },
      [](Reference& r) {
        r.map.build(r.scan, {0.0f, 0.0f, 1.0f}, 0.1f);
      },
  };
  for (const auto& build : builds) {
    const int refused =
        afterEachFailure<Reference>([] { return std::make_unique<Reference>(); }, build,
                                    [&](Reference& r) {
                                      float score = before;
                                      const bool raises = isRefused([&] { score = r.score(); });
                                      EXPECT_TRUE(sameBits(score, before));
                                      (raises ? notAtAll : asBefore) += 1;
                                      r.map.build(r.scan, {}, 0.1f);
                                      EXPECT_TRUE(sameBits(r.score(), before));
                                    });
    EXPECT_GT(refused, 1);
  }
  EXPECT_GT(asBefore, 0);
  EXPECT_GT(notAtAll, 0);
}

struct Simplifier {
  OccupancyMap map = freeMap(30, 30);
  Brin::SafePathSimplifier simplifier;
  std::vector<Pose2D> path;
};

TEST(AfterFailure, aSimplifierAnswersAsANewOne) {
  const Quiet quiet;
  const auto prepare = [] {
    auto made = std::make_unique<Simplifier>();
    for (int i = 0; i < 25; ++i) {
      made->path.emplace_back(0.05f * static_cast<float>(i), 0.05f * static_cast<float>(i % 7),
                              0.0f);
    }
    for (int i = 0; i < 30; i += 2) made->map.setCell(i, 3, 0.0f);
    return made;
  };
  const std::unique_ptr<Simplifier> fresh = prepare();
  const auto expected = fresh->simplifier.sample(fresh->path, fresh->map);
  const int refused = afterEachFailure<Simplifier>(
      prepare, [](Simplifier& s) { s.simplifier.sample(s.path, s.map); },
      [&](Simplifier& s) {
        EXPECT_EQ(s.simplifier.initialSamplingAccuracy, fresh->simplifier.initialSamplingAccuracy);
        EXPECT_EQ(s.simplifier.minSamplingAccuracy, fresh->simplifier.minSamplingAccuracy);
        EXPECT_NE(s.simplifier.pathSimplifier, nullptr);
        EXPECT_TRUE(sameBits(s.simplifier.sample(s.path, s.map), expected));
      });
  EXPECT_GT(refused, 10);
}

// A copy that fails leaves its target, and an image that cannot be made leaves its slot.
struct Slots {
  OccupancyMap map = freeMap(4, 3);
  OccupancyMap source{40, 30, 0.1f, true};
  IplImage* bytes = Brin::makeImage(cvSize(2, 2), IPL_DEPTH_8U, 1).release();
  IplImage* merged = nullptr;
  IplImage* drawn = Brin::makeImage(cvSize(4, 4), IPL_DEPTH_8U, 1).release();

  Slots() = default;
  ~Slots() {
    cvReleaseImage(&bytes);
    cvReleaseImage(&drawn);
    cvReleaseImage(&merged);
  }
  Slots(const Slots&) = delete;
  Slots& operator=(const Slots&) = delete;
};

TEST(AfterFailure, slotsHoldWhatTheyHeld) {
  const Quiet quiet;
  Brin::Scan scan;
  scan.readings.emplace_back(3.0f, 0.5f);
  const std::function<void(Slots&)> calls[] = {
      [](Slots& s) { s.map = s.source; },
      [](Slots& s) { Brin::computeCoarserMap(s.source, s.map, 3); },
      [](Slots& s) { s.source.toCharIplImage(&s.bytes); },
      [](Slots& s) {
        // By a part of a cell: the shift itself needs memory.
        Brin::mergeImages2({{s.source.image, 0.03f, 0.01f, 0.0f}}, &s.merged, 0.1f, 0.0f);
      },
      [&](Slots& s) { Brin::drawLaser(scan, {}, &s.drawn, 0.05f, true, 0); },
  };
  for (const auto& call : calls) {
    const int refused = afterEachFailure<Slots>([] { return std::make_unique<Slots>(); }, call,
                                                [](Slots& s) {
                                                  EXPECT_TRUE(sameMap(s.map, freeMap(4, 3)));
                                                  ASSERT_NE(s.bytes, nullptr);
                                                  EXPECT_EQ(s.bytes->width, 2);
                                                  EXPECT_EQ(s.merged, nullptr);
                                                  ASSERT_NE(s.drawn, nullptr);
                                                  EXPECT_EQ(s.drawn->width, 4);
                                                });
    EXPECT_GT(refused, 0);
  }
}

struct Planned {
  OccupancyMap map;
  Brin::PathPlanner planner;

  Planned(const OccupancyMap& map_, const Brin::PlannerSettings& settings)
      : map(map_), planner(map, settings) {}

  Brin::Plan plan() const { return planner.plan(Pose2Di(1, 1, 0.0f), Pose2Di(12, 9, 0.0f)); }
};

Brin::PlannerSettings planned(int factor) {
  Brin::PlannerSettings settings;
  settings.robotRadius = 0.06f;
  settings.fadeDistance = 0.2f;
  settings.coarseFactor = factor;
  return settings;
}

std::unique_ptr<Planned> preparePlanned(int factor) {
  OccupancyMap map = freeMap(40, 30);
  for (int y = 0; y < 20; ++y) map.setCell(15, y, 0.0f);
  return std::make_unique<Planned>(map, planned(factor));
}

TEST(AfterFailure, aPlannerPlansAsBefore) {
  const Quiet quiet;
  for (const int factor : {1, 2}) {
    const auto prepare = [&] { return preparePlanned(factor); };
    const Brin::Plan expected = prepare()->plan();
    ASSERT_EQ(expected.outcome, Brin::PlanOutcome::Found);
    const auto check = [&](Planned& p) { EXPECT_TRUE(samePlan(p.plan(), expected)); };
    EXPECT_GT(afterEachFailure<Planned>(
                  prepare, [](Planned& p) { p.plan(); }, check),
              5);
    EXPECT_GT(afterEachFailure<Planned>(
                  prepare,
                  [](Planned& p) {
                    p.planner.planToNearest(Pose2Di(1, 1, 0.0f), {{12, 9, 0.0f}, {3, 3, 0.0f}});
                  },
                  check),
              5);
    EXPECT_GT(afterEachFailure<Planned>(
                  prepare, [](Planned& p) { p.planner.costField(Pose2Di(1, 1, 0.0f)); }, check),
              2);
  }
}

TEST(AfterFailure, aPlannerThatCouldNotBeRefreshedIsAsBefore) {
  const Quiet quiet;
  for (const int factor : {1, 2}) {
    const auto prepare = [&] { return preparePlanned(factor); };
    const std::unique_ptr<Planned> fresh = prepare();
    const Brin::Plan expected = fresh->plan();
    const std::function<void(Planned&)> calls[] = {
        [](Planned& p) {  // all blocked
          p.map.reset(0.0f);
          p.planner.refresh();
        },
        [](Planned& p) {
          for (int y = 0; y < 30; ++y) p.map.setCell(8, y, 0.0f);
          p.planner.refresh(8, 0, 1, 30);
        },
        [](Planned& p) {
          const_cast<OccupancyMap&>(p.map).params.resolution = 0.03f;
          p.planner.refresh();
        }};
    for (const auto& call : calls) {
      const int refused = afterEachFailure<Planned>(prepare, call, [&](Planned& p) {
        EXPECT_TRUE(sameMap(p.planner.grownMap(), fresh->planner.grownMap()));
        EXPECT_TRUE(sameMap(p.planner.fineMap(), fresh->planner.fineMap()));
        EXPECT_TRUE(samePlan(p.plan(), expected));
      });
      EXPECT_GT(refused, 2);
    }
  }
}

TEST(AfterFailure, aPlannerThatCouldNotBeMadeLeavesNothingBehind) {
  const Quiet quiet;
  const OccupancyMap map = freeMap(40, 30);
  const std::int64_t before = blocksInUse;
  int refused = 0;
  for (int nth = 1; nth < kTooMany; ++nth) {
    const FailingMemory memory(nth, FailingMemory::Once);
    const bool failed = isRefused([&] { const Brin::PathPlanner planner(map, planned(2)); });
    if (!FailingMemory::hasFailed()) break;
    refused += failed ? 1 : 0;
  }
  EXPECT_GT(refused, 5);
  EXPECT_TRUE(sameMap(map, freeMap(40, 30)));
  EXPECT_EQ(blocksInUse, before);
}

// Large enough for what its first plan writes to to be made with it.
TEST(AfterFailure, aLargePlannerIsMadeOrRefusedAndPlans) {
  const Quiet quiet;
  const OccupancyMap map = freeMap(1100, 1000);
  const auto planOn = [](const Brin::PathPlanner& planner) {
    return planner.plan(Pose2Di(1, 1, 0.0f), Pose2Di(40, 30, 0.0f));
  };
  const Brin::Plan expected = planOn(Brin::PathPlanner(map));
  ASSERT_EQ(expected.outcome, Brin::PlanOutcome::Found);
  const std::int64_t before = blocksInUse;
  int refused = 0, made = 0;
  for (int nth = 1; nth < kTooMany; ++nth) {
    std::unique_ptr<Brin::PathPlanner> planner;
    const FailingMemory memory(nth, FailingMemory::Once);
    refused += isRefused([&] { planner = std::make_unique<Brin::PathPlanner>(map); }) ? 1 : 0;
    if (!FailingMemory::hasFailed()) break;
    if (planner == nullptr) continue;
    ++made;
    EXPECT_TRUE(samePlan(planOn(*planner), expected));
  }
  EXPECT_GT(refused, 5);
  EXPECT_GT(made, 0);
  EXPECT_EQ(blocksInUse, before);
}

TEST(AfterFailure, aLargePlannersFirstPlanAsksForLittleMemory) {
  const OccupancyMap map = freeMap(1100, 1000);
  const Brin::PathPlanner planner(map);
  korrin_test::largestRequest = 0;
  const Brin::Plan plan = planner.plan(Pose2Di(1, 1, 0.0f), Pose2Di(4, 3, 0.0f));
  EXPECT_EQ(plan.outcome, Brin::PlanOutcome::Found);
  EXPECT_GT(korrin_test::largestRequest, 0u);
  EXPECT_LT(korrin_test::largestRequest, std::size_t{1} << 20);
}

}  // namespace
