// Memory that runs out while logs are aligned, graphs solved and grids built: each allocation is
// made to fail, one after the other. What reaches the caller is std::bad_alloc, OpenCV's error or,
// from a file, a FileError; and what was in use works again as soon as there is memory.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <new>
#include <opencv2/core.hpp>
#include <optional>
#include <string>

#include "korrin/mapping/mapping.hpp"
#include "tests/mapping/drives.hpp"
#include "tests/support/bits.hpp"
#include "tests/support/failing_memory.hpp"
#include "tests/support/quiet.hpp"

// What OpenCV itself loses is counted in the faults of the first library.
extern "C" KORRIN_EXPORT const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:cv::Mat::create"; }

namespace korrin_test {
namespace {

using Brin::Pose2D;
using Brin::io::LoggedScan;
using Brin::mapping::GraphPose;
using Brin::mapping::PoseGraph;
using Brin::mapping::ScanAligner;

constexpr std::int64_t kTooMany = 2000000;

enum class Outcome { Done, Refused, Unexpected };

Outcome callWithout(std::int64_t nth, const std::function<void()>& call) {
  const FailingMemory memory(nth, FailingMemory::Once);
  try {
    call();
  } catch (const std::bad_alloc&) {
    return Outcome::Refused;
  } catch (const cv::Exception&) {
    return Outcome::Refused;
  } catch (...) {
    return Outcome::Unexpected;
  }
  return Outcome::Done;
}

// Lets the first allocation of `call` fail, then the one `stride` later, and so on; `check` looks
// around after each failure. Returns how many failures there were.
int failEvery(std::int64_t stride, const std::function<void()>& prepare,
              const std::function<void()>& call, const std::function<void(Outcome)>& check) {
  int refused = 0;
  for (std::int64_t nth = 1; nth < kTooMany; nth += stride) {
    prepare();
    const Outcome outcome = callWithout(nth, call);
    if (!FailingMemory::hasFailed()) return refused;
    EXPECT_NE(outcome, Outcome::Unexpected) << "after allocation " << nth << " has failed";
    check(outcome);
    ++refused;
    if (testing::Test::HasFailure()) return refused;
  }
  ADD_FAILURE() << "it never ends";
  return refused;
}

std::vector<LoggedScan> someScans(int count) {
  std::vector<LoggedScan> scans;
  for (const Pose2D& pose : LaserWorld::tourOfTwoRooms(count)) {
    LoggedScan logged;
    logged.scan = LaserWorld::twoRooms().scan(pose, 40, 81.91f);
    logged.pose = logged.robot = pose.absProject({0.02f, 0.01f, 0.02f});
    scans.push_back(logged);
  }
  return scans;
}

PoseGraph someGraph() {
  PoseGraph graph;
  graph.nodes = {{0.0, 0.0, 0.0}, {1.1, 0.0, 0.0}, {1.9, 0.1, 0.0}};
  graph.edges = {{0, 1, {1.0, 0.0, 0.0}, {}, 0.0},
                 {1, 2, {1.0, 0.0, 0.0}, {}, 1.0},
                 {0, 2, {2.0, 0.0, 0.0}, {}, 0.0}};
  return graph;
}

bool sameNodes(const PoseGraph& a, const PoseGraph& b) {
  return std::equal(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                    [](const GraphPose& p, const GraphPose& q) {
                      return p.x == q.x && p.y == q.y && p.theta == q.theta;
                    });
}

TEST(MappingFaults, ALogIsAlignedOrMemoryIsSaidToBeShort) {
  const Quiet quiet;
  const std::vector<LoggedScan> scans = someScans(6);
  const auto expected = Brin::mapping::alignLog(scans);
  std::vector<Pose2D> poses;
  const auto call = [&] {
    poses.clear();
    const auto aligned = Brin::mapping::alignLog(scans);
    for (const LoggedScan& logged : aligned.scans) poses.push_back(logged.pose);
  };
  const auto check = [&](Outcome outcome) {
    if (outcome != Outcome::Done) return;
    ASSERT_EQ(poses.size(), expected.scans.size());
    for (std::size_t i = 0; i < poses.size(); ++i) {
      EXPECT_TRUE(sameBits(poses[i], expected.scans[i].pose)) << i;
    }
  };
  EXPECT_GT(failEvery(
                53, [] {}, call, check),
            50);
}

// A scan that is refused counts as not added, and may come again.
TEST(MappingFaults, AnAlignerIsAsItWasAfterMemoryRanOut) {
  const Quiet quiet;
  const std::vector<LoggedScan> scans = someScans(8);
  std::optional<ScanAligner> aligner;
  const auto addLast = [&] { return aligner->add(scans.back().scan, scans.back().pose); };
  const auto prepare = [&] {
    aligner.emplace();
    for (std::size_t i = 0; i + 1 < scans.size(); ++i) aligner->add(scans[i].scan, scans[i].pose);
  };
  prepare();
  const std::vector<Pose2D> before = aligner->poses();
  const std::size_t linksBefore = aligner->links().size();
  addLast();
  const std::vector<Pose2D> after = aligner->poses();
  const std::string graphAfter = toG2o(aligner->graph());
  const auto check = [&](Outcome outcome) {
    if (outcome == Outcome::Refused) {
      EXPECT_TRUE(sameBits(aligner->poses(), before));
      EXPECT_EQ(aligner->links().size(), linksBefore);
      EXPECT_EQ(aligner->summary().scans, before.size());
      addLast();
    }
    EXPECT_TRUE(sameBits(aligner->poses(), after));
    EXPECT_EQ(toG2o(aligner->graph()), graphAfter);
  };
  EXPECT_GT(failEvery(1, prepare, addLast, check), 20);
}

TEST(MappingFaults, AGraphIsSolvedOrStaysAsItIs) {
  const Quiet quiet;
  PoseGraph solved = someGraph();
  solved.solve();
  PoseGraph graph;
  const auto check = [&](Outcome outcome) {
    EXPECT_TRUE(sameNodes(graph, outcome == Outcome::Done ? solved : someGraph()));
    EXPECT_EQ(graph.edges.size(), 3u);
  };
  const int refused = failEvery(
      1, [&] { graph = someGraph(); }, [&] { graph.solve(); }, check);
  EXPECT_GT(refused, 50);
}

TEST(MappingFaults, AGridIsBuiltOrMemoryIsSaidToBeShort) {
  const Quiet quiet;
  const std::vector<LoggedScan> scans = someScans(4);
  const auto frame = Brin::mapping::gridAround(scans, 0.1f);
  const Brin::OccupancyMap expected = Brin::mapping::buildGrid(scans, *frame);
  bool isRight = false;
  const auto call = [&] {
    isRight = false;
    isRight = static_cast<bool>(sameMap(Brin::mapping::buildGrid(scans, *frame), expected));
  };
  const auto check = [&](Outcome outcome) { EXPECT_EQ(isRight, outcome == Outcome::Done); };
  EXPECT_GT(failEvery(
                1, [] {}, call, check),
            5);
}

}  // namespace
}  // namespace korrin_test
