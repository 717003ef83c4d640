#include "mapping/pair_fit.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <array>
#include <cmath>

#include "mapping/agreement.hpp"

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr std::array<FitReach, 4> kRounds = {{{0.3, 0.1}, {0.3, 0.1}, {0.2, 0.05}, {0.2, 0.05}}};
constexpr int kLeastPoints = 30;
const Matrix3d kPull = 3.0 * Matrix3d::Identity();  // to the graph's pose, in points

constexpr double kSureShift = 0.2;  // metres
constexpr double kSureTurn = 0.1;   // radians

constexpr std::size_t kMostLoops = 4;
constexpr double kNear = 5.0;             // metres between scans of one place
constexpr double kMetresPerRadian = 1.5;  // what a turn counts in that
constexpr double kShare = 0.4;            // of the points of two scans that lie on lines
constexpr double kRatio = 0.8;            // of the points that the other scan agrees with
constexpr double kMostShift = 0.3;        // metres that a fit may move a scan
constexpr double kMostTurn = 0.1;         // or radians

std::vector<std::size_t> nearKeys(const KeyGraph& graph, std::size_t key,
                                  const std::vector<SeenKey>& seen) {
  std::vector<std::pair<double, std::size_t>> byDistance;
  for (std::size_t i = 0; i < key; ++i) {
    const GraphPose& pose = seen[i].pose;
    const double distance = std::hypot(pose.x, pose.y);
    if (graph.keys[key].path - graph.keys[i].path < kRecentWay) continue;
    if (distance >= kNear || !isSure(seen[i])) continue;
    byDistance.emplace_back(distance + kMetresPerRadian * std::fabs(pose.theta), i);
  }
  std::sort(byDistance.begin(), byDistance.end());
  std::vector<std::size_t> keys;
  for (const auto& [distance, index] : byDistance) keys.push_back(index);
  return keys;
}

bool isLoop(const KeyGraph& graph, const KeyLink& link) {
  const Vector3d moved =
      difference(seenFrom(graph.keys[link.from].pose, graph.keys[link.to].pose), link.motion);
  if (std::hypot(moved(0), moved(1)) > kMostShift || std::fabs(moved(2)) > kMostTurn) return false;
  const PlacedSurface query{&graph.keys[link.to].surface, Frame(link.motion)};
  const PlacedSurface reference{&graph.keys[link.from].surface, Frame(GraphPose())};
  return agreementOf({query}, {reference}, 1).ratio() >= kRatio;
}

}  // namespace

std::optional<KeyLink> fittedPair(const KeyGraph& graph, std::size_t from, std::size_t to,
                                  double share) {
  const ScanSurface& target = graph.keys[from].surface;
  const ScanSurface& query = graph.keys[to].surface;
  const GraphPose expected = seenFrom(graph.keys[from].pose, graph.keys[to].pose);
  GraphPose pose = expected;
  PoseEquation equation;
  for (const FitReach& reach : kRounds) {
    equation = fitMutually(target, query, pose, reach);
    const Vector3d pull = kPull * difference(expected, pose);
    const Vector3d step = -(equation.information + kPull).ldlt().solve(equation.gradient + pull);
    pose = movedBy(pose, step);
  }
  if (equation.used < kLeastPoints || equation.share() < share) return std::nullopt;
  return KeyLink{from, to, pose, kInformationOfPoints * equation.information, LinkKind::Match,
                 false};
}

std::vector<KeyLink> nearLoops(const KeyGraph& graph, std::size_t key,
                               const std::vector<SeenKey>& seen) {
  std::vector<KeyLink> loops;
  for (const std::size_t index : nearKeys(graph, key, seen)) {
    if (loops.size() == kMostLoops) break;
    std::optional<KeyLink> link = fittedPair(graph, index, key, kShare);
    if (!link || !isLoop(graph, *link)) continue;
    link->kind = LinkKind::Loop;
    loops.push_back(*link);
  }
  return loops;
}

bool isSure(const SeenKey& seen) {
  return seen.reached && seen.shift() < kSureShift && seen.turn() < kSureTurn;
}

}  // namespace Brin::mapping
