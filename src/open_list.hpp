// The open list of the path search: the order of a plain vector without its linear scans.
//
// The search needs a sequence of nodes, each with a priority, and four operations:
//
//   file(node, f)    inserts right behind the hindmost entry whose present priority is below f, or
//                    at the front when there is none
//   takeFirst()      removes the front entry
//   change(node, f)  gives an entry another priority, in its place
//   copyTo(order)    tells the whole order
//
// A changed entry keeps its place, so the sequence is not sorted, and no key made of priority and
// age tells its order: a heap would take entries in another one. The sequence is therefore kept as
// it is, cut into blocks. For each block the lowest priority in it and in all blocks behind it is
// known; these minima can only fall from the back to the front, so counting those that are not
// below f finds the block that a new entry belongs to, and within the block a fixed number of
// comparisons without a branch finds the place. A search across a large floor keeps thousands of
// entries here, on which a backward scan takes most of its time.
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

  // `node` is an index, not negative, that is not in the list.
  void file(std::int32_t node, float f) {
    if (empty()) {
      putInFront(node, f);
      return;
    }
    std::size_t at = blockFor(f);
    int place = placeFor(f, blockAt(at));
    if (blockAt(at).first == 0 && blockAt(at).last == kBlockSize) {
      split(at);
      if (place > kHalf) {
        place -= kHalf;
      } else {
        ++at;
      }
    }
    insert(order_[at], place, node, f);
  }

  // The list must not be empty.
  std::int32_t takeFirst() {
    Block& front = blockAt(order_.size() - 1);
    const std::int32_t node = front.nodes[slot(front.first)];
    front.clear(front.first++);
    if (front.first == front.last) removeFrontBlock();
    return node;
  }

  // Does nothing when `node` is not in the list.
  void change(std::int32_t node, float f) {
    if (slot(node) >= blockOfNode_.size()) return;
    const std::int32_t id = blockOfNode_[slot(node)];
    Block& block = storage_[slot(id)];
    const int place = placeOf(node, block);
    if (place < 0) return;
    const float before = std::exchange(block.priorities[slot(place)], f);
    const std::size_t at = positionOfBlock_[slot(id)];
    if (f < before) {
      lowerMinima(at, f);
    } else if (!(f == before)) {
      recomputeMinima(at);
    }
  }

  // Inserts at the front, whatever the priorities: how a sequence is taken over as it is.
  void putInFront(std::int32_t node, float f) {
    if (empty() || blockAt(order_.size() - 1).first == 0) addFrontBlock();
    insert(order_.back(), blockAt(order_.size() - 1).first, node, f);
  }

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
  static constexpr int kBlockSize = 64;
  static constexpr int kHalf = kBlockSize / 2;
  static constexpr float kHighest = std::numeric_limits<float>::infinity();

  static std::size_t slot(int i) { return static_cast<std::size_t>(i); }

  // Entries [first, last), in order. All other slots hold what no comparison finds.
  struct Block {
    Block() {
      priorities.fill(kHighest);
      nodes.fill(-1);
    }
    void clear(int i) {
      priorities[slot(i)] = kHighest;
      nodes[slot(i)] = -1;
    }
    void move(int from, int to, int where) {
      std::memmove(&priorities[0] + where, &priorities[0] + from, slot(to - from) * sizeof(float));
      std::memmove(&nodes[0] + where, &nodes[0] + from, slot(to - from) * sizeof(std::int32_t));
    }
    float lowest() const {
      float low = kHighest;
      for (const float f : priorities) low = f < low ? f : low;
      return low;
    }

    std::array<float, kBlockSize> priorities;
    std::array<std::int32_t, kBlockSize> nodes;
    int first = 0;
    int last = 0;
  };

  Block& blockAt(std::size_t at) { return storage_[slot(order_[at])]; }
  const Block& blockAt(std::size_t at) const { return storage_[slot(order_[at])]; }

  // The block of the hindmost entry below `f`; the front block when there is none elsewhere.
  std::size_t blockFor(float f) const {
    const std::size_t others = lowest_.size() - 1;
    std::int32_t notBelow = 0;
    for (std::size_t at = 0; at < others; ++at) notBelow += lowest_[at] < f ? 0 : 1;
    return static_cast<std::size_t>(notBelow);
  }

  // The slot behind the hindmost entry below `f`; the first one when there is none.
  static int placeFor(float f, const Block& block) {
    int place = block.first;
    for (int i = 0; i < kBlockSize; ++i) {
      const int behind = block.priorities[slot(i)] < f ? i + 1 : 0;
      place = std::max(place, behind);
    }
    return place;
  }

  // The slot of `node`, or -1.
  static int placeOf(std::int32_t node, const Block& block) {
    int place = -1;
    for (int i = 0; i < kBlockSize; ++i)
      place = std::max(place, block.nodes[slot(i)] == node ? i : -1);
    return place;
  }

  // Puts an entry before what stands at `place` of a block that has a slot to spare.
  void insert(std::int32_t id, int place, std::int32_t node, float f) {
    Block& block = storage_[slot(id)];
    if (block.last < kBlockSize) {
      block.move(place, block.last, place + 1);
      ++block.last;
    } else {
      block.move(block.first, place, block.first - 1);
      --block.first;
      --place;
    }
    block.priorities[slot(place)] = f;
    block.nodes[slot(place)] = node;
    rememberBlock(node, id);
  }

  void rememberBlock(std::int32_t node, std::int32_t id) {
    const auto index = slot(node);
    if (index >= blockOfNode_.size()) blockOfNode_.resize(2 * index + 1);
    blockOfNode_[index] = id;
  }

  // Moves the hind half of the full block at `at` to a new block behind it.
  void split(std::size_t at) {
    const std::int32_t hindId = newBlock();
    Block& front = blockAt(at);
    Block& hind = storage_[slot(hindId)];
    for (int i = kHalf; i < kBlockSize; ++i) {
      hind.priorities[slot(i - kHalf)] = front.priorities[slot(i)];
      hind.nodes[slot(i - kHalf)] = front.nodes[slot(i)];
      rememberBlock(front.nodes[slot(i)], hindId);
      front.clear(i);
    }
    hind.first = 0;
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
    storage_[slot(id)].first = storage_[slot(id)].last = kBlockSize;
    positionOfBlock_[slot(id)] = order_.size();
    order_.push_back(id);
    lowest_.push_back(kHighest);
  }

  void removeFrontBlock() {
    free_.push_back(order_.back());
    order_.pop_back();
    lowest_.pop_back();
  }

  // An empty block: every slot clear, in no order yet.
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

  float lowestFrom(std::size_t at) const {
    const float here = blockAt(at).lowest();
    return at > 0 && lowest_[at - 1] < here ? lowest_[at - 1] : here;
  }

  void lowerMinima(std::size_t at, float f) {
    for (; at < lowest_.size() && f < lowest_[at]; ++at) lowest_[at] = f;
  }

  void recomputeMinima(std::size_t at) {
    for (; at < lowest_.size(); ++at) lowest_[at] = lowestFrom(at);
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
