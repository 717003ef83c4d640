#include "src/node_room.hpp"

#include <algorithm>
#include <limits>
#include <new>

#include "core/huge_pages.hpp"

namespace Brin {
namespace {

using Node = OccMapPathFinder::Node;

constexpr std::size_t kShortPlan = std::size_t{1} << 16;

// A share of the addresses that a program of 32 bits can spare.
constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / 16 / sizeof(Node);

std::size_t nextRoom(std::size_t room, std::size_t cells) {
  return std::min(cells, room < kShortPlan ? kShortPlan : kMost);
}

// But not for the first 4 megabytes: what a huge page takes too much should be little of the whole.
void useHugePagesFurtherOn(const std::vector<Node>& nodes) {
  constexpr std::size_t kOnSmallPages = 2 * kHugePage / sizeof(Node);
  if (nodes.capacity() <= kOnSmallPages) return;
  wishForHugePages(nodes.data() + kOnSmallPages, nodes.data() + nodes.capacity());
}

}  // namespace

void makeNodeRoom(std::vector<Node>& nodes, std::size_t cells) {
  const std::size_t twice = std::min(cells, 2 * nodes.capacity());
  try {
    nodes.reserve(std::max(twice, nextRoom(nodes.capacity(), cells)));
  } catch (const std::bad_alloc&) {
    nodes.reserve(twice);
  }
  useHugePagesFurtherOn(nodes);
}

}  // namespace Brin
