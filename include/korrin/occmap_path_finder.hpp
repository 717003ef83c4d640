// Plans a path over an occupancy grid: weighted A* (Hart, Nilsson and Raphael 1968; weighted as by
// Pohl 1970) from cell to cell, preferring cells that are certainly free.
//
//   Brin::OccMapPathFinder finder(&map, 0.0f);
//   finder.setObstacleThreshold(0.4f);
//   std::vector<Brin::Pose2D> path;
//   finder.computePath(robotPose, goalPose, path);  // world poses, metres and radians
//   if (path.empty()) { /* one log record says why */ }
//
// THE WEIGHT IS SHARED BY THE WHOLE PROCESS. Node::hWeight is one number for all finders, and
// every construction of a finder, anywhere, sets it back to 0.5. Set it with setHWeight after the
// last finder is made, or before each search. The three neighbour tables are shared too and
// rewritten by every construction. Nothing here takes a lock. So: make the finders and set the
// weight first. From then on, as long as nobody makes a finder, sets the weight or fills the
// tables, any number of threads may search at the same time, each with a finder of its own, also on
// one map that nobody writes to. All else is for one thread, or one lock.
//
// How a plan comes about
//
//   1. The caller's map is reduced `coarseFactor` times into `coarseMap` (computeCoarserMap), at
//      every request anew; while its size stays the same, its images are kept and only the
//      probabilities are written. The search reads that map alone, and all cells below are its
//      cells.
//   2. A cell is free when it lies on the map and its value is not below `obstacleThreshold`; a
//      value equal to the threshold is free, and so is one that is not a number. A cell outside is
//      never free, whatever the threshold.
//   3. The search goes from cell to cell by the offsets of one of three tables (NeighborhoodType),
//      tried in table order. Only the cell stepped on must be free, not what lies between: the
//      strides of two and three cells can jump thin walls, and diagonal steps squeeze between
//      corners.
//   4. A step into a cell of value p costs  length * (1 + 2 * (1 - p)), with the step's length in
//      metres: its length through a certainly free cell, twice that through an unknown one. The
//      first step costs xComputeAngleCost more, for the turn from the start's heading.
//   5. With g the cost from the start and h the straight distance to the goal in metres, the open
//      cell of lowest  f = (1 - hWeight) * g + hWeight * h  is expanded next. Weight 0 is a
//      uniform-cost search and finds a cheapest path; 0.5 is plain A*, as f is then half of g + h;
//      1 runs at the goal greedily.
//   6. The search ends when the goal's cell is taken from the open list; in the neighbourhood
//      Double, whose strides can miss it, also when a cell at Manhattan distance 1 is.
//
// Two runs on equal input give equal results in every bit, because every tie is settled:
//
//   - Among equal priorities the node filed last is expanded first.
//   - A cell keeps its parent unless a strictly lower g is offered while it is open.
//   - A node whose priority falls while it is open keeps its place in the open list. The list is
//     in ascending order as nodes are filed, and no longer quite so afterwards; a node filed later
//     goes right behind the hindmost one whose present priority is below its own.
//   - A closed cell is never reopened, however cheap the new way.
//
// The last two, meant to keep the search simple, let a path come out slightly dearer than the
// cheapest one.
//
// All arithmetic is single precision, each operation rounded in the order written above.
//
// After a search the fields show it in full: `closedNodes` in order of expansion, `nodes`,
// `openList`, and the two arrays by cell. They stay until the next accepted request.
//
// A search takes time in proportion to the nodes that it makes, times what filing one costs; at
// most each free cell is expanded once. The sequences keep their room for later searches: 65,536
// nodes, or one for each cell once a search has made more than that. Room takes addresses; memory
// is taken where nodes have been.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"

namespace Brin {

// The steps that a search tries around a cell, as offsets in cells (heading 0), in the order of
// trying. Process-wide; empty until a finder is constructed or initNeighborDeltas is called.
KORRIN_EXPORT extern std::vector<Pose2Di> kSimpleNeighborDeltas;  // the 8 adjacent cells
KORRIN_EXPORT extern std::vector<Pose2Di> kDoubleNeighborDeltas;  // 12 cells, 2 or sqrt 5 away
KORRIN_EXPORT extern std::vector<Pose2Di> kTripleNeighborDeltas;  // 16 cells, up to sqrt 10 away

// Fills the three tables, whatever they hold. Not safe while another thread uses a finder.
KORRIN_EXPORT void initNeighborDeltas();

// The path finder. Its maps and its search are its own; the weight and the tables are everybody's.
class KORRIN_EXPORT OccMapPathFinder {
 public:
  // Which cells one step of the search reaches.
  enum NeighborhoodType : std::int32_t {
    Simple = 0,  // kSimpleNeighborDeltas
    Double = 1,  // kDoubleNeighborDeltas; the goal counts as reached from next to it
    Triple = 2   // kTripleNeighborDeltas
  };

