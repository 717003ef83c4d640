// A grid from logged scans, and how well it explains them.
//
//   auto frame = korrin_tool::gridAround(log.scans, 0.05f);
//   Brin::OccupancyMap map = korrin_tool::buildGrid(log.scans, *frame);
//   korrin_tool::GridQuality quality = korrin_tool::judgeGrid(map, log.scans);
//
// Cells of such a grid are 1 (free), 0 (occupied) or 0.5 (unknown).
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/laser_log.hpp"

namespace korrin_tool {

// Called now and then with the share of the work that is done, from 0 to 1.
using Progress = std::function<void(double)>;

// The frame of a grid that holds every scan's pose and beams' ends, with a margin of half a metre,
// its cells' borders at multiples of `resolution`. Nothing when that would be more than 50 million
// cells. Beams of weight 0 do not count.
std::optional<Brin::OccupancyMapParams> gridAround(const std::vector<Brin::io::LoggedScan>& scans,
                                                   float resolution);

// The grid of these scans, at their own poses: each beam makes the cells it crosses a little freer
// and lowers the one it hits more. In the end a cell is occupied when hits prevail and free when it
// was crossed at least twice beyond that, or nearly all around it is free; what only a lone beam
// crossed stays unknown.
Brin::OccupancyMap buildGrid(const std::vector<Brin::io::LoggedScan>& scans,
                             const Brin::OccupancyMapParams& frame, const Progress& progress = {});

// The part of a grid that is of use: the free cells with one metre around. What single beams hit
// far out, through a window, is left away. A grid without free cells comes back whole.
Brin::OccupancyMap croppedToFree(const Brin::OccupancyMap& map);

struct GridQuality {
  std::size_t occupiedCells = 0;
  std::size_t freeCells = 0;
  std::size_t scansCompared = 0;
  // How well ranges simulated in the grid agree with the measured ones: the mean, over scans
  // spread evenly, of ScanModel::scanLikelihood with a deviation of two cells. At most 1.
  double likelihood = 0.0;
};

// Compares the grid with at most about `samples` of the scans.
GridQuality judgeGrid(const Brin::OccupancyMap& map, const std::vector<Brin::io::LoggedScan>& scans,
                      std::size_t samples = 200);

}  // namespace korrin_tool
