#include "tools/serve/gate.hpp"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

namespace korrin_tool::serve {
namespace {

constexpr int kHttpPort = 80;  // which browsers leave out

bool isAddress(int family, const std::string& host) {
  unsigned char bytes[sizeof(in6_addr)];
  return inet_pton(family, host.c_str(), bytes) == 1;
}

bool isInNumbers(const std::string& host) {
  return isAddress(AF_INET, host) || isAddress(AF_INET6, host);
}

std::string inLowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return text;
}

// "host:port" or "[host]:port", the port being optional.
struct HostAndPort {
  std::string host;
  std::string port;
};

HostAndPort split(const std::string& text) {
  if (!text.empty() && text[0] == '[') {
    const std::size_t end = text.find(']');
    if (end == std::string::npos) return {};
    const std::string rest = text.substr(end + 1);
    if (!rest.empty() && rest[0] != ':') return {};
    return {text.substr(1, end - 1), rest.empty() ? "" : rest.substr(1)};
  }
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) return {text, ""};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

}  // namespace

bool isLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" ||
         (isAddress(AF_INET, host) && host.rfind("127.", 0) == 0);
}

Gate::Gate(std::string host, int port) : host_(inLowerCase(std::move(host))), port_(port) {}

bool Gate::isOwn(const std::string& hostAndPort) const {
  const HostAndPort parts = split(inLowerCase(hostAndPort));
  const std::string port = parts.port.empty() ? std::to_string(kHttpPort) : parts.port;
  if (port != std::to_string(port_)) return false;
  if (isLoopback(parts.host)) return true;
  if (parts.host.empty()) return false;
  return parts.host == host_ || (!isLoopback(host_) && isInNumbers(parts.host));
}

std::optional<std::string> Gate::refusalOf(const std::optional<std::string>& host,
                                           const std::optional<std::string>& origin) const {
  if (!host || !isOwn(*host)) return "requests must be for this server by its own name";
  const std::string scheme = "http://";
  if (origin && (origin->rfind(scheme, 0) != 0 || !isOwn(origin->substr(scheme.size())))) {
    return "pages of other sites may not ask this server";
  }
  return std::nullopt;
}

}  // namespace korrin_tool::serve
