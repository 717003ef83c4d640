// Costs that have the bits of the marks of the fast search, steps that cost nothing or less, cells
// exactly at the threshold, maps just as wide as the survey of neighbours needs.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "korrin/occmap_path_finder.hpp"
#include "models/occmap_path_finder_model.hpp"
#include "src/cell_state.hpp"
#include "support/bits.hpp"
#include "support/border_inputs.hpp"
#include "support/log_capture.hpp"
#include "support/path_searches.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_model::PathFinderModel;
using korrin_test::besideBorder;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameSearch;

constexpr float kLeast = std::numeric_limits<float>::denorm_min();
constexpr float kInf = std::numeric_limits<float>::infinity();

std::int32_t bitsOf(float value) {
  std::int32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// A finder and the model, set alike.
struct Pair {
  OccMapPathFinder finder{nullptr, 0.0f};
  PathFinderModel model;

  void set(RandomInputs& random) {
    model.hWeight = random.pick<float>({0.0f, 0.5f, 0.5f, 1.0f});
    finder.setHWeight(model.hWeight);
    const int type = random.between(0, 2);
    model.setNeighborhoodType(type);
    finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
  }

  void setThreshold(float threshold) {
    model.obstacleThreshold = threshold;
    finder.setObstacleThreshold(threshold);
  }

  // Whether both give the same path and leave the same search behind; it is in `path`.
  ::testing::AssertionResult agree(const OccupancyMap& map, const Pose2Di& from,
                                   const Pose2Di& to) {
    finder.setOccMap(&map);
    model.coarseMap = korrin_model::coarserMap(map, 1);
    model.messages.clear();
    finder.computePath(from, to, path);
    if (!sameBits(path, model.search(from, to))) return ::testing::AssertionFailure() << "paths";
    const bool accepted = model.messages.empty() || model.messages[0].front() == 'N';
    return accepted ? sameSearch(finder, model) : ::testing::AssertionSuccess();
  }

  std::vector<Pose2Di> path;
};

OccupancyMap mapOf(RandomInputs& random, int minSide, int maxSide,
                   const std::vector<float>& values) {
  OccupancyMap map(random.between(minSide, maxSide), random.between(minSide, maxSide), 1.0f, false);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) map.setCell(x, y, random.pick(values));
  }
  return map;
}

// Lengths so small that the cost of a step has the bits of a small number, or none at all. Cells of
// 1.5 cost nothing, and what is above makes a way cheaper.
TEST(PathFinderBorders, costsWithTheBitsOfMarks) {
  RandomInputs random(121);
  const korrin_test::LogCapture log;
  Pair pair;
  const std::vector<float> lengths = {0.0f,   -0.0f, kLeast, 2.0f * kLeast, 3.0f * kLeast, -kLeast,
                                      1e-38f, -1.0f, kInf,   std::nanf(""), 1.0f};
  int neverSeen = 0;
  int closed = 0;
  int oneBesideThem = 0;
  for (int i = 0; i < 12000; ++i) {
    OccupancyMap map = mapOf(random, 1, 16, {1.0f, 1.0f, 0.5f, 1.5f, 1.5f, 2.0f, 1.25f, 0.0f});
    map.params.resolution = random.pick(lengths);
    pair.set(random);
    pair.setThreshold(0.2f);
    ASSERT_TRUE(pair.agree(map, random.cellNear(map, 0), random.cellNear(map, 0))) << i;
    for (const PathFinderModel::Node& node : pair.model.nodes) {
      neverSeen += bitsOf(node.g) == Brin::kNeverSeen ? 1 : 0;
      closed += bitsOf(node.g) == Brin::kClosed ? 1 : 0;
      oneBesideThem += bitsOf(node.g) == 1 || bitsOf(node.g) == 3 ? 1 : 0;
    }
  }
  EXPECT_GT(neverSeen, 20000);
  EXPECT_GT(closed, 2000);
  EXPECT_GT(oneBesideThem, 5000);
}

// Every cell is at the threshold, or one float beside it.
TEST(PathFinderBorders, cellsAtTheThreshold) {
  RandomInputs random(122);
  const korrin_test::LogCapture log;
  Pair pair;
  int paths = 0;
  int blocked = 0;
  for (int i = 0; i < 8000; ++i) {
    const float value = random.pick<float>({0.2f, 0.5f, random.between(0.0f, 1.0f), 0.0f, -0.0f});
    const float threshold = random.chance(0.8) ? value : besideBorder(random, value);
    const std::vector<float> beside = {value,
                                       value,
                                       value,
                                       value,
                                       value,
                                       korrin_test::floatAbove(value),
                                       korrin_test::floatBelow(value)};
    const OccupancyMap map = mapOf(random, 1, 18, beside);
    pair.set(random);
    pair.setThreshold(threshold);
    ASSERT_TRUE(pair.agree(map, random.cellNear(map, 0), random.cellNear(map, 0))) << i;
    (pair.path.empty() ? blocked : paths) += 1;
  }
  EXPECT_GT(paths, 2000);
  EXPECT_GT(blocked, 2000);
}

// Neighbours are surveyed at once where all of them lie inside: on maps of every width and height
// around the least that has such a cell, from every cell of theirs.
TEST(PathFinderBorders, mapsAroundTheLeastThatIsSurveyed) {
  RandomInputs random(123);
  Pair pair;
  int surveyed = 0;
  for (int type = 0; type < 3; ++type) {
    for (int width = 1; width <= 15; ++width) {
      for (int height = 1; height <= 15; ++height) {
        OccupancyMap map(width, height, 1.0f, false);
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            map.setCell(x, y, random.pick<float>({1.0f, 0.5f, 0.7f, 0.3f}));
          }
        }
        pair.model.hWeight = 0.0f;  // comes to every cell
        pair.finder.setHWeight(0.0f);
        pair.model.setNeighborhoodType(type);
        pair.finder.setNeighborhoodType(static_cast<OccMapPathFinder::NeighborhoodType>(type));
        pair.setThreshold(0.2f);
        const korrin_test::LogCapture log;
        ASSERT_TRUE(pair.agree(map, random.cellNear(map, 0), random.cellNear(map, 0)))
            << width << " x " << height << ", type " << type;
        surveyed += static_cast<int>(pair.model.closedNodes.size());
      }
    }
  }
  EXPECT_GT(surveyed, 10000);
}

}  // namespace
