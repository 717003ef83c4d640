// The scan that a log's scanner would take in a map, at a pose that is thus known exactly.
//
//   Brin::io::LoggedScan simulated = korrin_tool::rescanned(log.scans[20], map, 0.02f);
//
// Beams run through the map as it stands, from the pose itself and not from its cell's middle, so
// that what is simulated knows nothing of how the library walks cells.
#pragma once

#include "korrin/core/occupancy_map.hpp"
#include "korrin/io/laser_log.hpp"

namespace korrin_tool {

// The same beams from the same pose, each to the first occupied cell of the map (value below 0.25)
// or, with status 1 and weight 0, to its border. Ranges have normal noise of this `deviation` in
// metres, drawn anew for each line of a log but the same in every run, and are rounded to a
// centimetre.
Brin::io::LoggedScan rescanned(const Brin::io::LoggedScan& logged, const Brin::OccupancyMap& map,
                               float deviation);

}  // namespace korrin_tool
