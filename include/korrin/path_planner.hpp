// Plans paths for a robot with a radius: the map is prepared once, then planned on from any thread.
//
//   Brin::PlannerSettings settings;
//   settings.robotRadius = 0.3f;                     // metres
//   Brin::PathPlanner planner(map, settings);        // the map is borrowed
//   Brin::Plan plan = planner.plan(robotPose, goalPose);
//   if (plan.outcome == Brin::PlanOutcome::Found) drive(plan.waypoints);
//
// It searches as OccMapPathFinder does, with the same answers in every bit, and does beforehand
// what that one leaves to its caller: growing obstacles, blocking what nobody has seen, keeping one
// threshold for all of it, simplifying, and telling why an end is blocked. Nothing of it is shared
// by the process, nothing is logged, and the weight and the steps are the planner's own.
//
// How the map is prepared
//
//   1. A cell of the map is an obstacle when its value is below `obstacleThreshold`, or not a
//      number. A value equal to the threshold is none.
//   2. d is the distance from a cell to the nearest obstacle: the exact Euclidean distance between
//      the cells' centres. A cell with d < `robotRadius` is too near and blocked.
//   3. A cell from 0.4 to 0.6, both included, that is no obstacle is unknown, and blocked unless
//      `unknownIsFree`. So are the cells of that range which a map has that was grown or faded
//      before: plan on the map as it was, or with `unknownIsFree`. Obstacles are kept away from;
//      what is unknown the robot's centre does not enter, that is all: its body may reach over it.
//   4. All other cells are free. Beyond the radius a straight ramp, from the threshold at
//      `robotRadius` up to 1 at `robotRadius` + `fadeDistance`, limits their values: fading makes
//      them dearer and blocks none. No cell becomes freer than it was.
//   5. The map is reduced. A searched cell stands for the map's cell in the same place, every
//      `coarseFactor`th along each axis (the geometry is computeCoarserMap's), and takes the lowest
//      value of all cells that a step may cross on its half of the way: those at most
//      steps * `coarseFactor` / 2 (rounded down) columns and rows away, where one step is 1 cell
//      long in the neighbourhood Simple, 2 in Double and 3 in Triple. So no step jumps a wall, and
//      a path on a reduced map is as safe as any other, though it finds fewer gaps. With Simple and
//      a factor of 1 this changes nothing.
//
// In prepared maps an obstacle has its own value, but at least 0; a cell that is too near has -1,
// an unknown one -2, and one that is not a number -3. grownMap() is the map after step 5: the one
// that is searched, whose cells are meant wherever the comments below say cells. fineMap() is the
// map after step 4.
//
// What that gives
//
//   - `path` and `iterations` are those of an OccMapPathFinder on grownMap(), which is reduced
//     already, with the same threshold, weight, neighbourhood and angle cost factor.
//   - `waypoints` are those of a SafePathSimplifier on fineMap(), at the same threshold and with
//     `accuracy`. Every straight line between two waypoints keeps to free cells of fineMap(), and
//     is nowhere nearer to an obstacle's cell than `robotRadius` less the diagonal of one cell.
//
// What changed in the map counts after a refresh, and until then not at all: nothing but refresh
// looks at the map. The planner is const to those who plan: const functions may run on any number
// of threads, and a refresh may not run beside them.
//
// Memory: 8 bytes a cell, and 12 where the searched map is another than fineMap(), besides a border
// as wide as one step. Searches share no memory. Each of those that run at the same time needs 8
// bytes for each cell on the pages that it comes to (huge ones, where the system has them) and
// about 30 for each cell that it comes to; the planner keeps them for later ones. With more than
// a million cells to search it has the first 2 megabytes of them from the start. Preparing takes 2
// to 4 ns a cell for usual radii.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/occmap_path_finder.hpp"

