// A fixed number of threads that do all that takes a processor, and a line of limited length
// before them.
//
//   Workers workers(8, 256);
//   if (!workers.run([&] { reply = application.reply(request); })) sayBusy();
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace korrin_tool::serve {

class Workers {
 public:
  Workers(std::size_t threads, std::size_t waiting);
  ~Workers();  // after all that wait are done
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  // Has a worker do the job, and returns once it is done; false, and nothing is done, when too many
  // wait already. The job throws nothing. From any thread but a worker.
  bool run(const std::function<void()>& job);

 private:
  struct Waiting;

  void work();

  const std::size_t mostWaiting_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<Waiting*> line_;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace korrin_tool::serve
