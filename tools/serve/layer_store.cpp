#include "tools/serve/layer_store.hpp"

#include "tools/json_numbers.hpp"
#include "tools/serve/limits.hpp"

namespace korrin_tool::serve {

std::shared_ptr<const Layer> LayerStore::add(Layer layer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  layer.id = "l" + std::to_string(++added_);
  layers_.push_front(std::make_shared<const Layer>(std::move(layer)));
  if (layers_.size() > kLayers) layers_.pop_back();
  return layers_.front();
}

std::shared_ptr<const Layer> LayerStore::find(const std::string& id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (auto layer = layers_.begin(); layer != layers_.end(); ++layer) {
    if ((*layer)->id != id) continue;
    layers_.splice(layers_.begin(), layers_, layer);
    return layers_.front();
  }
  return nullptr;
}

Json gridJson(const Brin::OccupancyMapParams& grid) {
  return {{"width", grid.width},
          {"height", grid.height},
          {"resolution", numberJson(grid.resolution)},
          {"origin", poseJson(grid.origin)},
          {"tileSize", kTileSide},
          {"levels", tileLevels(grid)}};
}

Json layerJson(const Layer& layer) {
  Json json = {{"id", layer.id}, {"kind", layer.kind}};
  layer.grid->read([&](const Brin::OccupancyMap& map, std::int64_t revision) {
    json.update(gridJson(map.params));
    json["scale"] = numberJson(layer.style.scale);
    json["revision"] = revision;
  });
  return json;
}

}  // namespace korrin_tool::serve
