#include "tools/pictures/graph_picture.hpp"

#include <algorithm>
#include <cmath>

namespace korrin_tool {
namespace {

using Brin::Pose2D;
using Brin::mapping::Alignment;
using Brin::mapping::GraphPose;
using Brin::mapping::LinkKind;
using Brin::mapping::ScanLink;

constexpr double kHottest = 0.15;  // metres that a loop is off
constexpr double kDash = 0.25;     // metres

GraphPose poseOf(const Alignment& alignment, std::size_t scan) {
  const Pose2D& pose = alignment.scans[scan].pose;
  return {pose.x, pose.y, pose.theta};
}

double offOf(const Alignment& alignment, const ScanLink& link) {
  const GraphPose is = seenFrom(poseOf(alignment, link.from), poseOf(alignment, link.to));
  return std::hypot(is.x - link.motion.x, is.y - link.motion.y);
}

void dashedLine(Canvas& canvas, const Brin::Point2D& from, const Brin::Point2D& to, Colour colour) {
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  const int dashes = std::clamp(static_cast<int>(length / (2.0 * kDash)), 1, 200);
  const auto at = [&](double share) {
    const float t = static_cast<float>(share);
    return Brin::Point2D(from.x + t * (to.x - from.x), from.y + t * (to.y - from.y));
  };
  for (int i = 0; i < dashes; ++i) {
    canvas.line(at(i / static_cast<double>(dashes)), at((i + 0.5) / dashes), colour, 2);
  }
}

void drawLoops(Canvas& canvas, const Alignment& alignment) {
  for (const ScanLink& link : alignment.links) {
    if (link.kind != LinkKind::Loop) continue;
    const Pose2D& from = alignment.scans[link.from].pose;
    const Pose2D& to = alignment.scans[link.to].pose;
    if (link.dropped) {
      dashedLine(canvas, from, to, palette::kInk);
    } else {
      canvas.line(from, to, heat(std::min(1.0, offOf(alignment, link) / kHottest)), 1);
    }
  }
}

}  // namespace

Canvas drawGraph(const Brin::OccupancyMap& map, const Alignment& alignment) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  drawLoops(canvas, alignment);
  std::vector<Pose2D> way;
  for (const std::size_t scan : alignment.keyScans) way.push_back(alignment.scans[scan].pose);
  canvas.polyline(way, palette::kPath, 1);
  for (const Pose2D& pose : way) canvas.circle(pose, 2.0, palette::kPath, 1);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "key scans"},
                 {heat(0.0), "loop"},
                 {heat(1.0), "loop 0.15 m off or more"},
                 {palette::kInk, "loop dropped"}});
  return canvas;
}

}  // namespace korrin_tool
