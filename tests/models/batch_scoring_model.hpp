// The batch of batch_scoring.hpp, literally: one pose after the other by the literal scorer.
#pragma once

#include <vector>

#include "models/scan_matching_model.hpp"

namespace korrin_model {

// `Items` is a vector of points or a scan.
template <typename Items>
void scanScores(const IplImage* map, const Items& items, const std::vector<Brin::Pose2D>& poses,
                float resolution, float maxDist, std::vector<float>& scores,
                std::vector<int>& counts, int step) {
  scores.clear();
  counts.clear();
  for (const Brin::Pose2D& pose : poses) {
    int count = 0;
    scores.push_back(
        korrin_model::scanScore(map, items, pose, resolution, maxDist, &count, nullptr, step));
    counts.push_back(count);
  }
}

}  // namespace korrin_model
