#include "mapping/key_graph.hpp"

#include <Eigen/Cholesky>
#include <Eigen/LU>
#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "mapping/frame.hpp"

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

// Raw odometry slips by a sixth of a metre for each metre driven, and more where the robot turns.
constexpr double kSlip = 0.03;           // metres, at rest
constexpr double kSlipPerMetre = 0.15;   //
constexpr double kSlipPerRadian = 0.02;  //
constexpr double kSkew = 0.03;           // radians, at rest
constexpr double kSkewPerMetre = 0.12;
constexpr double kSkewPerRadian = 0.15;

constexpr int kMostIterations = 15;

// What a loop may be off, at most, from where all other links want it.
constexpr double kOffShift = 0.3;  // metres
constexpr double kOffTurn = 0.06;  // radians
constexpr double kOffDeviations = 4.0;
const Matrix3d kOffFloor = Vector3d(0.01, 0.01, 0.0006).asDiagonal();

// A loop's covariance, in the way that uncertainty takes.
const Matrix3d kLoopFloor = Vector3d(4e-4, 4e-4, 4e-5).asDiagonal();

constexpr double kSquareMetresPerSquareRadian = 4.0;

// A way over a link: where it leads, and how unsure the motion is.
struct Step {
  std::size_t to;
  Matrix3d covariance;
};

double uncertaintyOf(const Matrix3d& covariance) {
  return covariance(0, 0) + covariance(1, 1) + kSquareMetresPerSquareRadian * covariance(2, 2);
}

Matrix3d turnBy(double angle) {
  const double cosine = std::cos(angle);
  const double sine = std::sin(angle);
  Matrix3d turn;
  turn << cosine, -sine, 0.0, sine, cosine, 0.0, 0.0, 0.0, 1.0;
  return turn;
}

// The covariance of `pose` followed by `motion`.
Matrix3d covarianceAfter(const GraphPose& pose, const Matrix3d& covariance, const GraphPose& motion,
                         const Matrix3d& motionCovariance) {
  const Matrix3d turn = turnBy(pose.theta);
  Matrix3d byPose = Matrix3d::Identity();
  byPose(0, 2) = -(turn(1, 0) * motion.x + turn(1, 1) * motion.y);
  byPose(1, 2) = turn(0, 0) * motion.x + turn(0, 1) * motion.y;
  return byPose * covariance * byPose.transpose() + turn * motionCovariance * turn.transpose();
}

// The covariance of a motion's inverse.
Matrix3d covarianceBack(const GraphPose& motion, const Matrix3d& covariance) {
  const GraphPose inverse = seenFrom(motion, {});
  Matrix3d byMotion = -turnBy(-motion.theta);
  byMotion(0, 2) = inverse.y;
  byMotion(1, 2) = -inverse.x;
  return byMotion * covariance * byMotion.transpose();
}

// From each key, the links that lead away from it.
std::vector<std::vector<Step>> waysOf(const KeyGraph& graph) {
  std::vector<std::vector<Step>> ways(graph.keys.size());
  for (std::size_t i = 0; i < graph.steps.size(); ++i) {
    const GraphPose motion = seenFrom(graph.keys[i].pose, graph.keys[i + 1].pose);
    ways[i].push_back({i + 1, graph.steps[i]});
    ways[i + 1].push_back({i, covarianceBack(motion, graph.steps[i])});
  }
  for (const KeyLink& link : graph.links) {
    if (link.kind != LinkKind::Loop || link.dropped) continue;
    const Matrix3d covariance = (link.information + Matrix3d::Identity()).inverse() + kLoopFloor;
    ways[link.from].push_back({link.to, covariance});
    ways[link.to].push_back({link.from, covarianceBack(link.motion, covariance)});
  }
  return ways;
}

// Dijkstra's algorithm.
class Spreading {
 public:
  Spreading(const KeyGraph& graph, std::size_t start)
      : graph_(graph),
        ways_(waysOf(graph)),
        start_(start),
        seen_(graph.keys.size()),
        uncertainty_(graph.keys.size(), std::numeric_limits<double>::infinity()) {
    uncertainty_[start] = 0.0;
    queue_.insert({0.0, start});
  }

  std::vector<SeenKey> run() {
    while (!queue_.empty()) {
      const std::size_t key = queue_.begin()->second;
      queue_.erase(queue_.begin());
      seen_[key].reached = true;
      seen_[key].pose = seenFrom(graph_.keys[start_].pose, graph_.keys[key].pose);
      for (const Step& step : ways_[key]) follow(key, step);
    }
    return std::move(seen_);
  }

 private:
  void follow(std::size_t key, const Step& step) {
    if (seen_[step.to].reached) return;
    const GraphPose motion = seenFrom(graph_.keys[key].pose, graph_.keys[step.to].pose);
    const Matrix3d covariance =
        covarianceAfter(seen_[key].pose, seen_[key].covariance, motion, step.covariance);
    const double uncertainty = uncertaintyOf(covariance);
    if (!(uncertainty < uncertainty_[step.to])) return;
    queue_.erase({uncertainty_[step.to], step.to});
    uncertainty_[step.to] = uncertainty;
    seen_[step.to].covariance = covariance;
    queue_.insert({uncertainty, step.to});
  }

