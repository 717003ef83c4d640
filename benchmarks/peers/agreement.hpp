// Numbers that tell how far two answers to one query agree.
#pragma once

#include <vector>

#include "korrin/core/geometry.hpp"

namespace korrin_peers {

// The value below which `share` of `values` lie; 0 of none.
double quantile(std::vector<double> values, double share);

// Spearman's rank correlation of two equally long lists: 1 when they put their entries in the same
// order, 0 when the one says nothing about the other. Equal values rank by their places.
double rankCorrelation(const std::vector<double>& a, const std::vector<double>& b);

// Metres along the poses.
double pathLength(const std::vector<Brin::Pose2D>& path);

// The largest distance of a pose of `path` from the segments of `simplified`, metres.
double largestDeviation(const std::vector<Brin::Pose2D>& path,
                        const std::vector<Brin::Pose2D>& simplified);

}  // namespace korrin_peers
