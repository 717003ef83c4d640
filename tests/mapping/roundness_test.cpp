// Whether scans tell of one direction alone.
#include "mapping/roundness.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Brin::mapping::roundness;
using Eigen::Matrix3d;
using Eigen::Vector3d;

// The information of points on lines: each tells how far it is from its line, whose normal is
// (nx, ny), as seen from the middle.
Matrix3d linePoint(double x, double y, double nx, double ny) {
  const Vector3d change(nx, ny, x * ny - y * nx);
  return change * change.transpose();
}

TEST(Roundness, IsOneInTheMiddleOfASquareRoom) {
  Matrix3d room = Matrix3d::Zero();
  for (double at = -2.0; at <= 2.0; at += 0.5) {
    room += linePoint(at, 2.0, 0.0, 1.0) + linePoint(at, -2.0, 0.0, 1.0);
    room += linePoint(2.0, at, 1.0, 0.0) + linePoint(-2.0, at, 1.0, 0.0);
  }
  EXPECT_NEAR(roundness(room), 1.0, 1e-12);
}

TEST(Roundness, IsNearlyNoneInABareCorridorWhichEverWayItRuns) {
  for (const double heading : {0.0, 0.4, 1.6, 2.5}) {
    const double c = std::cos(heading), s = std::sin(heading);
    Matrix3d corridor = 0.1 * linePoint(8.0 * c, 8.0 * s, c, s);  // a little of its far end
    for (double at = -8.0; at <= 8.0; at += 0.5) {
      for (const double side : {-1.0, 1.0}) {
        corridor += linePoint(c * at - s * side, s * at + c * side, -s, c);
      }
    }
    EXPECT_GT(roundness(corridor), 0.0);
    EXPECT_LT(roundness(corridor), 0.01);
  }
}

// One wall ahead, to one side: a turn looks like a way across it.
TEST(Roundness, DoesNotTakeATurnForAWay) {
  Matrix3d sides = Matrix3d::Zero();
  for (double at = -2.0; at <= 2.0; at += 0.5) sides += linePoint(2.0, at, 1.0, 0.0);
  sides += linePoint(6.0, 1.0, 0.0, 1.0);
  EXPECT_LT(roundness(sides), 0.2);
  Matrix3d alone = sides;
  alone(0, 2) = alone(2, 0) = alone(1, 2) = alone(2, 1) = 0.0;
  EXPECT_GT(roundness(alone), roundness(sides));
}

TEST(Roundness, IsNoneWhereNothingIsKnown) {
  EXPECT_EQ(roundness(Matrix3d::Zero()), 0.0);
  Matrix3d placeAlone = Matrix3d::Identity();
  placeAlone(2, 2) = 0.0;
  EXPECT_EQ(roundness(placeAlone), 0.0);
  Matrix3d headingAlone = Matrix3d::Zero();
  headingAlone(2, 2) = 1.0;
  EXPECT_EQ(roundness(headingAlone), 0.0);
  EXPECT_EQ(roundness(Matrix3d::Constant(std::numeric_limits<double>::quiet_NaN())), 0.0);
}

}  // namespace
