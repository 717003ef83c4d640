// The doorways of a real log that its robot drove through, told from the map and the way alone, are
// holes in the scans taken on the way there. Without ../shared/data the two rooms stand in, and the
// test says so.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <optional>

#include "korrin/mapping/grid_builder.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "korrin/scan_holes.hpp"
#include "tests/support/laser_world.hpp"
#include "tools/format.hpp"

namespace korrin_test {
namespace {

using Brin::Point2D;
using Brin::Pose2D;
using Brin::io::LoggedScan;

constexpr float kRightAngle = 1.5707963f;
constexpr float kWidth = 0.7f;  // asked of a hole, and of a doorway

using Scans = std::vector<LoggedScan>;

Scans theLog() {
  const std::string path = "../shared/data/logs/freiburg-079-corrected.log.gz";
  if (std::filesystem::exists(path)) return Brin::io::readLaserLog(path).scans;
  std::cout << path << " is not there; a generated log stands in for it.\n";
  std::vector<Pose2D> way;  // straight on, so that left and right are along the wall
  for (int i = 0; i < 150; ++i) way.emplace_back(1.0f + 0.04f * static_cast<float>(i), 2.5f, 0.0f);
  return Brin::io::parseLaserLog(LaserWorld::twoRooms().carmenLog(way, 360)).scans;
}

float apart(const Point2D& a, const Point2D& b) { return std::hypot(a.x - b.x, a.y - b.y); }

// What the map has to the left and to the right of a pose.
struct Clearance {
  Point2D left;
  Point2D right;
  float width() const { return apart(left, right); }
  Point2D middle() const { return {0.5f * (left.x + right.x), 0.5f * (left.y + right.y)}; }
};

Clearance clearanceAt(const Brin::OccupancyMapper& mapper, const Pose2D& pose) {
  const auto firstObstacle = [&](float angle) {
    const Pose2D far = pose.absProject({3.0f * std::cos(angle), 3.0f * std::sin(angle), 0.0f});
    const float range = mapper.throwRay(pose, far, 0.25f).range;
    return Point2D(pose.absProject({range * std::cos(angle), range * std::sin(angle), 0.0f}));
  };
  return {firstObstacle(kRightAngle), firstObstacle(-kRightAngle)};
}

// A place on the way that is narrow, while half a metre more is free both before and after it.
struct Doorway {
  std::size_t scan;
  Clearance posts;
};

std::vector<Doorway> doorwaysOf(const Scans& scans, const std::vector<Clearance>& clearances) {
  std::vector<Doorway> doorways;
  for (std::size_t i = 0; i < scans.size(); ++i) {
    const float width = clearances[i].width();
    if (width < kWidth || width > 1.25f) continue;
    float widestBefore = 0.0f;
    float widestAfter = 0.0f;
    bool isNarrowest = true;
    for (std::size_t j = 0; j < scans.size(); ++j) {
      if (apart(scans[i].pose, scans[j].pose) > 0.8f || (j > i ? j - i : i - j) > 200) continue;
      float& widest = j < i ? widestBefore : widestAfter;
      widest = std::max(widest, clearances[j].width());
      isNarrowest = isNarrowest &&
                    (clearances[j].width() > width || (clearances[j].width() == width && j >= i));
    }
    if (isNarrowest && std::min(widestBefore, widestAfter) > width + 0.5f) {
      doorways.push_back({i, clearances[i]});
    }
  }
  return doorways;
}

// Whether a hole of the scan has a border at one of the doorway's posts.
bool showsDoorway(const LoggedScan& logged, const Doorway& doorway) {
  std::vector<Brin::ScanHole> holes;
  Brin::findScanHoles(logged.scan, holes, kWidth);
  const auto isAtPost = [&](const Point2D& border) {
    const Pose2D point = logged.pose.absProject({border.x, border.y, 0.0f});
    return apart(point, doorway.posts.left) < 0.3f || apart(point, doorway.posts.right) < 0.3f;
  };
  return std::any_of(holes.begin(), holes.end(), [&](const Brin::ScanHole& hole) {
    return isAtPost(hole.beginPoint) || isAtPost(hole.endPoint);
  });
}

// The scans on the way to a doorway, from 2.5 m to 0.8 m before it and with it in front.
std::vector<std::size_t> approachTo(const Doorway& doorway, const Scans& scans) {
  const Point2D middle = doorway.posts.middle();
  std::vector<std::size_t> approach;
  for (std::size_t i = doorway.scan; i-- > 0 && doorway.scan - i <= 200;) {
    const Pose2D seen = scans[i].pose.relProject({middle.x, middle.y, 0.0f});
    const float distance = std::hypot(seen.x, seen.y);
    if (distance > 2.5f) break;
    if (distance > 0.8f && std::abs(std::atan2(seen.y, seen.x)) < 1.0f) approach.push_back(i);
  }
  return approach;
}

TEST(RealDoorways, AreHolesInTheScansOnTheWayThere) {
  const Scans scans = theLog();
  Brin::OccupancyMap map =
      Brin::mapping::buildGrid(scans, *Brin::mapping::gridAround(scans, 0.05f));
  const Brin::OccupancyMapper mapper(&map);
  std::vector<Clearance> clearances;
  for (const LoggedScan& logged : scans) clearances.push_back(clearanceAt(mapper, logged.pose));
  const std::vector<Doorway> doorways = doorwaysOf(scans, clearances);
  ASSERT_FALSE(doorways.empty());

  korrin_tool::Table table;
  table.header = {"doorway before scan", "at", "width", "scans on the way", "that show it"};
  std::size_t shown = 0;
  for (const Doorway& doorway : doorways) {
    const std::vector<std::size_t> approach = approachTo(doorway, scans);
    const auto showing = std::count_if(approach.begin(), approach.end(), [&](std::size_t i) {
      return showsDoorway(scans[i], doorway);
    });
    shown += showing > 0 ? 1 : 0;
    table.rows.push_back({std::to_string(doorway.scan),
                          korrin_tool::formatPoint(doorway.posts.middle()),
                          korrin_tool::formatMetres(doorway.posts.width()),
                          std::to_string(approach.size()), std::to_string(showing)});
  }
  table.print(std::cout);
  std::cout << shown << " of " << doorways.size() << " doorways are shown\n";
  EXPECT_GE(static_cast<double>(shown), 0.9 * static_cast<double>(doorways.size()));
}

}  // namespace
}  // namespace korrin_test
