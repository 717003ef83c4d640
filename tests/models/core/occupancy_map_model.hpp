// What a map does to a pose and to one cell, by the formulas.
#pragma once

#include <cmath>
#include <cstdint>

#include "korrin/core/occupancy_map.hpp"
#include "models/core/geometry_model.hpp"

namespace korrin_model {

inline std::int32_t cellIndex(float metres, float resolution) {
  const float cells = metres / resolution;
  const float shifted = cells + 0.5f;
  const double index = std::floor(static_cast<double>(shifted));
  if (std::isnan(index)) return -268435456;
  if (index < -268435456.0) return -268435456;
  if (index > 268435456.0) return 268435456;
  return static_cast<std::int32_t>(index);
}

inline Brin::Pose2Di getPixelFromPose(const Brin::OccupancyMapParams& params,
                                      const Brin::Pose2D& pose) {
  const Brin::Pose2D r = relProject(params.origin, pose);
  return Brin::Pose2Di(cellIndex(r.x, params.resolution), cellIndex(r.y, params.resolution),
                       r.theta);
}

inline Brin::Pose2D getPoseFromPixel(const Brin::OccupancyMapParams& params,
                                     const Brin::Pose2Di& cell) {
  Brin::Pose2D rel;
  rel.x = static_cast<float>(cell.x) * params.resolution;
  rel.y = static_cast<float>(cell.y) * params.resolution;
  rel.theta = cell.theta;
  return absProject(params.origin, rel);
}

inline float clipped(float value) {
  if (std::isnan(value)) return 0.0f;
  if (value <= 0.0f) return 0.0f;
  if (value >= 1.0f) return 1.0f;
  return value;
}

inline std::uint8_t toByte(float value) {
  if (std::isnan(value)) return 0;
  const double level = std::trunc(256.0 * static_cast<double>(value));
  if (level < 0.0) return 0;
  if (level > 255.0) return 255;
  return static_cast<std::uint8_t>(level);
}

}  // namespace korrin_model
