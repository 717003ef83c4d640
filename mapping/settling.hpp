// The last step for a whole log: every scan is drawn to its neighbours, earlier and later ones
// alike.
#pragma once

#include <vector>

#include "korrin/core/scan.hpp"
#include "korrin/io/laser_log.hpp"
#include "korrin/mapping/progress.hpp"
#include "mapping/aligner_core.hpp"

namespace Brin::mapping {

// Fits all pairs of neighbouring key scans to each other, solves for all of them at once, and does
// so several times; then the other scans are fitted to the key scans around them (Lu and Milios
// 1997, with the fits of surface_fit.hpp). Of what the aligner linked only odometry counts. Loops
// that contradict the result are dropped.
//
// `scans` are those that were added, in their order.
void settle(AlignerCore& aligner, const std::vector<io::LoggedScan>& scans,
            const Progress& progress);

}  // namespace Brin::mapping
