// Poses tied together by what was measured between them, and the poses that fit all of that best.
//
//   Brin::mapping::PoseGraph graph;
//   graph.nodes = {{0, 0, 0}, {1.1, 0, 0}, {1.9, 0, 0}};           // first guesses
//   graph.edges.push_back({0, 1, {1, 0, 0}, {100, 0, 0, 100, 0, 400}});
//   graph.edges.push_back({1, 2, {1, 0, 0}, {100, 0, 0, 100, 0, 400}});
//   graph.edges.push_back({0, 2, {2.02, 0, 0}, {400, 0, 0, 400, 0, 400}});
//   graph.solve();                                                  // nodes are now the best poses
//   Brin::mapping::writeG2o(graph, "office.g2o");
//
// Doubles throughout: a long track is the sum of many small motions.
//
// The error of an edge is e = (x, y, theta) of the pose of `to`, seen from `from`, less the edge's
// motion, the turn in [-pi, pi]; its squared residual is r = e' * information * e. Solving looks
// for the nodes at which the sum over all edges of r, or of the Cauchy loss s^2 * ln(1 + r / s^2)
// where an edge has such a scale s, is smallest (Lu and Milios, "Globally consistent range scan
// alignment for environment mapping", 1997), with the Levenberg-Marquardt method of Ceres Solver on
// one thread: the same graph gives the same bits.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/io/file_error.hpp"

namespace Brin::mapping {

// A pose in doubles: a long track is the sum of many small motions.
struct GraphPose {
  double x = 0.0;      // metres
  double y = 0.0;      // metres
  double theta = 0.0;  // radians
};

// `rel`, given in the frame of `pose`, expressed in the frame of `pose` itself; the turn in
// [-pi, pi]. Constant time.
KORRIN_EXPORT GraphPose composed(const GraphPose& pose, const GraphPose& rel);

// `pose` as seen from `origin`, both given in one frame: composed(origin, seenFrom(origin, pose))
// is `pose` but for rounding and whole turns. Constant time.
KORRIN_EXPORT GraphPose seenFrom(const GraphPose& origin, const GraphPose& pose);

// How sure a motion is: the inverse of its covariance, which is symmetric, in 1 / m^2, 1 / (m rad)
// and 1 / rad^2, in the frame of the edge's `from`.
struct GraphInformation {
  double xx = 1.0;          // along x, where `from` looks
  double xy = 0.0;          // along x with y
  double xTheta = 0.0;      // along x with the turn
  double yy = 1.0;          // along y, to the left of it
  double yTheta = 0.0;      // along y with the turn
  double thetaTheta = 1.0;  // of the turn
};

// What was measured between two nodes.
struct GraphEdge {
  std::size_t from = 0;          // an index of PoseGraph::nodes
  std::size_t to = 0;            // another one
  GraphPose motion;              // of `to`, seen from `from`
  GraphInformation information;  // directions in which it knows nothing may have 0
  double lossScale = 0.0;        // of the Cauchy loss; 0 for plain squares
};

// How a solution came about.
struct GraphSolution {
  bool converged = false;   // the last step made the sum smaller by less than 1e-8 of it
  int iterations = 0;       // steps tried
  double costBefore = 0.0;  // half the sum that is made small, before
  double costAfter = 0.0;   // and after
};

// Nodes and edges, and their solution. Plain data; distinct graphs may be used from any threads.
class KORRIN_EXPORT PoseGraph {
 public:
  std::vector<GraphPose> nodes;  // in one frame
  std::vector<GraphEdge> edges;  // between any two nodes, several where several were measured

  // Moves the nodes to where they fit the edges best, in at most `maxIterations` steps. Of nodes
  // that edges join, directly or by way of others, the first one stays where it is; so do nodes
  // without edges. Headings end in [-pi, pi].
  //
  // An edge to a node that is not there or from a node to itself, a number that is not finite, a
  // negative scale, an information that is not that of any covariance (an eigenvalue below 0, but
  // for rounding) and a negative count of steps are std::invalid_argument, which names the node or
  // the edge; the nodes then stay as they are. So they do without memory (std::bad_alloc).
  //
  // Time for each step: linear in the edges, and of the nodes what their sparse Cholesky factor
  // takes, some milliseconds for a thousand nodes.
  GraphSolution solve(int maxIterations = 50);

  // r of an edge at the nodes as they are. The edge may be any that fits them, in the graph or not;
  // one to a node that is not there is std::invalid_argument. Constant time.
  double squaredResidual(const GraphEdge& edge) const;
};

// The graph as g2o text: a line VERTEX_SE2 for each node, with its index for a number, and a line
// EDGE_SE2 for each edge, in as few digits as read back as the same numbers. The form has no loss
// scales.
//
// A number that is not finite is a FileError that names `name` and the node or the edge. Linear.
KORRIN_EXPORT std::string toG2o(const PoseGraph& graph, const std::string& name = "graph");

// Reads such a text. Nodes may have any numbers, 64 bits, not negative, in any order; they become
// nodes in the order of their lines. FIX lines, which name nodes that others hold still, blank
// lines and lines that begin with # are passed over. A line of another kind, a number that cannot
// be read or is not finite, a node that comes twice and an edge to a node that does not come are a
// FileError that names the line. Time: n log n for n lines.
KORRIN_EXPORT PoseGraph parseG2o(std::string_view text, const std::string& name = "graph");

// The same for files. A file that cannot be read or written is a FileError, too.
KORRIN_EXPORT PoseGraph readG2o(const std::string& path);
KORRIN_EXPORT void writeG2o(const PoseGraph& graph, const std::string& path);

}  // namespace Brin::mapping
