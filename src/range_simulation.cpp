#include "korrin/range_simulation.hpp"

#include <cmath>
#include <cstddef>

#include "core/image_ptr.hpp"
#include "korrin/core/log.hpp"
#include "korrin/occupancy_mapper.hpp"
#include "src/beam.hpp"
#include "src/ray.hpp"

namespace Brin {
namespace {

constexpr const char* kFile = "src/range_simulation";

}  // namespace

ScanModel::ScanModel(int count_, float maxRange_, float fieldOfView_)
    : maxRange(maxRange_),
      fieldOfView(fieldOfView_),
      startAngle(-0.5f * fieldOfView_),
      count(count_) {}

float ScanModel::scanLikelihood(const std::vector<RangeReading>& scanA,
                                const std::vector<RangeReading>& scanB, int step) const {
  if (step < 1) {
    completeLog(NavLogLevel::Warning, "step is below 1.", kFile, "scanLikelihood", __LINE__);
    return 0.0f;
  }
  if (scanB.size() < scanA.size()) {
    completeLog(NavLogLevel::Warning, "scanB has fewer readings than scanA.", kFile,
                "scanLikelihood", __LINE__);
    return 0.0f;
  }
  constexpr float kFloor = 0.01f;
  const float norm = gaussianValueAt(rangeSigma, 0.0f) + kFloor;
  const auto stride = static_cast<std::size_t>(step);
  float sum = 0.0f;
  for (std::size_t i = 0; i < scanA.size(); i += stride) {
    sum += (gaussianValueAt(rangeSigma, scanA[i].range - scanB[i].range) + kFloor) / norm;
  }
  // Not the number of terms, which is n / step rounded up; this is intended.
  const std::size_t divisor = scanA.size() / stride;
  const float mean = sum / static_cast<float>(divisor);
  constexpr float kThird = 0.333333343f;  // the float nearest to one third
  return static_cast<float>(std::pow(static_cast<double>(mean), static_cast<double>(kThird)));
}

RangeReading occMapGetRange(const OccupancyMap& map, const ScanModel& model, const Point2Di& from,
                            const Point2Di& to, float threshold) {
  const RayRules rules = RayRules::ofBeams(map, threshold, model.lowThreshold, "occMapGetRange");
  const RayCaster caster(rules);
  return castBetween(caster, from, to);
}

void occMapSimulateScan(const OccupancyMap& map, const ScanModel& model, const Pose2D& pose,
                        std::vector<RangeReading>& out, float threshold) {
  const RayRules rules =
      RayRules::ofBeams(map, threshold, model.lowThreshold, "occMapSimulateScan");
  const RayCaster caster(rules);
  simulateFan(map.params, pose,
              {model.startAngle, model.fieldOfView, model.minRange, model.maxRange, model.count},
              caster, out);
}

void fillOccMapFromScan(const Scan& scan, const Pose2D& pose, OccupancyMap& map, int subdivisions) {
  OccupancyMapper mapper(&map);
  map.reset(0.5f);
  const float step = scan.getResolution() / static_cast<float>(subdivisions);
  for (int k = 0; k < subdivisions; ++k) {
    const Pose2D turned(pose.x, pose.y, pose.theta + static_cast<float>(k) * step);
    mapper.updateMap(scan.readings, turned, 1.0f, 0.1f);
  }
  map.clip();
}

}  // namespace Brin
