#include "mapping/overlay.hpp"

#include <Eigen/Cholesky>
#include <array>
#include <cmath>

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;

constexpr std::size_t kReferenceKeys = 10;  // at most, around the old one
constexpr std::array<FitReach, 6> kRounds = {
    {{0.5, 0.2}, {0.5, 0.2}, {0.25, 0.08}, {0.25, 0.08}, {0.25, 0.08}, {0.25, 0.08}}};
constexpr double kFitted = 5.0;     // metres between scans that are fitted
constexpr std::size_t kStride = 2;  // of the points that are asked

// The derivative of another scan's pose by that of the key it is fixed to.
Matrix3d byKey(const GraphPose& key, const GraphPose& other) {
  Matrix3d derivative = Matrix3d::Identity();
  derivative(0, 2) = key.y - other.y;
  derivative(1, 2) = other.x - key.x;
  return derivative;
}

}  // namespace

Overlay::Overlay(const KeyGraph& graph, std::size_t place, std::size_t key,
                 const std::vector<std::size_t>& query)
    : graph_(graph),
      place_(place),
      key_(key),
      query_(query),
      reference_(graph.stretch(place, kStretch, kReferenceKeys, true)) {}

GraphPose Overlay::fitted(GraphPose pose, PoseEquation& equation) const {
  for (const FitReach& reach : kRounds) {
    equation = equationAt(pose, reach);
    const Matrix3d information = equation.information + Matrix3d::Identity();
    pose = movedBy(pose, -information.ldlt().solve(equation.gradient));
  }
  return pose;
}

std::pair<Agreement, Agreement> Overlay::agreements(const GraphPose& pose) const {
  std::vector<PlacedSurface> query;
  std::vector<PlacedSurface> reference;
  for (const std::size_t index : query_) query.push_back(placed(index, queryPose(pose, index)));
  for (const std::size_t index : reference_) {
    reference.push_back(placed(index, referencePose(index)));
  }
  return {agreementOf(query, reference, kStride), agreementOf(reference, query, kStride)};
}

PlacedSurface Overlay::placed(std::size_t index, const GraphPose& pose) const {
  return {&graph_.keys[index].surface, Frame(pose)};
}

GraphPose Overlay::referencePose(std::size_t index) const {
  return seenFrom(graph_.keys[place_].pose, graph_.keys[index].pose);
}

GraphPose Overlay::queryPose(const GraphPose& pose, std::size_t index) const {
  return composed(pose, seenFrom(graph_.keys[key_].pose, graph_.keys[index].pose));
}

PoseEquation Overlay::equationAt(const GraphPose& pose, const FitReach& reach) const {
  PoseEquation sum;
  for (const std::size_t old : reference_) {
    for (const std::size_t young : query_) {
      const GraphPose oldPose = referencePose(old);
      const GraphPose youngPose = queryPose(pose, young);
      if (std::hypot(oldPose.x - youngPose.x, oldPose.y - youngPose.y) > kFitted) continue;
      const PoseEquation equation =
          inWorld(fitOnto(graph_.keys[old].surface, graph_.keys[young].surface,
                          seenFrom(oldPose, youngPose), reach),
                  oldPose);
      sum += equation.inCoordinates(byKey(pose, youngPose));
    }
  }
  return sum;
}

}  // namespace Brin::mapping
