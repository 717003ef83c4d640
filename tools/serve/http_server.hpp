// The server itself: HTTP on a port, with limits on what it takes on.
//
//   HttpServer server(application, "127.0.0.1", 8080);   // a UsageError when it cannot listen
//   std::cout << server.address() << '\n';
//   ...
//   server.stop();                                       // what is being worked on is answered
//
// The library that speaks HTTP is known in http_server.cpp alone.
#pragma once

#include <memory>
#include <string>

#include "tools/serve/application.hpp"

namespace korrin_tool::serve {

class HttpServer {
 public:
  // Listens at `port`, or any free one for 0, and answers from then on. The application must
  // outlive this.
  HttpServer(Application& application, const std::string& host, int port);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  int port() const;
  std::string address() const;  // "http://127.0.0.1:8080/"

  // Takes no more requests, ends all streams, and returns once everybody has their answer.
  void stop();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace korrin_tool::serve
