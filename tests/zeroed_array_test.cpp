// An array of zeros has all of its entries, zero and writable, wherever its memory comes from.
#include "src/zeroed_array.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>

namespace {

using Brin::makeZeroedArray;

constexpr std::int64_t kMapped = 1 << 16;  // entries from which on pages are taken
constexpr std::int64_t kHuge = 1 << 19;    // and huge pages

TEST(ZeroedArray, holdsAllItsEntriesAtEverySize) {
  for (const std::int64_t count : {std::int64_t{1}, std::int64_t{5}, kMapped - 1, kMapped,
                                   kMapped + 1, kHuge - 1, kHuge, kHuge + 1, 3 * kHuge - 7}) {
    for (int round = 0; round < 2; ++round) {  // the second in memory that was in use
      const auto array = makeZeroedArray<std::int32_t>(count);
      EXPECT_EQ(std::count(array.get(), array.get() + count, 0), count) << count << " entries";
      std::fill_n(array.get(), count, -1);
      EXPECT_EQ(std::count(array.get(), array.get() + count, -1), count) << count << " entries";
    }
  }
}

TEST(ZeroedArray, isThereForNoEntriesToo) {
  EXPECT_NE(makeZeroedArray<std::int32_t>(0), nullptr);
  EXPECT_NE(makeZeroedArray<std::int32_t>(-3), nullptr);
}

TEST(ZeroedArray, refusesMoreEntriesThanAnIntCounts) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  EXPECT_THROW(makeZeroedArray<std::int32_t>(kMost + 1), std::bad_alloc);
}

}  // namespace
