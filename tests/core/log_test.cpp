// Every record reaches the sink of the moment, whole; without a sink, one line on standard error,
// but for Info.
#include "korrin/core/log.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/log_capture.hpp"

namespace {

using Brin::completeLog;
using Brin::LogRecord;
using Brin::LogSink;
using Brin::NavLogLevel;
using Brin::setLogSink;

std::string printed(NavLogLevel level, const std::string& message) {
  ::testing::internal::CaptureStderr();
  completeLog(level, message, "src/some_component", "someFunction", 42);
  return ::testing::internal::GetCapturedStderr();
}

void ignore(const LogRecord&) {}
void refuse(const LogRecord& record) { throw std::runtime_error(record.message); }

std::atomic<int> delivered{0};
void countOne(const LogRecord&) { delivered.fetch_add(1); }
void countOneToo(const LogRecord&) { delivered.fetch_add(1); }

TEST(NavLogLevel, hasTheThreeNumberedLevels) {
  static_assert(std::is_same_v<std::underlying_type_t<NavLogLevel>, std::int32_t>);
  EXPECT_EQ(static_cast<int>(NavLogLevel::Info), 0);
  EXPECT_EQ(static_cast<int>(NavLogLevel::Warning), 1);
  EXPECT_EQ(static_cast<int>(NavLogLevel::Error), 2);
}

TEST(CompleteLog, printsOneLineForAWarningOrAnErrorWhenThereIsNoSink) {
  EXPECT_EQ(printed(NavLogLevel::Warning, "Start is not free."),
            "korrin warning: Start is not free. (src/some_component, someFunction, line 42)\n");
  EXPECT_EQ(printed(NavLogLevel::Error, ""),
            "korrin error:  (src/some_component, someFunction, line 42)\n");
}

TEST(CompleteLog, printsNothingForAnInfoWhenThereIsNoSink) {
  EXPECT_EQ(printed(NavLogLevel::Info, "All is well."), "");
}

TEST(CompleteLog, printsAnUnnamedLevelOnEitherSideToo) {
  for (const int level : {7, 3, -1, -5}) {
    EXPECT_EQ(printed(static_cast<NavLogLevel>(level), "What now?"),
              "korrin log: What now? (src/some_component, someFunction, line 42)\n");
  }
}

TEST(CompleteLog, doesNotReadTheMessageAsAFormat) {
  EXPECT_EQ(printed(NavLogLevel::Error, "100 %s of %n"),
            "korrin error: 100 %s of %n (src/some_component, someFunction, line 42)\n");
}

TEST(CompleteLog, handsTheWholeRecordToTheSinkAndPrintsNothing) {
  const korrin_test::LogCapture log;
  EXPECT_EQ(printed(static_cast<NavLogLevel>(-5), "Taken."), "");
  const std::vector<LogRecord> records = log.records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(static_cast<int>(records[0].level), -5);
  EXPECT_EQ(records[0].message, "Taken.");
  EXPECT_EQ(records[0].file, "src/some_component");
  EXPECT_EQ(records[0].function, "someFunction");
  EXPECT_EQ(records[0].line, 42);
}

TEST(CompleteLog, handsAnInfoToTheSink) {
  const korrin_test::LogCapture log;
  completeLog(NavLogLevel::Info, "All is well.", "f", "g", 1);
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].message, "All is well.");
}

TEST(CompleteLog, letsWhatTheSinkThrowsThrough) {
  const LogSink before = setLogSink(refuse);
  EXPECT_THROW(completeLog(NavLogLevel::Info, "No.", "f", "g", 1), std::runtime_error);
  setLogSink(before);
}

TEST(SetLogSink, returnsTheSinkBeforeWithNullForTheDefaultOne) {
  EXPECT_EQ(setLogSink(ignore), nullptr);
  EXPECT_EQ(setLogSink(countOne), &ignore);
  EXPECT_EQ(setLogSink(nullptr), &countOne);
  EXPECT_EQ(setLogSink(nullptr), nullptr);
}

TEST(SetLogSink, ofNullBringsTheDefaultBack) {
  setLogSink(ignore);
  EXPECT_EQ(printed(NavLogLevel::Warning, "Unheard."), "");
  setLogSink(nullptr);
  EXPECT_NE(printed(NavLogLevel::Warning, "Heard."), "");
}

TEST(SetLogSink, losesNoRecordOfOtherThreadsWhileSinksAreSwapped) {
  constexpr int kThreads = 4;
  constexpr int kRecords = 2000;
  delivered = 0;
  setLogSink(countOne);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < kRecords; ++i) completeLog(NavLogLevel::Info, "tick", "f", "g", i);
    });
  }
  for (int i = 0; i < kRecords; ++i) {
    const LogSink other = i % 2 == 0 ? countOneToo : countOne;
    EXPECT_NE(setLogSink(other), other);
  }
  for (std::thread& thread : threads) thread.join();
  setLogSink(nullptr);
  EXPECT_EQ(delivered.load(), kThreads * kRecords);
}

TEST(CompleteLog, keepsTheLinesOfSeveralThreadsApart) {
  constexpr int kThreads = 4;
  constexpr int kRecords = 200;
  ::testing::internal::CaptureStderr();
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      const std::string message(100, static_cast<char>('a' + t));
      for (int i = 0; i < kRecords; ++i) completeLog(NavLogLevel::Error, message, "f", "g", i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::istringstream lines(::testing::internal::GetCapturedStderr());
  std::set<std::string> seen;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_EQ(line.find("korrin error: "), 0u);
    const std::string message = line.substr(14, 100);
    EXPECT_EQ(message, std::string(100, message[0]));
    EXPECT_TRUE(seen.insert(line).second) << line;
  }
  EXPECT_EQ(seen.size(), static_cast<std::size_t>(kThreads * kRecords));
}

}  // namespace
