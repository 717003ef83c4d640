#include "korrin/mapping/scan_aligner.hpp"

#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "mapping/aligner_core.hpp"
#include "mapping/pair_fit.hpp"

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr float kFarthest = 1e7f;         // metres, of a coordinate that means anything
constexpr double kMetresPerRadian = 0.5;  // of the way, for each radian turned
constexpr std::size_t kLinkedKeys = 4;    // before a key scan
constexpr double kLinkShare = 0.25;       // of points that must lie on lines
const Matrix3d kStepFloor = Vector3d(1e-4, 1e-4, 1e-5).asDiagonal();

// Near loops are worth a solution at once when they are off by so much; else every tenth time.
constexpr double kWorthSolving = 0.05;  // metres, or half as many radians
constexpr std::size_t kSolvedAnyway = 10;
constexpr std::size_t kEnoughNear = 2;  // near loops that make a search needless

void check(float value, const char* name) {
  if (value > 0.0f) return;
  throw std::invalid_argument(std::string(name) + ": must be above 0");
}

bool isUsable(const Pose2D& pose) {
  return std::fabs(pose.x) <= kFarthest && std::fabs(pose.y) <= kFarthest &&
         std::isfinite(pose.theta);
}

Pose2D rounded(const GraphPose& pose) {
  return {static_cast<float>(pose.x), static_cast<float>(pose.y),
          canonicalAngle(static_cast<float>(pose.theta))};
}

}  // namespace

void checkSettings(const AlignerSettings& settings) {
  check(settings.keyDistance, "keyDistance");
  check(settings.keyTurn, "keyTurn");
  check(settings.maxRange, "maxRange");
}

GraphPose AlignerCore::usable(const Pose2D& odometry) const {
  if (!isUsable(odometry)) return odometry_;
  return {double{odometry.x}, double{odometry.y}, double{odometry.theta}};
}

Placement AlignerCore::placed(const ScanSurface& surface, const GraphPose& told) {
  if (scans_.empty()) return {told, Matrix3d::Zero(), true};
  return placer_.place(graph, surface, pose(scans_.size() - 1), seenFrom(odometry_, told));
}

void AlignerCore::add(const Scan& scan, const Pose2D& odometry) {
  ScanSurface surface(scan, double{settings_.maxRange});
  const GraphPose told = usable(odometry);
  const Placement placement = placed(surface, told);
  if (scans_.empty() || isKey(placement.pose)) {
    addLinkedKey(std::move(surface), placement, told);
  } else {
    keep(placement.pose);
  }
  odometry_ = told;
  unmatched_ += placement.isMatched ? 0 : 1;
}

void AlignerCore::addLinkedKey(ScanSurface surface, const Placement& placement,
                               const GraphPose& odometry) {
  const KeyGraph::Snapshot graphBefore = graph.snapshot();
  const LoopSearch::Snapshot searchBefore = search_.snapshot();
  const std::size_t scansBefore = scans_.size();
  try {
    addKey(std::move(surface), placement.pose, odometry);
    if (scansBefore > 0) linkToLast(placement);
    if (scansBefore > 0 && settings_.closesLoops) closeLoops();
  } catch (...) {
    graph.restore(graphBefore);
    search_.restore(searchBefore);
    scans_.erase(scans_.begin() + static_cast<std::ptrdiff_t>(scansBefore), scans_.end());
    placer_.forget();
    throw;
  }
}

void AlignerCore::take(const Scan& scan, const Pose2D& pose) {
  odometry_ = usable(pose);
  if (!scans_.empty() && !isKey(odometry_)) return keep(odometry_);
  addKey(ScanSurface(scan, double{settings_.maxRange}), odometry_, odometry_);
}

bool AlignerCore::isKey(const GraphPose& pose) const {
  const GraphPose fromLast = seenFrom(graph.keys.back().pose, pose);
  return !(std::hypot(fromLast.x, fromLast.y) < double{settings_.keyDistance} &&
           std::fabs(fromLast.theta) < double{settings_.keyTurn});
}

void AlignerCore::keep(const GraphPose& pose) {
  scans_.push_back({graph.keys.size() - 1, seenFrom(graph.keys.back().pose, pose)});
}

void AlignerCore::addKey(ScanSurface surface, const GraphPose& pose, const GraphPose& odometry) {
  double path = 0.0;
  if (!graph.keys.empty()) {
    const GraphPose moved = seenFrom(graph.keys.back().pose, pose);
    path = graph.keys.back().path + std::hypot(moved.x, moved.y) +
           kMetresPerRadian * std::fabs(moved.theta);
  }
  graph.keys.push_back({scans_.size(), std::move(surface), pose, odometry, path});
  scans_.push_back({graph.keys.size() - 1, {}});
}

