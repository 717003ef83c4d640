// What the server answers, without the server: each request has one reply.
//
//   Application application(std::move(source));
//   const Reply reply = application.reply({"GET", "/api/map", ""});
//
// Safe from any threads.
#pragma once

#include <string>
#include <vector>

#include "tools/serve/limits.hpp"
#include "tools/serve/reply.hpp"
#include "tools/serve/sessions.hpp"
#include "tools/serve/world.hpp"

namespace korrin_tool::serve {

class Application {
 public:
  explicit Application(Source source) : world_(std::move(source)) {}

  // Throws nothing: what goes wrong is a reply, too.
  Reply reply(const HttpRequest& request);

  // Ends all sessions; no more begin.
  void stopSessions() { sessions_.stopAll(kClientTimeout); }

 private:
  Reply route(const HttpRequest& request);
  Reply routeGet(const std::vector<std::string>& path);
  Reply routePost(const std::vector<std::string>& path, const std::string& body);
  Reply openSession(bool explores, const SessionRequest& request);
  Reply eventsOf(const std::string& id);

  World world_;
  Sessions sessions_;  // which use the world, so they go first
};

// A reply of that status with an error for people.
Reply errorReply(int status, const std::string& sentence);

// The parts of an address between slashes; "/" has none.
std::vector<std::string> partsOf(const std::string& path);

}  // namespace korrin_tool::serve
