// What a command gives back: lines for people, JSON for scripts, a picture.
//
//   CommandOutput output;
//   addOutputOptions(command, output, "draw the scan");
//   ...
//   output.line("hits", "120 of 181");
//   output.json["hits"] = 120;
//   if (output.wantsPicture()) output.savePicture(drawScan());
//   output.deliver();
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "korrin/core/geometry.hpp"
#include "korrin/core/occupancy_map.hpp"
#include "tools/format.hpp"
#include "tools/json_numbers.hpp"
#include "tools/pictures/canvas.hpp"

namespace CLI {
class App;
}

namespace korrin_tool {

struct CommandOutput {
  std::string png;       // files, from the command line; empty when not wanted
  std::string jsonFile;  // "-" is standard output
  nlohmann::ordered_json json;
  Table table;  // printed below the lines, when it has rows

  bool wantsPicture() const { return !png.empty(); }
  void line(const std::string& name, const std::string& text);

  // Writes the picture that is wanted, and tells its scale: in the JSON in any case, in a line when
  // the map was too large for a pixel a cell.
  void savePicture(const Canvas& canvas);

  // Writes the JSON where it is wanted; standard output gets either that or the lines and the
  // table. A file that cannot be written is a FileError that names it.
  void deliver() const;

 private:
  std::vector<std::pair<std::string, std::string>> lines_;
};

// Adds --png and --json.
void addOutputOptions(CLI::App& command, CommandOutput& output, const std::string& pictureHelp);

// A picture's file and its pixels along the side of a cell, fewer than 1 when cells share them.
nlohmann::ordered_json pictureJson(const std::string& path, const Canvas& canvas);
// "drawn at 1/2 of the map's cells"; empty when no cell shares its pixel.
std::string reductionText(const Canvas& canvas);
// "100 x 80 cells of 0.05 m".
std::string cellsText(const Brin::OccupancyMapParams& map);
// "(1.00, 2.00), heading 30.0 deg".
std::string poseText(const Brin::Pose2D& pose);

}  // namespace korrin_tool
