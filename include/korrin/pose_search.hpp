// Where was a scan taken? The best pose of a scan on a known map, or on another scan: of a grid of
// poses the one that scanScore scores highest, without scoring them all.
//
//   const Brin::PoseSearch search(map, 0.45f, 0.3f);                  // once for a map
//   const auto everywhere = Brin::PoseGrid::around(map, 0.05f, 0.0175f);
//   const auto found = search.best(points, everywhere, 2, 1.0f);      // and the best elsewhere
//   if (!found.empty()) robotStandsAt(found[0].pose, found[0].score);
//
// The answer is the one that trying every pose gives, score, pose and ties to the last bit. What
// saves the time is branch and bound (Olson, "Real-time correlative scan matching", 2009; Hess et
// al., "Real-time loop closure in 2D LIDAR SLAM", 2016): a block of neighbouring poses moves a
// point over a small window of pixels, no score in the block is above what the best pixels of
// these windows add up to, and blocks whose bound is below the best score so far are dropped.
//
// The steps:
//   1. Once: what each pixel of the distance map adds to a score, rounded up to one of 255 levels,
//      and the maxima of these over windows of 1, 2, 4 ... 64 pixels a side.
//   2. For a grid: the poses of every heading in blocks, mostly of 16 x 16, with a bound for each.
//   3. From the highest bound on, each block that may hold a better pose than the best so far is
//      divided, down to single poses, which are scored as scanScore does. Then the rest, in order.
//
// What it costs. Step 1 is linear in the pixels of the smallest rectangle that holds all within
// `maxDist` of a hit: one to two milliseconds for a scan that reaches 30 m at 0.05 m a pixel, ten
// for a floor of a million cells. Some 12 bytes for each of these pixels stay in use, and up to
// half a megabyte. Steps 2 and 3 take as many lookups as there are blocks to look at, times points,
// sixteen blocks at a time; how many that is, the map and the scan decide. Where one pose fits well
// it is found hundreds of times sooner than by scoring all of a whole floor's, and twenty times in
// a window of ten thousand; a runner-up that fits badly takes several times as long. All of that
// where the map's origin is not turned and a step of the grid is one, two, four ... pixels: on
// other grids blocks are looked at one by one, which takes up to sixty times as long on a whole
// floor.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/scan_matching.hpp"

namespace Brin {

// A grid of poses around a centre. With whole numbers i, j and k the pose (i, j, k) is
//   (centre.x + i * step, centre.y + j * step, centre.theta + k * turnStep),
// where i, j and k are made floats first, and each operation is rounded to float. The grid's axes
// are those of the frame that the poses are in, whatever the centre's heading.
//
// i goes from -shiftsX() to shiftsX(), j and k likewise. The order of the grid: heading slowest,
// then y, then x, each from the lowest up.
struct KORRIN_EXPORT PoseGrid {
  Pose2D centre;                  // the middle of the grid
  float reachX = 0.5f;            // metres to either side along x
  float reachY = 0.5f;            // and along y
  float turn = 0.34906585f;       // radians to either side: 20 degrees
  float step = 0.05f;             // metres
  float turnStep = 0.017453293f;  // radians: one degree

  // The grid over a whole map and all headings: no place on the map, its outermost cells'
  // borders included, is farther than half a step from the grid along either axis, and no heading
  // farther than half a turnStep. The centre is that of cell (width / 2, height / 2) with the
  // heading 0. Constant time.
  static PoseGrid around(const OccupancyMapParams& map, float step, float turnStep);

  // How many steps there are to either side along x: floor(reachX / step + 0.001), all in float, so
  // that a step counts that ends a rounding error beyond the reach. A reach that is below a step,
  // negative or not a number has none. More than 2^30 - 1 are given as 2^30, which no search takes.
  std::int32_t shiftsX() const;
  std::int32_t shiftsY() const;  // of reachY
  std::int32_t turns() const;    // of turn and turnStep

