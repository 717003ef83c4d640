// Four poses at a time give the farthest pose that one at a time gives, and no other among equals.
#include "core/farthest_pose.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "models/core/path_simplifier_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::Pose2D;
using korrin_test::RandomInputs;

using Path = std::vector<Pose2D>;

Brin::Farthest literalFarthest(const Path& path, std::size_t first, std::size_t last) {
  Brin::Farthest farthest{first, -1.0f};
  for (std::size_t i = first + 1; i < last; ++i) {
    const float distance = korrin_model::distanceToSegment(path[i], path[first], path[last]);
    if (distance > farthest.distance) farthest = {i, distance};
  }
  return farthest;
}

Pose2D onGrid(RandomInputs& random) {
  return {static_cast<float>(random.between(-3, 3)), static_cast<float>(random.between(-3, 3)),
          0.0f};
}

TEST(FarthestPose, agreesWithLookingAtOneAfterTheOther) {
  RandomInputs random(91);
  int infinite = 0;
  int tied = 0;
  for (int i = 0; i < 30000; ++i) {
    Path path(static_cast<std::size_t>(random.between(3, random.chance(0.3) ? 150 : 12)));
    const int kind = random.between(0, 3);
    for (Pose2D& pose : path) {
      // Whole numbers give many equal distances; long thin paths squares that differ where their
      // roots do not.
      if (kind == 0) pose = onGrid(random);
      if (kind == 1) pose = {random.between(-9.0f, 9.0f), random.between(1.0f, 1.000002f), 0.0f};
      if (kind == 2) pose = {random.between(-9.0f, 9.0f), random.between(-9.0f, 9.0f), 0.0f};
      if (kind == 3) pose = random.chance(0.1) ? random.wildPose() : Pose2D(1.0f, 2.0f, 0.0f);
    }
    if (kind == 1) path.front() = path.back() = {0.0f, 0.0f, 0.0f};
    if (random.chance(0.1)) path.back() = path.front();
    const auto first = static_cast<std::size_t>(random.between(0, 1));
    const std::size_t last = path.size() - 1;
    const Brin::Farthest expected = literalFarthest(path, first, last);
    const Brin::Farthest actual =
        Brin::findFarthest({path.data(), path.size()}, first, last, -1.0f);
    ASSERT_EQ(actual.distance, expected.distance) << "case " << i;
    ASSERT_EQ(actual.place, expected.place) << "case " << i;
    infinite += std::isinf(expected.distance) ? 1 : 0;
    for (std::size_t k = expected.place + 1; k < last; ++k) {
      if (korrin_model::distanceToSegment(path[k], path[first], path[last]) == expected.distance) {
        ++tied;
        break;
      }
    }
  }
  EXPECT_GT(infinite, 1000);
  EXPECT_GT(tied, 5000);
}

TEST(FarthestPose, distanceIsRightAlsoWhereThePlaceIsNotAskedFor) {
  Path path(50, Pose2D(0.0f, 0.0f, 0.0f));
  path[40].y = 2.0f;
  path[49].x = 1.0f;
  EXPECT_EQ(Brin::findFarthest({path.data(), path.size()}, 0, 49, 2.0f).distance, 2.0f);
  EXPECT_EQ(Brin::findFarthest({path.data(), path.size()}, 0, 49, 1.9f).place, 40u);
}

}  // namespace
