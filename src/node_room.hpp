// Room for the nodes of a search, in two steps: for a short plan, then for one node a cell.
//
//   if (nodes.size() == nodes.capacity()) makeNodeRoom(nodes, cells);
//
// A vector left to itself doubles, and so a large search would write to more than twice the memory
// that its nodes need. Of fresh memory every page has to be made first, which took as long as the
// search. Room for all cells takes addresses; memory only where nodes are.
#pragma once

#include <cstddef>
#include <vector>

#include "korrin/occmap_path_finder.hpp"

namespace Brin {

// Makes room for at least one more of at most `cells` nodes. Where all of it cannot be had, the
// room doubles; bad_alloc where that cannot be had either, with `nodes` as they were.
void makeNodeRoom(std::vector<OccMapPathFinder::Node>& nodes, std::size_t cells);

}  // namespace Brin
