// Our maps, poses and scans in MRPT's types. Its grids hold the probability of being free, too, as
// log odds of 8 bits.
#pragma once

#include <mrpt/maps/COccupancyGridMap2D.h>
#include <mrpt/obs/CObservation2DRangeScan.h>
#include <mrpt/poses/CPose2D.h>

#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/core/scan.hpp"

namespace korrin_peers {

// A grid of the same cells in the same place; `map` must not be turned.
mrpt::maps::COccupancyGridMap2D mrptGrid(const Brin::OccupancyMap& map);

mrpt::poses::CPose2D mrptPose(const Brin::Pose2D& pose);

// An empty observation of a scanner of `fieldOfView` radians around its heading.
mrpt::obs::CObservation2DRangeScan mrptScanner(float fieldOfView, float maxRange);

// The readings as such a scanner's observation; those of status 1 are marked invalid.
mrpt::obs::CObservation2DRangeScan mrptScan(const std::vector<Brin::RangeReading>& readings,
                                            float fieldOfView, float maxRange);

}  // namespace korrin_peers
