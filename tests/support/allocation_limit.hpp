// A machine with little memory, for tests of what happens when it runs out.
//
//   AllocationLimit limit(1 << 20);
//   EXPECT_THROW(needsTwoMebibytes(), std::bad_alloc);
//   EXPECT_EQ(limit.refused(), 2u << 20);
#pragma once

#include <cstddef>

namespace korrin_test {

// While it lives, `new` throws std::bad_alloc for more than `bytes` at once, in this program and
// in the libraries that it is linked to. At most one exists at a time.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t bytes);
  ~AllocationLimit();
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;

  // The size of the last allocation that was refused, 0 for none.
  std::size_t refused() const;
};

}  // namespace korrin_test
