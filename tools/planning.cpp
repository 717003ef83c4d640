#include "tools/planning.hpp"

#include <opencv2/imgproc/imgproc_c.h>

#include <cmath>
#include <string>

#include "korrin/map_image_utils.hpp"
#include "korrin/occupancymap_utils.hpp"
#include "korrin/path_upsample.hpp"
#include "korrin/safepathsimplifier.hpp"
#include "tools/format.hpp"
#include "tools/log_collector.hpp"
#include "tools/negative_answer.hpp"
#include "tools/stopwatch.hpp"

namespace korrin_tool {
namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;

// `pose`, or, if it is not free and may be moved, the nearest free cell's.
Pose2D snapped(const OccupancyMap& map, const Pose2D& pose, const PlanSettings& settings) {
  const Pose2Di cell = map.getPixelFromPose(pose);
  const bool isFree =
      map.isInside(cell.x, cell.y) && !(settings.threshold > map.getCell(cell.x, cell.y));
  Pose2Di freeCell;
  if (isFree || !settings.snapDistance ||
      !Brin::findFirstFreeCell(map, cell, freeCell, settings.threshold)) {
    return pose;
  }
  Pose2D moved = map.getPoseFromPixel({freeCell.x, freeCell.y, 0.0f});
  moved.theta = pose.theta;
  const float distance = Brin::computeNorm(Brin::Point2D(moved.x - pose.x, moved.y - pose.y));
  return distance <= *settings.snapDistance ? moved : pose;
}

float distanceBetween(const Pose2D& a, const Pose2D& b) {
  return Brin::computeNorm(Brin::Point2D(b.x - a.x, b.y - a.y));
}

// What the library said, with the point and the cell value it was about.
std::string failureText(const std::string& message, const OccupancyMap& map, const Plan& plan,
                        const PlanSettings& settings) {
  std::string text =
      "no plan from " + formatPoint(plan.start) + " to " + formatPoint(plan.goal) + ": " + message;
  const bool startAtFault = message == "Start is not free.";
  if (!startAtFault && message != "End is not free.") return text;
  const Pose2Di cell = map.getPixelFromPose(startAtFault ? plan.start : plan.goal);
  if (!map.isInside(cell.x, cell.y)) return text + " It lies outside the map.";
  return text + " Its cell holds " + formatNumber(map.getCell(cell.x, cell.y), 2) +
         ", free is from " + formatNumber(settings.threshold, 2) + ".";
}

void configure(OccMapPathFinder& finder, const PlanSettings& settings) {
  finder.setNeighborhoodType(settings.neighborhood);
  finder.setObstacleThreshold(settings.threshold);
  finder.setCoarseFactor(settings.coarseFactor);
  finder.setHWeight(settings.weight);
}

// Steps of two or three cells become steps of one.
std::vector<Pose2D> withEveryCell(const OccupancyMap& map, const std::vector<Pose2D>& path) {
  std::vector<Pose2Di> cells;
  cells.reserve(path.size());
  for (const Pose2D& pose : path) cells.push_back(map.getPixelFromPose(pose));
  std::vector<Pose2Di> dense;
  Brin::pathUpSample(cells, dense);
  if (path.size() == 1) dense = cells;  // which pathUpSample answers with no cell
  std::vector<Pose2D> poses;
  poses.reserve(dense.size());
  for (const Pose2Di& cell : dense) poses.push_back(map.getPoseFromPixel({cell.x, cell.y, 0.0f}));
  return poses;
}

int countBlocked(const OccupancyMap& map, const std::vector<Pose2D>& path, float threshold) {
  int blocked = 0;
  for (const Pose2D& pose : path) {
    const Pose2Di cell = map.getPixelFromPose(pose);
    if (threshold > map.getCell(cell.x, cell.y)) ++blocked;
  }
  return blocked;
}

void search(OccMapPathFinder& finder, Plan& plan, const PlanSettings& settings) {
  const LogCollector log;
  std::vector<Pose2D> path;
  const Stopwatch stopwatch;
  finder.computePath(plan.start, plan.goal, path);
  plan.timings.plan = stopwatch.seconds();
  if (path.empty()) {
    throw NegativeAnswer(failureText(log.lastMessage(), finder.coarseMap, plan, settings));
  }
  plan.path = withEveryCell(finder.coarseMap, path);
  plan.blockedCells = countBlocked(finder.coarseMap, plan.path, settings.threshold);
  plan.searched = finder.coarseMap.params;
  plan.iterations = finder.getNumIterations();
  for (const OccMapPathFinder::Node& node : finder.closedNodes) {
    plan.explored.push_back({node.x, node.y, 0.0f});
  }
}

void simplify(const OccupancyMap& map, Plan& plan, const PlanSettings& settings) {
  const LogCollector log;  // its remarks on the way are not the user's business
  Brin::SafePathSimplifier simplifier;
  simplifier.setInitialSamplingAccuracy(settings.samplingAccuracy);
  simplifier.setObstacleThreshold(settings.threshold);
  const Stopwatch stopwatch;
  plan.waypoints = simplifier.sample(plan.path, map);
  plan.timings.simplify = stopwatch.seconds();
}

}  // namespace

OccupancyMap growObstacles(const OccupancyMap& map, const PlanSettings& settings) {
  OccupancyMap grown = map;
  if (settings.exploredOnly) cvThreshold(map.image, grown.image, 0.5, 0.0, CV_THRESH_TOZERO);
  if (!settings.dilation) return grown;
  const OccupancyMap before = grown;
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setParams(settings.radius, settings.fade);
  dilater.dilate(grown, *settings.dilation);
  // The dilater judges a cell by its distance to obstacles alone and calls the unknown free too.
  cvMin(grown.image, before.image, grown.image);
  return grown;
}

Plan planPath(const OccupancyMap& map, const Pose2D& start, const Pose2D& goal,
              const PlanSettings& settings) {
  OccMapPathFinder finder(&map, 0.0f);
  configure(finder, settings);
  OccupancyMap searched(1, 1, 1.0f, true);
  Brin::computeCoarserMap(map, searched, settings.coarseFactor);
  Plan plan;
  plan.start = snapped(searched, start, settings);
  plan.goal = snapped(searched, goal, settings);
  plan.startMoved = distanceBetween(start, plan.start);
  plan.goalMoved = distanceBetween(goal, plan.goal);
  search(finder, plan, settings);
  simplify(map, plan, settings);
  return plan;
}

double lengthOf(const std::vector<Pose2D>& path) {
  double length = 0.0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    length += std::hypot(double{path[i].x} - path[i - 1].x, double{path[i].y} - path[i - 1].y);
  }
  return length;
}

}  // namespace korrin_tool