  // A cell as the search knows it.
  struct KORRIN_EXPORT Node {
    static float hWeight;  // PROCESS-WIDE; see the top of this file

    std::int32_t x = 0;        // the cell's column
    std::int32_t y = 0;        // and row
    float theta = 0.0f;        // the start's heading in the start node, 0 in all others
    std::int32_t parent = -1;  // index into closedNodes of where it was reached from; -1: start
    float f = 0.0f;            // priority, lower first
    float g = 0.0f;            // cost from the start
    float h = 0.0f;            // straight distance to the goal, metres; 0 in the start node
  };

  // Gives an array's memory back.
  struct FreeMemory {
    std::size_t mappedBytes;  // of pages of their own; 0: memory of malloc

    // Malloc's, or these many bytes of pages.
    FreeMemory() : mappedBytes(0) {}
    explicit FreeMemory(std::size_t bytes) : mappedBytes(bytes) {}

    // Releases `memory`.
    KORRIN_EXPORT void operator()(void* memory) const;
  };
  // One number a cell, at [y * (coarse columns) + x]; null before the first accepted request.
  using CellArray = std::unique_ptr<std::int32_t[], FreeMemory>;

  float obstacleThreshold;              // a cell of a lower value is an obstacle; 0.2 at first
  float initParam;                      // the constructor's second argument, not used
  std::int32_t coarseFactor;            // cells of `occMap` along one side of a coarse cell
  const OccupancyMap* occMap;           // the caller's map: borrowed
  OccupancyMap coarseMap;               // the map that is searched
  Pose2Di start;                        // of the last accepted request
  Pose2Di end;                          // of the last accepted request
  std::vector<Node> nodes;              // every node of the search
  std::vector<std::int32_t> openList;   // indexes into `nodes`, next one first
  std::vector<Node> closedNodes;        // copies of the expanded nodes, in that order
  CellArray cellStates;                 // 0 never seen, 1 open, 2 closed
  CellArray cellNodes;                  // index into `nodes`, where the state is not 0
  NeighborhoodType neighborhoodType;    // what setNeighborhoodType was last given
  std::vector<Pose2Di> neighborDeltas;  // the finder's own copy of a table
  std::int32_t numIterations;           // nodes taken from the open list by the last search
  float angleCostFactor;                // cost of a turn, metres a radian; 0 at first

  // A finder on `map`, which is borrowed: it must outlive every request (null is fine until then).
  // `value` is kept in `initParam` and means nothing to the library. Fills the neighbour tables,
  // chooses Simple, and sets the weight of ALL finders to 0.5.
  OccMapPathFinder(const OccupancyMap* map, float value);
  ~OccMapPathFinder();
  OccMapPathFinder(const OccMapPathFinder&) = delete;
  OccMapPathFinder& operator=(const OccMapPathFinder&) = delete;

  // Settings; each takes effect at the next request.

  // The map of the next requests: borrowed, as the constructor's.
  void setOccMap(const OccupancyMap* map) { occMap = map; }

  // The weight of the distance to the goal, usually in [0, 1], for ALL finders of the process.
  static void setHWeight(float weight) { Node::hWeight = weight; }

  // Cells below it are obstacles; a cell equal to it is free.
  void setObstacleThreshold(float threshold) { obstacleThreshold = threshold; }
  float getObstacleThreshold() const { return obstacleThreshold; }

  // Cells of the map along one side of a cell of the search; 1 at first. Below 1, requests fail.
  void setCoarseFactor(int factor) { coarseFactor = factor; }

  // Metres that a turn of one radian before the first step costs.
  void setAngleCostFactor(float factor) { angleCostFactor = factor; }
  float getAngleCostFactor() const { return angleCostFactor; }

