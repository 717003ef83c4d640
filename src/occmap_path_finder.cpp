#include "korrin/occmap_path_finder.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "korrin/core/log.hpp"
#include "korrin/map_image_utils.hpp"
#include "src/cell_state.hpp"
#include "src/coarser_map.hpp"
#include "src/path_search.hpp"
#include "src/zeroed_array.hpp"

namespace Brin {

std::vector<Pose2Di> kSimpleNeighborDeltas;
std::vector<Pose2Di> kDoubleNeighborDeltas;
std::vector<Pose2Di> kTripleNeighborDeltas;

float OccMapPathFinder::Node::hWeight = 0.5f;

namespace {

constexpr const char* kFile = "src/occmap_path_finder";

// Readers of the log tell the three failures of a search apart by these numbers; they do not
// follow the lines of this file.
constexpr int kStartNotFreeLine = 232;
constexpr int kEndNotFreeLine = 237;
constexpr int kNoPathLine = 269;

void logSearch(NavLogLevel level, const char* message, int line) {
  completeLog(level, message, kFile, "xDoComputePath", line);
}

float priority(float g, float h) {
  return (1.0f - OccMapPathFinder::Node::hWeight) * g + OccMapPathFinder::Node::hWeight * h;
}

// Raises OpenCV's error for a coarse map, put in from outside, that is not of one float channel.
// One without an image has no cells.
void requireCells(const OccMapPathFinder& finder, const char* function) {
  const IplImage* image = finder.coarseMap.image;
  if (image != nullptr) requireKind(image, IPL_DEPTH_32F, 1, function);
}

bool isFree(const OccMapPathFinder& finder, const Pose2Di& cell) {
  // Only a threshold above the value blocks: a value that is not a number does not.
  return finder.coarseMap.isInside(cell.x, cell.y) &&
         !(finder.obstacleThreshold > finder.coarseMap.getCell(cell.x, cell.y));
}

// Reduces the caller's map into the finder's. While the size stays the same, only the cells and the
// geometry of the old one are replaced.
void refill(OccupancyMap& coarse, const OccupancyMap& fine, int factor) {
  const bool isReducible = fine.image != nullptr && hasKind(*fine.image, IPL_DEPTH_32F, 1);
  if (isReducible && fine.image != coarse.image) {
    const OccupancyMapParams params = coarserParams(fine, factor);
    if (isLayerOf(coarse.image, params) && isLayerOf(coarse.secondImage, params)) {
      fillCoarserImage(fine, coarse);
      coarse.params = params;
      return;
    }
  }
  computeCoarserMap(fine, coarse, factor);
}

// Whether there is a fresh coarse map to search.
bool refreshCoarseMap(OccMapPathFinder& finder) {
  if (finder.occMap == nullptr) {
    completeLog(NavLogLevel::Warning, "occMap is null, there is no map to plan on.", kFile,
                "computePath", __LINE__);
    return false;
  }
  if (finder.coarseFactor < 1) {
    completeLog(NavLogLevel::Warning, "coarseFactor is below 1, there is no map to plan on.", kFile,
                "computePath", __LINE__);
    return false;
  }
  refill(finder.coarseMap, *finder.occMap, finder.coarseFactor);
  return true;
}

// The fast search addresses cells by their number.
bool hasPaddedRows(const IplImage& image) {
  return image.widthStep != static_cast<std::int64_t>(sizeof(float)) * image.width;
}

void forgetSearch(OccMapPathFinder& finder) {
  finder.cellStates.reset();
  finder.cellNodes.reset();
  finder.nodes.clear();
  finder.openList.clear();
  finder.closedNodes.clear();
}

// Empties the sequences, and replaces the arrays by new ones for the coarse map.
void makeArrays(OccMapPathFinder& finder) {
  forgetSearch(finder);
  const IplImage& image = *finder.coarseMap.image;
  const std::int64_t cells = std::int64_t{image.width} * image.height;
  finder.cellStates = makeZeroedArray<std::int32_t>(cells);
  finder.cellNodes = makeZeroedArray<std::int32_t>(cells);
}

// Steps to one neighbor.
void tryNeighbor(OccMapPathFinder& finder, const OccMapPathFinder::Node& current,
                 const Pose2Di& delta, bool isFirst) {
  const std::int64_t x = std::int64_t{current.x} + delta.x;
  const std::int64_t y = std::int64_t{current.y} + delta.y;
  const IplImage& image = *finder.coarseMap.image;
  if (x < 0 || y < 0 || x >= image.width || y >= image.height) return;
  const Pose2Di cell(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), 0.0f);
  const float p = imageRow<float>(image, cell.y)[cell.x];
  if (finder.obstacleThreshold > p) return;
  float g = current.g + finder.xDistance(delta.x, delta.y) * (1.0f + 2.0f * (1.0f - p));
  if (isFirst) g += finder.xComputeAngleCost(finder.start.theta, delta);
  const float h = finder.xDistance(finder.end.x - cell.x, finder.end.y - cell.y);
  const auto parent = static_cast<std::int32_t>(finder.closedNodes.size()) - 1;
  const OccMapPathFinder::Node offer{cell.x, cell.y, 0.0f, parent, priority(g, h), g, h};
  std::int32_t& state = finder.xGetCellState(cell);
  if (state == kOpen) {
    // A node that becomes cheaper keeps its place in the list on purpose.
    OccMapPathFinder::Node& known =
        finder.nodes[static_cast<std::size_t>(finder.xGetCellNode(cell))];
    if (known.g > g) known = offer;
  } else if (state == kNeverSeen) {
    finder.xAddInOpenNodes(offer);
    state = kOpen;
  }
}

}  // namespace

