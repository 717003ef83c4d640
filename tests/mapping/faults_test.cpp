// Memory that runs out while scans are aligned, graphs written and grids built: allocations are
// made to fail, one after the other. What reaches the caller is std::bad_alloc or OpenCV's error,
// and what was in use works again as soon as there is memory. Nothing here solves a graph: Ceres
// Solver ends the program when memory runs out within it, as the headers say.
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

// The first of a tour, so few that no place is found again.
std::vector<LoggedScan> someScans(std::size_t count) {
  std::vector<LoggedScan> scans;
  for (const Pose2D& pose : LaserWorld::tourOfTwoRooms(14)) {
    if (scans.size() == count) break;
    LoggedScan logged;
    logged.scan = LaserWorld::twoRooms().scan(pose, 40, 81.91f);
    logged.pose = logged.robot = pose.absProject({0.02f, 0.01f, 0.02f});
    scans.push_back(logged);
  }
  return scans;
}

// A scan that is refused counts as not added, and may come again.
TEST(MappingFaults, AnAlignerIsAsItWasAfterMemoryRanOut) {
  const Quiet quiet;
  const std::vector<LoggedScan> scans = someScans(6);
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
  EXPECT_GT(failEvery(9, prepare, addLast, check), 20);
}

TEST(MappingFaults, AGraphIsWrittenAndReadOrMemoryIsSaidToBeShort) {
  PoseGraph graph;
  graph.nodes = {{0.0, 0.0, 0.0}, {1.1, 0.0, 0.0}, {1.9, 0.1, 0.0}};
  graph.edges = {{0, 1, {1.0, 0.0, 0.0}, {}, 0.0}, {1, 2, {1.0, 0.0, 0.0}, {}, 0.0}};
  const std::string expected = toG2o(graph);
  bool isRight = false;
  const auto call = [&] {
    isRight = false;
    isRight = toG2o(Brin::mapping::parseG2o(toG2o(graph))) == expected;
  };
  const auto check = [&](Outcome outcome) { EXPECT_EQ(isRight, outcome == Outcome::Done); };
  EXPECT_GT(failEvery(
                1, [] {}, call, check),
            10);
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