  // Takes a copy of the table that `type` names. Another value than the three leaves the offsets
  // as they are and is recorded all the same.
  void setNeighborhoodType(NeighborhoodType type);

  // Nodes taken from the open list by the last accepted request; 0 before.
  std::int32_t getNumIterations() const { return numIterations; }

  // Plans between two cells OF THE COARSE MAP: with a coarse factor above 1 the caller thinks in
  // coarse cells, nothing is scaled here. `path` receives the cells from start to goal, both
  // included; the first carries the heading of `startCell`, all others 0. The turn cost of the
  // first step is measured from that heading, in the frame of the grid.
  //
  // Without a plan `path` is empty, and one record says why:
  //   "Start is not free." or "End is not free."   its cell is an obstacle or off the map
  //   "No path could be found."                    the goal cannot be reached
  //   a warning naming occMap or coarseFactor      the map is null or the factor below 1
  // After all but "No path could be found." the fields still show the last accepted request, and
  // after the last one the coarse map is the old one, too.
  //
  // The two cells may be elements of `path`. What computeCoarserMap raises (a map that was
  // moved from, no memory) reaches the caller, with `path` empty. A search that memory runs out for
  // leaves no search behind: empty sequences, and null arrays.
  void computePath(const Pose2Di& startCell, const Pose2Di& endCell, std::vector<Pose2Di>& path);

  // Plans between two poses of the world (metres, radians). `path` receives the world poses of the
  // coarse cells' centres from start to goal: the first and the last are those of the cells that
  // hold the two poses (in the neighbourhood Double the last may be next to it), and all headings
  // are that of the grid. The heading of `startPose` is dropped: the first step's turn is measured
  // from the grid's own direction. A pose off the map, or one that is not a number, is not free.
  // All else as for cells.
  void computePath(const Pose2D& startPose, const Pose2D& endPose, std::vector<Pose2D>& path);

  // The steps of a request, for those who look inside.

  // Searches `coarseMap` as it is, from cell to cell; results and records as for computePath. A
  // coarse map put in from outside whose image is not of one float channel, or has no pixels, is
  // OpenCV's error here and for the search loop below, before anything is touched.
  void xDoComputePath(const Pose2Di& startCell, const Pose2Di& endCell, std::vector<Pose2Di>& path);

  // Expands nodes until the goal is taken (true) or none is open (false). False, with nothing
  // done, while the arrays are not of the size of `coarseMap`.
  bool xFindPath();

  // The cells from the start to the node closed last; empty when none is.
  void xBuildPath(std::vector<Pose2Di>& path);

  // Stores a node and files it in the open list. A node off the arrays of the last accepted
  // request has no place to be filed: a warning and nothing else.
  void xAddInOpenNodes(const Node& node);

  // Whether two cells are the same, headings aside; with `nearIsEnough`, in the neighbourhood
  // Double, whether they are at most one step along one axis apart. Any cells.
  bool xCmpPt(const Pose2Di& a, const Pose2Di& b, bool nearIsEnough) const;

  // The cell's entry of the arrays. NOT CHECKED: the cell must lie on the map of the last accepted
  // request. The reference is good until the next one.
  std::int32_t& xGetCellState(const Pose2Di& cell);
  std::int32_t& xGetCellNode(const Pose2Di& cell);

  // The first open node at `cell`, or null; for any cell at any time. Good until the next node is
  // stored. Linear in the open list.
  const Node* xFindNode(const Pose2Di& cell) const;

  // The length of a cell offset on the coarse map, metres.
  float xDistance(int dx, int dy) const;

  // What turning from heading `theta` (radians, grid frame) to the direction of `delta` costs:
  // the angle between them, at most pi, times the angle cost factor.
  float xComputeAngleCost(float theta, const Pose2Di& delta) const;

 private:
  bool hasEntry(const Pose2Di& cell) const {
    return cell.x >= 0 && cell.y >= 0 && cell.x < arrayWidth_ && cell.y < arrayHeight_;
  }
  std::size_t entryOf(const Pose2Di& cell) const {
    return static_cast<std::size_t>(cell.y) * static_cast<std::size_t>(arrayWidth_) +
           static_cast<std::size_t>(cell.x);
  }

  // The size of the map that the two arrays were made for.
  std::int32_t arrayWidth_;
  std::int32_t arrayHeight_;
};

}  // namespace Brin
