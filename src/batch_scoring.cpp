#include "korrin/batch_scoring.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "korrin/scan_matching.hpp"
#include "src/beam_pixels.hpp"
#include "src/distance_square.hpp"
#include "src/pixel_lookup.hpp"
#include "src/pose_lanes.hpp"

namespace Brin {
namespace {

// Where the results go: one score and count for each pose.
class Results {
 public:
  Results(std::size_t size, std::vector<float>& scores, std::vector<int>* counts)
      : scores_(scores), counts_(counts) {
    scores_.assign(size, 0.0f);
    if (counts_ != nullptr) counts_->assign(size, 0);
  }
  int* count(std::size_t i) { return counts_ != nullptr ? &(*counts_)[i] : nullptr; }
  void setScore(std::size_t i, float score) { scores_[i] = score; }

 private:
  std::vector<float>& scores_;
  std::vector<int>* counts_;
};

// A table costs about as much as a few lookups for each pixel.
bool isTableWorthwhile(const DistanceSquare& square, std::size_t points, std::size_t poses) {
  const double pixels = static_cast<double>(square.side) * square.side;
  return static_cast<double>(points) * static_cast<double>(poses) > 4.0 * pixels;
}

// The visited points, as they are and turned by the last heading that was asked for.
class TurnedPoints {
 public:
  TurnedPoints(const std::vector<Point2D>& points, int step) {
    const std::size_t visited = visitedOf(points.size(), step);
    for (std::size_t i = 0; i < visited; ++i) {
      x_.push_back(points[i * static_cast<std::size_t>(step)].x);
      y_.push_back(points[i * static_cast<std::size_t>(step)].y);
    }
    turnedX_.resize(visited);
    turnedY_.resize(visited);
  }

  LanePoints asTheyAre() const { return {x_.data(), y_.data(), x_.size()}; }

  LanePoints turnedBy(float theta) {
    if (!isTurned_ || theta != theta_) turn(theta);
    return {turnedX_.data(), turnedY_.data(), x_.size()};
  }

 private:
  void turn(float theta) {
    const float sine = std::sin(theta);
    const float cosine = std::cos(theta);
    for (std::size_t i = 0; i < x_.size(); ++i) {
      turnedX_[i] = x_[i] * cosine - y_[i] * sine;
      turnedY_[i] = x_[i] * sine + y_[i] * cosine;
    }
    theta_ = theta;
    isTurned_ = true;
  }

  std::vector<float> x_;
  std::vector<float> y_;
  std::vector<float> turnedX_;
  std::vector<float> turnedY_;
  float theta_ = 0.0f;
  bool isTurned_ = false;
};

// Scores points by a table, eight poses at a time.
class TableScorer {
 public:
  TableScorer(const DistanceSquare& square, const std::vector<Point2D>& points, float inv,
              float cutOff, int step)
      : table_(square, cutOff), points_(points, step), inv_(inv), cutOff_(cutOff), step_(step) {}

  void score(const std::vector<Pose2D>& poses, Results& results) {
    constexpr std::size_t kSize = PoseLanes::kSize;
    for (std::size_t first = 0; first < poses.size(); first += kSize) {
      const std::size_t count = std::min(kSize, poses.size() - first);
      scoreGroup(&poses[first], count);
      for (std::size_t i = 0; i < count; ++i) set(first + i, i, results);
    }
  }

 private:
  void scoreGroup(const Pose2D* poses, std::size_t count) {
    const float heading = poses[0].theta;
    const bool isOneHeading =
        std::all_of(poses, poses + count, [&](const Pose2D& p) { return p.theta == heading; });
    for (std::size_t i = 0; i < PoseLanes::kSize; ++i) {
      const Pose2D& pose = poses[std::min(i, count - 1)];
      lanes_.x[i] = pose.x;
      lanes_.y[i] = pose.y;
      if (isOneHeading) continue;
      lanes_.sine[i] = std::sin(pose.theta);
      lanes_.cosine[i] = std::cos(pose.theta);
    }
    if (isOneHeading) {
      addUp<Points::Turned>(table_, points_.turnedBy(heading), inv_, lanes_);
    } else {
      addUp<Points::ToTurn>(table_, points_.asTheyAre(), inv_, lanes_);
    }
  }

  void set(std::size_t pose, std::size_t lane, Results& results) const {
    const std::size_t visited = points_.asTheyAre().count;
    const std::int64_t matches = static_cast<std::int64_t>(visited) + lanes_.minusMisses[lane];
    results.setScore(
        pose, scoreOf(lanes_.sum[lane], matches, visited, cutOff_, results.count(pose), step_));
  }

  AddendTable table_;
  TurnedPoints points_;
  PoseLanes lanes_{};
  float inv_;
  float cutOff_;
  int step_;
};

// What both overloads begin with: whether there is anything to score.
bool begin(int step, std::vector<float>& scores, std::vector<int>* counts) {
  if (isStride(step, "src/batch_scoring", "scanScores")) return true;
  scores.clear();
  if (counts != nullptr) counts->clear();
  return false;
}

}  // namespace

void scanScores(const IplImage* distanceMap, const std::vector<Point2D>& points,
                const std::vector<Pose2D>& poses, float resolution, float maxDist,
                std::vector<float>& scores, std::vector<int>* counts, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScores");
  if (!begin(step, scores, counts)) return;
  Results results(poses.size(), scores, counts);
  const float inv = 1.0f / resolution;
  const float cutOff = maxDist * inv;
  if (isTableWorthwhile(square, visitedOf(points.size(), step), poses.size()) &&
      AddendTable::isPossible(square) && std::isfinite(cutOff)) {
    TableScorer(square, points, inv, cutOff, step).score(poses, results);
    return;
  }
  for (std::size_t i = 0; i < poses.size(); ++i) {
    results.setScore(i, scanScore(distanceMap, points, poses[i], resolution, maxDist,
                                  results.count(i), nullptr, step));
  }
}

void scanScores(const IplImage* distanceMap, const Scan& scan, const std::vector<Pose2D>& poses,
                float resolution, float maxDist, std::vector<float>& scores,
                std::vector<int>* counts, int step) {
  const DistanceSquare square = squareOf(distanceMap, "scanScores");
  if (!begin(step, scores, counts)) return;
  Results results(poses.size(), scores, counts);
  const float inv = 1.0f / resolution;
  const float cutOff = maxDist * inv;
  const PixelRange range = PixelRange::upToCutOff(square, cutOff);
  const TurnedScan turned(scan.readings, step);
  for (std::size_t i = 0; i < poses.size(); ++i) {
    const bool isBounded = std::fabs(poses[i].theta) <= TurnedScan::kLargestTurn;
    const Tally tally = isBounded
                            ? tallyBlocks(range, TurnedScan::Source(turned, poses[i], inv))
                            : tallyBlocks(range, BeamSource(scan.readings, poses[i], inv, step));
    results.setScore(
        i, scoreOf(tally.sum, tally.matches, tally.visited, cutOff, results.count(i), step));
  }
}

}  // namespace Brin
