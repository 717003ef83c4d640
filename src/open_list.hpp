// The open list of the path search: the order of a plain vector without its linear scans.
//
// The search needs a sequence of nodes, each with a priority, and these operations:
//
//   file(node, f)     inserts right behind the hindmost entry whose present priority is below f, or
//                     at the front when there is none
//   takeFirst()       removes the front entry
//   lower(node, f)    gives an entry a lower priority, in its place
//   putInFront(node, f), copyTo(nodes)   take over and tell the whole order
//
// A lowered entry keeps its place, so the sequence is not sorted, and no key made of priority and
// age tells its order: a heap would take entries in another one. But where a new entry goes depends
// only on the lowest priority from each entry to the end, its key here, and keys do ascend. The
// sequence is cut into blocks; for each, the lowest key in it and behind it is known as well.
// Counting blocks, and then entries of one block, whose keys are below f finds the place without a
// branch; a search across a large floor keeps thousands of entries, most of which a scan would
// meet.
//
// Within a block a key may leave out what is behind the block: the block is only searched when
// nothing behind it is below f.
//
// Not-a-number is below nothing, and nothing is below it. The literal model is a vector that is
// scanned from the back; see tests/open_list_test.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace Brin {

class OpenList {
 public:
  bool empty() const { return order_.empty(); }

  void clear() {
    while (!empty()) takeFirst();
  }

  // `node` is an index, not negative, that is not in the list.
  void file(std::int32_t node, float f) {
    if (empty()) addFrontBlock();
    std::size_t at = blockFor(f);
    int place = blockAt(at).placeFor(f);
    if (blockAt(at).last == kBlockSize) {
      if (blockAt(at).first > 0) {
        place -= blockAt(at).first;
        blockAt(at).slideToTheFront();
      } else {
        split(at);
        if (place > kHalf) {
          place -= kHalf;
        } else {
          ++at;  // the front half
        }
      }
    }
    blockAt(at).insert(place, node, f);
    rememberBlock(node, order_[at]);
  }

  // The list must not be empty.
  std::int32_t first() const {
    const Block& front = blockAt(order_.size() - 1);
    return front.nodes[slot(front.first)];
  }

  // The list must not be empty.
  std::int32_t takeFirst() {
    Block& front = blockAt(order_.size() - 1);
    const std::int32_t node = front.takeFirst();
    if (front.first == front.last) removeFrontBlock();
    return node;
  }

  // Does nothing when `node` is not in the list, or its priority is not above `f`.
  void lower(std::int32_t node, float f) {
    if (slot(node) >= blockOfNode_.size()) return;
    const std::int32_t id = blockOfNode_[slot(node)];
    Block& block = storage_[slot(id)];
    const int place = block.placeOf(node);
    if (place < 0) return;
    block.lowerUpTo(place, f);
    std::size_t at = positionOfBlock_[slot(id)];
    for (; at < lowest_.size() && f < lowest_[at]; ++at) lowest_[at] = f;
  }

  // Inserts at the front, whatever the priorities.
  void putInFront(std::int32_t node, float f) {
    if (empty() || blockAt(order_.size() - 1).first == 0) addFrontBlock();
    blockAt(order_.size() - 1).putInFront(node, f);
    rememberBlock(node, order_.back());
  }

  // `nodes` receives all nodes from front to back.
  void copyTo(std::vector<std::int32_t>& nodes) const {
    nodes.clear();
    for (std::size_t at = order_.size(); at-- > 0;) {
      const Block& block = blockAt(at);
      nodes.insert(nodes.end(), block.nodes.begin() + block.first,
                   block.nodes.begin() + block.last);
    }
  }

 private:
  // Small enough to compare and to shift in a few instructions, large enough for few blocks.
  static constexpr int kBlockSize = 32;
  static constexpr int kHalf = kBlockSize / 2;
  static constexpr float kHighest = std::numeric_limits<float>::infinity();

  static std::size_t slot(int i) { return static_cast<std::size_t>(i); }

  // Entries [first, last), in order. What the search does all the time goes over the whole block,
  // in loops of a fixed length and without a branch.
  struct Block {
    // Twice as long as can be filled, so that a shift need not look for the end.
    std::array<float, 2 * kBlockSize> keys;  // ascending; -infinity before entries, infinity behind
    std::array<std::int32_t, 2 * kBlockSize> nodes;  // -1 before and behind
    int first;
    int last;

    // No entries, and room for them behind `place` (0) or before it (kBlockSize).
    void makeEmpty(int place) {
      keys.fill(kHighest);
      nodes.fill(-1);
      std::fill_n(keys.begin(), place, -kHighest);
      first = last = place;
    }

    // The slot behind the hindmost entry below `f`; the first one when there is none.
    int placeFor(float f) const {
      int below = 0;
      for (int i = 0; i < kBlockSize; ++i) below += keys[slot(i)] < f ? 1 : 0;
      return std::max(first, below);
    }

    // The slot of `node`, or -1.
    int placeOf(std::int32_t node) const {
      int behind = 0;  // a sum of at most one
      for (int i = 0; i < kBlockSize; ++i) behind += nodes[slot(i)] == node ? i + 1 : 0;
      return behind - 1;
    }

