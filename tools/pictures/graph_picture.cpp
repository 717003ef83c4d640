#include "tools/pictures/graph_picture.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace korrin_tool {
namespace {

using Brin::Pose2D;
using Brin::mapping::Alignment;
using Brin::mapping::GraphPose;
using Brin::mapping::LinkKind;
using Brin::mapping::ScanLink;

constexpr double kHottest = 0.15;  // metres that a loop is off
constexpr double kPalest = 0.3;    // share of the heat of one that is not: to be seen on paper
constexpr double kDash = 0.25;     // metres
constexpr float kWall = 0.25f;     // cells below are walls: darker than half way to unknown

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

Colour colourOf(double off) {
  return heat(kPalest + (1.0 - kPalest) * std::min(1.0, off / kHottest));
}

// Walls as background: what is dark stands out, and no dashed line looks like one.
void drawWalls(Canvas& canvas, const Brin::OccupancyMap& map) {
  canvas.drawMap(map);
  CellTint walls(canvas, 1.0);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      if (map.getCell(x, y) < kWall) walls.fill(x, y, palette::kFaint);
    }
  }
}

// The accepted loops from the best to the worst, then the dropped ones: the few that matter are
// above the many.
std::vector<ScanLink> loopsInOrder(const Alignment& alignment) {
  std::vector<ScanLink> loops;
  std::copy_if(alignment.links.begin(), alignment.links.end(), std::back_inserter(loops),
               [](const ScanLink& link) { return link.kind == LinkKind::Loop; });
  std::stable_sort(loops.begin(), loops.end(), [&](const ScanLink& one, const ScanLink& other) {
    if (one.dropped != other.dropped) return other.dropped;
    return offOf(alignment, one) < offOf(alignment, other);
  });
  return loops;
}

void drawLoop(Canvas& canvas, const Alignment& alignment, const ScanLink& loop) {
  const Pose2D& from = alignment.scans[loop.from].pose;
  const Pose2D& to = alignment.scans[loop.to].pose;
  if (loop.dropped) {
    dashedLine(canvas, from, to, palette::kInk);
  } else {
    canvas.line(from, to, colourOf(offOf(alignment, loop)), 1);
  }
}

void drawWay(Canvas& canvas, const Alignment& alignment) {
  std::vector<Pose2D> way;
  for (const std::size_t scan : alignment.keyScans) way.push_back(alignment.scans[scan].pose);
  canvas.polyline(way, palette::kPath, 1);
  for (const Pose2D& pose : way) canvas.circle(pose, 2.0, palette::kPath, 1);
}

}  // namespace

Canvas drawGraph(const Brin::OccupancyMap& map, const Alignment& alignment) {
  Canvas canvas(map.params);
  drawWalls(canvas, map);
  const std::vector<ScanLink> loops = loopsInOrder(alignment);
  const auto dropped =
      std::find_if(loops.begin(), loops.end(), [](const ScanLink& loop) { return loop.dropped; });
  for (auto loop = loops.begin(); loop != dropped; ++loop) drawLoop(canvas, alignment, *loop);
  drawWay(canvas, alignment);
  for (auto loop = dropped; loop != loops.end(); ++loop) drawLoop(canvas, alignment, *loop);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "key scans"},
                 {colourOf(0.0), "loop that fits"},
                 {colourOf(kHottest), "0.15 m off or more"},
                 {palette::kInk, "loop dropped"}});
  return canvas;
}

}  // namespace korrin_tool
