#include "korrin/mapping/pose_graph.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

#include "tests/support/files.hpp"

namespace korrin_test {
namespace {

using Brin::io::FileError;
using Brin::mapping::composed;
using Brin::mapping::GraphEdge;
using Brin::mapping::GraphInformation;
using Brin::mapping::GraphPose;
using Brin::mapping::parseG2o;
using Brin::mapping::PoseGraph;
using Brin::mapping::seenFrom;
using Brin::mapping::toG2o;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

// How far two poses are apart, a radian counting as a metre.
double apart(const GraphPose& a, const GraphPose& b) {
  const GraphPose difference = seenFrom(a, b);
  return std::hypot(difference.x, difference.y) + std::fabs(difference.theta);
}

// A walk of `count` poses on a circle, back to where it began.
std::vector<GraphPose> circle(std::size_t count) {
  std::vector<GraphPose> poses;
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 2.0 * kPi * static_cast<double>(i) / static_cast<double>(count);
    poses.push_back({5.0 * std::cos(angle), 5.0 * std::sin(angle),
                     std::remainder(angle + kPi / 2.0, 2.0 * kPi)});
  }
  return poses;
}

GraphEdge between(const std::vector<GraphPose>& poses, std::size_t from, std::size_t to) {
  return {from, to, seenFrom(poses[from], poses[to]), {100.0, 0.0, 0.0, 100.0, 0.0, 400.0}, 0.0};
}

// Odometry all around, exact, and one edge that closes the circle.
PoseGraph closedCircle(const std::vector<GraphPose>& poses) {
  PoseGraph graph;
  graph.nodes = poses;
  for (std::size_t i = 1; i < poses.size(); ++i) graph.edges.push_back(between(poses, i - 1, i));
  graph.edges.push_back(between(poses, poses.size() - 1, 0));
  return graph;
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
  EXPECT_TRUE(graph.solve().iterations <= 0);
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

TEST(G2o, ReadsBackWhatItWrites) {
  PoseGraph graph = closedCircle(circle(7));
  graph.nodes[3] = {1e-30, -1.0 / 3.0, 1e20};
  graph.edges[1].information = {1.5, 0.25, -0.125, 2.5, 0.1, 3.5};
  const PoseGraph read = parseG2o(toG2o(graph));
  EXPECT_EQ(toG2o(read), toG2o(graph));
  ASSERT_EQ(read.nodes.size(), 7u);
  ASSERT_EQ(read.edges.size(), 7u);
  EXPECT_EQ(read.nodes[3].x, 1e-30);
  EXPECT_EQ(read.nodes[3].y, -1.0 / 3.0);
  EXPECT_EQ(read.nodes[3].theta, 1e20);
  EXPECT_EQ(read.edges[1].information.xTheta, -0.125);
  EXPECT_EQ(read.edges[1].information.yy, 2.5);
  EXPECT_EQ(read.edges[6].to, 0u);
}

TEST(G2o, WritesPlainLines) {
  PoseGraph graph;
  graph.nodes = {{0.0, 0.0, 0.0}, {1.5, -2.0, 0.25}};
  graph.edges.push_back({0, 1, {1.0, 2.0, 3.0}, {4.0, 5.0, 6.0, 7.0, 8.0, 9.0}, 2.0});
  EXPECT_EQ(toG2o(graph),
            "VERTEX_SE2 0 0 0 0\nVERTEX_SE2 1 1.5 -2 0.25\nEDGE_SE2 0 1 1 2 3 4 5 6 7 8 9\n");
}

TEST(G2o, TakesAnyNumbersOfNodesInAnyOrder) {
  const PoseGraph graph = parseG2o(
      "# a graph\r\n\nEDGE_SE2 900 7 1 0 0 1 0 0 1 0 1\r\nVERTEX_SE2 7 1 2 3\n"
      "FIX 7\n\tVERTEX_SE2 900  4 5 6");
  ASSERT_EQ(graph.nodes.size(), 2u);
  EXPECT_EQ(graph.nodes[1].y, 5.0);
  ASSERT_EQ(graph.edges.size(), 1u);
  EXPECT_EQ(graph.edges[0].from, 1u);
  EXPECT_EQ(graph.edges[0].to, 0u);
}

std::string parseFault(const std::string& text) {
  try {
    parseG2o(text);
  } catch (const FileError& error) {
    return error.what();
  }
  return "";
}

TEST(G2o, NamesTheLineThatIsAtFault) {
  const std::string nodes = "VERTEX_SE2 0 0 0 0\nVERTEX_SE2 1 0 0 0\n";
  EXPECT_EQ(parseFault("VERTEX_SE3 1 2 3 4"),
            "graph: line 1: must begin with VERTEX_SE2, EDGE_SE2 or FIX");
  EXPECT_EQ(parseFault(nodes + "VERTEX_SE2 1 0 0 0"), "graph: line 3: a node that came before");
  EXPECT_EQ(parseFault("VERTEX_SE2 -1 0 0 0"), "graph: line 1: a negative number of a node");
  EXPECT_EQ(parseFault("VERTEX_SE2 1.5 0 0 0"), "graph: line 1: must be a number: '1.5'");
  EXPECT_EQ(parseFault("VERTEX_SE2 0 0 0"), "graph: line 1: must be a number: ''");
  EXPECT_EQ(parseFault("VERTEX_SE2 0 0 nan 0"), "graph: line 1: a number that is not finite");
  EXPECT_EQ(parseFault("VERTEX_SE2 0 0 1e999 0"), "graph: line 1: must be a number: '1e999'");
  EXPECT_EQ(parseFault("VERTEX_SE2 0 0 0 0 0"), "graph: line 1: more numbers than it should have");
  EXPECT_EQ(parseFault(nodes + "EDGE_SE2 0 2 1 0 0 1 0 0 1 0 1\n"),
            "graph: line 3: a node that does not come: 2");
  EXPECT_EQ(parseFault(nodes + "EDGE_SE2 1 1 1 0 0 1 0 0 1 0 1\n"),
            "graph: line 3: an edge from a node to itself");
  EXPECT_EQ(parseFault("VERTEX_SE2 99999999999999999999 0 0 0"),
            "graph: line 1: must be a number: '99999999999999999999'");
}

TEST(G2o, WritesNoNumberThatIsNotFinite) {
  PoseGraph graph = closedCircle(circle(4));
  graph.edges[2].information.yTheta = kNotANumber;
  try {
    toG2o(graph, "way.g2o");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "way.g2o: edge 2: a number that is not finite");
  }
}

TEST(G2o, IsReadFromAndWrittenToFiles) {
  const TemporaryDirectory scratch;
  const std::string path = scratch / "graph.g2o";
  const PoseGraph graph = closedCircle(circle(5));
  Brin::mapping::writeG2o(graph, path);
  EXPECT_EQ(toG2o(Brin::mapping::readG2o(path)), toG2o(graph));
  EXPECT_THROW(Brin::mapping::readG2o(scratch / "none.g2o"), FileError);
  EXPECT_THROW(Brin::mapping::writeG2o(graph, scratch / "none/graph.g2o"), FileError);
}

}  // namespace
}  // namespace korrin_test
