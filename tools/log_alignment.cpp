#include "tools/log_alignment.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "korrin/mapping/grid_builder.hpp"
#include "tools/pose_search.hpp"

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::Pose2D;
using Brin::mapping::Progress;

constexpr float kKeyDistance = 0.3f;  // metres
constexpr float kKeyTurn = 0.2f;      // radians
constexpr float kNeighbourhood = 6.0f;
constexpr float kMetresPerRadian = 1.0f;  // what a turn counts in the distance of two scans
constexpr std::size_t kSetSize = 20;      // scans in a local set
constexpr std::size_t kRecent = 8;        // of these, in step 1, the last ones
constexpr float kUsefulRange = 30.0f;     // metres; beyond, beams are too far apart to match
constexpr float kSpare = 2.0f;  // metres that a reference reaches beyond the scan it is made for
constexpr int kSettlings = 3;
constexpr float kMatchResolution = 0.05f;  // metres a pixel of a reference

// How a scan is refined.
struct Refining {
  float cutOff;
  Stiffness stiffness;
  int shifts;
  int turns;
};

// In step 1 the guess comes from odometry, which slips; in step 3 it is good already.
constexpr Refining kCarrying{0.3f, {1.0f, 20.0f}, 4, 12};
constexpr Refining kSettling{0.15f, {1.0f, 40.0f}, 3, 6};

using Scans = std::vector<Brin::io::LoggedScan>;

bool isFarFrom(const Pose2D& key, const Pose2D& pose) {
  const Pose2D apart = key.relProject(pose);
  return std::hypot(apart.x, apart.y) > kKeyDistance || std::fabs(apart.theta) > kKeyTurn;
}

// The hits of several scans as one scan seen from `viewpoint`, as far as `reach` metres.
Brin::Scan mergedScan(const Scans& scans, const std::vector<std::size_t>& set,
                      const Pose2D& viewpoint, float reach) {
  Brin::Scan merged;
  for (const std::size_t index : set) {
    const Pose2D sensor = viewpoint.relProject(scans[index].pose);
    for (const Point2D& hit : hitPoints(scans[index].scan, kUsefulRange)) {
      const Pose2D point = sensor.absProject({hit.x, hit.y, 0.0f});
      const float range = std::hypot(point.x, point.y);
      if (range < reach) merged.readings.emplace_back(range, std::atan2(point.y, point.x));
    }
  }
  return merged;
}

// How far a reference has to reach for a scan.
float reachFor(const Brin::Scan& scan) {
  float farthest = 0.0f;
  for (const Point2D& hit : hitPoints(scan, kUsefulRange)) {
    farthest = std::max(farthest, Brin::computeNorm(hit));
  }
  return farthest + kSpare;
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

// A local set of scans as a reference for a scan, seen from where that scan is believed to be; also
// for the scans that follow it closely.
class LocalReference {
 public:
  LocalReference(const Scans& scans, const std::vector<std::size_t>& set, const Brin::Scan& scan,
                 const Pose2D& viewpoint, const Refining& refining)
      : viewpoint_(viewpoint),
        refining_(refining),
        reference_(mergedScan(scans, set, viewpoint, reachFor(scan)), kMatchResolution,
                   refining.cutOff) {}

  const Pose2D& viewpoint() const { return viewpoint_; }

  Pose2D refine(const Brin::Scan& scan, const Pose2D& guess) const {
    const ScoredPose refined =
        refinePose(reference_, hitPoints(scan, kUsefulRange), viewpoint_.relProject(guess),
                   refining_.stiffness, refining_.shifts, refining_.turns);
    return viewpoint_.absProject(refined.pose);
  }

 private:
  const Pose2D viewpoint_;
  const Refining refining_;
  const ReferenceScan reference_;
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
    const Brin::Scan& scan = placed_[i].scan;
    if (!reference_ || isFarFrom(reference_->viewpoint(), guess)) {
      reference_ =
          std::make_unique<LocalReference>(placed_, localSet(guess), scan, guess, kCarrying);
    }
    placed_[i].pose = reference_->refine(scan, guess);
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
      reference =
          std::make_unique<LocalReference>(scans, set, scans[i].scan, scans[i].pose, kSettling);
    }
    scans[i].pose = reference->refine(scans[i].scan, scans[i].pose);
    progress(static_cast<double>(i + 1) / static_cast<double>(scans.size()));
  }
}

double likelihoodOf(const Scans& scans, float resolution) {
  const auto frame = Brin::mapping::gridAround(scans, resolution);
  return frame ? Brin::mapping::judgeGrid(Brin::mapping::buildGrid(scans, *frame), scans).likelihood : 0.0;
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
