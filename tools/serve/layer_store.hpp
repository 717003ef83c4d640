// What can be looked at besides the map: values on a grid, each layer under an id of its own.
//
//   LayerStore layers;
//   const Json described = layerJson(*layers.add({...}));
//   const auto layer = layers.find("l12");    // null once it is dropped
//
// The newest are kept, and of these whatever was looked at last is dropped last. Safe from any
// threads.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "korrin/core/occupancy_map.hpp"
#include "tools/serve/fields.hpp"
#include "tools/serve/tile.hpp"

namespace korrin_tool::serve {

// A grid that may change while it is looked at.
class LayerGrid {
 public:
  using Reader = std::function<void(const Brin::OccupancyMap& map, std::int64_t revision)>;

  virtual ~LayerGrid() = default;

  // Shows it to `reader`; meanwhile it stays as it is.
  virtual void read(const Reader& reader) const = 0;
};

// One that does not.
class StillGrid : public LayerGrid {
 public:
  StillGrid(std::shared_ptr<const Brin::OccupancyMap> map, std::int64_t revision)
      : map_(std::move(map)), revision_(revision) {}

  void read(const Reader& reader) const override { reader(*map_, revision_); }

 private:
  std::shared_ptr<const Brin::OccupancyMap> map_;
  std::int64_t revision_;
};

struct Layer {
  std::string id;    // given by the store
  std::string kind;  // "grown" and so on
  TileStyle style;
  std::shared_ptr<const LayerGrid> grid;
};

class LayerStore {
 public:
  std::shared_ptr<const Layer> add(Layer layer);
  std::shared_ptr<const Layer> find(const std::string& id);

 private:
  std::mutex mutex_;
  std::list<std::shared_ptr<const Layer>> layers_;  // what was looked at last comes first
  std::int64_t added_ = 0;
};

// Geometry and scale of a layer, as clients get them.
Json layerJson(const Layer& layer);

// Size, resolution, origin and levels of a grid.
Json gridJson(const Brin::OccupancyMapParams& grid);

}  // namespace korrin_tool::serve
