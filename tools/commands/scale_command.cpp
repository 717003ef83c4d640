// korrin scale: a map with its probabilities scaled about the unknown value.
#include <CLI/CLI.hpp>
#include <memory>

#include "korrin/io/map_file.hpp"
#include "korrin/map_image_utils.hpp"
#include "tools/commands/arguments.hpp"
#include "tools/commands/command_output.hpp"
#include "tools/commands/commands.hpp"
#include "tools/commands/map_output.hpp"
#include "tools/open_map.hpp"
#include "tools/pictures/canvas.hpp"

namespace korrin_tool {
namespace {

struct ScaleOptions {
  std::string map;
  std::string out;
  float factor = 1.0f;
  CommandOutput output;
};

void runScale(ScaleOptions& options) {
  keepApart(options.output, options.out, greyFormat());
  const Brin::OccupancyMap before = openMap(options.map);
  Brin::OccupancyMap map(before);
  Brin::occMapMultiplyProb(map, options.factor);
  Brin::io::writeMapFile(map, options.out, greyFormat());

  CommandOutput& output = options.output;
  output.line("map", options.map + ", " + cellsText(map));
  output.line("written", options.out);
  output.line("factor", formatShort(options.factor));
  output.json["map"] = options.map;
  output.json["out"] = options.out;
  output.json["factor"] = numberJson(options.factor);
  describeCells(before, map, output);
  if (output.wantsPicture()) {
    Canvas canvas(map.params);
    canvas.drawMap(map);
    canvas.scaleBar();
    output.savePicture(canvas);
  }
  output.deliver();
}

}  // namespace

void addScaleCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("scale", "Scale a map's probabilities about the unknown value, 0.5");
  const auto options = std::make_shared<ScaleOptions>();
  command->add_option("map", options->map, "the map's YAML file")->required();
  command
      ->add_option(
          "--factor", options->factor,
          "below 1 towards unknown, above 1 away from it, negative swaps free and occupied")
      ->required()
      ->check(between(-1e6f, 1e6f))
      ->option_text("F");
  command->add_option("-o,--out", options->out, "the map's YAML file to write")
      ->required()
      ->option_text("FILE");
  addOutputOptions(*command, options->output, "draw the scaled map");
  command->footer(
      "The map is written with all its grey levels (mode scale). Example, on the map that the "
      "demonstration writes:\n"
      "  korrin demo --out demo\n"
      "  korrin scale demo/grid.yaml --factor 0.5 -o faded.yaml --png picture.png");
  command->callback([options] { runScale(*options); });
}

}  // namespace korrin_tool
