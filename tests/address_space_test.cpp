// Memory that was asked for is given back, to the last page: the address space of the process does
// not grow over hundreds of large requests. Leaks that a count of blocks does not see (pages given
// back in part) and that grow too slowly for a sanitizer show up here.
#include <gtest/gtest.h>
#include <malloc.h>
#include <opencv2/core/core_c.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "src/zeroed_array.hpp"
#include "support/log_capture.hpp"

namespace {

using Brin::OccMapPathFinder;
using Brin::OccupancyMap;
using Brin::Pose2Di;

constexpr std::int64_t kMebibyte = 1 << 20;

// Bytes of addresses in use.
std::int64_t addressSpace() {
  std::int64_t pages = 0;
  if (!(std::ifstream("/proc/self/statm") >> pages)) throw std::runtime_error("no /proc");
  return pages * sysconf(_SC_PAGESIZE);
}

// How much the process grows while `round` is called `rounds` times. The ten rounds before that
// fill what allocators keep for later.
std::int64_t growthOver(int rounds, const std::function<void(int)>& round) {
  mallopt(M_ARENA_MAX, 1);  // or every thread of OpenCV's would take addresses for itself
  for (int i = 0; i < 10; ++i) round(i);
  const std::int64_t before = addressSpace();
  for (int i = 0; i < rounds; ++i) round(i);
  return addressSpace() - before;
}

// The address sanitizer keeps much of what was freed, so as to notice its use.
#if defined(__SANITIZE_ADDRESS__)
#define KORRIN_TEST_KEEPS_FREED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORRIN_TEST_KEEPS_FREED
#endif
#endif
#ifdef KORRIN_TEST_KEEPS_FREED
constexpr std::int64_t kKeptByOthers = 400 * kMebibyte;
#else
constexpr std::int64_t kKeptByOthers = 24 * kMebibyte;
#endif

OccupancyMap freeMap(int width, int height) {
  OccupancyMap map(width, height, 0.05f, false);
  map.reset(1.0f);
  return map;
}

// Sizes whose arrays are just over a number of huge pages: of each nearly two mebibytes would stay
// if they were given back by the size that was asked for.
TEST(AddressSpace, doesNotGrowByArraysOfAnySize) {
  const std::int64_t hugePage = 2 * kMebibyte / 4;  // entries
  const std::vector<std::int64_t> counts = {
      hugePage + 1, 3 * hugePage + 7, hugePage - 1, 70000, 65536, 100};
  const auto round = [&](int i) {
    const std::int64_t count = counts[static_cast<std::size_t>(i) % counts.size()];
    const auto array = Brin::makeZeroedArray<std::int32_t>(count);
    array[static_cast<std::size_t>(count - 1)] = 1;
  };
  EXPECT_LT(growthOver(3000, round), kKeptByOthers);
}

TEST(AddressSpace, doesNotGrowByLargeSearches) {
  const OccupancyMap maps[] = {freeMap(725, 725), freeMap(1030, 512), freeMap(300, 300)};
  OccMapPathFinder finder(nullptr, 0.0f);
  std::vector<Pose2Di> path;
  const auto round = [&](int i) {
    finder.setOccMap(&maps[i % 3]);
    finder.computePath(Pose2Di(0, 0, 0.0f), Pose2Di(20 + i % 30, 15, 0.0f), path);
    ASSERT_FALSE(path.empty());
  };
  EXPECT_LT(growthOver(150, round), kKeptByOthers);
}

// A finder of its own for each request, and searches that find nothing.
TEST(AddressSpace, doesNotGrowByFindersThatCameAndWent) {
  const korrin_test::LogCapture log;
  OccupancyMap map = freeMap(725, 725);
  for (int y = 0; y < 12; ++y) map.setCell(11, y, 0.0f);
  for (int x = 0; x < 12; ++x) map.setCell(x, 11, 0.0f);
  const auto round = [&](int i) {
    OccMapPathFinder finder(&map, 0.0f);
    std::vector<Pose2Di> path;
    finder.computePath(Pose2Di(1, 1, 0.0f), Pose2Di(i % 2 == 0 ? 9 : 700, 9, 0.0f), path);
    ASSERT_EQ(path.empty(), i % 2 != 0);
  };
  EXPECT_LT(growthOver(120, round), kKeptByOthers);
}

TEST(AddressSpace, doesNotGrowByMapsPreparedAnew) {
  OccupancyMap map = freeMap(500, 400);
  Brin::PreparedMap prepared(map, 0.5f);
  const auto round = [&](int i) {
    map = freeMap(500 + i % 3, 400);
    prepared.refresh();
    const Brin::PreparedMap other(map, 0.5f);
    ASSERT_EQ(other.xThrowRay(0, 0, 300, 0).status, 1);
  };
  EXPECT_LT(growthOver(120, round), kKeptByOthers);
}

// Everything else that makes images of its own.
TEST(AddressSpace, doesNotGrowByImages) {
  OccupancyMap map(400, 300, 0.05f, true);
  Brin::Scan scan;
  for (int i = 0; i < 20; ++i) scan.readings.emplace_back(8.0f, 0.3f * static_cast<float>(i));
  const auto round = [&](int i) {
    OccupancyMap copy = map;
    copy = map;
    OccupancyMap coarse(1, 1, 1.0f, true);
    Brin::computeCoarserMap(copy, coarse, 2);
    Brin::ObstacleDilater dilater(400, 300);
    dilater.setParams(0.1f, 0.2f);
    dilater.dilate(copy, Brin::ObstacleDilater::DILATE_LINEAR);
    dilater.dilate(copy, Brin::ObstacleDilater::DILATE_ERODE_SMOOTH);
    IplImage* image = nullptr;
    map.toCharIplImage(&image);
    coarse.toCharIplImage(&image);
    cvReleaseImage(&image);
    Brin::mergeImages2({{map.image, 0.1f, 0.0f, 0.0f}, {map.image, 0.0f, 0.0f, 0.0f}}, &image,
                       0.05f, 0.0f);
    const Brin::ImagePtr turned = Brin::makeImage(cvSize(400, 400), IPL_DEPTH_32F, 1);
    Brin::rotateIplImage90_2(turned.get(), turned.get());
    cvReleaseImage(&image);
    Brin::ScanDistMap reference;
    reference.build(scan, {}, i % 2 == 0 ? 0.05f : 0.06f);
    reference.build(scan, {}, 0.08f);
    cvReleaseImage(&reference.distanceMap);
    cvReleaseImage(&reference.laserImage);
  };
  EXPECT_LT(growthOver(300, round), kKeptByOthers);
}

}  // namespace
