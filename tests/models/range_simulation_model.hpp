// The literal model of the beam model and range simulation: one step, one test, one cell at a time,
// in 64-bit coordinates.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/range_simulation.hpp"
#include "models/occupancy_mapper_model.hpp"

namespace korrin_model {

inline float scanLikelihood(const Brin::ScanModel& model,
                            const std::vector<Brin::RangeReading>& scanA,
                            const std::vector<Brin::RangeReading>& scanB, int step) {
  const float peak = Brin::gaussianValueAt(model.rangeSigma, 0.0f);
  const float norm = peak + 0.01f;
  const int n = static_cast<int>(scanA.size());
  float sum = 0.0f;
  for (std::int64_t i = 0; i < n; i += step) {
    const float d =
        scanA[static_cast<std::size_t>(i)].range - scanB[static_cast<std::size_t>(i)].range;
    sum += (Brin::gaussianValueAt(model.rangeSigma, d) + 0.01f) / norm;
  }
  const float mean = sum / static_cast<float>(n / step);
  return static_cast<float>(std::pow(static_cast<double>(mean), static_cast<double>(1.0f / 3.0f)));
}

inline bool stopsBeam(const Brin::OccupancyMap& map, float lowThreshold, int x, int y,
                      float threshold) {
  if (!(threshold > map.getCell(x, y))) return false;
  if (map.secondImage == nullptr) return true;
  const auto* row = reinterpret_cast<const float*>(map.secondImage->imageData +
                                                   std::ptrdiff_t{y} * map.secondImage->widthStep);
  const float second = row[x];
  return second >= lowThreshold || std::isnan(second) || std::isnan(lowThreshold);
}

inline Brin::RangeReading beamResult(float range, int status) {
  Brin::RangeReading reading;
  reading.range = range;
  reading.angle = 0.0f;
  reading.weight = 1.0f;
  reading.mark = 1;
  reading.status = status;
  return reading;
}

// Metres between two cells however far apart.
inline float cellDistance(const Brin::OccupancyMap& map, const Brin::Point2Di& from, std::int64_t x,
                          std::int64_t y) {
  const auto dx = static_cast<double>(from.x - x);
  const auto dy = static_cast<double>(from.y - y);
  return static_cast<float>(std::sqrt(dx * dx + dy * dy)) * map.params.resolution;
}

inline Brin::RangeReading testEnd(const Brin::OccupancyMap& map, const Brin::ScanModel& model,
                                  const Brin::Point2Di& end, float full, float threshold) {
  if (!map.isInside(end.x, end.y)) return beamResult(full, 1);
  return beamResult(full, stopsBeam(map, model.lowThreshold, end.x, end.y, threshold) ? 0 : 1);
}

inline Brin::RangeReading occMapGetRange(const Brin::OccupancyMap& map,
                                         const Brin::ScanModel& model, const Brin::Point2Di& from,
                                         const Brin::Point2Di& to, float threshold) {
  const float full = cellDistance(map, from, to.x, to.y);
  if (from.x == to.x && from.y == to.y) return testEnd(map, model, from, full, threshold);
  if (!map.isInside(from.x, from.y)) {
    return beamResult(Brin::computeNorm(0, 0) * map.params.resolution, 1);
  }
  bool hasStopped = false;
  Brin::RangeReading result;
  walkLine(from.x, from.y, to.x, to.y, [&](std::int64_t wideX, std::int64_t wideY) {
    const int x = static_cast<int>(wideX);
    const int y = static_cast<int>(wideY);
    const bool isOutside = !map.isInside(x, y);
    const bool isHit = !isOutside && stopsBeam(map, model.lowThreshold, x, y, threshold);
    if (!isOutside && !isHit) return true;
    hasStopped = true;
    result = beamResult(cellDistance(map, from, x, y), isHit ? 0 : 1);
    return false;
  });
  return hasStopped ? result : testEnd(map, model, to, full, threshold);
}

inline void occMapSimulateScan(const Brin::OccupancyMap& map, const Brin::ScanModel& model,
                               const Brin::Pose2D& pose, std::vector<Brin::RangeReading>& out,
                               float threshold) {
  out.clear();
  out.reserve(static_cast<std::size_t>(model.count));
  const float step = model.fieldOfView / static_cast<float>(model.count - 1);
  const float nearest = limitedRange(model.minRange, map.params.resolution);
  const float farthest = limitedRange(model.maxRange, map.params.resolution);
  for (int i = 0; i < model.count; ++i) {
    const float a = static_cast<float>(i) * step + model.startAngle + pose.theta;
    float sine = 0.0f;
    float cosine = 0.0f;
    ::sincosf(a, &sine, &cosine);
    const Brin::Pose2Di from =
        map.getPixelFromPose({pose.x + nearest * cosine, pose.y + nearest * sine, 0.0f});
    const Brin::Pose2Di to =
        map.getPixelFromPose({pose.x + farthest * cosine, pose.y + farthest * sine, 0.0f});
    Brin::RangeReading r =
        korrin_model::occMapGetRange(map, model, {from.x, from.y}, {to.x, to.y}, threshold);
    r.range += model.minRange;
    r.angle = a - pose.theta;
    out.push_back(r);
  }
}

inline void fillOccMapFromScan(const Brin::Scan& scan, const Brin::Pose2D& pose,
                               Brin::OccupancyMap& map, int subdivisions) {
  map.reset(0.5f);
  const float step = scan.getResolution() / static_cast<float>(subdivisions);
  for (int k = 0; k < subdivisions; ++k) {
    Brin::Pose2D turned = pose;
    turned.theta = pose.theta + static_cast<float>(k) * step;
    updateMap(map, scan.readings, turned, 1.0f, 0.1f);
  }
  map.clip();
}

}  // namespace korrin_model
