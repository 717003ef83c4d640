#include "tools/pictures/plan_picture.hpp"

#include <opencv2/core/core_c.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace korrin_tool {
namespace {

constexpr double kTint = 0.45;

// A rectangle of cells, both corners included; empty at first.
struct Window {
  int left = std::numeric_limits<int>::max();
  int bottom = std::numeric_limits<int>::max();
  int right = std::numeric_limits<int>::min();
  int top = std::numeric_limits<int>::min();

  void include(int x, int y) {
    left = std::min(left, x);
    right = std::max(right, x);
    bottom = std::min(bottom, y);
    top = std::max(top, y);
  }
};

// All that is known and all that was planned, with a margin.
Window interestingPart(const Brin::OccupancyMap& map, const Plan& plan) {
  constexpr int kMargin = 10;
  Window window;
  const cv::Mat_<float> cells = cv::cvarrToMat(map.image);
  const auto isKnown = [](float value) { return value != 0.5f; };
  for (int y = 0; y < cells.rows; ++y) {
    const float* const end = cells[y] + cells.cols;
    const float* const first = std::find_if(cells[y], end, isKnown);
    if (first == end) continue;
    const auto last =
        std::find_if(std::reverse_iterator(end), std::reverse_iterator(first), isKnown);
    window.include(static_cast<int>(first - cells[y]), y);
    window.include(static_cast<int>(last.base() - cells[y]) - 1, y);
  }
  for (const Brin::Pose2D& pose : plan.path) {
    const Brin::Pose2Di cell = map.getPixelFromPose(pose);
    window.include(cell.x, cell.y);
  }
  return {std::max(0, window.left - kMargin), std::max(0, window.bottom - kMargin),
          std::min(map.params.width - 1, window.right + kMargin),
          std::min(map.params.height - 1, window.top + kMargin)};
}

Brin::OccupancyMap cropped(const Brin::OccupancyMap& map, const Window& window) {
  Brin::OccupancyMapParams params(window.right - window.left + 1, window.top - window.bottom + 1,
                                  map.params.resolution);
  params.origin = map.getPoseFromPixel({window.left, window.bottom, 0.0f});
  Brin::OccupancyMap part(params, false);
  const cv::Rect cells(window.left, window.bottom, params.width, params.height);
  cv::cvarrToMat(map.image)(cells).copyTo(cv::cvarrToMat(part.image));
  return part;
}

// Cells in the order in which the search took them, from early to late.
void tintExplored(Canvas& canvas, const Brin::OccupancyMap& map, const Search& search) {
  CellTint tint(canvas, kTint);
  const double count = static_cast<double>(search.explored.size());
  // A coarse cell lies around the cell of the map that holds its centre.
  const auto side = static_cast<int>(std::lround(search.grid.resolution / map.params.resolution));
  for (std::size_t i = 0; i < search.explored.size(); ++i) {
    const Colour colour = mix(palette::kEarly, palette::kLate, static_cast<double>(i) / count);
    const Brin::Pose2Di middle =
        map.getPixelFromPose(search.grid.getPoseFromPixel(search.explored[i]));
    for (int y = -(side / 2); y < side - side / 2; ++y) {
      for (int x = -(side / 2); x < side - side / 2; ++x) {
        tint.fill(middle.x + x, middle.y + y, colour);
      }
    }
  }
}

}  // namespace

Canvas drawPlan(const Brin::OccupancyMap& wholeMap, const Plan& plan, const Search& search) {
  const Brin::OccupancyMap map = cropped(wholeMap, interestingPart(wholeMap, plan));
  Canvas canvas(map.params);
  canvas.drawMap(map);
  tintExplored(canvas, map, search);
  canvas.polyline(plan.waypoints, palette::kPaper, 7);
  canvas.polyline(plan.waypoints, palette::kPath, 4);
  for (const Brin::Pose2D& waypoint : plan.waypoints) canvas.disc(waypoint, 5, palette::kPath);
  canvas.disc(plan.start, 10, palette::kStart);
  canvas.disc(plan.goal, 10, palette::kGoal);
  canvas.label(plan.start, "start", Anchor::Below, palette::kStart);
  canvas.label(plan.goal, "goal", Anchor::Below, palette::kGoal);
  canvas.scaleBar();
  canvas.legend({{palette::kPath, "path and waypoints"},
                 {mix(palette::kPaper, palette::kEarly, kTint), "searched first"},
                 {mix(palette::kPaper, palette::kLate, kTint), "searched last"}});
  return canvas;
}

}  // namespace korrin_tool