  const KeyGraph& graph_;
  const std::vector<std::vector<Step>> ways_;
  const std::size_t start_;
  std::vector<SeenKey> seen_;
  std::vector<double> uncertainty_;
  std::set<std::pair<double, std::size_t>> queue_;
};

}  // namespace

double SeenKey::shift() const { return std::sqrt(std::max(covariance(0, 0), covariance(1, 1))); }

double SeenKey::turn() const { return std::sqrt(covariance(2, 2)); }

Matrix3d odometryInformation(const GraphPose& motion) {
  const double distance = std::hypot(motion.x, motion.y);
  const double turn = std::fabs(motion.theta);
  return informationOf(kSlip + kSlipPerMetre * distance + kSlipPerRadian * turn,
                       kSkew + kSkewPerMetre * distance + kSkewPerRadian * turn);
}

PoseGraph KeyGraph::poseGraph() const {
  PoseGraph graph;
  for (const KeyScan& key : keys) graph.nodes.push_back(key.pose);
  for (const KeyLink& link : links) {
    if (link.dropped) continue;
    const double lossScale = link.kind == LinkKind::Odometry ? 1.0 : 0.0;
    graph.edges.push_back(
        {link.from, link.to, link.motion, informationOf(link.information), lossScale});
  }
  return graph;
}

std::vector<ScanLink> KeyGraph::scanLinks() const {
  std::vector<ScanLink> result;
  for (const KeyLink& link : links) {
    result.push_back({keys[link.from].scan, keys[link.to].scan, link.motion,
                      informationOf(link.information), link.kind, link.dropped});
  }
  return result;
}

KeyGraph::Snapshot KeyGraph::snapshot() const {
  Snapshot now;
  for (const KeyScan& key : keys) now.poses.push_back(key.pose);
  for (const KeyLink& link : links) now.dropped.push_back(link.dropped);
  now.steps = steps.size();
  return now;
}

void KeyGraph::restore(const Snapshot& before) noexcept {
  const auto shorten = [](auto& list, std::size_t count) {
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size())),
               list.end());
  };
  shorten(keys, before.poses.size());
  shorten(links, before.dropped.size());
  shorten(steps, before.steps);
  for (std::size_t i = 0; i < keys.size(); ++i) keys[i].pose = before.poses[i];
  for (std::size_t i = 0; i < links.size(); ++i) links[i].dropped = before.dropped[i];
}

void KeyGraph::solveOnce() {
  PoseGraph graph = poseGraph();
  graph.solve(kMostIterations);
  for (std::size_t i = 0; i < keys.size(); ++i) keys[i].pose = graph.nodes[i];
}

void KeyGraph::solve() {
  solveOnce();
  if (dropContradictions() > 0) solveOnce();
}

bool KeyGraph::contradicts(const KeyLink& link) const {
  const Vector3d off = difference(link.motion, seenFrom(keys[link.from].pose, keys[link.to].pose));
  if (std::hypot(off(0), off(1)) > kOffShift || std::fabs(off(2)) > kOffTurn) return true;
  const Matrix3d covariance =
      (link.information + 0.01 * Matrix3d::Identity()).inverse() + kOffFloor;
  return off.dot(covariance.inverse() * off) > kOffDeviations * kOffDeviations;
}

std::size_t KeyGraph::dropContradictions() {
  std::size_t count = 0;
  for (KeyLink& link : links) {
    if (link.kind != LinkKind::Loop || link.dropped || !contradicts(link)) continue;
    link.dropped = true;
    ++count;
  }
  return count;
}

std::vector<SeenKey> KeyGraph::seenFromKey(std::size_t key) const {
  return Spreading(*this, key).run();
}

std::vector<std::size_t> KeyGraph::stretch(std::size_t index, double length, std::size_t most,
                                           bool alsoAfter) const {
  std::vector<std::size_t> set = {index};
  for (std::size_t away = 1; set.size() < most; ++away) {
    const std::size_t before = set.size();
    if (away <= index && keys[index].path - keys[index - away].path < length) {
      set.push_back(index - away);
    }
    if (alsoAfter && index + away < keys.size() &&
        keys[index + away].path - keys[index].path < length) {
      set.push_back(index + away);
    }
    if (set.size() == before) break;
  }
  std::sort(set.begin(), set.end());
  return set;
}

Scan KeyGraph::merged(const std::vector<std::size_t>& set, const GraphPose& viewpoint,
                      double reach) const {
  Scan scan;
  for (const std::size_t index : set) {
    const Frame sensor(seenFrom(viewpoint, keys[index].pose));
    for (const SurfacePoint& hit : keys[index].surface.points()) {
      const double x = sensor.outX(hit.x, hit.y);
      const double y = sensor.outY(hit.x, hit.y);
      const double range = std::hypot(x, y);
      if (!(range < reach)) continue;
      scan.readings.emplace_back(static_cast<float>(range), static_cast<float>(std::atan2(y, x)));
    }
  }
  return scan;
}

}  // namespace Brin::mapping
