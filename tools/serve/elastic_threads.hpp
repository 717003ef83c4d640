// As many threads as there are things to do at the same time, up to a limit: for work that mostly
// waits, such as for a client's next byte.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace korrin_tool::serve {

class ElasticThreads {
 public:
  explicit ElasticThreads(std::size_t most);
  ~ElasticThreads();
  ElasticThreads(const ElasticThreads&) = delete;
  ElasticThreads& operator=(const ElasticThreads&) = delete;

  // Has a thread do it; waits while all are busy. Once finish() was called it is done nowhere, and
  // false.
  bool add(std::function<void()> task);

  // Waits until all that was added is done. Not from several threads.
  void finish();

 private:
  void work();

  const std::size_t most_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::condition_variable idle_;
  std::deque<std::function<void()>> tasks_;
  std::size_t sleeping_ = 0;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace korrin_tool::serve
