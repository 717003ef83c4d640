// Arrays of zeros that cost nothing where they are not touched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "korrin/occmap_path_finder.hpp"

namespace Brin {

template <typename Number>
using ZeroedArray = std::unique_ptr<Number[], OccMapPathFinder::FreeMemory>;

// Large blocks of calloc are fresh pages of the system, which are zero already and take no memory
// before they are written to: a search pays for the cells that it comes to, not for the map. More
// entries than an int counts are too many, however much memory there is.
template <typename Number>
ZeroedArray<Number> makeZeroedArray(std::int64_t count) {
  if (count > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
  // Never 0 bytes, for which null would be a success.
  void* memory =
      std::calloc(static_cast<std::size_t>(std::max<std::int64_t>(count, 1)), sizeof(Number));
  if (memory == nullptr) throw std::bad_alloc();
  return ZeroedArray<Number>(static_cast<Number*>(memory));
}

}  // namespace Brin
