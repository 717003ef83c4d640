// Scans in pictures.
#pragma once

#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"
#include "korrin/io/laser_log.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_tool {

// The frame of a picture of points (metres) with cells of `resolution` metres and `margin` metres
// around: what lies within, of at most 1,500 cells along each side, which then are larger.
Brin::OccupancyMapParams frameAround(const std::vector<Brin::Point2D>& points, float resolution,
                                     float margin);

// The nearest of these points, seen from the origin: `share` of them, from 0 to 1. Lone far hits
// would make everything else small.
std::vector<Brin::Point2D> nearestOf(std::vector<Brin::Point2D> points, double share);

// Tints the cells of `frame` that beams cross on their way to their ends, seen from `sensor`.
void tintSeen(Canvas& canvas, const Brin::OccupancyMapParams& frame,
              const std::vector<Brin::RangeReading>& readings, const Brin::Pose2D& sensor,
              Colour colour, double opacity);

// Tints the cells of `frame`, which is in the frame of `sensor`, that the scans of a log hit
// at least twice.
void tintHitsOf(Canvas& canvas, const Brin::OccupancyMapParams& frame,
                const std::vector<Brin::io::LoggedScan>& scans, const Brin::Pose2D& sensor,
                Colour colour);

// Points seen from `sensor`, as dots.
void drawPoints(Canvas& canvas, const std::vector<Brin::Point2D>& points,
                const Brin::Pose2D& sensor, double radius, Colour colour);

}  // namespace korrin_tool
