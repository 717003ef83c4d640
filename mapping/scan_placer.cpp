#include "mapping/scan_placer.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "mapping/frame.hpp"

namespace Brin::mapping {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;

constexpr std::size_t kLastKeys = 10;
constexpr double kReach = 14.0;       // metres around the scan in which key scans are drawn
constexpr double kPointReach = 12.0;  // metres; points farther out turn too far at each step
constexpr double kResolution = 0.05;  // metres
constexpr double kTurnStep = 0.0175;  // radians
constexpr double kStale = 1.0;        // metres from where a search was made
constexpr double kJump = 2.0;         // metres of motion that odometry may have made up

constexpr std::size_t kLeastPoints = 10;
constexpr std::size_t kFittedPoints = 180;  // of a scan; more tell little more
constexpr std::size_t kScoredPoints = 120;
constexpr double kScoreReach = 0.3;  // metres, beyond which a point does not fit

constexpr double kGoodFit = 0.8;   // a score from which on no search is needed
constexpr double kPoorFit = 0.55;  // one below asks for a wide search
constexpr double kNoFit = 0.3;     // one below is none

// What odometry counts against a score: for a squared deviation, and at most. It may be all wrong.
constexpr double kDoubt = 0.008;
constexpr double kMostDoubt = 0.15;
constexpr double kTrustedDeviations = 3.0;

// Steps of a fit: first far and rough, then near and sharp.
constexpr std::array<FitReach, 8> kRounds = {{{0.5, 0.2},
                                              {0.4, 0.15},
                                              {0.3, 0.1},
                                              {0.25, 0.08},
                                              {0.2, 0.05},
                                              {0.2, 0.05},
                                              {0.2, 0.05},
                                              {0.2, 0.05}}};
constexpr std::size_t kFirstSharpRound = 5;
constexpr double kStill = 1e-4;  // metres and radians; a step below ends the fit

// The fit of one scan.
class Placing {
 public:
  Placing(const KeyGraph& graph, const std::vector<std::size_t>& set, const ScanSurface& scan,
          const GraphPose& guess, const GraphPose& motion)
      : graph_(graph), set_(set), scan_(scan), guess_(guess), prior_(odometryInformation(motion)) {}

  // Fits from a pose on, and keeps the result if it is the best so far.
  void consider(const GraphPose& from) {
    Matrix3d information = Matrix3d::Zero();
    const GraphPose pose = fitted(from, information);
    const double score = scoreOf(pose);
    const Vector3d off = difference(guess_, pose);
    const double value = score - std::min(kMostDoubt, kDoubt * off.dot(prior_ * off));
    if (value <= bestValue_) return;
    bestValue_ = value;
    bestScore_ = score;
    best_ = {pose, information, score >= kNoFit};
  }

  double bestScore() const { return bestScore_; }

  Placement best() const {
    if (best_.isMatched) return best_;
    return {guess_, Matrix3d::Zero(), false};
  }

 private:
  GraphPose fitted(GraphPose pose, Matrix3d& information) const {
    for (std::size_t round = 0; round < kRounds.size(); ++round) {
      PoseEquation equation = equationAt(pose, kRounds[round]);
      information = equation.information;
      // Odometry that is far off pulls little.
      const Vector3d off = difference(guess_, pose);
      const double deviations = off.dot(prior_ * off) / (kTrustedDeviations * kTrustedDeviations);
      const Matrix3d pull = prior_ / (1.0 + deviations);
      const Vector3d step =
          -(equation.information + pull).ldlt().solve(equation.gradient + pull * off);
      if (!step.allFinite()) break;
      pose = movedBy(pose, step);
      if (round >= kFirstSharpRound && step.norm() < kStill) break;
    }
    return pose;
  }

  // Of the world's pose. Several key scans tell of the same walls: together they count for two.
  PoseEquation equationAt(const GraphPose& pose, const FitReach& reach) const {
    PoseEquation sum;
    for (const std::size_t index : set_) {
      const KeyScan& key = graph_.keys[index];
      sum += inWorld(fitOnto(key.surface, scan_, seenFrom(key.pose, pose), reach, kFittedPoints),
                     key.pose);
    }
    const double weight = 2.0 * kInformationOfPoints / static_cast<double>(set_.size());
    sum.information *= weight;
    sum.gradient *= weight;
    return sum;
  }

