// What the open list remembers of its past (its front leaf, the branch where the last entry was
// filed, the lowest priority behind that) must not go stale: long runs of one kind, mixed in any
// order, with the plain vector beside them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "models/open_list_model.hpp"
#include "src/open_list.hpp"
#include "support/random_inputs.hpp"

namespace {

using korrin_test::RandomInputs;
using Order = std::vector<std::int32_t>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Both lists, with the same operations on them, and a count of what only a rare history brings.
class Histories {
 public:
  explicit Histories(std::uint64_t seed) : random(seed) {}

  void file(float f) {
    fast_.file(next_, f);
    plain_.file(next_, f);
    ++next_;
    longest = std::max(longest, plain_.size());
  }

  void take() {
    if (plain_.size() == 0) return;
    isSame_ = isSame_ && fast_.takeFirst() == plain_.takeFirst();
    emptied += plain_.size() == 0 ? 1 : 0;
  }

  // Changes the entry that is `place` places from the front.
  void change(std::size_t place, float f) {
    const Order order = plain_.order();
    const std::int32_t node = order[place];
    fast_.change(node, f);
    plain_.change(node, f);
  }

  bool isFrontSame() {
    isSame_ = isSame_ && fast_.empty() == (plain_.size() == 0);
    if (isSame_ && plain_.size() > 0) isSame_ = fast_.first() == plain_.first();
    return isSame_;
  }

  bool isOrderSame() const {
    Order order;
    fast_.copyTo(order);
    return isSame_ && order == plain_.order();
  }

  std::size_t size() const { return plain_.size(); }

  RandomInputs random;
  float level = 0.0f;  // around which priorities are drawn
  std::size_t longest = 0;
  int emptied = 0;

 private:
  bool isSame_ = true;
  std::int32_t next_ = 0;
  Brin::OpenList fast_;
  korrin_model::OpenList plain_;
};

// Runs of one kind, `count` operations long.
using Stretch = void (*)(Histories& h, int count);

void descend(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.file(h.level -= 1.0f);
}
void ascend(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.file(h.level += 1.0f);
}
void stay(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.file(h.level);
}
void fileAround(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.file(h.level + h.random.between(-50.0f, 50.0f));
}
// In front and at the back by turns: the branch of one entry is never that of the next.
void alternate(Histories& h, int count) {
  for (int i = 0; i < count; ++i) {
    const float away = 1000.0f + static_cast<float>(i);
    h.file(i % 2 == 0 ? h.level - away : h.level + away);
  }
}
void fileNoNumbers(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.file(h.random.pick<float>({kNan, kNan, kInf, -kInf, -0.0f}));
}
void takeMany(Histories& h, int count) {
  for (int i = 0; i < count; ++i) h.take();
}
void takeAll(Histories& h, int) {
  while (h.size() > 0) h.take();
}
// One of the hindmost entries falls below all others, which then seem to come too late.
void lowerBehind(Histories& h, int count) {
  for (int i = 0; i < count % 4 && h.size() > 0; ++i) {
    const std::size_t back = h.random.bits() % std::min<std::size_t>(h.size(), 40);
    h.change(h.size() - 1 - back, h.level - 2000.0f);
    for (int k = 0; k < 20; ++k) h.file(h.level + h.random.between(-2100.0f, 50.0f));
  }
}
// The entries that held others back rise again.
void raiseAnywhere(Histories& h, int count) {
  for (int i = 0; i < count % 30 && h.size() > 0; ++i) {
    h.change(h.random.bits() % h.size(), h.level + h.random.between(0.0f, 3000.0f));
    if (i % 3 == 0) h.file(h.level + h.random.between(-50.0f, 50.0f));
  }
}
void changeFront(Histories& h, int count) {
  for (int i = 0; i < count % 30 && h.size() > 0; ++i) {
    const std::size_t place = h.random.bits() % std::min<std::size_t>(h.size(), 20);
    h.change(place, h.random.pick<float>({kNan, h.level - 1.0f, h.level + 70.0f, -kInf, kInf}));
    h.file(h.level + h.random.between(-5.0f, 5.0f));
    if (i % 4 == 0) h.take();
  }
}
// As a search does: what is taken brings a few that are a little higher.
void search(Histories& h, int count) {
  for (int i = 0; i < count; ++i) {
    h.take();
    h.level += 0.02f;
    for (int k = h.random.between(0, 3); k > 0; --k) h.file(h.level + h.random.between(0.0f, 2.0f));
  }
}

const std::vector<Stretch> kRuns = {descend,     ascend,   stay,     fileAround,  alternate,
                                    search,      takeMany, takeAll,  lowerBehind, raiseAnywhere,
                                    changeFront, search,   takeMany, descend,     fileNoNumbers};

TEST(OpenListHistory, anyRunsInAnyOrder) {
  int emptied = 0;
  std::size_t longest = 0;
  for (std::uint64_t seed = 0; seed < 120; ++seed) {
    Histories histories(seed);
    const int longestRun = seed % 4 == 0 ? 1200 : 90;
    for (int run = 0; run < 40; ++run) {
      const std::size_t kind = histories.random.bits() % kRuns.size();
      kRuns[kind](histories, histories.random.between(1, longestRun));
      ASSERT_TRUE(histories.isFrontSame()) << "seed " << seed << ", run " << run;
      ASSERT_TRUE(histories.isOrderSame()) << "seed " << seed << ", run " << run;
    }
    takeAll(histories, 0);
    ASSERT_TRUE(histories.isOrderSame()) << "seed " << seed;
    emptied += histories.emptied;
    longest = std::max(longest, histories.longest);
  }
  EXPECT_GT(emptied, 400);
  EXPECT_GT(longest, 5000u) << "more than sixteen branches";
}

// Every kind of run after every other, and then after a third: what the first leaves behind is
// there when the last one begins.
TEST(OpenListHistory, everyRunAfterEveryOther) {
  const int size = 300;
  for (const Stretch first : kRuns) {
    for (const Stretch second : kRuns) {
      for (const Stretch third : {descend, alternate, search, takeAll}) {
        Histories histories(7);
        fileAround(histories, size);
        for (const Stretch run : {first, second, third, fileAround}) {
          run(histories, size);
          ASSERT_TRUE(histories.isFrontSame());
        }
        ASSERT_TRUE(histories.isOrderSame());
      }
    }
  }
}

// After every single operation, through several splits of leaves and branches.
TEST(OpenListHistory, theOrderAfterEveryOperation) {
  for (const std::size_t size : {15u, 16u, 17u, 255u, 256u, 257u, 700u}) {
    Histories histories(size);
    for (int i = 0; i < 1200; ++i) {
      const bool grows = histories.size() < size;
      if (grows || histories.random.chance(0.45)) {
        histories.file(static_cast<float>(histories.random.between(0, 40)));
      } else if (histories.random.chance(0.5)) {
        histories.take();
      } else {
        histories.change(histories.random.bits() % histories.size(),
                         static_cast<float>(histories.random.between(-5, 45)));
      }
      ASSERT_TRUE(histories.isFrontSame()) << size << " entries, operation " << i;
      ASSERT_TRUE(histories.isOrderSame()) << size << " entries, operation " << i;
    }
  }
}

}  // namespace
