// The real server on a free port: many clients, slow ones, wrong ones, and its end.
#include "tools/serve/http_server.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "tests/tools/serve/http_client.hpp"
#include "tools/serve/elastic_threads.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/page_files.hpp"
#include "tools/serve/source.hpp"
#include "tools/serve/workers.hpp"
#include "tools/stopwatch.hpp"
#include "tools/usage_error.hpp"

namespace korrin_test {
namespace {

using namespace korrin_tool::serve;
using korrin_tool::Stopwatch;

constexpr const char* kPlan = R"({"start": [1.2, 8], "goal": [18, 1.6]})";

class Server : public ::testing::Test {
 protected:
  HttpReply get(const std::string& path, const std::string& headers = "") const {
    return request(server_.port(), "GET", path, "", headers);
  }
  HttpReply post(const std::string& path, const std::string& body,
                 const std::string& headers = "") const {
    return request(server_.port(), "POST", path, body, headers);
  }
  // What the server answers to these bytes, and nothing else.
  HttpReply answerTo(const std::string& bytes) const {
    const Connection connection(server_.port());
    connection.send(bytes);
    return parseReply(connection.receiveAll());
  }
  // The stream of a new drive, its reply's headers read.
  std::unique_ptr<Connection> openDrive() const {
    const Json json =
        Json::parse(post("/api/drive", R"({"start": [1.2, 8], "goal": [18, 1.6]})").body);
    auto connection = std::make_unique<Connection>(server_.port());
    connection->send(requestBytes("GET", json["events"], server_.port()));
    return connection;
  }

