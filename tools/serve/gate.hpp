// Who may ask: pages of other sites, and names that only pretend to be this machine, may not.
//
//   const Gate gate("127.0.0.1", 8080);
//   if (const auto refusal = gate.refusalOf(hostHeader, originHeader)) ...
#pragma once

#include <optional>
#include <string>

namespace korrin_tool::serve {

class Gate {
 public:
  // Of a server that listens to `host` (a name or a number) at `port`.
  Gate(std::string host, int port);

  // Why a request with these headers is refused; nothing when it is not. Its Host must be this
  // machine (localhost, 127.0.0.1, [::1]), or the server's own host; where that is not the
  // loopback, any address in numbers will do: no foreign site can pretend to be one. A port in it
  // must be the server's. An Origin, where there is one, must be http:// and such a host.
  std::optional<std::string> refusalOf(const std::optional<std::string>& host,
                                       const std::optional<std::string>& origin) const;

 private:
  bool isOwn(const std::string& hostAndPort) const;

  std::string host_;
  int port_;
};

// Whether a host is this machine's loopback: localhost, 127.x.y.z or ::1.
bool isLoopback(const std::string& host);

}  // namespace korrin_tool::serve
