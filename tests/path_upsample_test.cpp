// A path of long strides becomes the path of all the cells it runs through.
#include "korrin/path_upsample.hpp"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

#include "models/path_upsample_model.hpp"
#include "support/allocation_limit.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::Pose2Di;
using korrin_test::sameBits;
using Cells = std::vector<std::pair<int, int>>;
using Path = std::vector<Pose2Di>;

constexpr int kMin = std::numeric_limits<int>::min();
constexpr int kMax = std::numeric_limits<int>::max();

// More memory than any path here takes. Without a limit, a wrong sum near the ends of the plane can
// ask for gigabytes, and get them.
constexpr std::size_t kEnough = std::size_t{1} << 26;

Path upSampled(const Path& in) {
  const korrin_test::AllocationLimit memory(kEnough);
  Path out = {{77, 77, 7.0f}};
  Brin::pathUpSample(in, out);
  return out;
}

Path pathOf(const Cells& cells) {
  Path path;
  for (auto [x, y] : cells) path.emplace_back(x, y, 1.0f);
  return path;
}

Cells cellsOf(const Path& path) {
  Cells cells;
  for (const Pose2Di& cell : path) cells.emplace_back(cell.x, cell.y);
  return cells;
}

Cells upSampledCells(const Cells& in) { return cellsOf(upSampled(pathOf(in))); }

TEST(PathUpSample, aFlatSegmentStepsAlongX) {
  // 0 1 . .
  // . . 2 3
  EXPECT_EQ(upSampledCells({{0, 0}, {3, 1}}), (Cells{{0, 0}, {1, 0}, {2, 1}, {3, 1}}));
}

TEST(PathUpSample, aSteepSegmentStepsAlongYAndAHalfGoesTowardsTheEnd) {
  // 0 .
  // . 1
  // . 2
  EXPECT_EQ(upSampledCells({{0, 0}, {1, 2}}), (Cells{{0, 0}, {1, 1}, {1, 2}}));
}

TEST(PathUpSample, onAnExactDiagonalBothCoordinatesStepTogether) {
  EXPECT_EQ(upSampledCells({{0, 0}, {2, 2}}), (Cells{{0, 0}, {1, 1}, {2, 2}}));
  EXPECT_EQ(upSampledCells({{0, 0}, {-2, 2}}), (Cells{{0, 0}, {-1, 1}, {-2, 2}}));
  EXPECT_EQ(upSampledCells({{0, 0}, {2, -2}}), (Cells{{0, 0}, {1, -1}, {2, -2}}));
}

TEST(PathUpSample, innerCellsOfThePathComeOnce) {
  EXPECT_EQ(upSampledCells({{0, 0}, {2, 0}, {2, 2}}),
            (Cells{{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}}));
}

TEST(PathUpSample, segmentsRunInEveryDirection) {
  EXPECT_EQ(upSampledCells({{0, 0}, {-3, -1}}), (Cells{{0, 0}, {-1, 0}, {-2, -1}, {-3, -1}}));
  EXPECT_EQ(upSampledCells({{0, 0}, {0, -2}}), (Cells{{0, 0}, {0, -1}, {0, -2}}));
  EXPECT_EQ(upSampledCells({{0, 0}, {-2, 0}}), (Cells{{0, 0}, {-1, 0}, {-2, 0}}));
  EXPECT_EQ(upSampledCells({{4, 1}, {3, 3}}), (Cells{{4, 1}, {3, 2}, {3, 3}}));
}

TEST(PathUpSample, anEmptyPathGivesNone) { EXPECT_TRUE(upSampled({}).empty()); }

TEST(PathUpSample, aSingleCellGivesNone) { EXPECT_TRUE(upSampled({{3, 4, 0.0f}}).empty()); }

TEST(PathUpSample, twoEqualCellsGiveNothingForTheirPair) {
  EXPECT_EQ(upSampledCells({{1, 1}, {1, 1}, {2, 1}}), (Cells{{1, 1}, {2, 1}}));
}

TEST(PathUpSample, aLastPairOfEqualCellsGivesThatCellAlone) {
  EXPECT_EQ(upSampledCells({{1, 1}, {1, 1}}), (Cells{{1, 1}}));
  EXPECT_EQ(upSampledCells({{0, 1}, {1, 1}, {1, 1}}), (Cells{{0, 1}, {1, 1}}));
}

