// Arrays of zeros that cost nothing where they are not touched.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "korrin/occmap_path_finder.hpp"

namespace Brin {

template <typename Number>
using ZeroedArray = std::unique_ptr<Number[], OccMapPathFinder::FreeMemory>;

// Large blocks of calloc are fresh pages of the system, which are zero already and take no memory
// before they are written to: a search pays for the cells that it comes to, not for the map.
template <typename Number>
ZeroedArray<Number> makeZeroedArray(std::size_t count) {
  // Never 0 bytes, for which null would be a success.
  void* memory = std::calloc(std::max<std::size_t>(count, 1), sizeof(Number));
  if (memory == nullptr) throw std::bad_alloc();
  return ZeroedArray<Number>(static_cast<Number*>(memory));
}

}  // namespace Brin
