// Robots that go about while somebody watches.
//
//   const auto session = sessions.open(makeDrive(world, request), speed);   // its id
//   sessions.find(id)->control({...});
//   sessions.find(id)->stream(write);     // runs it, until it ends or the client goes
//   sessions.stopAll();
//
// Safe from any threads.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "tools/serve/reply.hpp"
#include "tools/serve/requests.hpp"
#include "tools/serve/simulation.hpp"

namespace korrin_tool::serve {

class Session {
 public:
  Session(std::unique_ptr<Simulation> robot, float speed);

  // For the one who streams: a Refusal of status 409 when there is one already.
  void claim();

  // Runs the robot in real time and writes its events, until its end, the client's, or stop().
  void stream(const StreamWriter& write);

  // Takes effect at the next step; what holds then, as clients get it.
  Json control(const ControlRequest& request);

  // Has the stream end, telling why.
  void stop(const std::string& reason, const std::string& sentence);

  // Whether nobody came for its events in time, or they have ended.
  bool isOver() const;

  // Whether somebody has come for its events, and they have not ended.
  bool isWatched() const;

 private:
  using Clock = std::chrono::steady_clock;

  bool waitForTurn(const StreamWriter& write);
  bool writeEvents(const StreamWriter& write, const std::vector<Event>& events);
  std::pair<std::string, std::string> stopWords() const;
  void end();

  const Clock::time_point opened_ = Clock::now();
  mutable std::mutex mutex_;  // of all below but the robot, which the streaming thread has
  std::condition_variable changed_;
  std::unique_ptr<Simulation> robot_;
  float speed_;
  bool isPaused_ = false;
  Clock::time_point pausedAt_;
  std::optional<Brin::Pose2D> newGoal_;
  bool takesGoals_;
  bool isClaimed_ = false;
  bool isOver_ = false;
  std::string stopReason_;
  std::string stopSentence_;
  Clock::time_point nextStep_;
};

class Sessions {
 public:
  // Its id. A Refusal of status 503 when there are kMostSessions, or all is about to stop.
  std::string open(std::unique_ptr<Simulation> robot, float speed);

  // A Refusal of status 404 when there is none of that id, or not any more.
  std::shared_ptr<Session> find(const std::string& id);

  // Ends all, and lets no more begin. Returns once all that are watched have told of their end, or
  // `patience` is over: a watcher may have gone before the first of it.
  void stopAll(std::chrono::milliseconds patience);

  // Refuses, as open would, before work is done in vain.
  void checkRoom();

 private:
  void dropOver();
  void checkRoomLocked();

  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Session>> sessions_;
  std::int64_t opened_ = 0;
  bool isStopping_ = false;
};

}  // namespace korrin_tool::serve
