#include "korrin/prepared_map.hpp"

#include <algorithm>

#include "core/grid_frame.hpp"
#include "core/image_ptr.hpp"
#include "src/beam.hpp"
#include "src/free_reach.hpp"
#include "src/ray.hpp"

namespace Brin {
namespace {

// Casts rays by leaps over free cells.
class LeapingCaster {
 public:
  LeapingCaster(const RayRules& rules, const FreeReach& reach, const char* function)
      : rules_(rules), reach_(reach) {
    if (!reach.fits(rules.cells())) {
      cvError(CV_StsUnmatchedSizes, function, "the map has changed its size since it was prepared",
              __FILE__, __LINE__);
    }
  }

  LeapingCaster(RayRules&&, const FreeReach&, const char*) = delete;

  const IplImage& cells() const { return rules_.cells(); }

  RayEnd cast(const Ray& ray) const {
    if (!ray.isFast) return rules_.castSlowly(ray);
    ReachWalk walk;
    walk.aim(reach_, ray.line);
    goToBlocked(walk);
    return endOf(ray, walk);
  }

  // The same for several rays, which leap in turns: each leap waits for the memory, and so they
  // wait together.
  void cast(const Ray* rays, RayEnd* ends, std::int32_t count) const {
    ReachWalk walks[FanAim::kBatch];
    std::int32_t walking[FanAim::kBatch];
    std::int32_t left = 0;
    for (std::int32_t i = 0; i < count; ++i) {
      if (!rays[i].isFast) continue;
      walks[i].aim(reach_, rays[i].line);
      walking[left] = i;
      left += walks[i].isAtEnd() ? 0 : 1;
    }
    while (left > 0) {
      std::int32_t stillWalking = 0;
      for (std::int32_t j = 0; j < left; ++j) {
        const std::int32_t i = walking[j];
        walking[stillWalking] = i;
        stillWalking += walks[i].leap() ? 1 : 0;
      }
      left = stillWalking;
    }
    for (std::int32_t i = 0; i < count; ++i) {
      ends[i] = rays[i].isFast ? endOf(rays[i], walks[i]) : rules_.castSlowly(rays[i]);
    }
  }

 private:
  static void goToBlocked(ReachWalk& walk) {
    while (!walk.isAtEnd() && walk.leap()) {
    }
  }

  // For a walk that stands on a blocked cell or at its end: goes on where beams may pass.
  RayEnd endOf(const Ray& ray, ReachWalk& walk) const {
    const InsideLine& line = ray.line;
    while (!walk.isAtEnd() && rules_.isVetoed(line.x(walk.step()), line.y(walk.step()))) {
      walk.pass();
      goToBlocked(walk);
    }
    const std::int64_t k = walk.step();
    return rules_.endAt(ray, line.x(k), line.y(k), !walk.isAtEnd());
  }

  const RayRules& rules_;
  const FreeReach& reach_;
};

}  // namespace

PreparedMap::PreparedMap(const OccupancyMap& map, float threshold)
    : map_(&map), threshold_(threshold), reach_(std::make_unique<FreeReach>()) {
  refresh();
}

PreparedMap::~PreparedMap() = default;

void PreparedMap::refresh() {
  requireKind(map_->image, IPL_DEPTH_32F, 1, "PreparedMap::refresh");
  reach_->refresh(*map_->image, threshold_);
}

void PreparedMap::refresh(int x, int y, int width, int height) {
  requireKind(map_->image, IPL_DEPTH_32F, 1, "PreparedMap::refresh");
  const IplImage& image = *map_->image;
  if (!reach_->fits(image)) return refresh();
  const auto limited = [](std::int64_t value, std::int32_t size) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, 0, size));
  };
  const FreeReach::Area area{limited(x, image.width), limited(y, image.height),
                             limited(std::int64_t{x} + width, image.width),
                             limited(std::int64_t{y} + height, image.height)};
  if (area.left < area.right && area.top < area.bottom) reach_->refresh(image, threshold_, area);
}

RangeReading PreparedMap::throwRay(const Point2D& from, const Point2D& to) const {
  constexpr const char* kFunction = "PreparedMap::throwRay";
  const RayRules rules(*map_, threshold_, kFunction);
  const LeapingCaster caster(rules, *reach_, kFunction);
  const GridFrame frame(map_->params);
  return castBetween(caster, frame.cellOf(from), frame.cellOf(to));
}

RangeReading PreparedMap::xThrowRay(int x0, int y0, int x1, int y1) const {
  constexpr const char* kFunction = "PreparedMap::xThrowRay";
  const RayRules rules(*map_, threshold_, kFunction);
  const LeapingCaster caster(rules, *reach_, kFunction);
  return castBetween(caster, {x0, y0}, {x1, y1});
}

void PreparedMap::simulateScan(const Pose2D& pose, float startAngle, float endAngle, float minRange,
                               float maxRange, int count, std::vector<RangeReading>& out) const {
  constexpr const char* kFunction = "PreparedMap::simulateScan";
  const RayRules rules(*map_, threshold_, kFunction);
  const LeapingCaster caster(rules, *reach_, kFunction);
  simulateFan(map_->params, pose, {startAngle, endAngle - startAngle, minRange, maxRange, count},
              caster, out);
}

void PreparedMap::simulateScan(const Pose2D& pose, float fieldOfView, float minRange,
                               float maxRange, int count, std::vector<RangeReading>& out) const {
  simulateScan(pose, -0.5f * fieldOfView, 0.5f * fieldOfView, minRange, maxRange, count, out);
}

RangeReading PreparedMap::occMapGetRange(const ScanModel& model, const Point2Di& from,
                                         const Point2Di& to) const {
  constexpr const char* kFunction = "PreparedMap::occMapGetRange";
  const RayRules rules = RayRules::ofBeams(*map_, threshold_, model.lowThreshold, kFunction);
  const LeapingCaster caster(rules, *reach_, kFunction);
  return castBetween(caster, from, to);
}

void PreparedMap::occMapSimulateScan(const ScanModel& model, const Pose2D& pose,
                                     std::vector<RangeReading>& out) const {
  constexpr const char* kFunction = "PreparedMap::occMapSimulateScan";
  const RayRules rules = RayRules::ofBeams(*map_, threshold_, model.lowThreshold, kFunction);
  const LeapingCaster caster(rules, *reach_, kFunction);
  simulateFan(map_->params, pose,
              {model.startAngle, model.fieldOfView, model.minRange, model.maxRange, model.count},
              caster, out);
}

}  // namespace Brin
