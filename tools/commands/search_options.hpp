// The options of the commands that place one scan by another.
#pragma once

#include <cstddef>

#include "korrin/pose_search.hpp"

namespace CLI {
class App;
}

namespace korrin_tool {

struct SearchOptions {
  float window = 0.5f;        // metres
  float angle = 45.0f;        // degrees
  float resolution = 0.025f;  // metres
  float angleStep = 0.5f;     // degrees
  float cutOff = 0.2f;        // metres

  Brin::PoseGrid grid() const;  // around the reference's own pose
};

void addSearchOptions(CLI::App& command, SearchOptions& options);

// A UsageError when trying all poses of the grid with that many points would take minutes.
void checkWork(const Brin::PoseGrid& grid, std::size_t points);

}  // namespace korrin_tool
