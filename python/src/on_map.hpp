// What is prepared of a map, with the map that it borrows.
#pragma once

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "korrin/core/occupancy_map.hpp"
#include "python/src/log.hpp"

namespace korrin_python {

// A Worker made of a map, which lives as long. Answers run beside each other and a change runs
// alone, both while other Python threads run.
template <typename Worker>
class OnMap {
 public:
  template <typename... Settings>
  explicit OnMap(std::shared_ptr<Brin::OccupancyMap> map, const Settings&... settings)
      : map_(std::move(map)) {
    unlocked([&] { worker_ = std::make_unique<Worker>(*map_, settings...); });
  }

  const std::shared_ptr<Brin::OccupancyMap>& map() const { return map_; }

  template <typename Work>
  void ask(const Work& work) const {
    unlocked([&] {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      work(std::as_const(*worker_));
    });
  }

  template <typename Work>
  void change(const Work& work) {
    unlocked([&] {
      const std::unique_lock<std::shared_mutex> lock(mutex_);
      work(*worker_);
    });
  }

 private:
  std::shared_ptr<Brin::OccupancyMap> map_;
  std::unique_ptr<Worker> worker_;
  mutable std::shared_mutex mutex_;
};

}  // namespace korrin_python
