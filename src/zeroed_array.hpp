// Arrays of zeros that cost nothing where they are not touched.
#pragma once

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "core/huge_pages.hpp"
#include "korrin/occmap_path_finder.hpp"

namespace Brin {

template <typename Number>
using ZeroedArray = std::unique_ptr<Number[], OccMapPathFinder::FreeMemory>;

// Large arrays are fresh pages of the system, which are zero already and take no memory before they
// are written to: a search pays for the cells that it comes to, not for the map. calloc alone would
// clear blocks of up to 32 megabytes that were in use before. More entries than an int counts are
// too many, however much memory there is.
template <typename Number>
ZeroedArray<Number> makeZeroedArray(std::int64_t count) {
  constexpr std::size_t kLeastMapped = std::size_t{1} << 18;
  if (count > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
  // Never 0 bytes, for which null would be a success.
  const auto entries = static_cast<std::size_t>(std::max<std::int64_t>(count, 1));
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() - kHugePage;
  if (entries > kMost / sizeof(Number)) throw std::bad_alloc();
  std::size_t bytes = entries * sizeof(Number);
  if (bytes >= kHugePage) bytes = (bytes + kHugePage - 1) / kHugePage * kHugePage;
  const bool isMapped = bytes >= kLeastMapped;
  void* memory =
      isMapped ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
               : std::calloc(entries, sizeof(Number));
  if (memory == nullptr || memory == MAP_FAILED) throw std::bad_alloc();
  // A search goes to and fro between rows that lie on pages of their own. The last one is rounded
  // up, or it would be made of small ones.
  if (bytes >= kHugePage) madvise(memory, bytes, MADV_HUGEPAGE);
  return {static_cast<Number*>(memory), OccMapPathFinder::FreeMemory{isMapped ? bytes : 0}};
}

inline void freeZeroedMemory(void* memory, std::size_t mappedBytes) {
  if (mappedBytes > 0) {
    munmap(memory, mappedBytes);
  } else {
    std::free(memory);
  }
}

}  // namespace Brin
