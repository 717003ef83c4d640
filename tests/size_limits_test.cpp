// Sizes that no image or array can have: refused before memory is asked for or anything is written.
//
// OpenCV makes no image of more than 2^31 - 1 bytes; the larger ones here are headers without the
// pixels that they promise, as a caller might make them by hand.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>

#include <functional>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/image_ptr.hpp"
#include "korrin/korrin.hpp"
#include "support/bits.hpp"
#include "support/failing_memory.hpp"
#include "support/log_capture.hpp"

using namespace korrin_test;
using Brin::OccupancyMap;

namespace {

constexpr int kMax = std::numeric_limits<int>::max();

// The bytes of 2^31 cells and more, or of 2^32 and more so that 32 bits would count few or none.
const std::vector<CvSize> kTooLarge = {
    {1 << 27, 1},   {(1 << 27) + 1, 1}, {1, 1 << 29},       {2, 1 << 29},
    {46341, 46341}, {1 << 15, 1 << 15}, {1 << 16, 1 << 16}, {1 << 20, 1 << 20},
    {kMax, 1},      {1, kMax},          {kMax, kMax},       {-1, 5},
    {5, -1},        {-kMax, -kMax},     {1 << 26, 1 << 6}};

std::string nameOf(const CvSize& size) {
  return std::to_string(size.width) + " x " + std::to_string(size.height);
}

bool refuses(const std::function<void()>& call) {
  constexpr std::size_t kMost = 1 << 20;
  // What is asked for all the same is not given, or a fault would take the machine's memory.
  const SmallMemory memory(kMost);
  largestRequest = 0;
  bool isRefused = false;
  try {
    call();
  } catch (const cv::Exception&) {
    isRefused = true;
  } catch (const std::bad_alloc&) {
    isRefused = true;
  }
  EXPECT_LE(largestRequest, kMost);
  return isRefused;
}

#define EXPECT_REFUSED(call) EXPECT_TRUE(refuses([&] { call; })) << #call

// A header of any size over pixels of another.
struct Promise {
  Promise(int width, int height, int depth) : pixels(4096, 1.0f) {
    image.nSize = sizeof image;
    image.nChannels = 1;
    image.depth = depth;
    image.width = width;
    image.height = height;
    image.widthStep = static_cast<int>(std::uint32_t(width) * std::uint32_t(depth / 8));
    image.imageSize = static_cast<int>(std::uint32_t(image.widthStep) * std::uint32_t(height));
    image.imageData = reinterpret_cast<char*>(pixels.data());
  }

  std::vector<float> pixels;
  IplImage image{};
};

// A map that shows such an image for as long as this lives.
class PromisingMap {
 public:
  explicit PromisingMap(OccupancyMap& map, int width, int height)
      : promise_(width, height, IPL_DEPTH_32F), map_(map), own_(map.image) {
    map_.image = &promise_.image;
    map_.params.width = width;
    map_.params.height = height;
  }
  ~PromisingMap() { map_.image = own_; }
  PromisingMap(const PromisingMap&) = delete;
  PromisingMap& operator=(const PromisingMap&) = delete;

