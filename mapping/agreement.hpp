// Whether scans laid over each other can be of one place: hits should lie on hits, and none where
// another scan looked through.
#pragma once

#include <vector>

#include "mapping/frame.hpp"
#include "mapping/scan_surface.hpp"

namespace Brin::mapping {

// A scan, and where it lies.
struct PlacedSurface {
  const ScanSurface* surface = nullptr;  // borrowed
  Frame frame;
};

// What became of points.
struct Agreement {
  int points = 0;
  int matched = 0;   // near a hit of another scan
  int violated = 0;  // not so, and another scan looked through there

  // Of the points that another scan tells anything of, the share that it agrees with; 0 if none.
  double ratio() const;

  // The share of all points that are matched.
  double share() const;
};

// What `references` say of the points of `scans`, all of them in one frame. Every `stride`-th point
// is asked.
Agreement agreementOf(const std::vector<PlacedSurface>& scans,
                      const std::vector<PlacedSurface>& references, std::size_t stride);

}  // namespace Brin::mapping
