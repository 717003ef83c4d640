// korrin demo: everything once, on a floor plan of the program's own.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "io/write_file.hpp"
#include "korrin/io/map_file.hpp"
#include "tools/commands/commands.hpp"
#include "tools/demo/demo.hpp"
#include "tools/pictures/report.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

void makeDirectory(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (!std::filesystem::is_directory(path)) {
    throw UsageError("--out: cannot make the directory '" + path + "'");
  }
}

void runDemo(const std::string& directory) {
  makeDirectory(directory);
  const auto inDirectory = [&](const std::string& name) {
    return (std::filesystem::path(directory) / name).string();
  };
  DemoState state;
  const std::vector<DemoPicture> pictures = runSections(state);

  Report report("A robot finds its way",
                "A simulated robot with a laser scanner drives through an unknown building, builds "
                "an occupancy grid of it, grows the obstacles and plans a path on the result.");
  report.addTable(state.table);
  for (const DemoPicture& picture : pictures) {
    const std::vector<std::uint8_t> png = picture.canvas.png();
    Brin::io::writeFile(inDirectory(picture.fileName), png);
    report.addPicture(picture.heading, picture.caption, png);
  }
  Brin::io::writeMapFile(state.floor.map, inDirectory("floorplan.yaml"));
  Brin::io::writeMapFile(state.grid, inDirectory("grid.yaml"));
  report.save(inDirectory("report.html"));
  state.table.print(std::cout);
  std::cout << "\nsee " << inDirectory("report.html") << '\n';
}

}  // namespace

void addDemoCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand(
      "demo", "Map a made-up building with a simulated robot and plan through it");
  const auto directory = std::make_shared<std::string>("korrin-demo");
  command->add_option("--out", *directory, "where the pictures, maps and report.html go")
      ->capture_default_str();
  command->footer(
      "Example:\n"
      "  korrin demo --out demo");
  command->callback([directory] { runDemo(*directory); });
}

}  // namespace korrin_tool
