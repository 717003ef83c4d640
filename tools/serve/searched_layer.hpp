// The layer that shows in which order a search took cells.
#pragma once

#include "tools/serve/world.hpp"

namespace korrin_tool::serve {

// Searches once more, between cells of the planner's grownMap(), and adds the layer: each cell that
// was searched has its place in the order, from 0 on, all others have -1.
std::shared_ptr<const Layer> searchedLayer(const Brin::PathPlanner& planner,
                                           const Brin::Pose2Di& start, const Brin::Pose2Di& goal,
                                           std::int64_t revision, World& world);

}  // namespace korrin_tool::serve
