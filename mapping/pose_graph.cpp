#include "korrin/mapping/pose_graph.hpp"

#include <ceres/ceres.h>

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace Brin::mapping {
namespace {

constexpr double kTurn = 2.0 * 3.14159265358979323846;
constexpr double kNegligible = 1e-9;  // of an information's largest eigenvalue: rounding

// In [-pi, pi]; exact, for any finite angle.
double wrapped(double angle) { return std::remainder(angle, kTurn); }

Eigen::Matrix3d matrixOf(const GraphInformation& known) {
  Eigen::Matrix3d matrix;
  matrix << known.xx, known.xy, known.xTheta,  //
      known.xy, known.yy, known.yTheta,        //
      known.xTheta, known.yTheta, known.thetaTheta;
  return matrix;
}

Eigen::Vector3d errorOf(const GraphEdge& edge, const GraphPose& from, const GraphPose& to) {
  const GraphPose is = seenFrom(from, to);
  return {is.x - edge.motion.x, is.y - edge.motion.y, wrapped(is.theta - edge.motion.theta)};
}

[[noreturn]] void refuse(const char* what, std::size_t index, const char* fault) {
  throw std::invalid_argument(std::string(what) + " " + std::to_string(index) + ": " + fault);
}

bool isFinite(const GraphPose& pose) {
  return std::isfinite(pose.x) && std::isfinite(pose.y) && std::isfinite(pose.theta);
}

// A root R of an information, R' * R; its smallest eigenvalues, when rounding made them negative,
// count as 0.
Eigen::Matrix3d rootOf(const Eigen::Matrix3d& information, std::size_t edge) {
  if (!information.allFinite()) refuse("edge", edge, "an information that is not finite");
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(information);
  const Eigen::Vector3d values = solver.eigenvalues();
  if (!(values(0) >= -kNegligible * std::max(values(2), 0.0))) {
    refuse("edge", edge, "an information that is none, with a negative eigenvalue");
  }
  const Eigen::Vector3d roots = values.cwiseMax(0.0).cwiseSqrt();
  return roots.asDiagonal() * solver.eigenvectors().transpose();
}

// The error of one edge, weighed, with its derivatives by the poses at its ends.
class EdgeCost : public ceres::SizedCostFunction<3, 3, 3> {
 public:
  EdgeCost(const GraphEdge& edge, const Eigen::Matrix3d& root) : edge_(edge), root_(root) {}

  bool Evaluate(const double* const* poses, double* residuals, double** jacobians) const override {
    const GraphPose from{poses[0][0], poses[0][1], poses[0][2]};
    const GraphPose to{poses[1][0], poses[1][1], poses[1][2]};
    Eigen::Map<Eigen::Vector3d>{residuals} = root_ * errorOf(edge_, from, to);
    if (jacobians == nullptr) return true;
    const double cosine = std::cos(from.theta);
    const double sine = std::sin(from.theta);
    Eigen::Matrix3d byTo;
    byTo << cosine, sine, 0.0, -sine, cosine, 0.0, 0.0, 0.0, 1.0;
    Eigen::Matrix3d byFrom = -byTo;
    byFrom(0, 2) = -sine * (to.x - from.x) + cosine * (to.y - from.y);
    byFrom(1, 2) = -cosine * (to.x - from.x) - sine * (to.y - from.y);
    using Jacobian = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
    if (jacobians[0] != nullptr) Eigen::Map<Jacobian>{jacobians[0]} = root_ * byFrom;
    if (jacobians[1] != nullptr) Eigen::Map<Jacobian>{jacobians[1]} = root_ * byTo;
    return true;
  }

 private:
  const GraphEdge edge_;
  const Eigen::Matrix3d root_;
};

void check(const PoseGraph& graph) {
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    if (!isFinite(graph.nodes[i])) refuse("node", i, "a number that is not finite");
  }
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    const GraphEdge& edge = graph.edges[i];
    if (edge.from >= graph.nodes.size() || edge.to >= graph.nodes.size()) {
      refuse("edge", i, "a node that is not there");
    }
    if (edge.from == edge.to) refuse("edge", i, "from a node to itself");
    if (!isFinite(edge.motion)) refuse("edge", i, "a motion that is not finite");
    if (!(edge.lossScale >= 0.0) || !std::isfinite(edge.lossScale)) {
      refuse("edge", i, "a loss scale that is negative or not finite");
    }
  }
}

