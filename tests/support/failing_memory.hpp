// Memory that runs out on demand, and a count of what is not given back: this program's and its
// libraries' malloc and relatives, which `new` and OpenCV's images come to in the end, and mmap
// (but not under the address sanitizer, which needs its own). To be included by one source file of
// a program, since it defines them.
//
//   FailingMemory memory(7, FailingMemory::Once);  // the seventh allocation from here on fails
//   EXPECT_THROW(needsSeven(), std::bad_alloc);
//   EXPECT_TRUE(memory.hasFailed());
#pragma once

#include <malloc.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define KORRIN_TEST_REAL(function) __interceptor_##function
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORRIN_TEST_REAL(function) __interceptor_##function
#endif
#endif
#ifndef KORRIN_TEST_REAL
#define KORRIN_TEST_COUNTS_PAGES
#define KORRIN_TEST_REAL(function) __libc_##function
#endif

// Memory is asked for before the sanitizers are ready to look at what asks; and libraries must find
// what asks here.
#define KORRIN_TEST_PLAIN \
  __attribute__((no_sanitize("address", "undefined"), visibility("default")))

extern "C" {
void* KORRIN_TEST_REAL(malloc)(std::size_t size);
void* KORRIN_TEST_REAL(calloc)(std::size_t count, std::size_t size);
void* KORRIN_TEST_REAL(realloc)(void* memory, std::size_t size);
void* KORRIN_TEST_REAL(memalign)(std::size_t alignment, std::size_t size);
void KORRIN_TEST_REAL(free)(void* memory);
}

namespace korrin_test {

// Plain numbers: for programs of one thread.
inline std::int64_t blocksInUse = 0;
inline std::int64_t allocationsLeft = -1;  // before failure; negative: it never comes
inline bool isFailingOn = false;
inline std::size_t firstRefused = 0;  // bytes; 0: none
inline std::int64_t allocationCount = 0;
inline std::size_t largestRequest = 0;  // bytes; to be set back to 0 by whoever wants to know
inline std::size_t mostAtOnce = std::numeric_limits<std::size_t>::max();  // bytes

class FailingMemory {
 public:
  enum Mode { Once, FromThenOn };

  // From the `nth` allocation on, counted from 1, or at that one alone.
  FailingMemory(std::int64_t nth, Mode mode) {
    firstRefused = 0;
    isFailingOn = mode == FromThenOn;
    allocationsLeft = nth - 1;
  }
  ~FailingMemory() { allocationsLeft = -1; }
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  static bool hasFailed() { return firstRefused > 0; }
  // The size of what failed first.
  static std::size_t refused() { return firstRefused; }
};

// While it lives, an allocation of more than `bytes` fails.
class SmallMemory {
 public:
  explicit SmallMemory(std::size_t bytes) { mostAtOnce = bytes; }
  ~SmallMemory() { mostAtOnce = std::numeric_limits<std::size_t>::max(); }
  SmallMemory(const SmallMemory&) = delete;
  SmallMemory& operator=(const SmallMemory&) = delete;
};

KORRIN_TEST_PLAIN inline bool refuses(std::size_t size) {
  ++allocationCount;
  if (size > largestRequest) largestRequest = size;
  if (size > mostAtOnce) {
    errno = ENOMEM;
    return true;
  }
  if (allocationsLeft < 0) return false;
  if (allocationsLeft > 0) {
    --allocationsLeft;
    return false;
  }
  if (firstRefused == 0) firstRefused = size > 0 ? size : 1;
  if (!isFailingOn) allocationsLeft = -1;
  errno = ENOMEM;
  return true;
}

KORRIN_TEST_PLAIN inline void* counted(void* memory) {
  if (memory != nullptr) ++blocksInUse;
  return memory;
}

}  // namespace korrin_test

extern "C" {

KORRIN_TEST_PLAIN void* malloc(std::size_t size) noexcept {
  return korrin_test::refuses(size) ? nullptr
                                    : korrin_test::counted(KORRIN_TEST_REAL(malloc)(size));
}

KORRIN_TEST_PLAIN void* calloc(std::size_t count, std::size_t size) noexcept {
  return korrin_test::refuses(count * size)
             ? nullptr
             : korrin_test::counted(KORRIN_TEST_REAL(calloc)(count, size));
}

KORRIN_TEST_PLAIN void* realloc(void* memory, std::size_t size) noexcept {
  if (korrin_test::refuses(size)) return nullptr;
  void* result = KORRIN_TEST_REAL(realloc)(memory, size);
  return memory == nullptr ? korrin_test::counted(result) : result;
}

KORRIN_TEST_PLAIN void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return korrin_test::refuses(size)
             ? nullptr
             : korrin_test::counted(KORRIN_TEST_REAL(memalign)(alignment, size));
}

KORRIN_TEST_PLAIN void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

KORRIN_TEST_PLAIN int posix_memalign(void** memory, std::size_t alignment,
                                     std::size_t size) noexcept {
  *memory = memalign(alignment, size);
  return *memory != nullptr ? 0 : ENOMEM;
}

KORRIN_TEST_PLAIN void free(void* memory) noexcept {
  if (memory != nullptr) --korrin_test::blocksInUse;
  KORRIN_TEST_REAL(free)(memory);
}

#ifdef KORRIN_TEST_COUNTS_PAGES

KORRIN_TEST_PLAIN void* mmap(void* address, std::size_t size, int protection, int flags, int file,
                             off_t offset) noexcept {
  if (korrin_test::refuses(size)) return MAP_FAILED;
#ifdef SYS_mmap2  // takes the offset in pages
  const long result = syscall(SYS_mmap2, address, size, protection, flags, file, offset / 4096);
#else
  const long result = syscall(SYS_mmap, address, size, protection, flags, file, offset);
#endif
  return result == -1 ? MAP_FAILED : korrin_test::counted(reinterpret_cast<void*>(result));
}

KORRIN_TEST_PLAIN int munmap(void* memory, std::size_t size) noexcept {
  --korrin_test::blocksInUse;
  return static_cast<int>(syscall(SYS_munmap, memory, size));
}

#endif

}  // extern "C"

// The address sanitizer has a `new` of its own, which does not come to malloc.

void* operator new(std::size_t size) {
  if (void* memory = malloc(size > 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return malloc(size > 0 ? size : 1);
}

void operator delete(void* memory) noexcept { free(memory); }

void operator delete(void* memory, std::size_t) noexcept { free(memory); }
