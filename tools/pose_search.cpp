#include "tools/pose_search.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>

namespace korrin_tool {
namespace {

using Brin::Point2D;
using Brin::Pose2D;

constexpr float kDegree = 0.017453293f;

// How many whole steps fit in, a step that ends a rounding error beyond the reach included.
int stepsWithin(float reach, float step) {
  const float steps = std::floor(reach / step + 1e-3f);
  return steps > 0.0f && steps < 1e6f ? static_cast<int>(steps) : 0;
}

Pose2D moved(const Pose2D& centre, int i, int j, int k, float step, float turnStep) {
  return {centre.x + static_cast<float>(i) * step, centre.y + static_cast<float>(j) * step,
          centre.theta + static_cast<float>(k) * turnStep};
}

// The search around a guess, in rounds of a finer and finer grid.
class Refinement {
 public:
  Refinement(const ReferenceScan& reference, const std::vector<Point2D>& points,
             const Pose2D& guess, const Stiffness& stiffness)
      : reference_(reference), points_(points), guess_(guess), stiffness_(stiffness) {
    best_.pose = guess;
    best_.score = value_ = reference.score(points, guess);
  }

  // Tries the poses up to `shifts` and `turns` steps from the best one so far.
  void round(int shifts, float step, int turns, float turnStep) {
    const Pose2D centre = best_.pose;
    for (int k = -turns; k <= turns; ++k) {
      for (int j = -shifts; j <= shifts; ++j) {
        for (int i = -shifts; i <= shifts; ++i) attempt(moved(centre, i, j, k, step, turnStep));
      }
    }
  }

  const ScoredPose& best() const { return best_; }

 private:
  void attempt(const Pose2D& pose) {
    const float loss = lossOf(pose);
    if (1.0f - loss <= value_) return;  // not even a perfect fit would make up for it
    const float score = reference_.score(points_, pose);
    if (score - loss <= value_) return;
    value_ = score - loss;
    best_ = {pose, score};
  }

  float lossOf(const Pose2D& pose) const {
    const float dx = pose.x - guess_.x;
    const float dy = pose.y - guess_.y;
    const float turn = pose.theta - guess_.theta;
    return stiffness_.perSquareMetre * (dx * dx + dy * dy) +
           stiffness_.perSquareRadian * turn * turn;
  }

  const ReferenceScan& reference_;
  const std::vector<Point2D>& points_;
  const Pose2D guess_;
  const Stiffness stiffness_;
  ScoredPose best_;
  float value_;  // the best score less its loss
};

}  // namespace

std::vector<Point2D> hitPoints(const Brin::Scan& scan, float maxRange) {
  std::vector<Point2D> points;
  for (const Brin::RangeReading& reading : scan.readings) {
    if (reading.status == 0 && reading.range < maxRange) points.push_back(reading.toPoint2D());
  }
  return points;
}

ReferenceScan::ReferenceScan(const Brin::Scan& scan, float resolution, float cutOff)
    : cutOff_(cutOff) {
  map_.build(scan, {}, resolution);
}

ReferenceScan::~ReferenceScan() {
  cvReleaseImage(&map_.distanceMap);
  cvReleaseImage(&map_.laserImage);
}

int SearchWindow::shifts() const { return stepsWithin(reach, step); }

int SearchWindow::turns() const { return stepsWithin(turn, turnStep); }

std::int64_t SearchWindow::poses() const {
  const std::int64_t side = 2 * std::int64_t{shifts()} + 1;
  return side * side * (2 * std::int64_t{turns()} + 1);
}

SearchResult searchAllPoses(const ReferenceScan& reference, const std::vector<Point2D>& points,
                            const Pose2D& centre, const SearchWindow& window) {
  SearchResult result;
  result.best.score = -1.0f;
  std::int64_t bestSteps = 0;
  const int shifts = window.shifts();
  const int turns = window.turns();
  for (int j = -shifts; j <= shifts; ++j) {
    for (int i = -shifts; i <= shifts; ++i) {
      float bestHere = 0.0f;
      for (int k = -turns; k <= turns; ++k) {
        const Pose2D pose = moved(centre, i, j, k, window.step, window.turnStep);
        const float score = reference.score(points, pose);
        bestHere = std::max(bestHere, score);
        const std::int64_t steps = std::int64_t{i} * i + std::int64_t{j} * j + std::int64_t{k} * k;
        if (score < result.best.score || (score == result.best.score && steps >= bestSteps)) {
          continue;
        }
        result.best = {pose, score};
        bestSteps = steps;
      }
      result.scores.push_back(bestHere);
    }
  }
  return result;
}

ScoredPose refinePose(const ReferenceScan& reference, const std::vector<Point2D>& points,
                      const Pose2D& guess, const Stiffness& stiffness, int shifts, int turns) {
  Refinement refinement(reference, points, guess, stiffness);
  refinement.round(shifts, 0.05f, turns, 0.5f * kDegree);
  refinement.round(2, 0.025f, 2, 0.25f * kDegree);
  refinement.round(1, 0.0125f, 1, 0.125f * kDegree);
  return refinement.best();
}

}  // namespace korrin_tool
