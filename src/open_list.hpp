// The open list of the path search: the order of a plain vector without its linear scans.
//
// The search needs a sequence of nodes, each with a priority, and these operations:
//
//   file(node, f)    inserts right behind the hindmost entry whose present priority is below f, or
//                    at the front when there is none
//   first()          is the front entry; takeFirst() removes it
//   change(node, f)  gives an entry another priority, in its place
//   copyTo(nodes)    tells the whole order
//
// A changed entry keeps its place, so the sequence is not sorted, and no key made of priority and
// age tells its order: a heap would take entries in another one. The sequence is therefore kept as
// it is, as the leaves of a tree of three levels in which every parent knows the lowest priority
// below each child. On each level the hindmost child that is lower than f is found by comparing
// all of them at once, without a branch. A search across a large floor keeps thousands of entries
// here, most of which a scan would meet.
//
// Not-a-number is below nothing, and nothing is below it. The literal model is a vector that is
// scanned from the back: tests/models/open_list_model.hpp.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "core/lanes.hpp"

namespace Brin {

class OpenList {
 public:
  OpenList() {
    top_.reserve(8);
    begin();
  }

  // As new, but for the memory that it keeps.
  void clear() {
    size_ = 0;
    leaves_.clear();
    branches_.clear();
    freeLeaves_.clear();
    freeBranches_.clear();
    order_.clear();
    top_.clear();
    guess_ = 0;
    behindGuess_ = kHighest;
    begin();
  }

  bool empty() const { return size_ == 0; }

  // `node` is an index, not negative, that is not in the list.
  void file(std::int32_t node, float f) {
    ++size_;
    // Taking does not raise what is remembered as lowest. So in the front branch and leaf, and only
    // there, nothing may be found to be as low as it seemed.
    for (;;) {
      unsigned lowerLeaves = behindGuess_ < f ? 0 : branchAt(guess_).bitsLower(f);
      if (lowerLeaves == 0) {
        if (!guessAnew(f)) return fileInFront(node, f);
        lowerLeaves = branchAt(guess_).bitsLower(f);
        if (lowerLeaves == 0) return fileInFront(node, f);
      }
      const std::size_t at = guess_;
      const Row& branch = branchAt(at);
      const int place = __builtin_ctz(lowerLeaves);
      const std::int32_t leafId = branch.items[slot(place)];
      Row& leaf = leaves_[slot(leafId)];
      const unsigned lowerNodes = leaf.bitsLower(f);
      if (lowerNodes == 0) return fileInFront(node, f);
      if (leaf.count() < kRowSize) {
        rememberLeaf(node, leafId);
        return leaf.insert(__builtin_ctz(lowerNodes), node, f);
      }
      splitLeaf(at, place);
    }
  }

  // The list must not be empty.
  std::int32_t first() const {
    const Row& leaf = leaves_[slot(frontLeaf_)];
    return leaf.items[slot(leaf.count() - 1)];
  }

  // The list must not be empty.
  std::int32_t takeFirst() {
    --size_;
    Row& leaf = leaves_[slot(frontLeaf_)];
    const std::int32_t node = leaf.takeLast();
    if (leaf.count() == 0) removeFrontLeaf();
    return node;
  }

  // `node` must be in the list.
  void change(std::int32_t node, float f) {
    const std::int32_t leafId = leafOfNode_[slot(node)];
    Row& leaf = leaves_[slot(leafId)];
    const int place = leaf.placeOf(node);
    const float before = std::exchange(leaf.lows[slot(place)], f);
    const std::int32_t branchId = branchOfLeaf_[slot(leafId)];
    Row& branch = branches_[slot(branchId)];
    float& low = branch.lows[slot(branch.placeOf(leafId))];
    const std::size_t at = positionOfBranch_[slot(branchId)];
    float& topLow = top_[at];
    lowerTo(behindGuess_, at < guess_ ? f : kHighest);
    if (f <= before) {
      lowerTo(low, f);
      lowerTo(topLow, f);
    } else {
      low = leaf.lowest();
      topLow = branch.lowest();
    }
  }

  // `nodes` receives all nodes from front to back.
  void copyTo(std::vector<std::int32_t>& nodes) const {
    nodes.clear();
    for (std::size_t at = order_.size(); at-- > 0;) {
      const Row& branch = branches_[slot(order_[at])];
      for (int i = branch.count(); i-- > 0;) {
        const Row& leaf = leaves_[slot(branch.items[slot(i)])];
        for (int k = leaf.count(); k-- > 0;) nodes.push_back(leaf.items[slot(k)]);
      }
    }
  }

 private:
  static constexpr int kRowSize = 16;
  static constexpr int kHalf = kRowSize / 2;
  static constexpr float kHighest = std::numeric_limits<float>::infinity();