// For each node the first one of all that edges join it with.
std::vector<std::size_t> firstOfEach(const PoseGraph& graph) {
  std::vector<std::size_t> first(graph.nodes.size());
  std::iota(first.begin(), first.end(), std::size_t{0});
  const auto rootOfNode = [&first](std::size_t node) {
    while (first[node] != node) node = first[node] = first[first[node]];
    return node;
  };
  for (const GraphEdge& edge : graph.edges) {
    const std::size_t one = rootOfNode(edge.from);
    const std::size_t other = rootOfNode(edge.to);
    first[std::max(one, other)] = std::min(one, other);
  }
  for (std::size_t node = 0; node < first.size(); ++node) first[node] = rootOfNode(node);
  return first;
}

// Parameters of the problem are the nodes of a copy.
void pose(const PoseGraph& graph, std::vector<GraphPose>& nodes, ceres::Problem& problem) {
  std::vector<bool> isUsed(nodes.size());
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    const GraphEdge& edge = graph.edges[i];
    auto cost = std::make_unique<EdgeCost>(edge, rootOf(matrixOf(edge.information), i));
    std::unique_ptr<ceres::LossFunction> loss;
    if (edge.lossScale > 0.0) loss = std::make_unique<ceres::CauchyLoss>(edge.lossScale);
    problem.AddResidualBlock(cost.release(), loss.release(), &nodes[edge.from].x,
                             &nodes[edge.to].x);
    isUsed[edge.from] = isUsed[edge.to] = true;
  }
  const std::vector<std::size_t> first = firstOfEach(graph);
  for (std::size_t node = 0; node < nodes.size(); ++node) {
    if (isUsed[node] && first[node] == node) problem.SetParameterBlockConstant(&nodes[node].x);
  }
}

ceres::Solver::Options optionsFor(int maxIterations) {
  ceres::Solver::Options options;
  options.linear_solver_type = ceres::SPARSE_NORMAL_CHOLESKY;
  // Eigen's, of one thread, wherever it is there: others call a BLAS whose threads may share work
  // in another way each time.
  if (ceres::IsSparseLinearAlgebraLibraryTypeAvailable(ceres::EIGEN_SPARSE)) {
    options.sparse_linear_algebra_library_type = ceres::EIGEN_SPARSE;
  }
  options.num_threads = 1;
  options.max_num_iterations = maxIterations;
  options.function_tolerance = 1e-8;
  options.initial_trust_region_radius = 1e8;  // nearly quadratic: whole steps from the start
  options.logging_type = ceres::SILENT;
  return options;
}

}  // namespace

GraphPose composed(const GraphPose& pose, const GraphPose& rel) {
  const double cosine = std::cos(pose.theta);
  const double sine = std::sin(pose.theta);
  return {pose.x + cosine * rel.x - sine * rel.y, pose.y + sine * rel.x + cosine * rel.y,
          wrapped(pose.theta + rel.theta)};
}

GraphPose seenFrom(const GraphPose& origin, const GraphPose& pose) {
  const double cosine = std::cos(origin.theta);
  const double sine = std::sin(origin.theta);
  const double dx = pose.x - origin.x;
  const double dy = pose.y - origin.y;
  return {cosine * dx + sine * dy, cosine * dy - sine * dx, wrapped(pose.theta - origin.theta)};
}

GraphSolution PoseGraph::solve(int maxIterations) {
  if (maxIterations < 0) throw std::invalid_argument("maxIterations: must not be negative");
  check(*this);
  std::vector<GraphPose> solved = nodes;
  ceres::Problem problem;
  pose(*this, solved, problem);
  ceres::Solver::Summary summary;
  ceres::Solve(optionsFor(maxIterations), &problem, &summary);
  GraphSolution solution;
  solution.converged = summary.termination_type == ceres::CONVERGENCE;
  // The first of the steps is none: it tells of the beginning. Without edges not even that is
  // there.
  solution.iterations = std::max(0, static_cast<int>(summary.iterations.size()) - 1);
  solution.costBefore = summary.initial_cost;
  solution.costAfter = summary.final_cost;
  if (!summary.IsSolutionUsable()) return solution;
  for (GraphPose& node : solved) node.theta = wrapped(node.theta);
  nodes = std::move(solved);
  return solution;
}

double PoseGraph::squaredResidual(const GraphEdge& edge) const {
  if (edge.from >= nodes.size() || edge.to >= nodes.size()) {
    throw std::invalid_argument("edge: a node that is not there");
  }
  const Eigen::Vector3d error = errorOf(edge, nodes[edge.from], nodes[edge.to]);
  return error.dot(matrixOf(edge.information) * error);
}

}  // namespace Brin::mapping
