// Rays through the cells of a map, and where they end: shared by the mapper's rays and by simulated
// beams, on maps as they are and on prepared ones.
//
//   Ray ray;
//   ray.aim(*map.image, from, to);
//   const RayRules rules(map, threshold, "caller");
//   RangeReading reading = readingOf(RayCaster(rules).cast(ray));
#pragma once

#include <opencv2/core/core_c.h>

#include <cstdint>

#include "core/image_ptr.hpp"
#include "core/norm.hpp"
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
  float range;  // metres from the first cell's centre to the last one's
  bool isHit;
};

inline RangeReading readingOf(RayEnd end) {
  RangeReading reading(end.range, 0.0f);
  reading.status = end.isHit ? 0 : 1;
  return reading;
}

// What ends the rays through one map: the first cell below the threshold, from the start cell on;
// else the end cell or the first cell outside the map.
class RayRules {
 public:
  RayRules(const OccupancyMap& map, float threshold, const char* function)
      : cells_(map.image), below_(threshold), resolution_(map.params.resolution) {
    requireKind(cells_, IPL_DEPTH_32F, 1, function);
  }

  // Simulated beams: the end cell is tested too, and a cell below the threshold lets them pass
  // where the map's second image, if it has one, is below `lowThreshold`.
  static RayRules ofBeams(const OccupancyMap& map, float threshold, float lowThreshold,
                          const char* function) {
    RayRules rules(map, threshold, function);
    rules.testsEnd_ = true;
    rules.lowThreshold_ = lowThreshold;
    rules.second_ = map.secondImage;
    if (map.secondImage == nullptr) return rules;
    requireKind(map.secondImage, IPL_DEPTH_32F, 1, function);
    if (map.secondImage->width != map.image->width ||
        map.secondImage->height != map.image->height) {
      cvError(CV_StsUnmatchedSizes, function, "the map's images differ in size", __FILE__,
              __LINE__);
    }
    return rules;
  }

  const IplImage& cells() const { return *cells_; }
  BelowThreshold below() const { return below_; }

  bool isVetoed(std::int32_t x, std::int32_t y) const {
    return second_ != nullptr && imageRow<float>(*second_, y)[x] < lowThreshold_;
  }

  bool stopsAt(std::int32_t x, std::int32_t y) const {
    return below_.is(imageRow<float>(*cells_, y)[x]) && !isVetoed(x, y);
  }

  // The end of a ray that comes to the cell (x, y), and is stopped by it or has no farther to go.
  RayEnd endAt(const Ray& ray, std::int32_t x, std::int32_t y, bool isStopped) const {
    const bool isHit = isStopped || (testsEnd_ && rect().contains(x, y) && stopsAt(x, y));
    return {normOf(x - ray.from.x, y - ray.from.y) * resolution_, isHit};
  }

  // Casts any ray at all, cell by cell. A start outside the map gives 0 and no hit. Out of line, to
  // keep it out of the loops over many rays.
  [[gnu::noinline]] RayEnd castSlowly(const Ray& ray) const {
    if (!rect().contains(ray.from.x, ray.from.y)) return endAt(ray, ray.from.x, ray.from.y, false);
    CellLine line(ray.from.x, ray.from.y, ray.to.x, ray.to.y, rect());
    while (!line.done() && !stopsAt(line.x(), line.y())) line.next();
    return endAt(ray, line.x(), line.y(), !line.done());
  }

 private:
  CellRect rect() const { return {cells_->width, cells_->height}; }

  const IplImage* cells_;
  const IplImage* second_ = nullptr;
  BelowThreshold below_;
  float resolution_;
  float lowThreshold_ = 0.0f;
  bool testsEnd_ = false;
};

// Casts rays through a map as it is. Borrows its rules.
class RayCaster {
 public:
  explicit RayCaster(const RayRules& rules) : rules_(rules) {}
  explicit RayCaster(RayRules&&) = delete;

  const IplImage& cells() const { return rules_.cells(); }

  RayEnd cast(const Ray& ray) const {
    if (!ray.isFast) return rules_.castSlowly(ray);
    const InsideLine& line = ray.line;
    std::int64_t k = -1;
    do {
      k = line.walk<const float>(
          cells(), k + 1, [below = rules_.below()](float cell) { return below.mayBe(cell); });
    } while (k < line.length() && !rules_.stopsAt(line.x(k), line.y(k)));
    return rules_.endAt(ray, line.x(k), line.y(k), k < line.length());
  }

  void cast(const Ray* rays, RayEnd* ends, std::int32_t count) const {
    for (std::int32_t i = 0; i < count; ++i) ends[i] = cast(rays[i]);
  }

 private:
  const RayRules& rules_;
};

// The reading of a single ray.
template <typename Caster>
RangeReading castBetween(const Caster& caster, Point2Di from, Point2Di to) {
  Ray ray;
  ray.aim(caster.cells(), from, to);
  return readingOf(caster.cast(ray));
}

}  // namespace Brin
