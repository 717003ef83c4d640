// The maps that PathPlanner searches and simplifies on, prepared from the caller's.
//
//   PlannedMap planned(map, settings);
//   planned.refresh(map, area);
//   planned.searched(); planned.fine(); planned.grid();
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "korrin/path_planner.hpp"
#include "src/cell_area.hpp"
#include "src/cost_grid.hpp"
#include "src/obstacle_growth.hpp"

namespace Brin {

class PlannedMap {
 public:
  // Prepares all of `map`, whose image is one of floats.
  PlannedMap(const OccupancyMap& map, const PlannerSettings& settings);

  const OccupancyMap& fine() const { return fine_; }
  const OccupancyMap& searched() const { return reduced_ != nullptr ? *reduced_ : fine_; }
  const CostGrid& grid() const { return grid_; }

  // Whether this was made for maps of that size and resolution.
  bool fits(const OccupancyMap& map) const;

  // Works out anew what depends on the cells of `area` in `map`, which fits. When memory runs out,
  // nothing has changed.
  void refresh(const OccupancyMap& map, CellArea area);

 private:
  // Cells of the map that a searched cell stands for, on each side of its own.
  std::int64_t halfStep() const { return std::int64_t{stepReach_} * factor_ / 2; }
  CellArea reducedArea(CellArea fineArea) const;
  void reduce(CellArea area);
  void reduceRow(std::int32_t y, CellArea area);

  float threshold_;
  std::int32_t factor_;
  std::int32_t stepReach_;
  ObstacleGrowth growth_;
  OccupancyMap fine_;
  std::unique_ptr<OccupancyMap> reduced_;  // null: the fine one is searched
  std::vector<float> lowest_;              // of a few rows, while they are reduced
  CostGrid grid_;
};

}  // namespace Brin
