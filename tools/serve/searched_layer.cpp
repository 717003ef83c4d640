#include "tools/serve/searched_layer.hpp"

#include <algorithm>

#include "tools/planning.hpp"

namespace korrin_tool::serve {

std::shared_ptr<const Layer> searchedLayer(const Brin::PathPlanner& planner,
                                           const Brin::Pose2Di& start, const Brin::Pose2Di& goal,
                                           std::int64_t revision, World& world) {
  const Search search = [&] {
    const std::lock_guard<std::mutex> lock(world.finderMutex);
    return searchBetween(planner, start, goal);
  }();
  auto order = std::make_shared<Brin::OccupancyMap>(search.grid, false);
  order->reset(-1.0f);
  float place = 0.0f;
  for (const Brin::Pose2Di& cell : search.explored) order->setCell(cell.x, cell.y, place++);
  const TileStyle style{TileRule::Lowest, std::max(1.0f, place - 1.0f), 0.0f};
  return world.layers.add({"", "searched", style, std::make_shared<StillGrid>(order, revision)});
}

}  // namespace korrin_tool::serve
