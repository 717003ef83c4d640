#include <memory>

#include "tools/commands.hpp"
#include "tools/map_file.hpp"

namespace korrin_tool {

void addPlanCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("plan", "Plan a path on a map file");
  auto map = std::make_shared<std::string>();
  command->add_option("map", *map, "the map's YAML file")->required();
  command->callback([map] { readMapFile(*map); });
}

}  // namespace korrin_tool