namespace Brin {

// How to plan. Lengths are metres, from 0 to 10^6. Any other value than those given makes no sense.
struct KORRIN_EXPORT PlannerSettings {
  float robotRadius = 0.0f;        // nothing comes nearer to an obstacle
  float fadeDistance = 0.0f;       // beyond the radius, where nothing is dearer any more
  bool unknownIsFree = false;      // cells that nobody has seen may be entered
  float obstacleThreshold = 0.2f;  // cells of a lower value are obstacles; above 0, at most 1
  float weight = 0.5f;             // of the distance to the goal, from 0 to 1
  OccMapPathFinder::NeighborhoodType neighborhood = OccMapPathFinder::Simple;  // the steps
  std::int32_t coarseFactor = 1;  // cells of the map along one side of a searched cell; 1 or more
  // What a turn before the first step costs, metres a radian. It is counted from the heading of a
  // start that is a cell; that of a pose is not looked at, and the turn is from the grid's own.
  float angleCostFactor = 0.0f;
  float accuracy = 0.3f;  // of the waypoints: how far the path may lie from them
};

// How a request ended.
enum class PlanOutcome : std::int32_t {
  Found = 0,         // there is a path
  StartBlocked = 1,  // Plan::blocked tells why
  GoalBlocked = 2,   // the start is free; Plan::blocked tells why the goal is not
  NoPath = 3         // both are free, and no way leads from one to the other
};

// Why an end is blocked.
enum class BlockedReason : std::int32_t {
  None = 0,        // it is not
  OffTheMap = 1,   // its cell lies outside the searched map
  NotANumber = 2,  // the pose, the cell's heading or the value of the cell is not a number
  Obstacle = 3,    // the cell's value is below the threshold
  TooNear = 4,     // an obstacle is nearer than the robot's radius
  Unknown = 5      // nobody has seen the cell
};

// A blocked end. On a reduced map, where several reasons can hold for what a cell stands for, the
// first of NotANumber, Unknown, TooNear and Obstacle is told.
struct KORRIN_EXPORT BlockedEnd {
  Pose2Di cell;  // of grownMap(); for a wild pose what getPixelFromPose makes of it
  // What grownMap() holds there: the value of an obstacle, from 0 up to the threshold; otherwise no
  // value but a code: -1 where an obstacle is too near, and off the map, -2 where the cell is
  // unknown, -3 where it is not a number. For a pose that is not a number it is that of `cell`.
  float value = 0.0f;
  float threshold = 0.0f;                      // the planner's
  BlockedReason reason = BlockedReason::None;  // why it is blocked
  bool hasNearestFree = false;                 // whether nearestFree is one
  // The centre of the nearest free cell of grownMap(), by the distance of cells' centres, of
  // equally near ones that in the lowest row, and in that row the lowest column; the heading is the
  // grid's. There is one when a free cell lies at most 256 cells away.
  Pose2D nearestFree;
};

// What is wrong with an end, for people to read: a sentence without its stop, such as "an obstacle
// is there: cell (360, 10) holds 0, and free is from 0.2; the nearest free pose is (18.025, 0.875,
// 0)". Numbers are as short as can be without losing a bit. Of an end that is not blocked it says
// just that. Constant time; std::bad_alloc where memory runs out.
KORRIN_EXPORT std::string describe(const BlockedEnd& end);

// What came of a request. Poses are world poses, lengths metres.
struct KORRIN_EXPORT Plan {
  PlanOutcome outcome = PlanOutcome::NoPath;  // how it ended
  std::vector<Pose2D> path;       // cells' centres from start to goal; empty unless Found
  std::vector<Pose2D> waypoints;  // few poses, joined by straight lines that are clear
  // Of the path: the sum of length * (1 + 2 * (1 - p)) over its steps, with p the value that
  // grownMap() has where the step ends, which is the length itself where cells are surely free and
  // twice that at a half; and of the turn before the first step, by `angleCostFactor`.
  float cost = 0.0f;
  float length = 0.0f;          // of the path: its steps' lengths, summed as doubles
  std::int32_t iterations = 0;  // nodes that the search took from its open list
  BlockedEnd blocked;           // the end that is blocked, if one is
  // Which goal was reached: its index in the vector that planToNearest was given, counted from 0;
  // 0 from plan(), which has one; -1 unless Found.
  std::int32_t goal = -1;
};

class PlannerState;

// Plans on one map, which it borrows.
class KORRIN_EXPORT PathPlanner {
 public:
  // Prepares `map`, which must outlive the last refresh, in time linear in its cells (more exactly:
  // a cell costs at most as many steps as cells fit between it and the end of its obstacle's
  // fading).
  //
  // std::invalid_argument, which names the field, for a setting out of its range or for a radius
  // and fading of more than 1000 cells together; and for a map whose resolution is not from 10^-6
  // to 10^6 metres. OpenCV's error for a map whose image is null or not of one float channel;
  // std::bad_alloc, or OpenCV's error, where memory runs out.
  explicit PathPlanner(const OccupancyMap& map, const PlannerSettings& settings = {});
  explicit PathPlanner(OccupancyMap&&, const PlannerSettings& = {}) = delete;
  ~PathPlanner();
  PathPlanner(const PathPlanner&) = delete;
  PathPlanner& operator=(const PathPlanner&) = delete;