    // `last` must be less than kBlockSize.
    void insert(int place, std::int32_t node, float f) {
      const float next = keys[slot(place)];
      shift(keys.data() + place);
      shift(nodes.data() + place);
      keys[slot(place)] = f < next ? f : next;
      nodes[slot(place)] = node;
      ++last;
    }

    // `first` must be greater than 0.
    void putInFront(std::int32_t node, float f) {
      const float next = keys[slot(first)];
      --first;
      keys[slot(first)] = f < next ? f : next;
      nodes[slot(first)] = node;
    }

    std::int32_t takeFirst() {
      keys[slot(first)] = -kHighest;
      return std::exchange(nodes[slot(first++)], -1);
    }

    // Lowers the keys up to and including that at `place` to `f` where they are higher.
    void lowerUpTo(int place, float f) {
      for (int i = 0; i < kBlockSize; ++i) {
        const float key = keys[slot(i)];
        keys[slot(i)] = i <= place && f < key ? f : key;
      }
    }

    void slideToTheFront() {
      std::copy(keys.begin() + first, keys.end(), keys.begin());
      std::copy(nodes.begin() + first, nodes.end(), nodes.begin());
      last -= first;
      first = 0;
    }

    // Moves kBlockSize numbers one slot on.
    template <typename Number>
    static void shift(Number* numbers) {
      constexpr int kStride = 4;
      for (int i = kBlockSize - kStride; i >= 0; i -= kStride) {
        Number moved[kStride];
        std::memcpy(moved, numbers + i, sizeof moved);
        std::memcpy(numbers + i + 1, moved, sizeof moved);
      }
    }
  };

  Block& blockAt(std::size_t at) { return storage_[slot(order_[at])]; }
  const Block& blockAt(std::size_t at) const { return storage_[slot(order_[at])]; }

  // The block of the hindmost entry below `f`; the front block when no other has one.
  std::size_t blockFor(float f) const {
    const std::size_t others = lowest_.size() - 1;
    std::size_t part = 0;
    for (std::size_t at = 15; at < others; at += 16) part += lowest_[at] < f ? 0 : 16;
    if (part + 16 <= others) {
      std::int32_t notBelow = 0;
      for (std::size_t at = part; at < part + 16; ++at) notBelow += lowest_[at] < f ? 0 : 1;
      return part + static_cast<std::size_t>(notBelow);
    }
    std::int32_t notBelow = 0;
    for (std::size_t at = part; at < others; ++at) notBelow += lowest_[at] < f ? 0 : 1;
    return part + static_cast<std::size_t>(notBelow);
  }

  void rememberBlock(std::int32_t node, std::int32_t id) {
    if (slot(node) >= blockOfNode_.size()) blockOfNode_.resize(2 * slot(node) + 1);
    blockOfNode_[slot(node)] = id;
  }

  // Moves the hind half of the full block at `at` to a new block behind it.
  void split(std::size_t at) {
    const std::int32_t hindId = newBlock();
    Block& front = blockAt(at);
    Block& hind = storage_[slot(hindId)];
    hind.makeEmpty(0);
    for (int i = kHalf; i < kBlockSize; ++i) {
      std::swap(hind.keys[slot(i - kHalf)], front.keys[slot(i)]);
      std::swap(hind.nodes[slot(i - kHalf)], front.nodes[slot(i)]);
      rememberBlock(hind.nodes[slot(i - kHalf)], hindId);
    }
    hind.last = front.last = kHalf;
    const auto offset = static_cast<std::ptrdiff_t>(at);
    order_.insert(order_.begin() + offset, hindId);
    lowest_.insert(lowest_.begin() + offset, lowestFrom(at));
    for (std::size_t i = at; i < order_.size(); ++i) positionOfBlock_[slot(order_[i])] = i;
  }

  void addFrontBlock() {
    // The one that was in front so far needs its minimum from now on.
    if (!empty()) lowest_.back() = lowestFrom(order_.size() - 1);
    const std::int32_t id = newBlock();
    storage_[slot(id)].makeEmpty(kBlockSize);
    positionOfBlock_[slot(id)] = order_.size();
    order_.push_back(id);
    lowest_.push_back(kHighest);
  }

  void removeFrontBlock() {
    free_.push_back(order_.back());
    order_.pop_back();
    lowest_.pop_back();
  }

  // The id of a block that is not in use.
  std::int32_t newBlock() {
    if (free_.empty()) {
      storage_.emplace_back();
      positionOfBlock_.push_back(0);
      return static_cast<std::int32_t>(storage_.size() - 1);
    }
    const std::int32_t id = free_.back();
    free_.pop_back();
    return id;
  }

  // The lowest key of the block at `at` and all behind it.
  float lowestFrom(std::size_t at) const {
    const float here = blockAt(at).keys[slot(blockAt(at).first)];
    return at > 0 ? std::min(here, lowest_[at - 1]) : here;
  }

  std::vector<Block> storage_;      // by block id
  std::vector<std::int32_t> free_;  // ids that are not in use
  // From back to front, so that taking the front entries moves nothing.
  std::vector<std::int32_t> order_;  // ids
  std::vector<float> lowest_;        // of that block and all behind it; unused for the front block
  std::vector<std::size_t> positionOfBlock_;  // by block id: index into order_
  std::vector<std::int32_t> blockOfNode_;     // by node: block id
};

}  // namespace Brin
