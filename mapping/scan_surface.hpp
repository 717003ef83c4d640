// What a scan saw, as points with the direction of the surface they lie on: the form in which scans
// are fitted to each other.
#pragma once

#include <vector>

#include "korrin/core/scan.hpp"

namespace Brin::mapping {

// A hit, in the sensor's frame.
struct SurfacePoint {
  double x = 0.0;
  double y = 0.0;
  double normalX =
      0.0;  // of length 1, towards the sensor; both 0 where the neighbours form no line
  double normalY = 0.0;
  double bearing = 0.0;  // radians, in (-pi, pi]
  double range = 0.0;    // metres

  bool hasNormal() const { return normalX != 0.0 || normalY != 0.0; }
};

class ScanSurface {
 public:
  ScanSurface() = default;

  // The hits (status 0, a weight above 0) from 5 cm to `maxRange` metres, at most 2000 of them,
  // evenly chosen. Readings that are not numbers are left out.
  ScanSurface(const Scan& scan, double maxRange);

  // Ordered by bearing.
  const std::vector<SurfacePoint>& points() const { return points_; }

  // The point nearest to (x, y), less than `within` metres away; null when there is none. The first
  // of equals. Time: the logarithm of the points, and those in the sector that may hold it.
  const SurfacePoint* nearest(double x, double y, double within) const;

  // Whether the scan looked through (x, y): the two beams beside it are close to each other, and
  // both end more than `margin` metres behind it.
  bool looksThrough(double x, double y, double margin) const;

 private:
  void findNormals();
  double typicalStep() const;

  std::vector<SurfacePoint> points_;
};

}  // namespace Brin::mapping
