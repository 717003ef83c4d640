#include "tools/serve/http_server.hpp"

#include <httplib.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>
#include <utility>

#include "tools/serve/elastic_threads.hpp"
#include "tools/serve/gate.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/workers.hpp"
#include "tools/usage_error.hpp"

namespace korrin_tool::serve {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBacklog = 512;                              // clients that wait to be let in
constexpr std::size_t kMostDrained = 64 * kMostBodyBytes;  // of a body that is refused
constexpr const char* kPolicy =
    "default-src 'self'; img-src 'self' blob: data:; style-src 'self' 'unsafe-inline'; "
    "frame-ancestors 'none'";

// Connections mostly wait, so each has a thread of its own while it lasts. Releases of the library
// differ in what `enqueue` returns.
class ConnectionThreads : public httplib::TaskQueue {
  using Result = decltype(std::declval<httplib::TaskQueue&>().enqueue(std::function<void()>()));

 public:
  Result enqueue(std::function<void()> task) override {
    return Result(threads_.add(std::move(task)));
  }
  void shutdown() override { threads_.finish(); }

 private:
  ElasticThreads threads_{kConnections};
};

// Two servers must not share a port unseen; one that has just ended must not keep it either.
void setSocketOptions(int socket) {
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

std::optional<std::string> header(const httplib::Request& request, const char* name) {
  if (request.get_header_value_count(name) != 1) {
    // Twice is as good as a wrong one.
    return request.has_header(name) ? std::optional<std::string>("") : std::nullopt;
  }
  return request.get_header_value(name);
}

// A body is given whole: what a provider gives piece by piece is cut off when the server ends.
void deliver(Reply reply, httplib::Response& response) {
  response.status = reply.status;
  for (const auto& [name, value] : reply.headers) response.set_header(name, value);
  if (reply.stream) {
    response.set_chunked_content_provider(
        reply.type, [stream = std::move(reply.stream)](std::size_t, httplib::DataSink& sink) {
          stream([&](const std::string& bytes) { return sink.write(bytes.data(), bytes.size()); });
          sink.done();
          return true;
        });
    return;
  }
  response.set_header("Content-Type", reply.type);
  response.body = std::move(reply.body);
}

// Nothing is compressed, which on this machine would take longer than sending it: the library does
// so when the client takes it. The request is its own object, and not const.
void takeNoCompression(const httplib::Request& request) {
  const_cast<httplib::Request&>(request).headers.erase("Accept-Encoding");
}

Reply tooLargeReply() { return errorReply(400, "the body is larger than 1,000,000 bytes"); }

// The whole body, or a reply that refuses it. One that is too long is read on for a while, so that
// its sender comes to see why.
std::optional<Reply> readBody(const httplib::Request& request, const httplib::ContentReader& reader,
                              std::string& body) {
  if (request.is_multipart_form_data()) return errorReply(400, "the body must be JSON");
  if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) {
    return std::nullopt;
  }
  const std::string declared = request.get_header_value("Content-Length");
  if (std::strtoull(declared.c_str(), nullptr, 10) > kMostDrained) return tooLargeReply();
  const Clock::time_point end = Clock::now() + kBodyTimeout;
  std::size_t size = 0;
  const bool isWhole = reader([&](const char* data, std::size_t length) {
    size += length;
    if (size <= kMostBodyBytes) body.append(data, length);
    return size <= kMostDrained && Clock::now() < end;
  });
  if (size > kMostBodyBytes) return tooLargeReply();
  if (!isWhole) return errorReply(400, "the body did not come whole, or not in time");
  return std::nullopt;
}

}  // namespace

struct HttpServer::Parts {
  Parts(Application& application_, const std::string& host_)
      : application(application_), host(host_), workers(kWorkers, kWaitingJobs) {}

  void setUp();
  void listen(int wantedPort);
  Reply replyTo(const httplib::Request& request, std::string body);
  bool refuse(const httplib::Request& request, httplib::Response& response) const;

