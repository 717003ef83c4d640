// What is promised of the log sink while it changes: it may be null at any moment, every record
// reaches one sink once, and every sink that is set comes back once.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "korrin/core/log.hpp"

namespace {

using Brin::completeLog;
using Brin::LogRecord;
using Brin::LogSink;
using Brin::NavLogLevel;
using Brin::setLogSink;

constexpr int kThreads = 4;

// Goes on until threads have met often enough for what is not safe to show, which takes longer on a
// busy machine, but not for ever.
class Meetings {
 public:
  bool goOn() const { return count_ < 3000 && std::chrono::steady_clock::now() < end_; }
  void countIf(bool haveMet) { count_ += haveMet ? 1 : 0; }

 private:
  std::chrono::steady_clock::time_point end_ =
      std::chrono::steady_clock::now() + std::chrono::seconds(3);
  std::atomic<int> count_{0};
};

// Sinks that can be told apart, each with a count of its records.
constexpr std::size_t kSinks = 4;
std::array<std::atomic<int>, kSinks> received{};
template <std::size_t kIndex>
void receive(const LogRecord&) {
  received[kIndex].fetch_add(1);
}
const std::array<LogSink, kSinks> kAllSinks = {receive<0>, receive<1>, receive<2>, receive<3>};

int receivedByAll() {
  int sum = 0;
  for (const std::atomic<int>& count : received) sum += count.load();
  return sum;
}

// Runs `work` on all threads at the same time, each with its number.
void runOnThreads(const std::function<void(int)>& work) {
  std::vector<std::thread> threads;
  std::atomic<int> waiting{kThreads};
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (--waiting; waiting > 0;) std::this_thread::yield();
      work(t);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(LogPromises, everyRecordIsDeliveredOnceWhileTheSinkIsNullAtTimes) {
  for (std::atomic<int>& count : received) count = 0;
  std::atomic<int> atWork{kThreads};
  std::atomic<int> swaps{0};
  std::atomic<int> said{0};
  Meetings meetings;
  ::testing::internal::CaptureStderr();
  std::thread swapper([&] {
    for (std::size_t i = 0; atWork.load() > 0; ++i) {
      setLogSink(i % 2 == 0 ? nullptr : kAllSinks[i / 2 % kSinks]);
      ++swaps;
    }
  });
  runOnThreads([&](int) {
    for (int i = 0; meetings.goOn(); ++i) {
      const int before = swaps;
      completeLog(NavLogLevel::Warning, "tick", "f", "g", i);
      meetings.countIf(swaps != before);
      ++said;
    }
    --atWork;
  });
  swapper.join();
  setLogSink(nullptr);
  const std::string printed = ::testing::internal::GetCapturedStderr();
  const auto lines = std::count(printed.begin(), printed.end(), '\n');
  EXPECT_EQ(receivedByAll() + lines, said.load());
  EXPECT_GT(receivedByAll(), 0);
  EXPECT_GT(lines, 0);
}

// Were the old sink read before the new one is set, and not with it, two threads could be handed
// the same one, and another would be lost.
TEST(LogPromises, everySinkThatIsSetComesBackOnceFromAnyThread) {
  setLogSink(nullptr);
  std::array<std::atomic<int>, kSinks> balance{};  // set, and not come back yet
  std::atomic<int> nulls{0};
  Meetings meetings;
  const auto comesBack = [&](LogSink sink) {
    if (sink == nullptr) {
      nulls.fetch_add(1);
      return;
    }
    const auto at = std::find(kAllSinks.begin(), kAllSinks.end(), sink) - kAllSinks.begin();
    balance.at(static_cast<std::size_t>(at)).fetch_sub(1);
  };
  runOnThreads([&](int t) {
    const auto own = static_cast<std::size_t>(t);
    while (meetings.goOn()) {
      balance[own].fetch_add(1);
      const LogSink before = setLogSink(kAllSinks[own]);
      comesBack(before);
      meetings.countIf(before != kAllSinks[own]);
    }
  });
  comesBack(setLogSink(nullptr));
  for (const std::atomic<int>& left : balance) EXPECT_EQ(left.load(), 0);
  EXPECT_EQ(nulls.load(), 1) << "the one before all others";
}

void swapAway(const LogRecord&) { setLogSink(receive<0>); }
void sayAgain(const LogRecord& record) {
  if (record.line > 0) {
    completeLog(record.level, record.message, record.file, record.function, record.line - 1);
  }
  received[1].fetch_add(1);
}

TEST(LogPromises, aSinkMaySetAnotherOrReportItself) {
  for (std::atomic<int>& count : received) count = 0;
  setLogSink(swapAway);
  completeLog(NavLogLevel::Info, "one", "f", "g", 1);
  EXPECT_EQ(received[0].load(), 0) << "that record was the old sink's";
  completeLog(NavLogLevel::Info, "two", "f", "g", 2);
  EXPECT_EQ(received[0].load(), 1);
  EXPECT_EQ(setLogSink(sayAgain), &receive<0>);
  completeLog(NavLogLevel::Info, "nested", "f", "g", 3);
  EXPECT_EQ(received[1].load(), 4);
  EXPECT_EQ(setLogSink(nullptr), &sayAgain);
}

}  // namespace
