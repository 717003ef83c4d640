// On any input the search finds the poses that trying all of them finds, bit for bit.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "korrin/pose_search.hpp"
#include "models/pose_search_model.hpp"
#include "support/bits.hpp"
#include "support/pose_grids.hpp"
#include "support/random_inputs.hpp"
#include "support/uniform_images.hpp"

namespace {

using Brin::ImagePtr;
using Brin::OccupancyMap;
using Brin::Point2D;
using Brin::Pose2D;
using Brin::PoseGrid;
using Brin::ScanDistMap;
using Brin::ScoredPose;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::someGrid;
using korrin_test::somePoints;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

::testing::AssertionResult sameAnswers(const std::vector<ScoredPose>& found,
                                       const std::vector<ScoredPose>& expected) {
  if (found.size() != expected.size()) {
    return ::testing::AssertionFailure()
           << found.size() << " answers instead of " << expected.size();
  }
  for (std::size_t i = 0; i < found.size(); ++i) {
    const Pose2D& p = found[i].pose;
    const Pose2D& q = expected[i].pose;
    if (sameBits(p, q) && sameBits(found[i].score, expected[i].score)) continue;
    return ::testing::AssertionFailure()
           << "answer " << i << ": (" << p.x << ", " << p.y << ", " << p.theta << ") with "
           << found[i].score << " instead of (" << q.x << ", " << q.y << ", " << q.theta
           << ") with " << expected[i].score;
  }
  return ::testing::AssertionSuccess();
}

struct Separation {
  int count;
  float apart;
  float turned;
};

Separation someSeparation(RandomInputs& random, float step) {
  return {random.pick<int>({1, 1, 1, 2, 3, 9}),
          step * random.pick<float>({0.0f, 1.0f, 2.5f, 10.0f, kInfinity}),
          random.pick<float>({0.0f, 0.1f, 0.5f, 4.0f, kInfinity})};
}

// What the inputs came to.
struct Seen {
  int found = 0;
  int whole = 0;      // steps of whole pixels, a power of two of them, with matches
  int parted = 0;     // others, with matches
  int turnedMap = 0;  // with matches
  int runnersUp = 0;
  int fewerThanAsked = 0;
  int perfect = 0;
  int zero = 0;
  int many = 0;  // grids of over a thousand poses, with matches
};

void count(const std::vector<ScoredPose>& found, const PoseGrid& grid, float resolution,
           bool isTurned, int asked, Seen& seen) {
  const bool matches = !found.empty() && found[0].score > 0.0f;
  const float pixels = grid.step / resolution;
  const bool isWhole = std::fabs(std::log2(pixels) - std::round(std::log2(pixels))) < 1e-3f &&
                       pixels > 0.9f && !isTurned;
  seen.found += static_cast<int>(found.size());
  seen.whole += matches && isWhole ? 1 : 0;
  seen.parted += matches && !isWhole ? 1 : 0;
  seen.turnedMap += matches && isTurned ? 1 : 0;
  seen.runnersUp += found.size() > 1 && found[1].score > 0.0f ? 1 : 0;
  seen.fewerThanAsked += static_cast<int>(found.size()) < asked ? 1 : 0;
  seen.perfect += matches && found[0].score == 1.0f ? 1 : 0;
  seen.zero += matches ? 0 : 1;
  seen.many += matches && grid.poses() > 1000 ? 1 : 0;
}

OccupancyMap someMap(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.minSide = random.pick<int>({0, 1, 1, 8});
  bounds.maxSide = random.pick<int>({9, 14, 40});
  bounds.levels = {1.0f, 1.0f, 1.0f, 1.0f, 0.9f, 0.5f, 0.2f};
  bounds.anyValueShare = random.pick<double>({0.0, 0.02});
  bounds.wildShare = random.pick<double>({0.0, 0.0, 0.01});
  bounds.placedAnywhere = false;
  OccupancyMap map = random.map(bounds);
  map.params.resolution = random.pick<float>({1.0f, 0.05f, 0.05f, 0.1f, 0.3f});
  const float far = random.pick<float>({0.0f, 3.0f, 50.0f});
  map.params.origin = {random.between(-far, far), random.between(-far, far),
                       random.pick<float>({0.0f, 0.0f, 0.0f, 3.14159274f, 1.57079637f,
                                           random.between(-4.0f, 4.0f)})};
  if (random.chance(0.01)) map.params.origin = random.wildPose();
  if (random.chance(0.01)) map.params.resolution = random.wildFloat();
  return map;
}

TEST(PoseSearchLaws, onMapsItFindsWhatTryingAllFinds) {
  RandomInputs random(311);
  Seen seen;
  for (int n = 0; n < 6000; ++n) {
    const OccupancyMap map = someMap(random);
    const float resolution = map.params.resolution;
    float maxDist = resolution * random.pick<float>({0.955f, 1.0f, 2.0f, 3.5f, 10.0f, 60.0f});
    if (random.chance(0.03))
      maxDist = random.pick<float>({0.0f, -0.0f, -1.0f, kNan, kInfinity, 1e6f, 1e30f, -kInfinity});
    const float threshold = random.pick<float>({0.3f, 0.3f, 0.6f, kNan});
    const float reach =
        0.5f * static_cast<float>(std::max(map.params.width, map.params.height)) + 3.0f;
    const Pose2D middle = map.getPoseFromPixel({map.params.width / 2, map.params.height / 2, 0.0f});
    PoseGrid grid = someGrid(random, middle, resolution, reach);
    if (random.chance(0.01)) grid.centre = random.wildPose();
    if (grid.poses() == 0) continue;
    const std::vector<Point2D> points = somePoints(random, resolution, reach);
    const Separation s = someSeparation(random, grid.step);
    const Brin::PoseSearch search(map, threshold, maxDist);
    const korrin_model::PoseSearch model(map, threshold, maxDist);
    const auto found = search.best(points, grid, s.count, s.apart, s.turned);
    ASSERT_TRUE(sameAnswers(found, model.best(points, grid, s.count, s.apart, s.turned)))
        << "case " << n;
    ASSERT_TRUE(sameBits(search.score(points, grid.centre), model.score(points, grid.centre)));
    count(found, grid, resolution, map.params.origin.theta != 0.0f, s.count, seen);
  }
  EXPECT_GT(seen.whole, 900);
  EXPECT_GT(seen.parted, 1200);
  EXPECT_GT(seen.turnedMap, 900);
  EXPECT_GT(seen.runnersUp, 700);
  EXPECT_GT(seen.fewerThanAsked, 400);
  EXPECT_GT(seen.perfect, 300);
  EXPECT_GT(seen.zero, 400);
  EXPECT_GT(seen.many, 400);
}

// Distances as no transform makes them, too: negative, infinite, not numbers, at the cut-off.
ImagePtr someDistances(RandomInputs& random) {
  const int side = random.pick<int>({0, 1, 5, 16, 31, 90});
  const float odd = random.chance(0.2) ? random.wildFloat() : 5.0f;
  const float low = random.chance(0.1) ? -1.0f : 0.0f;
  const double share = random.pick<double>({0.02, 0.3});
  ImagePtr map = korrin_test::uniformFloatImage(side + random.pick<int>({0, 0, 0, 3}), side, 9.0f);
  for (int i = 0; i < map->imageSize / 4; ++i) {
    if (!random.chance(share)) continue;
    reinterpret_cast<float*>(map->imageData)[i] =
        random.pick<float>({low, 0.0f, 0.955f, 1.0f, 2.0f, 2.9f, odd});
  }
  return map;
}

TEST(PoseSearchLaws, onReferencesItFindsWhatTryingAllFinds) {
  RandomInputs random(312);
  Seen seen;
  int negative = 0;
  for (int n = 0; n < 6000; ++n) {
    const ImagePtr distances = someDistances(random);
    ScanDistMap reference;
    reference.distanceMap = distances.get();
    reference.resolution = random.pick<float>({1.0f, 0.05f, 0.05f, 0.1f, 0.3f});
    if (random.chance(0.03)) reference.resolution = random.chance(0.5) ? random.wildFloat() : -0.1f;
    reference.step = random.pick<int>({1, 1, 1, 2, 7, std::numeric_limits<int>::max()});
    const float resolution = std::fabs(reference.resolution);
    float maxDist = resolution * random.pick<float>({0.955f, 1.0f, 2.0f, 3.0f});
    if (random.chance(0.05))
      maxDist =
          random.pick<float>({0.0f, -0.0f, -0.5f * resolution, kNan, kInfinity, 1e38f, 1e-44f});
    const float reach = 0.5f * static_cast<float>(distances->height) + 3.0f;
    PoseGrid grid = someGrid(random, {}, resolution, 0.5f * reach);
    if (random.chance(0.01)) grid.centre = random.wildPose();
    if (grid.poses() == 0 || grid.poses() > 100000) continue;
    const std::vector<Point2D> points = somePoints(random, resolution, reach);
    const Separation s = someSeparation(random, grid.step);
    const Brin::PoseSearch search(reference, maxDist);
    const korrin_model::PoseSearch model(reference, maxDist);
    const auto found = search.best(points, grid, s.count, s.apart, s.turned);
    ASSERT_TRUE(sameAnswers(found, model.best(points, grid, s.count, s.apart, s.turned)))
        << "case " << n;
    ASSERT_TRUE(sameBits(search.score(points, grid.centre), model.score(points, grid.centre)));
    count(found, grid, resolution, false, s.count, seen);
    negative += !found.empty() && found[0].score < 0.0f ? 1 : 0;
  }
  EXPECT_GT(seen.whole, 1000);
  EXPECT_GT(seen.parted, 800);
  EXPECT_GT(seen.runnersUp, 700);
  EXPECT_GT(seen.fewerThanAsked, 400);
  EXPECT_GT(seen.perfect, 300);
  EXPECT_GT(seen.zero, 400);
  EXPECT_GT(seen.many, 300);
  RecordProperty("negative", negative);
}

}  // namespace
