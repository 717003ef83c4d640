#include "korrin/mapping/pose_graph.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "tests/mapping/graphs.hpp"

namespace korrin_test {
namespace {

using Brin::mapping::composed;
using Brin::mapping::GraphEdge;
using Brin::mapping::GraphInformation;
using Brin::mapping::GraphPose;
using Brin::mapping::PoseGraph;
using Brin::mapping::seenFrom;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

// How far two poses are apart, a radian counting as a metre.
double apart(const GraphPose& a, const GraphPose& b) {
  const GraphPose difference = seenFrom(a, b);
  return std::hypot(difference.x, difference.y) + std::fabs(difference.theta);
}

std::string faultOf(PoseGraph graph, int maxIterations = 10) {
  const std::vector<GraphPose> before = graph.nodes;
  try {
    graph.solve(maxIterations);
  } catch (const std::invalid_argument& error) {
    EXPECT_EQ(graph.nodes.size(), before.size());
    return error.what();
  }
  return "";
}

TEST(GraphPose, IsSeenFromAnotherAndBack) {
  const GraphPose pose{1.0, 2.0, 3.0};
  const GraphPose rel{-0.5, 4.0, 1.0};
  EXPECT_LT(apart(seenFrom(pose, composed(pose, rel)), rel), 1e-14);
  EXPECT_NEAR(composed(pose, rel).theta, 4.0 - 2.0 * kPi, 1e-15);
  const GraphPose left = seenFrom({1.0, 1.0, kPi / 2.0}, {1.0, 3.0, kPi});
  EXPECT_NEAR(left.x, 2.0, 1e-15);
  EXPECT_NEAR(left.y, 0.0, 1e-15);
  EXPECT_NEAR(left.theta, kPi / 2.0, 1e-15);
}

TEST(PoseGraph, FindsThePosesThatExactEdgesCameFrom) {
  const std::vector<GraphPose> truth = circle(40);
  PoseGraph graph = closedCircle(truth);
  std::mt19937 random(7);
  std::normal_distribution<double> noise(0.0, 0.3);
  for (std::size_t i = 1; i < truth.size(); ++i) {
    graph.nodes[i] = composed(truth[i], {noise(random), noise(random), noise(random)});
  }
  const auto solution = graph.solve();
  EXPECT_TRUE(solution.converged);
  EXPECT_GT(solution.costBefore, 100.0);
  EXPECT_LT(solution.costAfter, 1e-8);
  for (std::size_t i = 0; i < truth.size(); ++i) EXPECT_LT(apart(graph.nodes[i], truth[i]), 1e-5);
}

TEST(PoseGraph, SharesAContradictionByWhatIsKnown) {
  PoseGraph graph;  // two ways to say how far it is, one four times as sure
  graph.nodes = {{0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}};
  graph.edges.push_back({0, 1, {1.0, 0.0, 0.0}, {1.0, 0.0, 0.0, 1.0, 0.0, 1.0}, 0.0});
  graph.edges.push_back({0, 1, {2.0, 0.0, 0.0}, {4.0, 0.0, 0.0, 1.0, 0.0, 1.0}, 0.0});
  graph.solve();
  EXPECT_NEAR(graph.nodes[1].x, 1.8, 1e-6);
  EXPECT_NEAR(graph.squaredResidual(graph.edges[0]), 0.64, 1e-5);
  EXPECT_NEAR(graph.squaredResidual(graph.edges[1]), 0.16, 1e-5);
}

TEST(PoseGraph, TakesAnInformationInTheFrameOfTheEdgesFirstNode) {
  PoseGraph graph;  // seen from a node that looks along y, its x axis is the world's y axis
  graph.nodes = {{0.0, 0.0, kPi / 2.0}, {0.0, 1.0, kPi / 2.0}};
  graph.edges.push_back({0, 1, {3.0, 5.0, 0.0}, {1.0, 0.0, 0.0, 0.0, 0.0, 1.0}, 0.0});
  graph.edges.push_back({0, 1, {0.0, 4.0, 0.0}, {0.0, 0.0, 0.0, 1.0, 0.0, 1.0}, 0.0});
  graph.solve();
  EXPECT_NEAR(graph.nodes[1].x, -4.0, 1e-6);
  EXPECT_NEAR(graph.nodes[1].y, 3.0, 1e-6);
}

TEST(PoseGraph, LosesLittleToAFalseEdgeWithALossScale) {
  const std::vector<GraphPose> truth = circle(20);
  for (const double scale : {0.0, 1.0}) {
    PoseGraph graph = closedCircle(truth);
    GraphEdge wrong = between(truth, 3, 12);
    wrong.motion.x += 4.0;
    wrong.lossScale = scale;
    graph.edges.push_back(wrong);
    graph.solve();
    if (scale == 0.0) {
      EXPECT_GT(apart(graph.nodes[12], truth[12]), 0.5);
    } else {
      EXPECT_LT(apart(graph.nodes[12], truth[12]), 0.1);
    }
  }
}

TEST(PoseGraph, HoldsTheFirstNodeOfAllThatAreJoined) {
  PoseGraph graph;  // 1-3 and 2-4-5, and 0 alone
  graph.nodes = {{9.0, 9.0, 1.0}, {1.0, 0.0, 0.0}, {2.0, 0.0, 0.0},
                 {3.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {5.0, 0.0, 0.0}};
  graph.edges = {{3, 1, {0.5, 0.0, 0.0}, {}, 0.0},
                 {5, 4, {0.5, 0.0, 0.0}, {}, 0.0},
                 {4, 2, {0.5, 0.0, 0.0}, {}, 0.0}};
  graph.solve();
  const double expected[] = {9.0, 1.0, 2.0, 0.5, 1.5, 1.0};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(graph.nodes[i].x, expected[i], 1e-6) << i;
}

TEST(PoseGraph, GivesTheSameBitsAgain) {
  PoseGraph graph = closedCircle(circle(200));
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    graph.edges[i].motion.x *= 1.0 + 0.001 * std::sin(static_cast<double>(i));
  }
  PoseGraph again = graph;
  graph.solve();
  again.solve();
  EXPECT_NE(graph.nodes[100].x, circle(200)[100].x);
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    EXPECT_EQ(graph.nodes[i].x, again.nodes[i].x);
    EXPECT_EQ(graph.nodes[i].y, again.nodes[i].y);
    EXPECT_EQ(graph.nodes[i].theta, again.nodes[i].theta);
  }
}

TEST(PoseGraph, TakesNoNodesNoEdgesAndNoSteps) {
  PoseGraph graph;
  EXPECT_EQ(graph.solve().iterations, 0);
  graph.nodes = {{1.0, 2.0, 0.5}};
  graph.solve();
  EXPECT_EQ(graph.nodes[0].theta, 0.5);
  PoseGraph other = closedCircle(circle(5));
  other.nodes[2].x += 1.0;
  other.solve(0);
  EXPECT_EQ(other.nodes[2].x, circle(5)[2].x + 1.0);
}

TEST(PoseGraph, NamesWhatIsWrongAndLeavesTheNodes) {
  const PoseGraph good = closedCircle(circle(4));
  EXPECT_EQ(faultOf(good), "");
  EXPECT_EQ(faultOf(good, -1), "maxIterations: must not be negative");
  PoseGraph bad = good;
  bad.nodes[3].theta = kNotANumber;
  EXPECT_EQ(faultOf(bad), "node 3: a number that is not finite");
  bad = good;
  bad.edges[2].to = 4;
  EXPECT_EQ(faultOf(bad), "edge 2: a node that is not there");
  EXPECT_THROW(good.squaredResidual(bad.edges[2]), std::invalid_argument);
  bad = good;
  bad.edges[1].from = bad.edges[1].to;
  EXPECT_EQ(faultOf(bad), "edge 1: from a node to itself");
  bad = good;
  bad.edges[0].motion.y = std::numeric_limits<double>::infinity();
  EXPECT_EQ(faultOf(bad), "edge 0: a motion that is not finite");
  bad = good;
  bad.edges[0].lossScale = -1.0;
  EXPECT_EQ(faultOf(bad), "edge 0: a loss scale that is negative or not finite");
  bad = good;
  bad.edges[1].information.xy = kNotANumber;
  EXPECT_EQ(faultOf(bad), "edge 1: an information that is not finite");
  bad = good;
  bad.edges[1].information.xy = 101.0;
  EXPECT_EQ(faultOf(bad), "edge 1: an information that is none, with a negative eigenvalue");
}

}  // namespace
}  // namespace korrin_test