  Application& application;
  std::string host;
  int port = 0;
  int listening = -1;  // the server's socket
  std::optional<Gate> gate;
  Workers workers;
  httplib::Server server;
  std::thread listener;
};

void HttpServer::Parts::setUp() {
  server.new_task_queue = [] { return new ConnectionThreads; };
  server.set_socket_options([this](int socket) {
    setSocketOptions(socket);
    listening = socket;
  });
  // One request a connection: nothing that was sent after a refused one is taken for another.
  server.set_keep_alive_max_count(1);
  server.set_read_timeout(kClientTimeout);
  server.set_write_timeout(kClientTimeout);
  server.set_payload_max_length(kMostDrained);
  server.set_default_headers({{"Cache-Control", "no-store"},
                              {"Content-Security-Policy", kPolicy},
                              {"Cross-Origin-Resource-Policy", "same-origin"},
                              {"X-Content-Type-Options", "nosniff"}});
  server.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        using Result = httplib::Server::HandlerResponse;
        takeNoCompression(request);
        if (refuse(request, response)) return Result::Handled;
        if (request.method == "POST") return Result::Unhandled;  // its body is yet to be read
        deliver(replyTo(request, ""), response);
        return Result::Handled;
      });
  server.Post(".*", [this](const httplib::Request& request, httplib::Response& response,
                           const httplib::ContentReader& reader) {
    std::string body;
    auto refusal = readBody(request, reader, body);
    deliver(refusal ? std::move(*refusal) : replyTo(request, std::move(body)), response);
  });
  server.set_error_handler([](const httplib::Request&, httplib::Response& response) {
    // What the library refuses by itself has no body yet.
    if (response.has_header("Content-Type")) return;
    const Reply reply = errorReply(400, "the request is not understood");
    response.status = reply.status;
    response.set_content(reply.body, reply.type);
  });
}

bool HttpServer::Parts::refuse(const httplib::Request& request, httplib::Response& response) const {
  const auto reason = gate->refusalOf(header(request, "Host"), header(request, "Origin"));
  if (reason) {
    deliver(errorReply(403, *reason), response);
  } else if (request.path.size() > kMostPathBytes) {
    deliver(errorReply(404, "there is nothing at this address"), response);
  } else if (!request.ranges.empty()) {
    response.set_content("", "application/json");
    response.status = 416;
  } else {
    return false;
  }
  return true;
}

Reply HttpServer::Parts::replyTo(const httplib::Request& request, std::string body) {
  Reply reply;
  const bool isDone = workers.run([&] {
    reply = application.reply({request.method, request.path, std::move(body)});
  });
  return isDone ? reply : errorReply(503, "the server has too much to do; try again soon");
}

void HttpServer::Parts::listen(int wantedPort) {
  const bool isBound = wantedPort == 0 ? (port = server.bind_to_any_port(host)) > 0
                                       : server.bind_to_port(host, wantedPort);
  if (!isBound) {
    throw UsageError("--port: cannot listen at " + host + ", port " + std::to_string(wantedPort) +
                     "; it may be in use");
  }
  if (wantedPort != 0) port = wantedPort;
  ::listen(listening, kBacklog);  // the library's own line of clients holds five
  gate.emplace(host, port);
  listener = std::thread([this] { server.listen_after_bind(); });
  while (!server.is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

HttpServer::HttpServer(Application& application, const std::string& host, int port)
    : parts_(std::make_unique<Parts>(application, host)) {
  parts_->setUp();
  parts_->listen(port);
}

HttpServer::~HttpServer() { stop(); }

int HttpServer::port() const { return parts_->port; }

std::string HttpServer::address() const {
  const bool isSix = parts_->host.find(':') != std::string::npos;
  const std::string host = isSix ? "[" + parts_->host + "]" : parts_->host;
  return "http://" + host + ":" + std::to_string(parts_->port) + "/";
}

void HttpServer::stop() {
  if (!parts_->listener.joinable()) return;
  parts_->application.stopSessions();
  parts_->server.stop();
  parts_->listener.join();
}

}  // namespace korrin_tool::serve