  static std::size_t slot(int i) { return static_cast<std::size_t>(i); }

  // Without a branch, which nobody could foresee.
  static void lowerTo(float& low, float f) { low = f < low ? f : low; }

  // One bit for each of kRowSize numbers, set where it is below `f`.
  static unsigned bitsBelow(const float* numbers, float f) {
    const Floats limits{f, f, f, f};
    return laneBits(load<Floats>(numbers) < limits, load<Floats>(numbers + 4) < limits,
                    load<Floats>(numbers + 8) < limits, load<Floats>(numbers + 12) < limits);
  }

  // Up to kRowSize items from back to front, each with the lowest priority in it: nodes in a leaf,
  // leaves in a branch. One cache line for the priorities and one for the items are all that is
  // looked at.
  struct alignas(64) Row {
    // Twice as long as can be filled, so that a shift need not look for the end. What is not filled
    // holds infinity and -1. A shift writes the last place but never reads it: it holds the count.
    std::array<float, 2 * kRowSize> lows;
    std::array<std::int32_t, 2 * kRowSize> items;

    Row() {
      lows.fill(kHighest);
      items.fill(-1);
      setCount(0);
    }

    int count() const { return items.back(); }
    void setCount(int count) { items.back() = count; }

    // One bit for each item, set where it is below `f`.
    unsigned bitsLower(float f) const { return bitsBelow(lows.data(), f); }

    // The place of an item, which must be there.
    int placeOf(std::int32_t item) const {
      const Ints sought = all(item);
      const std::int32_t* at = items.data();
      return __builtin_ctz(laneBits(load<Ints>(at) == sought, load<Ints>(at + 4) == sought,
                                    load<Ints>(at + 8) == sought, load<Ints>(at + 12) == sought));
    }

    float lowest() const {
      Floats low{kHighest, kHighest, kHighest, kHighest};
      for (int i = 0; i < kRowSize; i += kLanes) {
        const auto others = load<Floats>(lows.data() + i);
        low = choose(others < low, others, low);
      }
      return std::min({low[0], low[1], low[2], low[3]});
    }

    // There must be room.
    void insert(int place, std::int32_t item, float low) {
      const int before = count();
      shift(lows.data() + place);
      shift(items.data() + place);
      lows[slot(place)] = low;
      items[slot(place)] = item;
      setCount(before + 1);
    }

    std::int32_t takeLast() {
      const int last = count() - 1;
      setCount(last);
      lows[slot(last)] = kHighest;
      return std::exchange(items[slot(last)], -1);
    }

    // Moves the front half to the empty row `other`.
    void moveHalf(Row& other) {
      for (int i = 0; i < kHalf; i += kLanes) {
        move(lows.data() + kHalf + i, other.lows.data() + i, Floats{} + kHighest);
        move(items.data() + kHalf + i, other.items.data() + i, all(-1));
      }
      setCount(kHalf);
      other.setCount(kHalf);
    }

    // Moves kLanes numbers, and leaves `instead` where they were.
    template <typename Lanes>
    static void move(void* from, void* to, Lanes instead) {
      store(to, load<Lanes>(from));
      store(from, instead);
    }

    // Moves kRowSize numbers one slot on.
    static void shift(void* numbers) {
      auto* bytes = static_cast<char*>(numbers);
      for (int i = kRowSize - kLanes; i >= 0; i -= kLanes) {
        store(bytes + 4 * (i + 1), load<Ints>(bytes + 4 * i));
      }
    }
  };

  void begin() {
    addTop(0, newBranch());
    branches_[0].insert(0, newLeaf(0), kHighest);
    noteFrontLeaf();
  }

  Row& branchAt(std::size_t at) { return branches_[slot(order_[at])]; }

  // Makes the hindmost branch that seems to have an entry below `f` the guess; false when there is
  // none. The branch of one entry is that of the next one nine times in ten, unless something lower
  // has come behind it: that is known at once, without a look at the others.
  bool guessAnew(float f) {
    for (std::size_t at = 0; at < order_.size(); at += kRowSize) {
      const unsigned bits = bitsBelow(top_.data() + at, f);
      if (bits == 0) continue;
      guess_ = at + slot(__builtin_ctz(bits));
      behindGuess_ = kHighest;
      for (std::size_t i = 0; i < guess_; ++i) lowerTo(behindGuess_, top_[i]);
      return true;
    }
    return false;
  }

