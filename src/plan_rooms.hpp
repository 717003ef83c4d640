// The memory that searches write to, kept between them: each takes a room and gives it back. As
// many rooms are made as there were ever searches at once.
//
//   PlanRooms::Lease room(rooms, grid);
//   search(*room);
//   room.giveBack();   // without which it is destroyed
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "src/plan_search.hpp"

namespace Brin {

class PlanRooms {
 public:
  class Lease {
   public:
    Lease(PlanRooms& rooms, const CostGrid& grid) : rooms_(rooms), room_(rooms.take()) {
      if (room_ == nullptr) room_ = std::make_unique<Entry>(grid);
    }
    PlanRoom& operator*() const { return room_->room; }

    // With its marks reset. A room in which a search ran out of memory may be in any state and is
    // better destroyed.
    void giveBack() {
      room_->room.reset();
      rooms_.put(std::move(room_));
    }

   private:
    friend class PlanRooms;
    struct Entry {
      explicit Entry(const CostGrid& grid) : room(grid) {}
      PlanRoom room;
      std::unique_ptr<Entry> next;
    };

    PlanRooms& rooms_;
    std::unique_ptr<Entry> room_;
  };

  // Makes the first room ahead of the first search, if memory for it can be had. Only for a grid
  // whose preparing takes much longer than the clearing of a huge page.
  void makeFirst(const CostGrid& grid) {
    if (grid.size() < kLeastCells) return;
    try {
      Lease room(*this, grid);
      (*room).touchFirstNodes();
      room.giveBack();
    } catch (const std::bad_alloc&) {
      // A search asks again.
    }
  }

  // One after the other: the list may be long, and each would destroy the next.
  ~PlanRooms() {
    while (first_ != nullptr) first_ = std::move(first_->next);
  }

 private:
  static constexpr std::int64_t kLeastCells = std::int64_t{1} << 20;

  std::unique_ptr<Lease::Entry> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::unique_ptr<Lease::Entry> taken = std::move(first_);
    if (taken != nullptr) first_ = std::move(taken->next);
    return taken;
  }

  void put(std::unique_ptr<Lease::Entry> room) {
    const std::lock_guard<std::mutex> lock(mutex_);
    room->next = std::move(first_);
    first_ = std::move(room);
  }

  std::mutex mutex_;
  std::unique_ptr<Lease::Entry> first_;  // the one given back last, whose memory is warm
};

}  // namespace Brin