void initNeighborDeltas() {
  kSimpleNeighborDeltas = {{-1, -1, 0}, {0, -1, 0}, {1, -1, 0}, {-1, 0, 0},
                           {1, 0, 0},   {-1, 1, 0}, {0, 1, 0},  {1, 1, 0}};
  kDoubleNeighborDeltas = {{-1, -2, 0}, {0, -2, 0}, {1, -2, 0}, {-2, -1, 0}, {2, -1, 0}, {-2, 0, 0},
                           {2, 0, 0},   {-2, 1, 0}, {2, 1, 0},  {-1, 2, 0},  {0, 2, 0},  {1, 2, 0}};
  // Side by side, each side followed by a corner.
  kTripleNeighborDeltas = {{-1, -3, 0}, {0, -3, 0}, {1, -3, 0}, {2, -2, 0},  //
                           {3, -1, 0},  {3, 0, 0},  {3, 1, 0},  {2, 2, 0},   //
                           {-1, 3, 0},  {0, 3, 0},  {1, 3, 0},  {-2, 2, 0},  //
                           {-3, -1, 0}, {-3, 0, 0}, {-3, 1, 0}, {-2, -2, 0}};
}

OccMapPathFinder::OccMapPathFinder(const OccupancyMap* map, float value)
    : obstacleThreshold(0.2f),
      initParam(value),
      coarseFactor(1),
      occMap(map),
      coarseMap(10, 10, 1.0f, true),
      neighborhoodType(Simple),
      numIterations(0),
      angleCostFactor(0.0f),
      arrayWidth_(0),
      arrayHeight_(0) {
  initNeighborDeltas();
  setNeighborhoodType(Simple);
  setHWeight(0.5f);
}

OccMapPathFinder::~OccMapPathFinder() = default;

void OccMapPathFinder::FreeMemory::operator()(void* memory) const {
  freeZeroedMemory(memory, mappedBytes);
}

void OccMapPathFinder::setNeighborhoodType(NeighborhoodType type) {
  switch (type) {
    case Simple:
      neighborDeltas = kSimpleNeighborDeltas;
      break;
    case Double:
      neighborDeltas = kDoubleNeighborDeltas;
      break;
    case Triple:
      neighborDeltas = kTripleNeighborDeltas;
      break;
  }
  neighborhoodType = type;
}

void OccMapPathFinder::computePath(const Pose2Di& startCell, const Pose2Di& endCell,
                                   std::vector<Pose2Di>& path) {
  // Copies, since emptying `path` must not take its own elements away.
  const Pose2Di from = startCell;
  const Pose2Di to = endCell;
  path.clear();
  if (refreshCoarseMap(*this)) xDoComputePath(from, to, path);
}

void OccMapPathFinder::computePath(const Pose2D& startPose, const Pose2D& endPose,
                                   std::vector<Pose2D>& path) {
  const Pose2D from = startPose;
  const Pose2D to = endPose;
  path.clear();
  if (!refreshCoarseMap(*this)) return;
  Pose2Di goal = coarseMap.getPixelFromPose(to);
  Pose2Di origin = coarseMap.getPixelFromPose(from);
  // The start's heading is dropped on purpose: the first turn is measured from heading 0.
  goal.theta = origin.theta = 0.0f;
  std::vector<Pose2Di> cells;
  xDoComputePath(origin, goal, cells);
  path.reserve(cells.size());
  for (const Pose2Di& cell : cells) {
    path.push_back(coarseMap.getPoseFromPixel({cell.x, cell.y, 0.0f}));
  }
}

void OccMapPathFinder::xDoComputePath(const Pose2Di& startCell, const Pose2Di& endCell,
                                      std::vector<Pose2Di>& path) {
  requireCells(*this, "xDoComputePath");
  const Pose2Di from = startCell;
  const Pose2Di to = endCell;
  path.clear();
  if (!isFree(*this, from)) {
    logSearch(NavLogLevel::Warning, "Start is not free.", kStartNotFreeLine);
    return;
  }
  if (!isFree(*this, to)) {
    logSearch(NavLogLevel::Warning, "End is not free.", kEndNotFreeLine);
    return;
  }
  requireCountable(cvSize(coarseMap.image->width, coarseMap.image->height), IPL_DEPTH_32F, 1);
  start = from;
  end = to;
  numIterations = 0;
  arrayWidth_ = arrayHeight_ = 0;
  bool isFound = false;
  try {
    makeArrays(*this);
    arrayWidth_ = coarseMap.image->width;
    arrayHeight_ = coarseMap.image->height;
    xAddInOpenNodes({start.x, start.y, start.theta, -1, priority(0.0f, 0.0f), 0.0f, 0.0f});
    xGetCellState(start) = kOpen;
    isFound = hasPaddedRows(*coarseMap.image) ? xFindPath() : PathSearch(*this).run();
  } catch (...) {  // out of memory: half a search cannot be told from a whole one
    arrayWidth_ = arrayHeight_ = numIterations = 0;
    forgetSearch(*this);
    throw;
  }
  if (isFound) {
    xBuildPath(path);
  } else {
    logSearch(NavLogLevel::Error, "No path could be found.", kNoPathLine);
  }
}

