#include "tools/log_alignment.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "tools/pose_search.hpp"

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::Pose2D;

constexpr float kKeyDistance = 0.3f;  // metres
constexpr float kKeyTurn = 0.2f;      // radians
constexpr float kNeighbourhood = 6.0f;
constexpr float kMetresPerRadian = 1.0f;  // what a turn counts in the distance of two scans
constexpr std::size_t kSetSize = 20;      // scans in a local set
constexpr std::size_t kRecent = 8;        // of these, in step 1, the last ones
constexpr float kUsefulRange = 30.0f;     // metres; beyond, beams are too far apart to match
constexpr int kSettlings = 3;
constexpr float kMatchResolution = 0.05f;  // metres a pixel of a reference

// In step 1 the guess comes from odometry, which slips; in step 3 it is good already.
constexpr Stiffness kCarryStiffness{1.0f, 20.0f};
constexpr float kCarryCutOff = 0.3f;
constexpr Stiffness kSettleStiffness{16.0f, 320.0f};
constexpr float kSettleCutOff = 0.15f;

using Scans = std::vector<LoggedScan>;

bool isFarFrom(const Pose2D& key, const Pose2D& pose) {
  const Pose2D apart = key.relProject(pose);
  return std::hypot(apart.x, apart.y) > kKeyDistance || std::fabs(apart.theta) > kKeyTurn;
}

// The hits of several scans as one scan seen from `viewpoint`.
Brin::Scan mergedScan(const Scans& scans, const std::vector<std::size_t>& set,
                      const Pose2D& viewpoint) {
  Brin::Scan merged;
  for (const std::size_t index : set) {
    const Pose2D sensor = viewpoint.relProject(scans[index].pose);
    for (const Point2D& hit : hitPoints(scans[index].scan, kUsefulRange)) {
      const Pose2D point = sensor.absProject({hit.x, hit.y, 0.0f});
      merged.readings.emplace_back(std::hypot(point.x, point.y), std::atan2(point.y, point.x));
    }
  }
  return merged;
}

// Up to `count` of the candidates [0, end) nearest to `pose`, none of them `except`.
std::vector<std::size_t> nearest(const Scans& scans, const std::vector<std::size_t>& candidates,
                                 std::size_t end, const Pose2D& pose, std::size_t count,
                                 std::size_t except) {
  std::vector<std::pair<float, std::size_t>> byDistance;
  for (std::size_t i = 0; i < end; ++i) {
    if (candidates[i] == except) continue;
    const Pose2D apart = pose.relProject(scans[candidates[i]].pose);
    const float distance = std::hypot(apart.x, apart.y) + kMetresPerRadian * std::fabs(apart.theta);
    if (distance < kNeighbourhood) byDistance.emplace_back(distance, candidates[i]);
  }
  std::sort(byDistance.begin(), byDistance.end());
  std::vector<std::size_t> set;
  for (std::size_t i = 0; i < std::min(count, byDistance.size()); ++i) {
    set.push_back(byDistance[i].second);
  }
  return set;
}

// A local set of scans as a reference, seen from where it was made for.
struct LocalReference {
  Pose2D viewpoint;
  ReferenceScan scan;

  LocalReference(const Scans& scans, const std::vector<std::size_t>& set, const Pose2D& viewpoint_,
                 float cutOff)
      : viewpoint(viewpoint_), scan(mergedScan(scans, set, viewpoint_), kMatchResolution, cutOff) {}

  Pose2D refine(const LoggedScan& logged, const Pose2D& guess, const Stiffness& stiffness) const {
    const std::vector<Point2D> points = hitPoints(logged.scan, kUsefulRange);
    return viewpoint.absProject(
        refinePose(scan, points, viewpoint.relProject(guess), stiffness).pose);
  }
};

// Step 1.
class Carrying {
 public:
  explicit Carrying(const Scans& logged) : logged_(logged) {}

  Scans run(const Progress& progress) {
    placed_ = logged_;
    for (std::size_t i = 0; i < logged_.size(); ++i) {
      if (i > 0) place(i);
      if (keys_.empty() || isFarFrom(placed_[keys_.back()].pose, placed_[i].pose)) {
        keys_.push_back(i);
        reference_.reset();
      }
      progress(static_cast<double>(i + 1) / static_cast<double>(logged_.size()));
    }
    return placed_;
  }

 private:
  void place(std::size_t i) {
    const Pose2D motion = logged_[i - 1].pose.relProject(logged_[i].pose);
    const Pose2D guess = placed_[i - 1].pose.absProject(motion);
    if (!reference_ || isFarFrom(reference_->viewpoint, guess)) {
      reference_ = std::make_unique<LocalReference>(placed_, localSet(guess), guess, kCarryCutOff);
    }
    placed_[i].pose = reference_->refine(placed_[i], guess, kCarryStiffness);
  }

  std::vector<std::size_t> localSet(const Pose2D& guess) const {
    const std::size_t older = keys_.size() - std::min(keys_.size(), kRecent);
    std::vector<std::size_t> set =
        nearest(placed_, keys_, older, guess, kSetSize - kRecent, placed_.size());
    set.insert(set.end(), keys_.begin() + static_cast<std::ptrdiff_t>(older), keys_.end());
    return set;
  }

  const Scans& logged_;
  Scans placed_;
  std::vector<std::size_t> keys_;
  std::unique_ptr<LocalReference> reference_;
};

std::vector<std::size_t> keyScans(const Scans& scans) {
  std::vector<std::size_t> keys;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    if (keys.empty() || isFarFrom(scans[keys.back()].pose, scans[i].pose)) keys.push_back(i);
  }
  return keys;
}

// Step 3, once. Scans that follow a key scan closely share its local set.
void settle(Scans& scans, const Progress& progress) {
  const std::vector<std::size_t> keys = keyScans(scans);
  std::unique_ptr<LocalReference> reference;
  std::size_t nextKey = 0;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    if (nextKey < keys.size() && keys[nextKey] == i) {
      ++nextKey;
      const auto set = nearest(scans, keys, keys.size(), scans[i].pose, kSetSize, i);
      reference = std::make_unique<LocalReference>(scans, set, scans[i].pose, kSettleCutOff);
    }
    scans[i].pose = reference->refine(scans[i], scans[i].pose, kSettleStiffness);
    progress(static_cast<double>(i + 1) / static_cast<double>(scans.size()));
  }
}

double likelihoodOf(const Scans& scans, float resolution) {
  const auto frame = gridAround(scans, resolution);
  return frame ? judgeGrid(buildGrid(scans, *frame), scans).likelihood : 0.0;
}

// The part of the whole progress that one step makes.
Progress partOf(const Progress& whole, int step, int steps) {
  return [&whole, step, steps](double share) {
    if (whole) whole((step + share) / steps);
  };
}

}  // namespace

Alignment alignLog(const Scans& scans, float resolution, const Progress& progress) {
  const int steps = 1 + kSettlings;
  Scans carried = Carrying(scans).run(partOf(progress, 0, steps));
  const double loggedLikelihood = likelihoodOf(scans, resolution);
  Alignment alignment{scans, AlignmentKind::Settled};
  if (likelihoodOf(carried, resolution) > loggedLikelihood) {
    alignment = {std::move(carried), AlignmentKind::Carried};
  }
  for (int i = 0; i < kSettlings; ++i) {
    settle(alignment.scans, partOf(progress, 1 + i, steps));
  }
  if (likelihoodOf(alignment.scans, resolution) > loggedLikelihood) return alignment;
  return {scans, AlignmentKind::Logged};
}

}  // namespace korrin_tool
