#include "mapping/settling.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <set>

#include "mapping/surface_fit.hpp"

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr double kReach = 5.0;            // metres between neighbours
constexpr std::size_t kNeighbours = 12;   // of a key scan
constexpr std::size_t kKeysAround = 6;    // of another scan
constexpr double kMetresPerRadian = 1.0;  // what a turn counts in the distance of two scans
constexpr int kLeastPoints = 20;          // of a pair, that lie on lines,
constexpr double kLeastShare = 0.2;       // and their share
constexpr int kRounds = 4;
constexpr int kRoughRounds = 2;
constexpr FitReach kRough{0.3, 0.08};
constexpr FitReach kSharp{0.2, 0.04};
constexpr int kIterations = 10;
constexpr int kScanRounds = 3;

// Where nothing else is known, a scan stays: so sure counts its pose, in points or for itself.
const Matrix3d kPairPull = 0.5 * Matrix3d::Identity();
const Matrix3d kScanPull = informationOf(0.05, 0.03);

// The key scans nearest to a pose, at most `most`, none of them `except`.
std::vector<std::size_t> keysAround(const KeyGraph& graph, const GraphPose& pose, std::size_t most,
                                    std::size_t except) {
  std::vector<std::pair<double, std::size_t>> byDistance;
  for (std::size_t i = 0; i < graph.keys.size(); ++i) {
    if (i == except) continue;
    const GraphPose& key = graph.keys[i].pose;
    const double distance = std::hypot(key.x - pose.x, key.y - pose.y);
    if (!(distance < kReach)) continue;
    const double turn = std::fabs(difference(pose, key)(2));
    byDistance.emplace_back(distance + kMetresPerRadian * turn, i);
  }
  std::sort(byDistance.begin(), byDistance.end());
  std::vector<std::size_t> keys;
  for (std::size_t i = 0; i < std::min(most, byDistance.size()); ++i) {
    keys.push_back(byDistance[i].second);
  }
  return keys;
}

std::set<std::pair<std::size_t, std::size_t>> neighbours(const KeyGraph& graph) {
  std::set<std::pair<std::size_t, std::size_t>> pairs;
  for (std::size_t i = 0; i < graph.keys.size(); ++i) {
    for (const std::size_t j : keysAround(graph, graph.keys[i].pose, kNeighbours, i)) {
      pairs.insert({std::min(i, j), std::max(i, j)});
    }
  }
  return pairs;
}

// Adds what a fit of two key scans tells of their motion, when it does.
void addFit(const KeyGraph& graph, std::size_t from, std::size_t to, const FitReach& reach,
            PoseGraph& settled) {
  const GraphPose motion = seenFrom(graph.keys[from].pose, graph.keys[to].pose);
  const PoseEquation fit =
      fitMutually(graph.keys[from].surface, graph.keys[to].surface, motion, reach);
  if (fit.used < kLeastPoints || fit.share() < kLeastShare) return;
  const Vector3d step = -(fit.information + kPairPull).ldlt().solve(fit.gradient);
  settled.edges.push_back({from, to, movedBy(motion, step),
                           informationOf(kInformationOfPoints * fit.information), 0.0});
}

void settleKeys(KeyGraph& graph, const FitReach& reach) {
  PoseGraph settled;
  for (const KeyScan& key : graph.keys) settled.nodes.push_back(key.pose);
  for (const auto& [from, to] : neighbours(graph)) addFit(graph, from, to, reach, settled);
  for (const KeyLink& link : graph.links) {
    if (link.kind != LinkKind::Odometry) continue;
    settled.edges.push_back(
        {link.from, link.to, link.motion, informationOf(link.information), 1.0});
  }
  settled.solve(kIterations);
  for (std::size_t i = 0; i < graph.keys.size(); ++i) graph.keys[i].pose = settled.nodes[i];
}

// The pose of a scan among the key scans around it.
GraphPose settledPose(const KeyGraph& graph, const ScanSurface& surface, const GraphPose& before) {
  const std::vector<std::size_t> set = keysAround(graph, before, kKeysAround, graph.keys.size());
  GraphPose pose = before;
  for (int round = 0; round < kScanRounds; ++round) {
    PoseEquation sum;
    for (const std::size_t index : set) {
      const KeyScan& key = graph.keys[index];
      sum += inWorld(fitMutually(key.surface, surface, seenFrom(key.pose, pose), kSharp), key.pose);
    }
    const Matrix3d information = kInformationOfPoints * sum.information + kScanPull;
    const Vector3d gradient =
        kInformationOfPoints * sum.gradient + kScanPull * difference(before, pose);
    pose = movedBy(pose, -information.ldlt().solve(gradient));
  }
  return pose;
}

}  // namespace

void settle(AlignerCore& aligner, const std::vector<io::LoggedScan>& scans,
            const Progress& progress) {
  for (int round = 0; round < kRounds; ++round) {
    settleKeys(aligner.graph, round < kRoughRounds ? kRough : kSharp);
    if (progress) progress(0.5 * (round + 1) / kRounds);
  }
  aligner.graph.dropContradictions();
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const std::size_t key = aligner.keptScans()[i].key;
    if (aligner.graph.keys[key].scan != i) {
      const ScanSurface surface(scans[i].scan, double{aligner.settings().maxRange});
      aligner.movePose(i, settledPose(aligner.graph, surface, aligner.pose(i)));
    }
    if (progress) {
      progress(0.5 + 0.5 * static_cast<double>(i + 1) / static_cast<double>(scans.size()));
    }
  }
}

}  // namespace Brin::mapping
