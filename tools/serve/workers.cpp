#include "tools/serve/workers.hpp"

namespace korrin_tool::serve {

// A job in the line; it stands on the stack of whoever waits for it.
struct Workers::Waiting {
  const std::function<void()>& job;
  bool isDone = false;
  std::condition_variable done;
};

Workers::Workers(std::size_t threads, std::size_t waiting) : mostWaiting_(waiting) {
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
}

Workers::~Workers() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
  }
  arrived_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

bool Workers::run(const std::function<void()>& job) {
  Waiting waiting{job, false, {}};
  std::unique_lock<std::mutex> lock(mutex_);
  if (line_.size() >= mostWaiting_) return false;
  line_.push_back(&waiting);
  arrived_.notify_one();
  waiting.done.wait(lock, [&] { return waiting.isDone; });
  return true;
}

void Workers::work() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    arrived_.wait(lock, [this] { return !line_.empty() || isEnding_; });
    if (line_.empty()) return;
    Waiting& waiting = *line_.front();
    line_.pop_front();
    lock.unlock();
    waiting.job();
    lock.lock();
    waiting.isDone = true;
    waiting.done.notify_one();  // while it cannot go
  }
}

}  // namespace korrin_tool::serve
