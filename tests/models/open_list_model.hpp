// The open list as a plain vector that is scanned from the back: the operations of
// src/open_list.hpp, literally.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace korrin_model {

class OpenList {
 public:
  void file(std::int32_t node, float f) {
    std::size_t place = entries_.size();
    while (place > 0 && !(entries_[place - 1].f < f)) --place;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(place), {node, f});
  }
  std::int32_t takeFirst() {
    const std::int32_t node = entries_.front().node;
    entries_.erase(entries_.begin());
    return node;
  }
  void change(std::int32_t node, float f) {
    for (Entry& entry : entries_) {
      if (entry.node == node) entry.f = f;
    }
  }
  std::int32_t first() const { return entries_.front().node; }
  float priorityOf(std::int32_t node) const {
    for (const Entry& entry : entries_) {
      if (entry.node == node) return entry.f;
    }
    return 0.0f;
  }
  std::vector<std::int32_t> order() const {
    std::vector<std::int32_t> nodes;
    for (const Entry& entry : entries_) nodes.push_back(entry.node);
    return nodes;
  }
  std::size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    std::int32_t node;
    float f;
  };
  std::vector<Entry> entries_;
};

}  // namespace korrin_model
