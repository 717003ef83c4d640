// The search of pose_search.hpp, literally: the picture drawn pixel by pixel, every pose of the
// grid scored by the literal scorer, one after the other.
#pragma once

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/pose_search.hpp"
#include "models/distance_transform_model.hpp"
#include "models/scan_matching_model.hpp"

namespace korrin_model {

// How many whole steps a reach holds.
inline int stepsOf(float reach, float step) {
  const float steps = std::floor(reach / step + 0.001f);
  return steps >= 1.0f ? static_cast<int>(steps) : 0;
}

class PoseSearch {
 public:
  // Of a map, in the world.
  PoseSearch(const Brin::OccupancyMap& map, float threshold, float maxDist)
      : resolution_(map.params.resolution),
        maxDist_(maxDist),
        isInWorld_(true),
        origin_(map.params.origin) {
    const int width = map.image->width;
    const int height = map.image->height;
    const int side = 2 * std::max(width, height);
    const Brin::ImagePtr picture = Brin::makeImage(cvSize(side, side), IPL_DEPTH_8U, 1);
    own_ = Brin::makeImage(cvSize(side, side), IPL_DEPTH_32F, 1);
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        const int col = x - side / 2;
        const int row = y - side / 2;
        const bool isHit = col >= 0 && row >= 0 && map.getCell(col, row) < threshold &&
                           col < width && row < height;
        picture->imageData[y * picture->widthStep + x] = isHit ? '\0' : '\xff';
      }
    }
    korrin_model::chamferDistances(picture.get(), own_.get());
    distances_ = own_.get();
  }

  // Of a reference, in its frame; borrows its distances.
  PoseSearch(const Brin::ScanDistMap& reference, float maxDist)
      : distances_(reference.distanceMap),
        resolution_(reference.resolution),
        maxDist_(maxDist),
        step_(reference.step) {}

  float score(const std::vector<Brin::Point2D>& points, const Brin::Pose2D& pose) const {
    return korrin_model::scanScore(distances_, points, isInWorld_ ? origin_.relProject(pose) : pose,
                                   resolution_, maxDist_, nullptr, nullptr, step_);
  }

  std::vector<Brin::ScoredPose> best(const std::vector<Brin::Point2D>& points,
                                     const Brin::PoseGrid& grid, int count, float apart,
                                     float turned) const {
    const std::vector<Brin::ScoredPose> all = scoreAll(points, grid);
    std::vector<std::size_t> found;
    for (int n = 0; n < count; ++n) {
      std::size_t best = all.size();
      for (std::size_t i = 0; i < all.size(); ++i) {
        if (best != all.size() && !(all[i].score > all[best].score)) continue;
        const bool isFree = std::all_of(found.begin(), found.end(), [&](std::size_t f) {
          return f != i && isElsewhere(all[i].pose, all[f].pose, apart, turned);
        });
        if (isFree) best = i;
      }
      if (best == all.size()) break;
      found.push_back(best);
    }
    std::vector<Brin::ScoredPose> answers;
    for (const std::size_t i : found) answers.push_back(all[i]);
    return answers;
  }

 private:
  std::vector<Brin::ScoredPose> scoreAll(const std::vector<Brin::Point2D>& points,
                                         const Brin::PoseGrid& grid) const {
    std::vector<Brin::ScoredPose> all;
    const int maxI = stepsOf(grid.reachX, grid.step);
    const int maxJ = stepsOf(grid.reachY, grid.step);
    const int maxK = stepsOf(grid.turn, grid.turnStep);
    for (int k = -maxK; k <= maxK; ++k) {
      for (int j = -maxJ; j <= maxJ; ++j) {
        for (int i = -maxI; i <= maxI; ++i) {
          const Brin::Pose2D pose(grid.centre.x + static_cast<float>(i) * grid.step,
                                  grid.centre.y + static_cast<float>(j) * grid.step,
                                  grid.centre.theta + static_cast<float>(k) * grid.turnStep);
          all.push_back({pose, score(points, pose)});
        }
      }
    }
    return all;
  }

  static bool isElsewhere(const Brin::Pose2D& q, const Brin::Pose2D& p, float apart, float turned) {
    const float dx = q.x - p.x;
    const float dy = q.y - p.y;
    return std::sqrt(dx * dx + dy * dy) >= apart ||
           std::fabs(Brin::canonicalAngle(q.theta - p.theta)) >= turned;
  }

  Brin::ImagePtr own_;
  const IplImage* distances_ = nullptr;
  float resolution_;
  float maxDist_;
  int step_ = 1;
  bool isInWorld_ = false;
  Brin::Pose2D origin_;
};

}  // namespace korrin_model
