// Plans as JSON.
#pragma once

#include <vector>

#include "korrin/path_planner.hpp"
#include "tools/serve/fields.hpp"

namespace korrin_tool::serve {

// "found", "startBlocked", "goalBlocked" or "noPath".
const char* nameOf(Brin::PlanOutcome outcome);

// [[x, y], ...].
Json pointsJson(const std::vector<Brin::Pose2D>& poses);

// Why which end is blocked; null when none is.
Json blockedJson(const Brin::Plan& plan);

}  // namespace korrin_tool::serve