void AlignerCore::linkToLast(const Placement& placement) {
  const std::size_t key = graph.keys.size() - 1;
  const KeyScan& before = graph.keys[key - 1];
  const GraphPose motion = seenFrom(before.odometry, graph.keys[key].odometry);
  const Matrix3d told = odometryInformation(motion);
  graph.links.push_back({key - 1, key, motion, told, LinkKind::Odometry, false});
  for (std::size_t from = key - std::min(key, kLinkedKeys); from < key; ++from) {
    const auto link = fittedPair(graph, from, key, kLinkShare);
    if (link) graph.links.push_back(*link);
  }
  PoseEquation fit;
  fit.information = placement.information;
  const Matrix3d turned = inWorld(fit, {0.0, 0.0, -before.pose.theta}).information;
  graph.steps.push_back((turned + told).inverse() + kStepFloor);
}

bool AlignerCore::mustSolveFor(const std::vector<KeyLink>& near) const {
  if (near.empty()) return false;
  if (graph.keys.size() % kSolvedAnyway == 0) return true;
  return std::any_of(near.begin(), near.end(), [this](const KeyLink& link) {
    const Vector3d off =
        difference(link.motion, seenFrom(graph.keys[link.from].pose, graph.keys[link.to].pose));
    return std::hypot(off(0), off(1)) + 2.0 * std::fabs(off(2)) > kWorthSolving;
  });
}

void AlignerCore::closeLoops() {
  const std::size_t key = graph.keys.size() - 1;
  const std::vector<SeenKey> seen = graph.seenFromKey(key);
  const std::vector<KeyLink> near = nearLoops(graph, key, seen);
  bool mustSolve = mustSolveFor(near);
  graph.links.insert(graph.links.end(), near.begin(), near.end());
  if (near.size() < kEnoughNear) {
    const std::vector<KeyLink> far = search_.find(graph, key, seen);
    graph.links.insert(graph.links.end(), far.begin(), far.end());
    mustSolve = mustSolve || !far.empty();
  }
  if (!mustSolve) return;
  graph.solve();
  placer_.forget();
}

GraphPose AlignerCore::pose(std::size_t scan) const {
  return composed(graph.keys[scans_[scan].key].pose, scans_[scan].fromKey);
}

void AlignerCore::movePose(std::size_t scan, const GraphPose& pose) {
  scans_[scan].fromKey = seenFrom(graph.keys[scans_[scan].key].pose, pose);
}

AlignerSummary AlignerCore::summary() const {
  AlignerSummary summary;
  summary.scans = scans_.size();
  summary.keyScans = graph.keys.size();
  summary.unmatched = unmatched_;
  for (const KeyLink& link : graph.links) {
    if (link.kind != LinkKind::Loop) continue;
    ++summary.loopsAccepted;
    summary.loopsDropped += link.dropped ? 1 : 0;
  }
  summary.loopsFound = summary.loopsAccepted + search_.waiting();
  return summary;
}

ScanAligner::ScanAligner(const AlignerSettings& settings) {
  checkSettings(settings);
  core_ = std::make_unique<AlignerCore>(settings);
}

ScanAligner::ScanAligner(ScanAligner&&) noexcept = default;
ScanAligner& ScanAligner::operator=(ScanAligner&&) noexcept = default;
ScanAligner::~ScanAligner() = default;

Pose2D ScanAligner::add(const Scan& scan, const Pose2D& odometry) {
  core_->add(scan, odometry);
  return rounded(core_->pose(core_->scans() - 1));
}

std::vector<Pose2D> ScanAligner::poses() const {
  std::vector<Pose2D> poses;
  for (std::size_t i = 0; i < core_->scans(); ++i) poses.push_back(rounded(core_->pose(i)));
  return poses;
}

std::vector<std::size_t> ScanAligner::keyScans() const {
  std::vector<std::size_t> scans;
  for (const KeyScan& key : core_->graph.keys) scans.push_back(key.scan);
  return scans;
}

std::vector<ScanLink> ScanAligner::links() const { return core_->graph.scanLinks(); }

PoseGraph ScanAligner::graph() const { return core_->graph.poseGraph(); }

AlignerSummary ScanAligner::summary() const { return core_->summary(); }

}  // namespace Brin::mapping
