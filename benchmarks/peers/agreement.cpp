#include "peers/agreement.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>

namespace korrin_peers {
namespace {

using Brin::Pose2D;

double distanceToSegment(const Pose2D& p, const Pose2D& a, const Pose2D& b) {
  const double dx = static_cast<double>(b.x) - a.x;
  const double dy = static_cast<double>(b.y) - a.y;
  const double px = static_cast<double>(p.x) - a.x;
  const double py = static_cast<double>(p.y) - a.y;
  const double lengthSquared = dx * dx + dy * dy;
  const double along =
      lengthSquared > 0.0 ? std::clamp((px * dx + py * dy) / lengthSquared, 0.0, 1.0) : 0.0;
  return std::hypot(px - along * dx, py - along * dy);
}

// The place of each value in ascending order.
std::vector<std::size_t> ranks(const std::vector<double>& values) {
  std::vector<std::size_t> order(values.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
  std::vector<std::size_t> result(values.size());
  for (std::size_t rank = 0; rank < order.size(); ++rank) result[order[rank]] = rank;
  return result;
}

}  // namespace

double rankCorrelation(const std::vector<double>& a, const std::vector<double>& b) {
  const std::vector<std::size_t> ranksOfA = ranks(a);
  const std::vector<std::size_t> ranksOfB = ranks(b);
  double squares = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = static_cast<double>(ranksOfA[i]) - static_cast<double>(ranksOfB[i]);
    squares += difference * difference;
  }
  const auto n = static_cast<double>(a.size());
  return 1.0 - 6.0 * squares / (n * (n * n - 1.0));
}

double quantile(std::vector<double> values, double share) {
  if (values.empty()) return 0.0;
  const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

double pathLength(const std::vector<Pose2D>& path) {
  double length = 0.0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    length += std::hypot(static_cast<double>(path[i].x) - path[i - 1].x,
                         static_cast<double>(path[i].y) - path[i - 1].y);
  }
  return length;
}

double largestDeviation(const std::vector<Pose2D>& path, const std::vector<Pose2D>& simplified) {
  double largest = 0.0;
  for (const Pose2D& pose : path) {
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < simplified.size(); ++i) {
      nearest = std::min(nearest, distanceToSegment(pose, simplified[i - 1], simplified[i]));
    }
    largest = std::max(largest, nearest);
  }
  return largest;
}

}  // namespace korrin_peers
