#include "tools/serve/elastic_threads.hpp"

#include <system_error>

namespace korrin_tool::serve {

ElasticThreads::ElasticThreads(std::size_t most) : most_(most) {}

ElasticThreads::~ElasticThreads() { finish(); }

bool ElasticThreads::add(std::function<void()> task) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!isEnding_ && sleeping_ <= tasks_.size() && threads_.size() < most_) {
    try {
      threads_.emplace_back([this] { work(); });
      ++sleeping_;  // it will come for the task
    } catch (const std::system_error&) {
      if (threads_.empty()) return false;  // the system gives none; those that are there must do
    }
  }
  idle_.wait(lock, [this] { return sleeping_ > tasks_.size() || isEnding_; });
  if (isEnding_) return false;
  tasks_.push_back(std::move(task));
  arrived_.notify_one();
  return true;
}

void ElasticThreads::finish() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
  }
  arrived_.notify_all();
  idle_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

void ElasticThreads::work() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    arrived_.wait(lock, [this] { return !tasks_.empty() || isEnding_; });
    if (tasks_.empty()) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    --sleeping_;
    lock.unlock();
    task();
    lock.lock();
    ++sleeping_;
    idle_.notify_one();
  }
}

}  // namespace korrin_tool::serve
