#include "support/allocation_limit.hpp"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace korrin_test {
namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> limit{kNone};
std::atomic<std::size_t> lastRefused{0};

}  // namespace

AllocationLimit::AllocationLimit(std::size_t bytes) {
  lastRefused = 0;
  limit = bytes;
}

AllocationLimit::~AllocationLimit() { limit = kNone; }

std::size_t AllocationLimit::refused() const { return lastRefused; }

}  // namespace korrin_test

void* operator new(std::size_t size) {
  if (size > korrin_test::limit) {
    korrin_test::lastRefused = size;
    throw std::bad_alloc();
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
