// The commands that need korrin::mapping, in a program that is built without it: each says so.
#include <CLI/CLI.hpp>
#include <string>

#include "tools/commands/commands.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool {
namespace {

void addUnbuilt(CLI::App& app, const std::string& name) {
  CLI::App* command =
      app.add_subcommand(name, "Not in this program, which is built without korrin::mapping");
  command->allow_extras();
  command->callback(
      [name] { throw UsageError(name + ": this program is built without korrin::mapping"); });
}

}  // namespace

void addBuildCommand(CLI::App& app) { addUnbuilt(app, "build"); }
void addPairsCommand(CLI::App& app) { addUnbuilt(app, "pairs"); }
void addServeCommand(CLI::App& app) { addUnbuilt(app, "serve"); }

}  // namespace korrin_tool
