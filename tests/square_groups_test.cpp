// Every way of taking the least of the squares around columns gives what a plain look at all
// columns in reach gives.
#include "src/square_groups.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "src/processor.hpp"
#include "support/random_inputs.hpp"

namespace {

using korrin_test::RandomInputs;

constexpr std::int32_t kCount = 4;
constexpr std::int32_t kMostReach = 126;

template <typename Number>
using Groups = Brin::SquareGroups<Number>;

template <typename Number>
constexpr Number kFar = static_cast<Number>(Number{1} << (8 * sizeof(Number) - 2));

template <typename Number>
struct Variant {
  const char* name;
  void (*leastAround)(const Number*, std::int32_t, Number*);
};

// The variants that this machine can run.
template <typename Number>
std::vector<Variant<Number>> variants() {
  std::vector<Variant<Number>> all{
      {"chosen", Groups<Number>::template leastAround<kCount>},
      {"plain", Groups<Number>::template leastAroundPlain<kCount>},
  };
#ifdef __SSE2__
  if constexpr (sizeof(Number) == 2) {
    if (Brin::hasAvx2()) all.push_back({"AVX2", Groups<Number>::template leastAroundAvx2<kCount>});
  }
#endif
  return all;
}

// A row with that reach and one group more beyond either end: squares of distances in reach, with
// kFar elsewhere.
template <typename Number>
std::vector<Number> anyRow(RandomInputs& random, std::int32_t reach) {
  const double share = random.pick<double>({0.0, 0.01, 0.1, 0.5, 1.0});
  const std::int32_t most = random.chance(0.5) ? reach : random.between(0, reach);
  std::vector<Number> row(
      static_cast<std::size_t>((kCount + 2) * Groups<Number>::kSize + 2 * reach), kFar<Number>);
  for (Number& square : row) {
    const auto distance = static_cast<Number>(random.between(0, most));
    if (random.chance(share)) square = static_cast<Number>(distance * distance);
  }
  return row;
}

// Only squares that are in reach count.
template <typename Number>
std::int32_t leastInReach(const Number* at, std::int32_t reach) {
  std::int32_t least = reach * reach + 1;
  for (std::int32_t dx = -reach; dx <= reach; ++dx) {
    least = std::min(least, std::int32_t{at[dx]} + dx * dx);
  }
  return least;
}

template <typename Number>
void expectTheLeast() {
  constexpr std::int32_t kColumns = kCount * Groups<Number>::kSize;
  constexpr auto kUnwritten = static_cast<Number>(-7);
  RandomInputs random(97);
  int inReach = 0, beyond = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::int32_t reach =
        random.chance(0.5) ? random.between(1, 9) : random.between(1, kMostReach);
    const std::vector<Number> row = anyRow<Number>(random, reach);
    const Number* const at = row.data() + Groups<Number>::kSize + reach;
    for (const Variant<Number>& variant : variants<Number>()) {
      std::vector<Number> out(kColumns + 1, kUnwritten);
      variant.leastAround(at, reach, out.data());
      for (std::int32_t x = 0; x < kColumns; ++x) {
        const std::int32_t least = leastInReach(at + x, reach);
        const std::int32_t found =
            std::min<std::int32_t>(out[static_cast<std::size_t>(x)], reach * reach + 1);
        ASSERT_EQ(found, least) << variant.name << ", reach " << reach << ", column " << x;
        ++(least <= reach * reach ? inReach : beyond);
      }
      ASSERT_EQ(out.back(), kUnwritten) << variant.name << " went too far";
      std::vector<Number> plain(kColumns);
      Groups<Number>::template leastAroundPlain<kCount>(at, reach, plain.data());
      out.pop_back();
      ASSERT_EQ(out, plain) << variant.name << ", beyond the reach";
    }
  }
  EXPECT_GT(inReach, 10000);
  EXPECT_GT(beyond, 10000);
}

TEST(SquareGroups, everyVariantFindsTheLeastOf16Bits) { expectTheLeast<std::int16_t>(); }

TEST(SquareGroups, everyVariantFindsTheLeastOf32Bits) { expectTheLeast<std::int32_t>(); }

}  // namespace
