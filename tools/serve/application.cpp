#include "tools/serve/application.hpp"

#include <charconv>
#include <new>

#include "tools/serve/answers.hpp"
#include "tools/serve/page_files.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

using Path = std::vector<std::string>;

Reply jsonReply(const Json& json) {
  Reply reply;
  reply.body = json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
  return reply;
}

[[noreturn]] void refuseAddress() { throw Refusal(404, "there is nothing at this address"); }

// A number in an address, with digits alone.
int numberIn(const std::string& text) {
  int number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || text.empty() || number < 0) refuseAddress();
  return number;
}

Reply pageReply(const std::string& path) {
  const PageFile* const file = findPageFile(path == "/" ? "/index.html" : path);
  if (file == nullptr) refuseAddress();
  Reply reply;
  reply.type = file->type;
  reply.body.assign(file->bytes, file->size);
  return reply;
}

}  // namespace

std::vector<std::string> partsOf(const std::string& path) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  while (begin < path.size()) {
    const std::size_t slash = path.find('/', begin + 1);
    const std::size_t end = slash == std::string::npos ? path.size() : slash;
    if (end > begin + 1 || slash != std::string::npos) {
      parts.push_back(path.substr(begin + 1, end - begin - 1));
    }
    begin = end;
  }
  return parts;
}

Reply errorReply(int status, const std::string& sentence) {
  Reply reply = jsonReply({{"error", sentence}});
  reply.status = status;
  if (status == 503) reply.headers.emplace_back("Retry-After", "1");
  return reply;
}

Reply Application::reply(const HttpRequest& request) {
  try {
    return route(request);
  } catch (const Refusal& refusal) {
    return errorReply(refusal.status(), refusal.what());
  } catch (const std::bad_alloc&) {
    return errorReply(500, "there is not enough memory");
  } catch (const std::exception& fault) {
    return errorReply(500, fault.what());
  }
}

Reply Application::route(const HttpRequest& request) {
  const Path path = partsOf(request.path);
  const bool isApi = !path.empty() && path[0] == "api";
  const bool reads = request.method == "GET" || request.method == "HEAD";
  if (!isApi && reads) return pageReply(request.path);
  if (!isApi) throw Refusal(405, "the page can be read alone");
  if (reads) return routeGet(path);
  if (request.method == "POST") return routePost(path, request.body);
  if (request.method == "DELETE" && path.size() == 3 && path[1] == "sessions") {
    sessions_.find(path[2])->stop("stopped", "the session was ended");
    return jsonReply(Json::object());
  }
  throw Refusal(405, "this address takes no " + request.method);
}

Reply Application::routeGet(const Path& path) {
  const std::string& what = path.size() > 1 ? path[1] : path[0];
  if (path.size() == 2 && what == "map") return jsonReply(mapAnswer(world_));
  if (path.size() == 2 && what == "scans") return jsonReply(scansAnswer(world_));
  if (path.size() == 3 && what == "scans") {
    return jsonReply(loggedScanAnswer(static_cast<std::size_t>(numberIn(path[2])), world_));
  }
  if (path.size() == 3 && what == "download") return downloadAnswer(path[2], world_);
  if (path.size() == 4 && what == "sessions" && path[3] == "events") return eventsOf(path[2]);
  if (path.size() == 6 && what == "tiles") {
    return tileAnswer(path[2], numberIn(path[3]), numberIn(path[4]), numberIn(path[5]), world_);
  }
  refuseAddress();
}

Reply Application::routePost(const Path& path, const std::string& body) {
  if (path.size() == 3 && path[1] == "sessions") {
    return jsonReply(sessions_.find(path[2])->control(parseControlRequest(body)));
  }
  if (path.size() != 2) refuseAddress();
  const std::string& what = path[1];
  if (what == "plan") return jsonReply(planAnswer(parsePlanRequest(body), world_));
  if (what == "layers") return jsonReply(layerAnswer(parseLayerRequest(body), world_));
  if (what == "cell") return jsonReply(cellAnswer(parseCellRequest(body), world_));
  if (what == "scan") return jsonReply(scanAnswer(parseScanRequest(body), world_));
  if (what == "locate") return jsonReply(locateAnswer(parseLocateRequest(body), world_));
  if (what == "draw") return jsonReply(drawAnswer(parseDrawRequest(body), world_));
  if (what == "drive") return openSession(false, parseDriveRequest(body));
  if (what == "explore") return openSession(true, parseExploreRequest(body));
  if (what == "undo") {
    parseEmptyRequest(body);
    return jsonReply(undoAnswer(world_));
  }
  refuseAddress();
}

Reply Application::openSession(bool explores, const SessionRequest& request) {
  sessions_.checkRoom();
  auto robot = explores ? makeExploration(world_, request) : makeDrive(world_, request);
  Json json = {{"session", nullptr}, {"events", nullptr}};
  if (const auto grid = robot->grid()) {
    json["layer"] = layerJson(*world_.layers.add({"", "explored", {}, grid}));
  }
  const std::string id = sessions_.open(std::move(robot), request.speed);
  json["session"] = id;
  json["events"] = "/api/sessions/" + id + "/events";
  return jsonReply(json);
}

Reply Application::eventsOf(const std::string& id) {
  const std::shared_ptr<Session> session = sessions_.find(id);
  session->claim();
  Reply reply;
  reply.type = "text/event-stream";
  reply.stream = [session](const StreamWriter& write) { session->stream(write); };
  return reply;
}

}  // namespace korrin_tool::serve
