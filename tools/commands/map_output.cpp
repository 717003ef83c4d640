#include "tools/commands/map_output.hpp"

#include <cstdint>
#include <filesystem>

#include "tools/usage_error.hpp"

namespace korrin_tool {

Brin::io::MapFileFormat greyFormat() {
  Brin::io::MapFileFormat format;
  format.mode = Brin::io::MapMode::Scale;
  format.occupiedThreshold = 1.0;
  format.freeThreshold = 0.0;
  return format;
}

void keepApart(const CommandOutput& output, const std::string& yamlPath,
               const Brin::io::MapFileFormat& format) {
  namespace fs = std::filesystem;
  if (!output.wantsPicture()) return;
  const char* const extension = format.mode == Brin::io::MapMode::Scale ? ".png" : ".pgm";
  const fs::path cells = fs::path(yamlPath).replace_extension(extension);
  if (fs::weakly_canonical(output.png) == fs::weakly_canonical(cells)) {
    throw UsageError("--png: '" + output.png + "' is where the cells of the map go");
  }
}

void describeCells(const Brin::OccupancyMap& before, const Brin::OccupancyMap& after,
                   CommandOutput& output) {
  std::int64_t changed = 0;
  double sumBefore = 0.0;
  double sumAfter = 0.0;
  for (int y = 0; y < after.params.height; ++y) {
    for (int x = 0; x < after.params.width; ++x) {
      const float was = before.getCell(x, y);
      const float is = after.getCell(x, y);
      if (was != is) ++changed;
      sumBefore += was;
      sumAfter += is;
    }
  }
  const std::int64_t cells = std::int64_t{after.params.width} * after.params.height;
  const double count = static_cast<double>(cells > 0 ? cells : 1);
  output.line("changed", formatCount(changed) + " of " + formatCount(cells) + " cells");
  output.line("mean value", formatNumber(sumBefore / count, 3) + " before, " +
                                formatNumber(sumAfter / count, 3) + " after");
  output.json["cells"] = cells;
  output.json["changedCells"] = changed;
  output.json["meanBefore"] = sumBefore / count;
  output.json["meanAfter"] = sumAfter / count;
}

}  // namespace korrin_tool
