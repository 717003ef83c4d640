// What every fuzz target is made of: one function that takes bytes, does the same with the library
// and with its literal model, and requires that the answers agree to the last bit.
//
//   const Mark kFound("plan found");
//
//   extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
//     FuzzInput in(data, size);
//     ...
//     require(sameBits(path, expected), "path");
//     kFound.count(!path.empty());
//     return 0;
//   }
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzz/fuzz_input.hpp"
#include "support/bits.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace korrin_fuzz {

// Ends the program with a message unless `holds`.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "The library and its model differ: %s\n", what);
  std::abort();
}

inline void require(const ::testing::AssertionResult& holds, const char* what) {
  if (!holds) std::fprintf(stderr, "%s\n", holds.message());
  require(static_cast<bool>(holds), what);
}

// Whether a model can walk from or to a cell in time: it takes every step, where the library takes
// only those within the map. The library alone must answer for all others, and soon.
inline bool isInReach(const Brin::Pose2Di& cell) {
  constexpr int kReach = 1000;
  return std::abs(cell.x) <= kReach && std::abs(cell.y) <= kReach;
}

// Something that a target exists to reach. The counts are printed as the program ends, and a replay
// of the stored inputs fails where one of them is 0. For variables of namespace scope.
class Mark {
 public:
  explicit Mark(const char* name) : name_(name), next_(last_) {
    if (last_ == nullptr) std::atexit(printAll);
    last_ = this;
  }
  Mark(const Mark&) = delete;
  Mark& operator=(const Mark&) = delete;

  void count(bool reached) const { count_ += reached ? 1 : 0; }

  static bool areAllReached() {
    bool all = true;
    for (const Mark* mark = last_; mark != nullptr; mark = mark->next_) all &= mark->count_ > 0;
    return all;
  }

 private:
  static void printAll() {
    for (const Mark* mark = last_; mark != nullptr; mark = mark->next_) {
      std::fprintf(stderr, "mark: %10llu %s\n", mark->count_, mark->name_);
    }
  }

  inline static const Mark* last_ = nullptr;

  const char* name_;
  const Mark* next_;
  mutable unsigned long long count_ = 0;
};

}  // namespace korrin_fuzz