 private:
  Promise promise_;
  OccupancyMap& map_;
  IplImage* own_;
};

TEST(SizeLimits, OfNewMapsWorkImagesAndImages) {
  for (const CvSize& size : kTooLarge) {
    SCOPED_TRACE(nameOf(size));
    EXPECT_REFUSED(OccupancyMap(size.width, size.height, 1.0f, false));
    EXPECT_REFUSED(OccupancyMap(size.width, size.height, 1.0f, true));
    const Brin::OccupancyMapParams params(size.width, size.height, 1.0f,
                                          Brin::OccupancyMapParams::Center);
    EXPECT_REFUSED(OccupancyMap(params, true));
    EXPECT_REFUSED(Brin::ObstacleDilater(size.width, size.height));
    EXPECT_REFUSED(Brin::createFlippedImage(size, 32, 1));
    EXPECT_REFUSED(Brin::createFlippedImage(size, 8, 4));
  }
}

const std::vector<CvSize> kTooLargeToCopy = {
    {1 << 15, 1 << 15}, {1 << 16, 1 << 16}, {1 << 20, 1 << 20}, {1, kMax}, {kMax, kMax}};

TEST(SizeLimits, OfCopiedAndReducedMaps) {
  for (const CvSize& size : kTooLargeToCopy) {
    SCOPED_TRACE(nameOf(size));
    OccupancyMap huge(1, 1, 1.0f, false);
    OccupancyMap target(2, 3, 0.5f, true);
    const OccupancyMap before = target;
    const PromisingMap promising(huge, size.width, size.height);
    EXPECT_REFUSED(OccupancyMap copy(huge));
    EXPECT_REFUSED(target = huge);
    EXPECT_REFUSED(Brin::computeCoarserMap(huge, target, 1));
    EXPECT_TRUE(sameMap(target, before));
  }
}

TEST(SizeLimits, OfPictures) {
  for (const CvSize& size : kTooLargeToCopy) {
    if (size.width == 1 << 15) continue;  // its bytes can be counted
    SCOPED_TRACE(nameOf(size));
    OccupancyMap huge(1, 1, 1.0f, false);
    const PromisingMap promising(huge, size.width, size.height);
    IplImage* slot = nullptr;
    EXPECT_REFUSED(huge.toCharIplImage(&slot));
    EXPECT_REFUSED(Brin::mergeImages2({{huge.image, 0.0f, 0.0f, 0.0f}}, &slot, 1.0f, 0.0f));
    if (size.width == size.height) {
      EXPECT_REFUSED(Brin::rotateIplImage90_2(huge.image, huge.image));
      EXPECT_REFUSED(
          Brin::scanScore(huge.image, {{0.0f, 0.0f}}, {}, 1.0f, 1.0f, nullptr, &slot, 1));
    }
    EXPECT_EQ(slot, nullptr);
  }
}

TEST(SizeLimits, OfDistanceMaps) {
  for (const int side : {1 << 15, 1 << 16}) {
    Promise picture(side, side, IPL_DEPTH_8U);
    IplImage* laserImage = &picture.image;
    IplImage* distanceMap = nullptr;
    EXPECT_REFUSED(Brin::buildLaserDistance({}, {}, &laserImage, &distanceMap, 1.0f));
    EXPECT_EQ(distanceMap, nullptr);
    EXPECT_EQ(laserImage, &picture.image);
  }
}

TEST(SizeLimits, OfThePathFindersMapAndArrays) {
  for (const CvSize& size : kTooLargeToCopy) {
    SCOPED_TRACE(nameOf(size));
    OccupancyMap huge(1, 1, 1.0f, false);
    const PromisingMap promising(huge, size.width, size.height);
    Brin::OccMapPathFinder finder(&huge, 0.0f);
    std::vector<Brin::Pose2Di> path = {{1, 2, 0.0f}};
    EXPECT_REFUSED(finder.computePath({0, 0, 0.0f}, {0, 0, 0.0f}, path));
    EXPECT_TRUE(path.empty());
    EXPECT_EQ(finder.coarseMap.params.width, 10);
  }
  for (const int side : {46341, 1 << 16, 1 << 20, kMax}) {
    Brin::OccMapPathFinder finder(nullptr, 0.0f);
    const PromisingMap promising(finder.coarseMap, side, side);
    std::vector<Brin::Pose2Di> path;
    EXPECT_REFUSED(finder.xDoComputePath({0, 0, 0.0f}, {1, 0, 0.0f}, path)) << side;
    EXPECT_EQ(finder.cellStates, nullptr);
    EXPECT_EQ(finder.cellNodes, nullptr);
    EXPECT_FALSE(finder.xFindPath());
  }
}

TEST(SizeLimits, OfPreparedMaps) {
  for (const int side : {46341, 1 << 16, 1 << 20, kMax}) {
    OccupancyMap huge(1, 1, 1.0f, false);
    Brin::PreparedMap prepared(huge, 0.5f);
    const PromisingMap promising(huge, side, side);
    EXPECT_REFUSED(Brin::PreparedMap(std::as_const(huge), 0.5f)) << side;
    EXPECT_REFUSED(prepared.refresh()) << side;
    EXPECT_REFUSED(prepared.xThrowRay(0, 0, 5, 0));
  }
}

// Images that OpenCV can hold, but not warp.
TEST(SizeLimits, OfScrollsByAFraction) {
  for (const CvSize& size : {cvSize(40000, 1), cvSize(1, 40000)}) {
    const OccupancyMap src(size.width, size.height, 1.0f, false);
    OccupancyMap dst(size.width, size.height, 1.0f, false);
    dst.reset(0.25f);
    const OccupancyMap before = dst;
    EXPECT_REFUSED(Brin::scrollIplImage(src.image, dst.image, {0.5f, 0.0f}));
    EXPECT_TRUE(sameMap(dst, before));
  }
}

// More readings than memory or a vector holds.
TEST(SizeLimits, OfSimulatedScans) {
  OccupancyMap map(4, 4, 1.0f, false);
  const Brin::OccupancyMapper mapper(&map);
  std::vector<Brin::RangeReading> readings(3);
  const FailingMemory none(1, FailingMemory::Once);
  EXPECT_THROW(mapper.simulateScan({}, 1.0f, 0.0f, 1.0f, kMax, readings, 0.5f), std::exception);
  EXPECT_TRUE(readings.empty());
}

}  // namespace
