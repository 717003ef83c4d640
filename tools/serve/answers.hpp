// The answers, one function a kind of request. Each takes what was asked and the world, and gives
// what clients get; docs/serve.md shows examples. What cannot be answered is a Refusal.
#pragma once

#include <string>

#include "tools/serve/fields.hpp"
#include "tools/serve/reply.hpp"
#include "tools/serve/requests.hpp"
#include "tools/serve/world.hpp"

namespace korrin_tool::serve {

// map_answers.cpp
Json mapAnswer(World& world);
Json cellAnswer(const CellRequest& request, World& world);

// tile_answers.cpp
Reply tileAnswer(const std::string& layer, int level, int x, int y, World& world);
Json layerAnswer(const LayerRequest& request, World& world);

// plan_answers.cpp
Json planAnswer(const PlanRequest& request, World& world);

// scan_answers.cpp
Json scanAnswer(const ScanRequest& request, World& world);

// locate_answers.cpp
Json locateAnswer(const LocateRequest& request, World& world);

// draw_answers.cpp
Json drawAnswer(const std::vector<Stroke>& strokes, World& world);
Json undoAnswer(World& world);
Reply downloadAnswer(const std::string& file, World& world);

// log_answers.cpp
Json scansAnswer(World& world);
Json loggedScanAnswer(std::size_t number, World& world);

}  // namespace korrin_tool::serve
