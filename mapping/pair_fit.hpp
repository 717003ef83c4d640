// The motion between two key scans whose poses are nearly right, and loops of that kind.
#pragma once

#include <optional>
#include <vector>

#include "mapping/key_graph.hpp"

namespace Brin::mapping {

// Fits `to` to `from`, from where the graph has them on. Directions in which the scans tell little
// stay as the graph has them, and count for little in the information. Nothing when fewer than 30
// points, or less than `share` of them, lie on lines in the end.
std::optional<KeyLink> fittedPair(const KeyGraph& graph, std::size_t from, std::size_t to,
                                  double share);

// Loops from `key` to up to four of the nearest earlier key scans that the graph is sure to be
// near; those of the last metres of the way are left out.
std::vector<KeyLink> nearLoops(const KeyGraph& graph, std::size_t key,
                               const std::vector<SeenKey>& seen);

// Whether the graph is sure enough of a key scan's place to fit it with no search.
bool isSure(const SeenKey& seen);

// Metres of the way before which nothing counts as found again.
constexpr double kRecentWay = 4.0;

}  // namespace Brin::mapping