TEST(PathUpSample, headingsAreNeverCopied) {
  EXPECT_TRUE(sameBits(upSampled({{0, 0, 1.5f}, {1, 0, -2.0f}}), {{0, 0, 0.0f}, {1, 0, 0.0f}}));
}

TEST(PathUpSample, theInputIsNotChanged) {
  const Path in = {{0, 0, 1.5f}, {4, 1, 0.25f}};
  Path copy = in;
  upSampled(copy);
  EXPECT_TRUE(sameBits(copy, in));
}

TEST(PathUpSample, aPathIsFilledIntoItself) {
  Path path = pathOf({{0, 0}, {3, 1}, {3, 1}, {5, 1}});
  const Path expected = upSampled(path);
  Brin::pathUpSample(path, path);
  EXPECT_TRUE(sameBits(path, expected));
}

TEST(PathUpSample, theCornersOfThePlaneAreCellsLikeAnyOther) {
  EXPECT_EQ(upSampledCells({{kMin, kMax}, {kMin + 2, kMax - 1}}),
            (Cells{{kMin, kMax}, {kMin + 1, kMax - 1}, {kMin + 2, kMax - 1}}));
  EXPECT_EQ(upSampledCells({{kMax - 1, kMin + 1}, {kMax, kMin}}),
            (Cells{{kMax - 1, kMin + 1}, {kMax, kMin}}));
}

TEST(PathUpSample, aLineAcrossThePlaneIsRefusedByMemoryAndLeavesNothing) {
  Path out = {{1, 2, 3.0f}};
  const Path acrossThePlane = {{kMin, 5, 0.0f}, {kMax, 5, 0.0f}};
  const korrin_test::AllocationLimit memory(kEnough);
  if (sizeof(std::size_t) < sizeof(std::uint64_t)) {
    EXPECT_THROW(Brin::pathUpSample(acrossThePlane, out), std::length_error);
  } else {
    EXPECT_THROW(Brin::pathUpSample(acrossThePlane, out), std::bad_alloc);
    EXPECT_EQ(memory.refused(), (std::uint64_t{1} << 32) * sizeof(Pose2Di));
  }
  EXPECT_TRUE(out.empty());
}

RC_GTEST_PROP(PathUpSampleLaw, agreesWithTheModelOnAnyShortPath, ()) {
  const auto coordinate = rc::gen::inRange(-6, 7);
  const auto in = pathOf(*rc::gen::container<Cells>(rc::gen::pair(coordinate, coordinate)));
  RC_ASSERT(sameBits(upSampled(in), korrin_model::pathUpSample(in)));
}

Path randomPath(korrin_test::RandomInputs& random) {
  Path path(static_cast<std::size_t>(random.between(0, 8)));
  const int reach = random.pick<int>({1, 3, 30, 500});
  for (Pose2Di& cell : path) {
    cell = {random.between(-reach, reach), random.between(-reach, reach), random.wildFloat()};
  }
  if (path.size() > 2 && random.chance(0.3)) path.back() = path[path.size() - 2];
  return path;
}

bool touch(const Pose2Di& a, const Pose2Di& b) {
  return std::max(std::abs(a.x - b.x), std::abs(a.y - b.y)) == 1;
}

TEST(PathUpSampleLaw, agreesWithTheModelAndIsConnected) {
  korrin_test::RandomInputs random(24);
  int dense = 0;
  int single = 0;
  for (int i = 0; i < 20000; ++i) {
    const Path in = randomPath(random);
    const Path out = upSampled(in);
    ASSERT_TRUE(sameBits(out, korrin_model::pathUpSample(in))) << "path " << i;
    for (std::size_t k = 0; k + 1 < out.size(); ++k) ASSERT_TRUE(touch(out[k], out[k + 1]));
    dense += out.size() > 2 * in.size() ? 1 : 0;
    single += in.size() == 1 ? 1 : 0;
  }
  EXPECT_GT(dense, 10000);
  EXPECT_GT(single, 1000);
}

}  // namespace
