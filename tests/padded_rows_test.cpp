// Maps whose images carry bytes between their rows, and whose params tell another size than the
// images have: the images' own size and stride count, and all answers are those that the literal
// models give on an ordinary map of the same cells.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <vector>

#include "korrin/korrin.hpp"
#include "models/obstacle_dilater_model.hpp"
#include "models/occupancymap_utils_direction_model.hpp"
#include "models/occupancymap_utils_model.hpp"
#include "models/pathcoststats_model.hpp"
#include "support/bits.hpp"
#include "support/log_capture.hpp"
#include "support/padded_images.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::ObstacleDilater;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;
using korrin_test::LogCapture;
using korrin_test::padRows;
using korrin_test::RandomInputs;
using korrin_test::sameBits;
using korrin_test::sameImage;

// A map in both shapes.
struct TwoShapes {
  TwoShapes(RandomInputs& random, const korrin_test::MapBounds& bounds)
      : plain(random.map(bounds)), strange(plain) {
    padRows(strange.image, 4 * random.between(1, 9));
    if (strange.secondImage != nullptr) padRows(strange.secondImage, 4 * random.between(1, 9));
    strange.params.width = random.pick<int>({0, 1, plain.params.width / 2, 1000, -3});
    strange.params.height = random.pick<int>({0, 1, plain.params.height / 2, 1000, -3});
  }

  testing::AssertionResult isPaddingUntouched() const {
    if (!korrin_test::isPaddingUntouched(*strange.image)) {
      return testing::AssertionFailure() << "a byte between the rows has changed";
    }
    return testing::AssertionSuccess();
  }

  OccupancyMap plain;
  OccupancyMap strange;
};

korrin_test::MapBounds someBounds(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.minSide = 1;
  bounds.maxSide = random.chance(0.2) ? 40 : 12;
  bounds.levels = {0.0f, 0.5f, 1.0f, 1.0f, 1.0f};
  bounds.secondImageShare = 0.5;
  return bounds;
}

TEST(PaddedRows, dilationIsTheModels) {
  RandomInputs random(95);
  std::vector<int> changed(3);
  for (int i = 0; i < 2000; ++i) {
    TwoShapes map(random, someBounds(random));
    map.plain.params.resolution = map.strange.params.resolution = 0.25f;
    const int type = random.between(0, 2);
    ObstacleDilater dilater(map.plain.image->width, map.plain.image->height);
    dilater.setParams(random.between(0.0f, 1.0f), random.between(0.1f, 2.0f));
    if (random.chance(0.3)) padRows(dilater.charImage, 8);
    if (random.chance(0.3)) padRows(dilater.distImage, 12);
    const OccupancyMap before = map.plain;
    korrin_model::DilateImages images(cvGetSize(map.plain.image));
    korrin_model::dilate(map.plain, images,
                         {dilater.obstProbThreshold, dilater.dilationRadius, dilater.fadeDistance},
                         type);
    dilater.dilate(map.strange, static_cast<ObstacleDilater::DilateType>(type));
    ASSERT_TRUE(sameImage(map.strange.image, map.plain.image)) << "case " << i << ", type " << type;
    ASSERT_TRUE(sameImage(map.strange.secondImage, map.plain.secondImage));
    ASSERT_TRUE(map.isPaddingUntouched()) << "case " << i;
    changed[static_cast<std::size_t>(type)] += sameImage(before.image, map.plain.image) ? 0 : 1;
  }
  for (const int count : changed) EXPECT_GT(count, 400);
}

