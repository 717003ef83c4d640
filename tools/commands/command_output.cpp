#include "tools/commands/command_output.hpp"

#include <CLI/CLI.hpp>
#include <iostream>

#include "io/write_file.hpp"

namespace korrin_tool {

using Json = nlohmann::ordered_json;

void CommandOutput::line(const std::string& name, const std::string& text) {
  lines_.emplace_back(name, text);
}

void CommandOutput::savePicture(const Canvas& canvas) {
  canvas.save(png);
  json["picture"] = pictureJson(png, canvas);
  const std::string reduction = reductionText(canvas);
  if (!reduction.empty()) line("picture", reduction);
}

void CommandOutput::deliver() const {
  const std::string text = json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
  if (jsonFile == "-") {
    std::cout << text;
    return;
  }
  if (!jsonFile.empty()) Brin::io::writeFile(jsonFile, text);
  constexpr std::size_t kNameWidth = 12;
  for (const auto& [name, content] : lines_) {
    const std::size_t gap = name.size() < kNameWidth ? kNameWidth - name.size() : 1;
    std::cout << name << std::string(gap, ' ') << content << '\n';
  }
  if (table.rows.empty()) return;
  if (!lines_.empty()) std::cout << '\n';
  table.print(std::cout);
}

void addOutputOptions(CLI::App& command, CommandOutput& output, const std::string& pictureHelp) {
  command.add_option("--png", output.png, pictureHelp)->option_text("FILE");
  command.add_option("--json", output.jsonFile, "write the result as JSON; - is standard output")
      ->option_text("FILE");
}

Json pictureJson(const std::string& path, const Canvas& canvas) {
  return {{"file", path}, {"pixelsPerCell", canvas.pixelsPerCell()}};
}

std::string reductionText(const Canvas& canvas) {
  if (canvas.cellsPerPixel() == 1) return "";
  return "drawn at 1/" + formatCount(canvas.cellsPerPixel()) + " of the map's cells";
}

std::string cellsText(const Brin::OccupancyMapParams& map) {
  return formatCount(map.width) + " x " + formatCount(map.height) + " cells of " +
         formatShort(map.resolution) + " m";
}

std::string poseText(const Brin::Pose2D& pose) {
  return formatPoint(pose) + ", heading " + formatDegrees(pose.theta);
}

}  // namespace korrin_tool
