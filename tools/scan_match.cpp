#include "tools/scan_match.hpp"

#include <algorithm>
#include <cmath>
#include <random>

#include "tools/scan_search.hpp"

namespace korrin_tool {
namespace {

constexpr std::size_t kFarthestScan = 9;
constexpr float kFarthest = 0.45f;
constexpr float kMostTurned = 0.3f;
constexpr float kNearest = 0.1f;
constexpr float kLeastTurned = 0.1f;
constexpr float kAgreeMetres = 0.0501f;
constexpr float kAgreeRadians = 0.017454f;

bool isClose(const Brin::Pose2D& apart) {
  const float distance = std::hypot(apart.x, apart.y);
  const float turn = std::abs(apart.theta);
  return distance <= kFarthest && turn <= kMostTurned &&
         (distance >= kNearest || turn >= kLeastTurned);
}

}  // namespace

ScanMatch matchScans(const Brin::io::LoggedScan& reference, const Brin::io::LoggedScan& other,
                     const Brin::PoseGrid& grid, float cutOff) {
  const Brin::PoseSearch search = searchOn(reference.scan, grid.step, cutOff);
  const std::vector<Brin::Point2D> points = hitPoints(other.scan);
  ScanMatch match;
  match.found = bestPose(search, points, grid);
  match.logged = reference.pose.relProject(other.pose);
  match.loggedScore = search.score(points, match.logged);
  return match;
}

std::vector<ScanPair> closePairs(const std::vector<Brin::io::LoggedScan>& scans, std::size_t count,
                                 std::uint32_t seed) {
  std::vector<ScanPair> pairs;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const std::size_t end = std::min(scans.size(), i + kFarthestScan + 1);
    for (std::size_t j = i + 1; j < end; ++j) {
      if (isClose(relativePose(scans, {i, j}))) pairs.push_back({i, j});
    }
  }
  std::mt19937 random(seed);
  const std::size_t drawn = std::min(pairs.size(), count);
  for (std::size_t i = 0; i < drawn; ++i) {
    std::swap(pairs[i], pairs[i + random() % (pairs.size() - i)]);
  }
  pairs.resize(drawn);
  return pairs;
}

Brin::Pose2D relativePose(const std::vector<Brin::io::LoggedScan>& scans, const ScanPair& pair) {
  return scans[pair.reference].pose.relProject(scans[pair.other].pose);
}

bool agree(const Brin::Pose2D& a, const Brin::Pose2D& b) {
  return std::hypot(a.x - b.x, a.y - b.y) <= kAgreeMetres &&
         std::abs(Brin::canonicalAngle(a.theta - b.theta)) <= kAgreeRadians;
}

}  // namespace korrin_tool