TEST(PaddedRows, pathStatisticsAreTheModels) {
  RandomInputs random(96);
  const LogCapture log;
  int walked = 0;
  int leaving = 0;
  for (int i = 0; i < 10000; ++i) {
    const TwoShapes map(random, someBounds(random));
    std::vector<Pose2D> path(static_cast<std::size_t>(random.between(0, 7)));
    for (Pose2D& pose : path) pose = random.poseNear(map.plain);
    const float most = random.between(0.0f, 20.0f * map.plain.params.resolution);
    const float* limit = random.chance(0.5) ? &most : nullptr;
    const Brin::PathCostStats actual = Brin::computePathCostStat(map.strange, path, limit);
    const Brin::PathCostStats expected = korrin_model::computePathCostStat(map.plain, path, limit);
    ASSERT_TRUE(sameBits(actual.minCost, expected.minCost)) << "case " << i;
    ASSERT_TRUE(sameBits(actual.maxCost, expected.maxCost)) << "case " << i;
    ASSERT_TRUE(sameBits(actual.avgCost, expected.avgCost)) << "case " << i;
    ASSERT_TRUE(sameBits(actual.length, expected.length)) << "case " << i;
    walked += expected.maxCost > 0.0f ? 1 : 0;
    leaving += expected.minCost == -1.0f ? 1 : 0;
  }
  EXPECT_GT(walked, 5000);
  EXPECT_GT(leaving, 2000);
}

// A stranger's condition, of which every cell is asked.
struct OtherFree {
  float threshold;
  bool operator()(float value) const { return value > threshold; }
};

struct Answer {
  bool found = false;
  Pose2Di out{77, 77, 7.0f};
};

bool same(const Answer& a, const Answer& b) { return a.found == b.found && sameBits(a.out, b.out); }

TEST(PaddedRows, cellSearchesAreTheModels) {
  RandomInputs random(97);
  int found = 0;
  int nothing = 0;
  for (int i = 0; i < 4000; ++i) {
    const TwoShapes map(random, someBounds(random));
    const OccupancyMap& plain = map.plain;
    const OccupancyMap& strange = map.strange;
    const Pose2Di start = random.cellNear(plain, 3);
    const Pose2Di to = random.cellNear(plain, 3);
    const float threshold = random.pick<float>({0.4f, 0.5f, 0.99f, 1.0f});
    Answer a[4];
    Answer b[4];
    a[0].found = Brin::findFirstFreeCell(strange, start, a[0].out, threshold);
    b[0].found = korrin_model::findFirstFreeCell(plain, start, b[0].out, threshold);
    a[1].found = Brin::findFirstGrayCell(strange, start, a[1].out, 0.3f, 0.1f);
    b[1].found = korrin_model::findFirstGrayCell(plain, start, b[1].out, 0.3f, 0.1f);
    a[2].found = Brin::findFirstFreeCellInLine(strange, start, to, a[2].out, threshold);
    b[2].found = korrin_model::findFirstFreeCellInLine(plain, start, to, b[2].out, threshold);
    a[3].found = Brin::findFirstCellWithCond(strange, start, a[3].out, OtherFree{threshold});
    b[3].found = korrin_model::findFirstCellWithCond(plain, start, b[3].out, OtherFree{threshold});
    for (int k = 0; k < 4; ++k) {
      ASSERT_TRUE(same(a[k], b[k])) << "case " << i << ", search " << k;
      ++(a[k].found ? found : nothing);
    }
  }
  EXPECT_GT(found, 5000);
  EXPECT_GT(nothing, 2000);
}

TEST(PaddedRows, theMainDirectionIsTheModels) {
  RandomInputs random(98);
  int found = 0;
  for (int i = 0; i < 2000; ++i) {
    const TwoShapes map(random, someBounds(random));
    const Pose2Di start = random.cellNear(map.plain, 1);
    const float range = random.between(0.5f, 10.0f) * map.plain.params.resolution;
    float actual = 7.0f;
    float expected = 7.0f;
    LogCapture log;
    std::vector<korrin_model::DirectionRecord> records;
    const bool isFound = Brin::findObstaclesMainDirection(map.strange, start, range, actual, 0.4f);
    ASSERT_EQ(isFound, korrin_model::findObstaclesMainDirection(map.plain, start, range, expected,
                                                                0.4f, records))
        << "case " << i;
    ASSERT_TRUE(sameBits(actual, expected)) << "case " << i;
    ASSERT_EQ(log.records().size(), records.size());
    found += isFound ? 1 : 0;
  }
  EXPECT_GT(found, 800);
}

}  // namespace
