// Large pages for large memory: fewer page faults, and fewer addresses to look up.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>

namespace Brin {

constexpr std::size_t kHugePage = std::size_t{1} << 21;  // bytes

// Asks for huge pages wherever whole ones fit between `begin` and `end`, which must lie in one
// block of memory. A wish only, and for no more than speed: what the memory holds stays as it is.
// Whoever writes to one byte of a huge page takes all of it.
inline void wishForHugePages(const void* begin, const void* end) {
  const auto first = reinterpret_cast<std::uintptr_t>(begin);
  const auto last = reinterpret_cast<std::uintptr_t>(end);
  if (last - first < kHugePage) return;
  const std::uintptr_t from = (first + kHugePage - 1) / kHugePage * kHugePage;
  const std::uintptr_t to = last / kHugePage * kHugePage;
  if (from < to) madvise(reinterpret_cast<void*>(from), to - from, MADV_HUGEPAGE);
}

}  // namespace Brin
