// The path judged: how near does it come to what, and where?
#include <algorithm>

#include "korrin/pathcoststats.hpp"
#include "tools/demo/demo.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::PathCostStats;
using Brin::Pose2D;

constexpr std::size_t kStretch = 8;  // cells of the path that are judged, and coloured, together

using Path = std::vector<Pose2D>;

struct Stretch {
  Path path;
  PathCostStats stats;
};

std::vector<Stretch> judgeStretches(const DemoState& state) {
  const Path& path = state.plan.path;
  std::vector<Stretch> stretches;
  for (std::size_t first = 0; first + 1 < path.size(); first += kStretch) {
    const std::size_t last = std::min(first + kStretch, path.size() - 1);
    Stretch stretch;
    stretch.path.assign(path.begin() + static_cast<std::ptrdiff_t>(first),
                        path.begin() + static_cast<std::ptrdiff_t>(last) + 1);
    stretch.stats = computePathCostStat(state.planner->grownMap(), stretch.path);
    stretches.push_back(stretch);
  }
  return stretches;
}

Colour colourOf(const PathCostStats& stats, const PathCostStats& whole) {
  return heat((1.0 - stats.minCost) / (1.0 - whole.minCost));
}

DemoPicture picture(const DemoState& state, const PathCostStats& whole,
                    const std::vector<Stretch>& stretches) {
  Canvas canvas(state.grid.params);
  canvas.drawMap(state.grid);
  canvas.polyline(state.plan.path, palette::kInk, 13);
  const Stretch* tightest = &stretches.front();
  for (const Stretch& stretch : stretches) {
    canvas.polyline(stretch.path, colourOf(stretch.stats, whole), 9);
    if (stretch.stats.minCost < tightest->stats.minCost) tightest = &stretch;
  }
  const Pose2D& spot = tightest->path[tightest->path.size() / 2];
  canvas.circle(spot, 26.0, palette::kPath, 4);
  canvas.label({spot.x, spot.y + 0.35f}, "tightest: " + formatNumber(whole.minCost, 2),
               Anchor::Above, palette::kPath);
  canvas.scaleBar();
  canvas.legend({{heat(0.0), "wide"}, {heat(0.5), "narrow"}, {heat(1.0), "tight"}});
  return {"08-costs.png", "The path judged",
          "The lowest cell value along each stretch of the path says how near it brushes past "
          "obstacles. A robot slows down where it is tight, and asks for another path when the "
          "numbers ahead get worse.",
          canvas};
}

}  // namespace

DemoPicture costSection(DemoState& state) {
  const Stopwatch stopwatch;
  const PathCostStats whole = computePathCostStat(state.planner->grownMap(), state.plan.path);
  state.addRow(
      "judge the path",
      "lowest value " + formatNumber(whole.minCost, 2) + ", mean " + formatNumber(whole.avgCost, 2),
      stopwatch.seconds());
  return picture(state, whole, judgeStretches(state));
}

}  // namespace korrin_tool