  // How many poses the grid has. 0 where it is none: a step or turnStep that is not a positive
  // finite number, 2^30 steps or more to a side, or more than 2^63 - 1 poses.
  std::int64_t poses() const;

  // The pose (i, j, k), as said above.
  Pose2D pose(std::int32_t i, std::int32_t j, std::int32_t k) const;
};

// A pose and how well the scan fits there, as scanScore says: 1 is a perfect fit.
struct ScoredPose {
  Pose2D pose;         // of the grid
  float score = 0.0f;  // what scanScore gives there
};

struct SearchTables;

// What poses are searched on. It keeps what it needs and borrows nothing: the map or scan may
// change or go. Copies share what was prepared. Const, and safe from any number of threads.
class KORRIN_EXPORT PoseSearch {
 public:
  // On a known map, with poses in the world. Cells below `threshold` are hits, and a point farther
  // than `maxDist` metres from them adds nothing.
  //
  // The scores are those of scanScore on this picture: a square of side S = 2 * max(width, height)
  // pixels, 0 where there is a hit and 255 elsewhere, in which the cell (column, row) is the pixel
  // (S / 2 + column, S / 2 + row); its distance map, as buildLaserDistance makes it; the map's
  // resolution. So the picture's frame is that of the map's origin, and a world pose p is scored at
  // map.params.origin.relProject(p). (The map begins at the picture's centre because from there on
  // scanScore takes a point to the nearest pixel, and before it to the next one.) Width and height
  // are those of map.image.
  //
  // A threshold that is not a number makes no hits. OpenCV's error for a null image or one of
  // another kind, std::bad_alloc or OpenCV's error without memory. Linear as said above.
  PoseSearch(const OccupancyMap& map, float threshold, float maxDist);

  // On a reference scan, with poses in its frame: the scores are those of
  // scanScore(reference.distanceMap, points, pose, reference.resolution, maxDist, ..., step), with
  // the reference's step. Before its build it is OpenCV's error.
  PoseSearch(const ScanDistMap& reference, float maxDist);

  // Copies share the tables, which nothing changes.
  PoseSearch(const PoseSearch&);
  PoseSearch& operator=(const PoseSearch&);
  ~PoseSearch();

  // The pose of `grid` at which `points` (metres, in the sensor's frame) score highest, and the
  // earliest in the grid's order of several that do. With `count` above 1 it is followed by
  // runners-up: each time the best, and earliest, of the poses that are elsewhere than all those
  // before. Fewer come back where the grid has no more of them.
  //
  // Elsewhere than p is a pose q, other than p itself, that is at least `apart` metres away,
  // computeNorm of the differences q.x - p.x and q.y - p.y, or whose heading differs by at least
  // `turned` radians, the absolute value of canonicalAngle(q.theta - p.theta). An infinite `turned`
  // has headings not count: then runners-up are elsewhere by their places alone.
  //
  // No points, a map without hits, and a maxDist that is not a number leave all poses equal, so the
  // grid's first one comes back, with the score that scanScore gives it. A grid without poses, a
  // reference whose step is below 1, a count below 1, and a distance that is negative or not a
  // number give nothing, with one record (Warning) that names it.
  //
  // Time: see above; anew for each of `count`, but for step 2. All headings are looked at, even far
  // off the map, but of the places only those from where points fall on it. Memory: 4 bytes for
  // each block of step 2, up to 16 MB, and 24 for each point at each heading, up to 50 MB; larger
  // grids are searched some headings at a time. On a reference with negative distances, a maxDist
  // or resolution below 0 leaves no bounds, and poses are tried until one has no match.
  std::vector<ScoredPose> best(const std::vector<Point2D>& points, const PoseGrid& grid,
                               int count = 1, float apart = 0.5f, float turned = 0.5f) const;

  // The score of one pose, as best() counts it. A reference's step below 1 gives 0 with one record
  // (Warning). Linear in the points.
  float score(const std::vector<Point2D>& points, const Pose2D& pose) const;

 private:
  std::shared_ptr<const SearchTables> tables_;
};

}  // namespace Brin
