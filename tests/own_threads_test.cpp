// The library starts no thread of its own. OpenCV does, for large images, where it may: here it may
// not.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <filesystem>
#include <iterator>
#include <mutex>
#include <opencv2/core/utility.hpp>
#include <thread>

#include "korrin/korrin.hpp"
#include "support/workload.hpp"

using namespace korrin_test;

namespace {

// Of this process, at this moment.
std::ptrdiff_t threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

class OwnThreads : public testing::Test {
 protected:
  OwnThreads() : previous_(Brin::setLogSink([](const Brin::LogRecord&) {})) {
    cv::setNumThreads(1);
  }
  ~OwnThreads() override {
    cv::setNumThreads(-1);
    Brin::setLogSink(previous_);
  }

 private:
  Brin::LogSink previous_;
};

TEST_F(OwnThreads, AreCountedHere) {
  const std::ptrdiff_t before = threadCount();
  std::mutex mutex;
  std::unique_lock<std::mutex> lock(mutex);
  std::thread thread([&] { std::lock_guard<std::mutex> wait(mutex); });
  EXPECT_EQ(threadCount(), before + 1);
  lock.unlock();
  thread.join();
}

TEST_F(OwnThreads, AreNoneInAnyFamily) {
  const World world = makeWorld(80, 60, 181);
  const std::ptrdiff_t before = threadCount();
  for (const Family& family : families()) {
    Words words;
    family.run(world, words);
    EXPECT_EQ(threadCount(), before) << family.name;
  }
}

// As large as OpenCV needs to think that more threads are worth their while.
TEST_F(OwnThreads, AreNoneOnLargeMaps) {
  constexpr int kSide = 2000;
  Brin::OccupancyMap map(kSide, kSide, 0.05f, true);
  map.reset(1.0f);
  map.setCell(kSide / 2, kSide / 2, 0.0f);
  const std::ptrdiff_t before = threadCount();
  Brin::OccupancyMap coarse(0, 0, 1.0f, true);
  Brin::computeCoarserMap(map, coarse, 2);
  Brin::ObstacleDilater dilater(kSide, kSide);
  dilater.dilate(map, Brin::ObstacleDilater::DILATE_LINEAR);
  dilater.dilate(map, Brin::ObstacleDilater::DILATE_ERODE_SMOOTH);
  Brin::imgMultiplyProb32F(map.image, 0.5f);
  Brin::scrollIplImage(map.image, map.secondImage, {0.5f, 0.5f});
  EXPECT_EQ(threadCount(), before);
}

}  // namespace