  // 1 when all points lie on surfaces; a point 0.3 m away from all adds nothing.
  double scoreOf(const GraphPose& pose) const {
    const std::size_t stride = scan_.points().size() / (kScoredPoints + 1) + 1;
    double sum = 0.0;
    std::size_t count = 0;
    std::vector<Frame> seen;
    for (const std::size_t index : set_) seen.emplace_back(seenFrom(graph_.keys[index].pose, pose));
    for (std::size_t i = 0; i < scan_.points().size(); i += stride, ++count) {
      sum += 1.0 - distanceOf(scan_.points()[i], seen) / kScoreReach;
    }
    return count > 0 ? sum / static_cast<double>(count) : 0.0;
  }

  // How far a point is from the surfaces of the key scans, at most kScoreReach.
  double distanceOf(const SurfacePoint& hit, const std::vector<Frame>& seen) const {
    double least = kScoreReach;
    for (std::size_t i = 0; i < set_.size(); ++i) {
      const double x = seen[i].outX(hit.x, hit.y);
      const double y = seen[i].outY(hit.x, hit.y);
      const SurfacePoint* const on = graph_.keys[set_[i]].surface.nearest(x, y, kScoreReach);
      if (on == nullptr) continue;
      const double dx = x - on->x;
      const double dy = y - on->y;
      least = std::min(least, on->hasNormal() ? std::fabs(on->normalX * dx + on->normalY * dy)
                                              : std::hypot(dx, dy));
    }
    return least;
  }

  const KeyGraph& graph_;
  const std::vector<std::size_t>& set_;
  const ScanSurface& scan_;
  const GraphPose guess_;
  const Matrix3d prior_;
  Placement best_;
  double bestScore_ = 0.0;
  double bestValue_ = -std::numeric_limits<double>::infinity();
};

std::vector<Point2D> searchedPoints(const ScanSurface& scan) {
  std::vector<Point2D> points;
  for (const SurfacePoint& point : scan.points()) {
    if (point.range >= kPointReach) continue;
    points.emplace_back(static_cast<float>(point.x), static_cast<float>(point.y));
  }
  return points;
}

// What odometry usually gets wrong.
SearchWindow usualWindow(const GraphPose& centre, const GraphPose& motion) {
  const double distance = std::hypot(motion.x, motion.y);
  return {centre, std::min(1.0, 0.1 + 0.2 * distance),
          std::min(1.0, 0.1 + 0.1 * distance + 0.2 * std::fabs(motion.theta))};
}

// What it gets wrong when it turns by a quarter of a circle at once, or is not there at all.
SearchWindow wideWindow(const GraphPose& centre, const GraphPose& motion) {
  return {centre, std::min(1.5, 0.6 + 0.3 * std::hypot(motion.x, motion.y)), 1.3};
}

}  // namespace

void ScanPlacer::lookAtLastKeys(const KeyGraph& graph, const GraphPose& guess) {
  const bool isFresh =
      search_ != nullptr && keys_ == graph.keys.size() &&
      std::hypot(guess.x - search_->viewpoint().x, guess.y - search_->viewpoint().y) <= kStale;
  if (isFresh) return;
  search_.reset();  // should memory run out below, an old search must not pass for a fresh one
  keys_ = graph.keys.size();
  set_.clear();
  for (std::size_t i = keys_; i > 0 && set_.size() < kLastKeys; --i) set_.push_back(i - 1);
  search_ = std::make_unique<LocalSearch>(graph, set_, guess, kReach, kResolution);
}

Placement ScanPlacer::place(const KeyGraph& graph, const ScanSurface& scan, const GraphPose& before,
                            const GraphPose& motion) {
  const GraphPose guess = composed(before, motion);
  const std::vector<Point2D> points = searchedPoints(scan);
  if (points.size() < kLeastPoints) return {guess, Matrix3d::Zero(), false};
  lookAtLastKeys(graph, guess);
  Placing placing(graph, set_, scan, guess, motion);
  const auto search = [&](const SearchWindow& window) {
    for (const FoundPose& found : search_->best(points, window, kTurnStep)) {
      placing.consider(composed(search_->viewpoint(), found.pose));
    }
  };
  placing.consider(guess);
  const GraphPose centre = seenFrom(search_->viewpoint(), guess);
  if (placing.bestScore() < kGoodFit) search(usualWindow(centre, motion));
  if (placing.bestScore() < kPoorFit) search(wideWindow(centre, motion));
  if (placing.bestScore() < kPoorFit && std::hypot(motion.x, motion.y) > kJump) {
    const LocalSearch around(graph, set_, before, kReach, kResolution);
    for (const FoundPose& found : around.best(points, wideWindow({}, {}), kTurnStep)) {
      placing.consider(composed(before, found.pose));
    }
  }
  return placing.best();
}

}  // namespace Brin::mapping