bool OccMapPathFinder::xFindPath() {
  requireCells(*this, "xFindPath");
  const bool arraysFit = coarseMap.image != nullptr && coarseMap.image->width == arrayWidth_ &&
                         coarseMap.image->height == arrayHeight_;
  if (!arraysFit) return false;
  bool isFirst = true;
  while (!openList.empty()) {
    ++numIterations;
    const Node current = nodes[static_cast<std::size_t>(openList.front())];
    openList.erase(openList.begin());
    closedNodes.push_back(current);
    const Pose2Di cell(current.x, current.y, 0.0f);
    xGetCellState(cell) = kClosed;
    if (xCmpPt(cell, end, true)) return true;
    for (const Pose2Di& delta : neighborDeltas) tryNeighbor(*this, current, delta, isFirst);
    isFirst = false;
  }
  return false;
}

void OccMapPathFinder::xBuildPath(std::vector<Pose2Di>& path) {
  path.clear();
  if (closedNodes.empty()) return;
  const auto goBack = [this](auto visit) {
    for (auto i = static_cast<std::int32_t>(closedNodes.size()) - 1; i >= 0;) {
      const Node& node = closedNodes[static_cast<std::size_t>(i)];
      if (xCmpPt({node.x, node.y, 0.0f}, start, false)) break;
      visit(node);
      // A parent is closed before its children. Holding on to that ends the walk even if a caller
      // filed a node with another one.
      i = std::min(node.parent, i - 1);
    }
  };
  std::size_t cells = 1;
  goBack([&](const Node&) { ++cells; });
  path.reserve(cells);  // at once: without memory `path` stays empty
  goBack([&](const Node& node) { path.emplace_back(node.x, node.y, 0.0f); });
  path.push_back(start);
  std::reverse(path.begin(), path.end());
}

void OccMapPathFinder::xAddInOpenNodes(const Node& node_) {
  const Node node = node_;  // may be an element of `nodes`
  if (!hasEntry({node.x, node.y, 0.0f})) {
    completeLog(NavLogLevel::Warning, "node lies off the searched map, it is not filed.", kFile,
                "xAddInOpenNodes", __LINE__);
    return;
  }
  nodes.push_back(node);
  const auto index = static_cast<std::int32_t>(nodes.size()) - 1;
  xGetCellNode({node.x, node.y, 0.0f}) = index;
  const auto isLower = [&](std::int32_t other) {
    return nodes[static_cast<std::size_t>(other)].f < node.f;
  };
  // From the back, up to the first lower one: in front of all that are equal.
  const auto lower = std::find_if(openList.rbegin(), openList.rend(), isLower);
  openList.insert(lower.base(), index);
}

bool OccMapPathFinder::xCmpPt(const Pose2Di& a, const Pose2Di& b, bool nearIsEnough) const {
  // In 64 bits, where no difference of cells overflows.
  const std::int64_t dx = std::abs(std::int64_t{a.x} - b.x);
  const std::int64_t dy = std::abs(std::int64_t{a.y} - b.y);
  return nearIsEnough && neighborhoodType == Double ? dx + dy <= 1 : dx == 0 && dy == 0;
}

std::int32_t& OccMapPathFinder::xGetCellState(const Pose2Di& cell) {
  return cellStates[entryOf(cell)];
}

std::int32_t& OccMapPathFinder::xGetCellNode(const Pose2Di& cell) {
  return cellNodes[entryOf(cell)];
}

const OccMapPathFinder::Node* OccMapPathFinder::xFindNode(const Pose2Di& cell) const {
  if (!hasEntry(cell) || cellStates[entryOf(cell)] == kNeverSeen) return nullptr;
  for (const std::int32_t index : openList) {
    const Node& node = nodes[static_cast<std::size_t>(index)];
    if (node.x == cell.x && node.y == cell.y) return &node;
  }
  return nullptr;
}

float OccMapPathFinder::xDistance(int dx, int dy) const {
  return computeNorm(dx, dy) * coarseMap.params.resolution;
}

float OccMapPathFinder::xComputeAngleCost(float theta, const Pose2Di& delta) const {
  const auto direction =
      static_cast<float>(std::atan2(static_cast<double>(delta.y), static_cast<double>(delta.x)));
  return std::fabs(canonicalAngle(theta - direction)) * angleCostFactor;
}

}  // namespace Brin
