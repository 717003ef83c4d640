// A client that sends the bytes it is given and knows nothing else, so that a test says just what
// goes over the wire.
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace korrin_test {

// A connection to the loopback.
class Connection {
 public:
  explicit Connection(int port) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval patience{60, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      close(socket_);
      throw std::runtime_error("cannot connect");
    }
  }
  ~Connection() { close(socket_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // False when the server does not take them all.
  bool send(const std::string& bytes) const {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
      const auto n = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (n <= 0) return false;
      sent += static_cast<std::size_t>(n);
    }
    return true;
  }

  // What comes next; empty at the end.
  std::string receive() const {
    std::string bytes(65536, '\0');
    const auto n = recv(socket_, bytes.data(), bytes.size(), 0);
    bytes.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
    return bytes;
  }

  std::string receiveAll() const {
    std::string all;
    for (std::string bytes = receive(); !bytes.empty(); bytes = receive()) all += bytes;
    return all;
  }

 private:
  int socket_;
};

struct HttpReply {
  int status = 0;  // 0: there was none
  std::string headers;
  std::string body;
};

inline HttpReply parseReply(const std::string& bytes) {
  const std::size_t end = bytes.find("\r\n\r\n");
  if (bytes.rfind("HTTP/1.1 ", 0) != 0 || end == std::string::npos) return {};
  return {std::stoi(bytes.substr(9, 3)), bytes.substr(0, end + 2), bytes.substr(end + 4)};
}

inline std::string requestBytes(const std::string& method, const std::string& path, int port,
                                const std::string& body = "", const std::string& headers = "") {
  return method + ' ' + path + " HTTP/1.1\r\nHost: localhost:" + std::to_string(port) + "\r\n" +
         headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

inline HttpReply request(int port, const std::string& method, const std::string& path,
                         const std::string& body = "", const std::string& headers = "") {
  const Connection connection(port);
  connection.send(requestBytes(method, path, port, body, headers));
  return parseReply(connection.receiveAll());
}

}  // namespace korrin_test