  Application application_{demoSource()};
  HttpServer server_{application_, "127.0.0.1", 0};
};

TEST_F(Server, AnswersWithHeadersThatKeepThePageToItself) {
  const HttpReply reply = get("/api/map", "Accept-Encoding: gzip, br\r\n");
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(Json::parse(reply.body)["kind"], "demo");
  for (const char* header :
       {"Content-Type: application/json\r\n", "Cache-Control: no-store\r\n",
        "Content-Security-Policy: default-src 'self';", "X-Content-Type-Options: nosniff\r\n",
        "Cross-Origin-Resource-Policy: same-origin\r\n", "Connection: close\r\n"}) {
    EXPECT_NE(reply.headers.find(header), std::string::npos) << header << reply.headers;
  }
  EXPECT_EQ(reply.headers.find("Content-Encoding"), std::string::npos);
  const HttpReply tile = get("/api/tiles/map/0/0/0?anything");
  EXPECT_EQ(tile.body.size(), 65536u);
  EXPECT_NE(tile.headers.find("X-Korrin-Revision: 0\r\n"), std::string::npos);
  EXPECT_EQ(server_.address(), "http://127.0.0.1:" + std::to_string(server_.port()) + "/");
}

TEST_F(Server, PlansOverTheWireAsItDoesWithoutOne) {
  const HttpReply reply = post("/api/plan", kPlan);
  EXPECT_EQ(reply.status, 200);
  const Json direct = Json::parse(application_.reply({"POST", "/api/plan", kPlan}).body);
  EXPECT_EQ(Json::parse(reply.body)["path"], direct["path"]);
}

TEST_F(Server, RefusesForeignHostsAndOrigins) {
  const std::string own = "http://localhost:" + std::to_string(server_.port());
  EXPECT_EQ(post("/api/undo", "{}", "Origin: http://evil.example\r\n").status, 403);
  EXPECT_EQ(post("/api/undo", "{}", "Origin: null\r\n").status, 403);
  EXPECT_EQ(post("/api/undo", "{}", "Origin: " + own + "\r\n").status, 409);
  EXPECT_EQ(post("/api/undo", "{}", "Origin: " + own + "\r\nOrigin: " + own + "\r\n").status, 403);
  const HttpReply foreign = answerTo("GET /api/map HTTP/1.1\r\nHost: evil.example\r\n\r\n");
  EXPECT_EQ(foreign.status, 403);
  EXPECT_EQ(Json::parse(foreign.body)["error"], "requests must be for this server by its own name");
  EXPECT_EQ(answerTo("GET /api/map HTTP/1.1\r\n\r\n").status, 403);
  EXPECT_EQ(get("/api/map", "Host: evil.example\r\n").status, 403) << "a second one";
}

TEST_F(Server, RefusesWhatIsNoRequest) {
  for (const char* bytes :
       {"\r\n\r\n", "HELLO\r\n\r\n", "GET /\r\n\r\n", "GET / HTTP/9.9\r\n\r\n"}) {
    EXPECT_EQ(answerTo(bytes).status, 400) << bytes;
  }
  EXPECT_EQ(get("/" + std::string(300, 'x')).status, 404);
  EXPECT_EQ(get("/" + std::string(20'000, 'x')).status, 400);
  EXPECT_EQ(get("/%2e%2e/%2e%2e/etc/passwd").status, 404);
  EXPECT_EQ(request(server_.port(), "PUT", "/api/map", "{}").status, 405);
  EXPECT_EQ(post("/api/plan", "{}", "Content-Type: multipart/form-data; boundary=x\r\n").status,
            400);
}

TEST_F(Server, RefusesBodiesThatAreTooLarge) {
  const HttpReply reply = post("/api/plan", std::string(kMostBodyBytes + 1, ' '));
  EXPECT_EQ(reply.status, 400);
  EXPECT_EQ(Json::parse(reply.body)["error"], "the body is larger than 1,000,000 bytes");
  EXPECT_EQ(Json::parse(post("/api/plan", std::string(kMostBodyBytes, ' ')).body)["error"],
            "the body is no JSON: wrong at byte 1000001");
}

// A body that is refused must not be taken for the next request, whose headers its sender chose.
TEST_F(Server, TakesOneRequestAConnection) {
  const std::string hidden =
      requestBytes("POST", "/api/draw", server_.port(),
                   R"({"strokes": [{"value": "wall", "points": [[3, 8]]}]})");
  const std::string outer = "POST /api/plan HTTP/1.1\r\nHost: evil.example\r\nContent-Length: " +
                            std::to_string(hidden.size()) + "\r\n\r\n";
  const Connection connection(server_.port());
  connection.send(outer + hidden);
  const std::string answer = connection.receiveAll();
  EXPECT_EQ(answer.find("HTTP/1.1", 1), std::string::npos) << answer;
  EXPECT_EQ(Json::parse(get("/api/map").body)["revision"], 0);
}

TEST_F(Server, AnswersTwoHundredClientsAtOnceAndEachAsItAsked) {
  constexpr int kClients = 200;
  constexpr int kRequests = 50;
  const std::string plan = R"({"start": [1.2, 8], "goal": [2.4, 8]})";
  const Json direct = Json::parse(application_.reply({"POST", "/api/plan", plan}).body);
  EXPECT_GT(direct["path"].size(), 20u);
  std::atomic<int> right{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.emplace_back([&, i] {
      for (int k = 0; k < kRequests; ++k) {
        if ((i + k) % 5 == 0) {
          const HttpReply reply = post("/api/plan", plan);
          right += reply.status == 200 && Json::parse(reply.body)["path"] == direct["path"] ? 1 : 0;
        } else {
          // Each asks for a place of its own, so that a mixed-up answer shows.
          const int column = (37 * i + 11 * k) % 480;
          const std::string at = "[" + std::to_string(0.025 + 0.05 * column) + ", 8.025]";
          const HttpReply reply = post("/api/cell", "{\"at\": " + at + "}");
          right += reply.status == 200 && Json::parse(reply.body)["cell"][0] == column ? 1 : 0;
        }
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(right, kClients * kRequests);
}

TEST_F(Server, IsNotHinderedByClientsThatStall) {
  std::vector<std::unique_ptr<Connection>> stalling;
  for (int i = 0; i < 40; ++i) {
    stalling.push_back(std::make_unique<Connection>(server_.port()));
    const char* const beginnings[] = {"", "GET /api/map HTTP/1.1\r\n",
                                      ("POST /api/plan HTTP/1.1\r\nHost: localhost:1\r\n"
                                       "Content-Length: 100\r\n\r\n{")};
    stalling.back()->send(beginnings[i % 3]);
  }
  const Stopwatch stopwatch;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(get("/api/map").status, 200);
  EXPECT_LT(stopwatch.seconds(), 3.0);
  // They are sent away after a while.
  for (const auto& connection : stalling) {
    const int status = parseReply(connection->receiveAll()).status;
    EXPECT_TRUE(status == 0 || status >= 400) << status;
  }
  EXPECT_LT(stopwatch.seconds(), 15.0);
}

TEST_F(Server, StreamsEventsWhileItAnswersOthers) {
  std::vector<std::unique_ptr<Connection>> drives;
  for (std::size_t i = 0; i < kMostSessions; ++i) drives.push_back(openDrive());
  const HttpReply full = post("/api/drive", kPlan);
  EXPECT_EQ(full.status, 503);
  EXPECT_NE(full.headers.find("Retry-After: 1\r\n"), std::string::npos);
  EXPECT_EQ(post("/api/plan", kPlan).status, 200);
  std::string stream;
  while (stream.find("event: step") == std::string::npos) {
    const std::string bytes = drives[0]->receive();
    ASSERT_FALSE(bytes.empty()) << stream;
    stream += bytes;
  }
  EXPECT_NE(stream.find("Content-Type: text/event-stream\r\n"), std::string::npos);
  EXPECT_LT(stream.find("event: plan"), stream.find("event: step"));
  EXPECT_EQ(request(server_.port(), "GET", "/api/sessions/s1/events").status, 409);
  EXPECT_EQ(post("/api/sessions/s1", R"({"speed": 3})").body, "{\"speed\":3.0,\"paused\":false}\n");
  EXPECT_EQ(request(server_.port(), "DELETE", "/api/sessions/s1").status, 200);
  EXPECT_NE(drives[0]->receiveAll().find("\"reason\":\"stopped\""), std::string::npos);
  // One whose client has gone makes room before long.
  drives.clear();
  const Stopwatch stopwatch;
  int status = 503;
  while (status == 503 && stopwatch.seconds() < 10.0) status = post("/api/drive", kPlan).status;
  EXPECT_EQ(status, 200);
}

TEST_F(Server, EndsItsStreamsWithAWord) {
  const auto drive = openDrive();
  std::string stream = drive->receive();
  server_.stop();
  stream += drive->receiveAll();
  EXPECT_NE(stream.find("\"reason\":\"shutdown\""), std::string::npos) << stream;
  EXPECT_THROW(Connection(server_.port()), std::runtime_error);
}

// The requests are at work when the server is told to end.
TEST_F(Server, AnswersWhatItHasBegunBeforeItEnds) {
  const std::string locate = R"({"pose": [10.3, 13.6, 0.4], "heat": true})";
  std::vector<std::future<HttpReply>> replies;
  for (int i = 0; i < 6; ++i) {
    replies.push_back(std::async(std::launch::async, [&] { return post("/api/locate", locate); }));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  server_.stop();
  for (auto& reply : replies) {
    const HttpReply got = reply.get();
    EXPECT_EQ(got.status, 200);
    EXPECT_EQ(Json::parse(got.body)["verdict"], "clear");
  }
}

TEST_F(Server, ServesThePage) {
  ASSERT_NE(findPageFile("/index.html"), nullptr);
  const HttpReply page = get("/");
  EXPECT_EQ(page.status, 200);
  EXPECT_NE(page.headers.find("Content-Type: text/html; charset=utf-8\r\n"), std::string::npos);
  EXPECT_EQ(page.body,
            std::string(findPageFile("/index.html")->bytes, findPageFile("/index.html")->size));
  EXPECT_EQ(request(server_.port(), "HEAD", "/").body, "");
}

TEST(Ports, InUseAreToldInOneLine) {
  Application application(demoSource());
  const HttpServer first(application, "127.0.0.1", 0);
  try {
    const HttpServer second(application, "127.0.0.1", first.port());
    FAIL() << "two servers at one port";
  } catch (const korrin_tool::UsageError& error) {
    EXPECT_EQ(error.what(), "--port: cannot listen at 127.0.0.1, port " +
                                std::to_string(first.port()) + "; it may be in use");
  }
}

TEST(Ports, AreFreeAgainOnceTheServerHasEnded) {
  Application application(demoSource());
  int port = 0;
  {
    const HttpServer server(application, "127.0.0.1", 0);
    port = server.port();
    EXPECT_EQ(request(port, "GET", "/api/map").status, 200);
  }
  const HttpServer again(application, "127.0.0.1", port);
  EXPECT_EQ(request(port, "GET", "/api/map").status, 200);
}

TEST(Workers, TakeNoMoreThanTheirLineHolds) {
  Workers workers(1, 1);
  std::promise<void> goOn;
  std::shared_future<void> gate = goOn.get_future().share();
  std::promise<void> begun;
  std::thread first([&] {
    EXPECT_TRUE(workers.run([&] {
      begun.set_value();
      gate.wait();
    }));
  });
  begun.get_future().wait();
  std::atomic<int> done{0};
  std::thread second([&] { done += workers.run([] {}) ? 1 : 0; });
  std::thread third([&] { done += workers.run([] {}) ? 1 : 0; });
  // Whichever of the two comes later finds the line full, and so do all that come then.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_FALSE(workers.run([] {}));
  goOn.set_value();
  first.join();
  second.join();
  third.join();
  EXPECT_EQ(done, 1);
}

TEST(ElasticThreads, DoAsMuchAtOnceAsTheyMayAndAllOfIt) {
  std::atomic<int> now{0}, most{0}, done{0};
  {
    ElasticThreads threads(3);
    for (int i = 0; i < 12; ++i) {
      EXPECT_TRUE(threads.add([&] {
        const int running = ++now;
        int before = most;
        while (before < running && !most.compare_exchange_weak(before, running)) {
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        --now;
        ++done;
      }));
    }
    threads.finish();
    EXPECT_FALSE(threads.add([] {}));
  }
  EXPECT_EQ(done, 12);
  EXPECT_EQ(most, 3);
}

}  // namespace
}  // namespace korrin_test
