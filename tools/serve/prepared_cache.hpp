// Things that take long to make and serve many requests: the newest are kept, and whoever asks for
// one that is being made waits for that one.
//
//   PreparedCache<Key, Thing> cache;
//   const auto got = cache.get(key, cells, [&] { return std::make_shared<const Thing>(...); });
//   use(*got.value);
//
// Safe from any threads.
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <list>
#include <memory>
#include <mutex>

#include "tools/serve/limits.hpp"
#include "tools/serve/timer.hpp"

namespace korrin_tool::serve {

template <typename Key, typename Value>
class PreparedCache {
 public:
  using Pointer = std::shared_ptr<const Value>;

  struct Result {
    Pointer value;
    double milliseconds = 0.0;  // that making took, or waiting for it; 0 when it was there
  };

  // What `make` gives, now or at an earlier call with this key. What it throws reaches all who
  // wait, and nothing is kept.
  Result get(const Key& key, std::int64_t cells, const std::function<Pointer()>& make) {
    std::promise<Pointer> promise;
    std::shared_future<Pointer> future;
    bool isMine = false;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!toFront(key)) {
        isMine = true;
        entries_.push_front({key, cells, promise.get_future().share()});
        dropOldest();
      }
      future = entries_.front().future;
    }
    const bool isThere =
        !isMine && future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    const Timer stopwatch;
    if (isMine) fulfil(key, promise, make);
    Pointer value = future.get();
    return {std::move(value), isThere ? 0.0 : stopwatch.milliseconds()};
  }

  std::size_t size() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return entries_.size();
  }

 private:
  struct Entry {
    Key key;
    std::int64_t cells;
    std::shared_future<Pointer> future;
  };

  bool toFront(const Key& key) {
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
      if (!(entry->key == key)) continue;
      entries_.splice(entries_.begin(), entries_, entry);
      return true;
    }
    return false;
  }

  void dropOldest() {
    std::int64_t cells = 0;
    for (const Entry& entry : entries_) cells += entry.cells;
    while (entries_.size() > 1 && (entries_.size() > kPreparedMaps || cells > kPreparedCells)) {
      cells -= entries_.back().cells;
      entries_.pop_back();
    }
  }

  void fulfil(const Key& key, std::promise<Pointer>& promise,
              const std::function<Pointer()>& make) {
    try {
      promise.set_value(make());
    } catch (...) {
      promise.set_exception(std::current_exception());
      const std::lock_guard<std::mutex> lock(mutex_);
      entries_.remove_if([&](const Entry& entry) { return entry.key == key; });
    }
  }

  mutable std::mutex mutex_;
  std::list<Entry> entries_;  // the newest first
};

}  // namespace korrin_tool::serve
