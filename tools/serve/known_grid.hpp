// What a robot knows: a grid that it builds from its scans alone.
#pragma once

#include <mutex>
#include <vector>

#include "korrin/core/scan.hpp"
#include "tools/serve/layer_store.hpp"
#include "tools/serve/map_store.hpp"

namespace korrin_tool::serve {

class KnownGrid : public LayerGrid {
 public:
  // All unknown, with the geometry of `params`.
  explicit KnownGrid(const Brin::OccupancyMapParams& params);

  void read(const Reader& reader) const override;

  // For the one thread that adds scans.
  const Brin::OccupancyMap& map() const { return map_; }
  std::int64_t revision() const { return revision_; }
  std::int64_t knownCells() const { return knownCells_; }

  // Brings in a scan that was taken at `pose`; where cells have changed.
  CellRectangle add(const std::vector<Brin::RangeReading>& readings, const Brin::Pose2D& pose);

 private:
  CellRectangle reachOf(const std::vector<Brin::RangeReading>& readings,
                        const Brin::Pose2D& pose) const;

  mutable std::mutex mutex_;
  Brin::OccupancyMap map_;
  std::int64_t revision_ = 0;
  std::int64_t knownCells_ = 0;
};

}  // namespace korrin_tool::serve
