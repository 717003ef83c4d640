// How long work tells how far it has come.
//
//   Brin::mapping::alignLog(scans, {}, [](double share) { draw(share); });
#pragma once

#include <functional>

namespace Brin::mapping {

// Called now and then, from the calling thread, with the share of the work that is done: from 0 to
// 1, never less than before, and 1 at the end. An empty one is not called. What it throws ends the
// work and reaches the caller.
using Progress = std::function<void(double)>;

}  // namespace Brin::mapping
