// korrin scroll: a map moved under its robot.
#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/map_image_utils.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/map_output.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

struct ScrollOptions {
  std::string map;
  std::string by;
  std::string out;
  CommandOutput output;
};

// "DX,DY", whole cells.
Brin::Point2Di parseShift(const std::string& text) {
  Brin::Point2Di shift;
  const char* const end = text.data() + text.size();
  const auto columns = std::from_chars(text.data(), end, shift.x);
  if (columns.ec == std::errc() && columns.ptr != end && *columns.ptr == ',') {
    const auto rows = std::from_chars(columns.ptr + 1, end, shift.y);
    if (rows.ec == std::errc() && rows.ptr == end) return shift;
  }
  throw UsageError("--by: must be DX,DY in whole cells, found '" + text + "'");
}

// Scrolling wants a map with a second image.
Brin::OccupancyMap withSecondImage(const Brin::OccupancyMap& map) {
  Brin::OccupancyMap copy(map.params, true);
  for (int y = 0; y < map.params.height; ++y) {
    for (int x = 0; x < map.params.width; ++x) copy.setCell(x, y, map.getCell(x, y));
  }
  return copy;
}

// The map after scrolling, with the cells that came from outside.
Canvas drawScrolled(const Brin::OccupancyMap& map, const Brin::Point2Di& shift) {
  Canvas canvas(map.params);
  canvas.drawMap(map);
  CellTint tint(canvas, 0.15);
  const auto isInside = [](std::int64_t cell, int count) { return cell >= 0 && cell < count; };
  for (int y = 0; y < map.params.height; ++y) {
    const bool rowWasInside = isInside(std::int64_t{y} - shift.y, map.params.height);
    for (int x = 0; x < map.params.width; ++x) {
      if (rowWasInside && isInside(std::int64_t{x} - shift.x, map.params.width)) continue;
      tint.fill(x, y, palette::kAccent);
    }
  }
  canvas.scaleBar();
  canvas.legend({{mix(palette::kUnknown, palette::kAccent, 0.15), "new, unknown"}});
  return canvas;
}

void runScroll(ScrollOptions& options) {
  const Brin::Point2Di shift = parseShift(options.by);
  Brin::io::MapFileFormat format;
  const Brin::OccupancyMap before = openMap(options.map, &format);
  format.image.clear();  // the cells go beside the new YAML file, under its name
  keepApart(options.output, options.out, format);
  Brin::OccupancyMap map = withSecondImage(before);
  Brin::scrollOccMapInPlace(map, shift);
  Brin::io::writeMapFile(map, options.out, format);

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map));
  output.line("written", options.out);
  output.line("origin", formatPoint(before.params.origin) + " before, " +
                            formatPoint(map.params.origin) + " after: the centre of cell (0, 0)");
  output.json["map"] = options.map;
  output.json["out"] = options.out;
  output.json["by"] = {shift.x, shift.y};
  output.json["originBefore"] = poseJson(before.params.origin);
  output.json["origin"] = poseJson(map.params.origin);
  if (output.wantsPicture()) output.savePicture(drawScrolled(map, shift));
  output.deliver();
}

}  // namespace

void addScrollCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("scroll", "Move a map's cells; what enters is unknown");
  const auto options = std::make_shared<ScrollOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command
      ->add_option("--by", options->by,
                   "columns to the right and rows up; cells keep their place in the world")
      ->required()
      ->option_text("DX,DY");
  command->add_option("-o,--out", options->out, "the map's YAML file to write")
      ->required()
      ->option_text("FILE");
  addOutputOptions(*command, options->output, "draw the scrolled map");
  command->footer(
      "Example, on the map that the demonstration writes:\n"
      "  korrin demo --out demo\n"
      "  korrin scroll demo/grid.yaml --by -100,40 -o scrolled.yaml --png picture.png");
  command->callback([options] { runScroll(*options); });
}

}  // namespace korrin_tool
