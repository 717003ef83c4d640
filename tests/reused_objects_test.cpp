// Objects with a long life: used again and again on other inputs, released and built anew, they
// answer as new ones do. Sizes, settings and what is in them change between any two uses.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <memory>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "models/prepared_map_model.hpp"
#include "src/free_reach.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::RangeReading;
using korrin_test::MapBounds;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameImage;
using korrin_test::sameMap;

OccupancyMap someMap(RandomInputs& random, int maxSide) {
  MapBounds bounds;
  bounds.minSide = 1;
  bounds.maxSide = maxSide;
  bounds.levels = {0.0f, 0.45f, 0.5f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
  bounds.secondImageShare = 0.3;
  return random.map(bounds);
}

// Draws obstacles into the map, or takes some away, and tells where.
struct Area {
  int x;
  int y;
  int width;
  int height;
};
Area drawSomewhere(RandomInputs& random, OccupancyMap& map) {
  const Area area{random.between(-2, map.params.width), random.between(-2, map.params.height),
                  random.between(0, 6), random.between(0, 6)};
  const float value = random.pick<float>({0.0f, 1.0f});
  for (int y = area.y; y < area.y + area.height; ++y) {
    for (int x = area.x; x < area.x + area.width; ++x) map.setCell(x, y, value);
  }
  return area;
}

// A map that grows and shrinks, transposes, and comes back to a size it had.
TEST(ReusedObjects, aPreparedMapAfterAnyChanges) {
  RandomInputs random(151);
  int sizes = 0;
  int hits = 0;
  for (int life = 0; life < 60; ++life) {
    OccupancyMap map = someMap(random, life % 5 == 0 ? 300 : 20);
    Brin::PreparedMap prepared(map, 0.5f);
    const korrin_model::PreparedMap model{map, 0.5f};
    for (int i = 0; i < 25; ++i) {
      if (random.chance(0.3)) {
        const int width = map.params.height;
        const int height = random.chance(0.5) ? map.params.width : random.between(1, 20);
        const bool isAsLarge = width == map.params.width && height == map.params.height;
        map = OccupancyMap(width, height, map.params.resolution, random.chance(0.3));
        map.reset(1.0f);
        const Area area = drawSomewhere(random, map);
        // Any refresh after a change of size is one of everything.
        if (isAsLarge || random.chance(0.5)) {
          prepared.refresh();
        } else {
          prepared.refresh(area.x, area.y, area.width, area.height);
        }
        ++sizes;
      } else {
        const Area area = drawSomewhere(random, map);
        prepared.refresh(area.x, area.y, area.width, area.height);
      }
      for (int k = 0; k < 20; ++k) {
        const Brin::Pose2Di from = random.cellNear(map, 2);
        const Brin::Pose2Di to = random.cellNear(map, 30);
        const RangeReading expected = model.xThrowRay(from.x, from.y, to.x, to.y);
        ASSERT_TRUE(sameBits(prepared.xThrowRay(from.x, from.y, to.x, to.y), expected))
            << "life " << life << ", change " << i;
        hits += expected.status == 0 ? 1 : 0;
      }
    }
  }
  EXPECT_GT(sizes, 300);
  EXPECT_GT(hits, 2000);
}

// The reaches themselves: where old ones are left at the border, leaps are shorter than they could
// be, which no ray's end tells.
TEST(ReusedObjects, aFreeReachAfterOtherSizes) {
  RandomInputs random(156);
  Brin::FreeReach old;
  for (int i = 0; i < 300; ++i) {
    const OccupancyMap map = someMap(random, 24);
    const float threshold = random.pick<float>({0.2f, 0.5f});
    Brin::FreeReach fresh;
    fresh.refresh(*map.image, threshold);
    old.refresh(*map.image, threshold);
    for (int octant = 0; octant < 8; ++octant) {
      ASSERT_EQ(old.plane(octant).stride, fresh.plane(octant).stride);
      ASSERT_EQ(old.plane(octant).reaches, fresh.plane(octant).reaches) << "map " << i;
    }
  }
}

// One dilater, its settings changed between maps of its size.
TEST(ReusedObjects, aDilaterAfterOtherMaps) {
  RandomInputs random(152);
  int changed = 0;
  for (int life = 0; life < 40; ++life) {
    const int width = random.between(1, 30);
    const int height = random.between(1, 30);
    Brin::ObstacleDilater old(width, height);
    for (int i = 0; i < 12; ++i) {
      OccupancyMap map(width, height, random.pick<float>({0.05f, 0.2f, 1.0f}), false);
      map.reset(1.0f);
      for (int k = random.between(0, 4); k > 0; --k) drawSomewhere(random, map);
      const OccupancyMap before = map;
      OccupancyMap expected = map;
      Brin::ObstacleDilater fresh(width, height);
      const float threshold = random.pick<float>({0.2f, 0.3f, 0.9f});
      const float radius = random.between(0.0f, 0.6f);
      const float fade = random.between(0.0f, 1.0f);
      const auto type = static_cast<Brin::ObstacleDilater::DilateType>(random.between(0, 3));
      for (Brin::ObstacleDilater* dilater : {&old, &fresh}) {
        dilater->setParams(radius, fade);
        dilater->obstProbThreshold = threshold;
        dilater->dilate(dilater == &old ? map : expected, type);
      }
      ASSERT_TRUE(sameMap(map, expected)) << "life " << life << ", map " << i;
      changed += sameMap(map, before) ? 0 : 1;
    }
  }
  EXPECT_GT(changed, 200);
}

// One simplifier, its settings changed between paths, and its inner one's in between.
TEST(ReusedObjects, aSafeSimplifierAfterOtherPaths) {
  RandomInputs random(153);
  const korrin_test::LogCapture log;
  Brin::SafePathSimplifier old;
  int shortened = 0;
  for (int i = 0; i < 1500; ++i) {
    const OccupancyMap map = someMap(random, 20);
    std::vector<Pose2D> path;
    for (int k = random.between(0, 25); k > 0; --k) path.push_back(random.poseNear(map));
    if (random.chance(0.3)) path.insert(path.end(), path.rbegin(), path.rend());
    Brin::SafePathSimplifier fresh;
    const float threshold = random.pick<float>({0.1f, 0.45f, 0.6f});
    const float accuracy = random.between(5.0f, 4000.0f);
    for (Brin::SafePathSimplifier* simplifier : {&old, &fresh}) {
      simplifier->setObstacleThreshold(threshold);
      simplifier->initialSamplingAccuracy = accuracy;
    }
    old.pathSimplifier->samplingAccuracy = random.wildFloat();
    const std::vector<Pose2D> expected = fresh.sample(path, map);
    ASSERT_TRUE(sameBits(old.sample(path, map), expected)) << "path " << i;
    shortened += expected.size() < path.size() ? 1 : 0;
  }
  EXPECT_GT(shortened, 500);
}

// One reference, built again on scans of other sizes, with its images released now and then.
TEST(ReusedObjects, aReferenceAfterOtherScans) {
  RandomInputs random(154);
  Brin::ScanDistMap old;
  int sizes = 0;
  int lastSide = 0;
  for (int i = 0; i < 600; ++i) {
    Brin::Scan scan;
    scan.readings = random.readings(40, random.pick<float>({1.0f, 2.0f, 2.0f, 6.0f}), 0.0);
    const Pose2D pose(0.0f, 0.0f, random.between(-3.0f, 3.0f));
    const float resolution = random.pick<float>({0.1f, 0.1f, 0.05f, 0.2f});
    if (random.chance(0.1)) cvReleaseImage(&old.distanceMap);
    if (random.chance(0.1)) cvReleaseImage(&old.laserImage);
    Brin::ScanDistMap fresh;
    old.build(scan, pose, resolution);
    fresh.build(scan, pose, resolution);
    const Brin::ImagePtr freshMap(fresh.distanceMap);
    const Brin::ImagePtr freshPicture(fresh.laserImage);
    ASSERT_TRUE(sameImage(old.distanceMap, fresh.distanceMap)) << "scan " << i;
    ASSERT_TRUE(sameImage(old.laserImage, fresh.laserImage)) << "scan " << i;
    int count = -1;
    int expectedCount = -1;
    ASSERT_TRUE(
        sameBits(old.score(scan, {}, 0.3f, &count), fresh.score(scan, {}, 0.3f, &expectedCount)));
    ASSERT_EQ(count, expectedCount);
    sizes += old.distanceMap->width != lastSide ? 1 : 0;
    lastSide = old.distanceMap->width;
  }
  cvReleaseImage(&old.distanceMap);
  cvReleaseImage(&old.laserImage);
  EXPECT_GT(sizes, 200);
}

// Maps that were moved from, and are then used and filled again.
TEST(ReusedObjects, aMapThatWasMovedFrom) {
  RandomInputs random(155);
  for (int i = 0; i < 300; ++i) {
    OccupancyMap map = someMap(random, 12);
    const OccupancyMap copy = map;
    OccupancyMap taken = std::move(map);
    EXPECT_TRUE(sameMap(taken, copy));
    EXPECT_EQ(map.image, nullptr);
    EXPECT_EQ(map.secondImage, nullptr);
    EXPECT_EQ(map.params.width, 0);
    EXPECT_EQ(map.params.height, 0);
    EXPECT_EQ(map.getCell(0, 0), -1.0f);
    map.setCell(0, 0, 1.0f);
    map.clip();
    map.reset(0.3f);
    const OccupancyMap nothing = map;
    EXPECT_TRUE(sameMap(nothing, map));
    OccupancyMap other = someMap(random, 12);
    const OccupancyMap otherCopy = other;
    map = std::move(other);
    EXPECT_TRUE(sameMap(map, otherCopy));
    EXPECT_EQ(other.image, nullptr);
    EXPECT_EQ(other.secondImage, nullptr);
    EXPECT_EQ(other.params.width, 0);
    map = taken;
    EXPECT_TRUE(sameMap(map, copy));
  }
}

}  // namespace