  // What the planner was made with. Constant time.
  const PlannerSettings& settings() const;

  // What is searched, and what waypoints are simplified on: see the top of this file. Each is good
  // until the next refresh. Without a reduction both are the same map. Constant time.
  const OccupancyMap& grownMap() const;
  const OccupancyMap& fineMap() const;

  // Prepares the whole map anew: from here on, answers are those of a new planner. Its size and
  // its geometry may have changed. When it throws, as the constructor does, the planner is as
  // before.
  void refresh();

  // The same after a change in columns [x, x + width) and rows [y, y + height) of the map only;
  // what lies outside the map does not count. Linear in the cells of that rectangle, grown on each
  // side by twice the radius and the fading. A map of another size or resolution is prepared whole.
  void refresh(int x, int y, int width, int height);

  // Plans between two world poses; their headings do not matter. Not to `angleCostFactor` either:
  // it counts the first step's turn from the grid's own direction, wherever the robot looks; plan
  // between cells for a turn from its heading. All headings of `path` are the grid's. In the
  // neighbourhood Double a path may end next to its goal. Time in proportion to the cells that the
  // search comes to, whatever the map's size. std::bad_alloc where memory runs out.
  Plan plan(const Pose2D& start, const Pose2D& goal) const;

  // The same between two cells of grownMap(). The first step's turn is measured from the heading of
  // `start`, in the frame of the grid, which is also that of the first pose of `path`.
  Plan plan(const Pose2Di& start, const Pose2Di& goal) const;

  // The plan to whichever of `goals` is the cheapest to plan to, as plan() gives it, with its index
  // in `goals` as Plan::goal; of equally cheap ones the first. Goals that are blocked or out of
  // reach do not matter unless all are: without a way to any the outcome is StartBlocked; or
  // GoalBlocked, about the first goal, when there are goals and all are blocked; or NoPath.
  // `iterations` are those of the plan that is given, 0 without one. Takes the time of planning to
  // each goal in turn, but for those that are clearly farther away in a straight line than the
  // cheapest one by its path.
  Plan planToNearest(const Pose2D& start, const std::vector<Pose2D>& goals) const;
  Plan planToNearest(const Pose2Di& start, const std::vector<Pose2Di>& goals) const;

  // What the cheapest way from each cell of grownMap() to `goal` costs: a map of the same geometry
  // whose image holds metres of cost; 0 at the goal, infinity where there is no way, in blocked
  // cells, and everywhere when the goal is blocked. In the neighbourhood Double, where the goal is
  // reached from next to it, the free cells that share a side with it have 0, too.
  //
  // For each other cell it is the least, over all steps to a free cell, of that cell's own cost
  // plus (step's length * (1 + 2 * (1 - p))), rounded in this order, with p the value of the cell
  // stepped into: an exact shortest way by Dijkstra's algorithm (Dijkstra 1959; with buckets as by
  // Dial 1969), and without turn costs. Linear in the cells. OpenCV's error or std::bad_alloc where
  // memory runs out.
  OccupancyMap costField(const Pose2D& goal) const;
  OccupancyMap costField(const Pose2Di& goal) const;

 private:
  const OccupancyMap* map_;
  std::unique_ptr<PlannerState> state_;
};

}  // namespace Brin
