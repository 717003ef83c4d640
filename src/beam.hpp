// The beams of a scan: their directions, how far they reach, and where they start and end on the
// grid. Updating a map and simulating a scan share it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/grid_frame.hpp"
#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"
#include "src/ray.hpp"

namespace Brin {

struct Direction {
  float cosine;
  float sine;
};

inline Direction directionOf(float angle) {
  Direction direction{};
  ::sincosf(angle, &direction.sine, &direction.cosine);
  return direction;
}

// The point `range` metres from `pose` in `direction` (world frame).
inline Point2D beamPoint(const Pose2D& pose, Direction direction, float range) {
  return {pose.x + range * direction.cosine, pose.y + range * direction.sine};
}

// `range` cut to 2^27 cells either way: an infinite one keeps its direction.
inline float limitedRange(float range, float resolution) {
  const float limit = 134217728.0f * std::fabs(resolution);
  if (range > limit) return limit;
  if (range < -limit) return -limit;
  return range;
}

// Beams at even steps from the first angle (relative to the heading) to the last.
struct BeamFan {
  float firstAngle;
  float spread;  // from the first beam to the last
  float minRange;
  float maxRange;
  std::int32_t count;
};

// Works out the angles and end cells of a fan's beams at a pose, by the batch. A count of 1 divides
// by 0 for the step, by intention: the only angle, 0 times that, is then never a number.
//
// Why batches: where a ray ends is a branch that cannot be foreseen, and what was worked out before
// need not wait for it; each stage by itself runs several beams at once. Whole scans gain a third.
class FanAim {
 public:
  static constexpr std::int32_t kBatch = 64;

  FanAim(const OccupancyMapParams& grid, const Pose2D& pose, const BeamFan& fan)
      : frame_(grid),
        pose_(pose),
        firstAngle_(fan.firstAngle),
        step_(fan.spread / static_cast<float>(fan.count - 1)),
        nearest_(limitedRange(fan.minRange, grid.resolution)),
        farthest_(limitedRange(fan.maxRange, grid.resolution)) {}

  // Beams `first` to `first` + `n` - 1; `n` is at most kBatch.
  void aim(std::int32_t first, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) {
      angles_[i] = static_cast<float>(first + i) * step_ + firstAngle_ + pose_.theta;
      ::sincosf(angles_[i], &directions_[i].sine, &directions_[i].cosine);
    }
    for (std::int32_t i = 0; i < n; ++i) {
      starts_[i] = frame_.cellOf(beamPoint(pose_, directions_[i], nearest_));
      ends_[i] = frame_.cellOf(beamPoint(pose_, directions_[i], farthest_));
    }
  }

  // The i-th of them: its angle relative to the heading and its end cells.
  float angle(std::int32_t i) const { return angles_[i] - pose_.theta; }
  Point2Di start(std::int32_t i) const { return starts_[i]; }
  Point2Di end(std::int32_t i) const { return ends_[i]; }

 private:
  GridFrame frame_;
  Pose2D pose_;
  float firstAngle_;
  float step_;
  float nearest_;
  float farthest_;
  float angles_[kBatch];
  Direction directions_[kBatch];
  Point2Di starts_[kBatch];
  Point2Di ends_[kBatch];
};

// Fills `out` with the readings of `fan` at `pose`, each as `caster` sees it from the cell at the
// minimum range to the cell at the maximum, with the range counted from the pose.
template <typename Caster>
void simulateFan(const OccupancyMapParams& grid, const Pose2D& pose, const BeamFan& fan,
                 const Caster& caster, std::vector<RangeReading>& out) {
  out.clear();
  out.reserve(static_cast<std::size_t>(fan.count));
  FanAim beams(grid, pose, fan);
  Ray rays[FanAim::kBatch];
  RayEnd ends[FanAim::kBatch];
  for (std::int32_t left = fan.count; left > 0; left -= FanAim::kBatch) {
    const std::int32_t n = std::min(left, FanAim::kBatch);
    beams.aim(fan.count - left, n);
    for (std::int32_t i = 0; i < n; ++i) rays[i].aim(caster.cells(), beams.start(i), beams.end(i));
    caster.cast(rays, ends, n);
    for (std::int32_t i = 0; i < n; ++i) {
      out.emplace_back(ends[i].range + fan.minRange, beams.angle(i));
      out.back().status = ends[i].isHit ? 0 : 1;
    }
  }
}

}  // namespace Brin
