// Where a robot that explores goes next.
#pragma once

#include <optional>
#include <unordered_set>

#include "korrin/path_planner.hpp"

namespace korrin_tool::serve {

// Whether no beam has come to a cell of that value: such cells stand at 0.5, as all do first.
bool isUnseen(float value);

struct Frontier {
  Brin::Pose2Di goal;    // a cell that the robot can reach
  Brin::Pose2Di unseen;  // the cell it is there for
};

// Numbers of cells, row * columns + column.
using CellSet = std::unordered_set<std::int64_t>;

// The unseen cell that is nearest to `start`, with at least four unseen ones around it: single ones
// are what remains between beams. Nearest in steps to adjacent cells: over cells that are free to
// the planner, and from the last of these over cells of `known` that are free but too near to an
// obstacle for the robot, as far as its radius reaches. Cells of `givenUp` do not count. Nothing
// when there is none. The planner is one on `known` that does not reduce it. Linear in the cells.
std::optional<Frontier> nearestFrontier(const Brin::OccupancyMap& known,
                                        const Brin::PathPlanner& planner,
                                        const Brin::Pose2Di& start, const CellSet& givenUp);

}  // namespace korrin_tool::serve
