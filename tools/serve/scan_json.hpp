// Scans as JSON.
#pragma once

#include <vector>

#include "korrin/core/scan.hpp"
#include "tools/serve/fields.hpp"

namespace korrin_tool::serve {

// Adds "angles", "ranges" and "hits" (1 where a beam met something), beam by beam.
void addBeams(const std::vector<Brin::RangeReading>& readings, Json& json);

}  // namespace korrin_tool::serve
