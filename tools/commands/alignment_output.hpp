// What the commands tell of an aligned log.
#pragma once

#include <vector>

#include "korrin/mapping/log_alignment.hpp"
#include "tools/commands/command_output.hpp"

namespace korrin_tool {

// Where the poses come from, how far they moved, key scans and loops, and the drift that was
// corrected. `before` are the scans as logged; there are some.
void describeAlignment(const std::vector<Brin::io::LoggedScan>& before,
                       const Brin::mapping::Alignment& aligned, CommandOutput& output);

}  // namespace korrin_tool
