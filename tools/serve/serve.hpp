// What the command `korrin serve` does.
#pragma once

#include <string>

namespace korrin_tool::serve {

struct ServeOptions {
  std::string file;  // empty: the demonstration's building
  std::string host = "127.0.0.1";
  int port = 8080;
  bool opensBrowser = false;
};

// Serves until the process is sent an interrupt (Ctrl-C) or is asked to end (SIGTERM). Prints the
// address. What hinders it is a UsageError or a FileError.
void serve(const ServeOptions& options);

}  // namespace korrin_tool::serve
