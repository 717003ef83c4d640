// The path finder, written down step by step: a sorted vector for the open list, whole arrays for
// the cells, every formula in full. Slow and plain; the library must agree with it in every bit.
#pragma once

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace korrin_model {

using Brin::OccupancyMap;
using Brin::Pose2D;
using Brin::Pose2Di;

inline std::vector<Pose2Di> simpleDeltas() {
  return {{-1, -1, 0}, {0, -1, 0}, {1, -1, 0}, {-1, 0, 0},
          {1, 0, 0},   {-1, 1, 0}, {0, 1, 0},  {1, 1, 0}};
}

inline std::vector<Pose2Di> doubleDeltas() {
  return {{-1, -2, 0}, {0, -2, 0}, {1, -2, 0}, {-2, -1, 0}, {2, -1, 0}, {-2, 0, 0},
          {2, 0, 0},   {-2, 1, 0}, {2, 1, 0},  {-1, 2, 0},  {0, 2, 0},  {1, 2, 0}};
}

inline std::vector<Pose2Di> tripleDeltas() {
  return {{-1, -3, 0}, {0, -3, 0}, {1, -3, 0}, {2, -2, 0}, {3, -1, 0}, {3, 0, 0},
          {3, 1, 0},   {2, 2, 0},  {-1, 3, 0}, {0, 3, 0},  {1, 3, 0},  {-2, 2, 0},
          {-3, -1, 0}, {-3, 0, 0}, {-3, 1, 0}, {-2, -2, 0}};
}

inline OccupancyMap coarserMap(const OccupancyMap& fine, int factor) {
  OccupancyMap coarse(fine.image->width / factor, fine.image->height / factor,
                      static_cast<float>(factor) * fine.params.resolution, true);
  coarse.params.origin = fine.params.origin;
  if (coarse.image->width > 0 && coarse.image->height > 0) {
    cvResize(fine.image, coarse.image, CV_INTER_LINEAR);
  }
  return coarse;
}

// How often a search met what only careful code gets right.
struct PathFinderEvents {
  int lowered = 0;            // a cheaper way to an open cell
  int equalOffers = 0;        // another way to an open cell at the very same cost
  int cheaperButClosed = 0;   // a cheaper way to a closed cell
  int filedBeforeEquals = 0;  // a new node went in front of nodes of equal priority
  int filedBehindLowered =
      0;               // the backward scan stopped early, at a node whose priority had fallen
  int disordered = 0;  // a node was taken while one of lower priority was further back
  int notNumbers = 0;  // priorities that are not a number

  PathFinderEvents& operator+=(const PathFinderEvents& other) {
    lowered += other.lowered;
    equalOffers += other.equalOffers;
    cheaperButClosed += other.cheaperButClosed;
    filedBeforeEquals += other.filedBeforeEquals;
    filedBehindLowered += other.filedBehindLowered;
    disordered += other.disordered;
    notNumbers += other.notNumbers;
    return *this;
  }
};

class PathFinderModel {
 public:
  struct Node {
    std::int32_t x, y;
    float theta;
    std::int32_t parent;
    float f, g, h;
  };

  float obstacleThreshold = 0.2f;
  float hWeight = 0.5f;
  float angleCostFactor = 0.0f;
  OccupancyMap coarseMap{10, 10, 1.0f, true};
  Pose2Di start;
  Pose2Di end;
  std::vector<Node> nodes;
  std::vector<std::int32_t> openList;
  std::vector<Node> closedNodes;
  std::vector<std::int32_t> cellStates;
  std::vector<std::int32_t> cellNodes;
  int neighborhoodType = 0;
  std::vector<Pose2Di> neighborDeltas = simpleDeltas();
  std::int32_t numIterations = 0;

  std::vector<std::string> messages;
  PathFinderEvents events;
  bool countsEvents = true;  // counting costs time; benchmarks switch it off

  void setNeighborhoodType(int type) {
    if (type == 0) neighborDeltas = simpleDeltas();
    if (type == 1) neighborDeltas = doubleDeltas();
    if (type == 2) neighborDeltas = tripleDeltas();
    neighborhoodType = type;
  }

  // From pose to pose on `map`, reduced by `factor`.
  std::vector<Pose2D> planPoses(const OccupancyMap& map, int factor, const Pose2D& from,
                                const Pose2D& to) {
    coarseMap = coarserMap(map, factor);
    Pose2Di goalCell = coarseMap.getPixelFromPose(to);
    Pose2Di startCell = coarseMap.getPixelFromPose(from);
    goalCell.theta = 0.0f;
    startCell.theta = 0.0f;
    std::vector<Pose2D> poses;
    for (const Pose2Di& cell : search(startCell, goalCell)) {
      poses.push_back(coarseMap.getPoseFromPixel({cell.x, cell.y, 0.0f}));
    }
    return poses;
  }

  // From cell to cell on `coarseMap`.
  std::vector<Pose2Di> search(const Pose2Di& from, const Pose2Di& to) {
    std::vector<Pose2Di> path;
    if (!isFree(from.x, from.y)) {
      messages.push_back("Start is not free.");
      return path;
    }
    if (!isFree(to.x, to.y)) {
      messages.push_back("End is not free.");
      return path;
    }
    start = from;
    end = to;
    numIterations = 0;
    const auto cells = static_cast<std::size_t>(width()) * static_cast<std::size_t>(height());
    cellStates.assign(cells, 0);
    cellNodes.assign(cells, 0);
    nodes.clear();
    openList.clear();
    closedNodes.clear();
    file({from.x, from.y, from.theta, -1, priority(0.0f, 0.0f), 0.0f, 0.0f});
    cellStates[index(from.x, from.y)] = 1;
    if (findPath()) {
      path = buildPath();
    } else {
      messages.push_back("No path could be found.");
    }
    return path;
  }

  bool findPath() {
    bool firstIteration = true;
    while (!openList.empty()) {
      ++numIterations;
      const Node current = nodes[static_cast<std::size_t>(openList.front())];
      countDisorder(current.f);
      cellStates[index(current.x, current.y)] = 2;
      closedNodes.push_back(current);
      openList.erase(openList.begin());
      if (isGoal(current.x, current.y)) return true;
      for (const Pose2Di& delta : neighborDeltas) tryNeighbor(current, delta, firstIteration);
      firstIteration = false;
    }
    return false;
  }

  void file(const Node& node) {
    nodes.push_back(node);
    const auto added = static_cast<std::int32_t>(nodes.size() - 1);
    cellNodes[index(node.x, node.y)] = added;
    std::size_t place = openList.size();
    while (place > 0 && !(nodeAt(place - 1).f < node.f)) --place;
    countFiling(place, node.f);
    openList.insert(openList.begin() + static_cast<std::ptrdiff_t>(place), added);
  }

 private:
  int width() const { return coarseMap.image->width; }
  int height() const { return coarseMap.image->height; }

  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width()) +
           static_cast<std::size_t>(x);
  }

  const Node& nodeAt(std::size_t place) const {
    return nodes[static_cast<std::size_t>(openList[place])];
  }

  bool isInside(int x, int y) const { return x >= 0 && y >= 0 && x < width() && y < height(); }

  float valueAt(int x, int y) const {
    const char* row = coarseMap.image->imageData + std::ptrdiff_t{y} * coarseMap.image->widthStep;
    return reinterpret_cast<const float*>(row)[x];
  }

  bool isFree(int x, int y) const {
    if (!isInside(x, y)) return false;
    return !(obstacleThreshold > valueAt(x, y));
  }

  float distance(int dx, int dy) const {
    return Brin::computeNorm(dx, dy) * coarseMap.params.resolution;
  }

  float priority(float g, float h) const { return (1.0f - hWeight) * g + hWeight * h; }

  bool isGoal(int x, int y) const {
    if (neighborhoodType == 1) return std::abs(x - end.x) + std::abs(y - end.y) <= 1;
    return x == end.x && y == end.y;
  }

  float angleCost(float theta, const Pose2Di& delta) const {
    const auto direction =
        static_cast<float>(std::atan2(static_cast<double>(delta.y), static_cast<double>(delta.x)));
    return std::fabs(Brin::canonicalAngle(theta - direction)) * angleCostFactor;
  }

  void tryNeighbor(const Node& current, const Pose2Di& delta, bool firstIteration) {
    const std::int64_t column = std::int64_t{current.x} + delta.x;
    const std::int64_t row = std::int64_t{current.y} + delta.y;
    if (column < 0 || row < 0 || column >= width() || row >= height()) return;
    const int x = static_cast<int>(column);
    const int y = static_cast<int>(row);
    if (!isFree(x, y)) return;
    const float p = valueAt(x, y);
    float g = current.g + distance(delta.x, delta.y) * (1.0f + 2.0f * (1.0f - p));
    if (firstIteration) g = g + angleCost(start.theta, delta);
    const float h = distance(end.x - x, end.y - y);
    const auto parent = static_cast<std::int32_t>(closedNodes.size() - 1);
    const Node offer{x, y, 0.0f, parent, priority(g, h), g, h};
    std::int32_t& state = cellStates[index(x, y)];
    Node& known = nodes[static_cast<std::size_t>(cellNodes[index(x, y)])];
    countOffer(state, known, offer);
    if (state == 1) {
      if (known.g > g) known = offer;
    } else if (state == 0) {
      file(offer);
      state = 1;
    }
  }

  std::vector<Pose2Di> buildPath() const {
    std::vector<Pose2Di> path;
    Node node = closedNodes.back();
    while (!(node.x == start.x && node.y == start.y)) {
      path.push_back({node.x, node.y, 0.0f});
      node = closedNodes[static_cast<std::size_t>(node.parent)];
    }
    path.push_back(start);
    std::reverse(path.begin(), path.end());
    return path;
  }

  void countOffer(int state, const Node& known, const Node& offer) {
    if (!countsEvents) return;
    if (state == 1 && known.g > offer.g) ++events.lowered;
    if (state == 1 && known.g == offer.g) ++events.equalOffers;
    if (state == 2 && known.g > offer.g) ++events.cheaperButClosed;
    if (state == 0 && std::isnan(offer.f)) ++events.notNumbers;
  }

  // Called before the new node goes to `place`.
  void countFiling(std::size_t place, float f) {
    if (!countsEvents) return;
    if (place < openList.size() && nodeAt(place).f == f) ++events.filedBeforeEquals;
    for (std::size_t i = 0; i < place; ++i) {
      if (nodeAt(i).f > f) {
        ++events.filedBehindLowered;
        return;
      }
    }
  }

  void countDisorder(float f) {
    if (!countsEvents) return;
    const auto isLower = [&](std::int32_t i) { return nodes[static_cast<std::size_t>(i)].f < f; };
    if (std::any_of(openList.begin(), openList.end(), isLower)) ++events.disordered;
  }
};

}  // namespace korrin_model
