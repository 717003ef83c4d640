// korrin serve: a page to plan, scan and explore on.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/commands/arguments.hpp"
#include "tools/commands/commands.hpp"
#include "tools/serve/serve.hpp"

namespace korrin_tool {

void addServeCommand(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("serve", "Open a map in a page of the browser: plan, scan, explore, draw");
  const auto options = std::make_shared<serve::ServeOptions>();
  command->add_option("file", options->file,
                      "the map's YAML file, or a CARMEN laser log, which is mapped first; without "
                      "one, the demonstration's building");
  command->add_option("--port", options->port, "where to listen; 8080, and 0 takes any free port")
      ->check(CLI::Range(0, 65535))
      ->option_text("N");
  command
      ->add_option("--host", options->host,
                   "to whom to listen: 127.0.0.1, this machine alone, unless another is given")
      ->option_text("HOST");
  command->add_flag("--open", options->opensBrowser, "open the page in the browser");
  command->footer(
      "The address is printed; Ctrl-C ends the server, and once more ends it at once. Example:\n"
      "  korrin serve office.yaml --open");
  command->callback([options] { serve::serve(*options); });
}

}  // namespace korrin_tool
