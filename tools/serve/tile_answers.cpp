#include <cmath>
#include <limits>

#include "korrin/obstacle_dilater.hpp"
#include "tools/serve/answers.hpp"
#include "tools/serve/refusal.hpp"
#include "tools/serve/searched_layer.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {
namespace {

constexpr float kNoObstacle = 8192.0f;  // cells: the distance where there is none at all

using Grid = std::shared_ptr<const Brin::OccupancyMap>;

// The highest value that is one; 1 when there is none above 0.
float scaleOf(const Brin::OccupancyMap& map) {
  float highest = 0.0f;
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) {
      const float value = map.getCell(x, y);
      if (std::isfinite(value) && value > highest) highest = value;
    }
  }
  return highest > 0.0f ? highest : 1.0f;
}

// Metres to the nearest obstacle, infinite where there is none.
Grid distanceMap(const Brin::OccupancyMap& map, float threshold) {
  Brin::OccupancyMap grown = map;
  Brin::ObstacleDilater dilater(map.params.width, map.params.height);
  dilater.setObstProbThreshold(threshold);
  dilater.setParams(0.0f, 1.0f);
  dilater.dilate(grown, Brin::ObstacleDilater::DILATE_LINEAR);
  for (int y = 0; y < map.params.height; ++y) {
    const char* const row =
        dilater.distImage->imageData + std::ptrdiff_t{y} * dilater.distImage->widthStep;
    for (int x = 0; x < map.params.width; ++x) {
      const float cells = reinterpret_cast<const float*>(row)[x];
      grown.setCell(x, y,
                    cells >= kNoObstacle ? std::numeric_limits<float>::infinity()
                                         : cells * map.params.resolution);
    }
  }
  return std::make_shared<const Brin::OccupancyMap>(std::move(grown));
}

std::shared_ptr<const Layer> addValues(const std::string& kind, Grid grid, std::int64_t revision,
                                       World& world) {
  const TileStyle style{TileRule::Lowest, scaleOf(*grid), 0.0f};
  return world.layers.add(
      {"", kind, style, std::make_shared<StillGrid>(std::move(grid), revision)});
}

std::shared_ptr<const Layer> addLayer(const LayerRequest& request, World& world) {
  const auto state = world.maps.current();
  if (request.kind == LayerKind::Distance) {
    return addValues("distance", distanceMap(state->map, request.settings.obstacleThreshold),
                     state->revision, world);
  }
  const Planners::Pointer planner = world.plannerOn(*state, request.settings).value;
  const Brin::OccupancyMap& grown = planner->grownMap();
  if (request.kind == LayerKind::Grown) {
    const TileStyle style{TileRule::Grown, 1.0f, request.settings.obstacleThreshold};
    const Grid shared(planner, &grown);  // the planner's own, which lives as long
    return world.layers.add(
        {"", "grown", style, std::make_shared<StillGrid>(shared, state->revision)});
  }
  if (request.kind == LayerKind::Cost) {
    return addValues("cost",
                     std::make_shared<const Brin::OccupancyMap>(planner->costField(request.goal)),
                     state->revision, world);
  }
  return searchedLayer(*planner, grown.getPixelFromPose(request.start),
                       grown.getPixelFromPose(request.goal), state->revision, world);
}

}  // namespace

Json layerAnswer(const LayerRequest& request, World& world) {
  const Timer stopwatch;
  const auto layer = addLayer(request, world);
  return {{"layer", layerJson(*layer)}, {"milliseconds", stopwatch.milliseconds()}};
}

Reply tileAnswer(const std::string& id, int level, int x, int y, World& world) {
  Reply reply;
  reply.type = "application/octet-stream";
  std::int64_t revision = 0;
  if (id == "map") {
    const auto state = world.maps.current();
    revision = state->revision;
    reply.body = tileOf(state->map, {}, level, x, y);
  } else {
    const auto layer = world.layers.find(id);
    if (layer == nullptr) throw Refusal(404, "there is no such layer, or not any more");
    layer->grid->read([&](const Brin::OccupancyMap& map, std::int64_t now) {
      revision = now;
      reply.body = tileOf(map, layer->style, level, x, y);
    });
  }
  if (reply.body.empty()) throw Refusal(404, "there is no such tile");
  reply.headers.emplace_back("X-Korrin-Revision", std::to_string(revision));
  return reply;
}

}  // namespace korrin_tool::serve
