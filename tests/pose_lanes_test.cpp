// Every way of adding up gives the plain one's sums and misses, to the last bit.
#include "src/pose_lanes.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "src/processor.hpp"
#include "support/bits.hpp"
#include "support/random_inputs.hpp"

namespace {

using Brin::AddendTable;
using Brin::LanePoints;
using Brin::Points;
using Brin::PoseLanes;
using korrin_test::RandomInputs;
using korrin_test::sameBits;

using AddUp = void (*)(const AddendTable&, const LanePoints&, float, PoseLanes&);

struct Variant {
  const char* name;
  AddUp toTurn;
  AddUp turned;
};

// The variants that this machine can run.
std::vector<Variant> variants() {
  std::vector<Variant> all{{"chosen", Brin::addUp<Points::ToTurn>, Brin::addUp<Points::Turned>}};
#ifdef __SSE2__
  all.push_back({"SSE2", Brin::addUpSse2<Points::ToTurn>, Brin::addUpSse2<Points::Turned>});
  if (Brin::hasAvx2()) {
    all.push_back({"AVX2", Brin::addUpAvx2<Points::ToTurn>, Brin::addUpAvx2<Points::Turned>});
  }
#endif
  return all;
}

::testing::AssertionResult sameResults(const PoseLanes& a, const PoseLanes& b) {
  for (int i = 0; i < PoseLanes::kSize; ++i) {
    if (!sameBits(a.sum[i], b.sum[i]) || a.minusMisses[i] != b.minusMisses[i]) {
      return ::testing::AssertionFailure()
             << "lane " << i << ": " << a.sum[i] << " and " << b.sum[i];
    }
  }
  return ::testing::AssertionSuccess();
}

struct Input {
  std::vector<float> distances;
  int side = 1;
  std::vector<float> x;
  std::vector<float> y;
  float inv = 1.0f;
  PoseLanes lanes{};
};

Input someInput(RandomInputs& random) {
  Input input;
  input.side = random.between(1, 20);
  input.distances.resize(static_cast<std::size_t>(input.side * input.side));
  for (float& d : input.distances) {
    d = random.chance(0.03) ? random.wildFloat() : random.between(0.0f, 3.0f);
  }
  input.inv = random.chance(0.05) ? random.wildFloat() : random.pick<float>({1.0f, 2.0f, 20.0f});
  const float reach = (static_cast<float>(input.side) / 2.0f + 2.0f) / input.inv;
  const auto someFloat = [&](float limit) {
    return random.chance(0.01) ? random.wildFloat() : random.between(-limit, limit);
  };
  const int count = random.between(0, 50);
  for (int i = 0; i < count; ++i) {
    input.x.push_back(someFloat(reach));
    input.y.push_back(someFloat(reach));
  }
  for (int i = 0; i < PoseLanes::kSize; ++i) {
    const float theta = random.between(-4.0f, 4.0f);
    input.lanes.sine[i] = std::sin(theta);
    input.lanes.cosine[i] = std::cos(theta);
    input.lanes.x[i] = someFloat(reach / 4.0f);
    input.lanes.y[i] = someFloat(reach / 4.0f);
  }
  return input;
}

TEST(PoseLanes, everyVariantAddsUpWhatThePlainOneDoes) {
  RandomInputs random(41);
  const std::vector<Variant> all = variants();
  std::int64_t matches = 0;
  std::int64_t misses = 0;
  for (int i = 0; i < 30000; ++i) {
    const Input input = someInput(random);
    const AddendTable table({input.distances.data(), input.side, input.side / 2},
                            random.pick<float>({0.0f, 1.0f, 2.0f}));
    const LanePoints points{input.x.data(), input.y.data(), input.x.size()};
    PoseLanes toTurn = input.lanes;
    Brin::addUpPlain<Points::ToTurn>(table, points, input.inv, toTurn);
    PoseLanes turned = input.lanes;
    Brin::addUpPlain<Points::Turned>(table, points, input.inv, turned);
    for (const Variant& variant : all) {
      PoseLanes found = input.lanes;
      variant.toTurn(table, points, input.inv, found);
      ASSERT_TRUE(sameResults(found, toTurn)) << variant.name;
      found = input.lanes;
      variant.turned(table, points, input.inv, found);
      ASSERT_TRUE(sameResults(found, turned)) << variant.name;
    }
    misses -= toTurn.minusMisses[0];
    matches += static_cast<std::int64_t>(points.count) + toTurn.minusMisses[0];
  }
  EXPECT_GT(matches, 100000);
  EXPECT_GT(misses, 100000);
}

TEST(AddendTable, holdsWhatEachPixelAddsAndMinusZeroForNoMatch) {
  const std::vector<float> distances{0.0f, 1.0f, 2.0f, 3.0f};
  const AddendTable table({distances.data(), 2, 1}, 2.0f);
  const auto at = [&](int row, int col) { return table.centre[row * table.stride + col]; };
  EXPECT_TRUE(sameBits(at(-1, -1), 2.0f));
  EXPECT_TRUE(sameBits(at(-1, 0), 1.0f));
  EXPECT_TRUE(sameBits(at(0, -1), 0.0f)) << "at the cut-off: a match that adds nothing";
  EXPECT_TRUE(sameBits(at(0, 0), -0.0f));
  for (int i = -2; i <= 1; ++i) {
    for (const float border : {at(-2, i), at(1, i), at(i, -2), at(i, 1)}) {
      EXPECT_TRUE(sameBits(border, -0.0f)) << i;
    }
  }
}

TEST(AddendTable, aMatchAtACutOffOfMinusZeroIsAMatch) {
  const float zero = 0.0f;
  EXPECT_FALSE(std::signbit(*AddendTable({&zero, 1, 0}, -0.0f).centre));
}

}  // namespace