  // As the front entry.
  void fileInFront(std::int32_t node, float f) {
    if (leaves_[slot(frontLeaf_)].count() == kRowSize) {
      const std::size_t at = order_.size() - 1;
      splitLeaf(at, branchAt(at).count() - 1);
    }
    const std::size_t at = order_.size() - 1;
    Row& branch = branchAt(at);
    Row& leaf = leaves_[slot(frontLeaf_)];
    rememberLeaf(node, frontLeaf_);
    leaf.insert(leaf.count(), node, f);
    lowerTo(branch.lows[slot(branch.count() - 1)], f);
    lowerTo(top_[at], f);
  }

  void rememberLeaf(std::int32_t node, std::int32_t leafId) {
    if (slot(node) >= leafOfNode_.size()) leafOfNode_.resize(2 * slot(node) + 64);
    leafOfNode_[slot(node)] = leafId;
  }

  void splitLeaf(std::size_t at, int place) {
    if (branchAt(at).count() == kRowSize) {
      splitBranch(at);
      if (place >= kHalf) {
        ++at;
        place -= kHalf;
      }
    }
    const std::int32_t branchId = order_[at];
    const std::int32_t frontId = newLeaf(branchId);
    Row& branch = branches_[slot(branchId)];
    Row& leaf = leaves_[slot(branch.items[slot(place)])];
    Row& front = leaves_[slot(frontId)];
    leaf.moveHalf(front);
    for (int i = 0; i < kHalf; ++i) rememberLeaf(front.items[slot(i)], frontId);
    branch.lows[slot(place)] = leaf.lowest();
    branch.insert(place + 1, frontId, front.lowest());
    noteFrontLeaf();
  }

  void splitBranch(std::size_t at) {
    const std::int32_t frontId = newBranch();
    Row& branch = branches_[slot(order_[at])];
    Row& front = branches_[slot(frontId)];
    branch.moveHalf(front);
    for (int i = 0; i < kHalf; ++i) branchOfLeaf_[slot(front.items[slot(i)])] = frontId;
    addTop(at + 1, frontId);
    top_[at] = branch.lowest();
    top_[at + 1] = front.lowest();
  }

  void addTop(std::size_t at, std::int32_t branchId) {
    order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(at), branchId);
    top_.resize(order_.size());
    top_.insert(top_.begin() + static_cast<std::ptrdiff_t>(at), kHighest);
    top_.resize(order_.size());
    top_.resize((order_.size() + kRowSize - 1) / kRowSize * kRowSize, kHighest);
    for (std::size_t i = at; i < order_.size(); ++i) positionOfBranch_[slot(order_[i])] = i;
  }

  void removeFrontLeaf() {
    Row& branch = branches_[slot(order_.back())];
    if (branch.count() == 1) {
      if (order_.size() == 1) {  // stays, empty
        branch.lows[0] = kHighest;
        top_[0] = kHighest;
        return;
      }
      freeBranches_.push_back(order_.back());
      order_.pop_back();
      top_[order_.size()] = kHighest;
      guess_ = std::min(guess_, order_.size() - 1);
    }
    freeLeaves_.push_back(branch.takeLast());
    noteFrontLeaf();
  }

  void noteFrontLeaf() {
    const Row& branch = branches_[slot(order_.back())];
    frontLeaf_ = branch.items[slot(branch.count() - 1)];
  }

  std::int32_t newLeaf(std::int32_t branchId) {
    const std::int32_t id = unused(leaves_, freeLeaves_);
    branchOfLeaf_.resize(leaves_.size());
    branchOfLeaf_[slot(id)] = branchId;
    return id;
  }

  std::int32_t newBranch() {
    const std::int32_t id = unused(branches_, freeBranches_);
    positionOfBranch_.resize(branches_.size());
    return id;
  }

  // The id of an empty row.
  static std::int32_t unused(std::vector<Row>& rows, std::vector<std::int32_t>& free) {
    if (free.empty()) {
      rows.emplace_back();
      return static_cast<std::int32_t>(rows.size() - 1);
    }
    const std::int32_t id = free.back();
    free.pop_back();
    return id;
  }

  std::size_t size_ = 0;
  std::int32_t frontLeaf_ = 0;  // its id
  std::vector<Row> leaves_;     // by leaf id
  std::vector<Row> branches_;   // by branch id
  std::vector<std::int32_t> freeLeaves_;
  std::vector<std::int32_t> freeBranches_;
  std::vector<std::int32_t> order_;  // branch ids, from back to front
  std::vector<float> top_;           // the lowest priority in each
  std::size_t guess_ = 0;            // the place of a branch
  float behindGuess_ = kHighest;     // nothing behind that branch is lower
  std::vector<std::size_t> positionOfBranch_;
  std::vector<std::int32_t> branchOfLeaf_;
  std::vector<std::int32_t> leafOfNode_;
};

}  // namespace Brin
