// Pose graphs as g2o text.
#include <gtest/gtest.h>

#include <limits>

#include "korrin/mapping/pose_graph.hpp"
#include "tests/mapping/graphs.hpp"
#include "tests/support/files.hpp"

namespace korrin_test {
namespace {

using Brin::io::FileError;
using Brin::mapping::parseG2o;
using Brin::mapping::PoseGraph;
using Brin::mapping::toG2o;

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

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
