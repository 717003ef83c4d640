#include "tools/serve/sessions.hpp"

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include "tools/json_numbers.hpp"
#include "tools/serve/limits.hpp"
#include "tools/serve/refusal.hpp"

namespace korrin_tool::serve {
namespace {

constexpr std::chrono::milliseconds kStep{100};
constexpr std::chrono::seconds kHeartbeat{1};
constexpr std::chrono::milliseconds kLook{5};  // between looks at who has ended

std::string textOf(const Event& event) {
  return "event: " + event.name + "\ndata: " + event.data.dump() + "\n\n";
}

}  // namespace

Session::Session(std::unique_ptr<Simulation> robot, float speed)
    : robot_(std::move(robot)), speed_(speed), takesGoals_(robot_->grid() == nullptr) {}

void Session::claim() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (isClaimed_) throw Refusal(409, "somebody else watches this session");
  isClaimed_ = true;
}

Json Session::control(const ControlRequest& request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (request.goal && !takesGoals_) {
    throw Refusal(400, "goal: a robot that explores chooses its own goals");
  }
  if (request.speed) speed_ = *request.speed;
  if (request.goal) newGoal_ = request.goal;
  if (request.paused) {
    if (*request.paused && !isPaused_) pausedAt_ = Clock::now();
    isPaused_ = *request.paused;
  }
  changed_.notify_all();
  return {{"speed", numberJson(speed_)}, {"paused", isPaused_}};
}

void Session::stop(const std::string& reason, const std::string& sentence) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (stopReason_.empty()) {
    stopReason_ = reason;
    stopSentence_ = sentence;
  }
  changed_.notify_all();
}

bool Session::isOver() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (isClaimed_) return isOver_;
  return !stopReason_.empty() || Clock::now() - opened_ > kUnopened;
}

bool Session::isWatched() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return isClaimed_ && !isOver_;
}

// Waits until it is time for the next step; false when there is to be none.
bool Session::waitForTurn(const StreamWriter& write) {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    if (!stopReason_.empty()) return false;
    const Clock::time_point now = Clock::now();
    if (isPaused_ && now - pausedAt_ > kMostPaused) {
      stopReason_ = "idle";
      stopSentence_ = "the session stood still for too long";
      return false;
    }
    if (!isPaused_ && now >= nextStep_) break;
    const auto until = isPaused_ ? now + kHeartbeat : nextStep_;
    if (changed_.wait_until(lock, until) == std::cv_status::timeout && isPaused_) {
      lock.unlock();
      if (!write(":\n\n")) return false;
      lock.lock();
    }
  }
  // A step that comes late does not make the next ones come sooner.
  nextStep_ = std::max(nextStep_ + kStep, Clock::now());
  return true;
}

bool Session::writeEvents(const StreamWriter& write, const std::vector<Event>& events) {
  std::string text;
  for (const Event& event : events) text += textOf(event);
  return text.empty() || write(text);
}

std::pair<std::string, std::string> Session::stopWords() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return {stopReason_, stopSentence_};
}

void Session::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  isOver_ = true;
}

void Session::stream(const StreamWriter& write) {
  nextStep_ = Clock::now();
  bool isClientThere = true;
  while (isClientThere && !robot_->isDone() && waitForTurn(write)) {
    float speed = 0.0f;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      speed = speed_;
      if (newGoal_) robot_->setGoal(*newGoal_);
      newGoal_.reset();
    }
    try {
      isClientThere = writeEvents(write, robot_->step(speed));
    } catch (const std::exception& fault) {
      writeEvents(write, {robot_->ended("failed", fault.what())});
      break;
    }
  }
  const auto [reason, sentence] = stopWords();
  if (isClientThere && !reason.empty() && !robot_->isDone()) {
    writeEvents(write, {robot_->ended(reason, sentence)});
  }
  end();
}

void Sessions::dropOver() {
  for (auto session = sessions_.begin(); session != sessions_.end();) {
    session = session->second->isOver() ? sessions_.erase(session) : std::next(session);
  }
}

void Sessions::checkRoomLocked() {
  dropOver();
  if (isStopping_) throw Refusal(503, "the server is about to end");
  if (sessions_.size() < kMostSessions) return;
  throw Refusal(503, "there are " + std::to_string(kMostSessions) + " sessions; end one first");
}

void Sessions::checkRoom() {
  const std::lock_guard<std::mutex> lock(mutex_);
  checkRoomLocked();
}

std::string Sessions::open(std::unique_ptr<Simulation> robot, float speed) {
  const std::lock_guard<std::mutex> lock(mutex_);
  checkRoomLocked();
  const std::string id = "s" + std::to_string(++opened_);
  sessions_[id] = std::make_shared<Session>(std::move(robot), speed);
  return id;
}

std::shared_ptr<Session> Sessions::find(const std::string& id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  dropOver();
  const auto found = sessions_.find(id);
  if (found == sessions_.end()) throw Refusal(404, "there is no such session, or not any more");
  return found->second;
}

void Sessions::stopAll(std::chrono::milliseconds patience) {
  std::vector<std::shared_ptr<Session>> ending;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopping_ = true;
    for (const auto& [id, session] : sessions_) {
      session->stop("shutdown", "the server ends");
      ending.push_back(session);
    }
  }
  const auto isWatched = [](const auto& session) { return session->isWatched(); };
  const auto end = std::chrono::steady_clock::now() + patience;
  while (std::any_of(ending.begin(), ending.end(), isWatched) &&
         std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(kLook);
  }
}

}  // namespace korrin_tool::serve
