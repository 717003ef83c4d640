// The blocked list keeps the very order of a vector that is scanned from the back.
#include "src/open_list.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "models/open_list_model.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OpenList;
using korrin_test::RandomInputs;
using Order = std::vector<std::int32_t>;

Order orderOf(const OpenList& list) {
  Order nodes = {-5};
  list.copyTo(nodes);
  return nodes;
}

TEST(OpenList, ascendsAndTheLastFiledIsFirstAmongEquals) {
  OpenList list;
  std::int32_t node = 0;
  for (float f : {1.0f, 2.0f, 1.0f, 1.5f, 2.0f, 0.5f}) list.file(node++, f);
  EXPECT_EQ(orderOf(list), (Order{5, 2, 0, 3, 4, 1}));
}

TEST(OpenList, aLoweredEntryKeepsItsPlaceAndStopsTheScan) {
  OpenList list;
  std::int32_t node = 0;
  for (float f : {1.0f, 2.0f, 3.0f, 4.0f}) list.file(node++, f);
  list.change(2, 0.5f);
  list.file(4, 0.75f);
  EXPECT_EQ(orderOf(list), (Order{0, 1, 2, 4, 3}));
}

TEST(OpenList, aRaisedEntryNoLongerStopsTheScan) {
  OpenList list;
  std::int32_t node = 0;
  for (float f : {1.0f, 2.0f, 3.0f, 4.0f}) list.file(node++, f);
  list.change(2, 9.0f);
  list.file(4, 3.5f);
  EXPECT_EQ(orderOf(list), (Order{0, 1, 4, 2, 3}));
}

TEST(OpenList, manyEqualPrioritiesComeOutLastInFirstOut) {
  OpenList list;
  for (std::int32_t node = 0; node < 1000; ++node) list.file(node, 1.0f);
  for (std::int32_t node = 999; node >= 0; --node) ASSERT_EQ(list.takeFirst(), node);
  EXPECT_TRUE(list.empty());
}

TEST(OpenList, aLoweredEntryFarBackDrawsAllLaterOnesBehindIt) {
  OpenList list;
  for (std::int32_t node = 0; node < 1000; ++node) list.file(node, static_cast<float>(node));
  list.change(900, -1.0f);
  list.file(1000, 0.5f);
  const Order order = orderOf(list);
  const auto lowered = std::find(order.begin(), order.end(), 900);
  EXPECT_EQ(lowered - order.begin(), 900);
  EXPECT_EQ(*(lowered + 1), 1000);
}

TEST(OpenList, anEmptyListHasAnEmptyOrderAndCanBeFilledAgain) {
  OpenList list;
  EXPECT_TRUE(list.empty());
  EXPECT_TRUE(orderOf(list).empty());
  for (int round = 0; round < 3; ++round) {
    list.file(0, 1.0f);
    EXPECT_FALSE(list.empty());
    EXPECT_EQ(list.takeFirst(), 0);
    EXPECT_TRUE(list.empty());
  }
}

// How priorities are drawn: a kind each of search behaviour that is hard on the list.
float drawPriority(RandomInputs& random, int kind, float front) {
  switch (kind) {
    case 0:  // few values, many ties
      return static_cast<float>(random.between(0, 6));
    case 1:  // a frontier that moves on
      return front + random.between(0.0f, 5.0f);
    case 2:  // always in front
      return -front;
    default:
      return random.wildFloat();
  }
}

class Operations {
 public:
  Operations(std::uint64_t seed, int kind, std::size_t aim)
      : random_(seed), kind_(kind), aim_(aim) {}

  ::testing::AssertionResult run(int count) {
    for (int i = 0; i < count; ++i) {
      front_ += 0.01f;
      const bool grow = literal_.size() < aim_ ? random_.chance(0.7) : random_.chance(0.4);
      if (literal_.size() == 0 || grow) {
        add();
      } else if (random_.chance(0.5)) {
        change();
      } else if (list_.takeFirst() != literal_.takeFirst()) {
        return ::testing::AssertionFailure() << "another first entry after operation " << i;
      }
      if (list_.empty() != (literal_.size() == 0)) return ::testing::AssertionFailure() << "empty";
      if (!list_.empty() && list_.first() != literal_.first()) {
        return ::testing::AssertionFailure() << "another entry in front after operation " << i;
      }
      if (i % 50 == 0 && orderOf(list_) != literal_.order()) {
        return ::testing::AssertionFailure() << "another order after operation " << i;
      }
    }
    return ::testing::AssertionSuccess();
  }

  std::size_t longest = 0;
  int lowered = 0;
  int raised = 0;

 private:
  void add() {
    const float f = drawPriority(random_, kind_, front_);
    list_.file(nextNode_, f);
    literal_.file(nextNode_, f);
    ++nextNode_;
    longest = std::max(longest, literal_.size());
  }

  void change() {
    const Order order = literal_.order();
    const std::int32_t node = random_.pick(order);
    const float before = literal_.priorityOf(node);
    float f = before - random_.between(0.0f, 0.5f);
    if (random_.chance(kind_ == 3 ? 0.5 : 0.05)) f = drawPriority(random_, kind_, front_);
    lowered += f < before ? 1 : 0;
    raised += f > before ? 1 : 0;
    list_.change(node, f);
    literal_.change(node, f);
  }

  RandomInputs random_;
  int kind_;
  std::size_t aim_;
  float front_ = 0.0f;
  std::int32_t nextNode_ = 0;
  OpenList list_;
  korrin_model::OpenList literal_;
};

TEST(OpenList, agreesWithThePlainVectorOnRandomOperations) {
  int lowered = 0;
  int raised = 0;
  std::size_t longest = 0;
  for (std::uint64_t seed = 0; seed < 24; ++seed) {
    const std::size_t aim = seed % 3 == 0 ? 20 : seed % 3 == 1 ? 200 : 4000;
    Operations operations(seed, static_cast<int>(seed / 3 % 4), aim);
    ASSERT_TRUE(operations.run(aim > 1000 ? 30000 : 12000)) << "seed " << seed;
    lowered += operations.lowered;
    raised += operations.raised;
    longest = std::max(longest, operations.longest);
  }
  EXPECT_GT(lowered, 30000);
  EXPECT_GT(raised, 2000);
  EXPECT_GT(longest, 3000u);
}

}  // namespace
