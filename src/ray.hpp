// Rays through the cells of a map, and where they end: shared by the mapper's rays and by simulated
// beams.
//
//   Ray ray;
//   ray.aim(*map.image, from, to);
//   RangeReading reading = RayCaster(map, threshold, "caller").cast(ray);
#pragma once

#include <opencv2/core/core_c.h>

#include <cstdint>

#include "core/image_ptr.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"
#include "src/below_threshold.hpp"
#include "src/cell_line.hpp"
#include "src/inside_line.hpp"

namespace Brin {

// The way of a ray from one cell towards another.
struct Ray {
  // In place, for the reason that InsideLine gives.
  void aim(const IplImage& image, Point2Di from_, Point2Di to_) {
    from = from_;
    to = to_;
    isFast = InsideLine::canWalk(image, from, to);
    if (isFast) line.aim(image, from, to);
  }

  Point2Di from;
  Point2Di to;
  bool isFast = false;  // whether `line` is the ray's own
  InsideLine line;
};

struct RayEnd {
  float range;  // metres
  bool isHit;
};

// Casts rays through one map: a ray ends at the first cell below the threshold, the start cell
// included, at its end cell or at the first cell outside the map.
class RayCaster {
 public:
  RayCaster(const OccupancyMap& map, float threshold, const char* function)
      : cells_(map.image), below_(threshold), resolution_(map.params.resolution) {
    requireKind(cells_, IPL_DEPTH_32F, 1, function);
  }

  // From now on, cells below the threshold let rays pass where the map's second image, if it has
  // one, is below `lowThreshold`, and the end cell is tested too.
  void asBeams(const OccupancyMap& map, float lowThreshold, const char* function) {
    testsEnd_ = true;
    lowThreshold_ = lowThreshold;
    second_ = map.secondImage;
    if (second_ == nullptr) return;
    requireKind(second_, IPL_DEPTH_32F, 1, function);
    if (second_->width != cells_->width || second_->height != cells_->height) {
      cvError(CV_StsUnmatchedSizes, function, "the map's images differ in size", __FILE__,
              __LINE__);
    }
  }

  const IplImage& cells() const { return *cells_; }

  // The distance from the ray's start to where it ends, and whether that is a cell that stopped it.
  // A start outside the map gives 0 and no hit.
  RayEnd cast(const Ray& ray) const {
    if (!ray.isFast) return castSlowly(ray);
    const InsideLine& line = ray.line;
    std::int64_t k = -1;
    do {
      k = line.walk<const float>(*cells_, k + 1,
                                 [below = below_](float cell) { return below.mayBe(cell); });
    } while (k < line.length() && !stopsAt(line.x(k), line.y(k)));
    return endAt(ray, line.x(k), line.y(k), k < line.length());
  }

 private:
  bool stopsAt(std::int32_t x, std::int32_t y) const {
    if (!below_.is(imageRow<float>(*cells_, y)[x])) return false;
    return second_ == nullptr || !(imageRow<float>(*second_, y)[x] < lowThreshold_);
  }

  RayEnd endAt(const Ray& ray, std::int32_t x, std::int32_t y, bool isHit) const {
    if (testsEnd_ && !isHit) isHit = rect().contains(x, y) && stopsAt(x, y);
    return {computeNorm(x - ray.from.x, y - ray.from.y) * resolution_, isHit};
  }

  // The same for any ray at all.
  RayEnd castSlowly(const Ray& ray) const {
    if (!rect().contains(ray.from.x, ray.from.y)) return endAt(ray, ray.from.x, ray.from.y, false);
    CellLine line(ray.from.x, ray.from.y, ray.to.x, ray.to.y, rect());
    while (!line.done() && !stopsAt(line.x(), line.y())) line.next();
    return endAt(ray, line.x(), line.y(), !line.done());
  }

  CellRect rect() const { return {cells_->width, cells_->height}; }

  const IplImage* cells_;
  const IplImage* second_ = nullptr;
  BelowThreshold below_;
  float resolution_;
  float lowThreshold_ = 0.0f;
  bool testsEnd_ = false;
};

}  // namespace Brin
