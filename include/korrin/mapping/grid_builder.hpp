// A grid from logged scans, and how well it explains them.
//
//   auto frame = Brin::mapping::gridAround(scans, 0.05f);
//   Brin::OccupancyMap map = Brin::mapping::buildGrid(scans, *frame);
//   Brin::mapping::GridQuality quality = Brin::mapping::judgeGrid(map, scans);
//
// Cells of such a grid are 1 (free), 0 (occupied) or 0.5 (unknown).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "korrin/core/export.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/laser_log.hpp"
#include "korrin/mapping/progress.hpp"

namespace Brin::mapping {

// The frame of a grid that holds every scan's pose and beams' ends, with a margin of half a metre,
// its cells' borders at multiples of `resolution`. Nothing when that would be more than 50 million
// cells. Beams of weight 0 do not count.
KORRIN_EXPORT std::optional<OccupancyMapParams> gridAround(const std::vector<io::LoggedScan>& scans,
                                                           float resolution);

// The grid of these scans, at their own poses: each beam makes the cells it crosses a little freer
// and lowers the one it hits more. In the end a cell is occupied when hits prevail and free when it
// was crossed at least twice beyond that, or nearly all around it is free; what only a lone beam
// crossed stays unknown.
KORRIN_EXPORT OccupancyMap buildGrid(const std::vector<io::LoggedScan>& scans,
                                     const OccupancyMapParams& frame,
                                     const Progress& progress = {});

// The part of a grid that is of use: the free cells with one metre around. What single beams hit
// far out, through a window, is left away. A grid without free cells comes back whole.
KORRIN_EXPORT OccupancyMap croppedToFree(const OccupancyMap& map);

// How well a grid explains scans.
struct GridQuality {
  std::size_t occupiedCells = 0;  // of the grid
  std::size_t freeCells = 0;      // of the grid
  std::size_t scansCompared = 0;  // how many scans the likelihood is the mean of
  // How well ranges simulated in the grid agree with the measured ones: the mean, over scans
  // spread evenly, of ScanModel::scanLikelihood with a deviation of two cells. At most 1.
  double likelihood = 0.0;
};

// Compares the grid with at most about `samples` of the scans; below 1, with one.
KORRIN_EXPORT GridQuality judgeGrid(const OccupancyMap& map,
                                    const std::vector<io::LoggedScan>& scans,
                                    std::int32_t samples = 200);

}  // namespace Brin::mapping
