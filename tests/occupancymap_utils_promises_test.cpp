// What the search with a caller's own condition promises of the calls that it makes: how many, in
// what order, with which values, and from how many conditions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "korrin/occupancymap_utils.hpp"
#include "models/occupancymap_utils_model.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::OccupancyMap;
using Brin::Pose2Di;
using korrin_test::RandomInputs;

constexpr int kStart = -1;        // who is asked about the start cell; else a ray's number
constexpr float kMade = 1000.0f;  // instead of a value: the condition of that ray was asked for
constexpr std::size_t kNever = 1u << 30;

// Everything that was called, in order.
struct Call {
  int who;
  float value;

  bool operator==(const Call& other) const { return who == other.who && value == other.value; }
};
using Calls = std::vector<Call>;

// Accepts values above `threshold`, each time after `skip` others; writes down what it is asked,
// and throws instead of call number `throwAt`.
struct Asker {
  float threshold;
  int skip;
  std::size_t throwAt = kNever;
  Calls calls = {};

  bool accepts(int who, float value, int& skipped) {
    note({who, value});
    return value > threshold && skipped++ >= skip;
  }
  void note(const Call& call) {
    if (calls.size() == throwAt) throw std::runtime_error("no more");
    calls.push_back(call);
  }
};

struct Question {
  const OccupancyMap& map;
  Pose2Di start;
};

bool searchAsking(const Question& question, Asker& asker, Pose2Di& out) {
  int atStart = 0;
  int made = 0;
  return Brin::xFindFirstCell(
      question.map, question.start, out,
      [&](float value) { return asker.accepts(kStart, value, atStart); },
      [&]() -> Brin::CellCondition {
        const int ray = made++;
        asker.note({ray, kMade});
        return [&asker, ray, skipped = 0](float value) mutable {
          return asker.accepts(ray, value, skipped);
        };
      });
}

// The same calls, as they are promised: the start; a condition for each ray; then one ray after the
// other, cell by cell, until one is accepted or the next cell is farther than the best.
bool modelAsking(const Question& question, Asker& asker, Pose2Di& out) {
  int skipped = 0;
  const Pose2Di& start = question.start;
  if (asker.accepts(kStart, korrin_model::valueAt(question.map, start.x, start.y), skipped)) {
    out = start;
    return true;
  }
  for (int ray = 0; ray < 50; ++ray) asker.note({ray, kMade});
  float best = 1000000.0f;
  bool isFound = false;
  Pose2Di nearest;
  for (int ray = 0; ray < 50; ++ray) {
    skipped = 0;
    int steps = 0;
    for (const Pose2Di& cell :
         korrin_model::lineCells(start, korrin_model::rayEnd(question.map, start, ray))) {
      if (static_cast<float>(steps++) > best) break;
      if (!asker.accepts(ray, korrin_model::valueAt(question.map, cell.x, cell.y), skipped)) {
        continue;
      }
      const float distance = Brin::computeNorm(cell.x - start.x, cell.y - start.y);
      if (distance < best) {
        best = distance;
        nearest = cell;
        isFound = true;
      }
      break;
    }
  }
  if (isFound) out = nearest;
  return isFound;
}

OccupancyMap someMap(RandomInputs& random) {
  korrin_test::MapBounds bounds;
  bounds.maxSide = random.chance(0.1) ? 60 : 9;
  bounds.levels = {0.0f, 0.0f, 0.0f, 0.0f, 0.5f, 1.0f};
  bounds.anyValueShare = 0.0;
  return random.map(bounds);
}

TEST(CellSearchPromises, asksExactlyWhatItPromisesInThatOrder) {
  RandomInputs random(91);
  int found = 0;
  int cutShort = 0;
  for (int i = 0; i < 3000; ++i) {
    const OccupancyMap map = someMap(random);
    const Question question{map, random.cellNear(map, 2)};
    Asker asker{random.pick<float>({0.4f, 0.7f, -2.0f}), random.pick<int>({0, 0, 1, 3})};
    Asker expected = asker;
    Pose2Di out;
    Pose2Di expectedOut;
    const bool isFound = searchAsking(question, asker, out);
    ASSERT_EQ(isFound, modelAsking(question, expected, expectedOut)) << "case " << i;
    ASSERT_TRUE(korrin_test::sameBits(out, expectedOut)) << "case " << i;
    ASSERT_EQ(asker.calls.size(), expected.calls.size()) << "case " << i;
    ASSERT_TRUE(asker.calls == expected.calls) << "case " << i;
    found += isFound ? 1 : 0;
    cutShort += isFound && asker.calls.size() > 60 ? 1 : 0;
  }
  EXPECT_GT(found, 1000);
  EXPECT_GT(cutShort, 500);
}

TEST(CellSearchPromises, anAcceptedStartIsTheOnlyCall) {
  const OccupancyMap map(5, 5, 1.0f, false);
  Asker asker{0.4f, 0};
  Pose2Di out;
  EXPECT_TRUE(searchAsking({map, {2, 2, 1.0f}}, asker, out));
  EXPECT_EQ(asker.calls.size(), 1u);
}

// Whichever call throws: it is the last one, and nothing has been answered.
TEST(CellSearchPromises, afterACallThatThrowsThereIsNoOther) {
  OccupancyMap map(3, 3, 1.0f, false);
  map.reset(0.0f);
  map.setCell(2, 1, 1.0f);
  Asker whole{0.5f, 0};
  Pose2Di out;
  EXPECT_TRUE(searchAsking({map, {1, 1, 0.0f}}, whole, out));
  ASSERT_GT(whole.calls.size(), 100u);
  for (std::size_t at = 0; at < whole.calls.size(); ++at) {
    Asker asker{0.5f, 0, at};
    Pose2Di kept(-7, -8, 9.0f);
    EXPECT_THROW(searchAsking({map, {1, 1, 0.0f}}, asker, kept), std::runtime_error);
    EXPECT_EQ(asker.calls.size(), at);
    EXPECT_TRUE(korrin_test::sameBits(kept, Pose2Di(-7, -8, 9.0f)));
  }
}

// A condition of the caller's own, through the public template: the copies together are asked as
// often as the parts of the search are.
TEST(CellSearchPromises, theTemplateAsksTheSame) {
  struct Counting {
    int* calls;
    bool operator()(float value) const {
      ++*calls;
      return value > 0.7f;
    }
  };
  RandomInputs random(92);
  int most = 0;
  for (int i = 0; i < 500; ++i) {
    const OccupancyMap map = someMap(random);
    const Question question{map, random.cellNear(map, 1)};
    Asker expected{0.7f, 0};
    Pose2Di out;
    modelAsking(question, expected, out);
    int made = 0;
    for (const Call& call : expected.calls) made += call.value == kMade ? 1 : 0;
    int calls = 0;
    Brin::findFirstCellWithCond(map, question.start, out, Counting{&calls});
    ASSERT_EQ(calls, static_cast<int>(expected.calls.size()) - made) << "case " << i;
    most = std::max(most, calls);
  }
  EXPECT_GT(most, 1000);
}

}  // namespace
