// Requests and replies without the server that carries them.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace korrin_tool::serve {

struct HttpRequest {
  std::string method;  // "GET", "POST" ...
  std::string path;    // "/api/map", decoded, without what follows a question mark
  std::string body;
};

// Takes a piece of a stream; false when the client is gone.
using StreamWriter = std::function<bool(const std::string& bytes)>;

struct Reply {
  int status = 200;
  std::string type = "application/json";
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
  // Where the body is a stream: writes it all, and may take its time.
  std::function<void(const StreamWriter& write)> stream;
};

}  // namespace korrin_tool::serve
